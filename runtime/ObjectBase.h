// What every step object shares: the reference count and construction hooks
// (CObject<T>), the registered name (IObjectInfoImpl<T>), the interface table
// that QueryInterface walks, and the collection lock (CResourceLock).
//
// As in ATL, each class only lays out its own table of interfaces (an
// identifier and the offset of the sub-object that answers it); one ordinary
// function walks every class's table.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>

#include "runtime/Allocation.h"
#include "runtime/Interfaces.h"

// A class's interface table: the interfaces QueryInterface answers besides
// IUnknown, written once next to the class's bases.
template <class... Interfaces>
struct InterfaceList {};

// An entry answered by another object that the class names with its
// queryDelegate() (the step's input list answers IInputParameters).
template <class I>
struct Delegated {};

// One entry of a class's table: an identifier and the offset of the
// sub-object answering it from the object's start (its IUnknown), or
// kDelegatedEntry. A null identifier ends the table.
struct InterfaceEntry {
    const IID* iid;
    intptr_t offset;
};
constexpr intptr_t kDelegatedEntry = INTPTR_MIN;

// A table's index, made at compile time: for each of 64 hash values of an
// identifier, the entry with that hash (its position plus one), kNoEntry
// when none has it, kSeveralEntries when more than one has it. A miss and
// most hits are settled without walking the table.
constexpr uint8_t kNoEntry = 0;
constexpr uint8_t kSeveralEntries = 0xFF;
struct InterfaceIndex {
    uint8_t slots[64];
};
constexpr unsigned interfaceHash(const IID& iid) {
    uint32_t mixed = iid.words[0] ^ iid.words[3];
    mixed ^= mixed >> 16;
    mixed ^= mixed >> 8;
    return mixed & 63u;
}

// A class's table with its index.
struct InterfaceMap {
    const InterfaceEntry* entries;
    size_t count;
    InterfaceIndex index;
};

// The walk every class shares: the index, then the table's entries where
// the index names several. `delegate` answers the delegated entries (null:
// they are unknown).
HRESULT OBJECTQueryInterface(IUnknown* object, const InterfaceMap& map, const IID& iid, void** out, IUnknown* delegate);

// A Release that took an object's count below zero: someone released a
// reference they did not hold. Checking builds (Debug and the sanitizers)
// end the process here with the class's name; others never call it.
[[noreturn]] void OBJECTReleasedTooOften(const wchar_t* className);

// The base of every step object, with the operations that do not depend on
// the class: the construction hooks, the lock and the count.
class CObjectRoot : public IUnknown {
public:
    virtual HRESULT FinalConstruct() { return S_OK; }
    virtual void FinalRelease() {}
    virtual void Lock() {}
    virtual void Unlock() {}

protected:
    CObjectRoot() = default;
    ~CObjectRoot() = default;
    CObjectRoot(const CObjectRoot&) = delete;
    CObjectRoot& operator=(const CObjectRoot&) = delete;

    uint32_t addReference() { return static_cast<uint32_t>(m_RefCount.fetch_add(1) + 1); }
    // The count that this caller's decrement produced: exactly one caller
    // sees 0.
    int32_t dropReference() { return m_RefCount.fetch_sub(1) - 1; }

    // Runs FinalConstruct on a new object and hands out the interface asked
    // for; on failure the object is ended with `destroy`.
    static HRESULT finishCreation(CObjectRoot* object, const IID& iid, void** out, void (*destroy)(CObjectRoot*));

private:
    std::atomic<int32_t> m_RefCount{1};
};

template <class T>
class CObject : public CObjectRoot {
public:
    HRESULT QueryInterface(const IID&, void** out) override {
        if (out) *out = nullptr;
        return E_NOINTERFACE;
    }

    // The class's creator, handed to the host by CreateFunction.
    static HRESULT _CreateInstance(void* /*reserved*/, const IID* iid, void** out) {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!iid) return E_POINTER;
        T* object = newObject<T>();
        if (!object) return E_OUTOFMEMORY;
        return finishCreation(object, *iid, out, &destroy);
    }

protected:
    CObject() = default;
    ~CObject() = default;

    uint32_t addRef() { return addReference(); }
    uint32_t release() {
        const int32_t count = dropReference();
        if (count == 0) destroy(this);
#ifdef FLUKO_CHECK_REFERENCES
        if (count < 0) OBJECTReleasedTooOften(T::kRegisteredName);
#endif
        return static_cast<uint32_t>(count);
    }

