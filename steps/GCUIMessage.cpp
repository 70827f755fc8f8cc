// The Message step: shows, replaces and closes the program's message window.
#include "module/Registry.h"
#include "execution/PropertyPages.h"
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
    // The host cannot copy a Message step: it does not answer IReplicableObject.
    using Interfaces = InterfaceList<IObjectInfo, IUIPropertyPageSpecify, IStep, IInputParameters, IDataPersist,
                                   IParameters, IBindableObject>;

    HRESULT FinalConstruct() override {
        return Declare(kNoInputs, kParameters);
    }

    HRESULT GetPages(int32_t, INamedCollection** pages, IUnknown**) override {
        return PAGESBuild(kPages, nullptr, pages);
    }
};

extern const ModuleClass gGCUIMessageClass = moduleClassOf<CGCUIMessage>();
