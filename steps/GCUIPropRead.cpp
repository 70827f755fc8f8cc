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

    // The parameters come from the object read, so only XML keeps them; a
    // folder stream gets the input list alone ("Inputs" in the split layout).
    // Loading is the common one. Always 0.
    HRESULT Save(IDataStream* stream, int32_t mode) override {
        if (!stream) return S_OK;
        if (queryInterface<IXMLStream>(stream)) {
            Params_SaveXML(stream, MODE_COMPACT);
            return S_OK;
        }
        SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
        if (!folder) return S_OK;
        if (m_SplitLayout == 0) {
            SaveInputs(stream, mode | MODE_COMPACT);
            return S_OK;
        }
        SmartPtr<IFolderStream> inputs;
        folder->CreateFolder(ISCreate(L"Inputs").get(), 0, inputs.put());
        if (inputs) SaveInputs(inputs.get(), mode | MODE_COMPACT);
        return S_OK;
    }

    // The only step whose collection lock is a real mutex.
    void Lock() override { m_ResourceLock.Lock(); }
    void Unlock() override { m_ResourceLock.Unlock(); }

private:
    CResourceLock m_ResourceLock;
};

extern const ModuleClass gGCUIPropReadClass = moduleClassOf<CGCUIPropRead>();
