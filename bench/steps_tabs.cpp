// The Scroll, Tab select and Selected tab steps: each step's TurnOn against a
// hand-written function making the same host calls on the same objects.
#include <benchmark/benchmark.h>

#include <cwchar>

#include "bench/Scenario.h"
#include "execution/StepExecution.h"
#include "host/Scrolling.h"
#include "host/Tabs.h"
#include "module/Flukokzad.h"
#include "runtime/Values.h"

namespace bench {
namespace {

// A step of the registered class with what a hand-written function holds:
// the step's own input list and parameters.
struct StepSetup {
    SmartPtr<IStep> step;
    SmartPtr<IInputParameters> inputs;
    SmartPtr<IParameters> parameters;
    double executionTime = 0;

    explicit StepSetup(const wchar_t* name) {
        CREATEFUNCTION creator = nullptr;
        CreateFunction({static_cast<int32_t>(std::wcslen(name)), name}, &creator);
        if (creator) creator(nullptr, &IID_IStep, step.put_void());
        inputs = step.query<IInputParameters>();
        parameters = step.query<IParameters>();
    }
    SmartPtr<IInputParameter> input(int32_t index) const {
        SmartPtr<IUnknown> record;
        inputs->get_Item(index, record.put());
        return record.query<IInputParameter>();
    }
    SmartPtr<IVariant> stored(int32_t index) const {
        SmartPtr<IVariant> value;
        parameters->get_ItemVariant(index, value.put());
        return value;
    }
    HRESULT write(int32_t index, double number) const {
        SmartPtr<IVariant> variant = CREFString::CreateVariant();
        variant->put_Double(number);
        return parameters->put_Item(index, variant.get());
    }
};

// --- Scroll: Read on axis 1 -------------------------------------------------------

struct ScrollSetup : StepSetup {
    SmartPtr<host::ScrollableObject> chart = host::make<host::ScrollableObject>("Chart");
    SmartPtr<IVariant> operation, axis;

    ScrollSetup() : StepSetup(L"GCUIScroll") {
        chart->scrollTo(1, 120.5, 40.0);
        input(0)->put_Object(chart.get());
        parameters->put_Item(1, IVCreate(1).get());
        operation = stored(0);
        axis = stored(1);
    }
};

HRESULT scrollByHand(ScrollSetup& setup) {
    const timeval start = CTimer::now();
    HRESULT result = E_FAIL;
    SmartPtr<IUnknown> bound;
    setup.inputs->get_InputObject(0, bound.put());
    if (SmartPtr<IUIScrollableObject> scrollable = bound.query<IUIScrollableObject>()) {
        double position = 0.0, pageSize = 0.0;
        if (setup.operation->get_Long() == 0) {
            scrollable->get_Scroll(static_cast<int16_t>(setup.axis->get_Long()), &position, &pageSize);
            setup.write(2, position);
            setup.write(3, pageSize);
        }
        result = S_OK;
    }
    setup.executionTime = CTimer::millisecondsBetween(start, CTimer::now());
    return result;
}

// --- Tab select: "Results" by name, then its second inner tab ------------------------

struct TabSelectSetup : StepSetup {
    SmartPtr<host::TabCollection> tabs = host::make<host::TabCollection>("Main");
    SmartPtr<IVariant> subTab;

