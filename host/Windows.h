// Windows of the simulated host: a host window shows one object, has an
// area on the screen and takes pointer events. Each records what is done to
// it, under its label.
#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "host/HostObject.h"

namespace host {

// One pointer event as a window received it.
struct MouseEvent {
    int32_t button = 0;
    int32_t state = 0;
    int32_t modifiers = 0;
    double x = 0.0;
    double y = 0.0;
    int32_t area[4] = {0, 0, 0, 0};
};

// An area on the screen that takes pointer events and keeps them: what a host
// window and a workspace share.
class PointerArea {
public:
    void get(int32_t rect[4]) const;
    void set(const int32_t rect[4]);
    void receive(const MouseEvent& event);
    std::vector<MouseEvent> events() const;

private:
    mutable std::mutex m_Mutex;
    int32_t m_Area[4] = {0, 0, 0, 0};
    std::deque<MouseEvent> m_Events;
};

class HostWindow final : public Object<HostWindow, IHostWindow, IWindow, IUIMouseInput> {
public:
    static constexpr char kLedgerName[] = "HostWindow";
    using Answered = Answers<IHostWindow, IWindow, IUIMouseInput>;

    explicit HostWindow(std::string label = "Window", IUnknown* hosted = nullptr);

    // The hosted object, with a new reference; E_FAIL when it shows none.
    HRESULT get_HostedObject(IUnknown** out) override;
    HRESULT Show(int32_t a, int32_t b) override;
    HRESULT get_Area(int32_t rect[4]) override;
    HRESULT put_Area(const int32_t rect[4]) override;
    HRESULT SendMouse(int32_t button, int32_t state, int32_t modifiers, double x, double y, int32_t* area) override;

    void setHosted(IUnknown* hosted);
    // The hosted object, unrecorded.
    SmartPtr<IUnknown> hosted() const;
    std::vector<MouseEvent> mouseEvents() const;
    int32_t shows() const;

private:
    mutable std::mutex m_Mutex;
    SmartPtr<IUnknown> m_Hosted;
    PointerArea m_Pointer;
    int32_t m_Shows = 0;
};

// "(1, 2, 3, 4)", as the trace writes an area.
std::string areaText(const int32_t area[4]);

// The event that SendMouse delivers (a null area reads as zeros), and the
// call as the trace writes it: "SendMouse(1, 0, 0, 400, 300, (10, 20, 800, 600))".
MouseEvent mouseEvent(int32_t button, int32_t state, int32_t modifiers, double x, double y, const int32_t* area);
std::string sendMouseText(const MouseEvent& event);

}  // namespace host
