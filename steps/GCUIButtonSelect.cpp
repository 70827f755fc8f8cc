// The Button select step: presses, releases and selects buttons of a button collection or toolbar.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

const InputDeclaration kInputs[] = {
    {L"Buttons", &IID_IButtonCollection, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"Button", Integer(0), 9},
    {L"Select", Integer(0), 0x13},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIParametersPropPage", false},
};

}  // namespace

class CGCUIButtonSelect final : public StepBase<CGCUIButtonSelect, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIButtonSelect";
    static constexpr StepTables kTables{kInputs, kParameters, kPages};
    using Interfaces = StepInterfaces<>;

};

extern const ModuleClass gGCUIButtonSelectClass = moduleClassOf<CGCUIButtonSelect>();
