// The Confirmation step: a confirmation window, its answer from the
// operator's thread, and the three ways of waiting for it.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "host/Operator.h"
#include "host/OperatorWindows.h"
#include "host/Variants.h"
#include "support/Bindings.h"
#include "support/HostTest.h"

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

enum { kMessage, kStyle, kTimeOut, kWait, kResponse };

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// A window that asks and shows but cannot tell anyone of its answer.
class DeafWindow final : public host::Object<DeafWindow, IConfirmationWindow> {
public:
    static constexpr char kLedgerName[] = "DeafWindow";
    using Answered = host::Answers<IConfirmationWindow>;
    HRESULT Show() override { return S_OK; }
    HRESULT SetMessage(IString*, int32_t) override { return S_OK; }
    HRESULT put_TimeOut(int32_t) override { return S_OK; }
};

// Offers an event source but takes no keys; its registration may fail.
class KeylessWindow final : public host::Object<KeylessWindow, IConfirmationWindow, IEventSource> {
public:
    static constexpr char kLedgerName[] = "KeylessWindow";
    using Answered = host::Answers<IConfirmationWindow, IEventSource>;
    explicit KeylessWindow(HRESULT advise = S_OK) : m_Advise(advise) {}
    HRESULT Show() override { return S_OK; }
    HRESULT SetMessage(IString*, int32_t) override { return S_OK; }
    HRESULT put_TimeOut(int32_t) override { return S_OK; }
    HRESULT Advise(IUnknown*, int32_t) override { return m_Advise; }

private:
    HRESULT m_Advise;
};

}  // namespace

class ConfirmStepTest : public HostTest {
protected:
    void TearDown() override {
        host::Operator::current().script({});
        host::OperatorThreads::wait();
        HostTest::TearDown();
    }

    DrivenStep confirmStep(IUnknown* timeOut, int32_t wait, int32_t style = 0) {
        DrivenStep confirm = driven(createStep<IStep>(L"GCUIConfirm"), L"");
        confirm.set(kTimeOut, timeOut);
        confirm.set(kWait, host::makeVariant(wait).get());
        confirm.set(kStyle, host::makeVariant(style).get());
        return confirm;
    }
    DrivenStep confirmStep(int32_t timeOut, int32_t wait, int32_t style = 0) {
        return confirmStep(host::makeVariant(timeOut).get(), wait, style);
    }

    // A window the test answers itself, given to every run of the step.
    SmartPtr<host::ConfirmationWindow> heldWindow() {
        SmartPtr<host::ConfirmationWindow> window = host::make<host::ConfirmationWindow>();
        window->setAskOperator(false);
        components->addObject(L"ConfirmationWindow", static_cast<IConfirmationWindow*>(window.get()));
        return window;
    }

    // Milliseconds until the step has ended; stops it after `limitMs`.
    static double runToEnd(IStep* step, int limitMs = 5000) {
        const auto start = Clock::now();
        EXPECT_EQ(step->TurnOn(), S_OK);
        while (step->IsRunning()) {
            if (millisecondsSince(start) > limitMs) {
                ADD_FAILURE() << "the step did not end";
                step->TurnOff();
            }
            std::this_thread::sleep_for(1ms);
        }
        return millisecondsSince(start);
    }

    static int32_t response(const DrivenStep& confirm) {
        SmartPtr<IVariant> value = confirm.value(kResponse);
        return value ? value->get_Long() : -99;
    }
};

TEST_F(ConfirmStepTest, ATimeOutWithoutAnswerSendsEnterWhateverWaitSays) {
    for (int32_t wait : {0, 1}) {
        SCOPED_TRACE(wait);
        DrivenStep confirm = confirmStep(1, wait);
        host::Recorder::clear();
        const double took = runToEnd(confirm.step.get());
        EXPECT_GE(took, 1000.0);
        EXPECT_LT(took, 1400.0);
        EXPECT_EQ(response(confirm), -1) << "Enter's own answer came after the time-out and is not recorded";
        EXPECT_EQ(takeCallsOn({"ConfirmationWindow"}),
                  (std::vector<std::string>{"ConfirmationWindow.SetMessage(\"Stop Program?\", 0x1001)",
                                            "ConfirmationWindow.put_TimeOut(1)", "ConfirmationWindow.Advise(1)",
                                            "ConfirmationWindow.Show", "ConfirmationWindow.SendKey(13, 0, 0, 0)",
                                            "ConfirmationWindow.answered 1"}));
        double executionTime = 0;
        confirm.step->get_ExecutionTime(&executionTime);
        EXPECT_GE(executionTime, 1000.0);
    }
}

