// The Refresh step, end to end: created by name, bound, run, timed.
#include <gtest/gtest.h>

#include "host/Inputs.h"
#include "host/UserInterface.h"
#include "host/Variants.h"
#include "support/HostTest.h"

namespace {

struct RefreshStep {
    SmartPtr<IStep> step;
    SmartPtr<IParameters> parameters;
    SmartPtr<host::InputParameter> input;  // "RefreshableObject"
};

double executionTime(IStep* step) {
    double time = -1.0;
    step->get_ExecutionTime(&time);
    return time;
}

}  // namespace

class RefreshStepTest : public HostTest {
protected:
    RefreshStep make() {
        RefreshStep made;
        made.step = createStep<IStep>(L"GCUIRefresh");
        made.parameters = made.step.query<IParameters>();
        SmartPtr<IInputParameters> inputs = made.step.query<IInputParameters>();
        made.input = dynamic_cast<host::InputParameters*>(inputs.get())->input(L"RefreshableObject");
        return made;
    }
};

TEST_F(RefreshStepTest, RefreshesImmediatelyOrOrdinarily) {
    RefreshStep refresh = make();
    SmartPtr<host::RefreshableObject> view = host::make<host::RefreshableObject>("View");
    refresh.input->put_Object(static_cast<IUIRefreshableObject*>(view.get()));

    struct Case {
        int32_t immediate;
        int32_t mode;
    };
    for (const Case& c : {Case{1, 9}, Case{-1, 9}, Case{0, 0}, Case{12345, 9}}) {
        refresh.parameters->put_Item(0, host::makeVariant(c.immediate).get());
        host::Recorder::clear();
        EXPECT_EQ(refresh.step->TurnOn(), S_OK);
        EXPECT_EQ(host::Recorder::take(), std::vector<std::string>{"View.Refresh(" + std::to_string(c.mode) + ")"})
            << "Immediate " << c.immediate;
    }
    EXPECT_EQ(view->refreshes(), 4);
}

TEST_F(RefreshStepTest, AFreshStepRefreshesOrdinarily) {
    RefreshStep refresh = make();
    SmartPtr<host::RefreshableObject> view = host::make<host::RefreshableObject>("View");
    refresh.input->put_Object(static_cast<IUIRefreshableObject*>(view.get()));
    EXPECT_EQ(refresh.step->TurnOn(), S_OK);
    EXPECT_EQ(view->lastMode(), 0);
    // A value that is no number reads as 0.
    refresh.parameters->put_Item(0, host::makeString(L"yes").get());
    EXPECT_EQ(refresh.step->TurnOn(), S_OK);
    EXPECT_EQ(view->lastMode(), 0);
}

TEST_F(RefreshStepTest, FailsWithoutARefreshableObjectAndIsStillTimed) {
    RefreshStep refresh = make();
    EXPECT_EQ(executionTime(refresh.step.get()), 0.0);
    EXPECT_EQ(refresh.step->TurnOn(), E_FAIL) << "unbound";
    const double first = executionTime(refresh.step.get());
    EXPECT_GE(first, 0.0);

    refresh.input->put_Object(host::makeString(L"not refreshable").get());
    host::Recorder::clear();
    EXPECT_EQ(refresh.step->TurnOn(), E_FAIL) << "bound to an object without IUIRefreshableObject";
    EXPECT_TRUE(host::Recorder::take().empty()) << "nothing is refreshed";
    EXPECT_EQ(refresh.step->get_ExecutionTime(nullptr), S_OK);

    // A step made without an input list fails the same way.
    components->remove(L"InputParameters");
    SmartPtr<IStep> bare = createStep<IStep>(L"GCUIRefresh");
    ASSERT_TRUE(bare);
    EXPECT_EQ(bare->TurnOn(), E_FAIL);
    EXPECT_GE(executionTime(bare.get()), 0.0);
}
