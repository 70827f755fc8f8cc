// The Pointer step: one pointer event into a named window of the active
// workspace or into the workspace itself.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/Collections.h"
#include "host/MessageWindows.h"
#include "host/Variants.h"
#include "host/Windows.h"
#include "host/Workspace.h"
#include "support/HostTest.h"
#include "support/RecordedCalls.h"

namespace {

enum { kWindowName, kX, kY, kButton, kState, kModifier };

// The calls made on the host's windows, without making strings and finding components.
std::vector<std::string> pointerCalls() { return takeCallsExcept({"ComponentString", "ComponentCollection"}); }

// A workspace that takes no pointer events.
class DeafWorkspace final : public host::Object<DeafWorkspace, IWorkspace> {
public:
    static constexpr char kLedgerName[] = "DeafWorkspace";
    using Answered = host::Answers<IWorkspace>;
    HRESULT get_Windows(IUnknown** out) override {
        *out = nullptr;
        return E_FAIL;
    }
    HRESULT get_Area(int32_t rect[4]) override {
        for (int side = 0; side < 4; ++side) rect[side] = 100;
        return S_OK;
    }
};

}  // namespace

class PointerStepTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        SmartPtr<IUnknown> found;
        components->GetComponent(15, L"ActiveWorkspace", nullptr, found.put_void());
        workspace = SmartPtr<host::Workspace>(dynamic_cast<host::Workspace*>(found.query<IWorkspace>().get()));
        ASSERT_NE(workspace, nullptr);
        const int32_t area[4] = {10, 20, 800, 600};
        workspace->setArea(area);
        const int32_t plotArea[4] = {100, 50, 200, 100};
        SmartPtr<host::HostWindow> plot = host::make<host::HostWindow>("Plot");
        plot->put_Area(plotArea);
        workspace->windows()->place(L"Plot", plot.query<IUnknown>().get());
        SmartPtr<host::HostWindow> single = host::make<host::HostWindow>("A");
        workspace->windows()->place(L"A", single.query<IUnknown>().get());
        // A window that is no host window.
        workspace->windows()->place(L"Note", host::make<host::MessageWindow>().query<IUnknown>().get());
        step = createStep<IStep>(L"GCUIPointer");
        parameters = step.query<IParameters>();
    }
    void TearDown() override {
        step = nullptr;
        parameters = nullptr;
        workspace = nullptr;
        HostTest::TearDown();
    }

    void set(int32_t index, IUnknown* value) { parameters->put_Item(index, value); }
    void set(int32_t index, int32_t value) { set(index, host::makeVariant(value).get()); }
    void set(int32_t index, double value) { set(index, host::makeVariant(value).get()); }
    void setName(const wchar_t* name) { set(kWindowName, host::makeString(name).get()); }

    SmartPtr<host::Workspace> workspace;  // kept when the component is replaced
    SmartPtr<IStep> step;
    SmartPtr<IParameters> parameters;
};

TEST_F(PointerStepTest, ThePointGoesToTheNamedWindowOrTheWorkspace) {
    const std::string kWorkspaceCentre = "Workspace.SendMouse(1, 0, 0, 400, 300, (10, 20, 800, 600))";
    struct Case {
        const wchar_t* name;
        double x, y;
        std::vector<std::string> calls;
    } cases[] = {
        // The workspace's own origin is not added.
        {L"", 50, 50, {kWorkspaceCentre}},
        // One character is no name: no lookup at all.
        {L"A", 50, 50, {kWorkspaceCentre}},
        // A window's origin is added.
        {L"Plot",
         25,
         10,
         {"Workspace.Windows.get_Index(Plot)", "Workspace.Windows.get_Item(0)",
          "Plot.SendMouse(1, 0, 0, 150, 60, (100, 50, 200, 100))"}},
        // No clamping to the area, either way.
        {L"Plot",
         150,
         -10,
         {"Workspace.Windows.get_Index(Plot)", "Workspace.Windows.get_Item(0)",
          "Plot.SendMouse(1, 0, 0, 400, 40, (100, 50, 200, 100))"}},
        {L"", 150, 200, {"Workspace.SendMouse(1, 0, 0, 1200, 1200, (10, 20, 800, 600))"}},
        // Nothing under the name, or a window that is no host window: the workspace.
        {L"Nowhere", 50, 50, {"Workspace.Windows.get_Index(Nowhere)", kWorkspaceCentre}},
        {L"Note", 50, 50, {"Workspace.Windows.get_Index(Note)", "Workspace.Windows.get_Item(2)", kWorkspaceCentre}},
    };
    for (const Case& c : cases) {
        setName(c.name);
        set(kX, c.x);
        set(kY, c.y);
        host::Recorder::clear();
        EXPECT_EQ(step->TurnOn(), S_OK);
        EXPECT_EQ(pointerCalls(), c.calls) << host::narrow(c.name) << " " << c.x << ", " << c.y;
    }
}

