// The steps that wait for the operator: how soon the Confirmation step ends
// after the window's answer, and after the host's TurnOff; how soon the Input
// step is idle after the keyboard's answer.
#include <benchmark/benchmark.h>

#include <chrono>
#include <mutex>
#include <thread>

#include "bench/BenchHost.h"
#include "bench/Scenario.h"
#include "host/ClassFactory.h"
#include "host/OperatorWindows.h"
#include "host/Variants.h"
#include "module/Flukokzad.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

// A confirmation waiting without limit, in a window the benchmark answers
// itself; each run gets a new window, as from the host.
struct ConfirmLatencies final : Work {
    enum class Ending { Answer, TurnOff };

    explicit ConfirmLatencies(Ending measured) : ending(measured) {
        step.query<IParameters>()->put_Item(3, host::makeVariant(1).get());  // "Wait"
        host::ClassRegistry::add(L"ConfirmationWindow", [this] {
            SmartPtr<host::ConfirmationWindow> window = host::make<host::ConfirmationWindow>();
            window->setAskOperator(false);
            std::lock_guard<std::mutex> lock(mutex);
            latest = window;
            return window.query<IUnknown>();
        });
    }
    ~ConfirmLatencies() override {
        host::ClassRegistry::add(L"ConfirmationWindow",
                                 [] { return host::make<host::ConfirmationWindow>().query<IUnknown>(); });
    }

    SmartPtr<host::ConfirmationWindow> shownWindow() {
        for (;;) {
            {
                std::lock_guard<std::mutex> lock(mutex);
                if (latest && latest->isOpen()) return latest;
            }
            std::this_thread::yield();
        }
    }

    void run(int64_t times) override {
        for (int64_t i = 0; i < times; ++i) {
            step->TurnOn();
            SmartPtr<host::ConfirmationWindow> window = shownWindow();
            const Clock::time_point start = Clock::now();
            if (ending == Ending::Answer) {
                window->press(6);
            } else {
                step->TurnOff();
            }
            while (step->IsRunning()) std::this_thread::yield();
            latencies.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
            std::lock_guard<std::mutex> lock(mutex);
            latest = nullptr;
        }
    }
    std::vector<double> samples() const override { return latencies; }

    Ending ending;
    SmartPtr<IStep> step = createRegisteredStep(L"GCUIConfirm");
    std::mutex mutex;
    SmartPtr<host::ConfirmationWindow> latest;
    std::vector<double> latencies;
};

// A text asked for with "Wait" 1 on a keyboard the benchmark answers itself;
// each run gets a new keyboard, as from the host.
struct InputLatencies final : Work {
    InputLatencies() {
        step.query<IParameters>()->put_Item(5, host::makeVariant(1).get());  // "Wait"
        host::ClassRegistry::add(L"UIKeyboard", [this] {
            SmartPtr<host::Keyboard> keyboard = host::make<host::Keyboard>();
            keyboard->setAskOperator(false);
            std::lock_guard<std::mutex> lock(mutex);
            latest = keyboard;
            return keyboard.query<IUnknown>();
        });
    }
    ~InputLatencies() override {
        host::ClassRegistry::add(L"UIKeyboard", [] { return host::make<host::Keyboard>().query<IUnknown>(); });
    }

    SmartPtr<host::Keyboard> shownKeyboard() {
        for (;;) {
            {
                std::lock_guard<std::mutex> lock(mutex);
                if (latest && latest->advised()) return latest;
            }
            std::this_thread::yield();
        }
    }

    void run(int64_t times) override {
        for (int64_t i = 0; i < times; ++i) {
            step->TurnOn();
            SmartPtr<host::Keyboard> keyboard = shownKeyboard();
            const Clock::time_point start = Clock::now();
            keyboard->apply(L"4711");
            while (step->IsRunning()) std::this_thread::yield();
            latencies.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
            std::lock_guard<std::mutex> lock(mutex);
            latest = nullptr;
        }
    }
    std::vector<double> samples() const override { return latencies; }

    SmartPtr<IStep> step = createRegisteredStep(L"GCUIInput");
    std::mutex mutex;
    SmartPtr<host::Keyboard> latest;
    std::vector<double> latencies;
};

// Threads: timed, not counted (callgrind runs threads one at a time).
const Registration kRegistrations[] = {
    Registration({"steps/confirm/answer-to-end", "", 0, 1000, 1, 1, 0,
                  [] { return std::make_unique<ConfirmLatencies>(ConfirmLatencies::Ending::Answer); }}),
    Registration({"steps/confirm/TurnOff-to-stopped", "", 0, 1000, 1, 1, 0,
                  [] { return std::make_unique<ConfirmLatencies>(ConfirmLatencies::Ending::TurnOff); }}),
    Registration(
        {"steps/input/answer-to-idle", "", 0, 1000, 1, 1, 0, [] { return std::make_unique<InputLatencies>(); }}),
};

}  // namespace
}  // namespace bench
