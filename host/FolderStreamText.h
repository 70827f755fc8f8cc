// The folder stream's text form ("folder-stream 1"): one line per entry,
// indented by depth, which reads back into the same tree and saves back to
// the same bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

class FolderStream;

// Folders nest at most this deep in a text that reads.
constexpr int kDeepestTextFolder = 256;

std::string writeFolderStreamText(const FolderStream& stream);

// Reads the text's entries into the stream. False, with "line N: why" in
// error, for a text that is not a folder stream, names an entry twice in one
// folder, nests folders too deep or is larger than 64 MiB; the stream then
// holds whatever was read before, for the caller to clear.
bool readFolderStreamText(const std::string& text, FolderStream& into, std::string* error);

// Two upper-case hexadecimal digits a byte, as the text form writes bytes.
void appendHex(std::string& out, const std::vector<uint8_t>& bytes);

}  // namespace host
