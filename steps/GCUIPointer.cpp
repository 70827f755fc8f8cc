// The Pointer step: sends one pointer event at a position relative to a window or the workspace.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

const ParameterDeclaration kParameters[] = {
    {L"Window Name", Text(L""), 6},
    {L"%X", Integer(0), 5},
    {L"%Y", Integer(0), 5},
    {L"Button", Integer(0), 0x43, L"Left|Right"},
    {L"State", Integer(0), 0x43, L"OVER|UP|DOWN"},
    {L"Modifier", Integer(0), 0x13},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIParametersPropPage", true},
};

}  // namespace

class CGCUIPointer final : public StepBase<CGCUIPointer, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIPointer";
    static constexpr StepTables kTables{{}, kParameters, kPages};
    using Interfaces = StepInterfaces<>;

};

extern const ModuleClass gGCUIPointerClass = moduleClassOf<CGCUIPointer>();
