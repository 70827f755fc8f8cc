// The Selected tab step, end to end: the tab in front as three results,
// and what the results become when there is no tab collection.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/Collections.h"
#include "host/Inputs.h"
#include "host/Tabs.h"
#include "host/Variants.h"
#include "host/Windows.h"
#include "support/Bindings.h"
#include "support/HostTest.h"

namespace {

enum { kIndex, kName, kItem };

// What the three results hold after a run.
struct Results {
    int32_t index;
    bool hasName;
    std::wstring name;
    SmartPtr<IUnknown> item;  // its identity
};

Results resultsOf(const DrivenStep& selected) {
    Results results{};
    SmartPtr<IVariant> value = selected.value(kIndex);
    EXPECT_EQ(value->get_Type(), 1) << "Index is an integer";
    results.index = value->get_Long();
    value = selected.value(kName);
    if ((results.hasName = value->IsString() != 0)) {
        SmartPtr<IString> name;
        value->get_String(name.put());
        results.name = host::textOf(name.get());
    }
    value = selected.value(kItem);
    SmartPtr<IUnknown> item;
    if (value->IsObject() && value->get_Object(item.put()) >= 0) results.item = item.query<IUnknown>();
    return results;
}

SmartPtr<IUnknown> identity(IUnknown* object) { return queryInterface<IUnknown>(object); }

}  // namespace

class SelectedTabStepTest : public HostTest {
protected:
    DrivenStep make() { return DrivenStep(createStep<IStep>(L"GCTabGetSelected"), L"TabbedWindows"); }
};

TEST_F(SelectedTabStepTest, EachRunWritesTheTabInFrontOrWhatStandsInItsPlace) {
    DrivenStep selected = make();
    SmartPtr<host::TabCollection> tabs = host::make<host::TabCollection>("Main");
    for (const wchar_t* name : {L"A", L"B", L"C"}) tabs->addTab(name);
    SmartPtr<host::TabCollection> empty = host::make<host::TabCollection>("Empty");
    SmartPtr<IUnknown> plain = host::make<host::SuperCollection>().query<IUnknown>();
    // A window showing the tabs is not a tab collection: the step asks the bound object itself.
    SmartPtr<host::HostWindow> window = host::make<host::HostWindow>("Frame", static_cast<ITabCollection*>(tabs.get()));

    struct Case {
        const char* what;
        SmartPtr<IUnknown> bound;
        int32_t front;  // the tab brought to the front first (-1: none)
        int32_t index;
        const wchar_t* name;  // null: no name
        SmartPtr<IUnknown> item;
    };
    const Case cases[] = {
        {"B in front", identity(static_cast<ITabCollection*>(tabs.get())), 1, 1, L"B", identity(tabs->tab(1).get())},
        {"C in front", identity(static_cast<ITabCollection*>(tabs.get())), 2, 2, L"C", identity(tabs->tab(2).get())},
        {"no tab collection", plain, -1, -1, nullptr, plain},
        {"a window showing tabs", identity(window.query<IUnknown>().get()), -1, -1, nullptr,
         identity(window.query<IUnknown>().get())},
        {"A in front", identity(static_cast<ITabCollection*>(tabs.get())), 0, 0, L"A", identity(tabs->tab(0).get())},
        {"unbound", nullptr, -1, -1, nullptr, nullptr},
        // No tab in front: the bound collection is let go and no tab takes its place.
        {"no tabs", identity(static_cast<ITabCollection*>(empty.get())), -1, -1, nullptr, nullptr},
    };
    for (const Case& c : cases) {
        if (c.front >= 0) tabs->bringToFront(c.front);
        selected.input->put_Object(c.bound.get());
        EXPECT_EQ(selected.step->TurnOn(), S_OK) << c.what;
        const Results results = resultsOf(selected);
        EXPECT_EQ(results.index, c.index) << c.what;
        EXPECT_EQ(results.hasName, c.name != nullptr) << c.what;
        EXPECT_EQ(results.name, c.name ? c.name : L"") << c.what;
        EXPECT_EQ(results.item.get(), c.item.get()) << c.what;
    }
    EXPECT_EQ(takeCallsOn({"Frame"}), std::vector<std::string>{}) << "the window is not asked for what it shows";
}

TEST_F(SelectedTabStepTest, TheTabCollectionIsAskedInOrderAndEarlierValuesOfAnyKindGiveWay) {
    DrivenStep selected = make();
    SmartPtr<host::TabCollection> tabs = host::make<host::TabCollection>("Main");
    for (const wchar_t* name : {L"Setup", L"Results"}) tabs->addTab(name);
    tabs->bringToFront(1);
    selected.input->put_Object(static_cast<ITabCollection*>(tabs.get()));
    // Values of the wrong kind left in the results beforehand.
    selected.set(kIndex, host::makeString(L"first").get());
    selected.set(kName, static_cast<ITabCollection*>(tabs.get()));
    selected.set(kItem, host::makeVariant(int32_t{5}).get());
    host::Recorder::clear();
    EXPECT_EQ(selected.step->TurnOn(), S_OK);
    EXPECT_EQ(takeCallsOn({"Main"}),
              (std::vector<std::string>{"Main.get_Selected -> 1 (Results)", "Main.get_ItemName(1) -> Results",
                                        "Main.get_Item(1) -> Results"}));
    const Results results = resultsOf(selected);
    EXPECT_EQ(results.index, 1);
    EXPECT_EQ(results.name, L"Results");
    EXPECT_EQ(results.item.get(), identity(tabs->tab(1).get()).get());
}

TEST_F(SelectedTabStepTest, WithoutAnInputListTheResultsSayNoTab) {
    components->remove(L"InputParameters");
    DrivenStep bare = make();
    ASSERT_TRUE(bare.step);
    bare.set(kIndex, host::makeVariant(int32_t{4}).get());
    EXPECT_EQ(bare.step->TurnOn(), S_OK);
    const Results results = resultsOf(bare);
    EXPECT_EQ(results.index, -1);
    EXPECT_FALSE(results.hasName);
    EXPECT_FALSE(results.item);
}