private:
    // The teardown shared by the last Release and a failed creation, once
    // per class and called, not copied into every Release.
    __attribute__((noinline)) static void destroy(CObjectRoot* root) {
        T* object = static_cast<T*>(root);
        object->FinalRelease();
        deleteObject(object);
    }
};

template <class T>
class IObjectInfoImpl : public IObjectInfo {
public:
    // The registered name, also what GetName reports.
    static const tagREFString m_ObjectName;

    HRESULT GetName(int32_t /*reserved*/, tagREFString* name) override {
        if (!name) return E_POINTER;
        *name = m_ObjectName;
        return S_OK;
    }
};

template <class T>
const tagREFString IObjectInfoImpl<T>::m_ObjectName = {static_cast<int32_t>(std::size(T::kRegisteredName) - 1),
                                                       T::kRegisteredName};

// A POSIX error-checking mutex: a second Lock by its holder returns at once
// without counting, and the first Unlock releases it.
class CResourceLock {
public:
    CResourceLock();
    virtual ~CResourceLock() { Delete(); }
    CResourceLock(const CResourceLock&) = delete;
    CResourceLock& operator=(const CResourceLock&) = delete;

    virtual void Lock();
    virtual void Unlock();
    virtual void Delete();

private:
    pthread_mutex_t m_Mutex;
    bool m_Created = false;
};

namespace object_detail {

template <class I, class... Rest>
constexpr bool isListedOnce() {
    return (0 + ... + int(std::is_same_v<I, Rest>)) == 1;
}

template <class I>
struct EntryOf {
    using Interface = I;
    static constexpr bool kDelegated = false;
};
template <class I>
struct EntryOf<Delegated<I>> {
    using Interface = I;
    static constexpr bool kDelegated = true;
};

template <size_t N>
constexpr InterfaceIndex indexOf(const IID* const (&identifiers)[N]) {
    static_assert(N < kSeveralEntries, "a table indexes fewer than 255 entries");
    InterfaceIndex index{};
    for (size_t i = 0; i < N; ++i) {
        uint8_t& slot = index.slots[interfaceHash(*identifiers[i])];
        slot = slot == kNoEntry ? static_cast<uint8_t>(i + 1) : kSeveralEntries;
    }
    return index;
}

// The offset of T's base I from T's start, as ATL computes it: on an
// address that stands for a T, never dereferenced.
template <class T, class I>
intptr_t offsetOfBase() {
    constexpr uintptr_t kStandIn = 64;
    return static_cast<intptr_t>(reinterpret_cast<uintptr_t>(static_cast<I*>(reinterpret_cast<T*>(kStandIn))) -
                                 kStandIn);
}

template <class T, class Entry>
InterfaceEntry entryFor() {
    using I = typename EntryOf<Entry>::Interface;
    if constexpr (EntryOf<Entry>::kDelegated) {
        return {&iidOf<I>(), kDelegatedEntry};
    } else {
        return {&iidOf<I>(), offsetOfBase<T, I>()};
    }
}

template <class T, class List>
struct InterfaceTable;

template <class T, class... Entries>
struct InterfaceTable<T, InterfaceList<Entries...>> {
    static_assert((isListedOnce<Entries, Entries...>() && ...), "an interface is listed twice");
    static constexpr bool kHasDelegated = (EntryOf<Entries>::kDelegated || ...);
    static constexpr const IID* kIdentifiers[] = {&iidOf<typename EntryOf<Entries>::Interface>()...};
    static const InterfaceEntry entries[sizeof...(Entries) + 1];
    static constexpr InterfaceMap kMap = {entries, sizeof...(Entries), indexOf(kIdentifiers)};
};

template <class T, class... Entries>
const InterfaceEntry InterfaceTable<T, InterfaceList<Entries...>>::entries[sizeof...(Entries) + 1] = {
    entryFor<T, Entries>()..., {nullptr, 0}};

}  // namespace object_detail

// The IUnknown that every interface of a step object forwards to: one count,
// one identity (the CObject<T> sub-object), one table walk.
template <class T>
class IUnknownImpl {
    using Table = object_detail::InterfaceTable<T, typename T::Interfaces>;

public:
    static HRESULT queryInterface(T* object, const IID& iid, void** out) {
        IUnknown* delegate = nullptr;
        if constexpr (Table::kHasDelegated) delegate = object->queryDelegate();
        return OBJECTQueryInterface(primary(object), Table::kMap, iid, out, delegate);
    }
    static IUnknown* primary(T* object) { return static_cast<IUnknown*>(static_cast<CObject<T>*>(object)); }
};
