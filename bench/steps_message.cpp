// The Message and Pointer steps: each TurnOn against a hand-written function
// making the same host calls on the same host objects.
#include <benchmark/benchmark.h>

#include <cwchar>

#include "bench/Scenario.h"
#include "execution/StepExecution.h"
#include "host/Variants.h"
#include "host/Windows.h"
#include "host/Workspace.h"
#include "module/Flukokzad.h"
#include "runtime/ComponentAccess.h"
#include "runtime/Values.h"

namespace bench {
namespace {

SmartPtr<IStep> createStep(const wchar_t* name) {
    CREATEFUNCTION creator = nullptr;
    SmartPtr<IStep> step;
    CreateFunction({static_cast<int32_t>(std::wcslen(name)), name}, &creator);
    if (creator) creator(nullptr, &IID_IStep, step.put_void());
    return step;
}

// A message replaced on every run: the earlier window closed, a new one shown.
struct MessageSetup {
    SmartPtr<IStep> step = createStep(L"GCUIMessage");
    SmartPtr<IVariant> message;  // the step's stored "Message"
    double executionTime = 0;

    MessageSetup() { step.query<IParameters>()->get_ItemVariant(0, message.put()); }
};

HRESULT messageByHand(MessageSetup& setup) {
    const timeval start = CTimer::now();
    SmartPtr<IString> text;
    if (setup.message->IsString()) setup.message->get_String(text.put());
    auto windows = CreateObject<IWindowCollection>(L"GlobalWindowCollection");
    const SmartPtr<IString> name = ISCreate(L"GCUIMessage");
    int32_t index = -1;
    if (windows->get_Index(name.get(), &index) >= 0) {
        SmartPtr<IUnknown> window;
        windows->get_Item(index, window.put());
        windows->Remove(index);
    }
    auto messageWindow = CreateObject<IMessageWindow>(L"MessageWindow");
    messageWindow->put_Message(text.get());
    windows->Add(name.get(), messageWindow.query<IWindow>().get());
    setup.executionTime = CTimer::millisecondsBetween(start, CTimer::now());
    return S_OK;
}

// A click into a named window of the active workspace.
struct PointerSetup {
    SmartPtr<IStep> step = createStep(L"GCUIPointer");
    SmartPtr<IParameters> parameters = step.query<IParameters>();
    SmartPtr<host::HostWindow> plot = host::make<host::HostWindow>("Plot");
    double executionTime = 0;

    PointerSetup() {
        auto workspace = CreateObject<IWorkspace>(L"ActiveWorkspace");
        auto* desk = dynamic_cast<host::Workspace*>(workspace.get());
        const int32_t area[4] = {0, 0, 800, 600};
        const int32_t plotArea[4] = {100, 50, 200, 100};
        desk->setArea(area);
        plot->put_Area(plotArea);
        desk->windows()->place(L"Plot", plot.query<IUnknown>().get());
        parameters->put_Item(0, host::makeString(L"Plot").get());
        parameters->put_Item(1, host::makeVariant(25).get());
        parameters->put_Item(2, host::makeVariant(10).get());
        parameters->put_Item(4, host::makeVariant(2).get());
    }
};

HRESULT pointerByHand(PointerSetup& setup) {
    const timeval start = CTimer::now();
    IParameters* parameters = setup.parameters.get();
    auto workspace = CreateObject<IWorkspace>(L"ActiveWorkspace");
    SmartPtr<IUnknown> name;
    parameters->get_Item(0, name.put());
    SmartPtr<IUnknown> windows;
    workspace->get_Windows(windows.put());
    auto collection = windows.query<IWindowCollection>();
    int32_t index = -1;
    SmartPtr<IUnknown> window;
    if (collection->get_Index(name.query<IString>().get(), &index) >= 0) collection->get_Item(index, window.put());
    auto hostWindow = window.query<IHostWindow>();
    auto mouse = hostWindow.query<IUIMouseInput>();
    int32_t area[4] = {0, 0, 0, 0};
    hostWindow->get_Area(area);
    const auto number = [parameters](int32_t i) {
        SmartPtr<IVariant> value;
        parameters->get_ItemVariant(i, value.put());
        return value;
    };
    const double x = area[0] + area[2] * (number(1)->get_Double() * 0.01);
    const double y = area[1] + area[3] * (number(2)->get_Double() * 0.01);
    const int32_t button = number(3)->get_Long() != 0 ? 2 : 1;
    const int32_t state = number(4)->get_Long() == 2 ? 3 : number(4)->get_Long() == 1 ? 2 : 0;
    const int32_t modifiers = number(5)->get_Long() != 0 ? 8 : 0;
    const HRESULT result = mouse->SendMouse(button, state, modifiers, x, y, area);
    setup.executionTime = CTimer::millisecondsBetween(start, CTimer::now());
    return result;
}

const Registration kRegistrations[] = {
    Registration({"steps/message/hand-written", "", 0, 0, 64, 1, 2000,
                  [] {
                      return loopWith(std::make_unique<MessageSetup>(),
                                      [](MessageSetup& setup) { benchmark::DoNotOptimize(messageByHand(setup)); });
                  }}),
    Registration({"steps/message/TurnOn", "steps/message/hand-written", 1.3, 0, 64, 1, 2000,
                  [] {
                      return loopWith(std::make_unique<MessageSetup>(),
                                      [](MessageSetup& setup) { benchmark::DoNotOptimize(setup.step->TurnOn()); });
                  }}),
    Registration({"steps/pointer/hand-written", "", 0, 0, 64, 1, 2000,
                  [] {
                      return loopWith(std::make_unique<PointerSetup>(),
                                      [](PointerSetup& setup) { benchmark::DoNotOptimize(pointerByHand(setup)); });
                  }}),
    Registration({"steps/pointer/TurnOn", "steps/pointer/hand-written", 1.3, 0, 64, 1, 2000,
                  [] {
                      return loopWith(std::make_unique<PointerSetup>(),
                                      [](PointerSetup& setup) { benchmark::DoNotOptimize(setup.step->TurnOn()); });
                  }}),
};

}  // namespace
}  // namespace bench
