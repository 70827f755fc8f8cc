// Every step declares the inputs and parameters its host expects: names,
// required interfaces, default values and their kinds, choice lists, flags.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "host/Inputs.h"
#include "host/Variants.h"
#include "support/HostTest.h"

namespace {

struct ExpectedInput {
    std::wstring name;
    IID iid;
    int32_t flags;
};

struct ExpectedParameter {
    std::wstring name;
    bool isText;
    int32_t integer;
    std::wstring text;
    int32_t flags;
    std::wstring choices;  // empty: no descriptor
};

ExpectedParameter number(const wchar_t* name, int32_t value, int32_t flags, const wchar_t* choices = L"") {
    return {name, false, value, L"", flags, choices};
}
ExpectedParameter text(const wchar_t* name, const wchar_t* value, int32_t flags) {
    return {name, true, 0, value, flags, L""};
}

struct ExpectedStep {
    std::vector<ExpectedInput> inputs;
    std::vector<ExpectedParameter> parameters;
};

std::vector<ExpectedInput> editInputs() {
    std::vector<ExpectedInput> inputs;
    for (int i = 1; i <= 8; ++i) inputs.push_back({L"Edit" + std::to_wstring(i), IID_IUIPropertyPageSpecify, 0});
    inputs.push_back({L"OptionalViewer", IID_NULL, 1});
    return inputs;
}

std::vector<ExpectedParameter> editParameters() {
    std::vector<ExpectedParameter> parameters = {
        number(L"AccessLevel", 0, 0x3),    text(L"Caption", L"Edit...", 0x6),
        number(L"SetPages", 0, 0x13),      number(L"ItemSize", 18, 0x3),
        number(L"SaveLocation", 0, 0x13),  number(L"ShowClose", 1, 0x43, L"Off|Show|ShowAndCloseOnApply"),
        number(L"ShowHelp", 1, 0x13),      number(L"ShowSaveLoad", 3, 0x43, L"Off|Save|Load|Both"),
        number(L"WindowLess", 1, 0x13),    number(L"Wait", 0, 0x13),
        number(L"ReturnCode", 0, 0x40003), text(L"HelpFile", L"", 0x416),
    };
    const wchar_t* pageNames[] = {L"Parameters", L"Preferences", L"", L"", L""};
    const wchar_t* pages[] = {L"UIParametersPropPage", L"UIParametricObjectPropPage", L"UIPropInterrogatePropPage", L"",
                              L""};
    for (int i = 0; i < 5; ++i) {
        const std::wstring n = std::to_wstring(i + 1);
        parameters.push_back(text((L"PageName" + n).c_str(), pageNames[i], 0x6));
        parameters.push_back(text((L"Page" + n).c_str(), pages[i], 0x6));
        parameters.push_back(text((L"Arg" + n).c_str(), L"", 0x6));
        parameters.push_back(number((L"Flags" + n).c_str(), i == 0 ? 1 : 0, 0x3));
    }
    return parameters;
}

const std::map<std::wstring, ExpectedStep>& expectedSteps() {
    static const std::map<std::wstring, ExpectedStep> steps = {
        {L"GCUIActivate", {{{L"ActivateObject", IID_IActivatableObject, 0}}, {number(L"Activate", 1, 0x13)}}},
        {L"GCUIButtonSelect",
         {{{L"Buttons", IID_IButtonCollection, 0}}, {number(L"Button", 0, 9), number(L"Select", 0, 0x13)}}},
        {L"GCUIConfirm",
         {{},
          {text(L"Message", L"Stop Program?", 6), number(L"Style", 0, 0x43, L"OK|OK Cancel|Yes No"),
           number(L"TimeOut", 0, 3), number(L"Wait", 0, 0x13), number(L"Response", 0, 0x40003)}}},
        {L"GCUIEdit", {editInputs(), editParameters()}},
        {L"GCUIInput",
         {{},
          {text(L"Caption", L"Please enter ???", 6),
           number(L"Type", 0, 0x43,
                  L"String|Password|SystemPassword|Integer|Double|FileLoad|FileSave|SetRecentFileOnly"),
           text(L"ExtIfFile", L"Images|*.jpg;*.png;*.bmp|All Files|*.*||", 6), number(L"Input", 0, 6),
           number(L"TimeOut", 0, 3), number(L"Wait", 0, 0x13), number(L"ReturnCode", 0, 0x40003)}}},
        {L"GCUIMessage", {{}, {text(L"Message", L"Running", 6)}}},
        {L"GCUIPointer",
         {{},
          {text(L"Window Name", L"", 6), number(L"%X", 0, 5), number(L"%Y", 0, 5),
           number(L"Button", 0, 0x43, L"Left|Right"), number(L"State", 0, 0x43, L"OVER|UP|DOWN"),
           number(L"Modifier", 0, 0x13)}}},
        {L"GCUIPropRead", {{{L"UIParametric", IID_IUnknown, 0}}, {}}},
        {L"GCUIPropWrite", {{{L"UIParametric", IID_IUnknown, 0}}, {}}},
        {L"GCUIRefresh", {{{L"RefreshableObject", IID_IUIRefreshableObject, 0}}, {number(L"Immediate", 0, 0x13)}}},
        {L"GCUIScroll",
         {{{L"ScrollableObject", IID_IUIScrollableObject, 0}},
          {number(L"Operation", 0, 0x43, L"Read|SetPos|SetSize|SetPosAndSize"), number(L"Axis", 0, 3),
           number(L"Pos", 0, 5), number(L"PageSize", 0, 5)}}},
        {L"GCTabGetSelected",
         {{{L"TabbedWindows", IID_INamedCollection, 0}},
          {number(L"Index", 0, 0x40003), text(L"Name", L"", 0x40006), number(L"Item", 0, 0x40007)}}},
        {L"GCTabSelect", {{{L"TabbedWindows", IID_ITabCollection, 0}}, {number(L"SubTab", 0, 0x53)}}},
        {L"GCUIVerb", {{{L"VerbObject", IID_IUIVerbCollectionSpecify, 0}}, {}}},
    };
    return steps;
}

}  // namespace

