// The Tab select step: selects a tab, and a tab inside it, of a tab collection.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUITabSelect final : public StepBase<CGCUITabSelect, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCTabSelect";
    using Interfaces = StepInterfaces<>;
};

extern const ModuleClass gGCUITabSelectClass = moduleClassOf<CGCUITabSelect>();
