// The Activate step: makes one object of the host's interface active or inactive.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUIActivate final : public StepBase<CGCUIActivate, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIActivate";
    using Interfaces = StepInterfaces<>;
};

extern const ModuleClass gGCUIActivateClass = moduleClassOf<CGCUIActivate>();
