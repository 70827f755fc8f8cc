#include "host/Properties.h"

#include <cstdio>
#include <cstring>

#include "host/Variants.h"

namespace host {

namespace {

std::string floatText(double value) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.9g", value);
    return buffer;
}

}  // namespace

std::string valueText(IUnknown* value) {
    if (!value) return "none";
    if (SmartPtr<IVariant> variant = queryInterface<IVariant>(value)) {
        if (variant->IsString()) {
            SmartPtr<IString> text;
            variant->get_String(text.put());
            return "\"" + narrow(textOf(text.get())) + "\"";
        }
        if (variant->get_Type() == 1) return std::to_string(variant->get_Long());
        if (variant->get_Type() == 2) return floatText(variant->get_Double());
        SmartPtr<IUnknown> object;
        variant->get_Object(object.put());
        return valueText(object.get());
    }
    if (SmartPtr<IString> text = queryInterface<IString>(value)) return "\"" + narrow(textOf(text.get())) + "\"";
    if (SmartPtr<IObjectInfo> info = queryInterface<IObjectInfo>(value)) {
        tagREFString name = {0, nullptr};
        info->GetName(0, &name);
        return "object " + narrow(textOf(name));
    }
    return "an object";
}

// --- StringTable ---------------------------------------------------------------

HRESULT StringTable::GetSection(IString* section, INamedCollection** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const std::wstring name = textOf(section);
    record("GetSection", name);
    std::lock_guard<std::mutex> lock(m_Mutex);
    auto found = m_Sections.find(name);
    if (found == m_Sections.end()) return E_FAIL;
    *out = static_cast<INamedCollection*>(SmartPtr<SuperCollection>(found->second).detach());
    return S_OK;
}

SmartPtr<SuperCollection> StringTable::section(const std::wstring& className) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    SmartPtr<SuperCollection>& section = m_Sections[className];
    if (!section) section = make<SuperCollection>();
    return section;
}

void StringTable::addName(const std::wstring& className, const std::wstring& id, const std::wstring& name) {
    section(className)->Add(makeString(id).get(), makeString(name).get(), nullptr, 0);
}

// --- PropertyObject --------------------------------------------------------------

PropertyObject::PropertyObject(std::string label, std::wstring className, uint32_t faces)
    : m_ClassName(std::move(className)), m_Faces(faces) {
    setLabel(std::move(label));
}

HRESULT PropertyObject::QueryInterface(const IID& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const bool refused =
        (iid == iidOf<IUIPropInterrogate>() && !offers(kInterrogate)) ||
        (iid == iidOf<IUIPropInterrogateEx>() && !offers(kExtended)) ||
        (iid == iidOf<IParametricObject>() && !offers(kParametric)) ||
        ((iid == iidOf<IParameters>() || iid == iidOf<INamedCollection>() || iid == iidOf<ISimpleCollection>()) &&
         !offers(kParameters)) ||
        (iid == iidOf<IRenderableObject>() && !offers(kRenderable));
    if (refused) return E_NOINTERFACE;
    return Object::QueryInterface(iid, out);
}

int32_t PropertyObject::GetProperty(int32_t id, void* value) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    auto found = m_Properties.find(id);
    if (found == m_Properties.end() || found->second.extendedOnly) return -1;
    if (value) std::memcpy(value, &found->second.bits, sizeof(int32_t));
    if (Recorder::enabled()) {
        const Property& property = found->second;
        const int32_t type = property.kind & 0x0F;
        float single = 0.0f;
        std::memcpy(&single, &property.bits, sizeof single);
        record("GetProperty(" + std::to_string(id) +
               ") = " + (type == 4 || type == 5 ? floatText(single) : std::to_string(property.bits)));
    }
    return found->second.kind;
}

