// The Selected tab step: reads the index, name and object of the selected tab.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUITabGetSelected final : public StepBase<CGCUITabGetSelected, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCTabGetSelected";
    using Interfaces = StepInterfaces<>;
};

extern const ModuleClass gGCUITabGetSelectedClass = moduleClassOf<CGCUITabGetSelected>();
