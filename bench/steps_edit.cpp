// The Edit step: its TurnOn with the frame shown in a viewer against the same
// host calls by hand, and how soon a waiting editor's close or a stop leaves
// the step idle.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cwchar>
#include <thread>

#include "bench/Scenario.h"
#include "execution/StepExecution.h"
#include "host/Inputs.h"
#include "host/OperatorWindows.h"
#include "host/PropertyFrames.h"
#include "host/UIUtilities.h"
#include "host/UserInterface.h"
#include "host/Variants.h"
#include "module/Flukokzad.h"
#include "runtime/ComponentAccess.h"
#include "runtime/Values.h"

namespace bench {
namespace {

enum { kWait = 9 };

SmartPtr<IStep> createEditStep() {
    const wchar_t* name = L"GCUIEdit";
    CREATEFUNCTION creator = nullptr;
    SmartPtr<IStep> step;
    CreateFunction({static_cast<int32_t>(std::wcslen(name)), name}, &creator);
    if (creator) creator(nullptr, &IID_IStep, step.put_void());
    return step;
}

// One object to edit, the frame shown in a viewer: no thread, no wait.
struct ViewerSetup {
    SmartPtr<IStep> step = createEditStep();
    SmartPtr<IInputParameters> inputs = step.query<IInputParameters>();
    SmartPtr<host::SmartViewer> viewer = host::make<host::SmartViewer>("Inspector");
    SmartPtr<host::RefreshableObject> edited = host::make<host::RefreshableObject>("Pump");

    ViewerSetup() {
        bind(L"Edit1", edited.query<IUnknown>().get());
        bind(L"OptionalViewer", viewer.query<IUnknown>().get());
    }
    void bind(const wchar_t* name, IUnknown* object) {
        if (auto* list = dynamic_cast<host::InputParameters*>(inputs.get())) list->input(name)->put_Object(object);
    }
};

HRESULT viewerByHand(ViewerSetup& setup) {
    auto frame = CreateObject<IUIPropertyPageCollection>(L"UIPropertyPageCollection");
    for (int32_t input = 0; input < 8; ++input) {
        SmartPtr<IUnknown> bound;
        if (setup.inputs->get_InputObject(input, bound.put()) < 0) break;
        frame->AddObject(bound.get(), 0xE0);
    }
    frame->put_HelpFile(ISCreate(L"").get(), 0);
    frame->SetItemSize(0, 0, 18);
    frame->AddObject(nullptr, 0);
    frame->put_Options(0xA7);
    SmartPtr<IUnknown> viewer;
    setup.inputs->get_InputObject(8, viewer.put());
    auto smart = viewer.query<ISmartViewer>();
    smart->ShowObject(0, frame.get(), 0);
    return viewer.query<IUIRefreshableObject>()->Refresh(0);
}

// A waiting editor in a pop-up window, ended by the operator's close or by a
// stop; the time from either to IsRunning false.
struct EndOfWait final : Work {
    enum class End { Close, Stop };
    explicit EndOfWait(End how) : end(how) {
        step.query<IParameters>()->put_Item(kWait, host::makeVariant(1).get());
        utils = SmartPtr<host::UIUtils>(dynamic_cast<host::UIUtils*>(CreateObject<IUIUtils>(L"UIUtils").get()));
    }
    ~EndOfWait() override {
        step->TurnOff();
        if (utils) utils->forget();
    }
    void run(int64_t times) override {
        using Clock = std::chrono::steady_clock;
        for (int64_t i = 0; i < times && utils; ++i) {
            utils->forget();
            step->TurnOn();
            SmartPtr<host::PropertyFrame> frame;
            while (!frame || !frame->hasSink()) {
                std::this_thread::yield();
                SmartPtr<IUnknown> hosted;
                if (auto popup = utils->lastPopup()) popup->get_HostedObject(hosted.put());
                frame = SmartPtr<host::PropertyFrame>(
                    dynamic_cast<host::PropertyFrame*>(hosted.query<IEventSource>().get()));
            }
            const Clock::time_point start = Clock::now();
            if (end == End::Close) {
                frame->raise(L"close");
            } else {
                step->TurnOff();
            }
            while (step->IsRunning()) std::this_thread::yield();
            latencies.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
        }
        host::OperatorThreads::wait();
    }
    std::vector<double> samples() const override { return latencies; }

    End end;
    SmartPtr<IStep> step = createEditStep();
    SmartPtr<host::UIUtils> utils;
    std::vector<double> latencies;
};

const Registration kRegistrations[] = {
    Registration({"steps/edit/viewer/hand-written", "", 0, 0, 64, 1, 2000,
                  [] {
                      return loopWith(std::make_unique<ViewerSetup>(),
                                      [](ViewerSetup& setup) { benchmark::DoNotOptimize(viewerByHand(setup)); });
                  }}),
    Registration({"steps/edit/viewer/TurnOn", "steps/edit/viewer/hand-written", 1.3, 0, 64, 1, 2000,
                  [] {
                      return loopWith(std::make_unique<ViewerSetup>(),
                                      [](ViewerSetup& setup) { benchmark::DoNotOptimize(setup.step->TurnOn()); });
                  }}),
    // Threads: timed, not counted.
    Registration({"steps/edit/close-to-idle", "", 0, 1000, 1, 1, 0,
                  [] { return std::make_unique<EndOfWait>(EndOfWait::End::Close); }}),
    Registration({"steps/edit/TurnOff-of-waiting", "", 0, 1000, 1, 1, 0,
                  [] { return std::make_unique<EndOfWait>(EndOfWait::End::Stop); }}),
};

}  // namespace
}  // namespace bench
