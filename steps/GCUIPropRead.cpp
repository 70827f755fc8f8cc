// The Property read step: makes the properties of an object the step's own
// parameters.
#include "module/Registry.h"
#include "steps/StepBase.h"

class CGCUIPropRead final : public StepBase<CGCUIPropRead, IParametersCreatable, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIPropRead";
    using Interfaces = StepInterfaces<IParametersCreatable>;

    // The only step whose collection lock is a real mutex.
    void Lock() override { m_ResourceLock.Lock(); }
    void Unlock() override { m_ResourceLock.Unlock(); }

private:
    CResourceLock m_ResourceLock;
};

extern const ModuleClass gGCUIPropReadClass = moduleClassOf<CGCUIPropRead>();
