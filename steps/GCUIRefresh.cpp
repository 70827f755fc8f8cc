// The Refresh step: makes one displayed object of the host redraw itself.
#include "module/Registry.h"
#include "execution/PropertyPages.h"
#include "steps/StepBase.h"

namespace {

const InputDeclaration kInputs[] = {
    {L"RefreshableObject", &IID_IUIRefreshableObject, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"Immediate", Integer(0), 0x13},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIPropPages.UIParametersPropPage", true},
};

}  // namespace

class CGCUIRefresh final : public StepBase<CGCUIRefresh, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIRefresh";
    using Interfaces = StepInterfaces<>;

    HRESULT FinalConstruct() override {
        m_SplitLayout = 1;
        return Declare(kInputs, kParameters);
    }

    HRESULT GetPages(int32_t, INamedCollection** pages, IUnknown**) override {
        return PAGESBuild(kPages, nullptr, pages);
    }

    // Mode 9 asks for an immediate refresh, 0 for an ordinary one; an
    // unreadable "Immediate" counts as 0. Refresh's own result is not ours.
    HRESULT Execute(void* /*context*/) {
        SmartPtr<IUIRefreshableObject> refreshable = InputObject(0).query<IUIRefreshableObject>();
        if (!refreshable) return E_FAIL;
        SmartPtr<IVariant> immediate;
        const bool now = get_ItemVariant(0, immediate.put()) >= 0 && immediate && immediate->get_Long() != 0;
        refreshable->Refresh(now ? 9 : 0);
        return S_OK;
    }
};

extern const ModuleClass gGCUIRefreshClass = moduleClassOf<CGCUIRefresh>();
