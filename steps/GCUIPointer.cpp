// The Pointer step: sends pointer events at positions relative to a window or the workspace.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUIPointer final : public StepBase<CGCUIPointer, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIPointer";
    using Interfaces = StepInterfaces<>;
};

extern const ModuleClass gGCUIPointerClass = moduleClassOf<CGCUIPointer>();
