#include "host/Inputs.h"

#include <cwchar>

#include "host/Hostility.h"
#include "host/Variants.h"

namespace host {

InputParameter::InputParameter(const std::wstring& name, const IID& iid, int32_t flags)
    : m_Name(name), m_Iid(iid), m_Flags(flags) {}

HRESULT InputParameter::get_Value(IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    SmartPtr<IUnknown> object;
    IID required;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        object = m_Object;
        required = m_Iid;
    }
    if (!object) return E_FAIL;
    // A moniker stands for the object it names.
    if (SmartPtr<ICollectionMoniker> moniker = queryInterface<ICollectionMoniker>(object.get())) {
        void* named = nullptr;
        if (FAILED(moniker->GetObject(required != IID_NULL ? required : IID_IUnknown, &named)) || !named) return E_FAIL;
        *out = static_cast<IUnknown*>(named);
        return S_OK;
    }
    if (required != IID_NULL) {
        void* answer = nullptr;
        if (object->QueryInterface(required, &answer) == S_OK && answer) {
            *out = static_cast<IUnknown*>(answer);
            return S_OK;
        }
    }
    *out = object.detach();
    return S_OK;
}

HRESULT InputParameter::get_IID(IID* out) {
    if (!out) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    *out = m_Iid;
    return S_OK;
}

HRESULT InputParameter::put_IID(IID iid) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Iid = iid;
    return S_OK;
}

HRESULT InputParameter::get_ItemName(IString** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    std::wstring name;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (!m_HasItemName) return E_FAIL;
        name = m_ItemName;
    }
    *out = makeString(name).detach();
    return S_OK;
}

HRESULT InputParameter::put_ItemName(IString* name) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_HasItemName = name != nullptr;
    m_ItemName = textOf(name);
    return S_OK;
}

HRESULT InputParameter::get_Object(IUnknown** out) {
    if (!out) return E_POINTER;
    SmartPtr<IUnknown> object;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        object = m_Object;
    }
    *out = object.detach();
    return *out ? S_OK : E_FAIL;
}

HRESULT InputParameter::put_Object(IUnknown* object) {
    SmartPtr<IUnknown> replacement(object);
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        std::swap(replacement, m_Object);
    }
    return S_OK;
}

HRESULT InputParameter::get_ItemIndex(int32_t* out) {
    if (!out) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    *out = m_ItemIndex;
    return S_OK;
}

HRESULT InputParameter::put_ItemIndex(int32_t index) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_ItemIndex = index;
    return S_OK;
}

std::wstring InputParameter::name() const { return m_Name; }

IID InputParameter::iid() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Iid;
}

HRESULT InputParameters::get_Count(int32_t* count) {
    if (!count) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    *count = Hostility::count(static_cast<int32_t>(m_Inputs.size()));
    return S_OK;
}

HRESULT InputParameters::get_Item(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    std::lock_guard<std::mutex> lock(m_Mutex);
    HRESULT hostile = S_OK;
    if (Hostility::missing(index, static_cast<int32_t>(m_Inputs.size()), hostile)) return hostile;
    if (index < 0 || static_cast<size_t>(index) >= m_Inputs.size()) return E_INVALIDARG;
    *out = static_cast<IInputParameter*>(SmartPtr<InputParameter>(m_Inputs[static_cast<size_t>(index)]).detach());
    return S_OK;
}

HRESULT InputParameters::AddInput(IString* name, IID iid, int32_t flags) {
    const std::wstring inputName = textOf(name);
    record("AddInput(" + narrow(inputName) + ")");
    SmartPtr<InputParameter> input = make<InputParameter>(inputName, iid, flags);
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Inputs.push_back(std::move(input));
    return S_OK;
}

HRESULT InputParameters::get_InputObject(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    SmartPtr<InputParameter> input;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (index < 0 || static_cast<size_t>(index) >= m_Inputs.size()) return E_INVALIDARG;
        input = m_Inputs[static_cast<size_t>(index)];
    }
    // Only an index outside the list fails: steps that walk their inputs
    // stop at the first refusal, and an unbound input (or a moniker that
    // names nothing now) must not end that walk. Both give no object.
    SmartPtr<IUnknown> bound;
    if (FAILED(input->get_Object(bound.put())) || !bound) return S_OK;
    // A moniker yields the object it names now.
    if (SmartPtr<ICollectionMoniker> moniker = bound.query<ICollectionMoniker>()) {
        void* named = nullptr;
        if (SUCCEEDED(moniker->GetObject(IID_IUnknown, &named))) *out = static_cast<IUnknown*>(named);
        return S_OK;
    }
    *out = bound.detach();
    return S_OK;
}

SmartPtr<InputParameter> InputParameters::input(const std::wstring& name) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (const auto& input : m_Inputs) {
        if (input->name() == name) return input;
    }
    return nullptr;
}

std::vector<SmartPtr<InputParameter>> InputParameters::inputs() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Inputs;
}

