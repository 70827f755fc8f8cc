// The fixture every test uses: a stand-in host installed as the module's
// global component collection, and the ledger of live host objects checked
// when the test ends.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cwchar>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

#include "host/Components.h"
#include "host/HostObject.h"
#include "host/UIUtilities.h"
#include "module/Flukokzad.h"
#include "runtime/ComponentAccess.h"
#include "runtime/SmartPtr.h"

// The object's reference count, as an AddRef and a Release tell it.
inline uint32_t referencesOf(IUnknown* object) {
    object->AddRef();
    return object->Release();
}

// Codes an operation may give whatever the host does: success, success from
// a bound input, and the documented failures.
inline bool documented(HRESULT code) {
    switch (static_cast<uint32_t>(code)) {
        case 0:
        case 1:
        case 0x80004001:
        case 0x80004002:
        case 0x80004003:
        case 0x80004005:
        case 0x80070057:
            return true;
        default:
            return false;
    }
}

inline tagREFString refText(const wchar_t* text) { return {static_cast<int32_t>(std::wcslen(text)), text}; }

// The calls recorded since the last take on the objects with these labels
// (their own and their parts', "Main.Results.Select(...)"), in order; the
// module's calls on the host's factories and components are passed over.
inline std::vector<std::string> takeCallsOn(std::initializer_list<const char*> labels) {
    std::vector<std::string> kept;
    for (const std::string& call : host::Recorder::take()) {
        for (const char* label : labels) {
            const std::string prefix = std::string(label) + ".";
            if (call.compare(0, prefix.size(), prefix) == 0) {
                kept.push_back(call);
                break;
            }
        }
    }
    return kept;
}

class HostTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_LiveAtStart = host::Ledger::live();
        host::Recorder::clear();
        components = host::makeStandardComponents();
        InitializeModule(nullptr, components.get());
    }

    void TearDown() override {
        InitializeModule(nullptr, nullptr);
        if (components) components->clear();
        components = nullptr;
        MODULEReleaseComponents();
        host::Recorder::clear();
        // A step's worker lets go of its own reference just after the step
        // says its run has ended; what the step holds goes with that last
        // release, on the worker's thread. Leaks still fail, a little later.
        for (int i = 0; i < 5000 && host::Ledger::live() != m_LiveAtStart; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(host::Ledger::live(), m_LiveAtStart) << "live host objects: " << host::Ledger::report();
    }

    // A new step of the registered class, as the host makes it.
    template <class I = IUnknown>
    SmartPtr<I> createStep(const wchar_t* name) {
        CREATEFUNCTION creator = nullptr;
        if (CreateFunction(refText(name), &creator) != S_OK || !creator) return nullptr;
        SmartPtr<I> step;
        creator(nullptr, &iidOf<I>(), step.put_void());
        return step;
    }

    // The pop-ups the host's utilities keep a record of (each holds its
    // window's listener, the step) are forgotten.
    void forgetPopups() {
        SmartPtr<IUIUtils> utils;
        components->GetComponent(7, L"UIUtils", &iidOf<IUIUtils>(), utils.put_void());
        if (auto* kept = dynamic_cast<host::UIUtils*>(utils.get())) kept->forget();
    }

    SmartPtr<host::ComponentCollection> components;

private:
    int32_t m_LiveAtStart = 0;
};

// The fourteen registered names, in the registry's order.
inline const wchar_t* const kRegisteredNames[] = {
    L"GCUIActivate", L"GCUIButtonSelect", L"GCUIConfirm",  L"GCUIEdit",      L"GCUIInput",
    L"GCUIMessage",  L"GCUIPointer",      L"GCUIPropRead", L"GCUIPropWrite", L"GCUIRefresh",
    L"GCUIScroll",   L"GCTabGetSelected", L"GCTabSelect",  L"GCUIVerb",
};