TEST_F(ConfirmStepTest, AnAnswerEndsAWaitWithoutLimitAtOnce) {
    DrivenStep confirm = confirmStep(0, 1, 2);
    SmartPtr<host::ConfirmationWindow> window = heldWindow();
    ASSERT_EQ(confirm.step->TurnOn(), S_OK);
    std::this_thread::sleep_for(200ms);
    EXPECT_TRUE(confirm.step->IsRunning());
    EXPECT_EQ(window->style(), 0x4001);
    const auto answeredAt = Clock::now();
    ASSERT_TRUE(window->press(7));
    while (confirm.step->IsRunning() && millisecondsSince(answeredAt) < 2000) std::this_thread::yield();
    EXPECT_LT(millisecondsSince(answeredAt), 25.0);
    EXPECT_EQ(response(confirm), 7);

    // The scripted operator answers from its own thread after its delay.
    host::Operator::current().script({{"confirm", L"yes", 100, 0}});
    components->addClass(L"ConfirmationWindow", L"ConfirmationWindow");
    const double took = runToEnd(confirm.step.get());
    EXPECT_GE(took, 100.0);
    EXPECT_EQ(response(confirm), 6);
}

TEST_F(ConfirmStepTest, WithoutWaitTheStepEndsAndLaterAnswersChangeNothing) {
    DrivenStep confirm = confirmStep(0, 0);
    confirm.set(kResponse, host::makeVariant(5).get());
    SmartPtr<host::ConfirmationWindow> window = heldWindow();
    EXPECT_LT(runToEnd(confirm.step.get()), 200.0);
    EXPECT_TRUE(window->isOpen());
    EXPECT_TRUE(window->press(1));
    EXPECT_FALSE(window->press(2)) << "a window answers once";
    // The event twice, late, straight to the step.
    SmartPtr<_IConfirmationEvent> events = confirm.step.query<_IConfirmationEvent>();
    events->ConfirmationDone(nullptr, 9);
    events->ConfirmationDone(nullptr, 9);
    EXPECT_EQ(response(confirm), 5) << "\"Response\" keeps the value of an earlier run";
    EXPECT_FALSE(confirm.step->IsRunning());
}

TEST_F(ConfirmStepTest, StyleMessageAndAFractionalTimeOut) {
    struct Case {
        int32_t style;
        int32_t word;
    };
    for (const Case& c : {Case{0, 0x1001}, Case{1, 0x2001}, Case{2, 0x4001}, Case{7, 0x1001}, Case{-1, 0x1001}}) {
        DrivenStep confirm = confirmStep(0, 0, c.style);
        SmartPtr<host::ConfirmationWindow> window = heldWindow();
        runToEnd(confirm.step.get());
        EXPECT_EQ(window->style(), c.word) << c.style;
        EXPECT_EQ(window->message(), L"Stop Program?");
    }
    // A message that is no text is passed as none; a style that is no number reads 0.
    DrivenStep confirm = confirmStep(0, 0);
    confirm.set(kMessage, host::makeVariant(12).get());
    confirm.set(kStyle, host::makeString(L"Yes No").get());
    SmartPtr<host::ConfirmationWindow> window = heldWindow();
    runToEnd(confirm.step.get());
    EXPECT_EQ(window->message(), L"");
    EXPECT_EQ(window->style(), 0x1001);

    // The window gets the whole seconds, the step's limit keeps the fraction.
    DrivenStep fractional = confirmStep(host::makeVariant(0.3).get(), 0);
    SmartPtr<host::ConfirmationWindow> timed = heldWindow();
    const double took = runToEnd(fractional.step.get());
    EXPECT_EQ(timed->timeOut(), 0);
    EXPECT_GE(took, 300.0);
    EXPECT_LT(took, 700.0);
    EXPECT_EQ(response(fractional), -1);
}

