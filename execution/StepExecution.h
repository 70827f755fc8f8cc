// How the host starts, stops and times a step.
#pragma once

#include <sys/time.h>
#include <time.h>

#include <cstdint>

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

// Runs the step's Execute on a worker thread. Not built yet: the step
// refuses to start and says so.
template <class T, class StepInterface = IStep, class Timer = CTimer>
class IStepImplAsynchronous : public StepInterface {
public:
    HRESULT TurnOn() override { return E_NOTIMPL; }
    HRESULT TurnOff() override { return S_OK; }
    int32_t IsRunning() override { return 0; }
    HRESULT get_ExecutionTime(double* out) override {
        if (out) *out = m_ExecutionTime;
        return S_OK;
    }

protected:
    IStepImplAsynchronous() = default;
    ~IStepImplAsynchronous() = default;

    double m_ExecutionTime = 0.0;
    Timer m_Timer;
};
