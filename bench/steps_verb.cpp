// The Verb step: its TurnOn against a hand-written function making the same
// host calls on the same objects, once with a verb the target keeps for
// itself and once running another Verb step.
#include <benchmark/benchmark.h>

#include <cwchar>

#include "bench/Scenario.h"
#include "execution/StepExecution.h"
#include "host/Variants.h"
#include "host/Verbs.h"
#include "module/Flukokzad.h"

namespace bench {
namespace {

SmartPtr<IStep> createVerbStep() {
    CREATEFUNCTION creator = nullptr;
    CreateFunction({8, L"GCUIVerb"}, &creator);
    SmartPtr<IStep> step;
    if (creator) creator(nullptr, &IID_IStep, step.put_void());
    return step;
}

void bind(IStep* step, IUnknown* target) {
    SmartPtr<IInputParameters> inputs = queryInterface<IInputParameters>(step);
    SmartPtr<IUnknown> record;
    inputs->get_Item(0, record.put());
    record.query<IInputParameter>()->put_Object(target);
}

void choose(IStep* step, int32_t action) {
    SmartPtr<host::ParameterList> setting = host::make<host::ParameterList>();
    setting->Add(host::makeString(L"Action").get(), host::makeVariant(action).get(), nullptr, 0);
    queryInterface<IParametricObject>(step)->SetParameters(setting.query<INamedCollection>().get());
}

// "outer" chooses `action` on "inner" when `nested`, else on the pump; the
// inner step chooses 5 on the pump.
struct VerbSetup {
    SmartPtr<host::VerbObject> pump = host::make<host::VerbObject>("Pump", std::vector<host::VerbEntry>{});
    SmartPtr<IStep> inner = createVerbStep();
    SmartPtr<IStep> outer = createVerbStep();
    SmartPtr<IInputParameters> inputs = outer.query<IInputParameters>();
    int32_t action;
    double executionTime = 0;

    explicit VerbSetup(bool nested) : action(nested ? 8 : 5) {
        bind(inner.get(), static_cast<IUIVerbCollectionSpecify*>(pump.get()));
        choose(inner.get(), 5);
        bind(outer.get(),
             nested ? static_cast<IUnknown*>(inner.get()) : static_cast<IUIVerbCollectionSpecify*>(pump.get()));
        choose(outer.get(), action);
    }
};

HRESULT verbByHand(VerbSetup& setup) {
    const timeval start = CTimer::now();
    SmartPtr<IUnknown> bound;
    setup.inputs->get_InputObject(0, bound.put());
    if (auto verbs = bound.query<IUIVerbCollectionSpecify>()) {
        if (verbs->DoAction(setup.action, nullptr) == 8) {
            if (auto step = bound.query<IStep>()) step->TurnOn();
        }
    }
    setup.executionTime = CTimer::millisecondsBetween(start, CTimer::now());
    return S_OK;
}

template <bool Nested, class Body>
std::function<std::unique_ptr<Work>()> scenario(Body body) {
    return [body] { return loopWith(std::make_unique<VerbSetup>(Nested), body); };
}

const Registration kRegistrations[] = {
    Registration({"steps/verb/hand-written", "", 0, 0, 64, 1, 2000,
                  scenario<false>([](VerbSetup& s) { benchmark::DoNotOptimize(verbByHand(s)); })}),
    Registration({"steps/verb/TurnOn", "steps/verb/hand-written", 1.3, 0, 64, 1, 2000,
                  scenario<false>([](VerbSetup& s) { benchmark::DoNotOptimize(s.outer->TurnOn()); })}),
    Registration({"steps/verb-run-step/hand-written", "", 0, 0, 64, 1, 2000,
                  scenario<true>([](VerbSetup& s) { benchmark::DoNotOptimize(verbByHand(s)); })}),
    Registration({"steps/verb-run-step/TurnOn", "steps/verb-run-step/hand-written", 1.3, 0, 64, 1, 2000,
                  scenario<true>([](VerbSetup& s) { benchmark::DoNotOptimize(s.outer->TurnOn()); })}),
};

}  // namespace
}  // namespace bench
