// How the host starts, stops and times steps: the synchronous and the
// asynchronous frameworks, driven through IStep with test step classes.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "support/HostTest.h"
#include "support/TestStep.h"
#include "support/Threads.h"

namespace {

using namespace std::chrono_literals;

// Polls until the condition holds or ten seconds have passed.
bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(50us);
    }
    return true;
}

// What the tests' own steps do when they run, and what they saw.
struct Script {
    std::mutex mutex;
    std::condition_variable changed;
    int executions = 0;
    int finalReleases = 0;
    bool finish = false;         // ends the asynchronous Execute by itself
    bool turnOffInside = false;  // Execute turns its own step off
    bool stopSetAtStart = false;
    bool sawStop = false;
    bool here = false;        // TurnOn runs Execute on the caller's thread
    bool ignoreStop = false;  // the asynchronous Execute goes on when stopped
    void* context = reinterpret_cast<void*>(0x1);
    HRESULT result = S_OK;
    std::chrono::milliseconds duration{0};

    void reset() {
        std::lock_guard<std::mutex> lock(mutex);
        executions = finalReleases = 0;
        finish = turnOffInside = stopSetAtStart = sawStop = here = ignoreStop = false;
        context = reinterpret_cast<void*>(0x1);
        result = S_OK;
        duration = 0ms;
    }
    template <class F>
    auto with(F f) {
        std::lock_guard<std::mutex> lock(mutex);
        return f();
    }
};
Script gScript;

class CTestSyncStep final : public TestStep<CTestSyncStep, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"TestSyncStep";
    using Interfaces = StepInterfaces<>;

    HRESULT Execute(CStopEvent* context) {
        std::unique_lock<std::mutex> lock(gScript.mutex);
        ++gScript.executions;
        gScript.context = context;
        gScript.changed.notify_all();
        if (gScript.duration > 0ms) std::this_thread::sleep_for(gScript.duration);
        gScript.changed.wait_for(lock, 10s, [] { return !gScript.turnOffInside; });
        return gScript.result;
    }
};

class CTestAsyncStep final : public TestStep<CTestAsyncStep, IParameters, IStepImplAsynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"TestAsyncStep";
    using Interfaces = StepInterfaces<>;

    HRESULT TurnOn() override {
        return gScript.with([] { return gScript.here; }) ? runHere() : startWorker();
    }

    HRESULT Execute(CStopEvent* context) {
        CStopEvent* stop = context;
        bool turnOff = false;
        {
            std::lock_guard<std::mutex> lock(gScript.mutex);
            ++gScript.executions;
            if (!stop) return gScript.result;  // run here
            gScript.context = context;
            gScript.stopSetAtStart = stop->isSet();
            turnOff = gScript.turnOffInside;
            gScript.changed.notify_all();
        }
        if (turnOff) TurnOff();
        std::unique_lock<std::mutex> lock(gScript.mutex);
        while (!gScript.finish && !(stop->isSet() && !gScript.ignoreStop)) gScript.changed.wait_for(lock, 1ms);
        gScript.sawStop = stop->isSet();
        return gScript.result;
    }
    void FinalRelease() override {
        std::lock_guard<std::mutex> lock(gScript.mutex);
        ++gScript.finalReleases;
    }
};

template <class T>
SmartPtr<IStep> makeStep() {
    SmartPtr<IStep> step;
    CObject<T>::_CreateInstance(nullptr, &IID_IStep, step.put_void());
    return step;
}

double executionTime(IStep* step) {
    double time = -1.0;
    step->get_ExecutionTime(&time);
    return time;
}

class Execution : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        gScript.reset();
        m_LiveAfterSetUp = host::Ledger::live();
    }
    void TearDown() override {
        execution_detail::gStartThread = &pthread_create;
        // A step whose last reference a worker dropped is still taking itself
        // apart after its FinalRelease (its host input list goes last): let it
        // finish before the ledger is checked.
        eventually([this] { return host::Ledger::live() <= m_LiveAfterSetUp; });
        HostTest::TearDown();
    }

