// Running steps: the Refresh step's TurnOn against a hand-written function
// making the same host calls, and the asynchronous framework's start and
// stop latencies.
#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "bench/Scenario.h"
#include "execution/StepExecution.h"
#include "host/Inputs.h"
#include "host/UserInterface.h"
#include "module/Flukokzad.h"
#include "steps/StepBase.h"

namespace bench {
namespace {

struct RefreshSetup {
    SmartPtr<IStep> step;
    SmartPtr<host::RefreshableObject> view = host::make<host::RefreshableObject>();
    // What the hand-written function holds: the step's own input list and
    // its stored "Immediate" value.
    SmartPtr<IInputParameters> inputs;
    SmartPtr<IVariant> immediate;
    double executionTime = 0;

    RefreshSetup() {
        CREATEFUNCTION creator = nullptr;
        const wchar_t kName[] = L"GCUIRefresh";
        CreateFunction({static_cast<int32_t>(std::wcslen(kName)), kName}, &creator);
        if (creator) creator(nullptr, &IID_IStep, step.put_void());
        inputs = step.query<IInputParameters>();
        SmartPtr<IUnknown> binding;
        inputs->get_Item(0, binding.put());
        binding.query<IInputParameter>()->put_Object(view.get());
        step.query<IParameters>()->get_ItemVariant(0, immediate.put());
    }
};

// The Refresh step written out by hand against the same host objects.
HRESULT refreshByHand(RefreshSetup& setup) {
    const timeval start = CTimer::now();
    HRESULT result = E_FAIL;
    SmartPtr<IUnknown> bound;
    setup.inputs->get_InputObject(0, bound.put());
    if (SmartPtr<IUIRefreshableObject> refreshable = bound.query<IUIRefreshableObject>()) {
        refreshable->Refresh(setup.immediate->get_Long() != 0 ? 9 : 0);
        result = S_OK;
    }
    setup.executionTime = CTimer::millisecondsBetween(start, CTimer::now());
    return result;
}

// A step that waits for its stop event, as the operator steps wait for an
// answer, and says when its Execute has begun.
std::atomic<int32_t> gStarted{0};

class CWaitingStep final : public StepBase<CWaitingStep, IParameters, IStepImplAsynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"BenchWaitingStep";
    static constexpr StepTables kTables{};
    using Interfaces = StepInterfaces<>;

    HRESULT Execute(CStopEvent* stop) {
        gStarted.store(1);
        while (!stop->isSet()) std::this_thread::sleep_for(std::chrono::microseconds(50));
        return S_OK;
    }
};

struct Latencies final : Work {
    enum class Phase { Start, Stop };
    explicit Latencies(Phase measured) : phase(measured) {
        CObject<CWaitingStep>::_CreateInstance(nullptr, &IID_IStep, step.put_void());
    }
    void run(int64_t times) override {
        using Clock = std::chrono::steady_clock;
        for (int64_t i = 0; i < times; ++i) {
            gStarted.store(0);
            const Clock::time_point on = Clock::now();
            step->TurnOn();
            while (gStarted.load() == 0) std::this_thread::yield();
            const Clock::time_point running = Clock::now();
            const Clock::time_point off = Clock::now();
            step->TurnOff();
            while (step->IsRunning()) std::this_thread::yield();
            const Clock::time_point stopped = Clock::now();
            const auto micros = [](Clock::duration d) { return std::chrono::duration<double, std::micro>(d).count(); };
            latencies.push_back(phase == Phase::Start ? micros(running - on) : micros(stopped - off));
        }
    }
    std::vector<double> samples() const override { return latencies; }

    Phase phase;
    SmartPtr<IStep> step;
    std::vector<double> latencies;
};

const Registration kRegistrations[] = {
    Registration({"execution/refresh/hand-written", "", 0, 0, 64, 1, 2000,
                  [] {
                      return loopWith(std::make_unique<RefreshSetup>(),
                                      [](RefreshSetup& setup) { benchmark::DoNotOptimize(refreshByHand(setup)); });
                  }}),
    Registration({"execution/refresh/TurnOn", "execution/refresh/hand-written", 1.3, 0, 64, 1, 2000,
                  [] {
                      return loopWith(std::make_unique<RefreshSetup>(),
                                      [](RefreshSetup& setup) { benchmark::DoNotOptimize(setup.step->TurnOn()); });
                  }}),
    // Thread start and stop: timed, not counted (callgrind runs threads one at a time).
    Registration({"execution/async/TurnOn-to-Execute", "", 0, 0, 1, 1, 0,
                  [] { return std::make_unique<Latencies>(Latencies::Phase::Start); }}),
    Registration({"execution/async/TurnOff-to-stopped", "", 0, 1000, 1, 1, 0,
                  [] { return std::make_unique<Latencies>(Latencies::Phase::Stop); }}),
};

}  // namespace
}  // namespace bench
