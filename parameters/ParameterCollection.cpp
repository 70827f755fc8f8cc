#include "parameters/ParameterCollection.h"

#include <cstdlib>
#include <mutex>
#include <utility>

#include "runtime/Allocation.h"
#include "runtime/CREFString.h"
#include "runtime/Values.h"

// A record with the link that chains it while it is outside the array: in a
// batch on its way in, or removed and waiting to be released after the
// guard. Freeing never needs storage of its own, so teardown cannot fail.
struct OwnedParameter : PARAMETEROBJECT {
    OwnedParameter* next = nullptr;
};

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

void freeRecord(PARAMETEROBJECT* item) {
    if (!item) return;
    auto* record = static_cast<OwnedParameter*>(item);
    if (record->name) record->name->Release();
    if (record->value) record->value->Release();
    if (record->descriptor) record->descriptor->Release();
    deleteObject(record);
}

void freeChain(OwnedParameter* record) {
    while (record) {
        OwnedParameter* next = record->next;
        freeRecord(record);
        record = next;
    }
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

// A record holding its own references: the value as AddNOLOCK stores it.
OwnedParameter* makeRecord(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags, HRESULT& result) {
    SmartPtr<IVariant> variant = storedVariant(value, true);
    result = E_FAIL;
    if (!variant) return nullptr;
    result = E_OUTOFMEMORY;
    OwnedParameter* record = newObject<OwnedParameter>();
    if (!record) return nullptr;
    result = S_OK;
    record->name = SmartPtr<IString>(name).detach();
    record->value = variant.detach();
    record->descriptor = SmartPtr<IUnknown>(descriptor).detach();
    record->flags = flags;
    return record;
}

void writeCharacters(IDataStream* stream, const wchar_t* text, int32_t length) {
    if (length > 0) stream->Write(text, length * static_cast<int32_t>(sizeof(wchar_t)), 0);
}

void writeString(IDataStream* stream, IString* string) {
    const wchar_t* text = nullptr;
    int32_t length = 0;
    if (string && SUCCEEDED(string->get_Text(&text, &length)) && text && length > 0 &&
        length <= INT32_MAX / static_cast<int32_t>(sizeof(wchar_t))) {
        writeCharacters(stream, text, length);
    }
}

}  // namespace

ParameterBatch::~ParameterBatch() { freeChain(m_First); }

HRESULT ParameterBatch::add(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) {
    HRESULT result = S_OK;
    OwnedParameter* record = makeRecord(name, value, descriptor, flags, result);
    if (!record) return result;
    (m_Last ? m_Last->next : m_First) = record;
    m_Last = record;
    ++m_Count;
    return S_OK;
}

OwnedParameter* ParameterBatch::take() {
    OwnedParameter* record = m_First;
    if (!record) return nullptr;
    m_First = record->next;
    if (!m_First) m_Last = nullptr;
    record->next = nullptr;
    --m_Count;
    return record;
}

ParameterCollection::~ParameterCollection() {
    OwnedParameter* removed = nullptr;
    {
        std::lock_guard<Mutex> guard(m_Guard);
        removed = detachAllLocked();
    }
    freeChain(removed);
    freeBytes(m_Items);
    m_Items = nullptr;
    m_Capacity = 0;
}

// --- IParameters -----------------------------------------------------------

HRESULT ParameterCollection::get_Count(int32_t* count) {
    if (!count) return E_POINTER;
    *count = m_Count.load(std::memory_order_acquire);
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
        std::lock_guard<Mutex> guard(m_Guard);
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
        std::lock_guard<Mutex> guard(m_Guard);
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
        std::lock_guard<Mutex> guard(m_Guard);
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
        std::lock_guard<Mutex> guard(m_Guard);
        if (index < m_Count) swapInto(m_Items[index]->descriptor, replaced);
    }
    return S_OK;
}

HRESULT ParameterCollection::get_ItemFlags(int32_t index, int32_t* flags) {
    if (!flags) return E_POINTER;
    std::lock_guard<Mutex> guard(m_Guard);
    if (index < 0 || index >= m_Count) return E_INVALIDARG;
    *flags = m_Items[index]->flags;
    return S_OK;
}

HRESULT ParameterCollection::put_ItemFlags(int32_t index, int32_t flags) {
    std::lock_guard<Mutex> guard(m_Guard);
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
        std::lock_guard<Mutex> guard(m_Guard);
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
    OwnedParameter* removed = nullptr;
    {
        std::lock_guard<Mutex> guard(m_Guard);
        removed = detachAllLocked();
    }
    freeChain(removed);
    return S_OK;
}

