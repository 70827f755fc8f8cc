// The step's ordered collection of named parameters: the records, their
// guard and every operation on them, once for all step classes. The class
// templates only lay out each class's table and forward to it.
//
// Two locks, for two purposes:
// - The collection lock (CollectionLock/CollectionUnlock) is the step's own
//   Lock/Unlock: a real, non-recursive mutex in one class and nothing in the
//   others. Hosts use it to make several operations one unit. The collection
//   takes it through its own interface, so it is the step's, whatever class.
// - The record guard is internal: a mutex held only while a record's
//   pointers are read or replaced, never while a host object is called
//   beyond AddRef or a string's get_Text, and never while anything is
//   released. Event handlers of the asynchronous steps write parameters on
//   host threads while the worker reads them, and for most classes the
//   collection lock does nothing: without the guard a reader could take a
//   value that a writer has just released. It is a mutex, not a spin lock:
//   on a single core a waiter that spins keeps the holder from running.
//
// Nothing here allocates but a record and the record array, and an
// operation that brings in several parameters makes all of their records
// before the collection changes: one that finds no memory gives
// E_OUTOFMEMORY and leaves the collection as it was.
#pragma once

#include <atomic>
#include <cstdint>

#include "parameters/ParameterRecord.h"
#include "runtime/Interfaces.h"
#include "runtime/Locks.h"
#include "runtime/SmartPtr.h"

// A record as the collection owns it (defined with the collection).
struct OwnedParameter;

// Parameters made ready before they join a collection, each with its
// record, in order.
class ParameterBatch {
public:
    ParameterBatch() = default;
    ~ParameterBatch();
    ParameterBatch(const ParameterBatch&) = delete;
    ParameterBatch& operator=(const ParameterBatch&) = delete;

    // The value becomes a variant as AddNOLOCK makes it. E_OUTOFMEMORY when
    // there is no memory for the record, E_FAIL when the host makes no
    // variant; the batch is unchanged then.
    HRESULT add(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags);
    int32_t count() const { return m_Count; }

private:
    friend class ParameterCollection;
    OwnedParameter* take();

    OwnedParameter* m_First = nullptr;
    OwnedParameter* m_Last = nullptr;
    int32_t m_Count = 0;
};

// One parameter as a reader takes it, in one call of the collection, so that
// name, value (a bound input's current one), descriptor and flags belong
// together even while a run writes its results. Each field holds a reference.
struct StoredParameter {
    SmartPtr<IString> name;
    SmartPtr<IVariant> value;
    SmartPtr<IUnknown> descriptor;
    int32_t flags = 0;
};

class ParameterCollection {
public:
    // `face` is the step's collection interface (no reference is held): its
    // CollectionLock and CollectionUnlock are what the locking operations
    // take, and its object is the step that a saved value must not contain.
    // `ownLock`: whether the step's Lock and Unlock do anything; when they
    // do not, the locking operations only record the flag, as CollectionLock
    // would, without a call through the table.
    ParameterCollection(IParameters* face, bool ownLock) : m_Face(face), m_OwnLock(ownLock) {}
    ~ParameterCollection();
    ParameterCollection(const ParameterCollection&) = delete;
    ParameterCollection& operator=(const ParameterCollection&) = delete;

    IParameters* face() const { return m_Face; }
    // --- The operations of IParameters ---------------------------------------
    HRESULT get_Count(int32_t* count);
    HRESULT get_Item(int32_t index, IUnknown** out);
    HRESULT get_Index(IUnknown* key, int32_t* index);
    HRESULT get_ItemName(int32_t index, IString** out);
    HRESULT Rename(int32_t index, IString* name);
    // What CollectionLock and CollectionUnlock record after the step's own
    // Lock and Unlock: a flag, not a count.
    void setLocked(bool locked) { m_Locked.store(locked ? 1 : 0, std::memory_order_relaxed); }
    HRESULT IsCollectionLocked() const { return m_Locked.load(std::memory_order_relaxed) != 0 ? 1 : 0; }
    HRESULT Iterate(int32_t index, IString** name, IVariant** value, IUnknown** descriptor, int32_t* flags);
    // 1 when the value came from a bound input.
    HRESULT get_ItemVariant(int32_t index, IVariant** out);
    HRESULT put_Item(int32_t index, IUnknown* value);
    HRESULT get_ItemDescriptor(int32_t index, IUnknown** out);
    HRESULT put_ItemDescriptor(int32_t index, IUnknown* descriptor);
    HRESULT get_ItemFlags(int32_t index, int32_t* flags);
    HRESULT put_ItemFlags(int32_t index, int32_t flags);

    // --- IParametersCreatable; plain operations of the other variant ---------
    // Appends, also when the name exists already.
    HRESULT Add(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags);
    HRESULT Remove(int32_t index);
    // The array and its capacity stay.
    HRESULT RemoveAll();
    // Takes over the parameters of source: a parameter of the same name is
    // updated (value copied, descriptor and flags replaced), a new name is
    // appended, and the target's other parameters remain. The creatable
    // variant passes over a source parameter without a name, as its Set
    // would refuse it. All of them or, without memory, none.
    HRESULT Copy(IParameters* source, bool creatable);
    // Orders by name; SORT_DESCENDING reverses the order.
    HRESULT Sort(int32_t mode);
    // Updates the parameter that key designates, or adds one under key's
    // name. SET_CLEARS_DESCRIPTOR clears the descriptor when none is given;
    // SET_REPLACES_FLAGS stores the flags even when they are 0.
    HRESULT Set(IUnknown* key, IUnknown* value, IUnknown* descriptor, int32_t flags, int16_t mode);

