// The Activate and Button select steps: each step's TurnOn against a
// hand-written function making the same host calls on the same objects.
#include <benchmark/benchmark.h>

#include <cwchar>

#include "bench/Scenario.h"
#include "execution/StepExecution.h"
#include "host/Activation.h"
#include "host/Buttons.h"
#include "host/Variants.h"
#include "module/Flukokzad.h"

namespace bench {
namespace {

SmartPtr<IStep> createStep(const wchar_t* name) {
    CREATEFUNCTION creator = nullptr;
    CreateFunction({static_cast<int32_t>(std::wcslen(name)), name}, &creator);
    SmartPtr<IStep> step;
    if (creator) creator(nullptr, &IID_IStep, step.put_void());
    return step;
}

// What a hand-written function holds: the step's own input list and its
// stored parameter values.
struct StepSetup {
    SmartPtr<IStep> step;
    SmartPtr<IInputParameters> inputs;
    SmartPtr<IVariant> values[2];
    double executionTime = 0;

    explicit StepSetup(const wchar_t* name) : step(createStep(name)), inputs(step.query<IInputParameters>()) {}
    void bind(IUnknown* bound) {
        SmartPtr<IUnknown> binding;
        inputs->get_Item(0, binding.put());
        binding.query<IInputParameter>()->put_Object(bound);
    }
    void readValues() {
        SmartPtr<IParameters> parameters = step.query<IParameters>();
        int32_t count = 0;
        parameters->get_Count(&count);
        for (int32_t i = 0; i < count && i < 2; ++i) parameters->get_ItemVariant(i, values[i].put());
    }
};

struct ActivateSetup : StepSetup {
    SmartPtr<host::ActivatableObject> panel = host::make<host::ActivatableObject>();
    ActivateSetup() : StepSetup(L"GCUIActivate") {
        bind(static_cast<IActivatableObject*>(panel.get()));
        readValues();
    }
};

HRESULT activateByHand(ActivateSetup& setup) {
    const timeval start = CTimer::now();
    HRESULT result = S_OK;
    SmartPtr<IUnknown> bound;
    setup.inputs->get_InputObject(0, bound.put());
    if (SmartPtr<IActivatableObject> activatable = bound.query<IActivatableObject>()) {
        result = activatable->Activate(setup.values[0]->get_Long() != 0 ? 1 : 0);
    }
    setup.executionTime = CTimer::millisecondsBetween(start, CTimer::now());
    return result;
}

// A toolbar host whose push button is pressed, runs its command and springs
// back: the longest way through the step.
struct ButtonSelectSetup : StepSetup {
    SmartPtr<host::ButtonSet> bar = host::make<host::ButtonSet>("Bar", host::ButtonSet::Role::ToolbarHost);
    ButtonSelectSetup() : StepSetup(L"GCUIButtonSelect") {
        bar->add(L"Start", 1, 101, true);
        bar->add(L"Stop", 1, 102, true);
        bind(static_cast<IButtonCollection*>(bar.get()));
        SmartPtr<IParameters> parameters = step.query<IParameters>();
        parameters->put_Item(0, host::makeVariant(std::wstring(L"Stop")).get());
        parameters->put_Item(1, host::makeVariant(int32_t{1}).get());
        readValues();
    }
};

// The interface from the object itself, or after asking it for a moniker
// and a host window, as a bound object is resolved.
template <class I>
SmartPtr<I> resolveByHand(IUnknown* object) {
    SmartPtr<I> found = queryInterface<I>(object);
    if (!found && !queryInterface<ICollectionMoniker>(object)) queryInterface<IHostWindow>(object);
    return found;
}

HRESULT buttonSelectByHand(ButtonSelectSetup& setup) {
    const timeval start = CTimer::now();
    SmartPtr<IUnknown> item;
    setup.inputs->get_Item(0, item.put());
    SmartPtr<IInputParameter> record = item.query<IInputParameter>();
    int32_t itemIndex = -1;
    SmartPtr<IString> itemName;
    SmartPtr<IUnknown> bound;
    record->get_ItemIndex(&itemIndex);
    record->get_ItemName(itemName.put());
    record->get_Object(bound.put());
    auto buttons = resolveByHand<IButtonCollection>(bound.get());
    auto toolbar = resolveByHand<IToolbar>(bound.get());
    auto toolbarHost = resolveByHand<IToolbarHost>(bound.get());
    IVariant* key = setup.values[0].get();
    if (key->get_Type() == 0 || key->get_Long() >= 0) {
        int32_t index = -1;
        buttons->get_Index(key, &index);
        SmartPtr<IUnknown> chosen;
        buttons->get_Item(index, chosen.put());
        if (SmartPtr<IButton> button = chosen.query<IButton>()) {
            int32_t command = 0;
            int32_t kind = 0;
            button->get_Property(8, &command);
            button->get_Property(6, &kind);
            if (!toolbar && toolbarHost && setup.values[1]->get_Long() != 0) {
                button->Press();
                toolbarHost->RunCommand(command, 0);
                if (kind == 1) button->Unpress();
            }
        }
    }
    if (auto refreshable = bound.query<IUIRefreshableObject>()) refreshable->Refresh(0);
    setup.executionTime = CTimer::millisecondsBetween(start, CTimer::now());
    return S_OK;
}

template <class Setup, class Body>
std::function<std::unique_ptr<Work>()> scenario(Body body) {
    return [body] { return loopWith(std::make_unique<Setup>(), body); };
}

const Registration kRegistrations[] = {
    Registration({"steps/activate/hand-written", "", 0, 0, 64, 1, 2000,
                  scenario<ActivateSetup>([](ActivateSetup& s) { benchmark::DoNotOptimize(activateByHand(s)); })}),
    Registration({"steps/activate/TurnOn", "steps/activate/hand-written", 1.3, 0, 64, 1, 2000,
                  scenario<ActivateSetup>([](ActivateSetup& s) { benchmark::DoNotOptimize(s.step->TurnOn()); })}),
    Registration(
        {"steps/button-select/hand-written", "", 0, 0, 64, 1, 2000,
         scenario<ButtonSelectSetup>([](ButtonSelectSetup& s) { benchmark::DoNotOptimize(buttonSelectByHand(s)); })}),
    Registration(
        {"steps/button-select/TurnOn", "steps/button-select/hand-written", 1.3, 0, 64, 1, 2000,
         scenario<ButtonSelectSetup>([](ButtonSelectSetup& s) { benchmark::DoNotOptimize(s.step->TurnOn()); })}),
};

}  // namespace
}  // namespace bench
