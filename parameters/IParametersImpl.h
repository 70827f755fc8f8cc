// The step's ordered collection of named parameters, shown to the host as I:
// IParameters, or IParametersCreatable for the steps whose parameter set the
// user defines (they add, remove, copy, sort and set parameters by name).
//
// Two locks, for two purposes:
// - The collection lock (CollectionLock/CollectionUnlock) is the step's own
//   Lock/Unlock: a real, non-recursive mutex in one class and nothing in the
//   others. Hosts use it to make several operations one unit.
// - The record guard is internal. It is held only while a record's pointers
//   are read or replaced, never while a host object is called beyond AddRef
//   or a string's get_Text, and never while anything is released. Event
//   handlers of the asynchronous steps write parameters on host threads while
//   the worker reads them, and for most classes the collection lock does
//   nothing: without the guard a reader could take a value that a writer has
//   just released.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <new>
#include <type_traits>
#include <vector>

#include "runtime/CREFString.h"
#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"
#include "runtime/Values.h"

// One parameter, owned by the collection.
struct PARAMETEROBJECT {
    IString* name;
    IVariant* value;
    IUnknown* descriptor;
    int32_t flags;
};

// Parameter flag bits.
constexpr int32_t PARAMETER_KIND_MASK = 0x0000000F;
constexpr int32_t PARAMETER_PATH = 0x00000010;
constexpr int32_t PARAMETER_PATH_ALTERNATE = 0x00000020;
constexpr int32_t PARAMETER_CHOICES = 0x00000040;
constexpr int32_t PARAMETER_RELATIVE_PATH = 0x00000100;
constexpr int32_t PARAMETER_RESULT = 0x00040000;
constexpr int32_t PARAMETER_NEVER_STORED = 0x04000000;

// Persistence mode bits.
constexpr int32_t MODE_CSV_NAMES = 0x00010000;
constexpr int32_t MODE_COMPACT = 0x00800000;
constexpr int32_t MODE_REBUILD = 0x01000000;
constexpr int32_t MODE_REUSE = 0x02000000;

// qsort's comparison for Sort: the names' code points, case-sensitive; a
// name that is a prefix of another sorts first; a missing name is empty.
int PARAMETERSCompareByName(const void* a, const void* b);

// Guards the record array for the few instructions each access takes (no
// host call that could block is made under it). Property pages read
// parameters on every repaint, so taking it must cost one atomic exchange and
// releasing it one plain store; a thread that finds it taken yields.
class RecordGuard {
public:
    void lock() {
        while (m_Taken.exchange(true, std::memory_order_acquire)) {
            while (m_Taken.load(std::memory_order_relaxed)) std::this_thread::yield();
        }
    }
    void unlock() { m_Taken.store(false, std::memory_order_release); }

private:
    std::atomic<bool> m_Taken{false};
};

// Names match when they have the same length and the same characters, the
// ASCII letters A to Z folded to a to z and nothing else.
bool PARAMETERSNamesMatch(const wchar_t* a, int32_t aLength, const wchar_t* b, int32_t bLength);

// The persistence of a collection, defined in FolderPersistence.h and
// XmlPersistence.h.
template <class Collection>
HRESULT PARAMSSaveFolderStream(Collection& parameters, IUnknown* self, IDataStream* stream, int32_t mode);
template <class Collection>
HRESULT PARAMSLoadFolderStream(Collection& parameters, IDataStream* stream, int32_t mode);
template <class Collection>
HRESULT PARAMSSaveXML(Collection& parameters, IDataStream* stream, int32_t mode);
template <class Collection>
HRESULT PARAMSLoadXML(Collection& parameters, IDataStream* stream, int32_t mode);
template <class Collection>
HRESULT PARAMSSaveXMLUnk(Collection& parameters, IDataStream* stream, int32_t mode);
template <class Collection>
HRESULT PARAMSLoadXMLUnk(Collection& parameters, IDataStream* stream, int32_t mode, bool creatable);

