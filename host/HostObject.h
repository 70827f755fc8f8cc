// The stand-in host's object base, its ledger of live objects and its
// recorder of the calls the module makes.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

namespace host {

// Counts the stand-in's live objects, by type, so that tests can prove that
// every reference the module takes is released.
class Ledger {
public:
    // One count per type, made once and kept for the life of the process;
    // an object counts itself in and out without a lock.
    struct Count {
        const char* type;
        std::atomic<int32_t> live{0};
        Count* next = nullptr;
    };
    static Count& countOf(const char* type);
    static void add(Count& count);
    static void remove(Count& count);
    static int32_t live();
    // "Variant: 2, String: 1" for the types with live objects.
    static std::string report();
};

// The calls that the module makes on stand-in objects, in order, one line
// each ("View.Refresh(9)"). Thread-safe; tests take and compare them.
class Recorder {
public:
    static void record(const std::string& call);
    static std::vector<std::string> take();
    // Each call with its cause: the program step it belongs to (below).
    struct Entry {
        int cause;
        std::string call;
        std::chrono::steady_clock::time_point at;
    };
    static std::vector<Entry> takeEntries();
    static std::vector<std::string> calls();
    static void clear();
    static void setEnabled(bool enabled);
    static bool enabled();

    // The program step that what happens now belongs to: a host program sets
    // it for each step it runs (the step's own threads see it too); an
    // operator thread keeps the cause of the window that asked it, so that a
    // late answer is its own step's, whenever it comes. 0: none.
    static void setCause(int step);
    static void setThreadCause(int step);  // this thread only; 0 lets the program's show through
    static int cause();
};

// Text helpers for the stand-in's own use.
std::wstring textOf(IString* string);
std::wstring textOf(const tagREFString& text);
std::string narrow(const std::wstring& text);
std::wstring widen(const std::string& text);
// "0xE0": flags and modes as the trace writes them.
std::string hex(int32_t value);

template <class... Interfaces>
struct Answers {};

// Reference counting, identity and QueryInterface over Derived::Answered (the
// interfaces the object answers, bases of chains included).
template <class Derived, class Primary, class... Others>
class Object : public Primary, public Others... {
public:
    HRESULT QueryInterface(const IID& iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid == IID_IUnknown) {
            AddRef();
            *out = static_cast<IUnknown*>(static_cast<Primary*>(this));
            return S_OK;
        }
        return find(iid, out, typename Derived::Answered{});
    }
    uint32_t AddRef() override { return static_cast<uint32_t>(++m_References); }
    uint32_t Release() override {
        const int32_t count = --m_References;
        if (count == 0) delete static_cast<Derived*>(this);
        return static_cast<uint32_t>(count < 0 ? 0 : count);
    }

    // The name under which the recorder reports this object's calls.
    const std::string& label() const { return m_Label; }
    void setLabel(std::string label) { m_Label = std::move(label); }

protected:
    Object() { Ledger::add(ledgerCount()); }
    ~Object() { Ledger::remove(ledgerCount()); }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    void record(const std::string& call) const {
        if (Recorder::enabled())
            Recorder::record((m_Label.empty() ? std::string(Derived::kLedgerName) : m_Label) + "." + call);
    }
    // "Call argument", the text made only when calls are being recorded: the
    // streams record every entry they touch.
    void record(const char* call, IString* argument) const {
        if (Recorder::enabled()) record(std::string(call) + " " + narrow(textOf(argument)));
    }
    void record(const char* call, const std::wstring& argument) const {
        if (Recorder::enabled()) record(std::string(call) + " " + narrow(argument));
    }

private:
    static Ledger::Count& ledgerCount() {
        static Ledger::Count& count = Ledger::countOf(Derived::kLedgerName);
        return count;
    }

    template <class... I>
    HRESULT find(const IID& iid, void** out, Answers<I...>) {
        bool found = ((iid == iidOf<I>() ? (*out = static_cast<I*>(static_cast<Derived*>(this)), true) : false) || ...);
        if (!found) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    std::atomic<int32_t> m_References{1};
    std::string m_Label;
};

// A new object of a stand-in class, owned by the returned pointer.
template <class T, class... Arguments>
SmartPtr<T> make(Arguments&&... arguments) {
    return SmartPtr<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace host
