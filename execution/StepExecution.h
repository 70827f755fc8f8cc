// How the host starts, stops and times a step: on its own thread
// (IStepImplSynchronous) or on a worker thread (IStepImplAsynchronous). The
// templates lay out IStep and forward; the worker's logic is one class for
// all steps.
#pragma once

#include <pthread.h>
#include <sys/time.h>
#include <time.h>

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "runtime/Interfaces.h"
#include "runtime/Locks.h"
#include "runtime/ObjectBase.h"

// The start of the current or last run. The clock is monotonic so that a
// change of the wall clock during a run cannot give a wrong duration.
class CTimer {
public:
    CTimer() { start(); }
    void start() { m_Start = now(); }
    double elapsedMilliseconds() const { return millisecondsBetween(m_Start, now()); }

    // Each difference is a signed 32-bit value; the microseconds may be
    // negative and the sum is still right.
    static double millisecondsBetween(const timeval& start, const timeval& end) {
        const int32_t seconds = static_cast<int32_t>(end.tv_sec - start.tv_sec);
        const int32_t microseconds = static_cast<int32_t>(end.tv_usec - start.tv_usec);
        return static_cast<double>(seconds) * 1000.0 + static_cast<double>(microseconds) / 1000.0;
    }

    static timeval now();

private:
    timeval m_Start;
};

// The stop request that a running Execute polls between its waits.
class CStopEvent {
public:
    bool isSet() const { return m_Flag.load() != 0; }
    void set() { m_Flag.store(1); }

private:
    std::atomic<int32_t> m_Flag{0};
};

// Whether the step class T has its own `HRESULT Execute(CStopEvent*)`.
template <class T, class = void>
struct HasExecute : std::false_type {};
template <class T>
struct HasExecute<
    T, std::enable_if_t<std::is_same_v<decltype(std::declval<T&>().Execute(std::declval<CStopEvent*>())), HRESULT>>>
    : std::true_type {};

// Calls the step's Execute. No base gives a default, so a class whose
// Execute is missing or misspelt stops here with the message below instead
// of running as a step that does nothing. (Not a test: a class without
// Execute is a compile error, which a test of this suite cannot show.)
template <class T>
HRESULT callExecute(T* step, CStopEvent* stop) {
    static_assert(HasExecute<T>::value, "a step class must define HRESULT Execute(CStopEvent* stop)");
    if constexpr (HasExecute<T>::value) {
        return step->Execute(stop);
    } else {
        return E_NOTIMPL;
    }
}

// Runs the step's Execute on the caller's thread; Execute gets no stop event.
template <class T, class StepInterface = IStep, class Timer = CTimer>
class IStepImplSynchronous : public StepInterface {
public:
    HRESULT TurnOn() override {
        m_Timer.start();
        const HRESULT result = callExecute(static_cast<T*>(this), nullptr);
        m_ExecutionTime = m_Timer.elapsedMilliseconds();
        return result;
    }
    // A synchronous step cannot be stopped from outside.
    HRESULT TurnOff() override { return E_NOTIMPL; }
    int32_t IsRunning() override { return 0; }
    HRESULT get_ExecutionTime(double* out) override {
        if (out) *out = m_ExecutionTime;
        return S_OK;
    }

protected:
    IStepImplSynchronous() = default;
    ~IStepImplSynchronous() = default;

    double m_ExecutionTime = 0.0;
    Timer m_Timer;
};

namespace execution_detail {
// How worker threads are started: pthread_create, replaceable so that tests
// can see what a failed thread creation leaves behind.
using ThreadStarter = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
extern std::atomic<ThreadStarter> gStartThread;
}  // namespace execution_detail

// One run's thread record and stop event (defined with the worker).
struct WorkerRecord;

