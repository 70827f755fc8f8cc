#include "host/Files.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace host {

namespace {

// The file a name leads to, symbolic links followed; the name itself when it
// does not exist yet.
std::string target(const std::string& fileName) {
    char resolved[PATH_MAX];
    return realpath(fileName.c_str(), resolved) ? std::string(resolved) : fileName;
}

// A new file in the folder of fileName, opened for writing; -1 when none can be made.
int createBeside(const std::string& fileName, std::string& temporary) {
    static std::atomic<unsigned> counter{0};
    const size_t slash = fileName.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : fileName.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? fileName : fileName.substr(slash + 1);
    for (int attempt = 0; attempt < 100; ++attempt) {
        temporary = folder + "." + base + ".saving-" + std::to_string(getpid()) + "-" + std::to_string(counter++);
        const int descriptor = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0 || errno != EEXIST) return descriptor;
    }
    return -1;
}

bool writeAll(int descriptor, const std::string& text) {
    for (size_t written = 0; written < text.size();) {
        const ssize_t done = write(descriptor, text.data() + written, text.size() - written);
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return false;
        written += static_cast<size_t>(done);
    }
    return true;
}

bool writeInPlace(const std::string& fileName, const std::string& text) {
    const int descriptor = open(fileName.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (descriptor < 0) return false;
    const bool written = writeAll(descriptor, text);
    return close(descriptor) == 0 && written;
}

// A new file beside destination, written whole and renamed into its place; on
// failure it is removed and errno tells why.
bool replaceFile(const std::string& destination, const std::string& text, mode_t mode, bool keepMode) {
    std::string temporary;
    const int descriptor = createBeside(destination, temporary);
    if (descriptor < 0) return false;
    if (keepMode) fchmod(descriptor, mode);
    bool written = writeAll(descriptor, text) && fsync(descriptor) == 0;
    written = close(descriptor) == 0 && written;
    if (written && rename(temporary.c_str(), destination.c_str()) == 0) return true;
    const int why = errno;
    unlink(temporary.c_str());
    errno = why;
    return false;
}

}  // namespace

bool readWholeFile(const std::string& fileName, std::string& text, std::string* error) {
    text.clear();
    const auto fail = [&](const std::string& why) {
        if (error) *error = "cannot read " + fileName + ": " + why;
        return false;
    };
    const int descriptor = open(fileName.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return fail(std::strerror(errno));
    struct stat status;
    if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        close(descriptor);
        return fail(std::strerror(EISDIR));
    }
    char chunk[65536];
    for (;;) {
        const ssize_t got = read(descriptor, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            const int why = errno;
            close(descriptor);
            text.clear();
            return fail(std::strerror(why));
        }
        if (got == 0) break;
        if (text.size() + static_cast<size_t>(got) > kLargestFile) {
            close(descriptor);
            text.clear();
            if (error) *error = fileName + " is too large";
            return false;
        }
        text.append(chunk, static_cast<size_t>(got));
    }
    close(descriptor);
    return true;
}

bool writeWholeFile(const std::string& fileName, const std::string& text, std::string* error) {
    struct stat existing;
    const bool exists = stat(fileName.c_str(), &existing) == 0;
    // A device or a pipe (/dev/stdout, /dev/null) takes the text as it comes;
    // only a file is replaced.
    const bool written = exists && !S_ISREG(existing.st_mode)
                             ? writeInPlace(fileName, text)
                             : replaceFile(target(fileName), text, exists ? existing.st_mode & 07777 : 0, exists);
    if (!written && error) *error = "cannot write " + fileName + ": " + std::strerror(errno);
    return written;
}

std::string encodingProblem(const std::string& text, int& line) {
    line = 1;
    const bool marked = text.compare(0, 2, "\xFF\xFE") == 0 || text.compare(0, 2, "\xFE\xFF") == 0 ||
                        text.compare(0, 4, std::string("\0\0\xFE\xFF", 4)) == 0;
    if (marked) return "the file is UTF-16 or UTF-32 (its first bytes say so); save it as UTF-8";
    const size_t nul = text.find('\0');
    if (nul == std::string::npos) return "";
    for (size_t i = 0; i < nul; ++i) line += text[i] == '\n';
    return "the file holds NUL bytes, as UTF-16 does; save it as UTF-8";
}

bool sameFile(const std::string& first, const std::string& second) {
    struct stat a, b;
    return stat(first.c_str(), &a) == 0 && stat(second.c_str(), &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

}  // namespace host
