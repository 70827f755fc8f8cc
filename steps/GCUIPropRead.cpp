// The Property read step: makes the properties of an object the step's own
// parameters.
#include "module/Registry.h"
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
    // The parameters are made by each run from the object read.
    static constexpr StepTables kTables{kInputs, {}, kPages, 1};
    using Interfaces = StepInterfaces<IParametersCreatable>;

    // The parameters come from the object read, so only XML keeps them; a
    // folder stream gets the input list alone ("Inputs" in the split layout).
    // Loading is the common one. Always 0.
    HRESULT Save(IDataStream* stream, int32_t mode) override {
        return m_StepInputs.save(m_Parameters, stream, mode, false);
    }

    // The only step whose collection lock is a real mutex.
    void Lock() override { m_ResourceLock.Lock(); }
    void Unlock() override { m_ResourceLock.Unlock(); }

private:
    CResourceLock m_ResourceLock;
};

extern const ModuleClass gGCUIPropReadClass = moduleClassOf<CGCUIPropRead>();