TEST_F(ConfirmStepTest, AStopFromTheHostEndsATimedWaitAtOnce) {
    DrivenStep confirm = confirmStep(10, 0);
    confirm.set(kResponse, host::makeVariant(3).get());
    SmartPtr<host::ConfirmationWindow> window = heldWindow();
    ASSERT_EQ(confirm.step->TurnOn(), S_OK);
    std::this_thread::sleep_for(100ms);
    const auto stoppedAt = Clock::now();
    EXPECT_EQ(confirm.step->TurnOff(), S_OK);
    EXPECT_LT(millisecondsSince(stoppedAt), 25.0);
    EXPECT_FALSE(confirm.step->IsRunning());
    EXPECT_EQ(response(confirm), 3);
    EXPECT_TRUE(window->isOpen()) << "no Enter after a stop";
    EXPECT_TRUE(window->press(1));
    EXPECT_EQ(response(confirm), 3);
    EXPECT_EQ(confirm.step->TurnOn(), S_OK) << "and it runs again";
    confirm.step->TurnOff();
}

// Without a window, or with one that offers no event source, no answer can
// come and nothing is awaited; a registration that fails is not noticed.
TEST_F(ConfirmStepTest, OnlyWindowsWithoutAnEventSourceAreNotWaitedFor) {
    DrivenStep confirm = confirmStep(0, 1);
    confirm.set(kResponse, host::makeVariant(4).get());
    components->remove(L"ConfirmationWindow");
    EXPECT_LT(runToEnd(confirm.step.get()), 200.0);

    components->addObject(L"ConfirmationWindow", static_cast<IConfirmationWindow*>(host::make<DeafWindow>().get()));
    EXPECT_LT(runToEnd(confirm.step.get()), 200.0);
    EXPECT_EQ(response(confirm), 4);

    // No keys to send: the time-out is still recorded.
    DrivenStep timed = confirmStep(host::makeVariant(0.1).get(), 0);
    components->addObject(L"ConfirmationWindow", static_cast<IConfirmationWindow*>(host::make<KeylessWindow>().get()));
    runToEnd(timed.step.get());
    EXPECT_EQ(response(timed), -1);

    DrivenStep refused = confirmStep(0, 1);
    components->addObject(L"ConfirmationWindow",
                          static_cast<IConfirmationWindow*>(host::make<KeylessWindow>(E_FAIL).get()));
    ASSERT_EQ(refused.step->TurnOn(), S_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    EXPECT_EQ(refused.step->IsRunning(), 1) << "a refused registration still waits";
    refused.step->TurnOff();
    EXPECT_EQ(refused.step->IsRunning(), 0);
}

// Answers, stops and time-outs race from three threads, and the host lets
// steps go while their windows may still answer.
TEST_F(ConfirmStepTest, AnswersStopsAndTimeOutsRace) {
    std::mt19937 random(7);
    for (int run = 0; run < 1000; ++run) {
        DrivenStep confirm = confirmStep(host::makeVariant(0.02).get(), run % 2);
        SmartPtr<host::ConfirmationWindow> window = heldWindow();
        const int answerAfter = static_cast<int>(random() % 40);
        const int stopAfter = static_cast<int>(random() % 40);
        ASSERT_EQ(confirm.step->TurnOn(), S_OK);
        std::thread answering([window, answerAfter] {
            std::this_thread::sleep_for(std::chrono::milliseconds(answerAfter));
            window->press(6);
        });
        std::thread stopping([step = confirm.step, stopAfter] {
            std::this_thread::sleep_for(std::chrono::milliseconds(stopAfter));
            step->TurnOff();
        });
        if (run % 3 == 0) {
            confirm.step = nullptr;  // the host lets go during the run
            confirm.parameters = nullptr;
        } else {
            while (confirm.step->IsRunning()) std::this_thread::sleep_for(1ms);
        }
        answering.join();
        stopping.join();
        if (confirm.step) {
            const int32_t value = response(confirm);
            EXPECT_TRUE(value == 6 || value == -1 || value == 0) << value;
        }
    }
}
