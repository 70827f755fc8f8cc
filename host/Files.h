// Whole files in and out, for the stand-in host's streams, settings and the
// reference host's program files.
#pragma once

#include <cstddef>
#include <string>

namespace host {

// The largest file the stand-in reads: a program or stream beyond it is refused.
constexpr size_t kLargestFile = 64u << 20;

// False, with "cannot read NAME" or "NAME is too large" in error, when the
// file cannot be read whole; text is left empty then.
bool readWholeFile(const std::string& fileName, std::string& text, std::string* error = nullptr);

// Writes text to a new file beside fileName (same folder, a temporary name),
// then renames it into place: a write that fails or is cut short leaves the
// file as it was. A file that exists keeps its permissions; a symbolic link
// keeps pointing where it did, and the file it points to is replaced. A
// device or pipe (/dev/stdout) is written as it is. False, with "cannot
// write NAME: why" in error, when nothing was written.
bool writeWholeFile(const std::string& fileName, const std::string& text, std::string* error = nullptr);

// Why text cannot be a UTF-8 text file, with the line where that shows: a
// UTF-16 or UTF-32 byte-order mark, or NUL bytes (UTF-16 without a mark).
// Empty when it can.
std::string encodingProblem(const std::string& text, int& line);

// Whether both names reach one file that exists.
bool sameFile(const std::string& first, const std::string& second);

}  // namespace host
