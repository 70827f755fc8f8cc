// The toolkit steps are written with: resolving a bound object to the
// interface a step needs, typed reads and writes of parameters, the scoped
// collection lock, and the bounded wait of the asynchronous steps.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "host/Collections.h"
#include "host/Inputs.h"
#include "host/UserInterface.h"
#include "host/Windows.h"
#include "support/HostTest.h"
#include "support/TestStep.h"

namespace {

using namespace std::chrono_literals;

using host::HostWindow;

SmartPtr<IString> text(const wchar_t* characters) { return ISCreate(characters); }

SmartPtr<host::SuperCollection> programWith(const wchar_t* name, IUnknown* object) {
    SmartPtr<host::SuperCollection> program = host::make<host::SuperCollection>();
    program->Add(text(name).get(), object, nullptr, 0);
    return program;
}

SmartPtr<host::CollectionMoniker> monikerFor(const wchar_t* name, host::SuperCollection* program) {
    SmartPtr<host::CollectionMoniker> moniker = host::make<host::CollectionMoniker>(name);
    moniker->BindToCollection(static_cast<INamedCollection*>(program), 0);
    return moniker;
}

using Toolkit = HostTest;

TEST_F(Toolkit, ABoundObjectIsResolvedDirectlyThroughAMonikerOrThroughAHostWindow) {
    SmartPtr<host::RefreshableObject> view = host::make<host::RefreshableObject>("View");
    IUnknown* viewObject = static_cast<IUnknown*>(view.get());
    SmartPtr<HostWindow> window = host::make<HostWindow>("Window", viewObject);
    IUnknown* windowObject = static_cast<IHostWindow*>(window.get());
    SmartPtr<host::SuperCollection> withView = programWith(L"View", viewObject);
    SmartPtr<host::SuperCollection> withWindow = programWith(L"Window", windowObject);
    SmartPtr<host::CollectionMoniker> toView = monikerFor(L"View", withView.get());
    SmartPtr<host::CollectionMoniker> toWindow = monikerFor(L"Window", withWindow.get());
    SmartPtr<host::CollectionMoniker> toNothing = monikerFor(L"Gone", withView.get());

    struct Case {
        const char* what;
        IUnknown* bound;
        bool found;
    } cases[] = {
        {"the object itself", viewObject, true},
        {"a moniker naming it", static_cast<ICollectionMoniker*>(toView.get()), true},
        {"a host window hosting it", windowObject, true},
        {"a moniker naming only a host window", static_cast<ICollectionMoniker*>(toWindow.get()), true},
        {"a moniker naming nothing", static_cast<ICollectionMoniker*>(toNothing.get()), false},
        {"an object that offers none of them", static_cast<INamedCollection*>(withView.get()), false},
        {"no object", nullptr, false},
    };
    for (const Case& c : cases) {
        SmartPtr<IUIRefreshableObject> resolved;
        const HRESULT result = OBJECTResolveInterface(c.bound, IID_IUIRefreshableObject, resolved.put_void());
        EXPECT_EQ(SUCCEEDED(result), c.found) << c.what;
        EXPECT_EQ(static_cast<bool>(resolved), c.found) << c.what;
        if (resolved) {
            EXPECT_TRUE(isSameObject(resolved.get(), viewObject)) << c.what;
        }
    }
    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(OBJECTResolveInterface(nullptr, IID_IUIRefreshableObject, &out), E_FAIL);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(OBJECTResolveInterface(viewObject, IID_IUIRefreshableObject, nullptr), E_POINTER);

    // Registering for events needs an event source.
    EXPECT_EQ(OBJECTAdvise(viewObject, viewObject, 1), E_NOINTERFACE);
    EXPECT_EQ(OBJECTAdvise(nullptr, viewObject, 1), E_NOINTERFACE);
}

// A step of the tests' own that shows its toolkit.
const ParameterDeclaration kParameters[] = {
    {L"Count", Integer(7), 3},
    {L"Label", Text(L"abc"), 6},
    {L"Result", Integer(0), 0x40003},
};

class CToolkitStep final : public TestStep<CToolkitStep, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"ToolkitStep";
    static constexpr StepTables kTables{{}, kParameters, {}};
    using Interfaces = StepInterfaces<>;
    using Base = TestStep<CToolkitStep, IParameters, IStepImplSynchronous>;
    using Base::lockCollection;
    using Base::readDouble;
    using Base::readInteger;
    using Base::readText;
    using Base::writeDouble;
    using Base::writeInteger;
    using Base::writeObject;
    using Base::writeText;
};
using ToolkitStep = CToolkitStep;

template <class T>
SmartPtr<T> make() {
    SmartPtr<IUnknown> object;
    CObject<T>::_CreateInstance(nullptr, &IID_IUnknown, object.put_void());
    return SmartPtr<T>(static_cast<T*>(static_cast<CObject<T>*>(object.get())));
}

std::wstring textOrNone(IString* string) {
    const wchar_t* characters = nullptr;
    int32_t length = 0;
    if (!string || string->get_Text(&characters, &length) < 0 || !characters) return L"<none>";
    return std::wstring(characters, static_cast<size_t>(length));
}