private:
    int32_t m_LiveAfterSetUp = 0;
};

int failingThreadStart(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) { return EAGAIN; }

}  // namespace

TEST(ExecutionTime, MillisecondsFromSecondsAndMicroseconds) {
    struct Case {
        timeval start, end;
        double milliseconds;
    };
    const Case cases[] = {
        {{10, 999900}, {11, 100}, 0.2},  // negative microsecond difference
        {{5, 0}, {5, 1500}, 1.5},       {{0, 500000}, {2, 0}, 1500.0},
        {{7, 250}, {7, 250}, 0.0},      {{100, 0}, {99, 999000}, -1.0},  // a clock that went back
    };
    for (const Case& c : cases) {
        EXPECT_NEAR(CTimer::millisecondsBetween(c.start, c.end), c.milliseconds, 1e-9)
            << c.start.tv_sec << "." << c.start.tv_usec << " to " << c.end.tv_sec << "." << c.end.tv_usec;
    }
}

// A wait's deadline lies the asked time ahead (none for a negative time), its
// nanoseconds carried into the seconds.
TEST(ExecutionTime, AWaitsDeadlineLiesTheAskedTimeAhead) {
    for (const int32_t milliseconds : {999, 1999, -5}) {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        const timespec deadline = Condition::deadlineAfter(milliseconds);
        const int64_t ahead = (deadline.tv_sec - now.tv_sec) * 1000000000LL + (deadline.tv_nsec - now.tv_nsec);
        EXPECT_GE(ahead, std::max(milliseconds, 0) * 1000000LL) << milliseconds;
        EXPECT_LT(ahead, (std::max(milliseconds, 0) + 1000) * 1000000LL) << milliseconds;
        EXPECT_LT(deadline.tv_nsec, 1000000000L);
    }
}

TEST_F(Execution, SynchronousRunsReturnExecuteAndAreTimed) {
    SmartPtr<IStep> step = makeStep<CTestSyncStep>();
    ASSERT_TRUE(step);
    EXPECT_EQ(step->get_ExecutionTime(nullptr), S_OK);
    EXPECT_EQ(executionTime(step.get()), 0.0) << "before the first run";
    EXPECT_EQ(step->TurnOff(), E_NOTIMPL) << "before any run";

    gScript.result = E_FAIL;
    gScript.duration = 20ms;
    EXPECT_EQ(step->TurnOn(), E_FAIL) << "Execute's result, unchanged";
    EXPECT_EQ(gScript.context, nullptr) << "synchronous steps get no context";
    EXPECT_GE(executionTime(step.get()), 19.0) << "a failed run is timed too";
    EXPECT_LT(executionTime(step.get()), 5000.0);

    gScript.result = 7;
    gScript.duration = 0ms;
    EXPECT_EQ(step->TurnOn(), 7);
    EXPECT_LT(executionTime(step.get()), 19.0) << "each run replaces the time";
    EXPECT_EQ(step->TurnOff(), E_NOTIMPL);
    EXPECT_EQ(step->IsRunning(), 0);
}

TEST_F(Execution, SynchronousStepIsNeverReportedRunning) {
    SmartPtr<IStep> step = makeStep<CTestSyncStep>();
    gScript.turnOffInside = true;  // holds Execute until released below
    std::thread host([&] { step->TurnOn(); });
    ASSERT_TRUE(eventually([] { return gScript.with([] { return gScript.executions == 1; }); }));
    EXPECT_EQ(step->IsRunning(), 0) << "asked from another thread during the run";
    gScript.with([] {
        gScript.turnOffInside = false;
        gScript.changed.notify_all();
        return 0;
    });
    host.join();
    EXPECT_EQ(step->IsRunning(), 0);
}

