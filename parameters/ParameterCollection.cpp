#include "parameters/ParameterCollection.h"

#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "runtime/CREFString.h"
#include "runtime/Values.h"

// A record's fields, each with its own reference.
struct ParameterCollection::Snapshot {
    SmartPtr<IString> name;
    SmartPtr<IVariant> value;
    SmartPtr<IUnknown> descriptor;
    int32_t flags = 0;
};

namespace {

// Puts the smart pointer's reference into the record field and the old
// field's reference into the smart pointer, to be released by the caller
// after the guard.
template <class J>
void swapInto(J*& field, SmartPtr<J>& value) {
    J* incoming = value.detach();
    value = SmartPtr<J>::adopt(field);
    field = incoming;
}

void freeRecord(PARAMETEROBJECT* record) {
    if (!record) return;
    if (record->name) record->name->Release();
    if (record->value) record->value->Release();
    if (record->descriptor) record->descriptor->Release();
    delete record;
}

// The variant a value is stored as: the caller's own when it is one (shared),
// else a new one given the value.
SmartPtr<IVariant> storedVariant(IUnknown* value, bool emptyTextForNull) {
    SmartPtr<IVariant> variant = queryInterface<IVariant>(value);
    if (variant) return variant;
    variant = CREFString::CreateVariant();
    if (!variant) return nullptr;
    if (value || !emptyTextForNull) {
        variant->put_Value(value);
    } else if (SmartPtr<IString> empty = ISCreate(L"")) {
        variant->put_Value(empty.get());
    }
    return variant;
}

void writeCharacters(IDataStream* stream, const wchar_t* text, int32_t length) {
    if (length > 0) stream->Write(text, length * static_cast<int32_t>(sizeof(wchar_t)), 0);
}

void writeString(IDataStream* stream, IString* string) {
    const wchar_t* text = nullptr;
    int32_t length = 0;
    if (string && string->get_Text(&text, &length) >= 0 && text && length > 0 &&
        length <= INT32_MAX / static_cast<int32_t>(sizeof(wchar_t))) {
        writeCharacters(stream, text, length);
    }
}

}  // namespace

ParameterCollection::~ParameterCollection() {
    freeAllRecords();
    delete[] m_Items;
    m_Items = nullptr;
    m_Capacity = 0;
}

// --- IParameters -----------------------------------------------------------

HRESULT ParameterCollection::get_Count(int32_t* count) {
    if (!count) return E_POINTER;
    std::lock_guard<RecordGuard> guard(m_Guard);
    *count = m_Count;
    return S_OK;
}

HRESULT ParameterCollection::get_Item(int32_t index, IUnknown** out) {
    const Held held(*this);
    return get_ItemNOLOCK(index, out);
}

HRESULT ParameterCollection::get_Index(IUnknown* key, int32_t* index) {
    const Held held(*this);
    return get_IndexNOLOCK(key, index);
}

HRESULT ParameterCollection::get_ItemName(int32_t index, IString** out) {
    const Held held(*this);
    return get_ItemNameNOLOCK(index, out);
}

HRESULT ParameterCollection::Rename(int32_t index, IString* name) {
    if (!inRange(index)) return E_INVALIDARG;
    // What the record held is released after the lock, as it is declared before it.
    SmartPtr<IString> replaced(name);
    const Held held(*this);
    {
        std::lock_guard<RecordGuard> guard(m_Guard);
        if (index < m_Count) swapInto(m_Items[index]->name, replaced);
    }
    return S_OK;
}

HRESULT ParameterCollection::Iterate(int32_t index, IString** name, IVariant** value, IUnknown** descriptor,
                                     int32_t* flags) {
    if (!inRange(index)) return E_INVALIDARG;
    Snapshot record;
    const Held held(*this);
    if (!snapshot(index, record)) return E_INVALIDARG;
    if (value) {
        SmartPtr<IVariant> variant;
        variantOf(record, variant);
        *value = variant.detach();
    }
    if (descriptor && record.descriptor) *descriptor = record.descriptor.detach();
    if (flags) *flags = record.flags;
    if (name) *name = record.name.detach();
    return S_OK;
}

HRESULT ParameterCollection::get_ItemVariant(int32_t index, IVariant** out) {
    if (!inRange(index)) return E_INVALIDARG;
    if (!out) return E_POINTER;
    *out = nullptr;
    // Only the value and the descriptor are needed: the name's reference is
    // not taken, and a value without a binding is handed out as it is.
    Snapshot record;
    const Held held(*this);
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
    return result;
}

