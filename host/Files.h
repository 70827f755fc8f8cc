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
bool writeWholeFile(const std::string& fileName, const std::string& text);

}  // namespace host
