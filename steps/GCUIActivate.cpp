// The Activate step: makes one object of the host's interface active or inactive.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kActivateObject };  // inputs
enum { kActivate };        // parameters, in declaration order

const InputDeclaration kInputs[] = {
    {L"ActivateObject", &IID_IActivatableObject, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"Activate", Integer(1), kSwitchFlags},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIPropPages.UIParametersPropPage", true},
};

}  // namespace

class CGCUIActivate final : public StepBase<CGCUIActivate, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIActivate";
    static constexpr StepTables kTables{kInputs, kParameters, kPages};
    using Interfaces = StepInterfaces<>;

    // The bound object may be the activatable object, a moniker naming it or
    // a host window showing it. Nothing to activate is not an error; any
    // nonzero "Activate" activates, an unreadable one deactivates, and the
    // object's own answer is the step's result.
    HRESULT Execute(CStopEvent*) {
        auto activatable = resolvedInput<IActivatableObject>(kActivateObject);
        if (!activatable) return S_OK;
        return activatable->Activate(readInteger(kActivate) != 0 ? 1 : 0);
    }
};

extern const ModuleClass gGCUIActivateClass = moduleClassOf<CGCUIActivate>();
