#include "host/Verbs.h"

#include <algorithm>

#include "host/ClassFactory.h"
#include "host/Collections.h"
#include "host/Hostility.h"
#include "host/Variants.h"

namespace host {

namespace {

constexpr int32_t kVerbIdentifier = 2;
constexpr size_t kKeptActions = 1024;  // a verb object keeps its latest actions

// The variant a value designates: a copy of a variant or of a string, or a
// variant holding the object.
SmartPtr<IVariant> variantOf(IUnknown* value) {
    SmartPtr<IVariant> variant = make<Variant>();
    variant->put_Value(value);
    return variant;
}

}  // namespace

// --- Verbs -----------------------------------------------------------------

HRESULT Verb::get_Name(IString** out) {
    if (!out) return E_POINTER;
    *out = m_Entry.hasName ? makeString(m_Entry.name).detach() : nullptr;
    return S_OK;
}

HRESULT Verb::get_Property(int32_t id, int32_t* value) {
    if (!value) return E_POINTER;
    if (id != kVerbIdentifier) return E_INVALIDARG;
    *value = m_Entry.identifier;
    return S_OK;
}

HRESULT VerbCollection::get_Count(int32_t* count) {
    if (!count) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    *count = Hostility::count(static_cast<int32_t>(m_Verbs.size()));
    return S_OK;
}

HRESULT VerbCollection::get_Item(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    std::lock_guard<std::mutex> lock(m_Mutex);
    HRESULT hostile = S_OK;
    if (Hostility::missing(index, static_cast<int32_t>(m_Verbs.size()), hostile)) return hostile;
    if (index < 0 || static_cast<size_t>(index) >= m_Verbs.size()) return E_INVALIDARG;
    *out = make<Verb>(m_Verbs[static_cast<size_t>(index)]).detach();
    return S_OK;
}

HRESULT VerbCollection::AddVerb(int32_t position, IString* name, int32_t, int32_t, int32_t id, int32_t) {
    VerbEntry entry{name ? textOf(name) : std::wstring(), name != nullptr, id};
    record("AddVerb(" + std::to_string(position) + ", " + narrow(entry.name) + ", " + std::to_string(id) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    const size_t at = position < 0 ? m_Verbs.size() : std::min(static_cast<size_t>(position), m_Verbs.size());
    m_Verbs.insert(m_Verbs.begin() + static_cast<std::ptrdiff_t>(at), std::move(entry));
    return S_OK;
}

std::vector<VerbEntry> VerbCollection::verbs() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Verbs;
}

int32_t VerbObject::DoAction(int32_t verb, IUnknown* object) {
    record("DoAction(" + std::to_string(verb) + (object ? ", an object)" : ")"));
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_Actions.size() >= kKeptActions) m_Actions.pop_front();
    m_Actions.push_back(verb);
    return verb;
}

HRESULT VerbObject::GetVerbs(int32_t, IUnknown*, IUIVerbCollection** out) {
    if (!out) return E_INVALIDARG;
    SmartPtr<VerbCollection> verbs = make<VerbCollection>();
    for (const VerbEntry& verb : m_Verbs) {
        verbs->AddVerb(-1, verb.hasName ? makeString(verb.name).get() : nullptr, 0, 0, verb.identifier, 0);
    }
    *out = verbs.detach();
    return S_OK;
}

std::vector<int32_t> VerbObject::actions() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return std::vector<int32_t>(m_Actions.begin(), m_Actions.end());
}

// --- The parameter collection ----------------------------------------------

bool ParameterList::entryAt(int32_t index, Entry& entry) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return false;
    entry = m_Entries[static_cast<size_t>(index)];
    return true;
}

int32_t ParameterList::indexOf(const std::wstring& name) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (size_t i = 0; i < m_Entries.size(); ++i) {
        if (m_Entries[i].name == name) return static_cast<int32_t>(i);
    }
    return -1;
}

HRESULT ParameterList::get_Count(int32_t* count) {
    if (!count) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    *count = static_cast<int32_t>(m_Entries.size());
    return S_OK;
}

