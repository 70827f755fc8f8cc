// The Activate step: makes one object of the host's interface active or inactive.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

const InputDeclaration kInputs[] = {
    {L"ActivateObject", &IID_IActivatableObject, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"Activate", Integer(1), 0x13},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIPropPages.UIParametersPropPage", true},
};

}  // namespace

class CGCUIActivate final : public StepBase<CGCUIActivate, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIActivate";
    static constexpr StepTables kTables{kInputs, kParameters, kPages};
    using Interfaces = StepInterfaces<>;

};

extern const ModuleClass gGCUIActivateClass = moduleClassOf<CGCUIActivate>();