TEST_F(PointerStepTest, ButtonStateAndModifierBecomeTheHostsCodes) {
    struct Case {
        int32_t button, state, modifier;
        int32_t buttonCode, stateCode, modifierCode;
    } cases[] = {
        {0, 0, 0, 1, 0, 0}, {1, 0, 0, 2, 0, 0},  {7, 0, 0, 2, 0, 0}, {0, 1, 0, 1, 2, 0},  {0, 2, 0, 1, 3, 0},
        {0, 3, 0, 1, 0, 0}, {0, -1, 0, 1, 0, 0}, {0, 0, 1, 1, 0, 8}, {1, 2, -5, 2, 3, 8},
    };
    for (const Case& c : cases) {
        set(kButton, c.button);
        set(kState, c.state);
        set(kModifier, c.modifier);
        EXPECT_EQ(step->TurnOn(), S_OK);
        const host::MouseEvent event = workspace->mouseEvents().back();
        EXPECT_EQ(event.button, c.buttonCode) << "Button " << c.button;
        EXPECT_EQ(event.state, c.stateCode) << "State " << c.state;
        EXPECT_EQ(event.modifiers, c.modifierCode) << "Modifier " << c.modifier;
    }
}

TEST_F(PointerStepTest, ValuesOfTheWrongKindReadAsNothing) {
    SmartPtr<host::SuperCollection> object = host::make<host::SuperCollection>();
    // A number or an object is no window name; texts and objects are no position.
    set(kWindowName, 42);
    set(kX, host::makeString(L"left").get());
    set(kY, object.query<IUnknown>().get());
    set(kButton, host::makeString(L"Right").get());
    set(kState, object.query<IUnknown>().get());
    host::Recorder::clear();
    EXPECT_EQ(step->TurnOn(), S_OK);
    EXPECT_EQ(pointerCalls(), std::vector<std::string>{"Workspace.SendMouse(1, 0, 0, 0, 0, (10, 20, 800, 600))"});

    set(kWindowName, object.query<IUnknown>().get());
    host::Recorder::clear();
    EXPECT_EQ(step->TurnOn(), S_OK);
    EXPECT_EQ(pointerCalls().size(), 1u) << "no lookup";
}

TEST_F(PointerStepTest, WithoutATargetTakingPointerEventsNothingIsSent) {
    // A workspace that takes no pointer events, named window or not.
    components->addObject(L"ActiveWorkspace", static_cast<IWorkspace*>(host::make<DeafWorkspace>().get()));
    for (const wchar_t* name : {L"", L"Plot"}) {
        setName(name);
        EXPECT_EQ(step->TurnOn(), E_FAIL) << host::narrow(name);
    }
    // No workspace at all: not even a named window can be found.
    components->remove(L"ActiveWorkspace");
    for (const wchar_t* name : {L"", L"Plot"}) {
        setName(name);
        host::Recorder::clear();
        EXPECT_EQ(step->TurnOn(), E_FAIL) << host::narrow(name);
        EXPECT_TRUE(pointerCalls().empty());
    }
    EXPECT_TRUE(workspace->mouseEvents().empty());
}