    // --- For callers that hold the collection lock ---------------------------
    // The value becomes a variant: the caller's own when it is one (shared),
    // else a new one holding it (a null value: an empty string).
    HRESULT AddNOLOCK(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags);
    // Objects and strings come unwrapped, numbers as their variant.
    HRESULT get_ItemNOLOCK(int32_t index, IUnknown** out);
    HRESULT put_ItemNOLOCK(int32_t index, IUnknown* value);
    HRESULT get_ItemNameNOLOCK(int32_t index, IString** out);
    // A number is the index itself (not range checked); a string, or a
    // variant holding one, is a name; any other object is looked for among
    // the values' objects, then the descriptors.
    HRESULT get_IndexNOLOCK(IUnknown* key, int32_t* index);
    // The value readers see: a bound input's value (1) or the stored one (0).
    HRESULT getParameter(PARAMETEROBJECT* item, IUnknown** out);

    // The batch's parameters in place of all the collection had, or (without
    // memory for the array) nothing changed; the batch is empty afterwards.
    HRESULT replaceAll(ParameterBatch& batch);

    // One line of comma-separated values (with mode 0x10000, name=value),
    // results left out in compact mode; no quoting and no line end.
    HRESULT Params_SaveCSV(IDataStream* stream, int32_t mode);

    // --- For the persistence forms and the steps -----------------------------
    int32_t count() const { return m_Count.load(std::memory_order_acquire); }
    StoredParameter stored(int32_t index, bool withValue = true);
    // The name, or "Item%d" with the index plus one for a parameter without one.
    static SmartPtr<IString> entryName(IString* name, int32_t index);

    // Typed reads: the default when the parameter cannot be read.
    int32_t readInteger(int32_t index, int32_t defaultValue);
    double readDouble(int32_t index, double defaultValue);
    // The value's text; the default's when there is no value. Null only when
    // the host can make no string.
    SmartPtr<IString> readText(int32_t index, const wchar_t* defaultText);
    // Typed writes of a result: a new value through put_Item.
    HRESULT writeInteger(int32_t index, int32_t value);
    HRESULT writeDouble(int32_t index, double value);
    HRESULT writeText(int32_t index, IString* text);
    HRESULT writeText(int32_t index, const wchar_t* text);
    HRESULT writeObject(int32_t index, IUnknown* object);

private:
    struct Snapshot;

    // The collection lock held for a scope, released on every path out.
    class Held {
    public:
        explicit Held(ParameterCollection& collection) : m_Collection(collection) { m_Collection.lock(); }
        ~Held() { m_Collection.unlock(); }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;

    private:
        ParameterCollection& m_Collection;
    };

    void lock() {
        if (m_OwnLock) {
            m_Face->CollectionLock();
        } else {
            setLocked(true);
        }
    }
    void unlock() {
        if (m_OwnLock) {
            m_Face->CollectionUnlock();
        } else {
            setLocked(false);
        }
    }
    // A first check, before the collection lock; readers check again under
    // the guard, as a parameter may have been removed in between.
    bool inRange(int32_t index) const { return index >= 0 && index < m_Count.load(std::memory_order_acquire); }
    bool snapshot(int32_t index, Snapshot& out);
    HRESULT replaceValue(int32_t index, IUnknown* value);
    static HRESULT valueOf(const Snapshot& record, IUnknown** out);
    static HRESULT variantOf(const Snapshot& record, SmartPtr<IVariant>& out);
    HRESULT findName(IString* key, int32_t* index);
    HRESULT findObject(IUnknown* key, int32_t* index);
    // The first parameter named text (A to Z folded), or -1; under the guard.
    int32_t indexOfNameLocked(const wchar_t* text, int32_t length) const;
    int32_t indexOfNameLocked(IString* name) const;
    void replaceDescriptorAndFlags(int32_t index, IUnknown* descriptor, bool replaceDescriptor, int32_t flags,
                                   bool replaceFlags);
    // Every record out of the array, chained for release after the guard.
    OwnedParameter* detachAllLocked();
    // Room for `wanted` records, grown by tens; the old array is handed back
    // to be freed after the guard. False, nothing changed, without memory.
    bool reserveLocked(int32_t wanted, PARAMETEROBJECT**& oldItems);

    IParameters* m_Face;
    bool m_OwnLock;
    PARAMETEROBJECT** m_Items = nullptr;
    // Changed only under the guard; read without it for the range checks
    // that come before the collection lock.
    std::atomic<int32_t> m_Count{0};
    int32_t m_Capacity = 0;
    // Read by other threads without the collection lock, so atomic.
    std::atomic<int32_t> m_Locked{0};
    mutable Mutex m_Guard;
};

// Holds the collection lock for a scope: every path out unlocks.
class CollectionLockHolder {
public:
    explicit CollectionLockHolder(IParameters* parameters) : m_Parameters(parameters) {
        m_Parameters->CollectionLock();
    }
    ~CollectionLockHolder() { m_Parameters->CollectionUnlock(); }
    CollectionLockHolder(const CollectionLockHolder&) = delete;
    CollectionLockHolder& operator=(const CollectionLockHolder&) = delete;

private:
    IParameters* m_Parameters;
};
