// The Selected tab step: reads the index, name and object of the selected tab.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

const InputDeclaration kInputs[] = {
    {L"TabbedWindows", &IID_INamedCollection, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"Index", Integer(0), 0x40003},
    {L"Name", Text(L""), 0x40006},
    {L"Item", Integer(0), 0x40007},
};

const PageDeclaration kPages[] = {
    {L"UIInputParametersPropPage", true},
    {L"UIParametersPropPage", true},
};

}  // namespace

class CGCUITabGetSelected final : public StepBase<CGCUITabGetSelected, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCTabGetSelected";
    static constexpr StepTables kTables{kInputs, kParameters, kPages};
    // The input asks for a named collection; Execute asks it for ITabCollection.
    using Interfaces = StepInterfaces<>;

};

extern const ModuleClass gGCUITabGetSelectedClass = moduleClassOf<CGCUITabGetSelected>();