using StepDeclarations = HostTest;

TEST_F(StepDeclarations, EveryStepDeclaresItsInputsAndParameters) {
    ASSERT_EQ(expectedSteps().size(), 14u);
    for (const wchar_t* registered : kRegisteredNames) {
        SCOPED_TRACE(host::narrow(registered));
        const ExpectedStep& expected = expectedSteps().at(registered);
        host::Recorder::clear();
        SmartPtr<IUnknown> step = createStep(registered);
        ASSERT_TRUE(step);

        // Inputs are declared on the host's input list, before any parameter.
        SmartPtr<IInputParameters> list = step.query<IInputParameters>();
        auto* inputs = dynamic_cast<host::InputParameters*>(list.get());
        ASSERT_NE(inputs, nullptr);
        const auto declared = inputs->inputs();
        ASSERT_EQ(declared.size(), expected.inputs.size());
        for (size_t i = 0; i < declared.size(); ++i) {
            EXPECT_EQ(declared[i]->name(), expected.inputs[i].name);
            EXPECT_EQ(declared[i]->iid(), expected.inputs[i].iid) << host::narrow(expected.inputs[i].name);
            EXPECT_EQ(declared[i]->flags(), expected.inputs[i].flags);
        }

        SmartPtr<IParameters> parameters = step.query<IParameters>();
        int32_t count = -1;
        ASSERT_EQ(parameters->get_Count(&count), S_OK);
        ASSERT_EQ(count, static_cast<int32_t>(expected.parameters.size()));
        for (int32_t i = 0; i < count; ++i) {
            const ExpectedParameter& want = expected.parameters[static_cast<size_t>(i)];
            SCOPED_TRACE(host::narrow(want.name));
            SmartPtr<IString> name;
            SmartPtr<IVariant> value;
            SmartPtr<IUnknown> descriptor;
            int32_t flags = -1;
            ASSERT_EQ(parameters->Iterate(i, name.put(), value.put(), descriptor.put(), &flags), S_OK);
            EXPECT_EQ(host::textOf(name.get()), want.name);
            EXPECT_EQ(flags, want.flags);
            ASSERT_TRUE(value);
            if (want.isText) {
                EXPECT_EQ(value->IsString(), 1);
                SmartPtr<IString> held;
                value->get_String(held.put());
                EXPECT_EQ(host::textOf(held.get()), want.text);
            } else {
                EXPECT_EQ(value->get_Type(), 1) << "an integer";
                EXPECT_EQ(value->get_Long(), want.integer);
            }
            if (want.choices.empty()) {
                EXPECT_FALSE(descriptor);
            } else {
                EXPECT_EQ(host::textOf(descriptor.query<IString>().get()), want.choices);
            }
        }
    }
}

TEST_F(StepDeclarations, AStepWithoutAHostInputListStillHasItsParameters) {
    components->remove(L"InputParameters");
    SmartPtr<IParameters> parameters = createStep<IParameters>(L"GCUIScroll");
    ASSERT_TRUE(parameters);
    int32_t count = 0;
    parameters->get_Count(&count);
    EXPECT_EQ(count, 4);
}
