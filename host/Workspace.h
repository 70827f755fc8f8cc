// The simulated host's active workspace: an area on the screen, the windows
// placed in it by name, and pointer events played into it.
#pragma once

#include <string>
#include <vector>

#include "host/Collections.h"
#include "host/MessageWindows.h"
#include "host/Windows.h"

namespace host {

class Workspace final : public Object<Workspace, IWorkspace, IUIMouseInput> {
public:
    static constexpr char kLedgerName[] = "Workspace";
    using Answered = Answers<IWorkspace, IUIMouseInput>;

    // Its windows are recorded as "<label>.Windows".
    explicit Workspace(std::string label = "Workspace");

    // The workspace's window collection, with a new reference.
    HRESULT get_Windows(IUnknown** out) override;
    // Left, top, width, height.
    HRESULT get_Area(int32_t rect[4]) override;
    HRESULT SendMouse(int32_t button, int32_t state, int32_t modifiers, double x, double y, int32_t* area) override;

    void setArea(const int32_t rect[4]);
    WindowCollection* windows() const { return m_Windows.get(); }
    std::vector<MouseEvent> mouseEvents() const;

private:
    SmartPtr<WindowCollection> m_Windows;
    PointerArea m_Pointer;
};

}  // namespace host