// Hosts write parameters in loops: the value is replaced here, not through
// a second call.
HRESULT ParameterCollection::put_Item(int32_t index, IUnknown* value) {
    if (!inRange(index)) return E_INVALIDARG;
    const Held held(*this);
    return replaceValue(index, value);
}

HRESULT ParameterCollection::get_ItemDescriptor(int32_t index, IUnknown** out) {
    if (!inRange(index)) return E_INVALIDARG;
    if (!out) return E_POINTER;
    const Held held(*this);
    SmartPtr<IUnknown> descriptor;
    {
        std::lock_guard<RecordGuard> guard(m_Guard);
        if (index < m_Count) descriptor = m_Items[index]->descriptor;
    }
    *out = descriptor.detach();
    return *out ? S_OK : E_FAIL;
}

HRESULT ParameterCollection::put_ItemDescriptor(int32_t index, IUnknown* descriptor) {
    if (!inRange(index)) return E_INVALIDARG;
    SmartPtr<IUnknown> replaced(descriptor);
    const Held held(*this);
    {
        std::lock_guard<RecordGuard> guard(m_Guard);
        if (index < m_Count) swapInto(m_Items[index]->descriptor, replaced);
    }
    return S_OK;
}

HRESULT ParameterCollection::get_ItemFlags(int32_t index, int32_t* flags) {
    if (!flags) return E_POINTER;
    std::lock_guard<RecordGuard> guard(m_Guard);
    if (index < 0 || index >= m_Count) return E_INVALIDARG;
    *flags = m_Items[index]->flags;
    return S_OK;
}

HRESULT ParameterCollection::put_ItemFlags(int32_t index, int32_t flags) {
    std::lock_guard<RecordGuard> guard(m_Guard);
    if (index < 0 || index >= m_Count) return E_INVALIDARG;
    m_Items[index]->flags = flags;
    return S_OK;
}

// --- IParametersCreatable --------------------------------------------------

HRESULT ParameterCollection::Add(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) {
    const Held held(*this);
    return AddNOLOCK(name, value, descriptor, flags);
}

HRESULT ParameterCollection::Remove(int32_t index) {
    if (!inRange(index)) return E_INVALIDARG;
    const Held held(*this);
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
    return S_OK;
}

HRESULT ParameterCollection::RemoveAll() {
    const Held held(*this);
    freeAllRecords();
    return S_OK;
}

HRESULT ParameterCollection::Copy(IParameters* source, bool creatable) {
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
        if (creatable) {
            Set(name.get(), copy.get(), descriptor.get(), flags, 3);
            continue;
        }
        const Held held(*this);
        int32_t found = -1;
        if (get_IndexNOLOCK(name.get(), &found) >= 0 && inRange(found)) {
            put_ItemNOLOCK(found, copy.get());
            replaceDescriptorAndFlags(found, descriptor.get(), true, flags, true);
        } else {
            AddNOLOCK(name.get(), copy.get(), descriptor.get(), flags);
        }
    }
    return S_OK;
}

HRESULT ParameterCollection::Sort(int32_t mode) {
    const Held held(*this);
    {
        std::lock_guard<RecordGuard> guard(m_Guard);
        if (m_Count > 1) {
            std::qsort(m_Items, static_cast<size_t>(m_Count.load()), sizeof(PARAMETEROBJECT*),
                       &PARAMETERSCompareByName);
            if (mode & 0x2) {
                for (int32_t i = 0; i < m_Count / 2; ++i) std::swap(*m_Items[i], *m_Items[m_Count - 1 - i]);
            }
        }
    }
    return S_OK;
}

