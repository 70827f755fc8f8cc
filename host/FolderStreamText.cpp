#include "host/FolderStreamText.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include "host/Files.h"
#include "host/FolderStream.h"
#include "host/Variants.h"

namespace host {

namespace {

// Printable ASCII stands as it is; quotes, backslashes and every other
// character are escaped, so that any text survives the round trip exactly.
void quote(std::string& out, const std::wstring& text) {
    out += '"';
    for (wchar_t c : text) {
        const uint32_t code = static_cast<uint32_t>(c);
        if (c == L'"' || c == L'\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (code >= 0x20 && code < 0x7F) {
            out += static_cast<char>(c);
        } else {
            char escaped[16];
            std::snprintf(escaped, sizeof escaped, "\\u{%" PRIX32 "}", code);
            out += escaped;
        }
    }
    out += '"';
}

// Reads the text form line by line.
class Parser {
public:
    explicit Parser(const std::string& text) : m_Text(text) {}

    bool parse(FolderStream& root, std::string* error) {
        if (m_Text.size() > kLargestFile) return fail(error, "the text is too large");
        std::string line;
        if (!nextLine(line) || line != "folder-stream 1") return fail(error, "not a folder stream");
        if (!parseFolder(root, 0, error)) return false;
        if (!m_Closed) return true;
        return fail(error, "a \"}\" closes no folder");
    }

private:
    bool fail(std::string* error, const std::string& why) {
        if (error) *error = "line " + std::to_string(m_Line) + ": " + why;
        return false;
    }

    bool nextLine(std::string& line) {
        if (m_Position >= m_Text.size()) return false;
        size_t end = m_Text.find('\n', m_Position);
        if (end == std::string::npos) end = m_Text.size();
        size_t first = m_Position;
        while (first < end && m_Text[first] == ' ') ++first;
        line.assign(m_Text, first, end - first);
        m_Position = end + 1;
        ++m_Line;
        return true;
    }

    // Entries until the folder's "}" (or the end of the text at depth 0).
    bool parseFolder(FolderStream& folder, int depth, std::string* error) {
        std::string line;
        while (nextLine(line)) {
            if (line.empty()) continue;
            if (line == "}") {
                if (depth == 0) {
                    m_Closed = true;
                    return true;
                }
                return true;
            }
            if (!parseEntry(folder, line, depth, error)) return false;
        }
        if (depth > 0) return fail(error, "a folder is not closed");
        return true;
    }

    bool parseEntry(FolderStream& folder, const std::string& line, int depth, std::string* error) {
        size_t at = line.find(' ');
        const std::string kind = line.substr(0, at);
        if (kind == "data") {
            std::vector<uint8_t> bytes;
            if (at == std::string::npos || !unhex(line.substr(at + 1), bytes)) return fail(error, "bad data");
            folder.Write(bytes.data(), static_cast<int32_t>(bytes.size()), 0);
            return true;
        }
        FolderStream::Entry entry;
        if (at == std::string::npos || !unquote(line, ++at, entry.name)) return fail(error, "an entry needs a name");
        // A stream never writes a name twice in one folder; taking the second
        // would silently drop the first.
        if (folder.has(entry.name)) return fail(error, "the name \"" + narrow(entry.name) + "\" appears twice");
        const std::string rest = at < line.size() ? line.substr(at) : std::string();
        // Values go into the folder as the entries its writers would make of them.
        if (kind == "int") {
            char* end = nullptr;
            const long long value = std::strtoll(rest.c_str(), &end, 10);
            if (rest.empty() || *end != '\0' || value < INT32_MIN || value > INT32_MAX)
                return fail(error, "bad integer");
            entry.kind = FolderStream::Kind::Integer;
            entry.integer = static_cast<int32_t>(value);
            folder.add(std::move(entry));
        } else if (kind == "real") {
            char* end = nullptr;
            const double value = std::strtod(rest.c_str(), &end);
            if (rest.empty() || *end != '\0') return fail(error, "bad number");
            entry.kind = FolderStream::Kind::Real;
            entry.real = value;
            folder.add(std::move(entry));
        } else if (kind == "text" || kind == "string") {
            size_t position = 0;
            if (!unquote(rest, position, entry.text) || position != rest.size()) return fail(error, "bad text");
            entry.kind = kind == "text" ? FolderStream::Kind::Text : FolderStream::Kind::String;
            folder.add(std::move(entry));
        } else if (kind == "empty") {
            if (!rest.empty()) return fail(error, "an empty value has nothing after its name");
            folder.add(std::move(entry));
        } else if (kind == "bytes") {
            if (!unhex(rest, entry.bytes)) return fail(error, "bad bytes");
            entry.kind = FolderStream::Kind::Bytes;
            folder.add(std::move(entry));
        } else if (kind == "folder" || kind == "object") {
            if (depth + 1 >= kDeepestTextFolder) return fail(error, "folders nested too deep");
            std::wstring className;
            size_t position = 0;
            if (kind == "object" && !unquote(rest, position, className)) return fail(error, "an object needs a class");
            const std::string opener = rest.substr(position);
            if (opener != "{" && opener != " {") return fail(error, "expected \"{\"");
            SmartPtr<FolderStream> child = make<FolderStream>();
            if (!parseFolder(*child.get(), depth + 1, error)) return false;
            folder.adoptFolder(entry.name, kind == "object" ? className : std::wstring(), child);
        } else {
            return fail(error, "unknown entry \"" + kind + "\"");
        }
        return true;
    }

