#include "host/Buttons.h"

#include "host/Variants.h"

namespace host {

namespace {

std::string callText(const char* call, int32_t a, int32_t b) {
    return std::string(call) + "(" + std::to_string(a) + ", " + std::to_string(b) + ")";
}

}  // namespace

Button::Button(std::string label, std::wstring name, int32_t kind, int32_t command, bool toolbarItem)
    : m_Name(std::move(name)),
      m_ToolbarItem(toolbarItem),
      m_Properties{{kButtonKind, kind}, {kButtonCommand, command}, {kButtonSelected, 0}} {
    setLabel(std::move(label));
}

HRESULT Button::QueryInterface(const IID& iid, void** out) {
    if (out && iid == IID_IToolbarItem && !m_ToolbarItem) {
        *out = nullptr;
        return E_NOINTERFACE;
    }
    return Object::QueryInterface(iid, out);
}

HRESULT Button::Press() {
    record("Press");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Pressed = true;
    return S_OK;
}

HRESULT Button::unpressButton() {
    record("Unpress");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Pressed = false;
    return S_OK;
}

HRESULT Button::unpressItem() {
    record("Unpress as toolbar item");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Pressed = false;
    return S_OK;
}

HRESULT Button::put_Property(int32_t id, int32_t value) {
    record(callText("put_Property", id, value));
    setProperty(id, value);
    return S_OK;
}

HRESULT Button::get_Property(int32_t id, int32_t* value) {
    if (!value) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto found = m_Properties.find(id);
    *value = found == m_Properties.end() ? 0 : found->second;
    return found == m_Properties.end() ? E_INVALIDARG : S_OK;
}

bool Button::pressed() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Pressed;
}

int32_t Button::property(int32_t id) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto found = m_Properties.find(id);
    return found == m_Properties.end() ? 0 : found->second;
}

void Button::setProperty(int32_t id, int32_t value) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Properties[id] = value;
}

ButtonSet::ButtonSet(std::string label, Role role) : m_Role(role) { setLabel(std::move(label)); }

HRESULT ButtonSet::QueryInterface(const IID& iid, void** out) {
    if (out && ((iid == IID_IToolbar && m_Role != Role::Toolbar) ||
                (iid == IID_IToolbarHost && m_Role != Role::ToolbarHost))) {
        *out = nullptr;
        return E_NOINTERFACE;
    }
    return Object::QueryInterface(iid, out);
}

HRESULT ButtonSet::get_Item(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (index < 0 || static_cast<size_t>(index) >= m_Buttons.size()) return E_INVALIDARG;
    ++m_ItemsTaken;
    *out = static_cast<IButton*>(SmartPtr<Button>(m_Buttons[static_cast<size_t>(index)]).detach());
    return S_OK;
}

HRESULT ButtonSet::get_Index(IVariant* key, int32_t* index) {
    if (!index) return E_POINTER;
    *index = -1;
    if (!key) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (key->get_Type() != 0) {
        *index = key->get_Long();
        return *index >= 0 && static_cast<size_t>(*index) < m_Buttons.size() ? S_OK : E_INVALIDARG;
    }
    if (!key->IsString()) return E_INVALIDARG;
    SmartPtr<IString> name;
    key->get_String(name.put());
    const std::wstring wanted = textOf(name.get());
    for (size_t i = 0; i < m_Buttons.size(); ++i) {
        if (m_Buttons[i]->name() == wanted) {
            *index = static_cast<int32_t>(i);
            return S_OK;
        }
    }
    return E_FAIL;
}

HRESULT ButtonSet::put_PropertyAll(int32_t id, int32_t value) {
    record(callText("put_PropertyAll", id, value));
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (const SmartPtr<Button>& button : m_Buttons) button->setProperty(id, value);
    return S_OK;
}

HRESULT ButtonSet::RunCommand(int32_t command) {
    record("RunCommand(" + std::to_string(command) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Commands.push_back(command);
    return S_OK;
}

HRESULT ButtonSet::RunCommand(int32_t command, int32_t reserved) {
    record(callText("RunCommand", command, reserved));
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Commands.push_back(command);
    return S_OK;
}

HRESULT ButtonSet::Refresh(int32_t mode) {
    record("Refresh(" + std::to_string(mode) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    ++m_Refreshes;
    return S_OK;
}

SmartPtr<Button> ButtonSet::add(const std::wstring& name, int32_t kind, int32_t command, bool toolbarItem) {
    SmartPtr<Button> button = make<Button>(label() + "." + narrow(name), name, kind, command, toolbarItem);
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Buttons.push_back(button);
    return button;
}

SmartPtr<Button> ButtonSet::button(int32_t index) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (index < 0 || static_cast<size_t>(index) >= m_Buttons.size()) return nullptr;
    return m_Buttons[static_cast<size_t>(index)];
}

std::vector<int32_t> ButtonSet::commands() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Commands;
}

int32_t ButtonSet::itemsTaken() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_ItemsTaken;
}

int32_t ButtonSet::refreshes() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Refreshes;
}

}  // namespace host
