#include "host/Windows.h"

#include <cstdio>

namespace host {

std::string areaText(const int32_t area[4]) {
    return "(" + std::to_string(area[0]) + ", " + std::to_string(area[1]) + ", " + std::to_string(area[2]) + ", " +
           std::to_string(area[3]) + ")";
}

MouseEvent mouseEvent(int32_t button, int32_t state, int32_t modifiers, double x, double y, const int32_t* area) {
    MouseEvent event;
    event.button = button;
    event.state = state;
    event.modifiers = modifiers;
    event.x = x;
    event.y = y;
    if (area) {
        for (int side = 0; side < 4; ++side) event.area[side] = area[side];
    }
    return event;
}

std::string sendMouseText(const MouseEvent& event) {
    char position[96];
    std::snprintf(position, sizeof position, "%g, %g", event.x, event.y);
    return "SendMouse(" + std::to_string(event.button) + ", " + std::to_string(event.state) + ", " +
           std::to_string(event.modifiers) + ", " + position + ", " + areaText(event.area) + ")";
}

void PointerArea::get(int32_t rect[4]) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (int side = 0; side < 4; ++side) rect[side] = m_Area[side];
}

void PointerArea::set(const int32_t rect[4]) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (int side = 0; side < 4; ++side) m_Area[side] = rect[side];
}

// A host that is sent events in a loop keeps the latest ones only.
void PointerArea::receive(const MouseEvent& event) {
    constexpr size_t kKept = 1024;
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_Events.size() == kKept) m_Events.pop_front();
    m_Events.push_back(event);
}

std::vector<MouseEvent> PointerArea::events() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return std::vector<MouseEvent>(m_Events.begin(), m_Events.end());
}

HostWindow::HostWindow(std::string label, IUnknown* hosted) : m_Hosted(hosted) { setLabel(std::move(label)); }

HRESULT HostWindow::get_HostedObject(IUnknown** out) {
    record("get_HostedObject");
    if (!out) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    *out = SmartPtr<IUnknown>(m_Hosted).detach();
    return *out ? S_OK : E_FAIL;
}

HRESULT HostWindow::Show(int32_t a, int32_t b) {
    record("Show(" + std::to_string(a) + ", " + std::to_string(b) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    ++m_Shows;
    return S_OK;
}

HRESULT HostWindow::get_Area(int32_t rect[4]) {
    if (!rect) return E_POINTER;
    m_Pointer.get(rect);
    return S_OK;
}

HRESULT HostWindow::put_Area(const int32_t rect[4]) {
    if (!rect) return E_POINTER;
    record("put_Area" + areaText(rect));
    m_Pointer.set(rect);
    return S_OK;
}

HRESULT HostWindow::SendMouse(int32_t button, int32_t state, int32_t modifiers, double x, double y, int32_t* area) {
    const MouseEvent event = mouseEvent(button, state, modifiers, x, y, area);
    if (Recorder::enabled()) record(sendMouseText(event));
    m_Pointer.receive(event);
    return S_OK;
}

void HostWindow::setHosted(IUnknown* hosted) {
    SmartPtr<IUnknown> previous;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        previous = m_Hosted;
        m_Hosted = SmartPtr<IUnknown>(hosted);
    }
}

SmartPtr<IUnknown> HostWindow::hosted() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Hosted;
}

std::vector<MouseEvent> HostWindow::mouseEvents() const { return m_Pointer.events(); }

int32_t HostWindow::shows() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Shows;
}

}  // namespace host