    // A quoted text starting at position (after leading blanks); position
    // ends after the closing quote and one blank, if any.
    static bool unquote(const std::string& line, size_t& position, std::wstring& out) {
        while (position < line.size() && line[position] == ' ') ++position;
        if (position >= line.size() || line[position] != '"') return false;
        ++position;
        out.clear();
        while (position < line.size()) {
            const char c = line[position++];
            if (c == '"') {
                if (position < line.size() && line[position] == ' ') ++position;
                return true;
            }
            if (c != '\\') {
                if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7F) return false;
                out += static_cast<wchar_t>(c);
                continue;
            }
            if (position >= line.size()) return false;
            const char escaped = line[position++];
            if (escaped == '"' || escaped == '\\') {
                out += static_cast<wchar_t>(escaped);
            } else if (escaped == 'u' && position < line.size() && line[position] == '{') {
                const size_t close = line.find('}', position);
                if (close == std::string::npos || close - position > 9 || close == position + 1) return false;
                uint32_t code = 0;
                for (size_t i = position + 1; i < close; ++i) {
                    const int digit = hexDigit(line[i]);
                    if (digit < 0) return false;
                    code = code * 16 + static_cast<uint32_t>(digit);
                }
                out += static_cast<wchar_t>(code);
                position = close + 1;
            } else {
                return false;
            }
        }
        return false;
    }

    static int hexDigit(char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        return -1;
    }

    static bool unhex(const std::string& text, std::vector<uint8_t>& out) {
        if (text.size() % 2) return false;
        out.clear();
        for (size_t i = 0; i < text.size(); i += 2) {
            const int high = hexDigit(text[i]);
            const int low = hexDigit(text[i + 1]);
            if (high < 0 || low < 0) return false;
            out.push_back(static_cast<uint8_t>(high * 16 + low));
        }
        return true;
    }

    const std::string& m_Text;
    size_t m_Position = 0;
    int m_Line = 0;
    bool m_Closed = false;
};

void writeFolder(const FolderStream& folder, std::string& text, int depth) {
    using Kind = FolderStream::Kind;
    const FolderStream::Contents contents = folder.contents();
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    for (const FolderStream::Entry& entry : contents.entries) {
        text += indent;
        switch (entry.kind) {
            case Kind::Empty:
                text += "empty ";
                quote(text, entry.name);
                break;
            case Kind::Integer:
                text += "int ";
                quote(text, entry.name);
                text += " " + std::to_string(entry.integer);
                break;
            case Kind::Real: {
                char number[64];
                std::snprintf(number, sizeof number, "%a", entry.real);
                text += "real ";
                quote(text, entry.name);
                text += std::string(" ") + number;
                break;
            }
            case Kind::Text:
                text += "text ";
                quote(text, entry.name);
                text += ' ';
                quote(text, entry.text);
                break;
            case Kind::String:
                text += "string ";
                quote(text, entry.name);
                text += ' ';
                quote(text, entry.text);
                break;
            case Kind::Bytes:
                text += "bytes ";
                quote(text, entry.name);
                text += ' ';
                appendHex(text, entry.bytes);
                break;
            case Kind::Folder:
            case Kind::Object:
                text += entry.kind == Kind::Folder ? "folder " : "object ";
                quote(text, entry.name);
                if (entry.kind == Kind::Object) {
                    text += ' ';
                    quote(text, entry.text);
                }
                text += " {\n";
                if (entry.folder) writeFolder(*entry.folder.get(), text, depth + 1);
                text += indent + "}";
                break;
        }
        text += '\n';
    }
    if (!contents.data.empty()) {
        text += indent + "data ";
        appendHex(text, contents.data);
        text += '\n';
    }
}

}  // namespace

void appendHex(std::string& out, const std::vector<uint8_t>& bytes) {
    static const char kDigits[] = "0123456789ABCDEF";
    for (uint8_t byte : bytes) {
        out += kDigits[byte >> 4];
        out += kDigits[byte & 0xF];
    }
}

std::string writeFolderStreamText(const FolderStream& stream) {
    std::string text = "folder-stream 1\n";
    writeFolder(stream, text, 0);
    return text;
}

bool readFolderStreamText(const std::string& text, FolderStream& into, std::string* error) {
    return Parser(text).parse(into, error);
}

}  // namespace host
