// The Message step: shows, replaces and closes the program's message window.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

const ParameterDeclaration kParameters[] = {
    {L"Message", Text(L"Running"), 6},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIParametersPropPage", true},
};

}  // namespace

class CGCUIMessage final : public StepBase<CGCUIMessage, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIMessage";
    static constexpr StepTables kTables{{}, kParameters, kPages};
    // The host cannot copy a Message step: it does not answer IReplicableObject.
    using Interfaces = InterfaceList<IObjectInfo, IUIPropertyPageSpecify, IStep, Delegated<IInputParameters>,
                                   IDataPersist, IParameters, IBindableObject>;

};

extern const ModuleClass gGCUIMessageClass = moduleClassOf<CGCUIMessage>();