TEST_F(Execution, AsynchronousLifeCycle) {
    SmartPtr<IStep> step = makeStep<CTestAsyncStep>();
    ASSERT_TRUE(step);
    EXPECT_EQ(step->TurnOff(), S_OK) << "before any run, at once";
    EXPECT_EQ(step->IsRunning(), 0);
    EXPECT_EQ(step->get_ExecutionTime(nullptr), S_OK);

    ASSERT_EQ(step->TurnOn(), S_OK);
    EXPECT_EQ(step->IsRunning(), 1);
    EXPECT_EQ(step->TurnOn(), E_FAIL) << "a second TurnOn while running";
    ASSERT_TRUE(eventually([] { return gScript.with([] { return gScript.executions >= 1; }); }));
    EXPECT_FALSE(gScript.with([] { return gScript.stopSetAtStart; }));

    // TurnOff waits until Execute has seen the stop flag and the worker is done.
    EXPECT_EQ(step->TurnOff(), S_OK);
    EXPECT_EQ(step->IsRunning(), 0);
    EXPECT_TRUE(gScript.with([] { return gScript.sawStop; }));
    EXPECT_EQ(gScript.with([] { return gScript.executions; }), 1) << "no second thread was started";
    EXPECT_GE(executionTime(step.get()), 0.0);
    EXPECT_EQ(step->TurnOff(), S_OK) << "again, idle";

    // A run that ends by itself, then a new one with a fresh stop flag.
    gScript.with([] { return gScript.finish = true; });
    ASSERT_EQ(step->TurnOn(), S_OK);
    ASSERT_TRUE(eventually([&] { return step->IsRunning() == 0; }));
    EXPECT_FALSE(gScript.with([] { return gScript.sawStop; }));
    ASSERT_EQ(step->TurnOn(), S_OK);
    ASSERT_TRUE(eventually([&] { return step->IsRunning() == 0; }));
    EXPECT_EQ(gScript.with([] { return gScript.executions; }), 3);
    EXPECT_FALSE(gScript.with([] { return gScript.stopSetAtStart; }));
}

TEST_F(Execution, TheWorkerKeepsItsStepAliveAfterTheHostLetsGo) {
    SmartPtr<IStep> step = makeStep<CTestAsyncStep>();
    ASSERT_EQ(step->TurnOn(), S_OK);
    ASSERT_TRUE(eventually([] { return gScript.with([] { return gScript.executions == 1; }); }));
    EXPECT_EQ(step.detach()->Release(), 1u) << "the worker holds the other reference";
    EXPECT_EQ(gScript.with([] { return gScript.finalReleases; }), 0);

    gScript.with([] { return gScript.finish = true; });
    ASSERT_TRUE(eventually([] { return gScript.with([] { return gScript.finalReleases == 1; }); }));
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(gScript.with([] { return gScript.finalReleases; }), 1) << "destroyed exactly once";
}

TEST_F(Execution, TurnOffFromSeveralThreadsAndFromInsideTheRun) {
    SmartPtr<IStep> step = makeStep<CTestAsyncStep>();
    ASSERT_EQ(step->TurnOn(), S_OK);
    ASSERT_TRUE(eventually([] { return gScript.with([] { return gScript.executions == 1; }); }));
    std::thread eventThread([&] { EXPECT_EQ(step->TurnOff(), S_OK); });
    EXPECT_EQ(step->TurnOff(), S_OK);
    eventThread.join();
    ASSERT_TRUE(eventually([&] { return step->IsRunning() == 0; }));

    // Execute turns its own step off: no wait for itself, the run still ends.
    gScript.with([] { return gScript.turnOffInside = true; });
    ASSERT_EQ(step->TurnOn(), S_OK);
    ASSERT_TRUE(eventually([&] { return step->IsRunning() == 0; }));
    EXPECT_TRUE(gScript.with([] { return gScript.sawStop; }));
    ASSERT_EQ(step->TurnOn(), S_OK) << "and the step can run again";
    EXPECT_EQ(step->TurnOff(), S_OK);
}

