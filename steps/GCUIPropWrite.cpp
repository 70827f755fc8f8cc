// The Property write step: writes the step's parameters into another object's properties.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUIPropWrite final : public StepBase<CGCUIPropWrite, IParametersCreatable, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIPropWrite";
    using Interfaces = StepInterfaces<IParametersCreatable>;
};

extern const ModuleClass gGCUIPropWriteClass = moduleClassOf<CGCUIPropWrite>();