// Every copy is made first; then, under one hold of the guard, the room for
// the names that are new is made before any parameter changes.
HRESULT ParameterCollection::Copy(IParameters* source, bool creatable) {
    if (!source) return E_POINTER;
    int32_t count = 0;
    source->get_Count(&count);
    ParameterBatch copies;
    for (int32_t index = 0; index < count; ++index) {
        SmartPtr<IString> name;
        SmartPtr<IVariant> value;
        SmartPtr<IUnknown> descriptor;
        int32_t flags = 0;
        if (FAILED(source->Iterate(index, name.put(), value.put(), descriptor.put(), &flags))) continue;
        if (creatable && !name) continue;
        SmartPtr<IVariant> copy = CREFString::CreateVariant();
        if (!copy) continue;
        copy->put_Value(value.get());
        if (copies.add(name.get(), copy.get(), descriptor.get(), flags) == E_OUTOFMEMORY) return E_OUTOFMEMORY;
    }

    const Held held(*this);
    OwnedParameter* replaced = nullptr;
    PARAMETEROBJECT** oldItems = nullptr;
    HRESULT result = S_OK;
    {
        std::lock_guard<Mutex> guard(m_Guard);
        int32_t added = 0;
        for (OwnedParameter* copy = copies.m_First; copy; copy = copy->next) {
            if (indexOfNameLocked(copy->name) < 0) ++added;
        }
        if (!reserveLocked(m_Count + added, oldItems)) {
            result = E_OUTOFMEMORY;
        } else {
            // A name added by an earlier copy is updated by a later one, as
            // one Set after the other would: at most `added` are added.
            while (OwnedParameter* copy = copies.take()) {
                const int32_t found = indexOfNameLocked(copy->name);
                if (found < 0) {
                    m_Items[m_Count] = copy;
                    m_Count.fetch_add(1, std::memory_order_release);
                    continue;
                }
                // The copy takes the old value and descriptor away to be released.
                PARAMETEROBJECT& target = *m_Items[found];
                std::swap(target.value, copy->value);
                std::swap(target.descriptor, copy->descriptor);
                target.flags = copy->flags;
                copy->next = replaced;
                replaced = copy;
            }
        }
    }
    freeBytes(oldItems);
    freeChain(replaced);
    return result;
}

