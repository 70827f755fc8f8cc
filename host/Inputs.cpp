#include "host/Inputs.h"

#include "host/Values.h"

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
    *count = static_cast<int32_t>(m_Inputs.size());
    return S_OK;
}

HRESULT InputParameters::get_Item(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    std::lock_guard<std::mutex> lock(m_Mutex);
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
    return input->get_Object(out);
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

}  // namespace host