namespace {

SmartPtr<IString> entryName(const wchar_t* name) { return makeString(name); }

std::wstring hexOf(const IID& iid) {
    static const wchar_t kDigits[] = L"0123456789ABCDEF";
    const auto* bytes = reinterpret_cast<const uint8_t*>(&iid);
    std::wstring text;
    for (size_t i = 0; i < sizeof iid; ++i) {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 0xF];
    }
    return text;
}

bool iidOfHex(const std::wstring& text, IID& iid) {
    if (text.size() != 2 * sizeof iid) return false;
    auto* bytes = reinterpret_cast<uint8_t*>(&iid);
    for (size_t i = 0; i < sizeof iid; ++i) {
        int value = 0;
        for (size_t k = 0; k < 2; ++k) {
            const wchar_t c = text[2 * i + k];
            const int digit = c >= L'0' && c <= L'9' ? c - L'0' : (c >= L'A' && c <= L'F' ? c - L'A' + 10 : -1);
            if (digit < 0) return false;
            value = value * 16 + digit;
        }
        bytes[i] = static_cast<uint8_t>(value);
    }
    return true;
}

// The text of the child element of that name, if there is one.
bool childText(IXMLStream* xml, const wchar_t* name, std::wstring& text) {
    tagREFString value = {0, nullptr};
    SmartPtr<IXMLStream> element;
    if (FAILED(xml->OpenElement(static_cast<int32_t>(std::wcslen(name)), name, &value, element.put(), 1))) return false;
    text = value.text && value.count > 0 ? std::wstring(value.text, static_cast<size_t>(value.count)) : std::wstring();
    return true;
}

}  // namespace

InputParameter::Stored InputParameter::snapshot() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return {m_Iid, m_ItemName, m_HasItemName, m_ItemIndex, m_Object};
}

// XML: "IID" in hexadecimal, "ItemName", "ItemIndex", and the bound object
// inside "Object".
HRESULT InputParameter::saveXml(IXMLStream* xml) {
    const Stored stored = snapshot();
    xml->WriteElement(entryName(L"IID").get(), 0, makeString(hexOf(stored.iid)).get(), 0);
    if (stored.hasItemName) xml->WriteElement(entryName(L"ItemName").get(), 0, makeString(stored.itemName).get(), 0);
    xml->WriteElement(entryName(L"ItemIndex").get(), 0, makeString(std::to_wstring(stored.itemIndex)).get(), 0);
    if (SmartPtr<IDataPersist> persist = stored.object.query<IDataPersist>()) {
        xml->BeginElement(entryName(L"Object").get(), 0, 0);
        if (SUCCEEDED(xml->BeginObject(stored.object.get(), 0, 0))) {
            persist->Save(xml, 0);
            xml->EndElement();
        }
        xml->EndElement();
    }
    return S_OK;
}

// What was saved replaces the binding: an item name, index or object the
// stream lacks is none afterwards. Only the required interface stays as the
// input declared it when the stream has none.
void InputParameter::restore(const IID* iid, const std::wstring* itemName, int32_t itemIndex,
                             SmartPtr<IUnknown> object) {
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (iid) m_Iid = *iid;
        m_HasItemName = itemName != nullptr;
        m_ItemName = itemName ? *itemName : std::wstring();
        m_ItemIndex = itemIndex;
        std::swap(m_Object, object);
    }
    // The replaced object is released here, outside the lock.
}

HRESULT InputParameter::loadXml(IXMLStream* xml) {
    std::wstring text;
    IID iid;
    const bool hasIid = childText(xml, L"IID", text) && iidOfHex(text, iid);
    std::wstring itemName;
    const bool hasItemName = childText(xml, L"ItemName", itemName);
    int32_t itemIndex = -1;
    if (childText(xml, L"ItemIndex", text)) {
        wchar_t* end = nullptr;
        const long long value = std::wcstoll(text.c_str(), &end, 10);
        if (!text.empty() && *end == L'\0' && value >= INT32_MIN && value <= INT32_MAX) {
            itemIndex = static_cast<int32_t>(value);
        }
    }
    SmartPtr<IUnknown> object;
    SmartPtr<IXMLStream> holder;
    if (SUCCEEDED(xml->OpenElement(6, L"Object", nullptr, holder.put(), 1)) && holder) {
        holder->CreateChildObject(object.put());
    }
    restore(hasIid ? &iid : nullptr, hasItemName ? &itemName : nullptr, itemIndex, object);
    return S_OK;
}

HRESULT InputParameter::Save(IDataStream* stream, int32_t) {
    if (SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream)) return saveXml(xml.get());
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    if (!folder) return E_NOTIMPL;
    const Stored stored = snapshot();
    folder->WriteBinary(entryName(L"IID").get(), &stored.iid, sizeof stored.iid, 0);
    if (stored.hasItemName) folder->WriteValue(entryName(L"ItemName").get(), makeVariant(stored.itemName).get());
    folder->WriteScalar(entryName(L"ItemIndex").get(), &stored.itemIndex, 3);
    if (stored.object) folder->WriteObject(entryName(L"Object").get(), stored.object.get(), 0);
    return S_OK;
}

