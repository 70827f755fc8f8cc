// The Message step: shows, replaces and closes the program's message window.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUIMessage final : public StepBase<CGCUIMessage, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIMessage";
    // The host cannot copy a Message step: it does not answer IReplicableObject.
    using Interfaces = InterfaceList<IObjectInfo, IUIPropertyPageSpecify, IStep, IInputParameters, IDataPersist,
                                   IParameters, IBindableObject>;
};

extern const ModuleClass gGCUIMessageClass = moduleClassOf<CGCUIMessage>();
