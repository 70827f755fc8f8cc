// The Selected tab step: reads the index, name and object of the selected tab.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kTabbedWindows };        // inputs
enum { kIndex, kName, kItem };  // parameters (all results), in declaration order

const InputDeclaration kInputs[] = {
    {L"TabbedWindows", &IID_INamedCollection, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"Index", Integer(0), kIntegerResultFlags},
    {L"Name", Text(L""), kTextResultFlags},
    {L"Item", Integer(0), kObjectResultFlags},
};

const PageDeclaration kPages[] = {
    {L"UIInputParametersPropPage", true},
    {L"UIParametersPropPage", true},
};

}  // namespace

class CGCUITabGetSelected final : public StepBase<CGCUITabGetSelected, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCTabGetSelected";
    static constexpr StepTables kTables{kInputs, kParameters, kPages};
    // The input asks for a named collection; Execute asks it for ITabCollection.
    using Interfaces = StepInterfaces<>;

    // Without a tab collection the results are -1, no name and the bound
    // object itself (nothing when unbound). Every run writes all three, so
    // a run never leaves an earlier run's tab behind.
    HRESULT Execute(CStopEvent*) {
        int32_t index = -1;
        SmartPtr<IString> name;
        SmartPtr<IUnknown> item = inputObject(kTabbedWindows);
        if (auto tabs = item.query<ITabCollection>()) {
            tabs->get_Selected(&index);
            tabs->get_ItemName(index, name.put());
            tabs->get_Item(index, item.put());
        }
        writeInteger(kIndex, index);
        writeObject(kName, name.get());
        writeObject(kItem, item.get());
        return S_OK;
    }
};

extern const ModuleClass gGCUITabGetSelectedClass = moduleClassOf<CGCUITabGetSelected>();
