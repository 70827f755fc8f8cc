#include "host/FolderStream.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/ClassFactory.h"
#include "host/Files.h"
#include "host/Variants.h"

namespace host {

namespace {

// The text form refuses deeper nesting; an object that stores objects that
// store objects... (a cycle through the objects' own Save) is cut off well
// before that, so that whatever a stream holds it can also read back.
constexpr int kDeepestFolder = 256;
constexpr int kDeepestObject = 48;

// How many WriteObject calls this thread is inside.
thread_local int tObjectDepth = 0;

std::wstring nameOf(IString* name) { return name ? textOf(name) : std::wstring(); }

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

void hex(std::string& out, const std::vector<uint8_t>& bytes) {
    static const char kDigits[] = "0123456789ABCDEF";
    for (uint8_t byte : bytes) {
        out += kDigits[byte >> 4];
        out += kDigits[byte & 0xF];
    }
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
        line = m_Text.substr(m_Position, end - m_Position);
        m_Position = end + 1;
        ++m_Line;
        const size_t first = line.find_first_not_of(' ');
        line = first == std::string::npos ? std::string() : line.substr(first);
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
        SmartPtr<IString> name = makeString(entry.name);
        if (kind == "int") {
            char* end = nullptr;
            const long long value = std::strtoll(rest.c_str(), &end, 10);
            if (rest.empty() || *end != '\0' || value < INT32_MIN || value > INT32_MAX) return fail(error, "bad integer");
            SmartPtr<IVariant> variant = makeVariant(static_cast<int32_t>(value));
            folder.WriteValue(name.get(), variant.get());
        } else if (kind == "real") {
            char* end = nullptr;
            const double value = std::strtod(rest.c_str(), &end);
            if (rest.empty() || *end != '\0') return fail(error, "bad number");
            SmartPtr<IVariant> variant = makeVariant(value);
            folder.WriteValue(name.get(), variant.get());
        } else if (kind == "text" || kind == "string") {
            std::wstring text;
            size_t position = 0;
            if (!unquote(rest, position, text) || position != rest.size()) return fail(error, "bad text");
            if (kind == "text") {
                SmartPtr<IVariant> variant = makeVariant(text);
                folder.WriteValue(name.get(), variant.get());
            } else {
                SmartPtr<IString> string = makeString(text);
                folder.WriteObject(name.get(), string.get(), 0);
            }
        } else if (kind == "empty") {
            if (!rest.empty()) return fail(error, "an empty value has nothing after its name");
            SmartPtr<IVariant> variant = make<Variant>();
            folder.WriteValue(name.get(), variant.get());
        } else if (kind == "bytes") {
            std::vector<uint8_t> bytes;
            if (!unhex(rest, bytes)) return fail(error, "bad bytes");
            folder.WriteBinary(name.get(), bytes.data(), static_cast<int32_t>(bytes.size()), 0);
        } else if (kind == "folder" || kind == "object") {
            if (depth + 1 >= kDeepestFolder) return fail(error, "folders nested too deep");
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

}  // namespace

void FolderStream::put(Entry entry) {
    Entry replaced;  // released after the lock
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto found = m_Index.find(entry.name);
    if (found != m_Index.end()) {
        replaced = std::move(m_Entries[found->second]);
        m_Entries[found->second] = std::move(entry);
        return;
    }
    m_Index.emplace(entry.name, m_Entries.size());
    m_Entries.push_back(std::move(entry));
}

bool FolderStream::find(const std::wstring& name, Entry& out) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto found = m_Index.find(name);
    if (found == m_Index.end()) return false;
    out = m_Entries[found->second];
    return true;
}

void FolderStream::clear() {
    std::vector<Entry> removed;  // released after the lock
    std::lock_guard<std::mutex> lock(m_Mutex);
    removed.swap(m_Entries);
    m_Index.clear();
    m_Data.clear();
}

void FolderStream::adoptFolder(const std::wstring& name, const std::wstring& className, SmartPtr<FolderStream> folder) {
    Entry entry;
    entry.name = name;
    entry.kind = className.empty() ? Kind::Folder : Kind::Object;
    entry.text = className;
    entry.folder = std::move(folder);
    put(std::move(entry));
}

HRESULT FolderStream::Write(const void* data, int32_t size, int32_t) {
    record("Write");
    if (size < 0 || (!data && size > 0)) return E_INVALIDARG;
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto* bytes = static_cast<const uint8_t*>(data);
    m_Data.insert(m_Data.end(), bytes, bytes + size);
    return S_OK;
}

HRESULT FolderStream::CreateFolder(IString* name, int32_t, IFolderStream** out) {
    record("CreateFolder", name);
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!name) return E_INVALIDARG;
    SmartPtr<FolderStream> folder = make<FolderStream>();
    adoptFolder(nameOf(name), std::wstring(), folder);
    *out = folder.detach();
    return S_OK;
}

HRESULT FolderStream::WriteBinary(IString* name, const void* data, int32_t size, int32_t) {
    record("WriteBinary", name);
    if (!name || size < 0 || (!data && size > 0)) return E_INVALIDARG;
    Entry entry;
    entry.name = nameOf(name);
    entry.kind = Kind::Bytes;
    const auto* bytes = static_cast<const uint8_t*>(data);
    entry.bytes.assign(bytes, bytes + size);
    put(std::move(entry));
    return S_OK;
}

HRESULT FolderStream::WriteValue(IString* name, IVariant* value) {
    record("WriteValue", name);
    if (!name || !value) return E_INVALIDARG;
    if (value->IsObject()) {
        SmartPtr<IUnknown> object;
        value->get_Object(object.put());
        return WriteObject(name, object.get(), 0);
    }
    Entry entry;
    entry.name = nameOf(name);
    if (value->IsString()) {
        SmartPtr<IString> text;
        value->get_String(text.put());
        entry.kind = Kind::Text;
        entry.text = textOf(text.get());
    } else if (value->get_Type() == 1) {
        entry.kind = Kind::Integer;
        entry.integer = value->get_Long();
    } else if (value->get_Type() == 2) {
        entry.kind = Kind::Real;
        entry.real = value->get_Double();
    }
    put(std::move(entry));
    return S_OK;
}

HRESULT FolderStream::WriteObject(IString* name, IUnknown* object, int32_t) {
    record("WriteObject", name);
    if (!name || !object) return E_INVALIDARG;
    Entry entry;
    entry.name = nameOf(name);
    if (SmartPtr<IString> string = queryInterface<IString>(object)) {
        entry.kind = Kind::String;
        entry.text = textOf(string.get());
        put(std::move(entry));
        return S_OK;
    }
    SmartPtr<IDataPersist> persist = queryInterface<IDataPersist>(object);
    const std::wstring className = classNameOf(object);
    if (!persist || className.empty()) return E_NOTIMPL;
    if (tObjectDepth >= kDeepestObject) return E_FAIL;
    SmartPtr<FolderStream> contents = make<FolderStream>();
    ++tObjectDepth;
    persist->Save(contents.get(), 0);
    --tObjectDepth;
    adoptFolder(entry.name, className, contents);
    return S_OK;
}

HRESULT FolderStream::WriteScalar(IString* name, const void* value, int32_t kind) {
    record("WriteScalar", name);
    if (!name || !value || kind != 3) return E_INVALIDARG;
    int32_t integer = 0;
    std::memcpy(&integer, value, sizeof integer);
    Entry entry;
    entry.name = nameOf(name);
    entry.kind = Kind::Integer;
    entry.integer = integer;
    put(std::move(entry));
    return S_OK;
}

HRESULT FolderStream::ReadBinary(IString* name, void* data, int32_t size, int32_t) {
    record("ReadBinary", name);
    Entry entry;
    if (!name || !find(nameOf(name), entry) || entry.kind != Kind::Bytes) return E_FAIL;
    if (!data || size < 0 || static_cast<size_t>(size) != entry.bytes.size()) return E_INVALIDARG;
    if (size > 0) std::memcpy(data, entry.bytes.data(), entry.bytes.size());
    return S_OK;
}

HRESULT FolderStream::ReadValue(IString* name, IVariant* into) {
    record("ReadValue", name);
    if (!into) return E_POINTER;
    Entry entry;
    if (!name || !find(nameOf(name), entry)) return E_FAIL;
    switch (entry.kind) {
    case Kind::Integer:
        return into->put_Long(entry.integer);
    case Kind::Real:
        return into->put_Double(entry.real);
    case Kind::Text:
        return into->put_String(makeString(entry.text).get());
    case Kind::Empty:
        return into->put_Value(nullptr);
    case Kind::String:
    case Kind::Object: {
        SmartPtr<IUnknown> object;
        if (ReadObject(name, object.put(), 0) < 0) return E_FAIL;
        return into->put_Value(object.get());
    }
    default:
        return E_FAIL;
    }
}

HRESULT FolderStream::ReadObject(IString* name, IUnknown** out, int32_t) {
    record("ReadObject", name);
    if (!out) return E_POINTER;
    Entry entry;
    if (!name || !find(nameOf(name), entry)) return E_FAIL;
    if (entry.kind == Kind::String) {
        if (*out) return E_INVALIDARG;
        *out = makeString(entry.text).detach();
        return S_OK;
    }
    if (entry.kind != Kind::Object || !entry.folder) return E_FAIL;
    if (*out) {
        SmartPtr<IDataPersist> existing = queryInterface<IDataPersist>(*out);
        if (!existing || classNameOf(*out) != entry.text) return E_INVALIDARG;
        return existing->Load(entry.folder.get(), 0) < 0 ? E_FAIL : S_OK;
    }
    SmartPtr<IUnknown> object = createObjectOfClass(entry.text);
    SmartPtr<IDataPersist> persist = object.query<IDataPersist>();
    if (!persist) return E_FAIL;
    persist->Load(entry.folder.get(), 0);
    *out = object.detach();
    return S_OK;
}

HRESULT FolderStream::ReadScalar(IString* name, void* value, int32_t kind) {
    record("ReadScalar", name);
    if (!value || kind != 3) return E_INVALIDARG;
    Entry entry;
    if (!name || !find(nameOf(name), entry) || entry.kind != Kind::Integer) return E_FAIL;
    std::memcpy(value, &entry.integer, sizeof entry.integer);
    return S_OK;
}

HRESULT FolderStream::get_Count(int32_t* count) {
    if (!count) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    *count = static_cast<int32_t>(m_Entries.size());
    return S_OK;
}

HRESULT FolderStream::get_Item(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    Entry entry;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return E_INVALIDARG;
        entry = m_Entries[static_cast<size_t>(index)];
    }
    switch (entry.kind) {
    case Kind::Folder:
    case Kind::Object:
        *out = static_cast<IFolderStream*>(entry.folder.detach());
        return S_OK;
    case Kind::Bytes: {
        std::string digits;
        hex(digits, entry.bytes);
        *out = makeString(widen(digits)).detach();
        return S_OK;
    }
    case Kind::String:
        *out = makeString(entry.text).detach();
        return S_OK;
    default: {
        SmartPtr<IVariant> value = make<Variant>();
        SmartPtr<IString> name = makeString(entry.name);
        ReadValue(name.get(), value.get());
        *out = value.detach();
        return S_OK;
    }
    }
}