HRESULT InputParameter::Load(IDataStream* stream, int32_t) {
    if (SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream)) return loadXml(xml.get());
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    if (!folder) return E_NOTIMPL;
    IID iid;
    const bool hasIid = SUCCEEDED(folder->ReadBinary(entryName(L"IID").get(), &iid, sizeof iid, 0));
    std::wstring itemName;
    bool hasItemName = false;
    SmartPtr<IVariant> value = make<Variant>();
    if (SUCCEEDED(folder->ReadValue(entryName(L"ItemName").get(), value.get())) && value->IsString()) {
        SmartPtr<IString> text;
        value->get_String(text.put());
        itemName = textOf(text.get());
        hasItemName = true;
    }
    int32_t itemIndex = -1;
    if (FAILED(folder->ReadScalar(entryName(L"ItemIndex").get(), &itemIndex, 3))) itemIndex = -1;
    SmartPtr<IUnknown> object;
    if (FAILED(folder->ReadObject(entryName(L"Object").get(), object.put(), 0))) object = nullptr;
    restore(hasIid ? &iid : nullptr, hasItemName ? &itemName : nullptr, itemIndex, object);
    return S_OK;
}

// Folder stream: one stored binding per input, "Input0", "Input1", ... XML:
// one "InputParameter" element per input, in order.
HRESULT InputParameters::Save(IDataStream* stream, int32_t mode) {
    const std::vector<SmartPtr<InputParameter>> all = inputs();
    if (SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream)) {
        for (const SmartPtr<InputParameter>& input : all) {
            IUnknown* binding = static_cast<IInputParameter*>(input.get());
            if (FAILED(xml->BeginObject(binding, 0, 0))) continue;
            input->Save(xml.get(), mode);
            xml->EndElement();
        }
        return S_OK;
    }
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    if (!folder) return E_NOTIMPL;
    for (size_t i = 0; i < all.size(); ++i) {
        const std::wstring name = L"Input" + std::to_wstring(i);
        folder->WriteObject(makeString(name).get(), static_cast<IInputParameter*>(all[i].get()), 0);
    }
    return S_OK;
}

// By position, into the inputs the step declared: a stored binding beyond
// them is passed over, an input without one keeps its binding.
HRESULT InputParameters::Load(IDataStream* stream, int32_t mode) {
    const std::vector<SmartPtr<InputParameter>> all = inputs();
    if (SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream)) {
        size_t position = 0;
        tagREFString name = {0, nullptr};
        while (position < all.size() && SUCCEEDED(xml->NextElement(&name))) {
            if (textOf(name) != L"InputParameter") continue;
            SmartPtr<IXMLStream> element;
            if (SUCCEEDED(xml->OpenElement(name.count, name.text, nullptr, element.put(), 1)) && element) {
                all[position]->Load(element.get(), mode);
            }
            ++position;
        }
        return S_OK;
    }
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    if (!folder) return E_NOTIMPL;
    for (size_t i = 0; i < all.size(); ++i) {
        const std::wstring name = L"Input" + std::to_wstring(i);
        IUnknown* into = static_cast<IInputParameter*>(all[i].get());
        folder->ReadObject(makeString(name).get(), &into, 0);
    }
    return S_OK;
}

HRESULT CollectionMoniker::BindToCollection(INamedCollection* collection, int32_t) {
    SmartPtr<INamedCollection> replaced(collection);
    std::lock_guard<std::mutex> lock(m_Mutex);
    std::swap(m_Collection, replaced);
    return S_OK;
}

HRESULT CollectionMoniker::GetObject(const IID& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    SmartPtr<INamedCollection> collection;
    std::wstring name;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        collection = m_Collection;
        name = m_Name;
    }
    if (!collection) return E_FAIL;
    int32_t index = -1;
    if (FAILED(collection->get_Index(makeString(name).get(), &index)) || index < 0) return E_FAIL;
    SmartPtr<IUnknown> item;
    if (FAILED(collection->get_Item(index, item.put())) || !item) return E_FAIL;
    return item->QueryInterface(iid, out);
}

HRESULT CollectionMoniker::Save(IDataStream* stream, int32_t) {
    if (SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream)) {
        return xml->WriteElement(entryName(L"Name").get(), 0, makeString(name()).get(), 0);
    }
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    if (!folder) return E_NOTIMPL;
    return folder->WriteValue(entryName(L"Name").get(), makeVariant(name()).get());
}

HRESULT CollectionMoniker::Load(IDataStream* stream, int32_t) {
    if (SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream)) {
        std::wstring text;
        if (!childText(xml.get(), L"Name", text)) return E_FAIL;
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Name = text;
        return S_OK;
    }
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    if (!folder) return E_NOTIMPL;
    SmartPtr<IVariant> value = make<Variant>();
    if (FAILED(folder->ReadValue(entryName(L"Name").get(), value.get())) || !value->IsString()) return E_FAIL;
    SmartPtr<IString> text;
    value->get_String(text.put());
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Name = textOf(text.get());
    return S_OK;
}

std::wstring CollectionMoniker::name() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Name;
}

bool CollectionMoniker::bound() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return static_cast<bool>(m_Collection);
}

}  // namespace host
