// The windows the simulated host has open, by name, and the message windows
// it makes on request. Showing a window is adding it to a window collection;
// closing it is removing it, after which its last holder lets it go.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/HostObject.h"

namespace host {

// A window that shows one text. The collection it is added to opens it and
// closes it again.
class MessageWindow final : public Object<MessageWindow, IMessageWindow, IWindow> {
public:
    static constexpr char kLedgerName[] = "MessageWindow";
    using Answered = Answers<IMessageWindow, IWindow>;

    HRESULT put_Message(IString* text) override;

    std::wstring message() const;
    bool isOpen() const;
    void setOpen(bool open);

private:
    mutable std::mutex m_Mutex;
    std::wstring m_Message;
    bool m_Open = false;
};

// Windows registered under names, in the order they were added. Records
// every lookup, addition and removal under its label.
class WindowCollection final : public Object<WindowCollection, IWindowCollection> {
public:
    static constexpr char kLedgerName[] = "WindowCollection";
    using Answered = Answers<IWindowCollection>;

    explicit WindowCollection(std::string label = "Windows");

    // The window with a new reference; E_INVALIDARG outside the collection.
    HRESULT get_Item(int32_t index, IUnknown** out) override;
    // -1 and E_FAIL when no window has that name.
    HRESULT get_Index(IString* name, int32_t* index) override;
    // Opens the window under the name; a null window is refused (E_POINTER).
    HRESULT Add(IString* name, IWindow* window) override;
    // Closes the window at index and lets it go; E_INVALIDARG outside the collection.
    HRESULT Remove(int32_t index) override;

    // Puts a window in place without recording it, as a program file does.
    void place(const std::wstring& name, IUnknown* window);
    // What is on screen, one line per window: its name, and for a message
    // window the text it shows ("GCUIMessage \"Running\"").
    std::vector<std::string> shown() const;
    // The windows open now, by name, in order.
    std::vector<std::pair<std::wstring, SmartPtr<IUnknown>>> opened() const;
    // The window registered under the name, or null.
    SmartPtr<IUnknown> window(const std::wstring& name) const;

private:
    struct Entry {
        std::wstring name;
        SmartPtr<IUnknown> window;
    };
    static std::string describe(const Entry& entry);

    mutable std::mutex m_Mutex;
    std::vector<Entry> m_Entries;
};

}  // namespace host
