// The Property write step: writes the step's parameters into another object's properties.
#include "module/Registry.h"
#include "execution/PropertyPages.h"
#include "steps/StepBase.h"

namespace {

const InputDeclaration kInputs[] = {
    {L"UIParametric", &IID_IUnknown, 0},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIPropPages.UIParametersPropPage", true},
};

}  // namespace

class CGCUIPropWrite final : public StepBase<CGCUIPropWrite, IParametersCreatable, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIPropWrite";
    using Interfaces = StepInterfaces<IParametersCreatable>;

    HRESULT FinalConstruct() override {
        m_SplitLayout = 1;  // the user's parameter set is stored and rebuilt
        return Declare(kInputs, kNoParameters);
    }

    HRESULT GetPages(int32_t, INamedCollection** pages, IUnknown**) override {
        return PAGESBuild(kPages, nullptr, pages);
    }
};

extern const ModuleClass gGCUIPropWriteClass = moduleClassOf<CGCUIPropWrite>();
