// The Scroll step: reads or sets the scroll position and page size of one axis of a scrollable object.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

const InputDeclaration kInputs[] = {
    {L"ScrollableObject", &IID_IUIScrollableObject, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"Operation", Integer(0), 0x43, L"Read|SetPos|SetSize|SetPosAndSize"},
    {L"Axis", Integer(0), 3},
    {L"Pos", Integer(0), 5},
    {L"PageSize", Integer(0), 5},
};

const PageDeclaration kPages[] = {
    {L"UIInputParametersPropPage", true},
    {L"UIParametersPropPage", true},
};

}  // namespace

class CGCUIScroll final : public StepBase<CGCUIScroll, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIScroll";
    static constexpr StepTables kTables{kInputs, kParameters, kPages};
    using Interfaces = StepInterfaces<>;

};

extern const ModuleClass gGCUIScrollClass = moduleClassOf<CGCUIScroll>();
