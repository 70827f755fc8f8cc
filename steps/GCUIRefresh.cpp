// The Refresh step: makes one displayed object of the host redraw itself.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kRefreshableObject };  // inputs
enum { kImmediate };          // parameters, in declaration order

const InputDeclaration kInputs[] = {
    {L"RefreshableObject", &IID_IUIRefreshableObject, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"Immediate", Integer(0), kSwitchFlags},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIPropPages.UIParametersPropPage", true},
};

}  // namespace

class CGCUIRefresh final : public StepBase<CGCUIRefresh, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIRefresh";
    static constexpr StepTables kTables{kInputs, kParameters, kPages, 1};
    using Interfaces = StepInterfaces<>;

    // Mode 9 asks for an immediate refresh, 0 for an ordinary one; an
    // unreadable "Immediate" counts as 0. Refresh's own result is not ours.
    HRESULT Execute(CStopEvent*) {
        auto refreshable = inputObject(kRefreshableObject).query<IUIRefreshableObject>();
        if (!refreshable) return E_FAIL;
        refreshable->Refresh(readInteger(kImmediate) != 0 ? kRefreshImmediate : kRefreshOrdinary);
        return S_OK;
    }
};

extern const ModuleClass gGCUIRefreshClass = moduleClassOf<CGCUIRefresh>();
