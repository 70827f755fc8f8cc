// The Message step: one shared message window, shown, replaced and closed
// through the host's window collection.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/Collections.h"
#include "host/MessageWindows.h"
#include "host/Variants.h"
#include "support/HostTest.h"
#include "support/RecordedCalls.h"

namespace {

// The calls made on the host's windows, without making strings and finding components.
std::vector<std::string> windowCalls() { return takeCallsExcept({"ComponentString", "ComponentCollection"}); }

}  // namespace

class MessageStepTest : public HostTest {
protected:
    SmartPtr<IStep> messageStep(IUnknown* message) {
        SmartPtr<IStep> step = createStep<IStep>(L"GCUIMessage");
        if (step && message) step.query<IParameters>()->put_Item(0, message);
        return step;
    }
    SmartPtr<IStep> messageStep(const wchar_t* text) { return messageStep(host::makeString(text).get()); }

    host::WindowCollection* screen() {
        SmartPtr<IUnknown> windows;
        components->GetComponent(22, L"GlobalWindowCollection", nullptr, windows.put_void());
        return dynamic_cast<host::WindowCollection*>(windows.query<IWindowCollection>().get());
    }

    // The message window on screen now, or null.
    SmartPtr<host::MessageWindow> shownWindow() {
        SmartPtr<IUnknown> window = screen()->window(L"GCUIMessage");
        return SmartPtr<host::MessageWindow>(dynamic_cast<host::MessageWindow*>(window.query<IMessageWindow>().get()));
    }
};

TEST_F(MessageStepTest, EveryMessageStepReplacesOrClearsTheOneWindow) {
    SmartPtr<IStep> first = messageStep(L"A");
    SmartPtr<IStep> second = messageStep(L"B");

    // Nothing open: only the lookups are made.
    SmartPtr<IStep> clear = messageStep(L"");
    host::Recorder::clear();
    EXPECT_EQ(clear->TurnOn(), S_OK);
    EXPECT_EQ(takeCallsExcept({"ComponentString"}),
              (std::vector<std::string>{"ComponentCollection.GetComponent(GlobalWindowCollection)",
                                        "Windows.get_Index(GCUIMessage)"}));

    EXPECT_EQ(first->TurnOn(), S_OK);
    EXPECT_EQ(screen()->shown(), std::vector<std::string>{"GCUIMessage \"A\""});
    SmartPtr<host::MessageWindow> windowA = shownWindow();
    ASSERT_TRUE(windowA);
    EXPECT_TRUE(windowA->isOpen());

    // Another step's text replaces it: the old window is taken, removed, then let go.
    host::Recorder::clear();
    EXPECT_EQ(second->TurnOn(), S_OK);
    EXPECT_EQ(windowCalls(),
              (std::vector<std::string>{"Windows.get_Index(GCUIMessage)", "Windows.get_Item(0)",
                                        "Windows.Remove(0) closes GCUIMessage \"A\"",
                                        "MessageWindow.put_Message(\"B\")", "Windows.Add(GCUIMessage \"B\")"}));
    EXPECT_EQ(screen()->shown(), std::vector<std::string>{"GCUIMessage \"B\""});
    EXPECT_FALSE(windowA->isOpen());
    SmartPtr<host::MessageWindow> windowB = shownWindow();
    ASSERT_TRUE(windowB);
    EXPECT_NE(windowB.get(), windowA.get()) << "every message gets a fresh window";

    // The first step again, with an empty text, clears what the second showed.
    first.query<IParameters>()->put_Item(0, host::makeString(L"").get());
    EXPECT_EQ(first->TurnOn(), S_OK);
    EXPECT_TRUE(screen()->shown().empty());
    EXPECT_FALSE(windowB->isOpen());
    EXPECT_EQ(windowB->message(), L"B");
}

TEST_F(MessageStepTest, AValueThatIsNoStringOnlyClosesTheWindow) {
    SmartPtr<host::SuperCollection> object = host::make<host::SuperCollection>();
    const SmartPtr<IUnknown> values[] = {host::makeVariant(42).query<IUnknown>(),
                                         host::makeVariant(2.5).query<IUnknown>(), object.query<IUnknown>()};
    for (const SmartPtr<IUnknown>& value : values) {
        EXPECT_EQ(messageStep(L"Running")->TurnOn(), S_OK);
        ASSERT_EQ(screen()->shown().size(), 1u);
        SmartPtr<IStep> step = messageStep(value.get());
        host::Recorder::clear();
        EXPECT_EQ(step->TurnOn(), S_OK);
        EXPECT_TRUE(screen()->shown().empty()) << screen()->shown()[0];
        for (const std::string& call : windowCalls()) EXPECT_EQ(call.find("put_Message"), std::string::npos) << call;
    }
}

TEST_F(MessageStepTest, WithoutTheHostsWindowsNothingIsShownAndNothingFails) {
    // No message windows to be had: the earlier one still closes.
    EXPECT_EQ(messageStep(L"Running")->TurnOn(), S_OK);
    components->remove(L"MessageWindow");
    EXPECT_EQ(messageStep(L"Next")->TurnOn(), S_OK);
    EXPECT_TRUE(screen()->shown().empty());

    // No window collection: no window is made at all, text or not.
    components->addClass(L"MessageWindow", L"MessageWindow");
    components->remove(L"GlobalWindowCollection");
    for (const wchar_t* text : {L"Running", L""}) {
        SmartPtr<IStep> step = messageStep(text);
        host::Recorder::clear();
        EXPECT_EQ(step->TurnOn(), S_OK);
        EXPECT_EQ(takeCallsExcept({"ComponentString"}),
                  std::vector<std::string>{"ComponentCollection.GetComponent(GlobalWindowCollection)"});
    }
}
