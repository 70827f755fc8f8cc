// The Property write step: writes the step's parameters into another object's properties.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

const InputDeclaration kInputs[] = {
    {L"UIParametric", &IID_IUnknown, 0},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIPropPages.UIParametersPropPage", true},
};

}  // namespace

class CGCUIPropWrite final : public StepBase<CGCUIPropWrite, IParametersCreatable, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIPropWrite";
    // The user's parameter set is stored and rebuilt.
    static constexpr StepTables kTables{kInputs, {}, kPages, 1};
    using Interfaces = StepInterfaces<IParametersCreatable>;

};

extern const ModuleClass gGCUIPropWriteClass = moduleClassOf<CGCUIPropWrite>();
