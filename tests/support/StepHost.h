// The reference host run as a separate process, as a newcomer or CI runs it,
// and the temporary files its tests hand it.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/Process.h"

// stephost of the build with these words, run in directory (the build folder
// unless told otherwise); standard error is collected too unless withErrors is
// false; standard input is the file `input` names, when one does.
inline ProcessRun runStephost(const std::vector<std::string>& words, const std::string& directory = FLUKO_BINARY_DIR,
                              bool withErrors = true, const std::string& input = "") {
    std::vector<std::string> command = {std::string(FLUKO_BINARY_DIR) + "/stephost"};
    command.insert(command.end(), words.begin(), words.end());
    return runProcess(command, directory, {}, withErrors, input);
}

inline std::string example(const std::string& name) { return std::string(FLUKO_SOURCE_DIR) + "/examples/" + name; }

inline std::string fileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

// A file of that text under /tmp, removed when the test is done.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text) {
        char name[] = "/tmp/stephost-test-XXXXXX";
        const int descriptor = mkstemp(name);
        if (descriptor >= 0) close(descriptor);
        m_Path = name;
        std::ofstream(m_Path, std::ios::binary) << text;
    }
    ~TemporaryFile() { std::filesystem::remove(m_Path); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    const std::string& path() const { return m_Path; }

private:
    std::string m_Path;
};

// A folder under /tmp, removed with what it holds when the test is done.
class TemporaryFolder {
public:
    TemporaryFolder() {
        char name[] = "/tmp/stephost-folder-XXXXXX";
        m_Path = mkdtemp(name) ? name : "/tmp";
    }
    ~TemporaryFolder() {
        if (m_Path != "/tmp") std::filesystem::remove_all(m_Path);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::string& path() const { return m_Path; }
    std::string operator/(const std::string& name) const { return m_Path + "/" + name; }

private:
    std::string m_Path;
};