HRESULT ParameterCollection::Sort(int32_t mode) {
    const Held held(*this);
    {
        std::lock_guard<Mutex> guard(m_Guard);
        if (m_Count > 1) {
            std::qsort(m_Items, static_cast<size_t>(m_Count.load()), sizeof(PARAMETEROBJECT*),
                       &PARAMETERSCompareByName);
            if (mode & SORT_DESCENDING) {
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
    if (SUCCEEDED(get_IndexNOLOCK(key, &index))) {
        // A numeric key is taken as an index without a range check: refuse
        // rather than write outside the collection.
        if (inRange(index)) {
            put_ItemNOLOCK(index, value);
            replaceDescriptorAndFlags(index, descriptor, descriptor || (mode & SET_CLEARS_DESCRIPTOR), flags,
                                      flags != 0 || (mode & SET_REPLACES_FLAGS));
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
    HRESULT result = S_OK;
    OwnedParameter* record = makeRecord(name, value, descriptor, flags, result);
    if (!record) return result;
    PARAMETEROBJECT** oldItems = nullptr;
    bool stored = false;
    {
        std::lock_guard<Mutex> guard(m_Guard);
        if (reserveLocked(m_Count + 1, oldItems)) {
            m_Items[m_Count] = record;
            m_Count.fetch_add(1, std::memory_order_release);
            stored = true;
        }
    }
    freeBytes(oldItems);
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
    if (FAILED(result)) return result;
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
    std::lock_guard<Mutex> guard(m_Guard);
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
        std::lock_guard<Mutex> guard(m_Guard);
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

HRESULT ParameterCollection::replaceAll(ParameterBatch& batch) {
    const Held held(*this);
    OwnedParameter* removed = nullptr;
    PARAMETEROBJECT** oldItems = nullptr;
    bool room = false;
    {
        std::lock_guard<Mutex> guard(m_Guard);
        room = reserveLocked(batch.count(), oldItems);
        if (room) {
            removed = detachAllLocked();
            int32_t count = 0;
            while (OwnedParameter* record = batch.take()) m_Items[count++] = record;
            m_Count.store(count, std::memory_order_release);
        }
    }
    freeBytes(oldItems);
    freeChain(removed);
    return room ? S_OK : E_OUTOFMEMORY;
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
    if (name && SUCCEEDED(name->get_Text(&text, &length)) && text && length > 0) return SmartPtr<IString>(name);
    wchar_t buffer[256];
    _swprintf(buffer, 256, L"Item%d", index + 1);
    return ISCreate(buffer);
}

int32_t ParameterCollection::readInteger(int32_t index, int32_t defaultValue) {
    SmartPtr<IVariant> value;
    if (FAILED(get_ItemVariant(index, value.put())) || !value) return defaultValue;
    return value->get_Long();
}

double ParameterCollection::readDouble(int32_t index, double defaultValue) {
    SmartPtr<IVariant> value;
    if (FAILED(get_ItemVariant(index, value.put())) || !value) return defaultValue;
    return value->get_Double();
}

SmartPtr<IString> ParameterCollection::readText(int32_t index, const wchar_t* defaultText) {
    SmartPtr<IVariant> value;
    if (SUCCEEDED(get_ItemVariant(index, value.put())) && value) {
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
    std::lock_guard<Mutex> guard(m_Guard);
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
        if (SUCCEEDED(input->get_Value(bound.put()))) {
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
    if (FAILED(result)) return result;
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
    if (FAILED(key->get_Text(&text, &length)) || !text || length <= 0) {
        *index = -1;
        return E_FAIL;
    }
    std::lock_guard<Mutex> guard(m_Guard);
    *index = indexOfNameLocked(text, length);
    return *index >= 0 ? S_OK : E_FAIL;
}

int32_t ParameterCollection::indexOfNameLocked(const wchar_t* text, int32_t length) const {
    for (int32_t i = 0; i < m_Count; ++i) {
        IString* name = m_Items[i]->name;
        const wchar_t* nameText = nullptr;
        int32_t nameLength = 0;
        if (!name || FAILED(name->get_Text(&nameText, &nameLength))) continue;
        if (PARAMETERSNamesMatch(text, length, nameText, nameLength)) return i;
    }
    return -1;
}

// As the lookup by a string key finds it: an empty or missing name matches none.
int32_t ParameterCollection::indexOfNameLocked(IString* name) const {
    const wchar_t* text = nullptr;
    int32_t length = 0;
    if (!name || FAILED(name->get_Text(&text, &length)) || !text || length <= 0) return -1;
    return indexOfNameLocked(text, length);
}

// Identity comparisons call host objects, so they run on references taken
// under the guard one record at a time, not under it.
HRESULT ParameterCollection::findObject(IUnknown* key, int32_t* index) {
    for (int32_t i = 0;; ++i) {
        Snapshot record;
        if (!snapshot(i, record)) break;
        SmartPtr<IUnknown> held;
        if (record.value && record.value->IsObject()) record.value->get_Object(held.put());
        if (held && isSameObject(held.get(), key)) {
            *index = i;
            return S_OK;
        }
    }
    for (int32_t i = 0;; ++i) {
        Snapshot record;
        if (!snapshot(i, record)) break;
        if (record.descriptor && isSameObject(record.descriptor.get(), key)) {
            *index = i;
            return S_OK;
        }
    }
    return E_FAIL;
}

void ParameterCollection::replaceDescriptorAndFlags(int32_t index, IUnknown* descriptor, bool replaceDescriptor,
                                                    int32_t flags, bool replaceFlags) {
    SmartPtr<IUnknown> replaced(descriptor);
    std::lock_guard<Mutex> guard(m_Guard);
    if (index < 0 || index >= m_Count) return;
    if (replaceDescriptor) swapInto(m_Items[index]->descriptor, replaced);
    if (replaceFlags) m_Items[index]->flags = flags;
    // `replaced` now holds the old descriptor: it is released after the
    // guard, as the guard is declared after it.
}

OwnedParameter* ParameterCollection::detachAllLocked() {
    OwnedParameter* chain = nullptr;
    for (int32_t i = m_Count - 1; i >= 0; --i) {
        auto* record = static_cast<OwnedParameter*>(m_Items[i]);
        m_Items[i] = nullptr;
        record->next = chain;
        chain = record;
    }
    m_Count.store(0, std::memory_order_release);
    return chain;
}

bool ParameterCollection::reserveLocked(int32_t wanted, PARAMETEROBJECT**& oldItems) {
    if (wanted <= m_Capacity) return true;
    const int64_t capacity = m_Capacity + (int64_t{wanted} - m_Capacity + 9) / 10 * 10;
    // A capacity short of what is wanted would have the caller write past the array.
    if (capacity < wanted || capacity > INT32_MAX) return false;
    auto* grown = allocateArray<PARAMETEROBJECT*>(static_cast<size_t>(capacity));
    if (!grown) return false;
    for (int32_t i = 0; i < m_Count; ++i) grown[i] = m_Items[i];
    oldItems = m_Items;
    m_Items = grown;
    m_Capacity = static_cast<int32_t>(capacity);
    return true;
}
