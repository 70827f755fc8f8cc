#include "host/MessageWindows.h"

namespace host {

HRESULT MessageWindow::put_Message(IString* text) {
    const std::wstring message = textOf(text);
    record("put_Message(\"" + narrow(message) + "\")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Message = message;
    return S_OK;
}

std::wstring MessageWindow::message() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Message;
}

bool MessageWindow::isOpen() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Open;
}

void MessageWindow::setOpen(bool open) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Open = open;
}

namespace {

MessageWindow* asMessageWindow(IUnknown* window) { return dynamic_cast<MessageWindow*>(window); }

}  // namespace

WindowCollection::WindowCollection(std::string label) { setLabel(std::move(label)); }

std::string WindowCollection::describe(const Entry& entry) {
    std::string text = narrow(entry.name);
    if (const MessageWindow* message = asMessageWindow(entry.window.get())) {
        text += " \"" + narrow(message->message()) + "\"";
    }
    return text;
}

HRESULT WindowCollection::get_Item(int32_t index, IUnknown** out) {
    record("get_Item(" + std::to_string(index) + ")");
    if (!out) return E_POINTER;
    *out = nullptr;
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return E_INVALIDARG;
    *out = SmartPtr<IUnknown>(m_Entries[static_cast<size_t>(index)].window).detach();
    return S_OK;
}

HRESULT WindowCollection::get_Index(IString* name, int32_t* index) {
    const std::wstring wanted = textOf(name);
    record("get_Index(" + narrow(wanted) + ")");
    if (!index) return E_POINTER;
    *index = -1;
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (size_t i = 0; i < m_Entries.size(); ++i) {
        if (m_Entries[i].name == wanted) {
            *index = static_cast<int32_t>(i);
            return S_OK;
        }
    }
    return E_FAIL;
}

HRESULT WindowCollection::Add(IString* name, IWindow* window) {
    Entry entry{textOf(name), SmartPtr<IUnknown>(static_cast<IUnknown*>(window))};
    record("Add(" + describe(entry) + ")");
    if (!window) return E_POINTER;
    if (MessageWindow* message = asMessageWindow(window)) message->setOpen(true);
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Entries.push_back(std::move(entry));
    return S_OK;
}

HRESULT WindowCollection::Remove(int32_t index) {
    Entry removed;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (index >= 0 && static_cast<size_t>(index) < m_Entries.size()) {
            removed = std::move(m_Entries[static_cast<size_t>(index)]);
            m_Entries.erase(m_Entries.begin() + index);
        }
    }
    if (!removed.window) {
        record("Remove(" + std::to_string(index) + ")");
        return E_INVALIDARG;
    }
    record("Remove(" + std::to_string(index) + ") closes " + describe(removed));
    if (MessageWindow* message = asMessageWindow(removed.window.get())) message->setOpen(false);
    return S_OK;
}

void WindowCollection::place(const std::wstring& name, IUnknown* window) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Entries.push_back({name, SmartPtr<IUnknown>(window)});
}

std::vector<std::string> WindowCollection::shown() const {
    std::vector<Entry> entries;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        entries = m_Entries;
    }
    std::vector<std::string> lines;
    for (const Entry& entry : entries) lines.push_back(describe(entry));
    return lines;
}

std::vector<std::pair<std::wstring, SmartPtr<IUnknown>>> WindowCollection::opened() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    std::vector<std::pair<std::wstring, SmartPtr<IUnknown>>> windows;
    for (const Entry& entry : m_Entries) windows.emplace_back(entry.name, entry.window);
    return windows;
}

SmartPtr<IUnknown> WindowCollection::window(const std::wstring& name) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (const Entry& entry : m_Entries) {
        if (entry.name == name) return entry.window;
    }
    return nullptr;
}

}  // namespace host