// A run on the caller's thread waits for the worker's run to end, also for
// one that a TurnOff on another thread is still stopping.
TEST_F(Execution, NoRunHereWhileTheWorkersRunIsBeingStopped) {
    SmartPtr<IStep> step = makeStep<CTestAsyncStep>();
    gScript.with([] { return gScript.ignoreStop = true; });
    ASSERT_EQ(step->TurnOn(), S_OK);
    ASSERT_TRUE(eventually([] { return gScript.with([] { return gScript.executions == 1; }); }));
    gScript.with([] { return gScript.here = true; });
    EXPECT_EQ(step->TurnOn(), E_FAIL) << "running on the worker";
    std::thread stopping([&] { EXPECT_EQ(step->TurnOff(), S_OK); });
    auto* stop = static_cast<CStopEvent*>(gScript.with([] { return gScript.context; }));
    ASSERT_TRUE(eventually([&] { return stop->isSet(); }));
    EXPECT_EQ(step->TurnOn(), E_FAIL) << "still stopping";
    gScript.with([] { return gScript.here = false; });
    EXPECT_EQ(step->TurnOn(), E_FAIL) << "nor on a new worker";
    gScript.with([] { return gScript.here = true; });
    gScript.with([] { return gScript.finish = true; });
    stopping.join();
    EXPECT_EQ(step->TurnOn(), S_OK) << "ended";
    EXPECT_EQ(gScript.with([] { return gScript.executions; }), 2);
}

TEST_F(Execution, AFailedThreadCreationLeavesTheStepAbleToRunAgain) {
    SmartPtr<IStep> step = makeStep<CTestAsyncStep>();
    execution_detail::gStartThread = &failingThreadStart;
    EXPECT_EQ(step->TurnOn(), S_OK) << "the attempt counts as a start";
    EXPECT_EQ(step->IsRunning(), 0) << "nothing is left running";
    EXPECT_EQ(step->TurnOff(), S_OK);
    execution_detail::gStartThread = &pthread_create;

    gScript.with([] { return gScript.finish = true; });
    ASSERT_EQ(step->TurnOn(), S_OK);
    ASSERT_TRUE(eventually([&] { return step->IsRunning() == 0; }));
    EXPECT_EQ(gScript.with([] { return gScript.executions; }), 1);
    step = nullptr;
    EXPECT_TRUE(eventually([] { return gScript.with([] { return gScript.finalReleases == 1; }); }))
        << "no reference was left behind by the failed start";
}

TEST_F(Execution, ThousandsOfRunsLeaveNoThreadsBehind) {
    SmartPtr<IStep> step = makeStep<CTestAsyncStep>();
    gScript.with([] { return gScript.finish = true; });
    const int threadsBefore = threadCount();
    const int32_t liveBefore = host::Ledger::live();
    for (int run = 0; run < 10000; ++run) {
        ASSERT_EQ(step->TurnOn(), S_OK) << "run " << run;
        if (run % 2) {
            ASSERT_TRUE(eventually([&] { return step->IsRunning() == 0; })) << "run " << run;
        } else {
            step->TurnOff();
        }
    }
    // A joined thread can linger in /proc for a moment after the join returns
    // (the kernel reaps it a little later), so the counts are awaited.
    EXPECT_TRUE(eventually([&] { return threadCount() <= threadsBefore + 1; })) << "at most the last finished worker";
    EXPECT_EQ(host::Ledger::live(), liveBefore);
    EXPECT_EQ(gScript.with([] { return gScript.executions; }), 10000);
    // IsRunning turns 0 just before the worker lets go of its reference, so
    // the last Release may be the worker's: the object ends either way, once.
    step = nullptr;
    EXPECT_TRUE(eventually([] { return gScript.with([] { return gScript.finalReleases == 1; }); }));
    EXPECT_TRUE(eventually([&] { return threadCount() <= threadsBefore; })) << "no worker outlives its step";
}
