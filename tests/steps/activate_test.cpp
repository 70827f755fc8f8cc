// The Activate step: the bound object activated or deactivated (found
// through a moniker or a host window as toolkit_test's resolution finds
// it), and nothing done when there is nothing to activate.
#include <gtest/gtest.h>

#include "host/Activation.h"
#include "host/Collections.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "host/Windows.h"
#include "support/Bindings.h"
#include "support/HostTest.h"

namespace {

using Calls = std::vector<std::string>;

using ActivateStep = DrivenStep;

}  // namespace

class ActivateStepTest : public HostTest {
protected:
    ActivateStep make() {
        ActivateStep made = driven(createStep<IStep>(L"GCUIActivate"), L"ActivateObject");
        host::Recorder::clear();
        return made;
    }

    // The program's objects: a window showing nothing activatable.
    void SetUp() override {
        HostTest::SetUp();
        objects = host::make<host::SuperCollection>();
        panel = host::make<host::ActivatableObject>("Panel");
        SmartPtr<host::HostWindow> empty = host::make<host::HostWindow>("Empty", host::makeString(L"text").get());
        add(L"Empty", static_cast<IHostWindow*>(empty.get()));
        host::Recorder::clear();
    }
    void TearDown() override {
        objects = nullptr;
        panel = nullptr;
        HostTest::TearDown();
    }

    void add(const wchar_t* name, IUnknown* object) { objects->Add(host::makeString(name).get(), object, nullptr, 0); }
    // Binds the input to a moniker naming `name` in the program's objects.
    void bindByName(ActivateStep& activate, const wchar_t* name) {
        activate.input->put_Object(host::make<host::CollectionMoniker>(name).query<IUnknown>().get());
        activate.step.query<IBindableObject>()->Bind(static_cast<INamedCollection*>(objects.get()), nullptr);
    }

    SmartPtr<host::SuperCollection> objects;
    SmartPtr<host::ActivatableObject> panel;
};

TEST_F(ActivateStepTest, AnyNonzeroValueActivatesAndZeroDeactivates) {
    ActivateStep activate = make();
    activate.input->put_Object(static_cast<IActivatableObject*>(panel.get()));
    EXPECT_EQ(activate.step->TurnOn(), S_OK) << "a fresh step activates";
    EXPECT_EQ(host::Recorder::take(), Calls{"Panel.Activate(1)"});

    struct Case {
        SmartPtr<IVariant> value;
        const char* call;
        bool active;
    };
    const Case cases[] = {
        {host::makeVariant(int32_t{0}), "Panel.Activate(0)", false},
        {host::makeVariant(int32_t{-5}), "Panel.Activate(1)", true},
        {host::makeVariant(int32_t{0}), "Panel.Activate(0)", false},
        {host::makeVariant(int32_t{1}), "Panel.Activate(1)", true},
        {host::makeVariant(L"no number"), "Panel.Activate(0)", false},  // a text that is no number reads as 0
        {host::makeVariant(L"7"), "Panel.Activate(1)", true},
        {host::makeVariant(0.25), "Panel.Activate(0)", false},  // the value is taken as a whole number
    };
    for (const Case& c : cases) {
        activate.parameters->put_Item(0, c.value.get());
        EXPECT_EQ(activate.step->TurnOn(), S_OK);
        EXPECT_EQ(host::Recorder::take(), Calls{c.call}) << c.call;
        EXPECT_EQ(panel->active(), c.active) << c.call;
    }
    EXPECT_EQ(panel->activations(), 8);
}

TEST_F(ActivateStepTest, NothingToActivateIsNoError) {
    ActivateStep activate = make();
    EXPECT_EQ(activate.step->TurnOn(), S_OK) << "unbound";
    EXPECT_TRUE(host::Recorder::take().empty());

    // Bound to objects offering nothing: a text, a plain collection, a
    // window showing a text, a moniker naming nothing.
    for (const wchar_t* name : {L"Empty", L"Nowhere"}) {
        ActivateStep bound = make();
        bindByName(bound, name);
        host::Recorder::clear();
        EXPECT_EQ(bound.step->TurnOn(), S_OK) << host::narrow(name);
        EXPECT_EQ(host::Recorder::take(), name[0] == L'E' ? Calls{"Empty.get_HostedObject"} : Calls{});
    }
    for (SmartPtr<IUnknown> offered :
         {host::makeString(L"text").query<IUnknown>(), host::make<host::SuperCollection>().query<IUnknown>()}) {
        activate.input->put_Object(offered.get());
        EXPECT_EQ(activate.step->TurnOn(), S_OK);
    }
    EXPECT_EQ(panel->activations(), 0);
    EXPECT_TRUE(host::Recorder::take().empty());
}

TEST_F(ActivateStepTest, TheObjectsAnswerIsTheResult) {
    ActivateStep activate = make();
    activate.input->put_Object(static_cast<IActivatableObject*>(panel.get()));
    panel->setAnswer(E_FAIL);
    EXPECT_EQ(activate.step->TurnOn(), E_FAIL);
    panel->setAnswer(1);
    EXPECT_EQ(activate.step->TurnOn(), 1);
    EXPECT_EQ(panel->activations(), 2);
}

TEST_F(ActivateStepTest, AnObjectForAValueDeactivatesAndNoInputListActivatesNothing) {
    // "Activate" bound to an input that supplies an object, not a number.
    ActivateStep activate = make();
    activate.input->put_Object(static_cast<IActivatableObject*>(panel.get()));
    SmartPtr<host::InputParameter> binding = host::make<host::InputParameter>();
    binding->put_Object(host::make<host::SuperCollection>().query<IUnknown>().get());
    activate.parameters->put_ItemDescriptor(0, static_cast<IInputParameter*>(binding.get()));
    EXPECT_EQ(activate.step->TurnOn(), S_OK);
    const Calls calls = host::Recorder::take();
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.back(), "Panel.Activate(0)");
    EXPECT_EQ(panel->activations(), 1);

    components->remove(L"InputParameters");
    SmartPtr<IStep> listless = createStep<IStep>(L"GCUIActivate");
    ASSERT_TRUE(listless);
    host::Recorder::clear();
    EXPECT_EQ(listless->TurnOn(), S_OK);
    EXPECT_TRUE(host::Recorder::take().empty());
}