template <class T, class I>
class IParametersImpl : public I {
    static_assert(std::is_same_v<I, IParameters> || std::is_same_v<I, IParametersCreatable>,
                  "a step's collection is IParameters or IParametersCreatable");
    static constexpr bool kCreatable = std::is_same_v<I, IParametersCreatable>;

public:
    // --- IParameters -------------------------------------------------------

    HRESULT get_Count(int32_t* count) override {
        if (!count) return E_POINTER;
        std::lock_guard<RecordGuard> guard(m_Guard);
        *count = m_Count;
        return S_OK;
    }

    HRESULT get_Item(int32_t index, IUnknown** out) override {
        CollectionLock();
        const HRESULT result = get_ItemNOLOCK(index, out);
        CollectionUnlock();
        return result;
    }

    HRESULT get_Index(IUnknown* key, int32_t* index) override {
        CollectionLock();
        const HRESULT result = get_IndexNOLOCK(key, index);
        CollectionUnlock();
        return result;
    }

    HRESULT get_ItemName(int32_t index, IString** out) override {
        CollectionLock();
        const HRESULT result = get_ItemNameNOLOCK(index, out);
        CollectionUnlock();
        return result;
    }

    HRESULT Rename(int32_t index, IString* name) override {
        if (!inRange(index)) return E_INVALIDARG;
        CollectionLock();
        SmartPtr<IString> replaced(name);
        {
            std::lock_guard<RecordGuard> guard(m_Guard);
            if (index < m_Count) swapInto(m_Items[index]->name, replaced);
        }
        CollectionUnlock();
        return S_OK;
    }

    HRESULT CollectionLock() override {
        static_cast<T*>(this)->Lock();
        m_Locked.store(1, std::memory_order_relaxed);
        return S_OK;
    }

    HRESULT CollectionUnlock() override {
        static_cast<T*>(this)->Unlock();
        m_Locked.store(0, std::memory_order_relaxed);
        return S_OK;
    }

    HRESULT IsCollectionLocked() override { return m_Locked.load(std::memory_order_relaxed) != 0 ? 1 : 0; }

    HRESULT Iterate(int32_t index, IString** name, IVariant** value, IUnknown** descriptor,
                    int32_t* flags) override {
        if (!inRange(index)) return E_INVALIDARG;
        CollectionLock();
        Snapshot record;
        if (!snapshot(index, record)) {
            CollectionUnlock();
            return E_INVALIDARG;
        }
        if (value) {
            SmartPtr<IVariant> variant;
            variantOf(record, variant);
            *value = variant.detach();
        }
        if (descriptor && record.descriptor) *descriptor = record.descriptor.detach();
        if (flags) *flags = record.flags;
        if (name) *name = record.name.detach();
        CollectionUnlock();
        return S_OK;
    }

    // 1 when the value came from a bound input.
    HRESULT get_ItemVariant(int32_t index, IVariant** out) override {
        if (!inRange(index)) return E_INVALIDARG;
        if (!out) return E_POINTER;
        *out = nullptr;
        CollectionLock();
        // Only the value and the descriptor are needed: the name's reference
        // is not taken, and a value without a binding is handed out as it is.
        Snapshot record;
        bool found = false;
        {
            std::lock_guard<RecordGuard> guard(m_Guard);
            if (index < m_Count) {
                const PARAMETEROBJECT& item = *m_Items[index];
                record.value = item.value;
                if (item.descriptor) record.descriptor = item.descriptor;
                found = true;
            }
        }
        HRESULT result = E_INVALIDARG;
        if (found && !record.descriptor) {
            *out = record.value.detach();
            result = *out ? S_OK : E_FAIL;
        } else if (found) {
            SmartPtr<IVariant> variant;
            result = variantOf(record, variant);
            *out = variant.detach();
        }
        CollectionUnlock();
        return result;
    }

    HRESULT put_Item(int32_t index, IUnknown* value) override {
        if (!inRange(index)) return E_INVALIDARG;
        CollectionLock();
        const HRESULT result = put_ItemNOLOCK(index, value);
        CollectionUnlock();
        return result;
    }

