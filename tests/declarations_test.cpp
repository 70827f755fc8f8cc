// docs/steps.md, which stephost_test compares with what `stephost describe`
// prints, pins every class's inputs, parameters, kinds, values at creation,
// choices, flags and pages. These are what that text cannot show.
#include <gtest/gtest.h>

#include "host/Inputs.h"
#include "host/Variants.h"
#include "support/HostTest.h"

using StepDeclarations = HostTest;

// The reference says "any interface" for both IID_NULL and IUnknown, prints a
// real 0 as it prints an integer 0, and reads a descriptor only for a choice.
TEST_F(StepDeclarations, WhatTheReferenceCannotShow) {
    int unspecified = 0;
    for (const wchar_t* registered : kRegisteredNames) {
        SCOPED_TRACE(host::narrow(registered));
        SmartPtr<IUnknown> step = createStep(registered);
        ASSERT_TRUE(step);
        SmartPtr<IInputParameters> list = step.query<IInputParameters>();
        auto* inputs = dynamic_cast<host::InputParameters*>(list.get());
        ASSERT_NE(inputs, nullptr);
        for (const auto& input : inputs->inputs()) {
            const bool viewer = input->name() == L"OptionalViewer";
            if (!viewer && input->name() != L"UIParametric") continue;
            EXPECT_EQ(input->iid(), viewer ? IID_NULL : IID_IUnknown);
            ++unspecified;
        }
        SmartPtr<IParameters> parameters = step.query<IParameters>();
        int32_t count = 0;
        ASSERT_EQ(parameters->get_Count(&count), S_OK);
        for (int32_t i = 0; i < count; ++i) {
            SmartPtr<IString> name;
            SmartPtr<IVariant> value;
            SmartPtr<IUnknown> descriptor;
            int32_t flags = 0;
            ASSERT_EQ(parameters->Iterate(i, name.put(), value.put(), descriptor.put(), &flags), S_OK);
            SCOPED_TRACE(host::narrow(host::textOf(name.get())));
            ASSERT_TRUE(value);
            EXPECT_TRUE(value->IsString() || value->get_Type() == 1) << "a 32-bit integer or a text";
            EXPECT_TRUE(!descriptor || (flags & 0x40)) << "a descriptor on a parameter that is no choice";
        }
    }
    EXPECT_EQ(unspecified, 3) << "Edit's viewer, PropRead's and PropWrite's object";
}

TEST_F(StepDeclarations, AStepWithoutAHostInputListStillHasItsParameters) {
    components->remove(L"InputParameters");
    SmartPtr<IParameters> parameters = createStep<IParameters>(L"GCUIScroll");
    ASSERT_TRUE(parameters);
    int32_t count = 0;
    parameters->get_Count(&count);
    EXPECT_EQ(count, 4);
}
