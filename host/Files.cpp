#include "host/Files.h"

#include <cstdint>
#include <fstream>
#include <sstream>

namespace host {

bool readWholeFile(const std::string& fileName, std::string& text, std::string* error) {
    text.clear();
    std::ifstream file(fileName, std::ios::binary | std::ios::ate);
    const std::streamoff size = file ? static_cast<std::streamoff>(file.tellg()) : -1;
    if (size < 0 || static_cast<uint64_t>(size) > kLargestFile) {
        if (error) *error = size < 0 ? "cannot read " + fileName : fileName + " is too large";
        return false;
    }
    file.seekg(0);
    std::ostringstream content;
    content << file.rdbuf();
    text = content.str();
    return true;
}

bool writeWholeFile(const std::string& fileName, const std::string& text) {
    std::ofstream file(fileName, std::ios::binary | std::ios::trunc);
    if (!file) return false;
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    return static_cast<bool>(file);
}

}  // namespace host
