// The Scroll step: reads and sets the scroll position of a scrollable object.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUIScroll final : public StepBase<CGCUIScroll, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIScroll";
    using Interfaces = StepInterfaces<>;
};

extern const ModuleClass gGCUIScrollClass = moduleClassOf<CGCUIScroll>();
