// The Button select step: presses, releases and selects buttons of a button collection or toolbar.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUIButtonSelect final : public StepBase<CGCUIButtonSelect, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIButtonSelect";
    using Interfaces = StepInterfaces<>;
};

extern const ModuleClass gGCUIButtonSelectClass = moduleClassOf<CGCUIButtonSelect>();
