// The host's folder stream: an ordered tree of named entries (values, raw
// bytes, persisted objects, sub-folders) in which programs keep their steps.
// Its text form, which a reference host writes to a file and reads back, is
// in host/FolderStreamText.h.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/HostObject.h"

namespace host {

class FolderStream final : public Object<FolderStream, IFolderStream, INamedCollection> {
public:
    static constexpr char kLedgerName[] = "FolderStream";
    using Answered = Answers<IFolderStream, IDataStream, INamedCollection, ISimpleCollection>;

    // IDataStream: bytes written without a name are kept as the folder's data.
    HRESULT Write(const void* data, int32_t size, int32_t reserved) override;

    // Writing a name that exists replaces its entry where it stands.
    HRESULT CreateFolder(IString* name, int32_t reserved, IFolderStream** out) override;
    HRESULT WriteBinary(IString* name, const void* data, int32_t size, int32_t reserved) override;
    HRESULT WriteValue(IString* name, IVariant* value) override;
    // A string is kept as text; any other object saves itself (IDataPersist)
    // into a sub-folder tagged with its class name. An object that cannot
    // save itself or has no class name: E_NOTIMPL, nothing written. Objects
    // nested 48 deep (a cycle of objects storing each other): E_FAIL.
    HRESULT WriteObject(IString* name, IUnknown* object, int32_t reserved) override;
    HRESULT WriteScalar(IString* name, const void* value, int32_t kind) override;
    // Absent names: E_FAIL. ReadBinary copies only a block of exactly the
    // size asked for (another size: E_INVALIDARG, nothing written).
    HRESULT ReadBinary(IString* name, void* data, int32_t size, int32_t reserved) override;
    HRESULT ReadValue(IString* name, IVariant* into) override;
    // When *out already holds an object, that object loads itself in place
    // and *out is left as it is (the caller keeps its one reference, nothing
    // leaks when it releases nothing); it must be of the stored class and
    // able to load itself, else E_INVALIDARG and nothing changes. When *out is
    // null, a new object of the stored class is made, loaded and handed out
    // with one reference.
    HRESULT ReadObject(IString* name, IUnknown** out, int32_t reserved) override;
    HRESULT ReadScalar(IString* name, void* value, int32_t kind) override;

    // INamedCollection over the entries, in order: a folder or stored object
    // is its sub-folder, a value is a new variant, a block of bytes a string
    // of its hexadecimal digits.
    HRESULT get_Count(int32_t* count) override;
    HRESULT get_Item(int32_t index, IUnknown** out) override;
    HRESULT get_Index(IUnknown* key, int32_t* index) override;
    HRESULT get_ItemName(int32_t index, IString** out) override;

    // The text form (host/FolderStreamText.h). save() of a stream that
    // load() read from a text save() wrote gives back the same text.
    std::string save() const;
    bool save(const std::string& fileName) const;
    // False, with the stream left empty and a message in error, for a text
    // that is not a folder stream (the line number is in the message), names
    // an entry twice in one folder, or is larger than 64 MiB.
    bool load(const std::string& text, std::string* error = nullptr);
    bool loadFile(const std::string& fileName, std::string* error = nullptr);

    // Puts a finished sub-folder (a stored object's contents when className
    // is not empty) under name.
    void adoptFolder(const std::wstring& name, const std::wstring& className, SmartPtr<FolderStream> folder);

    // For tests and the reference host.
    std::vector<std::wstring> names() const;
    SmartPtr<FolderStream> folder(const std::wstring& name) const;
    std::wstring classOf(const std::wstring& name) const;
    std::vector<uint8_t> bytes(const std::wstring& name) const;
    bool has(const std::wstring& name) const;

    enum class Kind { Empty, Integer, Real, Text, Bytes, Folder, Object, String };
    struct Entry {
        std::wstring name;
        Kind kind = Kind::Empty;
        int32_t integer = 0;
        double real = 0.0;
        std::wstring text;  // a text value, a string object, or an object's class name
        std::vector<uint8_t> bytes;
        SmartPtr<FolderStream> folder;  // a sub-folder or a stored object's contents
    };
    // A copy of the entries, in order, and of the bytes written without a name.
    struct Contents {
        std::vector<Entry> entries;
        std::vector<uint8_t> data;
    };
    Contents contents() const;
    // An entry as its text form gives it, as the writers above would make
    // it of the value (a name that exists is replaced where it stands).
    void add(Entry entry) { put(std::move(entry)); }

private:
    void put(Entry entry);
    void clear();
    bool find(const std::wstring& name, Entry& out) const;
    // Where the entry of that name stands, or kNowhere; with the lock held.
    // A small folder (a parameter's value and flags) is searched in place;
    // one of more entries keeps an index, so that a stream of any number of
    // steps is read and written in linear time.
    size_t positionOf(const std::wstring& name) const;
    static constexpr size_t kNowhere = static_cast<size_t>(-1);
    static constexpr size_t kSearchedInPlace = 8;

    mutable std::mutex m_Mutex;
    std::vector<Entry> m_Entries;
    std::unordered_map<std::wstring, size_t> m_Index;  // name -> position in m_Entries, once it is large
    std::vector<uint8_t> m_Data;
};

}  // namespace host
