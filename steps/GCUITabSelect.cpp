// The Tab select step: selects a tab, and a tab inside it, of a tab collection.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

const InputDeclaration kInputs[] = {
    {L"TabbedWindows", &IID_ITabCollection, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"SubTab", Integer(0), 0x53},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIParametersPropPage", true},
};

}  // namespace

class CGCUITabSelect final : public StepBase<CGCUITabSelect, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCTabSelect";
    static constexpr StepTables kTables{kInputs, kParameters, kPages};
    using Interfaces = StepInterfaces<>;

};

extern const ModuleClass gGCUITabSelectClass = moduleClassOf<CGCUITabSelect>();
