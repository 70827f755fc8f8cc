// The Button select step: a button found by number or name in the bound set,
// worked as the set is a toolbar, a toolbar host or neither; a negative
// number deselecting every button; the set refreshed in the end.
#include <gtest/gtest.h>

#include "host/Buttons.h"
#include "host/Collections.h"
#include "host/Inputs.h"
#include "host/UserInterface.h"
#include "host/Variants.h"
#include "support/Bindings.h"
#include "support/HostTest.h"

namespace {

using Calls = std::vector<std::string>;
using Role = host::ButtonSet::Role;

using ButtonSelectStep = DrivenStep;

// Runs with "Button" and "Select" set; what the host saw.
Calls run(ButtonSelectStep& select, const SmartPtr<IVariant>& button, const SmartPtr<IVariant>& value) {
    select.parameters->put_Item(0, button.get());
    select.parameters->put_Item(1, value.get());
    host::Recorder::clear();
    EXPECT_EQ(select.step->TurnOn(), S_OK);
    return host::Recorder::take();
}

SmartPtr<IVariant> number(int32_t value) { return host::makeVariant(value); }
SmartPtr<IVariant> text(const wchar_t* value) { return host::makeVariant(std::wstring(value)); }

// "Bar": Start (a push button and toolbar item, command 101), Mode (a
// toggle, 102), Stop (a push button, 103), every one selected.
SmartPtr<host::ButtonSet> buttonBar(Role role) {
    SmartPtr<host::ButtonSet> bar = host::make<host::ButtonSet>("Bar", role);
    bar->add(L"Start", 1, 101, true);
    bar->add(L"Mode", 2, 102);
    bar->add(L"Stop", 1, 103);
    for (int32_t i = 0; i < 3; ++i) bar->button(i)->setProperty(host::kButtonSelected, 1);
    return bar;
}

}  // namespace

class ButtonSelectStepTest : public HostTest {
protected:
    ButtonSelectStep make(IUnknown* bound = nullptr) {
        ButtonSelectStep made = driven(createStep<IStep>(L"GCUIButtonSelect"), L"Buttons");
        if (bound) made.input->put_Object(bound);
        return made;
    }
    static IUnknown* unknown(host::ButtonSet* bar) { return static_cast<IButtonCollection*>(bar); }
};

TEST_F(ButtonSelectStepTest, ANegativeNumberDeselectsEveryButtonAndWorksNone) {
    for (Role role : {Role::Plain, Role::Toolbar, Role::ToolbarHost}) {
        for (SmartPtr<IVariant> button : {number(-1), number(-7), host::makeVariant(-0.5 - 1)}) {
            SmartPtr<host::ButtonSet> bar = buttonBar(role);
            ButtonSelectStep select = make(unknown(bar.get()));
            EXPECT_EQ(run(select, button, number(1)), (Calls{"Bar.put_PropertyAll(15, 0)", "Bar.Refresh(0)"}));
            EXPECT_EQ(bar->itemsTaken(), 0) << "no single button is touched";
            EXPECT_TRUE(bar->commands().empty());
            for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(bar->button(i)->property(host::kButtonSelected), 0);
        }
    }
    // A text that reads as a negative number is a name, which no button bears.
    SmartPtr<host::ButtonSet> bar = buttonBar(Role::Plain);
    ButtonSelectStep select = make(unknown(bar.get()));
    EXPECT_EQ(run(select, text(L"-1"), number(1)), Calls{"Bar.Refresh(0)"});
    EXPECT_EQ(bar->button(0)->property(host::kButtonSelected), 1);
}

