// The verbs of program files: a verb set's menu as declared, bad verbs
// refused with their line, and the parametric setting of a step.
#include <gtest/gtest.h>

#include <string>

#include "host/FolderStream.h"
#include "host/Variants.h"
#include "host/Verbs.h"
#include "stephost/ProgramObjects.h"
#include "stephost/ProgramReader.h"
#include "support/HostTest.h"

namespace {

using ProgramVerbs = HostTest;

SmartPtr<IUnknown> makeFrom(const std::string& element, std::string& error) {
    stephost::ProgramFile program;
    const std::string text = "<program name=\"p\">\n<objects>\n" + element + "</objects>\n</program>\n";
    if (!stephost::parseProgram(text, program, error)) return nullptr;
    SmartPtr<host::SuperCollection> made = host::make<host::SuperCollection>();
    return stephost::makeProgramObject(program.objects.at(0), made.get(), error);
}

}  // namespace

TEST_F(ProgramVerbs, AVerbSetHandsOutItsMenuInOrder) {
    std::string error;
    SmartPtr<IUnknown> pump = makeFrom(
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
    host::Recorder::clear();
    EXPECT_EQ(pump.query<IUIVerbCollectionSpecify>()->DoAction(9, nullptr), 9);
    EXPECT_EQ(host::Recorder::take(), std::vector<std::string>{"Pump.DoAction(9)"});

    for (const char* bad : {"<verbs name=\"P\">\n<button name=\"B\"/>\n</verbs>\n",
                            "<verbs name=\"P\">\n<verb name=\"Open\" code=\"five\"/>\n</verbs>\n"}) {
        error.clear();
        EXPECT_FALSE(makeFrom(bad, error)) << bad;
        EXPECT_NE(error.find("line 4:"), std::string::npos) << error;
    }
}

TEST_F(ProgramVerbs, AParametricSettingIsSetThroughTheOfferedCollection) {
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