HRESULT ParameterList::get_Item(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    Entry entry;
    if (!entryAt(index, entry)) return E_INVALIDARG;
    if (entry.value->IsString()) {
        SmartPtr<IString> text;
        entry.value->get_String(text.put());
        *out = text.detach();
    } else if (entry.value->IsObject()) {
        entry.value->get_Object(out);
    } else {
        *out = entry.value.detach();
    }
    return S_OK;
}

HRESULT ParameterList::get_Index(IUnknown* key, int32_t* index) {
    if (!index) return E_POINTER;
    *index = -1;
    if (SmartPtr<IString> name = queryInterface<IString>(key)) {
        *index = indexOf(textOf(name.get()));
    } else if (SmartPtr<IVariant> variant = queryInterface<IVariant>(key)) {
        if (variant->IsString()) {
            SmartPtr<IString> name;
            variant->get_String(name.put());
            *index = indexOf(textOf(name.get()));
        } else if (variant->get_Type() == 1) {
            int32_t count = 0;
            get_Count(&count);
            const int32_t wanted = variant->get_Long();
            *index = wanted >= 0 && wanted < count ? wanted : -1;
        }
    }
    return *index >= 0 ? S_OK : E_FAIL;
}

HRESULT ParameterList::get_ItemName(int32_t index, IString** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    Entry entry;
    if (!entryAt(index, entry)) return E_INVALIDARG;
    *out = makeString(entry.name).detach();
    return S_OK;
}

HRESULT ParameterList::Rename(int32_t index, IString* name) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return E_INVALIDARG;
    m_Entries[static_cast<size_t>(index)].name = textOf(name);
    return S_OK;
}

HRESULT ParameterList::CollectionLock() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    ++m_Locks;
    return S_OK;
}

HRESULT ParameterList::CollectionUnlock() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_Locks > 0) --m_Locks;
    return S_OK;
}

HRESULT ParameterList::IsCollectionLocked() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Locks > 0 ? 1 : 0;
}

HRESULT ParameterList::Iterate(int32_t index, IString** name, IVariant** value, IUnknown** descriptor, int32_t* flags) {
    Entry entry;
    if (!entryAt(index, entry)) return E_INVALIDARG;
    if (name) *name = makeString(entry.name).detach();
    if (value) *value = entry.value.detach();
    if (descriptor) *descriptor = entry.descriptor.detach();
    if (flags) *flags = entry.flags;
    return S_OK;
}

HRESULT ParameterList::get_ItemVariant(int32_t index, IVariant** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return Iterate(index, nullptr, out, nullptr, nullptr);
}

HRESULT ParameterList::put_Item(int32_t index, IUnknown* value) {
    SmartPtr<IVariant> variant = variantOf(value);
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return E_INVALIDARG;
    std::swap(m_Entries[static_cast<size_t>(index)].value, variant);
    return S_OK;
}

HRESULT ParameterList::get_ItemDescriptor(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return Iterate(index, nullptr, nullptr, out, nullptr);
}

HRESULT ParameterList::put_ItemDescriptor(int32_t index, IUnknown* descriptor) {
    SmartPtr<IUnknown> held(descriptor);
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return E_INVALIDARG;
    std::swap(m_Entries[static_cast<size_t>(index)].descriptor, held);
    return S_OK;
}

HRESULT ParameterList::get_ItemFlags(int32_t index, int32_t* flags) {
    if (!flags) return E_POINTER;
    return Iterate(index, nullptr, nullptr, nullptr, flags);
}

HRESULT ParameterList::put_ItemFlags(int32_t index, int32_t flags) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return E_INVALIDARG;
    m_Entries[static_cast<size_t>(index)].flags = flags;
    return S_OK;
}

HRESULT ParameterList::Add(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) {
    Entry entry{textOf(name), variantOf(value), SmartPtr<IUnknown>(descriptor), flags};
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Entries.push_back(std::move(entry));
    return S_OK;
}

HRESULT ParameterList::Remove(int32_t index) {
    Entry removed;
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return E_INVALIDARG;
    removed = std::move(m_Entries[static_cast<size_t>(index)]);
    m_Entries.erase(m_Entries.begin() + index);
    return S_OK;
}

