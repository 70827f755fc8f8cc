// How the host starts, stops and times a step.
#pragma once

#include <pthread.h>
#include <sys/time.h>
#include <time.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>

#include "runtime/Interfaces.h"

// The start of the current or last run. The clock is monotonic so that a
// change of the wall clock during a run cannot give a wrong duration.
class CTimer {
public:
    CTimer() { Start(); }
    void Start() { m_Start = now(); }
    double ElapsedMilliseconds() const { return MillisecondsBetween(m_Start, now()); }

    // Each difference is a signed 32-bit value; the microseconds may be
    // negative and the sum is still right.
    static double MillisecondsBetween(const timeval& start, const timeval& end) {
        const int32_t seconds = static_cast<int32_t>(end.tv_sec - start.tv_sec);
        const int32_t microseconds = static_cast<int32_t>(end.tv_usec - start.tv_usec);
        return static_cast<double>(seconds) * 1000.0 + static_cast<double>(microseconds) / 1000.0;
    }

    static timeval now() {
        timespec clock;
        clock_gettime(CLOCK_MONOTONIC, &clock);
        timeval result;
        result.tv_sec = clock.tv_sec;
        result.tv_usec = static_cast<suseconds_t>(clock.tv_nsec / 1000);
        return result;
    }

private:
    timeval m_Start;
};

