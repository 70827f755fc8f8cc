// Step objects: interface tables, identity, reference counts, names, creation
// and teardown.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "host/Inputs.h"
#include "support/HostTest.h"
#include "support/TestStep.h"

using StepObject = HostTest;

namespace {

struct Face {
    const char* name;
    IID iid;
};

#define FACE(Name) \
    Face { #Name, IID_##Name }
const Face kStepFaces[] = {FACE(IUnknown),
                           FACE(IObjectInfo),
                           FACE(IUIPropertyPageSpecify),
                           FACE(IStep),
                           FACE(IInputParameters),
                           FACE(IDataPersist),
                           FACE(IParameters),
                           FACE(IBindableObject),
                           FACE(IReplicableObject),
                           FACE(IParametersCreatable),
                           FACE(IParametricObject),
                           FACE(IUIVerbCollectionSpecify),
                           FACE(_IConfirmationEvent),
                           FACE(_IUIKeyboardEvents),
                           FACE(_IUIFileArchiveEvents),
                           FACE(_IUIPropFrameEvents)};
const Face kNeverAnswered[] = {FACE(INamedCollection), FACE(ISimpleCollection), FACE(IVariant), FACE(IString),
                               FACE(IInputParameter)};
#undef FACE

SmartPtr<IUnknown> identityOf(IUnknown* face) {
    SmartPtr<IUnknown> identity;
    face->QueryInterface(IID_IUnknown, identity.put_void());
    return identity;
}

}  // namespace

// Which interfaces each class answers is docs/steps.md's ("Answers ...");
// here, that what it answers is one object and what it refuses is refused
// cleanly.
TEST_F(StepObject, EachClassAnswersItsInterfacesAsOneObject) {
    for (const wchar_t* registered : kRegisteredNames) {
        SCOPED_TRACE(host::narrow(registered));
        SmartPtr<IUnknown> step = createStep(registered);
        ASSERT_TRUE(step);

        std::vector<Face> answered;
        for (const Face& face : kStepFaces) {
            void* out = reinterpret_cast<void*>(0x1);
            const HRESULT result = step->QueryInterface(face.iid, &out);
            if (result == S_OK) {
                answered.push_back(face);
            } else {
                EXPECT_EQ(result, E_NOINTERFACE) << face.name;
                EXPECT_EQ(out, nullptr) << face.name;
            }
            if (out) static_cast<IUnknown*>(out)->Release();
        }
        EXPECT_GE(answered.size(), 8u) << "IUnknown and the seven every step answers";
        for (const Face& face : kNeverAnswered) {
            void* out = reinterpret_cast<void*>(0x1);
            EXPECT_EQ(step->QueryInterface(face.iid, &out), E_NOINTERFACE) << face.name;
            EXPECT_EQ(out, nullptr);
        }

        // Identity through every interface, and one count shared by all.
        SmartPtr<IUnknown> identity = identityOf(step.get());
        EXPECT_EQ(identity.get(), step.get()) << "the creator returned the primary interface";
        const uint32_t count = referencesOf(step.get());
        for (const Face& face : answered) {
            SmartPtr<IUnknown> asked;
            ASSERT_EQ(step->QueryInterface(face.iid, asked.put_void()), S_OK) << face.name;
            ASSERT_TRUE(asked) << face.name;
            if (std::string(face.name) == "IInputParameters") {
                // Passed to the host's input list, whose identity and count are its own.
                EXPECT_NE(identityOf(asked.get()).get(), identity.get());
                EXPECT_EQ(referencesOf(step.get()), count);
                continue;
            }
            EXPECT_EQ(referencesOf(step.get()), count + 1) << face.name << " adds one reference";
            EXPECT_EQ(identityOf(asked.get()).get(), identity.get()) << face.name;
            EXPECT_TRUE(isSameObject(asked.get(), step.get())) << face.name;
            // Every face reaches every other one.
            SmartPtr<IObjectInfo> info;
            EXPECT_EQ(asked->QueryInterface(IID_IObjectInfo, info.put_void()), S_OK) << face.name;
        }
        EXPECT_EQ(referencesOf(step.get()), count);
    }
}

TEST_F(StepObject, CreatableCollectionIsTheSamePointerAsTheParameters) {
    for (const wchar_t* registered : {L"GCUIPropRead", L"GCUIPropWrite"}) {
        SmartPtr<IUnknown> step = createStep(registered);
        SmartPtr<IParameters> parameters = step.query<IParameters>();
        SmartPtr<IParametersCreatable> creatable = step.query<IParametersCreatable>();
        ASSERT_TRUE(parameters && creatable);
        EXPECT_EQ(static_cast<void*>(parameters.get()), static_cast<void*>(creatable.get()));
    }
}

TEST_F(StepObject, InputParametersArePassedToTheHostsInputList) {
    SmartPtr<IUnknown> step = createStep(L"GCUIRefresh");
    SmartPtr<IInputParameters> inputs = step.query<IInputParameters>();
    ASSERT_TRUE(inputs);
    int32_t count = -1;
    EXPECT_EQ(inputs->get_Count(&count), S_OK) << "a host input list answers";
    SmartPtr<IObjectInfo> notAStep = inputs.query<IObjectInfo>();
    EXPECT_FALSE(notAStep);

    // Without an input list the request is an unknown one.
    components->remove(L"InputParameters");
    SmartPtr<IUnknown> bare = createStep(L"GCUIRefresh");
    ASSERT_TRUE(bare) << "a step is made even without an input list";
    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(bare->QueryInterface(IID_IInputParameters, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST_F(StepObject, NamesAreTheRegisteredNames) {
    for (const wchar_t* registered : kRegisteredNames) {
        SmartPtr<IObjectInfo> info = createStep<IObjectInfo>(registered);
        ASSERT_TRUE(info);
        tagREFString name = {-1, nullptr};
        EXPECT_EQ(info->GetName(12345, &name), S_OK);
        ASSERT_EQ(name.count, static_cast<int32_t>(std::wcslen(registered)));
        EXPECT_EQ(std::wstring(name.text, static_cast<size_t>(name.count)), registered);
        EXPECT_EQ(info->GetName(0, nullptr), E_POINTER);
    }
    SmartPtr<IObjectInfo> refresh = createStep<IObjectInfo>(L"GCUIRefresh");
    tagREFString name = {0, nullptr};
    refresh->GetName(0, &name);
    EXPECT_EQ(name.count, 11);
}

TEST_F(StepObject, QueryInterfaceRefusesBadArguments) {
    SmartPtr<IStep> step = createStep<IStep>(L"GCUIScroll");
    ASSERT_TRUE(step);
    const uint32_t count = referencesOf(step.get());
    EXPECT_EQ(step->QueryInterface(IID_IStep, nullptr), E_POINTER);
    EXPECT_EQ(step->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(step->QueryInterface(__IIDOfc("INoSuchInterface"), &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(step->QueryInterface(IID_NULL, &out), E_NOINTERFACE);
    EXPECT_EQ(referencesOf(step.get()), count) << "refusals take no reference";
}

TEST_F(StepObject, CreatorRefusesWhatTheClassDoesNotOffer) {
    CREATEFUNCTION creator = nullptr;
    ASSERT_EQ(CreateFunction(refText(L"GCUIMessage"), &creator), S_OK);
    createStep(L"GCUIMessage");  // warms the cached factories
    const int32_t liveBefore = host::Ledger::live();

    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(creator(nullptr, &IID_IReplicableObject, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(host::Ledger::live(), liveBefore) << "the object and its input list are gone";

    out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(creator(nullptr, nullptr, &out), E_POINTER);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(creator(nullptr, &IID_IStep, nullptr), E_POINTER);
    EXPECT_EQ(host::Ledger::live(), liveBefore);

    SmartPtr<IStep> step;
    EXPECT_EQ(creator(reinterpret_cast<void*>(0x99), &IID_IStep, step.put_void()), S_OK);
    EXPECT_EQ(referencesOf(step.get()), 1u);
}

TEST_F(StepObject, ReferencesCountCorrectlyFromManyThreads) {
    SmartPtr<IUnknown> step = createStep(L"GCUIActivate");
    SmartPtr<IStep> face = step.query<IStep>();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&face] {
            for (int i = 0; i < 20000; ++i) {
                SmartPtr<IStep> copy = face;  // AddRef
                SmartPtr<IDataPersist> other = copy.query<IDataPersist>();
            }  // Releases
        });
    }
    for (std::thread& thread : threads) thread.join();
    face = nullptr;
    EXPECT_EQ(referencesOf(step.get()), 1u);
}

// A step class of the tests' own, to see the construction hooks at work.
namespace {

std::atomic<int> gFinalReleases{0};
std::atomic<HRESULT> gFinalConstructResult{S_OK};

class CTestHookStep final : public TestStep<CTestHookStep, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"TestHookStep";
    using Interfaces = StepInterfaces<>;
    HRESULT FinalConstruct() override { return gFinalConstructResult.load(); }
    void FinalRelease() override { ++gFinalReleases; }
};

}  // namespace

TEST_F(StepObject, FinalReleaseRunsOnceWhenTheObjectEnds) {
    gFinalReleases = 0;
    gFinalConstructResult = S_OK;
    SmartPtr<IUnknown> step;
    ASSERT_EQ(CObject<CTestHookStep>::_CreateInstance(nullptr, &IID_IUnknown, step.put_void()), S_OK);
    EXPECT_EQ(step->AddRef(), 2u);
    EXPECT_EQ(step->Release(), 1u);
    EXPECT_EQ(gFinalReleases, 0);
    EXPECT_EQ(step.detach()->Release(), 0u);
    EXPECT_EQ(gFinalReleases, 1);

    // Refused interface: torn down, FinalRelease ran.
    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(CObject<CTestHookStep>::_CreateInstance(nullptr, &IID_IParametersCreatable, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(gFinalReleases, 2);

    // A failing FinalConstruct: its code comes back and the object is gone.
    gFinalConstructResult = static_cast<HRESULT>(0x80070005u);
    out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(CObject<CTestHookStep>::_CreateInstance(nullptr, &IID_IUnknown, &out), static_cast<HRESULT>(0x80070005u));
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(gFinalReleases, 3);
    gFinalConstructResult = S_OK;
}

namespace {

// A class whose teardown lets go of a reference it never took.
class COverReleasedStep final : public TestStep<COverReleasedStep, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"OverReleasedStep";
    using Interfaces = StepInterfaces<>;
    void FinalRelease() override { Release(); }
};

}  // namespace

// A Release that takes the count below zero is a host's (or a step's) bug:
// Debug and sanitizer builds end the process there, naming the class;
// optimised builds keep the Release they always had.
TEST_F(StepObject, AReleaseBelowZeroEndsACheckingBuildWithTheClassName) {
#ifndef FLUKO_CHECK_REFERENCES
    GTEST_SKIP() << "optimised builds do not check";
#else
    // Forked as the test stands ("fast"): gtest's threadsafe style clones
    // onto a stack of its own, which AddressSanitizer's fake stacks for
    // use-after-return detection do not survive.
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_DEATH(
        {
            SmartPtr<IUnknown> step;
            CObject<COverReleasedStep>::_CreateInstance(nullptr, &IID_IUnknown, step.put_void());
            step.detach()->Release();
        },
        "an object of class OverReleasedStep was released more often than it was referenced");
#endif
}

TEST(ResourceLock, IsAnErrorCheckingMutex) {
    CResourceLock lock;
    lock.Lock();
    lock.Lock();  // the holder's second Lock returns at once
    std::atomic<bool> entered{false};
    std::thread other([&] {
        lock.Lock();
        entered = true;
        lock.Unlock();
    });
    // The other thread cannot get in while the first Unlock has not come.
    for (int i = 0; i < 20 && !entered; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_FALSE(entered);
    lock.Unlock();  // one Unlock releases it: the second Lock was not counted
    other.join();
    EXPECT_TRUE(entered);
    lock.Delete();
    lock.Delete();  // deleting twice is harmless
}