TEST_F(ButtonSelectStepTest, ANameOrANumberFindsTheButton) {
    SmartPtr<host::ButtonSet> bar = buttonBar(Role::Plain);
    ButtonSelectStep select = make(unknown(bar.get()));
    struct Case {
        SmartPtr<IVariant> button;
        SmartPtr<IVariant> select;
        Calls calls;
    };
    const Case cases[] = {
        {text(L"Mode"), number(0), {"Bar.Mode.put_Property(15, 0)", "Bar.Refresh(0)"}},
        {number(1), number(1), {"Bar.Mode.put_Property(15, 1)", "Bar.Refresh(0)"}},
        {host::makeVariant(2.0), number(0), {"Bar.Stop.put_Property(15, 0)", "Bar.Refresh(0)"}},
        {text(L"Start"), number(-2), {"Bar.Start.put_Property(15, -2)", "Bar.Refresh(0)"}},  // the value as it is
        {number(0), text(L"yes"), {"Bar.Start.put_Property(15, 0)", "Bar.Refresh(0)"}},      // no number: 0
        {text(L"Nowhere"), number(1), {"Bar.Refresh(0)"}},
        {number(3), number(1), {"Bar.Refresh(0)"}},
        {text(L""), number(1), {"Bar.Refresh(0)"}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(run(select, c.button, c.select), c.calls) << "case " << &c - cases;
    }
    EXPECT_EQ(bar->button(1)->property(host::kButtonSelected), 1);
    EXPECT_EQ(bar->button(2)->property(host::kButtonSelected), 0);
    EXPECT_TRUE(bar->commands().empty());
    for (int32_t i = 0; i < 3; ++i) EXPECT_FALSE(bar->button(i)->pressed());
}

TEST_F(ButtonSelectStepTest, AToolbarRunsTheCommandWhateverSelectSays) {
    SmartPtr<host::ButtonSet> bar = buttonBar(Role::Toolbar);
    ButtonSelectStep select = make(unknown(bar.get()));
    for (SmartPtr<IVariant> value : {number(0), number(1), text(L"no")}) {
        EXPECT_EQ(run(select, text(L"Stop"), value), (Calls{"Bar.RunCommand(103)", "Bar.Refresh(0)"}));
    }
    EXPECT_EQ(run(select, number(1), number(1)), (Calls{"Bar.RunCommand(102)", "Bar.Refresh(0)"}));
    EXPECT_EQ(bar->commands(), (std::vector<int32_t>{103, 103, 103, 102}));
    EXPECT_FALSE(bar->button(2)->pressed());
}

TEST_F(ButtonSelectStepTest, AToolbarHostPressesRunsAndReleasesPushButtonsOnly) {
    SmartPtr<host::ButtonSet> bar = buttonBar(Role::ToolbarHost);
    ButtonSelectStep select = make(unknown(bar.get()));
    struct Case {
        const wchar_t* button;
        SmartPtr<IVariant> select;
        Calls calls;
        bool pressedAfter;
    };
    const Case cases[] = {
        {L"Start",
         number(1),
         {"Bar.Start.Press", "Bar.RunCommand(101, 0)", "Bar.Start.Unpress", "Bar.Refresh(0)"},
         false},
        {L"Mode", number(5), {"Bar.Mode.Press", "Bar.RunCommand(102, 0)", "Bar.Refresh(0)"}, true},
        {L"Mode", number(0), {"Bar.Mode.Unpress", "Bar.Refresh(0)"}, false},
        // Released as a toolbar item when the button is one.
        {L"Start", number(0), {"Bar.Start.Unpress as toolbar item", "Bar.Refresh(0)"}, false},
        {L"Stop", text(L"pressed"), {"Bar.Stop.Unpress", "Bar.Refresh(0)"}, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(run(select, text(c.button), c.select), c.calls) << host::narrow(c.button);
        int32_t index = -1;
        bar->get_Index(text(c.button).get(), &index);
        EXPECT_EQ(bar->button(index)->pressed(), c.pressedAfter) << host::narrow(c.button);
    }
    EXPECT_EQ(bar->commands(), (std::vector<int32_t>{101, 102}));
    for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(bar->button(i)->property(host::kButtonSelected), 1) << "never selected";
}

TEST_F(ButtonSelectStepTest, BadInputWorksNoButtonAndStillSucceeds) {
    // Unbound, and without an input list at all.
    ButtonSelectStep unbound = make();
    EXPECT_TRUE(run(unbound, number(0), number(1)).empty());
    EXPECT_TRUE(run(unbound, number(-1), number(1)).empty());

    // Bound to objects that are no button set: refreshed when they can be.
    SmartPtr<host::RefreshableObject> view = host::make<host::RefreshableObject>("View");
    ButtonSelectStep refreshable = make(static_cast<IUIRefreshableObject*>(view.get()));
    EXPECT_EQ(run(refreshable, number(-1), number(1)), Calls{"View.Refresh(0)"});
    EXPECT_EQ(run(refreshable, text(L"Start"), number(1)), Calls{"View.Refresh(0)"});
    ButtonSelectStep plain = make(host::makeString(L"not buttons").query<IUnknown>().get());
    EXPECT_TRUE(run(plain, number(0), number(1)).empty());
    ButtonSelectStep nowhere = make(host::make<host::CollectionMoniker>(L"Nowhere").query<IUnknown>().get());
    EXPECT_TRUE(run(nowhere, number(0), number(1)).empty());

    // "Button" supplied as an object by a bound parameter designates nothing.
    SmartPtr<host::ButtonSet> bar = buttonBar(Role::ToolbarHost);
    ButtonSelectStep select = make(unknown(bar.get()));
    SmartPtr<host::InputParameter> binding = host::make<host::InputParameter>();
    binding->put_Object(host::make<host::SuperCollection>().query<IUnknown>().get());
    select.parameters->put_ItemDescriptor(0, static_cast<IInputParameter*>(binding.get()));
    Calls calls = run(select, number(0), number(1));
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.back(), "Bar.Refresh(0)");
    EXPECT_EQ(bar->itemsTaken(), 0);
    EXPECT_TRUE(bar->commands().empty());

    components->remove(L"InputParameters");
    SmartPtr<IStep> listless = createStep<IStep>(L"GCUIButtonSelect");
    ASSERT_TRUE(listless);
    host::Recorder::clear();
    EXPECT_EQ(listless->TurnOn(), S_OK);
    EXPECT_TRUE(host::Recorder::take().empty());
}