TEST_F(Toolkit, TypedReadsGiveTheDefaultForWhatCannotBeReadAndWritesReplaceTheValue) {
    SmartPtr<ToolkitStep> step = make<ToolkitStep>();
    ASSERT_TRUE(step);
    EXPECT_EQ(step->readInteger(0), 7);
    EXPECT_EQ(step->readInteger(9, -3), -3) << "outside the collection";
    EXPECT_EQ(step->readInteger(-1, -4), -4);
    EXPECT_DOUBLE_EQ(step->readDouble(0), 7.0);
    EXPECT_DOUBLE_EQ(step->readDouble(9, 2.5), 2.5);
    EXPECT_EQ(textOrNone(step->readText(1).get()), L"abc");
    EXPECT_EQ(textOrNone(step->readText(0).get()), L"7") << "a number's text";
    EXPECT_EQ(textOrNone(step->readText(9, L"none").get()), L"none");

    EXPECT_EQ(step->writeInteger(2, 42), S_OK);
    EXPECT_EQ(step->readInteger(2), 42);
    EXPECT_EQ(step->writeDouble(2, 0.25), S_OK);
    EXPECT_DOUBLE_EQ(step->readDouble(2), 0.25);
    EXPECT_EQ(step->writeText(1, L"written"), S_OK);
    EXPECT_EQ(textOrNone(step->readText(1).get()), L"written");
    EXPECT_EQ(step->writeInteger(3, 1), E_INVALIDARG) << "no parameter there: nothing written";

    // An object is held by a new variant and handed out unwrapped; a variant
    // written as a result is never shared with the writer.
    SmartPtr<host::RefreshableObject> view = host::make<host::RefreshableObject>("View");
    EXPECT_EQ(step->writeObject(2, static_cast<IUnknown*>(view.get())), S_OK);
    SmartPtr<IUnknown> item;
    ASSERT_EQ(step->get_Item(2, item.put()), S_OK);
    EXPECT_TRUE(isSameObject(item.get(), static_cast<IUnknown*>(view.get())));
    SmartPtr<IVariant> variant = IVCreate(5);
    EXPECT_EQ(step->writeObject(2, variant.get()), S_OK);
    SmartPtr<IVariant> stored;
    ASSERT_GE(step->get_ItemVariant(2, stored.put()), 0);
    EXPECT_NE(stored.get(), variant.get());

    int32_t flags = 0;
    step->get_ItemFlags(2, &flags);
    EXPECT_EQ(flags, 0x40003) << "writing a value leaves the declared flags";
}

TEST_F(Toolkit, TheScopedLockHoldsTheCollectionLockUntilItsScopeEnds) {
    SmartPtr<ToolkitStep> step = make<ToolkitStep>();
    ASSERT_TRUE(step);
    {
        auto lock = step->lockCollection();
        EXPECT_EQ(step->IsCollectionLocked(), 1);
    }
    EXPECT_EQ(step->IsCollectionLocked(), 0);
}

// The bounded wait of the asynchronous steps: an answer or a stop ends it at
// once, and nothing else ends it early.
TEST(StepWorkerWait, AnAnswerOrAStopEndsTheWaitAtOnce) {
    StepWorker worker;
    std::atomic<int32_t> answered{0};
    const auto waitFor = [&](const CStopEvent* stop, int32_t milliseconds) {
        return worker.waitUntil(stop, milliseconds, [&] { return answered.load() != 0; });
    };

    const auto before = std::chrono::steady_clock::now();
    EXPECT_FALSE(waitFor(nullptr, 30)) << "no answer: the whole time passes";
    EXPECT_GE(std::chrono::steady_clock::now() - before, 25ms);

    std::atomic<bool> woke{false};
    std::thread waiter([&] { woke = waitFor(nullptr, 20000); });
    std::this_thread::sleep_for(20ms);
    const auto answeredAt = std::chrono::steady_clock::now();
    answered = 1;
    worker.wake();
    waiter.join();
    EXPECT_TRUE(woke);
    EXPECT_LT(std::chrono::steady_clock::now() - answeredAt, 5s) << "the answer ended the wait";

    // An answer that came before the wait began is not lost.
    EXPECT_TRUE(waitFor(nullptr, 20000));

    answered = 0;
    CStopEvent stop;
    stop.set();
    const auto stoppedAt = std::chrono::steady_clock::now();
    EXPECT_FALSE(waitFor(&stop, 20000)) << "a stop ends the wait without an answer";
    EXPECT_LT(std::chrono::steady_clock::now() - stoppedAt, 5s);
}

// A step that waits for an answer that never comes.
class CWaitingStep final : public TestStep<CWaitingStep, IParameters, IStepImplAsynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"WaitingStep";
    using Interfaces = StepInterfaces<>;
    std::atomic<bool> waiting{false};
    HRESULT Execute(CStopEvent* stop) {
        waiting = true;
        m_Worker.waitUntil(stop, 20000, [] { return false; });
        return S_OK;
    }
};

TEST_F(Toolkit, TurnOffEndsAWaitingRunAtOnce) {
    SmartPtr<CWaitingStep> step = make<CWaitingStep>();
    ASSERT_TRUE(step);
    ASSERT_EQ(step->TurnOn(), S_OK);
    for (int i = 0; i < 2000 && !step->waiting; ++i) std::this_thread::sleep_for(1ms);
    const auto stoppedAt = std::chrono::steady_clock::now();
    EXPECT_EQ(step->TurnOff(), S_OK);
    EXPECT_LT(std::chrono::steady_clock::now() - stoppedAt, 5s);
    EXPECT_EQ(step->IsRunning(), 0);
}

}  // namespace
