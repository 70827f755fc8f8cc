// The Tab select step: selects a tab, and a tab inside it, of a tab collection.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kTabbedWindows };  // inputs
enum { kSubTab };         // parameters

const InputDeclaration kInputs[] = {
    {L"TabbedWindows", &IID_ITabCollection, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"SubTab", Integer(0), kSwitchChoiceFlags},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIParametersPropPage", true},
};

}  // namespace

class CGCUITabSelect final : public StepBase<CGCUITabSelect, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCTabSelect";
    static constexpr StepTables kTables{kInputs, kParameters, kPages};
    using Interfaces = StepInterfaces<>;

    // The binding names a tab of a tab collection by name and by index. The
    // name wins, so a binding survives the tabs being reordered; the stored
    // index serves when the lookup writes none. When the tab in front holds
    // tabs of its own, "SubTab" selects one of those as it is: the tab
    // collection judges the range. The step never fails.
    HRESULT Execute(CStopEvent*) {
        SmartPtr<IInputParameter> binding = inputRecord(kTabbedWindows);
        if (!binding) return S_OK;
        int32_t index = -1;
        SmartPtr<IString> name;
        SmartPtr<IUnknown> bound;
        binding->get_ItemIndex(&index);
        binding->get_ItemName(name.put());
        binding->get_Object(bound.put());

        SmartPtr<ITabCollection> inner;
        if (auto tabs = OBJECTResolve<ITabCollection>(bound.get())) {
            tabs->get_Index(name.get(), &index);
            tabs->Select(index, kSelectNotify);
            SmartPtr<IUnknown> tab;
            tabs->get_Item(index, tab.put());
            inner = tab.query<ITabCollection>();
        }
        if (inner) inner->Select(readInteger(kSubTab), kSelectNotify);

        if (auto refreshable = OBJECTResolve<IUIRefreshableObject>(bound.get())) refreshable->Refresh(kRefreshOrdinary);
        if (auto refreshable = OBJECTResolve<IUIRefreshableObject>(inner.get())) refreshable->Refresh(kRefreshOrdinary);
        return S_OK;
    }
};

extern const ModuleClass gGCUITabSelectClass = moduleClassOf<CGCUITabSelect>();
