#include "runtime/Allocation.h"

#include <atomic>
#include <cstdlib>

namespace {

// 0 while no failure is planned: then nothing is counted, and an allocation
// costs one relaxed load more than malloc.
std::atomic<uint64_t> gFailingAllocation{0};
std::atomic<bool> gFailingFromThenOn{false};
std::atomic<uint64_t> gAllocationsCounted{0};

bool plannedToFail() {
    const uint64_t failing = gFailingAllocation.load(std::memory_order_acquire);
    if (failing == 0) return false;
    const uint64_t number = gAllocationsCounted.fetch_add(1, std::memory_order_relaxed) + 1;
    return number == failing || (number > failing && gFailingFromThenOn.load(std::memory_order_relaxed));
}

}  // namespace

void* allocateBytes(size_t bytes) noexcept {
    if (plannedToFail()) return nullptr;
    return std::malloc(bytes == 0 ? 1 : bytes);
}

void freeBytes(void* block) noexcept { std::free(block); }

void planAllocationFailure(uint64_t nth, bool persistent) noexcept {
    gFailingAllocation.store(0, std::memory_order_release);
    gAllocationsCounted.store(0, std::memory_order_relaxed);
    gFailingFromThenOn.store(persistent, std::memory_order_relaxed);
    gFailingAllocation.store(nth, std::memory_order_release);
}

uint64_t allocationsCounted() noexcept { return gAllocationsCounted.load(std::memory_order_relaxed); }