    HRESULT get_ItemDescriptor(int32_t index, IUnknown** out) override {
        if (!inRange(index)) return E_INVALIDARG;
        if (!out) return E_POINTER;
        CollectionLock();
        SmartPtr<IUnknown> descriptor;
        {
            std::lock_guard<RecordGuard> guard(m_Guard);
            if (index < m_Count) descriptor = m_Items[index]->descriptor;
        }
        *out = descriptor.detach();
        CollectionUnlock();
        return *out ? S_OK : E_FAIL;
    }

    HRESULT put_ItemDescriptor(int32_t index, IUnknown* descriptor) override {
        if (!inRange(index)) return E_INVALIDARG;
        CollectionLock();
        SmartPtr<IUnknown> replaced(descriptor);
        {
            std::lock_guard<RecordGuard> guard(m_Guard);
            if (index < m_Count) swapInto(m_Items[index]->descriptor, replaced);
        }
        CollectionUnlock();
        return S_OK;
    }

    HRESULT get_ItemFlags(int32_t index, int32_t* flags) override {
        if (!flags) return E_POINTER;
        std::lock_guard<RecordGuard> guard(m_Guard);
        if (index < 0 || index >= m_Count) return E_INVALIDARG;
        *flags = m_Items[index]->flags;
        return S_OK;
    }

    HRESULT put_ItemFlags(int32_t index, int32_t flags) override {
        std::lock_guard<RecordGuard> guard(m_Guard);
        if (index < 0 || index >= m_Count) return E_INVALIDARG;
        m_Items[index]->flags = flags;
        return S_OK;
    }

    // --- IParametersCreatable; plain members in the IParameters variant ------

    // Appends, also when the name exists already.
    HRESULT Add(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) {
        CollectionLock();
        const HRESULT result = AddNOLOCK(name, value, descriptor, flags);
        CollectionUnlock();
        return result;
    }

    HRESULT Remove(int32_t index) {
        if (!inRange(index)) return E_INVALIDARG;
        CollectionLock();
        PARAMETEROBJECT* removed = nullptr;
        {
            std::lock_guard<RecordGuard> guard(m_Guard);
            if (index < m_Count) {
                removed = m_Items[index];
                for (int32_t i = index; i + 1 < m_Count; ++i) m_Items[i] = m_Items[i + 1];
                --m_Count;
                m_Items[m_Count] = nullptr;
            }
        }
        freeRecord(removed);
        CollectionUnlock();
        return S_OK;
    }

    // The array and its capacity stay.
    HRESULT RemoveAll() {
        CollectionLock();
        std::vector<PARAMETEROBJECT*> removed;
        takeAllRecords(removed);
        for (PARAMETEROBJECT* record : removed) freeRecord(record);
        CollectionUnlock();
        return S_OK;
    }

    // Takes over the parameters of source: a parameter of the same name is
    // updated (value copied, descriptor and flags replaced), a new name is
    // appended, and the target's other parameters remain.
    HRESULT Copy(IParameters* source) {
        if (!source) return E_POINTER;
        int32_t count = 0;
        source->get_Count(&count);
        for (int32_t index = 0; index < count; ++index) {
            SmartPtr<IString> name;
            SmartPtr<IVariant> value;
            SmartPtr<IUnknown> descriptor;
            int32_t flags = 0;
            if (source->Iterate(index, name.put(), value.put(), descriptor.put(), &flags) < 0) continue;
            SmartPtr<IVariant> copy = CREFString::CreateVariant();
            if (!copy) continue;
            copy->put_Value(value.get());
            if constexpr (kCreatable) {
                Set(name.get(), copy.get(), descriptor.get(), flags, 3);
            } else {
                CollectionLock();
                int32_t found = -1;
                if (get_IndexNOLOCK(name.get(), &found) >= 0 && inRange(found)) {
                    put_ItemNOLOCK(found, copy.get());
                    replaceDescriptorAndFlags(found, descriptor.get(), true, flags, true);
                } else {
                    AddNOLOCK(name.get(), copy.get(), descriptor.get(), flags);
                }
                CollectionUnlock();
            }
        }
        return S_OK;
    }

