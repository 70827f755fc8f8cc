// The stand-in host every benchmark runs against, with its call recorder off
// so that it costs what a real host's objects cost: a virtual call.
#pragma once

#include <cwchar>

#include "host/Components.h"
#include "host/HostObject.h"
#include "module/Flukokzad.h"
#include "runtime/ComponentAccess.h"
#include "runtime/SmartPtr.h"

namespace bench {

class BenchHost {
public:
    BenchHost() {
        host::Recorder::setEnabled(false);
        m_Components = host::makeStandardComponents();
        InitializeModule(nullptr, m_Components.get());
    }
    ~BenchHost() {
        InitializeModule(nullptr, nullptr);
        m_Components->clear();
        m_Components = nullptr;
        MODULEReleaseComponents();
    }
    BenchHost(const BenchHost&) = delete;
    BenchHost& operator=(const BenchHost&) = delete;

    host::ComponentCollection* components() { return m_Components.get(); }

private:
    SmartPtr<host::ComponentCollection> m_Components;
};

// A new step of the registered class, through the module's CreateFunction
// as a host makes it; null when no such class is registered.
inline SmartPtr<IStep> createRegisteredStep(const wchar_t* name) {
    CREATEFUNCTION creator = nullptr;
    SmartPtr<IStep> step;
    CreateFunction({static_cast<int32_t>(std::wcslen(name)), name}, &creator);
    if (creator) creator(nullptr, &IID_IStep, step.put_void());
    return step;
}

}  // namespace bench
