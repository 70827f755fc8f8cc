// Entry points and the component model: finding a class by name, asking an
// object for an interface, counting references; against a bare virtual call.
#include <benchmark/benchmark.h>

#include "bench/Scenario.h"
#include "module/Flukokzad.h"
#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

namespace bench {
namespace {

class Callee {
public:
    virtual ~Callee() = default;
    virtual int32_t value() = 0;
};

class Answer final : public Callee {
public:
    int32_t value() override { return m_Value; }

private:
    int32_t m_Value = 42;
};

tagREFString nameOf(const wchar_t* text) { return {static_cast<int32_t>(std::wcslen(text)), text}; }

std::unique_ptr<Work> createFunction(const wchar_t* name) {
    return loop([name = nameOf(name)] {
        CREATEFUNCTION creator = nullptr;
        benchmark::DoNotOptimize(CreateFunction(name, &creator));
        benchmark::DoNotOptimize(creator);
    });
}

struct Step {
    SmartPtr<IUnknown> object;
};

std::unique_ptr<Step> makeRefreshStep() {
    auto step = std::make_unique<Step>();
    CREATEFUNCTION creator = nullptr;
    CreateFunction(nameOf(L"GCUIRefresh"), &creator);
    if (creator) creator(nullptr, &IID_IUnknown, step->object.put_void());
    return step;
}

// A hit takes a reference, so each ask is paired with its release, as a
// caller of QueryInterface always does.
std::unique_ptr<Work> queryInterface(const IID& iid) {
    return loopWith(makeRefreshStep(), [iid](Step& step) {
        void* out = nullptr;
        IUnknown* object = step.object.get();
        benchmark::DoNotOptimize(object);
        if (object->QueryInterface(iid, &out) == S_OK) static_cast<IUnknown*>(out)->Release();
        benchmark::DoNotOptimize(out);
    });
}

const Registration kRegistrations[] = {
    Registration({"dispatch/virtual-call", "", 0, 0, 256, 1, 20000,
                  [] {
                      return loopWith(std::make_unique<Answer>(), [](Answer& answer) {
                          Callee* callee = &answer;
                          benchmark::DoNotOptimize(callee);
                          benchmark::DoNotOptimize(callee->value());
                      });
                  }}),
    Registration({"dispatch/CreateFunction/first", "dispatch/virtual-call", 10, 0, 256, 1, 20000,
                  [] { return createFunction(L"GCUIActivate"); }}),
    Registration({"dispatch/CreateFunction/last", "dispatch/virtual-call", 10, 0, 256, 1, 20000,
                  [] { return createFunction(L"GCUIVerb"); }}),
    Registration({"dispatch/CreateFunction/unknown", "dispatch/virtual-call", 10, 0, 256, 1, 20000,
                  [] { return createFunction(L"GCUINoSuchStep"); }}),
    Registration({"dispatch/QueryInterface/first", "dispatch/virtual-call", 10, 0, 256, 1, 20000,
                  [] { return queryInterface(IID_IObjectInfo); }, "dispatch/AddRef+Release"}),
    Registration({"dispatch/QueryInterface/last", "dispatch/virtual-call", 10, 0, 256, 1, 20000,
                  [] { return queryInterface(IID_IReplicableObject); }, "dispatch/AddRef+Release"}),
    Registration({"dispatch/QueryInterface/miss", "dispatch/virtual-call", 10, 0, 256, 1, 20000,
                  [] { return queryInterface(__IIDOfc("INoSuchInterface")); }}),
    Registration({"dispatch/AddRef+Release", "dispatch/virtual-call", 0, 0, 256, 1, 20000,
                  [] {
                      return loopWith(makeRefreshStep(), [](Step& step) {
                          IUnknown* object = step.object.get();
                          benchmark::DoNotOptimize(object);
                          object->AddRef();
                          object->Release();
                      });
                  }}),
};

}  // namespace
}  // namespace bench