HRESULT ParameterList::RemoveAll() {
    std::vector<Entry> removed;
    std::lock_guard<std::mutex> lock(m_Mutex);
    removed.swap(m_Entries);
    return S_OK;
}

HRESULT ParameterList::Copy(IParameters* source) {
    if (!source) return E_POINTER;
    for (int32_t index = 0;; ++index) {
        SmartPtr<IString> name;
        SmartPtr<IVariant> value;
        SmartPtr<IUnknown> descriptor;
        int32_t flags = 0;
        if (FAILED(source->Iterate(index, name.put(), value.put(), descriptor.put(), &flags))) break;
        Set(name.get(), value.get(), descriptor.get(), flags, 3);
    }
    return S_OK;
}

HRESULT ParameterList::Sort(int32_t) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    std::stable_sort(m_Entries.begin(), m_Entries.end(),
                     [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return S_OK;
}

HRESULT ParameterList::Set(IUnknown* key, IUnknown* value, IUnknown* descriptor, int32_t flags, int16_t) {
    int32_t index = -1;
    if (FAILED(get_Index(key, &index))) {
        SmartPtr<IString> name = queryInterface<IString>(key);
        if (!name) return E_INVALIDARG;
        return Add(name.get(), value, descriptor, flags);
    }
    put_Item(index, value);
    put_ItemDescriptor(index, descriptor);
    return put_ItemFlags(index, flags);
}

HRESULT ParameterList::Save(IDataStream* stream, int32_t) {
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    if (!folder) return E_NOTIMPL;
    int32_t count = 0;
    get_Count(&count);
    for (int32_t index = 0; index < count; ++index) {
        Entry entry;
        if (entryAt(index, entry)) folder->WriteValue(makeString(entry.name).get(), entry.value.get());
    }
    return S_OK;
}

HRESULT ParameterList::Load(IDataStream* stream, int32_t) {
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    SmartPtr<INamedCollection> names = queryInterface<INamedCollection>(stream);
    if (!folder || !names) return E_NOTIMPL;
    RemoveAll();
    int32_t count = 0;
    names->get_Count(&count);
    for (int32_t index = 0; index < count; ++index) {
        SmartPtr<IString> name;
        SmartPtr<IVariant> value = make<Variant>();
        if (FAILED(names->get_ItemName(index, name.put())) || FAILED(folder->ReadValue(name.get(), value.get())))
            continue;
        Add(name.get(), value.get(), nullptr, 0);
    }
    return S_OK;
}

HRESULT ParameterList::GetName(int32_t, tagREFString* name) {
    static const wchar_t kClassName[] = L"ParametersCreatable";
    if (!name) return E_POINTER;
    *name = {static_cast<int32_t>(std::size(kClassName) - 1), kClassName};
    return S_OK;
}

// --- The components ------------------------------------------------------

void addVerbComponents(ComponentCollection& components) {
    ClassRegistry::add(L"UIVerbCollection", [] { return make<VerbCollection>().query<IUnknown>(); });
    ClassRegistry::add(L"ParametersCreatable", [] { return make<ParameterList>().query<IUnknown>(); });
    for (const wchar_t* name : {L"UIVerbCollection", L"ParametersCreatable"}) {
        components.addClass(name, name);
    }
}

// --- The host's parametric page --------------------------------------------

bool setParametricSetting(IUnknown* object, const std::wstring& name, IUnknown* value) {
    SmartPtr<IParametricObject> parametric = queryInterface<IParametricObject>(object);
    SmartPtr<INamedCollection> offered;
    if (!parametric || FAILED(parametric->GetParameters(offered.put(), 0))) return false;
    SmartPtr<IParameters> settings = offered.query<IParameters>();
    int32_t index = -1;
    if (!settings || FAILED(settings->get_Index(makeString(name).get(), &index)) || index < 0) return false;
    settings->put_Item(index, value);
    parametric->SetParameters(offered.get());
    return true;
}

}  // namespace host
