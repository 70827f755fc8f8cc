// The Button select step: presses, releases and selects buttons of a button collection or toolbar.
#include "module/Registry.h"
#include "execution/PropertyPages.h"
#include "steps/StepBase.h"

namespace {

const InputDeclaration kInputs[] = {
    {L"Buttons", &IID_IButtonCollection, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"Button", Integer(0), 9},
    {L"Select", Integer(0), 0x13},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIParametersPropPage", false},
};

}  // namespace

class CGCUIButtonSelect final : public StepBase<CGCUIButtonSelect, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIButtonSelect";
    using Interfaces = StepInterfaces<>;

    HRESULT FinalConstruct() override {
        return Declare(kInputs, kParameters);
    }

    HRESULT GetPages(int32_t, INamedCollection** pages, IUnknown**) override {
        return PAGESBuild(kPages, nullptr, pages);
    }
};

extern const ModuleClass gGCUIButtonSelectClass = moduleClassOf<CGCUIButtonSelect>();
