// A hostile host, switchable per test: lookups and factories that fail or
// answer success with nothing, strings with impossible counts, collections
// that count more items than they give, and window events that come twice or
// late. Off unless a Hostility object is alive; read from any thread.
#pragma once

#include <cstdint>
#include <functional>

#include "runtime/Interfaces.h"

namespace host {

enum class Hostile : uint32_t {
    None = 0,
    FailFactories = 1u << 0,     // component lookups, class factories and CreateInstance fail (E_FAIL)
    NullOut = 1u << 1,           // ... or succeed with a null out-pointer
    NegativeCounts = 1u << 2,    // host strings report a negative count
    HugeCounts = 1u << 3,        // host strings report a huge count with no characters
    ShortCollections = 1u << 4,  // counts say two more items than the collection gives
    TwiceEvents = 1u << 5,       // every window event is raised a second time at once
    LateEvents = 1u << 6,        // ... or again a while later, after the step may be gone
};

constexpr Hostile operator|(Hostile a, Hostile b) {
    return static_cast<Hostile>(static_cast<uint32_t>(a) | static_cast<uint32_t>(b));
}

// Which of the calls a mode touches are struck, counted from the scope's
// start: call number `first`, then every `every` calls (0: only `first`).
struct Strikes {
    int32_t first = 0;
    int32_t every = 1;
};

// Scoped: the modes hold while the object lives, then the previous ones again.
class Hostility {
public:
    explicit Hostility(Hostile modes, Strikes strikes = Strikes{});
    ~Hostility();
    Hostility(const Hostility&) = delete;
    Hostility& operator=(const Hostility&) = delete;

    // How many calls the modes have touched (struck or not) in this scope.
    static int64_t calls();
    // How long a late event waits, in milliseconds.
    static constexpr int kLateMs = 30;

    // The hooks. A lookup or factory: true when it must give nothing, with
    // its code in result and *out (when given) cleared.
    static bool refuses(HRESULT& result, void** out = nullptr);
    // A string's characters and count as handed out.
    static void counted(const wchar_t** text, int32_t* length);
    // A collection's count as reported, and whether an item it counts is not there.
    static int32_t count(int32_t real);
    static bool missing(int32_t index, int32_t real, HRESULT& result);
    // After a window raised an event: raises it again, at once or later.
    static void replay(std::function<void()> raise);
};

}  // namespace host
