// The simulated host's objects as program files declare them: what the
// example runs of stephost do not show, the tab and setting rules steps rely
// on, and bad declarations refused with their line.
#include <gtest/gtest.h>

#include <string>

#include "host/Activation.h"
#include "host/Buttons.h"
#include "host/FolderStream.h"
#include "host/Properties.h"
#include "host/Tabs.h"
#include "host/Variants.h"
#include "host/Verbs.h"
#include "stephost/ProgramObjects.h"
#include "stephost/ProgramReader.h"
#include "support/HostTest.h"
#include "support/PropertyObjects.h"

namespace {

using ProgramObjects = HostTest;

// The objects the text declares, made in order into one collection so that
// each may name those before it: the last one made, or null with `error`.
SmartPtr<IUnknown> declare(const std::string& objects, std::string& error) {
    stephost::ProgramFile program;
    const std::string text = "<program name=\"p\">\n<objects>\n" + objects + "</objects>\n</program>\n";
    if (!stephost::parseProgram(text, program, error) || program.objects.empty()) return nullptr;
    SmartPtr<host::SuperCollection> made = host::make<host::SuperCollection>();
    SmartPtr<IUnknown> last;
    for (const stephost::ProgramObject& object : program.objects) {
        last = stephost::makeProgramObject(object, made.get(), error);
        if (!last) return nullptr;
        made->Add(host::makeString(object.name).get(), last.get(), nullptr, 0);
    }
    return last;
}

TEST_F(ProgramObjects, BadDeclarationsAreRefusedWithTheirLine) {
    struct Case {
        const char* objects;
        const char* message;
    } const cases[] = {
        {"<teapot name=\"T\"/>\n", "line 3: unknown kind of object <teapot>"},
        {"<window name=\"W\">\n<teapot/>\n</window>\n", "line 4: unknown kind of object <teapot>"},
        // Read, but not made: a name that is not declared before, an area that is no number.
        {"<window name=\"W\" hosts=\"Later\"/>\n<object name=\"Later\"/>\n",
         "line 3: hosts=\"Later\" names no object declared before it"},
        {"<window name=\"W\" left=\"ten\"/>\n", "line 3: left=\"ten\" is not a whole number"},
        {"<workspace name=\"W\">\n<object name=\"NotAWindow\"/>\n</workspace>\n",
         "line 4: a workspace holds <window> elements only"},
        {"<workspace name=\"W\" left=\"100\" width=\"-50\"/>\n", "line 3: an area's width and height are not negative"},
        {"<buttons name=\"B\" as=\"menu\"/>\n", "line 3: as=\"menu\" is none of plain, toolbar, toolbarhost"},
        {"<buttons name=\"B\">\n<window name=\"W\"/>\n</buttons>\n", "line 4: <buttons> holds <button> elements only"},
        {"<buttons name=\"B\">\n<button name=\"X\" command=\"run\"/>\n</buttons>\n",
         "line 4: command=\"run\" is not a whole number"},
        {"<activatable name=\"P\" active=\"yes\"/>\n", "line 3: active=\"yes\" is not a whole number"},
        {"<properties name=\"C\" offers=\"interrogate telepathy\"/>\n",
         "line 3: offers=\"telepathy\" is none of interrogate, extended, parametric, parameters, renderable"},
        {"<properties name=\"C\">\n<property id=\"1\" kind=\"three\"/>\n</properties>\n",
         "line 4: kind=\"three\" is not a whole number"},
        {"<properties name=\"C\">\n<property id=\"1\" kind=\"4\" value=\"fast\"/>\n</properties>\n",
         "line 4: value=\"fast\" is not a number"},
        {"<properties name=\"C\">\n<property id=\"1\" kind=\"7\" object=\"Nowhere\"/>\n</properties>\n",
         "line 4: object=\"Nowhere\" names no object declared before it"},
        {"<properties name=\"C\">\n<tab name=\"T\"/>\n</properties>\n",
         "line 4: <properties> holds <property> and <setting> elements only"},
        {"<properties name=\"C\" names=\"C0\"/>\n", "line 3: names=\"C0\" names no object declared before it"},
        {"<property name=\"P\" id=\"1\"/>\n", "line 3: <property> belongs inside <properties>"},
        {"<entity name=\"E\" for=\"Nobody\"/>\n", "line 3: for=\"Nobody\" names no object declared before it"},
        {"<verbs name=\"P\">\n<button name=\"B\"/>\n</verbs>\n", "line 4: a <verbs> set holds <verb> elements only"},
        {"<verbs name=\"P\">\n<verb name=\"Open\" code=\"five\"/>\n</verbs>\n",
         "line 4: code=\"five\" is not a whole number"},
        {"<scrollable name=\"C\" pos0=\"far\"/>\n", "line 3: pos0=\"far\" is not a number"},
        {"<tabs name=\"T\" selected=\"2\"><tab name=\"A\"/></tabs>\n", "line 3: selected=\"2\" names no tab"},
        {"<tabs name=\"T\"><tab/></tabs>\n", "line 3: a tab needs a name"},
        {"<tabs name=\"T\">\n<refreshable name=\"R\"/></tabs>\n",
         "line 4: <refreshable> cannot be a tab; use <tab> or <tabs>"},
        {"<tabs name=\"T\"><tab name=\"A\">\n<tab name=\"B\"/></tab></tabs>\n",
         "line 4: a <tab> holds no objects; use <tabs>"},
    };
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(declare(c.objects, error)) << c.objects;
        EXPECT_EQ(error, c.message) << c.objects;
    }
}

