// The Confirmation step: asks the operator a question in a confirmation
// window and records the answer.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

const ParameterDeclaration kParameters[] = {
    {L"Message", Text(L"Stop Program?"), 6},
    {L"Style", Integer(0), 0x43, L"OK|OK Cancel|Yes No"},
    {L"TimeOut", Integer(0), 3},
    {L"Wait", Integer(0), 0x13},
    {L"Response", Integer(0), 0x40003},
};

const PageDeclaration kPages[] = {
    {L"UIParametersPropPage", false},
};

}  // namespace

class CGCUIConfirm final
    : public StepBase<CGCUIConfirm, IParameters, IStepImplAsynchronous, _IConfirmationEvent> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIConfirm";
    static constexpr StepTables kTables{{}, kParameters, kPages};
    using Interfaces = StepInterfaces<_IConfirmationEvent>;

    // Answers are not handled yet.
    HRESULT ConfirmationDone(IUnknown*, int32_t) override { return E_NOTIMPL; }
};

extern const ModuleClass gGCUIConfirmClass = moduleClassOf<CGCUIConfirm>();
