#include "host/FolderStream.h"

#include <cstring>

#include "host/ClassFactory.h"
#include "host/Files.h"
#include "host/FolderStreamText.h"
#include "host/Variants.h"

namespace host {

namespace {

// An object that stores objects that store objects... (a cycle through the
// objects' own Save) is cut off well before the text form refuses to nest,
// so that whatever a stream holds it can also read back.
constexpr int kDeepestObject = 48;
static_assert(kDeepestObject < kDeepestTextFolder);

// How many WriteObject calls this thread is inside.
thread_local int tObjectDepth = 0;

std::wstring nameOf(IString* name) { return name ? textOf(name) : std::wstring(); }

}  // namespace

size_t FolderStream::positionOf(const std::wstring& name) const {
    if (m_Index.empty()) {
        for (size_t i = 0; i < m_Entries.size(); ++i) {
            if (m_Entries[i].name == name) return i;
        }
        return kNowhere;
    }
    const auto found = m_Index.find(name);
    return found == m_Index.end() ? kNowhere : found->second;
}

void FolderStream::put(Entry entry) {
    Entry replaced;  // released after the lock
    std::lock_guard<std::mutex> lock(m_Mutex);
    const size_t position = positionOf(entry.name);
    if (position != kNowhere) {
        replaced = std::move(m_Entries[position]);
        m_Entries[position] = std::move(entry);
        return;
    }
    if (m_Index.empty() && m_Entries.size() >= kSearchedInPlace) {
        for (size_t i = 0; i < m_Entries.size(); ++i) m_Index.emplace(m_Entries[i].name, i);
    }
    if (!m_Index.empty()) m_Index.emplace(entry.name, m_Entries.size());
    m_Entries.push_back(std::move(entry));
}

bool FolderStream::find(const std::wstring& name, Entry& out) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    const size_t position = positionOf(name);
    if (position == kNowhere) return false;
    out = m_Entries[position];
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
            if (FAILED(ReadObject(name, object.put(), 0))) return E_FAIL;
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
        return FAILED(existing->Load(entry.folder.get(), 0)) ? E_FAIL : S_OK;
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
            appendHex(digits, entry.bytes);
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
    const size_t position = positionOf(wanted);
    if (position == kNowhere) return E_FAIL;
    *index = static_cast<int32_t>(position);
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

std::string FolderStream::save() const { return writeFolderStreamText(*this); }

bool FolderStream::save(const std::string& fileName) const { return writeWholeFile(fileName, save()); }

bool FolderStream::load(const std::string& text, std::string* error) {
    clear();
    if (readFolderStreamText(text, *this, error)) return true;
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

FolderStream::Contents FolderStream::contents() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return {m_Entries, m_Data};
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
    std::lock_guard<std::mutex> lock(m_Mutex);
    return positionOf(name) != kNowhere;
}

}  // namespace host
