// The benchmark scenarios: each one a piece of work the host repeats, paired
// with a baseline measured in the same run. The same scenarios run under
// Google Benchmark (time) and under callgrind (instruction counts).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

// One prepared scenario: run(n) does the work n times.
class Work {
public:
    virtual ~Work() = default;
    virtual void run(int64_t times) = 0;
    // Latency samples in microseconds, for scenarios judged by their median.
    virtual std::vector<double> samples() const { return {}; }
};

template <class Body>
class Loop final : public Work {
public:
    explicit Loop(Body body) : m_Body(std::move(body)) {}
    void run(int64_t times) override {
        for (int64_t i = 0; i < times; ++i) m_Body();
    }

private:
    Body m_Body;
};

// A Work that owns what its body refers to (a step, a collection...).
template <class State, class Body>
class StatefulLoop final : public Work {
public:
    StatefulLoop(std::unique_ptr<State> state, Body body) : m_State(std::move(state)), m_Body(std::move(body)) {}
    void run(int64_t times) override {
        State& state = *m_State;
        for (int64_t i = 0; i < times; ++i) m_Body(state);
    }

private:
    std::unique_ptr<State> m_State;
    Body m_Body;
};

template <class Body>
std::unique_ptr<Work> loop(Body body) {
    return std::make_unique<Loop<Body>>(std::move(body));
}

template <class State, class Body>
std::unique_ptr<Work> loopWith(std::unique_ptr<State> state, Body body) {
    return std::make_unique<StatefulLoop<State, Body>>(std::move(state), std::move(body));
}

struct Scenario {
    std::string name;
    std::string baseline;            // the scenario this one is compared with, or empty
    double targetRatio = 0;          // 0: no target; else time / baseline time must stay at or below it
    double targetMedianUs = 0;       // 0: none; else the median of samples() must stay below it
    int64_t batch = 64;              // repetitions per timed batch
    int64_t itemsPerRun = 1;         // units of work in one repetition (steps saved, ...); ratios compare per item
    int64_t instructionRuns = 2000;  // repetitions under callgrind; 0 leaves the scenario out there
    std::function<std::unique_ptr<Work>()> make;
    // A scenario whose time is taken off this one's before the comparison:
    // the reference counting every interface hit pays, for instance, leaves
    // the table lookup to be judged.
    std::string overhead = "";
};

std::vector<Scenario>& scenarios();

struct Registration {
    explicit Registration(Scenario scenario) { scenarios().push_back(std::move(scenario)); }
};

// A step scenario of a pair: the hand-written function (turnOn false) or
// the step's TurnOn compared with it at most 1.3 times its time. Setup
// holds the step as `step` and is what ByHand works on.
template <class Setup, int32_t (*ByHand)(Setup&)>
Registration stepPair(const std::string& name, bool turnOn) {
    if (!turnOn) {
        return Registration({"steps/" + name + "/hand-written", "", 0, 0, 64, 1, 2000, [] {
                                 return loopWith(std::make_unique<Setup>(), [](Setup& setup) {
                                     volatile int32_t result = ByHand(setup);
                                     (void)result;
                                 });
                             }});
    }
    return Registration({"steps/" + name + "/TurnOn", "steps/" + name + "/hand-written", 1.3, 0, 64, 1, 2000, [] {
                             return loopWith(std::make_unique<Setup>(), [](Setup& setup) {
                                 volatile int32_t result = setup.step->TurnOn();
                                 (void)result;
                             });
                         }});
}

}  // namespace bench
