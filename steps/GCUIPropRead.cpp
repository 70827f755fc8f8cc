// The Property read step: makes the properties of an object the step's own
// parameters.
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

class CGCUIPropRead final : public StepBase<CGCUIPropRead, IParametersCreatable, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIPropRead";
    using Interfaces = StepInterfaces<IParametersCreatable>;

    // The parameters are made by each run from the object read.
    HRESULT FinalConstruct() override {
        m_SplitLayout = 1;
        return Declare(kInputs, kNoParameters);
    }

    HRESULT GetPages(int32_t, INamedCollection** pages, IUnknown**) override {
        return PAGESBuild(kPages, nullptr, pages);
    }

    // The only step whose collection lock is a real mutex.
    void Lock() override { m_ResourceLock.Lock(); }
    void Unlock() override { m_ResourceLock.Unlock(); }

private:
    CResourceLock m_ResourceLock;
};

extern const ModuleClass gGCUIPropReadClass = moduleClassOf<CGCUIPropRead>();
