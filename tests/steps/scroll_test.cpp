// The Scroll step, end to end: each operation on one axis of a scrollable
// view, and bound to what cannot scroll.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/Scrolling.h"
#include "host/Variants.h"
#include "host/Windows.h"
#include "support/Bindings.h"
#include "support/HostTest.h"

namespace {

enum { kOperation, kAxis, kPos, kPageSize };

}  // namespace

class ScrollStepTest : public HostTest {
protected:
    DrivenStep make() { return DrivenStep(createStep<IStep>(L"GCUIScroll"), L"ScrollableObject"); }
    // Axis 0 at 0 with page 10, axis 1 at 120.5 with page 40.
    SmartPtr<host::ScrollableObject> chart() {
        SmartPtr<host::ScrollableObject> made = host::make<host::ScrollableObject>("Chart");
        made->scrollTo(0, 0.0, 10.0);
        made->scrollTo(1, 120.5, 40.0);
        return made;
    }
};

TEST_F(ScrollStepTest, EachOperationReadsOrSetsOneAxis) {
    struct Case {
        int32_t operation;
        int32_t axis;
        std::vector<std::string> calls;
        double position, pageSize;  // the axis afterwards (Read: also "Pos" and "PageSize")
    };
    const Case cases[] = {
        {0, 1, {"Chart.get_Scroll(1) -> 120.5, 40"}, 120.5, 40},
        {0, 0, {"Chart.get_Scroll(0) -> 0, 10"}, 0, 10},
        {1, 1, {"Chart.get_Scroll(1) -> 120.5, 40", "Chart.put_Scroll(1, 7.25, 40)"}, 7.25, 40},
        {2, 1, {"Chart.get_Scroll(1) -> 120.5, 40", "Chart.put_Scroll(1, 120.5, 25)"}, 120.5, 25},
        {3, 1, {"Chart.get_Scroll(1) -> 120.5, 40", "Chart.put_Scroll(1, 7.25, 25)"}, 7.25, 25},
        // Only bits 0 and 1 count: 7 is SetPosAndSize, 4 sets neither and writes back what it read.
        {7, 0, {"Chart.get_Scroll(0) -> 0, 10", "Chart.put_Scroll(0, 7.25, 25)"}, 7.25, 25},
        {4, 1, {"Chart.get_Scroll(1) -> 120.5, 40", "Chart.put_Scroll(1, 120.5, 40)"}, 120.5, 40},
        // The axis reaches the view as its low 16 bits.
        {1, 65537, {"Chart.get_Scroll(1) -> 120.5, 40", "Chart.put_Scroll(1, 7.25, 40)"}, 7.25, 40},
        {0, 65537, {"Chart.get_Scroll(1) -> 120.5, 40"}, 120.5, 40},
    };
    for (const Case& c : cases) {
        DrivenStep scroll = make();
        SmartPtr<host::ScrollableObject> view = chart();
        scroll.input->put_Object(view.get());
        scroll.set(kOperation, host::makeVariant(c.operation).get());
        scroll.set(kAxis, host::makeVariant(c.axis).get());
        scroll.set(kPos, host::makeVariant(7.25).get());
        scroll.set(kPageSize, host::makeVariant(int32_t{25}).get());
        host::Recorder::clear();

        EXPECT_EQ(scroll.step->TurnOn(), S_OK);
        const std::string which = "operation " + std::to_string(c.operation) + ", axis " + std::to_string(c.axis);
        EXPECT_EQ(takeCallsOn({"Chart", "Window"}), c.calls) << which;
        const int16_t axis = static_cast<int16_t>(c.axis & 0xFFFF);
        EXPECT_EQ(view->position(axis), c.position) << which;
        EXPECT_EQ(view->pageSize(axis), c.pageSize) << which;
        const SmartPtr<IVariant> position = scroll.value(kPos), pageSize = scroll.value(kPageSize);
        if (c.operation == 0) {
            // Written as floating-point numbers, whole ones too.
            EXPECT_EQ(position->get_Type(), 2) << which;
            EXPECT_EQ(pageSize->get_Type(), 2) << which;
            EXPECT_EQ(position->get_Double(), c.position) << which;
            EXPECT_EQ(pageSize->get_Double(), c.pageSize) << which;
        } else {
            EXPECT_EQ(position->get_Double(), 7.25) << which << ": setting writes nothing back";
            EXPECT_EQ(pageSize->get_Type(), 1) << which;
        }
    }
}

