// Activatable objects and button sets as program files declare them: the
// role a set is declared in decides what it answers, its buttons keep their
// attributes, and bad declarations are refused with their line.
#include <gtest/gtest.h>

#include <string>

#include "host/Activation.h"
#include "host/Buttons.h"
#include "host/Variants.h"
#include "stephost/ProgramObjects.h"
#include "stephost/ProgramReader.h"
#include "support/HostTest.h"

namespace {

using ProgramButtons = HostTest;

SmartPtr<IUnknown> declare(const std::string& element, std::string& error) {
    stephost::ProgramFile program;
    const std::string text = "<program name=\"p\">\n<objects>\n" + element + "</objects>\n</program>\n";
    if (!stephost::parseProgram(text, program, error) || program.objects.empty()) return nullptr;
    return stephost::makeProgramObject(program.objects.front(), nullptr, error);
}

TEST_F(ProgramButtons, ASetAnswersWhatItsRoleOffersAndItsButtonsKeepTheirAttributes) {
    struct Case {
        const char* as;
        bool toolbar;
        bool toolbarHost;
    } const cases[] = {{"", false, false},
                       {" as=\"plain\"", false, false},
                       {" as=\"toolbar\"", true, false},
                       {" as=\"toolbarhost\"", false, true}};
    for (const Case& c : cases) {
        std::string error;
        SmartPtr<IUnknown> made = declare(std::string("<buttons name=\"Bar\"") + c.as +
                                              ">\n<button name=\"Go\" kind=\"1\" command=\"7\" item=\"1\"/>\n"
                                              "<button name=\"Mode\" kind=\"2\" selected=\"1\"/>\n</buttons>\n",
                                          error);
        ASSERT_TRUE(made) << error;
        EXPECT_EQ(static_cast<bool>(made.query<IToolbar>()), c.toolbar) << c.as;
        EXPECT_EQ(static_cast<bool>(made.query<IToolbarHost>()), c.toolbarHost) << c.as;
        ASSERT_TRUE(made.query<IButtonCollection>());
        EXPECT_TRUE(made.query<IUIRefreshableObject>());

        auto* bar = dynamic_cast<host::ButtonSet*>(made.query<IButtonCollection>().get());
        ASSERT_NE(bar, nullptr);
        SmartPtr<host::Button> go = bar->button(0);
        SmartPtr<host::Button> mode = bar->button(1);
        ASSERT_TRUE(go && mode && !bar->button(2));
        EXPECT_EQ(go->label(), "Bar.Go");
        EXPECT_EQ(go->property(host::kButtonKind), 1);
        EXPECT_EQ(go->property(host::kButtonCommand), 7);
        EXPECT_EQ(mode->property(host::kButtonSelected), 1);
        EXPECT_TRUE(SmartPtr<IButton>(go.get()).query<IToolbarItem>()) << "declared a toolbar item";
        EXPECT_FALSE(SmartPtr<IButton>(mode.get()).query<IToolbarItem>());
    }
    std::string error;
    SmartPtr<IUnknown> panel = declare("<activatable name=\"Panel\" active=\"1\"/>\n", error);
    ASSERT_TRUE(panel) << error;
    auto* activatable = dynamic_cast<host::ActivatableObject*>(panel.query<IActivatableObject>().get());
    ASSERT_NE(activatable, nullptr);
    EXPECT_TRUE(activatable->active());
    EXPECT_EQ(activatable->Activate(2), E_INVALIDARG) << "only 0 and 1";
    EXPECT_TRUE(activatable->active());
}

TEST_F(ProgramButtons, ASetFindsButtonsByNumberOrName) {
    SmartPtr<host::ButtonSet> bar = host::make<host::ButtonSet>("Bar");
    bar->add(L"Go", 1, 7);
    bar->add(L"Stop", 1, 8);
    struct Case {
        SmartPtr<IVariant> key;
        int32_t index;
        bool found;
    };
    const Case cases[] = {
        {host::makeVariant(int32_t{1}), 1, true},
        {host::makeVariant(1.0), 1, true},
        {host::makeVariant(std::wstring(L"Stop")), 1, true},
        {host::makeVariant(std::wstring(L"stop")), -1, false},
        {host::makeVariant(int32_t{5}), 5, false},
        {host::makeVariant(std::wstring(L"1")), -1, false},
    };
    for (const Case& c : cases) {
        int32_t index = 99;
        EXPECT_EQ(bar->get_Index(c.key.get(), &index) >= 0, c.found) << "case " << &c - cases;
        EXPECT_EQ(index, c.index) << "case " << &c - cases;
    }
    int32_t index = 99;
    EXPECT_EQ(bar->get_Index(nullptr, &index), E_POINTER);
    EXPECT_EQ(index, -1);
    SmartPtr<IUnknown> item;
    EXPECT_EQ(bar->get_Item(-1, item.put()), E_INVALIDARG);
    EXPECT_EQ(bar->get_Item(2, item.put()), E_INVALIDARG);
    EXPECT_FALSE(item);
}

TEST_F(ProgramButtons, BadDeclarationsAreRefusedWithTheirLine) {
    struct Case {
        const char* element;
        const char* message;
    } const cases[] = {
        {"<buttons name=\"B\" as=\"menu\"/>\n", "line 3: as=\"menu\" is none of plain, toolbar, toolbarhost"},
        {"<buttons name=\"B\">\n<window name=\"W\"/>\n</buttons>\n", "line 4: <buttons> holds <button> elements only"},
        {"<buttons name=\"B\">\n<button name=\"X\" command=\"run\"/>\n</buttons>\n",
         "line 4: command=\"run\" is not a whole number"},
        {"<activatable name=\"P\" active=\"yes\"/>\n", "line 3: active=\"yes\" is not a whole number"},
    };
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(declare(c.element, error)) << c.element;
        EXPECT_EQ(error, c.message) << c.element;
    }
}

}  // namespace
