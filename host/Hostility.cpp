#include "host/Hostility.h"

#include <atomic>
#include <chrono>
#include <limits>
#include <thread>

#include "host/OperatorWindows.h"

namespace host {

namespace {

std::atomic<uint32_t> gModes{0};
std::atomic<int32_t> gFirst{0};
std::atomic<int32_t> gEvery{1};
std::atomic<int64_t> gCalls{0};

bool on(Hostile mode) { return (gModes.load(std::memory_order_acquire) & static_cast<uint32_t>(mode)) != 0; }

// Counts a call that one of the modes touches; true when it is struck.
bool strikes() {
    const int64_t call = gCalls.fetch_add(1, std::memory_order_relaxed);
    const int32_t first = gFirst.load(std::memory_order_relaxed);
    const int32_t every = gEvery.load(std::memory_order_relaxed);
    if (call < first) return false;
    return every <= 0 ? call == first : (call - first) % every == 0;
}

struct Saved {
    uint32_t modes;
    int32_t first;
    int32_t every;
    int64_t calls;
};
thread_local Saved gSaved[8];
thread_local int gDepth = 0;

}  // namespace

Hostility::Hostility(Hostile modes, Strikes strikes) {
    if (gDepth < 8) gSaved[gDepth] = {gModes.load(), gFirst.load(), gEvery.load(), gCalls.load()};
    ++gDepth;
    gModes.store(0);
    gFirst.store(strikes.first);
    gEvery.store(strikes.every);
    gCalls.store(0);
    gModes.store(static_cast<uint32_t>(modes), std::memory_order_release);
}

Hostility::~Hostility() {
    --gDepth;
    const Saved saved = gDepth < 8 ? gSaved[gDepth] : Saved{0, 0, 1, 0};
    gModes.store(0);
    gFirst.store(saved.first);
    gEvery.store(saved.every);
    gCalls.store(saved.calls);
    gModes.store(saved.modes, std::memory_order_release);
}

int64_t Hostility::calls() { return gCalls.load(); }

bool Hostility::refuses(HRESULT& result, void** out) {
    const bool fail = on(Hostile::FailFactories);
    if (!fail && !on(Hostile::NullOut)) return false;
    if (!strikes()) return false;
    if (out) *out = nullptr;
    result = fail ? E_FAIL : S_OK;
    return true;
}

void Hostility::counted(const wchar_t** text, int32_t* length) {
    const bool negative = on(Hostile::NegativeCounts);
    if (!negative && !on(Hostile::HugeCounts)) return;
    if (!strikes()) return;
    if (negative) {
        *length = *length % 2 ? std::numeric_limits<int32_t>::min() : -1 - *length;
    } else {
        *text = nullptr;
        *length = std::numeric_limits<int32_t>::max();
    }
}

int32_t Hostility::count(int32_t real) {
    return on(Hostile::ShortCollections) && real < std::numeric_limits<int32_t>::max() - 2 ? real + 2 : real;
}

bool Hostility::missing(int32_t index, int32_t real, HRESULT& result) {
    if (!on(Hostile::ShortCollections) || index < real || index >= real + 2) return false;
    result = index == real ? E_FAIL : S_OK;  // one fails, the other gives null with success
    return true;
}

void Hostility::replay(std::function<void()> raise) {
    if (on(Hostile::TwiceEvents)) {
        raise();
    } else if (on(Hostile::LateEvents)) {
        OperatorThreads::run([raise = std::move(raise)] {
            std::this_thread::sleep_for(std::chrono::milliseconds(kLateMs));
            raise();
        });
    }
}

}  // namespace host
