// The Confirmation step: asks the operator a question in a confirmation
// window and records the answer.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUIConfirm final
    : public StepBase<CGCUIConfirm, IParameters, IStepImplAsynchronous, _IConfirmationEvent> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIConfirm";
    using Interfaces = StepInterfaces<_IConfirmationEvent>;

    // Answers are not handled yet.
    HRESULT ConfirmationDone(IUnknown*, int32_t) override { return E_NOTIMPL; }
};

extern const ModuleClass gGCUIConfirmClass = moduleClassOf<CGCUIConfirm>();
