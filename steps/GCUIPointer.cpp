// The Pointer step: sends one pointer event at a position relative to a window or the workspace.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kWindowName, kX, kY, kButton, kState, kModifier };  // parameters, in declaration order

const ParameterDeclaration kParameters[] = {
    {L"Window Name", Text(L""), kTextFlags},
    {L"%X", Integer(0), kDecimalFlags},
    {L"%Y", Integer(0), kDecimalFlags},
    {L"Button", Integer(0), kChoiceFlags, L"Left|Right"},
    {L"State", Integer(0), kChoiceFlags, L"OVER|UP|DOWN"},
    {L"Modifier", Integer(0), kSwitchFlags},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIParametersPropPage", true},
};

enum { kStateOver, kStateUp, kStateDown };  // "State" choices

// The host's event code for a "State" choice; anything else moves over.
int32_t mouseState(int32_t state) {
    switch (state) {
        case kStateUp:
            return kMouseUp;
        case kStateDown:
            return kMouseDown;
        default:
            return kMouseOver;
    }
}

}  // namespace

class CGCUIPointer final : public StepBase<CGCUIPointer, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIPointer";
    static constexpr StepTables kTables{{}, kParameters, kPages};
    using Interfaces = StepInterfaces<>;

    // "%X" and "%Y" are percent of the target's area; a window's origin is
    // added, the workspace's is not. The point is not clamped to the area.
    HRESULT Execute(CStopEvent*) {
        auto workspace = CreateObject<IWorkspace>(L"ActiveWorkspace");
        SmartPtr<IUnknown> window;
        const SmartPtr<IString> name = storedValue(kWindowName).query<IString>();
        if (workspace && CREFString(name.get()).count > 1) window = windowNamed(workspace.get(), name.get());

        int32_t area[4] = {0, 0, 0, 0};  // left, top, width, height
        double originLeft = 0.0, originTop = 0.0;
        SmartPtr<IUIMouseInput> target;
        if (auto hostWindow = window.query<IHostWindow>()) {
            target = hostWindow.query<IUIMouseInput>();
            hostWindow->get_Area(area);
            originLeft = area[0];
            originTop = area[1];
        } else {
            if (!workspace) return E_FAIL;
            workspace->get_Area(area);
            target = workspace.query<IUIMouseInput>();
        }
        if (!target) return E_FAIL;

        const double x = originLeft + area[2] * (readDouble(kX) * 0.01);
        const double y = originTop + area[3] * (readDouble(kY) * 0.01);
        const int32_t button = readInteger(kButton) != 0 ? kMouseRightButton : kMouseLeftButton;
        const int32_t state = mouseState(readInteger(kState));
        const int32_t modifiers = readInteger(kModifier) != 0 ? kMouseModifier : kMouseNoModifier;
        return target->SendMouse(button, state, modifiers, x, y, area);
    }

private:
    // The window of the workspace registered under the name, or null. The
    // index of a failed lookup is never used: a host may leave anything there.
    static SmartPtr<IUnknown> windowNamed(IWorkspace* workspace, IString* name) {
        SmartPtr<IUnknown> windows;
        workspace->get_Windows(windows.put());
        auto collection = windows.query<IWindowCollection>();
        int32_t index = -1;
        SmartPtr<IUnknown> window;
        if (collection && SUCCEEDED(collection->get_Index(name, &index))) collection->get_Item(index, window.put());
        return window;
    }
};

extern const ModuleClass gGCUIPointerClass = moduleClassOf<CGCUIPointer>();