    // Orders by name; mode bit 0x2 reverses the order.
    HRESULT Sort(int32_t mode) {
        CollectionLock();
        {
            std::lock_guard<RecordGuard> guard(m_Guard);
            if (m_Count > 1) {
                std::qsort(m_Items, static_cast<size_t>(m_Count), sizeof(PARAMETEROBJECT*), &PARAMETERSCompareByName);
                if (mode & 0x2) {
                    for (int32_t i = 0; i < m_Count / 2; ++i) std::swap(*m_Items[i], *m_Items[m_Count - 1 - i]);
                }
            }
        }
        CollectionUnlock();
        return S_OK;
    }

    // Updates the parameter that key designates, or adds one under key's name.
    // Mode bit 0x1 clears the descriptor when none is given; bit 0x2 stores
    // the flags even when they are 0.
    HRESULT Set(IUnknown* key, IUnknown* value, IUnknown* descriptor, int32_t flags, int16_t mode) {
        CollectionLock();
        HRESULT result = S_OK;
        int32_t index = -1;
        if (get_IndexNOLOCK(key, &index) >= 0) {
            // A numeric key is taken as an index without a range check: refuse
            // rather than write outside the collection.
            if (inRange(index)) {
                put_ItemNOLOCK(index, value);
                replaceDescriptorAndFlags(index, descriptor, descriptor || (mode & 0x1), flags,
                                          flags != 0 || (mode & 0x2));
            } else {
                result = E_INVALIDARG;
            }
        } else if (SmartPtr<IString> name = queryInterface<IString>(key)) {
            result = AddNOLOCK(name.get(), value, descriptor, flags);
        } else if (SmartPtr<IVariant> variant = queryInterface<IVariant>(key)) {
            SmartPtr<IString> text = ISCreate(variant.get());
            result = text ? AddNOLOCK(text.get(), value, descriptor, flags) : E_FAIL;
        } else {
            result = E_FAIL;
        }
        CollectionUnlock();
        return result;
    }

    // --- Operations for callers that hold the collection lock ---------------