HRESULT FolderStream::get_Index(IUnknown* key, int32_t* index) {
    if (!index) return E_POINTER;
    *index = -1;
    SmartPtr<IString> name = queryInterface<IString>(key);
    if (!name) {
        if (SmartPtr<IVariant> variant = queryInterface<IVariant>(key)) {
            if (variant->IsString()) variant->get_String(name.put());
        }
    }
    if (!name) return E_FAIL;
    const std::wstring wanted = textOf(name.get());
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto found = m_Index.find(wanted);
    if (found == m_Index.end()) return E_FAIL;
    *index = static_cast<int32_t>(found->second);
    return S_OK;
}

HRESULT FolderStream::get_ItemName(int32_t index, IString** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    std::wstring name;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return E_INVALIDARG;
        name = m_Entries[static_cast<size_t>(index)].name;
    }
    *out = makeString(name).detach();
    return S_OK;
}

void FolderStream::saveInto(std::string& text, int depth) const {
    std::vector<Entry> entries;
    std::vector<uint8_t> data;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        entries = m_Entries;
        data = m_Data;
    }
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    for (const Entry& entry : entries) {
        text += indent;
        switch (entry.kind) {
        case Kind::Empty: text += "empty "; quote(text, entry.name); break;
        case Kind::Integer: text += "int "; quote(text, entry.name); text += " " + std::to_string(entry.integer); break;
        case Kind::Real: {
            char number[64];
            std::snprintf(number, sizeof number, "%a", entry.real);
            text += "real ";
            quote(text, entry.name);
            text += std::string(" ") + number;
            break;
        }
        case Kind::Text: text += "text "; quote(text, entry.name); text += ' '; quote(text, entry.text); break;
        case Kind::String: text += "string "; quote(text, entry.name); text += ' '; quote(text, entry.text); break;
        case Kind::Bytes: text += "bytes "; quote(text, entry.name); text += ' '; hex(text, entry.bytes); break;
        case Kind::Folder:
        case Kind::Object:
            text += entry.kind == Kind::Folder ? "folder " : "object ";
            quote(text, entry.name);
            if (entry.kind == Kind::Object) {
                text += ' ';
                quote(text, entry.text);
            }
            text += " {\n";
            if (entry.folder) entry.folder->saveInto(text, depth + 1);
            text += indent + "}";
            break;
        }
        text += '\n';
    }
    if (!data.empty()) {
        text += indent + "data ";
        hex(text, data);
        text += '\n';
    }
}