HRESULT ParameterCollection::Set(IUnknown* key, IUnknown* value, IUnknown* descriptor, int32_t flags, int16_t mode) {
    const Held held(*this);
    HRESULT result = S_OK;
    int32_t index = -1;
    if (get_IndexNOLOCK(key, &index) >= 0) {
        // A numeric key is taken as an index without a range check: refuse
        // rather than write outside the collection.
        if (inRange(index)) {
            put_ItemNOLOCK(index, value);
            replaceDescriptorAndFlags(index, descriptor, descriptor || (mode & 0x1), flags, flags != 0 || (mode & 0x2));
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
    return result;
}

// --- Under the collection lock -------------------------------------------------

HRESULT ParameterCollection::AddNOLOCK(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) {
    SmartPtr<IVariant> variant = storedVariant(value, true);
    if (!variant) return E_FAIL;
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
            m_Items[m_Count] = record;
            m_Count.fetch_add(1, std::memory_order_release);
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

HRESULT ParameterCollection::get_ItemNOLOCK(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    Snapshot record;
    if (!snapshot(index, record)) return E_INVALIDARG;
    SmartPtr<IUnknown> value;
    HRESULT result = valueOf(record, value.put());
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

HRESULT ParameterCollection::put_ItemNOLOCK(int32_t index, IUnknown* value) {
    if (!inRange(index)) return E_INVALIDARG;
    return replaceValue(index, value);
}

inline HRESULT ParameterCollection::replaceValue(int32_t index, IUnknown* value) {
    SmartPtr<IVariant> variant = storedVariant(value, false);
    if (!variant) return E_FAIL;
    std::lock_guard<RecordGuard> guard(m_Guard);
    if (index >= m_Count) return E_INVALIDARG;
    swapInto(m_Items[index]->value, variant);
    // `variant` holds the old value now: released after the guard, which is
    // declared after it.
    return S_OK;
}

HRESULT ParameterCollection::get_ItemNameNOLOCK(int32_t index, IString** out) {
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

HRESULT ParameterCollection::get_IndexNOLOCK(IUnknown* key, int32_t* index) {
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

// A record handed in by the caller, which keeps it alive for the call.
HRESULT ParameterCollection::getParameter(PARAMETEROBJECT* item, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!item) return E_POINTER;
    Snapshot record;
    record.value = item->value;
    record.descriptor = item->descriptor;
    return valueOf(record, out);
}

HRESULT ParameterCollection::Params_SaveCSV(IDataStream* stream, int32_t mode) {
    if (!queryInterface<ICSVStream>(stream)) return S_OK;
    bool first = true;
    for (int32_t index = 0, end = count(); index < end; ++index) {
        SmartPtr<IVariant> value;
        get_ItemVariant(index, value.put());
        int32_t flags = 0;
        get_ItemFlags(index, &flags);
        if ((mode & MODE_COMPACT) && (flags & PARAMETER_RESULT)) continue;
        if (!first) writeCharacters(stream, L",", 1);
        first = false;
        if (mode & MODE_CSV_NAMES) {
            SmartPtr<IString> name;
            get_ItemNameNOLOCK(index, name.put());
            writeString(stream, name.get());
            writeCharacters(stream, L"=", 1);
        }
        if (value) writeString(stream, ISCreate(value.get()).get());
    }
    return S_OK;
}

// --- For the persistence forms and the steps -----------------------------

StoredParameter ParameterCollection::stored(int32_t index, bool withValue) {
    StoredParameter parameter;
    Iterate(index, parameter.name.put(), withValue ? parameter.value.put() : nullptr, parameter.descriptor.put(),
            &parameter.flags);
    return parameter;
}

SmartPtr<IString> ParameterCollection::entryName(IString* name, int32_t index) {
    const wchar_t* text = nullptr;
    int32_t length = 0;
    if (name && name->get_Text(&text, &length) >= 0 && text && length > 0) return SmartPtr<IString>(name);
    wchar_t buffer[256];
    _swprintf(buffer, 256, L"Item%d", index + 1);
    return ISCreate(buffer);
}

int32_t ParameterCollection::readInteger(int32_t index, int32_t defaultValue) {
    SmartPtr<IVariant> value;
    if (get_ItemVariant(index, value.put()) < 0 || !value) return defaultValue;
    return value->get_Long();
}

double ParameterCollection::readDouble(int32_t index, double defaultValue) {
    SmartPtr<IVariant> value;
    if (get_ItemVariant(index, value.put()) < 0 || !value) return defaultValue;
    return value->get_Double();
}

SmartPtr<IString> ParameterCollection::readText(int32_t index, const wchar_t* defaultText) {
    SmartPtr<IVariant> value;
    if (get_ItemVariant(index, value.put()) >= 0 && value) {
        if (SmartPtr<IString> text = ISCreate(value.get())) return text;
    }
    return ISCreate(defaultText ? defaultText : L"");
}

HRESULT ParameterCollection::writeInteger(int32_t index, int32_t value) {
    SmartPtr<IVariant> variant = IVCreate(value);
    return variant ? put_Item(index, variant.get()) : E_FAIL;
}

HRESULT ParameterCollection::writeDouble(int32_t index, double value) {
    SmartPtr<IVariant> variant = CREFString::CreateVariant();
    if (!variant) return E_FAIL;
    variant->put_Double(value);
    return put_Item(index, variant.get());
}

HRESULT ParameterCollection::writeText(int32_t index, IString* text) {
    SmartPtr<IVariant> variant = CREFString::CreateVariant();
    if (!variant) return E_FAIL;
    variant->put_String(text);
    return put_Item(index, variant.get());
}

HRESULT ParameterCollection::writeText(int32_t index, const wchar_t* text) {
    SmartPtr<IString> string = ISCreate(text ? text : L"");
    return string ? writeText(index, string.get()) : E_FAIL;
}

// The object is held by a new variant, also when it is a variant itself, so
// the caller's object is never taken over as the parameter's value.
HRESULT ParameterCollection::writeObject(int32_t index, IUnknown* object) {
    SmartPtr<IVariant> variant = CREFString::CreateVariant();
    if (!variant) return E_FAIL;
    variant->put_Value(object);
    return put_Item(index, variant.get());
}

// --- Records ---------------------------------------------------------------------

bool ParameterCollection::snapshot(int32_t index, Snapshot& out) {
    std::lock_guard<RecordGuard> guard(m_Guard);
    if (index < 0 || index >= m_Count) return false;
    const PARAMETEROBJECT& record = *m_Items[index];
    out.name = record.name;
    out.value = record.value;
    out.descriptor = record.descriptor;
    out.flags = record.flags;
    return true;
}

HRESULT ParameterCollection::valueOf(const Snapshot& record, IUnknown** out) {
    *out = nullptr;
    if (SmartPtr<IInputParameter> input = record.descriptor.query<IInputParameter>()) {
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

HRESULT ParameterCollection::variantOf(const Snapshot& record, SmartPtr<IVariant>& out) {
    SmartPtr<IUnknown> value;
    const HRESULT result = valueOf(record, value.put());
    if (result < 0) return result;
    out = value.query<IVariant>();
    if (!out) {
        out = CREFString::CreateVariant();
        if (!out) return E_FAIL;
        out->put_Value(value.get());
    }
    return result;
}

HRESULT ParameterCollection::findName(IString* key, int32_t* index) {
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
HRESULT ParameterCollection::findObject(IUnknown* key, int32_t* index) {
    std::vector<Snapshot> records;
    {
        std::lock_guard<RecordGuard> guard(m_Guard);
        records.resize(static_cast<size_t>(m_Count.load()));
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

void ParameterCollection::replaceDescriptorAndFlags(int32_t index, IUnknown* descriptor, bool replaceDescriptor,
                                                    int32_t flags, bool replaceFlags) {
    SmartPtr<IUnknown> replaced(descriptor);
    std::lock_guard<RecordGuard> guard(m_Guard);
    if (index < 0 || index >= m_Count) return;
    if (replaceDescriptor) swapInto(m_Items[index]->descriptor, replaced);
    if (replaceFlags) m_Items[index]->flags = flags;
    // `replaced` now holds the old descriptor: it is released after the
    // guard, as the guard is declared after it.
}

// The count is 0 before any record is released.
void ParameterCollection::freeAllRecords() {
    std::vector<PARAMETEROBJECT*> removed;
    {
        std::lock_guard<RecordGuard> guard(m_Guard);
        removed.assign(m_Items, m_Items + m_Count.load());
        for (int32_t i = 0; i < m_Count; ++i) m_Items[i] = nullptr;
        m_Count = 0;
    }
    for (PARAMETEROBJECT* record : removed) freeRecord(record);
}

// Grows the array by 10 slots (under the guard); the old array is handed
// back to be freed after it.
bool ParameterCollection::grow(PARAMETEROBJECT**& oldItems) {
    if (m_Capacity > INT32_MAX - 10) return false;
    auto* grown = new (std::nothrow) PARAMETEROBJECT*[static_cast<size_t>(m_Capacity) + 10];
    if (!grown) return false;
    for (int32_t i = 0; i < m_Count; ++i) grown[i] = m_Items[i];
    oldItems = m_Items;
    m_Items = grown;
    m_Capacity += 10;
    return true;
}
