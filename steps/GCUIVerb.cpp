// The Verb step: runs one of the verbs that another object offers, and offers
// its own verbs "Run" and "Edit".
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

const InputDeclaration kInputs[] = {
    {L"VerbObject", &IID_IUIVerbCollectionSpecify, 0},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", false},
    {L"UIPropPages.UIParametricObjectPropPage", false},
};

}  // namespace

// The parameters of the chosen verb, offered as a collection made on demand.
template <class T>
class IParametricImpl : public IParametricObject {
public:
    HRESULT GetParameters(INamedCollection** out, int32_t) override {
        if (out) *out = nullptr;
        return E_NOTIMPL;
    }
    HRESULT SetParameters(INamedCollection*) override { return E_NOTIMPL; }
};

class CGCUIVerb final : public StepBase<CGCUIVerb, IParameters, IStepImplSynchronous, IParametricImpl<CGCUIVerb>,
                                        IUIVerbCollectionSpecify> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIVerb";
    // Both pages name the step's registered name as their descriptor.
    static constexpr StepTables kTables{kInputs, {}, kPages, 0, true};
    using Interfaces = StepInterfaces<IParametricObject, IUIVerbCollectionSpecify>;

    // The chosen verb is offered through IParametricObject, not declared as a
    // parameter of the step's own collection.
    HRESULT FinalConstruct() override {
        m_Action = 0;
        return StepBase::FinalConstruct();
    }

    // The verbs are not built yet: both say so.
    int32_t DoAction(int32_t, IUnknown*) override { return E_NOTIMPL; }
    HRESULT GetVerbs(int32_t, IUnknown*, IUIVerbCollection** out) override {
        if (out) *out = nullptr;
        return E_NOTIMPL;
    }

private:
    int32_t m_Action = 0;  // the chosen verb's identifier
};

extern const ModuleClass gGCUIVerbClass = moduleClassOf<CGCUIVerb>();