HRESULT PropertyObject::SetProperty(int32_t id, int32_t value) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    auto found = m_Properties.find(id);
    if (found == m_Properties.end()) return E_INVALIDARG;
    found->second.bits = value;
    if (Recorder::enabled()) {
        const int32_t type = found->second.kind & 0x0F;
        float single = 0.0f;
        std::memcpy(&single, &value, sizeof single);
        record("SetProperty(" + std::to_string(id) + ", " +
               (type == 4 || type == 5 ? floatText(single) : std::to_string(value)) + ")");
    }
    return S_OK;
}

HRESULT PropertyObject::GetPropertyRange(int32_t, int32_t* first, int32_t* last) {
    if (!first || !last) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    *first = m_First;
    *last = m_Last;
    return S_OK;
}

HRESULT PropertyObject::GetPropertyChoices(int32_t id, IString** choices) {
    if (!choices) return E_POINTER;
    *choices = nullptr;
    std::lock_guard<std::mutex> lock(m_Mutex);
    auto found = m_Properties.find(id);
    if (found == m_Properties.end() || found->second.choices.empty()) return E_FAIL;
    *choices = makeString(found->second.choices).detach();
    return S_OK;
}

int32_t PropertyObject::GetPropertyObject(int32_t id, IUnknown** value) {
    if (!value) return -1;
    *value = nullptr;
    SmartPtr<IUnknown> object;
    int32_t kind = -1;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        auto found = m_Properties.find(id);
        if (found == m_Properties.end() || !found->second.extendedOnly) return -1;
        object = found->second.object;
        kind = found->second.kind;
    }
    if (Recorder::enabled()) record("GetPropertyObject(" + std::to_string(id) + ") = " + valueText(object.get()));
    *value = object.detach();
    return kind;
}

HRESULT PropertyObject::PutPropertyObject(int32_t id, IUnknown* value) {
    if (Recorder::enabled()) record("PutPropertyObject(" + std::to_string(id) + ", " + valueText(value) + ")");
    SmartPtr<IUnknown> replaced(value);
    std::lock_guard<std::mutex> lock(m_Mutex);
    auto found = m_Properties.find(id);
    if (found == m_Properties.end()) return E_INVALIDARG;
    std::swap(found->second.object, replaced);
    return S_OK;
}

HRESULT PropertyObject::GetName(int32_t, tagREFString* name) {
    if (!name) return E_POINTER;
    name->count = static_cast<int32_t>(m_ClassName.size());
    name->text = m_ClassName.c_str();
    return S_OK;
}

HRESULT PropertyObject::GetParameters(INamedCollection** out, int32_t) {
    if (!out) return E_POINTER;
    SmartPtr<SuperCollection> collection = make<SuperCollection>();
    std::vector<Parameter> parameters;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        parameters = m_Parameters;
    }
    for (const Parameter& parameter : parameters) {
        collection->Add(makeString(parameter.name).get(), parameter.value.get(), nullptr, 0);
    }
    record("GetParameters()");
    *out = static_cast<INamedCollection*>(collection.detach());
    return S_OK;
}

HRESULT PropertyObject::SetParameters(INamedCollection* parameters) {
    int32_t count = 0;
    if (!parameters || FAILED(parameters->get_Count(&count))) count = 0;
    std::string names;
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IString> name;
        SmartPtr<IUnknown> item;
        parameters->get_ItemName(i, name.put());
        parameters->get_Item(i, item.put());
        names += (i ? ", " : "") + narrow(textOf(name.get())) + "=" + valueText(item.get());
    }
    record("SetParameters(" + names + ")");
    return m_SetResult;
}

bool PropertyObject::parameter(int32_t index, Parameter& out) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (index < 0 || static_cast<size_t>(index) >= m_Parameters.size()) return false;
    out = m_Parameters[static_cast<size_t>(index)];
    return true;
}

HRESULT PropertyObject::get_Count(int32_t* count) {
    if (!count) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    *count = static_cast<int32_t>(m_Parameters.size());
    return S_OK;
}

HRESULT PropertyObject::get_Item(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    Parameter found;
    if (!parameter(index, found)) return E_INVALIDARG;
    *out = static_cast<IUnknown*>(found.value.detach());
    return S_OK;
}

