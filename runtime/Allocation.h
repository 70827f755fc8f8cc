// Every allocation the module makes, in one place. Nothing here throws: an
// allocation that finds no memory gives null, which the caller turns into
// E_OUTOFMEMORY and a collection left as it was. The module is built
// without exceptions, so an allocating standard container, a shared
// pointer or a std::function would end the host's process instead; they
// are not used.
//
// A test can make the nth allocation of the module fail (and only the
// module's: the host allocates as it likes), to show that every operation
// survives every failure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

// Raw storage for `bytes`, or null.
void* allocateBytes(size_t bytes) noexcept;
void freeBytes(void* block) noexcept;

// A new T made from the arguments, or null when there is no memory.
template <class T, class... Arguments>
T* newObject(Arguments&&... arguments) noexcept {
    static_assert(alignof(T) <= alignof(std::max_align_t), "the storage is aligned for any scalar");
    void* storage = allocateBytes(sizeof(T));
    return storage ? ::new (storage) T(std::forward<Arguments>(arguments)...) : nullptr;
}

// Ends an object made by newObject, as its own type (not through a base).
template <class T>
void deleteObject(T* object) noexcept {
    if (!object) return;
    object->~T();
    freeBytes(object);
}

// Storage for `count` elements of a trivial type, uninitialised, or null
// (also when the size would overflow).
template <class T>
T* allocateArray(size_t count) noexcept {
    static_assert(std::is_trivial_v<T>, "the array's elements need no construction");
    if (count > SIZE_MAX / sizeof(T)) return nullptr;
    return static_cast<T*>(allocateBytes(count * sizeof(T)));
}

// For the allocation-failure test. From this call on the module's
// allocations are counted, and the nth fails; with `persistent` every one
// after it fails too. nth 0 stops counting and failing.
void planAllocationFailure(uint64_t nth, bool persistent) noexcept;
// The allocations counted since the last plan, failed ones included.
uint64_t allocationsCounted() noexcept;