    // The value becomes a variant: the caller's own when it is one (shared),
    // else a new one holding it (a null value: an empty string).
    HRESULT AddNOLOCK(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) {
        SmartPtr<IVariant> variant = queryInterface<IVariant>(value);
        if (!variant) {
            variant = CREFString::CreateVariant();
            if (!variant) return E_FAIL;
            if (value) {
                variant->put_Value(value);
            } else if (SmartPtr<IString> empty = ISCreate(L"")) {
                variant->put_Value(empty.get());
            }
        }
        auto* record = new (std::nothrow) PARAMETEROBJECT{nullptr, nullptr, nullptr, flags};
        if (!record) return E_OUTOFMEMORY;
        record->name = SmartPtr<IString>(name).detach();
        record->value = variant.detach();
        record->descriptor = SmartPtr<IUnknown>(descriptor).detach();

        PARAMETEROBJECT** oldItems = nullptr;
        bool stored = false;
        {
            std::lock_guard<RecordGuard> guard(m_Guard);
            if (m_Count < m_Capacity || grow(oldItems)) {
                m_Items[m_Count++] = record;
                stored = true;
            }
        }
        delete[] oldItems;
        if (!stored) {
            freeRecord(record);
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }

    // Objects and strings come unwrapped, numbers as their variant.
    HRESULT get_ItemNOLOCK(int32_t index, IUnknown** out) {
        if (!out) return E_POINTER;
        *out = nullptr;
        Snapshot record;
        if (!snapshot(index, record)) return E_INVALIDARG;
        SmartPtr<IUnknown> value;
        HRESULT result = getParameter(record, value.put());
        if (result < 0) return result;
        if (SmartPtr<IVariant> variant = value.query<IVariant>()) {
            if (variant->IsObject()) {
                result = variant->get_Object(out);
            } else if (variant->IsString()) {
                SmartPtr<IString> string;
                variant->get_String(string.put());
                *out = string.detach();
            } else {
                *out = value.detach();
            }
        } else {
            *out = value.detach();
        }
        if (!*out) return E_FAIL;
        return result;
    }

    HRESULT put_ItemNOLOCK(int32_t index, IUnknown* value) {
        if (!inRange(index)) return E_INVALIDARG;
        SmartPtr<IVariant> variant = queryInterface<IVariant>(value);
        if (!variant) {
            variant = CREFString::CreateVariant();
            if (!variant) return E_FAIL;
            variant->put_Value(value);
        }
        {
            std::lock_guard<RecordGuard> guard(m_Guard);
            if (index >= m_Count) return E_INVALIDARG;
            swapInto(m_Items[index]->value, variant);
        }
        return S_OK;
    }

    HRESULT get_ItemNameNOLOCK(int32_t index, IString** out) {
        if (!out) return E_POINTER;
        SmartPtr<IString> name;
        {
            std::lock_guard<RecordGuard> guard(m_Guard);
            if (index < 0 || index >= m_Count) return E_INVALIDARG;
            name = m_Items[index]->name;
        }
        *out = name.detach();
        return *out ? S_OK : E_FAIL;
    }

    // Finds a parameter by key: a number is the index itself (not range
    // checked); a string, or a variant holding one, is a name; any other
    // object is looked for among the values' objects, then the descriptors.
    HRESULT get_IndexNOLOCK(IUnknown* key, int32_t* index) {
        if (!index) return E_POINTER;
        SmartPtr<IString> string = queryInterface<IString>(key);
        SmartPtr<IUnknown> object(key);
        if (SmartPtr<IVariant> variant = queryInterface<IVariant>(key)) {
            if (variant->get_Type() != 0) {
                *index = variant->get_Long();
                return S_OK;
            }
            if (variant->IsString()) variant->get_String(string.put());
            if (variant->IsObject()) variant->get_Object(object.put());
        }
        if (string) return findName(string.get(), index);
        if (!object) return E_FAIL;
        return findObject(object.get(), index);
    }

    // One line of comma-separated values (with mode 0x10000, name=value),
    // results left out in compact mode; no quoting and no line end.
    HRESULT Params_SaveCSV(IDataStream* stream, int32_t mode) {
        if (!queryInterface<ICSVStream>(stream)) return S_OK;
        int32_t count = 0;
        get_Count(&count);
        bool first = true;
        for (int32_t index = 0; index < count; ++index) {
            SmartPtr<IVariant> value;
            get_ItemVariant(index, value.put());
            int32_t flags = 0;
            get_ItemFlags(index, &flags);
            if ((mode & MODE_COMPACT) && (flags & PARAMETER_RESULT)) continue;
            if (!first) writeText(stream, L",", 1);
            first = false;
            if (mode & MODE_CSV_NAMES) {
                SmartPtr<IString> name;
                get_ItemNameNOLOCK(index, name.put());
                writeString(stream, name.get());
                writeText(stream, L"=", 1);
            }
            if (value) writeString(stream, ISCreate(value.get()).get());
        }
        return S_OK;
    }

    // Folder streams: the compact bit (0x800000) reduces what is written to
    // what the declaration cannot restore; the rebuild bit (0x1000000)
    // re-creates the parameter set on loading.
    HRESULT Params_SaveFolderStream(IDataStream* stream, int32_t mode) {
        return PARAMSSaveFolderStream(*this, identity(), stream, mode);
    }
    HRESULT Params_LoadFolderStream(IDataStream* stream, int32_t mode) {
        return PARAMSLoadFolderStream(*this, stream, mode);
    }
    // XML: every parameter with its value as text.
    HRESULT Params_SaveXML(IDataStream* stream, int32_t mode) { return PARAMSSaveXML(*this, stream, mode); }
    HRESULT Params_LoadXML(IDataStream* stream, int32_t mode, int32_t /*reserved*/) {
        return PARAMSLoadXML(*this, stream, mode);
    }
    // XML: only the parameters whose value is a persistable object; with the
    // reuse bit (0x2000000) the current objects load themselves.
    HRESULT Params_SaveXMLUnk(IDataStream* stream, int32_t mode) { return PARAMSSaveXMLUnk(*this, stream, mode); }
    HRESULT Params_LoadXMLUnk(IDataStream* stream, int32_t mode) {
        return PARAMSLoadXMLUnk(*this, stream, mode, kCreatable);
    }

    int32_t PARAMInteger(int32_t index, int32_t defaultValue) {
        SmartPtr<IVariant> value;
        if (get_ItemVariant(index, value.put()) < 0 || !value) return defaultValue;
        return value->get_Long();
    }

protected:
    IParametersImpl() = default;
    ~IParametersImpl() {
        std::vector<PARAMETEROBJECT*> removed;
        takeAllRecords(removed);
        for (PARAMETEROBJECT* record : removed) freeRecord(record);
        delete[] m_Items;
        m_Items = nullptr;
        m_Capacity = 0;
    }
    IParametersImpl(const IParametersImpl&) = delete;
    IParametersImpl& operator=(const IParametersImpl&) = delete;

    PARAMETEROBJECT** m_Items = nullptr;
    // Changed only under the guard; read without it for the range checks
    // that come before the collection lock.
    std::atomic<int32_t> m_Count{0};
    int32_t m_Capacity = 0;
    // Read by other threads without the collection lock, so atomic.
    std::atomic<int32_t> m_Locked{0};

private:
    // A record's fields, each with its own reference.
    struct Snapshot {
        SmartPtr<IString> name;
        SmartPtr<IVariant> value;
        SmartPtr<IUnknown> descriptor;
        int32_t flags = 0;
    };

    static void writeText(IDataStream* stream, const wchar_t* text, int32_t length) {
        if (length > 0) stream->Write(text, length * static_cast<int32_t>(sizeof(wchar_t)), 0);
    }
    static void writeString(IDataStream* stream, IString* string) {
        const wchar_t* text = nullptr;
        int32_t length = 0;
        if (string && string->get_Text(&text, &length) >= 0 && text && length > 0 &&
            length <= INT32_MAX / static_cast<int32_t>(sizeof(wchar_t))) {
            writeText(stream, text, length);
        }
    }

    IUnknown* identity() { return static_cast<T*>(this)->identityOfStep(); }

    // A first check, before the collection lock; readers check again under
    // the guard, as a parameter may have been removed in between.
    bool inRange(int32_t index) const { return index >= 0 && index < m_Count.load(std::memory_order_acquire); }

    bool snapshot(int32_t index, Snapshot& out) {
        std::lock_guard<RecordGuard> guard(m_Guard);
        if (index < 0 || index >= m_Count) return false;
        const PARAMETEROBJECT& record = *m_Items[index];
        out.name = record.name;
        out.value = record.value;
        out.descriptor = record.descriptor;
        out.flags = record.flags;
        return true;
    }

    // The value readers see: a bound input's value (1) or the stored one (0).
    HRESULT getParameter(const Snapshot& record, IUnknown** out) {
        *out = nullptr;
        if (SmartPtr<IInputParameter> input = record.descriptor.template query<IInputParameter>()) {
            SmartPtr<IUnknown> bound;
            if (input->get_Value(bound.put()) >= 0) {
                *out = bound.detach();
                return S_FALSE;
            }
        }
        if (!record.value) return E_FAIL;
        *out = SmartPtr<IVariant>(record.value).detach();
        return S_OK;
    }

    // The value as a variant: the value itself when it is one, else a new
    // variant holding it. Returns getParameter's result.
    HRESULT variantOf(const Snapshot& record, SmartPtr<IVariant>& out) {
        SmartPtr<IUnknown> value;
        const HRESULT result = getParameter(record, value.put());
        if (result < 0) return result;
        out = value.query<IVariant>();
        if (!out) {
            out = CREFString::CreateVariant();
            if (!out) return E_FAIL;
            out->put_Value(value.get());
        }
        return result;
    }

    HRESULT findName(IString* key, int32_t* index) {
        const wchar_t* text = nullptr;
        int32_t length = 0;
        if (key->get_Text(&text, &length) < 0 || !text || length <= 0) {
            *index = -1;
            return E_FAIL;
        }
        std::lock_guard<RecordGuard> guard(m_Guard);
        for (int32_t i = 0; i < m_Count; ++i) {
            IString* name = m_Items[i]->name;
            const wchar_t* nameText = nullptr;
            int32_t nameLength = 0;
            if (!name || name->get_Text(&nameText, &nameLength) < 0) continue;
            if (PARAMETERSNamesMatch(text, length, nameText, nameLength)) {
                *index = i;
                return S_OK;
            }
        }
        *index = -1;
        return E_FAIL;
    }

    // Identity comparisons call host objects, so they run on references taken
    // under the guard, not under it.
    HRESULT findObject(IUnknown* key, int32_t* index) {
        std::vector<Snapshot> records;
        {
            std::lock_guard<RecordGuard> guard(m_Guard);
            records.resize(static_cast<size_t>(m_Count));
            for (int32_t i = 0; i < m_Count; ++i) {
                records[static_cast<size_t>(i)].value = m_Items[i]->value;
                records[static_cast<size_t>(i)].descriptor = m_Items[i]->descriptor;
            }
        }
        for (size_t i = 0; i < records.size(); ++i) {
            SmartPtr<IUnknown> held;
            if (records[i].value && records[i].value->IsObject()) records[i].value->get_Object(held.put());
            if (held && isSameObject(held.get(), key)) {
                *index = static_cast<int32_t>(i);
                return S_OK;
            }
        }
        for (size_t i = 0; i < records.size(); ++i) {
            if (records[i].descriptor && isSameObject(records[i].descriptor.get(), key)) {
                *index = static_cast<int32_t>(i);
                return S_OK;
            }
        }
        return E_FAIL;
    }

    void replaceDescriptorAndFlags(int32_t index, IUnknown* descriptor, bool replaceDescriptor, int32_t flags,
                                   bool replaceFlags) {
        SmartPtr<IUnknown> replaced(descriptor);
        std::lock_guard<RecordGuard> guard(m_Guard);
        if (index < 0 || index >= m_Count) return;
        if (replaceDescriptor) swapInto(m_Items[index]->descriptor, replaced);
        if (replaceFlags) m_Items[index]->flags = flags;
        // `replaced` now holds the old descriptor: it is released after the
        // guard, as the guard is declared after it.
    }

    // Puts the smart pointer's reference into the record field and the old
    // field's reference into the smart pointer, to be released by the caller
    // after the guard.
    template <class J>
    static void swapInto(J*& field, SmartPtr<J>& value) {
        J* incoming = value.detach();
        value = SmartPtr<J>::adopt(field);
        field = incoming;
    }

    void takeAllRecords(std::vector<PARAMETEROBJECT*>& removed) {
        std::lock_guard<RecordGuard> guard(m_Guard);
        removed.assign(m_Items, m_Items + m_Count);
        for (int32_t i = 0; i < m_Count; ++i) m_Items[i] = nullptr;
        m_Count = 0;
    }

    static void freeRecord(PARAMETEROBJECT* record) {
        if (!record) return;
        if (record->name) record->name->Release();
        if (record->value) record->value->Release();
        if (record->descriptor) record->descriptor->Release();
        delete record;
    }

    // Grows the array by 10 slots (under the guard); the old array is handed
    // back to be freed after it.
    bool grow(PARAMETEROBJECT**& oldItems) {
        if (m_Capacity > INT32_MAX - 10) return false;
        auto* grown = new (std::nothrow) PARAMETEROBJECT*[static_cast<size_t>(m_Capacity) + 10];
        if (!grown) return false;
        for (int32_t i = 0; i < m_Count; ++i) grown[i] = m_Items[i];
        oldItems = m_Items;
        m_Items = grown;
        m_Capacity += 10;
        return true;
    }

    RecordGuard m_Guard;
};