// What the example runs do not tell apart: a toolbar host's buttons are
// pressed alike whether or not they were declared its items, and a panel's
// activation is the same whether it was declared active or not.
TEST_F(ProgramObjects, ToolbarItemsAndActivePanelsAreDeclared) {
    std::string error;
    SmartPtr<IUnknown> made = declare(
        "<buttons name=\"Bar\" as=\"toolbarhost\">\n<button name=\"Go\" item=\"1\"/>\n<button name=\"Mode\"/>\n"
        "</buttons>\n",
        error);
    ASSERT_TRUE(made) << error;
    auto* bar = dynamic_cast<host::ButtonSet*>(made.query<IButtonCollection>().get());
    ASSERT_NE(bar, nullptr);
    EXPECT_TRUE(SmartPtr<IButton>(bar->button(0).get()).query<IToolbarItem>());
    EXPECT_FALSE(SmartPtr<IButton>(bar->button(1).get()).query<IToolbarItem>());

    SmartPtr<IUnknown> panel = declare("<activatable name=\"Panel\" active=\"1\"/>\n", error);
    auto* activatable = dynamic_cast<host::ActivatableObject*>(panel.query<IActivatableObject>().get());
    ASSERT_NE(activatable, nullptr);
    EXPECT_TRUE(activatable->active());
    EXPECT_EQ(activatable->Activate(2), E_INVALIDARG) << "only 0 and 1";
    EXPECT_TRUE(activatable->active());
}