// The worker of an asynchronous step, once for all classes.
//
// Why this is safe:
// - The thread record and its stop event are one object owned jointly by the
//   step and the worker (a reference count each), so it is freed by
//   whichever side lets go last and neither side ever reads it after it is
//   gone. It is the run's only allocation: a TurnOn that finds no memory for
//   it gives E_OUTOFMEMORY and starts nothing.
// - The worker's reference on the step is taken before the thread exists, so
//   a host that releases its last reference as soon as TurnOn returns cannot
//   end the object before the worker holds it.
// - Every thread is created joinable and is joined exactly once, by the first
//   of: TurnOff, the next TurnOn (a run that ended by itself), or the
//   object's teardown. The caller that claims the join under the state lock
//   is the only one that joins; when the claimant is the worker itself (its
//   last Release ended the object, or Execute turned itself off) the thread
//   is detached instead, so no thread is ever leaked or joined twice.
// - A thread that cannot be created leaves no record behind: the step is idle
//   at once and can run again.
class StepWorker {
public:
    using Execute = HRESULT (*)(CObjectRoot* step, CStopEvent* stop);

    StepWorker() = default;
    ~StepWorker();
    StepWorker(const StepWorker&) = delete;
    StepWorker& operator=(const StepWorker&) = delete;

    // 0 when a worker was started or its creation attempted; E_FAIL
    // while a run is under way; E_OUTOFMEMORY when there is no memory for
    // the run's record.
    HRESULT start(CObjectRoot* step, Execute execute);
    // Sets the stop flag, wakes a waiting Execute and waits for the worker
    // to end; 0 always.
    HRESULT stop();
    // Nonzero from TurnOn until the worker has cleaned up.
    int32_t isRunning();
    HRESULT executionTime(double* out);
    // Runs Execute on the caller's thread with no stop event, timed like a
    // worker's run; E_FAIL while a worker exists.
    HRESULT runHere(CObjectRoot* step, Execute execute);

    // Waits at most `milliseconds`, ended at once by a stop or by wake().
    // `done` is asked under the wait's lock, so a wake that comes before the
    // wait begins is not lost. True when `done` holds at the end.
    template <class Done>
    bool waitUntil(const CStopEvent* stopEvent, int32_t milliseconds, Done done) {
        return waitFor(
            stopEvent, milliseconds, [](const void* answer) { return (*static_cast<const Done*>(answer))(); }, &done);
    }
    // An answer has come: a waiting Execute looks again at once.
    void wake();

    void clearRunningFlag() { m_Running = 0; }
    int16_t runningFlag() const { return m_Running.load(); }
    void updateExecutionTime();
    bool hasThreadRecord();
    HRESULT lastResult();

    // Waits of 1 ms that a stop may allow a worker; kept for steps that poll.
    int32_t m_WaitLimit = 10000;

private:
    bool waitFor(const CStopEvent* stopEvent, int32_t milliseconds, bool (*done)(const void*), const void* answer);
    static void* workerThread(void* argument);
    void reclaim(WorkerRecord* record);

    Mutex m_StateMutex;                // the record pointer, its flags, the result and the time
    Condition m_Ended;                 // a record has finished
    WorkerRecord* m_Record = nullptr;  // holds one reference
    std::atomic<int16_t> m_Running{0};
    HRESULT m_Result = S_OK;
    double m_ExecutionTime = 0.0;
    CTimer m_Timer;
    Mutex m_WaitMutex;
    Condition m_Wakeup;
};

// Runs the step's Execute on a worker thread; the host polls IsRunning and
// may stop the run with TurnOff, which waits for the worker to end.
template <class T, class StepInterface = IStep, class Timer = CTimer>
class IStepImplAsynchronous : public StepInterface {
public:
    HRESULT TurnOn() override { return startWorker(); }
    HRESULT TurnOff() override { return stopWorker(); }
    int32_t IsRunning() override { return m_Worker.isRunning(); }
    HRESULT get_ExecutionTime(double* out) override { return m_Worker.executionTime(out); }

protected:
    IStepImplAsynchronous() = default;
    ~IStepImplAsynchronous() = default;

    HRESULT startWorker() { return m_Worker.start(static_cast<T*>(this), &run); }
    HRESULT stopWorker() { return m_Worker.stop(); }
    HRESULT runHere() { return m_Worker.runHere(static_cast<T*>(this), &run); }

    StepWorker m_Worker;

private:
    static HRESULT run(CObjectRoot* step, CStopEvent* stop) { return callExecute(static_cast<T*>(step), stop); }
};
