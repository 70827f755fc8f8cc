// The Input step: asks the operator for a text, a number, a password or a
// file name through the host's keyboard or file chooser.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUIInput final : public StepBase<CGCUIInput, IParameters, IStepImplAsynchronous, _IUIKeyboardEvents,
                                         _IUIFileArchiveEvents> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIInput";
    using Interfaces = StepInterfaces<_IUIKeyboardEvents, _IUIFileArchiveEvents>;

    // Answers are not handled yet.
    HRESULT KeyboardClose(IUnknown*) override { return E_NOTIMPL; }
    HRESULT KeyboardApply(IString*, IUnknown*) override { return E_NOTIMPL; }
    HRESULT FileArchiveClose(IUnknown*) override { return E_NOTIMPL; }
    HRESULT FileArchiveApply(IString*, IUnknown*) override { return E_NOTIMPL; }
};

extern const ModuleClass gGCUIInputClass = moduleClassOf<CGCUIInput>();