TEST_F(ProgramObjects, PropertiesKeepKindsValuesNamesAndSettings) {
    std::string error;
    SmartPtr<IUnknown> made = declare(
        "<stringtable name=\"Names\"/>\n"
        "<properties name=\"Cam\" class=\"Camera\" names=\"Names\" offers=\"interrogate parameters\">\n"
        "<property id=\"100\" name=\"Exposure\" kind=\"3\" value=\"-20\"/>\n"
        "<property id=\"101\" kind=\"0x43\" value=\"1\" choices=\"A;B\"/>\n"
        "<property id=\"104\" kind=\"5\" value=\"0.1\"/>\n"
        "<setting name=\"Width\" value=\"640\"/>\n"
        "</properties>\n",
        error);
    ASSERT_TRUE(made) << error;
    auto* cam = dynamic_cast<host::PropertyObject*>(made.query<IUIPropInterrogate>().get());
    ASSERT_NE(cam, nullptr);
    EXPECT_FALSE(made.query<IUIPropInterrogateEx>());
    EXPECT_TRUE(made.query<IParameters>());
    int32_t first = 0, last = 0;
    cam->GetPropertyRange(0x2000000, &first, &last);
    EXPECT_EQ(first, 100);
    EXPECT_EQ(last, 104);
    host::PropertyObject::Property read;
    ASSERT_TRUE(cam->property(101, read));
    EXPECT_EQ(read.kind, 0x43);
    EXPECT_EQ(read.choices, L"A;B");
    ASSERT_TRUE(cam->property(104, read));
    EXPECT_EQ(read.bits, floatBits(0.1f));
    EXPECT_EQ(cam->parameterTexts(), (std::vector<std::pair<std::wstring, std::wstring>>{{L"Width", L"640"}}));
}

TEST_F(ProgramObjects, AVerbSetHandsOutItsMenuInOrder) {
    std::string error;
    SmartPtr<IUnknown> pump = declare(
        "<verbs name=\"Pump\">\n<verb name=\"Open\" code=\"5\"/>\n<verb/>\n<verb name=\"Close\" "
        "code=\"-9\"/>\n</verbs>\n",
        error);
    ASSERT_TRUE(pump) << error;
    SmartPtr<IUIVerbCollection> verbs;
    ASSERT_EQ(pump.query<IUIVerbCollectionSpecify>()->GetVerbs(0, nullptr, verbs.put()), S_OK);
    int32_t count = 0;
    verbs->get_Count(&count);
    ASSERT_EQ(count, 3);
    const wchar_t* names[] = {L"Open", nullptr, L"Close"};
    const int32_t codes[] = {5, 0, -9};
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IUnknown> item;
        verbs->get_Item(i, item.put());
        SmartPtr<IUIVerb> verb = item.query<IUIVerb>();
        SmartPtr<IString> name;
        verb->get_Name(name.put());
        EXPECT_EQ(name ? host::textOf(name.get()) : L"(none)", names[i] ? names[i] : L"(none)");
        int32_t code = 1;
        EXPECT_EQ(verb->get_Property(2, &code), S_OK);
        EXPECT_EQ(code, codes[i]);
    }
    SmartPtr<IUnknown> outside;
    EXPECT_EQ(verbs->get_Item(3, outside.put()), E_INVALIDARG);
}

// Indexes outside the tabs are refused and leave the tab in front as it was.
TEST_F(ProgramObjects, TabsRefuseIndexesOutsideThem) {
    SmartPtr<host::TabCollection> tabs = host::make<host::TabCollection>("Main");
    for (const wchar_t* name : {L"A", L"B"}) tabs->addTab(name);
    ASSERT_EQ(tabs->Select(1, 1), S_OK);
    for (int32_t outside : {-1, 2}) {
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

TEST_F(ProgramObjects, AParametricSettingIsSetThroughTheOfferedCollection) {
    SmartPtr<IUnknown> step = createStep(L"GCUIVerb");
    EXPECT_TRUE(host::setParametricSetting(step.get(), L"Action", host::makeString(L" 12").get()));
    // Read back from the step's stored folder: asking the unbound step for
    // its parameters again would offer no verbs and reset the action.
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    step.query<IDataPersist>()->Save(stream.get(), 0);
    int32_t action = 0;
    EXPECT_EQ(stream->ReadScalar(host::makeString(L"STEPUIVerbRunAction").get(), &action, 3), S_OK);
    EXPECT_EQ(action, 12);

    EXPECT_FALSE(host::setParametricSetting(step.get(), L"Speed", host::makeVariant(int32_t{1}).get()));
    SmartPtr<IUnknown> plain = createStep(L"GCUIRefresh");
    EXPECT_FALSE(host::setParametricSetting(plain.get(), L"Immediate", host::makeVariant(int32_t{1}).get()));
}

}  // namespace
