// The Tab select step, end to end: a binding that names a tab, tabs that
// were reordered since, tabs inside tabs, and bindings to what holds no tabs.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/Tabs.h"
#include "host/UserInterface.h"
#include "host/Variants.h"
#include "support/Bindings.h"
#include "support/HostTest.h"

namespace {

enum { kSubTab };

using Calls = std::vector<std::string>;

// Binds the input to `object`, naming the tab (no name when null) and its index.
void bind(const DrivenStep& select, IUnknown* object, const wchar_t* itemName, int32_t itemIndex) {
    select.input->put_Object(object);
    select.input->put_ItemName(itemName ? host::makeString(itemName).get() : nullptr);
    select.input->put_ItemIndex(itemIndex);
}

}  // namespace

class TabSelectStepTest : public HostTest {
protected:
    DrivenStep make() { return DrivenStep(createStep<IStep>(L"GCTabSelect"), L"TabbedWindows"); }
    // Main: Setup, Log, Results (Table, Summary, Plot); Setup in front.
    SmartPtr<host::TabCollection> mainWindow() {
        SmartPtr<host::TabCollection> tabs = host::make<host::TabCollection>("Main");
        tabs->addTab(L"Setup");
        tabs->addTab(L"Log");
        SmartPtr<host::TabCollection> results = tabs->addTabs(L"Results");
        for (const wchar_t* name : {L"Table", L"Summary", L"Plot"}) results->addTab(name);
        return tabs;
    }
    static SmartPtr<host::TabCollection> inner(host::TabCollection* tabs, int32_t index) {
        return SmartPtr<host::TabCollection>(
            dynamic_cast<host::TabCollection*>(tabs->tab(index).query<ITabCollection>().get()));
    }
};

TEST_F(TabSelectStepTest, TheNamedTabComesToTheFrontWhereverItStands) {
    struct Case {
        const wchar_t* itemName;  // null: the binding names no tab
        int32_t storedIndex;
        int32_t moveFrom, moveTo;  // the user reorders the tabs first (-1: not)
        const wchar_t* inFront;
    };
    const Case cases[] = {
        {L"Log", 1, -1, -1, L"Log"},  {L"Log", 1, 1, 0, L"Log"},  // Log moved to the front: the name finds it at 0
        {L"Log", 1, 0, 2, L"Log"},                                // Setup moved to the end: Log stands at 0
        {L"Gone", 1, -1, -1, L"Log"},                             // no such tab: the stored index serves
        {nullptr, 0, 1, 0, L"Log"},                               // no name: the stored index serves
        {L"", 0, -1, -1, L"Setup"},
    };
    for (const Case& c : cases) {
        DrivenStep select = make();
        SmartPtr<host::TabCollection> tabs = mainWindow();
        tabs->bringToFront(2);
        if (c.moveFrom >= 0) {
            ASSERT_TRUE(tabs->move(c.moveFrom, c.moveTo));
        }
        bind(select, static_cast<ITabCollection*>(tabs.get()), c.itemName, c.storedIndex);
        host::Recorder::clear();
        EXPECT_EQ(select.step->TurnOn(), S_OK);
        const std::string which = c.itemName ? host::narrow(c.itemName) : "(no name)";
        EXPECT_EQ(tabs->selectedName(), c.inFront) << which;
        const Calls calls = takeCallsOn({"Main"});
        ASSERT_EQ(calls.size(), 4u) << which << ": looked up, selected, taken, refreshed";
        EXPECT_EQ(calls[1],
                  "Main.Select(" + std::to_string(tabs->selected()) + ", 1): " + host::narrow(c.inFront) + " in front")
            << which;
        EXPECT_EQ(calls.back(), "Main.Refresh(0)") << which << ": a plain tab in front, only the window is refreshed";
    }
}

TEST_F(TabSelectStepTest, SubTabSelectsInsideTheTabInFrontAsItIs) {
    DrivenStep select = make();
    SmartPtr<host::TabCollection> tabs = mainWindow();
    SmartPtr<host::TabCollection> results = inner(tabs.get(), 2);
    ASSERT_TRUE(results);
    bind(select, static_cast<ITabCollection*>(tabs.get()), L"Results", 2);
    select.set(kSubTab, host::makeVariant(int32_t{2}).get());
    host::Recorder::clear();
    EXPECT_EQ(select.step->TurnOn(), S_OK);
    EXPECT_EQ(takeCallsOn({"Main"}), (Calls{"Main.get_Index(Results) -> 2", "Main.Select(2, 1): Results in front",
                                            "Main.get_Item(2) -> Results", "Main.Results.Select(2, 1): Plot in front",
                                            "Main.Refresh(0)", "Main.Results.Refresh(0)"}));
    EXPECT_EQ(results->selectedName(), L"Plot");
    EXPECT_EQ(tabs->refreshes(), 1);
    EXPECT_EQ(results->refreshes(), 1);

    // No range test: the value goes to the inner tabs unchanged. A value of
    // the wrong kind reads as 0.
    struct Case {
        SmartPtr<IUnknown> subTab;
        std::string call;
    };
    const Case cases[] = {
        {host::makeVariant(int32_t{7}).query<IUnknown>(), "Main.Results.Select(7, 1) refused: no such tab"},
        {host::makeVariant(int32_t{-3}).query<IUnknown>(), "Main.Results.Select(-3, 1) refused: no such tab"},
        {host::makeString(L"Plot").query<IUnknown>(), "Main.Results.Select(0, 1): Table in front"},
        {host::make<host::RefreshableObject>("Other").query<IUnknown>(), "Main.Results.Select(0, 1): Table in front"},
    };
    for (const Case& c : cases) {
        results->bringToFront(1);
        select.set(kSubTab, c.subTab.get());
        host::Recorder::clear();
        EXPECT_EQ(select.step->TurnOn(), S_OK);
        const Calls calls = takeCallsOn({"Main", "Other"});
        ASSERT_EQ(calls.size(), 6u) << c.call;
        EXPECT_EQ(calls[3], c.call);
        EXPECT_EQ(calls[5], "Main.Results.Refresh(0)") << "refreshed also when the selection was refused";
    }
}

TEST_F(TabSelectStepTest, WithoutATabCollectionNothingIsSelectedAndNothingFails) {
    DrivenStep select = make();
    select.set(kSubTab, host::makeVariant(int32_t{1}).get());
    SmartPtr<host::RefreshableObject> plain = host::make<host::RefreshableObject>("Plain");

    struct Case {
        SmartPtr<IUnknown> bound;
        Calls calls;
    };
    const Case cases[] = {
        {nullptr, {}},
        {host::makeString(L"no tabs").query<IUnknown>(), {}},
        {plain.query<IUnknown>(), {"Plain.Refresh(0)"}},  // still refreshed
    };
    for (const Case& c : cases) {
        bind(select, c.bound.get(), L"Log", 1);
        host::Recorder::clear();
        EXPECT_EQ(select.step->TurnOn(), S_OK);
        EXPECT_EQ(takeCallsOn({"Plain"}), c.calls);
    }

    // A step made while the host has no input list has no input record.
    components->remove(L"InputParameters");
    SmartPtr<IStep> bare = createStep<IStep>(L"GCTabSelect");
    ASSERT_TRUE(bare);
    EXPECT_EQ(bare->TurnOn(), S_OK);
}
