#include "host/Workspace.h"

namespace host {

Workspace::Workspace(std::string label) : m_Windows(make<WindowCollection>(label + ".Windows")) {
    setLabel(std::move(label));
}

HRESULT Workspace::get_Windows(IUnknown** out) {
    if (!out) return E_POINTER;
    *out = static_cast<IWindowCollection*>(SmartPtr<WindowCollection>(m_Windows).detach());
    return S_OK;
}

HRESULT Workspace::get_Area(int32_t rect[4]) {
    if (!rect) return E_POINTER;
    m_Pointer.get(rect);
    return S_OK;
}

HRESULT Workspace::SendMouse(int32_t button, int32_t state, int32_t modifiers, double x, double y, int32_t* area) {
    const MouseEvent event = mouseEvent(button, state, modifiers, x, y, area);
    if (Recorder::enabled()) record(sendMouseText(event));
    m_Pointer.receive(event);
    return S_OK;
}

void Workspace::setArea(const int32_t rect[4]) { m_Pointer.set(rect); }

std::vector<MouseEvent> Workspace::mouseEvents() const { return m_Pointer.events(); }

}  // namespace host