std::string FolderStream::save() const {
    std::string text = "folder-stream 1\n";
    saveInto(text, 0);
    return text;
}

bool FolderStream::save(const std::string& fileName) const { return writeWholeFile(fileName, save()); }

bool FolderStream::load(const std::string& text, std::string* error) {
    clear();
    Parser parser(text);
    if (parser.parse(*this, error)) return true;
    clear();
    return false;
}

bool FolderStream::loadFile(const std::string& fileName, std::string* error) {
    std::string text;
    if (!readWholeFile(fileName, text, error)) {
        clear();
        return false;
    }
    return load(text, error);
}

std::vector<std::wstring> FolderStream::names() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    std::vector<std::wstring> result;
    for (const Entry& entry : m_Entries) result.push_back(entry.name);
    return result;
}

SmartPtr<FolderStream> FolderStream::folder(const std::wstring& name) const {
    Entry entry;
    return find(name, entry) ? entry.folder : nullptr;
}

std::wstring FolderStream::classOf(const std::wstring& name) const {
    Entry entry;
    return find(name, entry) && entry.kind == Kind::Object ? entry.text : std::wstring();
}

std::vector<uint8_t> FolderStream::bytes(const std::wstring& name) const {
    Entry entry;
    return find(name, entry) ? entry.bytes : std::vector<uint8_t>();
}

bool FolderStream::has(const std::wstring& name) const {
    Entry entry;
    return find(name, entry);
}

}  // namespace host