TEST_F(ScrollStepTest, AnAxisTheViewRefusesReadsAsZero) {
    DrivenStep scroll = make();
    SmartPtr<host::ScrollableObject> view = chart();
    scroll.input->put_Object(view.get());
    scroll.set(kAxis, host::makeVariant(int32_t{65535}).get());  // -1 as a 16-bit axis
    scroll.set(kPos, host::makeVariant(99.0).get());
    scroll.set(kPageSize, host::makeVariant(99.0).get());
    EXPECT_EQ(scroll.step->TurnOn(), S_OK);
    EXPECT_EQ(takeCallsOn({"Chart", "Window"}), std::vector<std::string>{"Chart.get_Scroll(-1) refused: no such axis"});
    EXPECT_EQ(scroll.value(kPos)->get_Double(), 0.0);
    EXPECT_EQ(scroll.value(kPageSize)->get_Double(), 0.0);
}

TEST_F(ScrollStepTest, BadInputFailsWithoutTouchingAnything) {
    DrivenStep scroll = make();
    scroll.set(kOperation, host::makeVariant(int32_t{3}).get());
    scroll.set(kPos, host::makeVariant(5.0).get());
    SmartPtr<host::ScrollableObject> view = chart();
    // A window showing the view does not count: the step asks the bound object itself.
    SmartPtr<host::HostWindow> window = host::make<host::HostWindow>("Window", view.get());
    const SmartPtr<IUnknown> bindings[] = {
        nullptr,
        host::makeString(L"not scrollable").query<IUnknown>(),
        window.query<IUnknown>(),
    };
    for (const SmartPtr<IUnknown>& bound : bindings) {
        scroll.input->put_Object(bound.get());
        host::Recorder::clear();
        EXPECT_EQ(scroll.step->TurnOn(), E_FAIL);
        EXPECT_TRUE(takeCallsOn({"Chart", "Window"}).empty());
        EXPECT_EQ(scroll.value(kPos)->get_Double(), 5.0) << "nothing is written";
    }
    EXPECT_EQ(view->position(0), 0.0);

    // Values of the wrong kind read as 0: a text for the operation is Read,
    // a text or an object for a number is 0.
    scroll.input->put_Object(view.get());
    scroll.set(kOperation, host::makeString(L"SetPos").get());
    scroll.set(kAxis, host::makeString(L"vertical").get());
    host::Recorder::clear();
    EXPECT_EQ(scroll.step->TurnOn(), S_OK);
    EXPECT_EQ(takeCallsOn({"Chart", "Window"}), std::vector<std::string>{"Chart.get_Scroll(0) -> 0, 10"});
    EXPECT_EQ(scroll.value(kPageSize)->get_Double(), 10.0);

    scroll.set(kOperation, host::makeVariant(int32_t{3}).get());
    scroll.set(kPos, host::makeString(L"far").get());
    scroll.set(kPageSize, view.query<IUnknown>().get());
    host::Recorder::clear();
    EXPECT_EQ(scroll.step->TurnOn(), S_OK);
    EXPECT_EQ(takeCallsOn({"Chart", "Window"}),
              (std::vector<std::string>{"Chart.get_Scroll(0) -> 0, 10", "Chart.put_Scroll(0, 0, 0)"}));

    // A step made while the host has no input list fails the same way.
    components->remove(L"InputParameters");
    SmartPtr<IStep> bare = createStep<IStep>(L"GCUIScroll");
    ASSERT_TRUE(bare);
    EXPECT_EQ(bare->TurnOn(), E_FAIL);
}