HRESULT PropertyObject::get_Index(IUnknown* key, int32_t* index) {
    if (!index) return E_POINTER;
    *index = -1;
    SmartPtr<IString> name = queryInterface<IString>(key);
    if (!name) return E_INVALIDARG;
    const std::wstring wanted = textOf(name.get());
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (size_t i = 0; i < m_Parameters.size(); ++i) {
        if (m_Parameters[i].name == wanted) {
            *index = static_cast<int32_t>(i);
            return S_OK;
        }
    }
    return E_FAIL;
}

HRESULT PropertyObject::get_ItemName(int32_t index, IString** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    Parameter found;
    if (!parameter(index, found)) return E_INVALIDARG;
    *out = makeString(found.name).detach();
    return S_OK;
}

HRESULT PropertyObject::Rename(int32_t, IString*) { return E_NOTIMPL; }

HRESULT PropertyObject::Iterate(int32_t index, IString** name, IVariant** value, IUnknown** descriptor,
                                int32_t* flags) {
    Parameter found;
    if (!parameter(index, found)) return E_INVALIDARG;
    if (name) *name = makeString(found.name).detach();
    if (value) *value = found.value.detach();
    if (descriptor) *descriptor = nullptr;
    if (flags) *flags = 0;
    return S_OK;
}

HRESULT PropertyObject::get_ItemVariant(int32_t index, IVariant** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    Parameter found;
    if (!parameter(index, found)) return E_INVALIDARG;
    *out = found.value.detach();
    return S_OK;
}

HRESULT PropertyObject::put_Item(int32_t index, IUnknown* value) {
    SmartPtr<IVariant> variant = queryInterface<IVariant>(value);
    if (!variant) {
        variant = make<Variant>().query<IVariant>();
        variant->put_Value(value);
    }
    std::string name;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (index < 0 || static_cast<size_t>(index) >= m_Parameters.size()) return E_INVALIDARG;
        std::swap(m_Parameters[static_cast<size_t>(index)].value, variant);
        name = narrow(m_Parameters[static_cast<size_t>(index)].name);
    }
    if (Recorder::enabled()) record("put_Item(" + name + ", " + valueText(value) + ")");
    return S_OK;
}

HRESULT PropertyObject::get_ItemDescriptor(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    Parameter found;
    return parameter(index, found) ? S_OK : E_INVALIDARG;
}

HRESULT PropertyObject::get_ItemFlags(int32_t index, int32_t* flags) {
    if (!flags) return E_POINTER;
    *flags = 0;
    Parameter found;
    return parameter(index, found) ? S_OK : E_INVALIDARG;
}

void PropertyObject::setRange(int32_t first, int32_t last) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_First = first;
    m_Last = last;
}

void PropertyObject::setProperty(int32_t id, Property property) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Properties[id] = std::move(property);
}

bool PropertyObject::property(int32_t id, Property& out) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    auto found = m_Properties.find(id);
    if (found == m_Properties.end()) return false;
    out = found->second;
    return true;
}

void PropertyObject::addParameter(const std::wstring& name, SmartPtr<IVariant> value) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Parameters.push_back({name, std::move(value)});
}

std::vector<std::pair<std::wstring, std::wstring>> PropertyObject::parameterTexts() const {
    std::vector<Parameter> parameters;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        parameters = m_Parameters;
    }
    std::vector<std::pair<std::wstring, std::wstring>> texts;
    for (const Parameter& parameter : parameters)
        texts.emplace_back(parameter.name, widen(valueText(parameter.value.get())));
    return texts;
}

HRESULT RenderableEntity::get_RenderableObject(IUnknown** out) {
    if (!out) return E_POINTER;
    *out = SmartPtr<IUnknown>(m_Object).detach();
    record("get_RenderableObject()");
    return *out ? S_OK : E_FAIL;
}

}  // namespace host
