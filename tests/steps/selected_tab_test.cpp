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

Results resultsOf(IParameters* parameters) {
    Results results{};
    SmartPtr<IVariant> value;
    parameters->get_ItemVariant(kIndex, value.put());
    EXPECT_EQ(value->get_Type(), 1) << "Index is an integer";
    results.index = value->get_Long();
    parameters->get_ItemVariant(kName, value.put());
    if ((results.hasName = value->IsString() != 0)) {
        SmartPtr<IString> name;
        value->get_String(name.put());
        results.name = host::textOf(name.get());
    }
    parameters->get_ItemVariant(kItem, value.put());
    SmartPtr<IUnknown> item;
    if (value->IsObject() && value->get_Object(item.put()) >= 0) results.item = item.query<IUnknown>();
    return results;
}

SmartPtr<IUnknown> identity(IUnknown* object) { return queryInterface<IUnknown>(object); }

}  // namespace

class SelectedTabStepTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        step = createStep<IStep>(L"GCTabGetSelected");
        parameters = step.query<IParameters>();
        input = inputNamed(step.get(), L"TabbedWindows");
    }
    void TearDown() override {
        input = nullptr;
        parameters = nullptr;
        step = nullptr;
        HostTest::TearDown();
    }

    SmartPtr<IStep> step;
    SmartPtr<IParameters> parameters;
    SmartPtr<host::InputParameter> input;
};

TEST_F(SelectedTabStepTest, EachRunWritesTheTabInFrontOrWhatStandsInItsPlace) {
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
        input->put_Object(c.bound.get());
        EXPECT_EQ(step->TurnOn(), S_OK) << c.what;
        const Results results = resultsOf(parameters.get());
        EXPECT_EQ(results.index, c.index) << c.what;
        EXPECT_EQ(results.hasName, c.name != nullptr) << c.what;
        EXPECT_EQ(results.name, c.name ? c.name : L"") << c.what;
        EXPECT_EQ(results.item.get(), c.item.get()) << c.what;
    }
    EXPECT_EQ(takeCallsOn({"Frame"}), std::vector<std::string>{}) << "the window is not asked for what it shows";
}

TEST_F(SelectedTabStepTest, TheTabCollectionIsAskedInOrderAndEarlierValuesOfAnyKindGiveWay) {
    SmartPtr<host::TabCollection> tabs = host::make<host::TabCollection>("Main");
    for (const wchar_t* name : {L"Setup", L"Results"}) tabs->addTab(name);
    tabs->bringToFront(1);
    input->put_Object(static_cast<ITabCollection*>(tabs.get()));
    // Values of the wrong kind left in the results beforehand.
    parameters->put_Item(kIndex, host::makeString(L"first").get());
    parameters->put_Item(kName, static_cast<ITabCollection*>(tabs.get()));
    parameters->put_Item(kItem, host::makeVariant(int32_t{5}).get());
    host::Recorder::clear();
    EXPECT_EQ(step->TurnOn(), S_OK);
    EXPECT_EQ(takeCallsOn({"Main"}), (std::vector<std::string>{"Main.get_Selected -> 1 (Results)",
                                                               "Main.get_ItemName(1) -> Results",
                                                               "Main.get_Item(1) -> Results"}));
    const Results results = resultsOf(parameters.get());
    EXPECT_EQ(results.index, 1);
    EXPECT_EQ(results.name, L"Results");
    EXPECT_EQ(results.item.get(), identity(tabs->tab(1).get()).get());
}

TEST_F(SelectedTabStepTest, WithoutAnInputListTheResultsSayNoTab) {
    components->remove(L"InputParameters");
    SmartPtr<IStep> bare = createStep<IStep>(L"GCTabGetSelected");
    ASSERT_TRUE(bare);
    SmartPtr<IParameters> bareParameters = bare.query<IParameters>();
    bareParameters->put_Item(kIndex, host::makeVariant(int32_t{4}).get());
    EXPECT_EQ(bare->TurnOn(), S_OK);
    const Results results = resultsOf(bareParameters.get());
    EXPECT_EQ(results.index, -1);
    EXPECT_FALSE(results.hasName);
    EXPECT_FALSE(results.item);
}
