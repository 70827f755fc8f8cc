// The stand-in's scrollable views and tab collections as program files
// declare them, and the tab collection's own rules: tabs inside tabs, the
// tab in front kept through a reordering, indexes outside the tabs refused.
#include <gtest/gtest.h>

#include <string>

#include "host/Scrolling.h"
#include "host/Tabs.h"
#include "host/Variants.h"
#include "stephost/ProgramObjects.h"
#include "stephost/ProgramReader.h"
#include "support/HostTest.h"

namespace {

using ScrollingAndTabs = HostTest;

// The one object the text declares, made; null with `error` otherwise.
SmartPtr<IUnknown> declare(const std::string& object, std::string& error) {
    stephost::ProgramFile program;
    const std::string text = "<program name=\"p\">\n<objects>\n" + object + "</objects>\n</program>\n";
    if (!stephost::parseProgram(text, program, error)) return nullptr;
    SmartPtr<host::SuperCollection> made = host::make<host::SuperCollection>();
    return stephost::makeProgramObject(program.objects.at(0), made.get(), error);
}

std::wstring nameAt(ITabCollection* tabs, int32_t index) {
    SmartPtr<IString> name;
    tabs->get_ItemName(index, name.put());
    return host::textOf(name.get());
}

TEST_F(ScrollingAndTabs, DeclaredObjectsHoldWhatTheirAttributesSay) {
    std::string error;
    SmartPtr<IUIScrollableObject> chart = queryInterface<IUIScrollableObject>(
        declare("<scrollable name=\"Chart\" pos1=\"120.5\" page1=\"40\"/>\n", error).get());
    ASSERT_TRUE(chart) << error;
    double position = -1, pageSize = -1;
    EXPECT_EQ(chart->get_Scroll(1, &position, &pageSize), S_OK);
    EXPECT_EQ(position, 120.5);
    EXPECT_EQ(pageSize, 40.0);
    EXPECT_EQ(chart->get_Scroll(0, &position, &pageSize), S_OK);
    EXPECT_EQ(position, 0.0);
    EXPECT_EQ(chart->get_Scroll(2, &position, &pageSize), E_INVALIDARG);
    EXPECT_EQ(position, 0.0) << "a refused axis writes nothing";

    SmartPtr<ITabCollection> tabs = queryInterface<ITabCollection>(
        declare("<tabs name=\"Main\" selected=\"1\"><tab name=\"Setup\"/>\n"
                "<tabs name=\"Results\" selected=\"1\"><tab name=\"Table\"/><tab name=\"Plot\"/></tabs></tabs>\n",
                error)
            .get());
    ASSERT_TRUE(tabs) << error;
    int32_t selected = -1;
    tabs->get_Selected(&selected);
    EXPECT_EQ(selected, 1);
    SmartPtr<IUnknown> results;
    ASSERT_EQ(tabs->get_Item(1, results.put()), S_OK);
    SmartPtr<ITabCollection> inner = results.query<ITabCollection>();
    ASSERT_TRUE(inner) << "a tab that holds tabs is a tab collection";
    inner->get_Selected(&selected);
    EXPECT_EQ(nameAt(inner.get(), selected), L"Plot");
    SmartPtr<IUnknown> setup;
    tabs->get_Item(0, setup.put());
    EXPECT_FALSE(setup.query<ITabCollection>()) << "a plain tab holds none";
    // The named collection's lookup takes the name as any object.
    SmartPtr<INamedCollection> named = tabs.query<INamedCollection>();
    ASSERT_TRUE(named);
    int32_t index = -1;
    EXPECT_EQ(named->get_Index(host::makeString(L"Results").get(), &index), S_OK);
    EXPECT_EQ(index, 1);
}

TEST_F(ScrollingAndTabs, BadDeclarationsAreRefusedWithTheirLine) {
    struct Case {
        const char* object;
        const char* message;
    } cases[] = {
        {"<scrollable name=\"C\" pos0=\"far\"/>\n", "line 3: pos0=\"far\" is not a number"},
        {"<tabs name=\"T\" selected=\"2\"><tab name=\"A\"/></tabs>\n", "line 3: selected=\"2\" names no tab"},
        {"<tabs name=\"T\"><tab/></tabs>\n", "line 3: a tab needs a name"},
        {"<tabs name=\"T\">\n<refreshable name=\"R\"/></tabs>\n", "line 4: <refreshable> cannot be a tab"},
        {"<tabs name=\"T\"><tab name=\"A\">\n<tab name=\"B\"/></tab></tabs>\n", "line 4: a <tab> holds no objects"},
    };
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(declare(c.object, error)) << c.object;
        EXPECT_EQ(error.rfind(c.message, 0), 0u) << error;
    }
}

TEST_F(ScrollingAndTabs, ReorderingKeepsTheTabInFrontAndIndexesOutsideAreRefused) {
    SmartPtr<host::TabCollection> tabs = host::make<host::TabCollection>("Main");
    for (const wchar_t* name : {L"A", L"B", L"C"}) tabs->addTab(name);
    EXPECT_EQ(tabs->selectedName(), L"A") << "the first tab added is in front";
    ASSERT_EQ(tabs->Select(1, 1), S_OK);
    ASSERT_TRUE(tabs->move(1, 2));
    EXPECT_EQ(nameAt(tabs.get(), 2), L"B");
    EXPECT_EQ(tabs->selected(), 2);
    EXPECT_EQ(tabs->selectedName(), L"B");
    EXPECT_FALSE(tabs->move(0, 3));

    for (int32_t outside : {-1, 3}) {
        EXPECT_EQ(tabs->Select(outside, 1), E_INVALIDARG);
        SmartPtr<IUnknown> tab;
        EXPECT_EQ(tabs->get_Item(outside, tab.put()), E_INVALIDARG);
        EXPECT_FALSE(tab);
    }
    EXPECT_EQ(tabs->selectedName(), L"B");
    int32_t index = 7;
    EXPECT_EQ(tabs->get_Index(host::makeString(L"D").get(), &index), E_FAIL);
    EXPECT_EQ(index, 7) << "a failed lookup writes no index";
}

}  // namespace
