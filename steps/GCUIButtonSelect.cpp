// The Button select step: presses, releases and selects buttons of a button collection or toolbar.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kButtons };          // inputs
enum { kButton, kSelect };  // parameters, in declaration order

const InputDeclaration kInputs[] = {
    {L"Buttons", &IID_IButtonCollection, 0},
};

const ParameterDeclaration PARAMETER_[] = {
    {L"Button", Integer(0), PARAMETER_KIND_BUTTON},
    {L"Select", Integer(0), kSwitchFlags},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIParametersPropPage", false},
};

// Button properties.
constexpr int32_t kKindProperty = 6;
constexpr int32_t kCommandProperty = 8;
constexpr int32_t kSelectedProperty = 15;
constexpr int32_t kPushButton = 1;  // springs back after its command

}  // namespace

class CGCUIButtonSelect final : public StepBase<CGCUIButtonSelect, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIButtonSelect";
    static constexpr StepTables kTables{kInputs, PARAMETER_, kPages};
    using Interfaces = StepInterfaces<>;

    // The step never fails and tests none of the host's answers: whatever
    // it could not find is simply not worked, and the bound object is
    // refreshed in the end all the same.
    HRESULT Execute(CStopEvent*) {
        // The binding itself, not the object it resolves to now: a moniker
        // may lead to the buttons through a host window.
        SmartPtr<IInputParameter> record = inputRecord(kButtons);
        SmartPtr<IVariant> key = readVariant(kButton);
        SmartPtr<IUnknown> bound;
        if (record) {
            int32_t itemIndex = -1;
            SmartPtr<IString> itemName;
            record->get_ItemIndex(&itemIndex);
            record->get_ItemName(itemName.put());
            record->get_Object(bound.put());
        }
        auto buttons = OBJECTResolve<IButtonCollection>(bound.get());
        auto toolbar = OBJECTResolve<IToolbar>(bound.get());
        auto toolbarHost = OBJECTResolve<IToolbarHost>(bound.get());

        if (key && key->get_Type() != 0 && key->get_Long() < 0) {
            // A negative number deselects every button and works none.
            if (buttons) buttons->put_PropertyAll(kSelectedProperty, 0);
        } else if (SmartPtr<IButton> button = chooseButton(buttons.get(), key.get())) {
            workButton(button, toolbar.get(), toolbarHost.get());
        }

        if (auto refreshable = OBJECTResolve<IUIRefreshableObject>(bound.get())) refreshable->Refresh(kRefreshOrdinary);
        return S_OK;
    }

private:
    // The collection decides what the key designates, a number or a name.
    // Its answer is not tested: whatever index it leaves is taken, and -1
    // when it leaves none. No key at all (an unreadable "Button") designates
    // no button rather than handing the collection a null key.
    static SmartPtr<IButton> chooseButton(IButtonCollection* buttons, IVariant* key) {
        if (!buttons || !key) return nullptr;
        int32_t index = -1;
        buttons->get_Index(key, &index);
        SmartPtr<IUnknown> item;
        buttons->get_Item(index, item.put());
        return item.query<IButton>();
    }

    // A toolbar runs the command whatever "Select" says; a toolbar host is
    // shown the button pressed while it runs the command, and a push button
    // springs back; anything else only has the selected state set.
    void workButton(const SmartPtr<IButton>& button, IToolbar* toolbar, IToolbarHost* toolbarHost) {
        int32_t command = 0;
        int32_t kind = 0;
        button->get_Property(kCommandProperty, &command);
        button->get_Property(kKindProperty, &kind);
        if (toolbar) {
            toolbar->RunCommand(command);
        } else if (!toolbarHost) {
            button->put_Property(kSelectedProperty, readInteger(kSelect));
        } else if (readInteger(kSelect) != 0) {
            button->Press();
            toolbarHost->RunCommand(command, 0);
            if (kind == kPushButton) button->Unpress();
        } else if (auto item = button.query<IToolbarItem>()) {
            item->Unpress();
        } else {
            button->Unpress();
        }
    }
};

extern const ModuleClass gGCUIButtonSelectClass = moduleClassOf<CGCUIButtonSelect>();
