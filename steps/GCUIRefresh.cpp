// The Refresh step: makes one displayed object of the host redraw itself.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUIRefresh final : public StepBase<CGCUIRefresh, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIRefresh";
    using Interfaces = StepInterfaces<>;
};

extern const ModuleClass gGCUIRefreshClass = moduleClassOf<CGCUIRefresh>();
