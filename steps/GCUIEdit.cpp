// The Edit step: lets the operator edit the properties of bound objects in
// the host's property frame.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUIEdit final : public StepBase<CGCUIEdit, IParameters, IStepImplAsynchronous, _IUIPropFrameEvents> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIEdit";
    using Interfaces = StepInterfaces<_IUIPropFrameEvents>;

    // The frame's events are not handled yet.
    HRESULT EditClosed(IUnknown*) override { return E_NOTIMPL; }
    HRESULT EditApply(IUnknown*) override { return E_NOTIMPL; }
    HRESULT EditCancel(IUnknown*) override { return E_NOTIMPL; }
};

extern const ModuleClass gGCUIEditClass = moduleClassOf<CGCUIEdit>();