// Runs the step's Execute on the caller's thread.
template <class T, class StepInterface = IStep, class Timer = CTimer>
class IStepImplSynchronous : public StepInterface {
public:
    HRESULT TurnOn() override {
        m_Timer.Start();
        const HRESULT result = static_cast<T*>(this)->Execute(nullptr);
        m_ExecutionTime = m_Timer.ElapsedMilliseconds();
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

// The stop request that a running Execute polls between its waits.
class CStopEvent {
public:
    bool IsSet() const { return m_Flag.load() != 0; }
    void Set() { m_Flag.store(1); }

private:
    std::atomic<int32_t> m_Flag{0};
};

namespace execution_detail {
// How worker threads are started: pthread_create, replaceable so that tests
// can see what a failed thread creation leaves behind.
using ThreadStarter = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
extern std::atomic<ThreadStarter> gStartThread;
}  // namespace execution_detail

// Runs the step's Execute on a worker thread; the host polls IsRunning and
// may stop the run with TurnOff, which waits for the worker to end.
//
// Why this is safe:
// - The thread record and its stop event are one object owned jointly by the
//   step and the worker (a shared pointer each), so it is freed by whichever
//   side lets go last and neither side ever reads it after it is gone.
// - The worker's reference on the step is taken by TurnOn before the thread
//   exists, so a host that releases its last reference as soon as TurnOn
//   returns cannot end the object before the worker holds it.
// - Every thread is created joinable and is joined exactly once, by the first
//   of: TurnOff, the next TurnOn (a run that ended by itself), or the
//   object's teardown. The caller that claims the join under the state lock
//   is the only one that joins; when the claimant is the worker itself (its
//   last Release ended the object, or Execute turned itself off) the thread
//   is detached instead, so no thread is ever leaked or joined twice.
// - A thread that cannot be created leaves no record behind: the step is idle
//   at once and can run again.
template <class T, class StepInterface = IStep, class Timer = CTimer>
class IStepImplAsynchronous : public StepInterface {
public:
    HRESULT TurnOn() override { return StartWorker(); }
    HRESULT TurnOff() override { return StopWorker(); }
    // Nonzero from TurnOn until the worker has cleaned up.
    int32_t IsRunning() override {
        std::lock_guard<std::mutex> lock(m_StateMutex);
        return m_Record && !m_Record->finished ? 1 : 0;
    }
    HRESULT get_ExecutionTime(double* out) override {
        if (!out) return S_OK;
        std::lock_guard<std::mutex> lock(m_StateMutex);
        *out = m_ExecutionTime;
        return S_OK;
    }

protected:
    IStepImplAsynchronous() = default;
    ~IStepImplAsynchronous() {
        // No worker runs Execute now (it holds a reference until it is done);
        // what may remain is a finished thread to join or, on the worker's
        // own thread, to detach.
        Record record = std::move(m_Record);
        if (record) reclaim(record);
    }

    // 0 when a worker was started or its creation attempted; 0x80004005
    // while a run is under way.
    HRESULT StartWorker() {
        T* step = static_cast<T*>(this);
        Record previous;
        Record record;
        bool workerNotStarted = false;
        {
            std::lock_guard<std::mutex> lock(m_StateMutex);
            if (m_Running.load() == 1) return E_FAIL;
            if (m_Record && !m_Record->finished) return E_FAIL;
            try {
                record = std::make_shared<ThreadRecord>();
            } catch (...) {
                return E_OUTOFMEMORY;
            }
            previous = std::move(m_Record);
            m_Record = record;
            m_Running = 1;
            m_Timer.Start();

            step->AddRef();  // the worker's reference
            auto* start = new (std::nothrow) WorkerStart{step, record};
            int created = ENOMEM;
            if (start) {
                pthread_attr_t attributes;
                pthread_attr_init(&attributes);
                pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE);
                created = execution_detail::gStartThread.load()(&record->handle, &attributes, &WorkerThread, start);
                pthread_attr_destroy(&attributes);
            }
            if (created == 0) {
                // Recorded before the worker can take the lock for its cleanup,
                // so every joiner sees the handle.
                record->started = true;
            } else {
                delete start;
                m_Record.reset();
                m_Running = 0;
                workerNotStarted = true;
            }
        }
        // The host holds its own reference while it calls TurnOn, so this is
        // never the last one.
        if (workerNotStarted) step->Release();
        if (previous) reclaim(previous);
        return S_OK;
    }

    // Sets the stop flag and waits for the worker to end; 0 always.
    HRESULT StopWorker() {
        Record record;
        {
            std::lock_guard<std::mutex> lock(m_StateMutex);
            record = m_Record;
            if (!record) return S_OK;
            if (record->finished) {
                m_Record.reset();
            } else if (record->stop.IsSet()) {
                return S_OK;  // already being stopped
            } else {
                m_Running = 0;
                m_ExecutionTime = m_Timer.ElapsedMilliseconds();
                record->stop.Set();
            }
        }
        reclaim(record);
        std::lock_guard<std::mutex> lock(m_StateMutex);
        if (m_Record == record && record->finished) m_Record.reset();
        return S_OK;
    }

    // For a step whose Execute learns that the operator has answered.
    void ClearRunningFlag() { m_Running = 0; }
    int16_t RunningFlag() const { return m_Running.load(); }
    // For a step whose Execute reports the time so far while it waits.
    void UpdateExecutionTime() {
        std::lock_guard<std::mutex> lock(m_StateMutex);
        m_ExecutionTime = m_Timer.ElapsedMilliseconds();
    }
    bool HasThreadRecord() {
        std::lock_guard<std::mutex> lock(m_StateMutex);
        return m_Record && !m_Record->finished;
    }
    HRESULT LastResult() {
        std::lock_guard<std::mutex> lock(m_StateMutex);
        return m_Result;
    }

    // Waits of 1 ms that a stop may allow a worker; kept for steps that poll.
    int32_t m_WaitLimit = 10000;

private:
    struct ThreadRecord {
        pthread_t handle{};
        bool started = false;   // handle names a thread not yet joined or detached
        bool joining = false;   // a caller has claimed the join
        bool finished = false;  // the worker's cleanup has run
        CStopEvent stop;
    };
    using Record = std::shared_ptr<ThreadRecord>;

    struct WorkerStart {
        T* step;
        Record record;
    };

    static void* WorkerThread(void* argument) {
        std::unique_ptr<WorkerStart> start(static_cast<WorkerStart*>(argument));
        T* step = start->step;
        Record record = std::move(start->record);
        start.reset();

        const HRESULT result = step->Execute(&record->stop);

        step->Lock();
        {
            IStepImplAsynchronous* self = step;
            std::lock_guard<std::mutex> lock(self->m_StateMutex);
            record->finished = true;
            self->m_Running = 0;
            self->m_Result = result;
            self->m_ExecutionTime = self->m_Timer.ElapsedMilliseconds();
        }
        step->Unlock();
        record.reset();
        step->Release();  // may end the object, on this thread
        return nullptr;
    }

    // Joins the record's thread once; detaches it when called on that thread.
    void reclaim(const Record& record) {
        bool claimed = false;
        {
            std::lock_guard<std::mutex> lock(m_StateMutex);
            if (record->started && !record->joining) {
                record->joining = true;
                claimed = true;
            }
        }
        if (!claimed) return;
        if (pthread_equal(record->handle, pthread_self())) {
            pthread_detach(record->handle);
        } else {
            pthread_join(record->handle, nullptr);
        }
    }

    std::mutex m_StateMutex;  // the record pointer, its flags, the result and the time
    Record m_Record;
    std::atomic<int16_t> m_Running{0};
    HRESULT m_Result = S_OK;
    double m_ExecutionTime = 0.0;
    Timer m_Timer;
};