    TabSelectSetup() : StepSetup(L"GCTabSelect") {
        tabs->addTab(L"Setup");
        SmartPtr<host::TabCollection> results = tabs->addTabs(L"Results");
        results->addTab(L"Table");
        results->addTab(L"Plot");
        SmartPtr<IInputParameter> binding = input(0);
        binding->put_Object(static_cast<ITabCollection*>(tabs.get()));
        binding->put_ItemName(ISCreate(L"Results").get());
        binding->put_ItemIndex(0);
        parameters->put_Item(0, IVCreate(1).get());
        subTab = stored(0);
    }
};

HRESULT tabSelectByHand(TabSelectSetup& setup) {
    const timeval start = CTimer::now();
    SmartPtr<IUnknown> record;
    setup.inputs->get_Item(0, record.put());
    if (SmartPtr<IInputParameter> binding = record.query<IInputParameter>()) {
        int32_t index = -1;
        SmartPtr<IString> name;
        SmartPtr<IUnknown> bound;
        binding->get_ItemIndex(&index);
        binding->get_ItemName(name.put());
        binding->get_Object(bound.put());
        SmartPtr<ITabCollection> inner;
        if (SmartPtr<ITabCollection> tabs = bound.query<ITabCollection>()) {
            tabs->get_Index(name.get(), &index);
            tabs->Select(index, 1);
            SmartPtr<IUnknown> tab;
            tabs->get_Item(index, tab.put());
            inner = tab.query<ITabCollection>();
        }
        if (inner) inner->Select(setup.subTab->get_Long(), 1);
        if (SmartPtr<IUIRefreshableObject> refreshable = bound.query<IUIRefreshableObject>()) refreshable->Refresh(0);
        if (SmartPtr<IUIRefreshableObject> refreshable = inner.query<IUIRefreshableObject>()) refreshable->Refresh(0);
    }
    setup.executionTime = CTimer::millisecondsBetween(start, CTimer::now());
    return S_OK;
}

// --- Selected tab: the second of three tabs in front ----------------------------------

struct SelectedTabSetup : StepSetup {
    SmartPtr<host::TabCollection> tabs = host::make<host::TabCollection>("Main");

    SelectedTabSetup() : StepSetup(L"GCTabGetSelected") {
        for (const wchar_t* name : {L"A", L"B", L"C"}) tabs->addTab(name);
        tabs->bringToFront(1);
        input(0)->put_Object(static_cast<ITabCollection*>(tabs.get()));
    }
};

HRESULT selectedTabByHand(SelectedTabSetup& setup) {
    const timeval start = CTimer::now();
    int32_t index = -1;
    SmartPtr<IString> name;
    SmartPtr<IUnknown> item;
    setup.inputs->get_InputObject(0, item.put());
    if (SmartPtr<ITabCollection> tabs = item.query<ITabCollection>()) {
        tabs->get_Selected(&index);
        tabs->get_ItemName(index, name.put());
        tabs->get_Item(index, item.put());
    }
    setup.parameters->put_Item(0, IVCreate(index).get());
    for (const auto& [slot, value] : {std::pair<int32_t, IUnknown*>{1, name.get()}, {2, item.get()}}) {
        SmartPtr<IVariant> variant = CREFString::CreateVariant();
        variant->put_Value(value);
        setup.parameters->put_Item(slot, variant.get());
    }
    setup.executionTime = CTimer::millisecondsBetween(start, CTimer::now());
    return S_OK;
}

template <class Setup, HRESULT (*ByHand)(Setup&)>
Registration pair(const std::string& name, bool turnOn) {
    if (!turnOn) {
        return Registration({"steps/" + name + "/hand-written", "", 0, 0, 64, 1, 2000, [] {
                                 return loopWith(std::make_unique<Setup>(),
                                                 [](Setup& setup) { benchmark::DoNotOptimize(ByHand(setup)); });
                             }});
    }
    return Registration({"steps/" + name + "/TurnOn", "steps/" + name + "/hand-written", 1.3, 0, 64, 1, 2000, [] {
                             return loopWith(std::make_unique<Setup>(),
                                             [](Setup& setup) { benchmark::DoNotOptimize(setup.step->TurnOn()); });
                         }});
}

const Registration kRegistrations[] = {
    pair<ScrollSetup, scrollByHand>("scroll", false),
    pair<ScrollSetup, scrollByHand>("scroll", true),
    pair<TabSelectSetup, tabSelectByHand>("tab-select", false),
    pair<TabSelectSetup, tabSelectByHand>("tab-select", true),
    pair<SelectedTabSetup, selectedTabByHand>("selected-tab", false),
    pair<SelectedTabSetup, selectedTabByHand>("selected-tab", true),
};

}  // namespace
}  // namespace bench
