// Host components reached by name, component modules loaded from disk, the
// cached string, variant and collection factories, and the smart pointer.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <thread>

#include "host/Collections.h"
#include "host/OperatorWindows.h"
#include "host/UIUtilities.h"
#include "host/Variants.h"
#include "runtime/CREFString.h"
#include "runtime/FileNames.h"
#include "runtime/Values.h"
#include "support/HostTest.h"
#include "support/Process.h"

extern char** environ;

using ComponentAccess = HostTest;
using host::textOf;

namespace {

constexpr char kMessagePrefix[] = "Module not available ./_binlinux/";
constexpr char kCollectionsExPath[] = "./_binlinux/CollectionsEx.so";

size_t countOf(const std::vector<std::string>& calls, const std::string& call) {
    return static_cast<size_t>(std::count(calls.begin(), calls.end(), call));
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// The "Module not available" lines of an output.
std::vector<std::string> messagesIn(const std::string& output) {
    std::vector<std::string> messages;
    for (const std::string& line : linesOf(output)) {
        if (line.rfind("Module not available", 0) == 0) messages.push_back(line);
    }
    return messages;
}

}  // namespace

TEST_F(ComponentAccess, TheGlobalCollectionIsSharedWithAReferencePerCall) {
    IComponentCollection* const global = components.get();
    const uint32_t before = referencesOf(global);
    SmartPtr<IComponentCollection> first = GLOBALComponents();
    SmartPtr<IComponentCollection> second = GLOBALComponents();
    EXPECT_EQ(first.get(), global);
    EXPECT_EQ(second.get(), global);
    EXPECT_EQ(referencesOf(global), before + 2);
}

TEST_F(ComponentAccess, ComponentsAreFoundByName) {
    SmartPtr<IVariant> variant = CreateObject<IVariant>(L"Variant");
    ASSERT_TRUE(variant);
    EXPECT_FALSE(CreateObject<IVariant>(L"Missing"));
    EXPECT_FALSE(CreateObject<IVariant>(L"CreatableString")) << "a component without that interface";
    SmartPtr<IUnknown> asItIs =
        SmartPtr<IUnknown>::adopt(static_cast<IUnknown*>(CreateObject(refText(L"Variant"), nullptr)));
    EXPECT_TRUE(asItIs.query<IComponentString>()) << "a null identifier gives the component as it is";

    SmartPtr<IComponentString> path = GetComponentString(host::makeString(L"Variant").get());
    ASSERT_TRUE(path);
    SmartPtr<IString> className;
    path->get_Part(1, className.put());
    EXPECT_EQ(textOf(className.get()), L"Variant");

    components->addObject(L"Plain", static_cast<ISuperCollection*>(host::make<host::SuperCollection>().get()));
    EXPECT_FALSE(GetComponentString(host::makeString(L"Plain").get())) << "an object that is no component path";
    EXPECT_FALSE(GetComponentString(host::makeString(L"Missing").get()));
    EXPECT_FALSE(GetComponentString(nullptr));
}

TEST_F(ComponentAccess, FactoriesAreLookedUpOnceAndKept) {
    host::Recorder::clear();
    SmartPtr<IString> strings[3];
    for (SmartPtr<IString>& string : strings) {
        string = CREFString::CreateString();
        ASSERT_TRUE(string);
        EXPECT_TRUE(string.query<ICreatableString>());
    }
    EXPECT_NE(strings[0].get(), strings[1].get()) << "every call makes a new string";
    SmartPtr<IVariant> variant = CREFString::CreateVariant();
    SmartPtr<IVariant> secondVariant = CREFString::CreateVariant();
    SmartPtr<ISuperCollection> collection = CREFString::CreateCollection();
    ASSERT_TRUE(variant && secondVariant && collection);

    const std::vector<std::string> calls = host::Recorder::take();
    EXPECT_EQ(countOf(calls, "ComponentCollection.GetComponent(CreatableString)"), 1u);
    EXPECT_EQ(countOf(calls, "ComponentString.CreateInstance(CreatableString)"), 3u);
    EXPECT_EQ(countOf(calls, "ComponentCollection.GetComponent(Variant)"), 1u);
    EXPECT_EQ(countOf(calls, "ComponentString.CreateInstance(Variant)"), 2u);
    EXPECT_EQ(countOf(calls, "ComponentString.CreateInstance(SuperCollection)"), 1u);

    // A new collection from the host does not reset the factories.
    SmartPtr<host::ComponentCollection> empty = host::make<host::ComponentCollection>();
    InitializeModule(nullptr, empty.get());
    EXPECT_TRUE(CREFString::CreateString());
    EXPECT_TRUE(CREFString::CreateVariant());
    EXPECT_TRUE(CREFString::CreateCollection());
    for (const std::string& call : host::Recorder::take()) {
        EXPECT_EQ(call.find("GetComponent"), std::string::npos) << call;
    }
}

// The host offers no variant factory: it comes from CollectionsEx, which the
// module loads itself, silently.
TEST_F(ComponentAccess, AFactoryTheCollectionLacksComesFromCollectionsEx) {
    components->remove(L"Variant");
    host::Recorder::clear();
    testing::internal::CaptureStdout();
    SmartPtr<IVariant> variant = CREFString::CreateVariant();
    SmartPtr<IVariant> second = IVCreate(12);
    const std::string output = testing::internal::GetCapturedStdout();
    ASSERT_TRUE(variant);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->get_Long(), 12);
    EXPECT_EQ(output, "");
    EXPECT_EQ(countOf(host::Recorder::take(), "ComponentCollection.GetComponent(Variant)"), 1u)
        << "the made factory is kept";
}

TEST_F(ComponentAccess, ModuleNamesThatCannotFitAreRefusedNotCut) {
    const std::wstring longest(244, L'x');  // "./_binlinux/" + 244 + ".so" + terminator = 260 bytes
    const std::wstring tooLong(245, L'x');
    const std::wstring veryLong(300, L'x');
    const tagREFString className = refText(L"Anything");
    struct Case {
        const char* what;
        tagREFString module;
        size_t messages;
    } const cases[] = {
        {"missing module", refText(L"NoSuchModule"), 1},
        {"longest name that fits", {244, longest.c_str()}, 1},
        {"one character too many", {245, tooLong.c_str()}, 0},
        {"300 characters", {300, veryLong.c_str()}, 0},
        {"a character with no single byte", refText(L"Modul\u00E9"), 0},
        {"an embedded zero", {6, L"Coll\0x"}, 0},
        {"empty", {0, L""}, 0},
        {"negative count", {-4, L"Name"}, 0},
        {"count without text", {4, nullptr}, 0},
        {"a module without the class", refText(L"CollectionsEx"), 0},
    };
    for (const Case& c : cases) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(MODULECreateFunction(c.module, className), nullptr) << c.what;
        const std::string output = testing::internal::GetCapturedStdout();
        const std::vector<std::string> messages = messagesIn(output);
        EXPECT_EQ(messages.size(), c.messages) << c.what << ": " << output;
        EXPECT_EQ(linesOf(output).size(), c.messages) << "nothing else is printed";
        if (!messages.empty()) {
            EXPECT_EQ(messages[0].rfind(kMessagePrefix, 0), 0u) << messages[0];
            EXPECT_NE(messages[0].find(".so, error "), std::string::npos) << messages[0];
        }
    }

    testing::internal::CaptureStdout();
    MODULECreateFunction(refText(L"NoSuchModule"), className);
    MODULECreateFunction(refText(L"NoSuchModule"), className);
    EXPECT_EQ(messagesIn(testing::internal::GetCapturedStdout()).size(), 2u) << "one message per attempt";

    EXPECT_NE(MODULECreateFunction(refText(L"CollectionsEx"), refText(L"ComponentString")), nullptr);
}

TEST_F(ComponentAccess, SmartPointersCompareObjectsAndAskForOptionalInterfaces) {
    SmartPtr<IUnknown> step = createStep(L"GCUIRefresh");
    ASSERT_TRUE(step);
    SmartPtr<IStep> asStep = step.query<IStep>();
    SmartPtr<IParameters> asParameters = step.query<IParameters>();
    ASSERT_TRUE(asStep && asParameters);
    ASSERT_NE(static_cast<void*>(asStep.get()), static_cast<void*>(asParameters.get())) << "two interface pointers";
    EXPECT_TRUE(isSameObject(asStep, asParameters));
    EXPECT_TRUE(isSameObject(step, asStep));
    // == compares the pointers and asks the object nothing: the step's
    // IStep face seen as an IUnknown is the same object, not the same pointer.
    const SmartPtr<IUnknown> stepFace(asStep.get());
    ASSERT_NE(static_cast<void*>(stepFace.get()), static_cast<void*>(step.get()));
    EXPECT_FALSE(stepFace == step);
    EXPECT_TRUE(stepFace != step);
    EXPECT_TRUE(stepFace == SmartPtr<IUnknown>(asStep.get()));

    SmartPtr<IStep> other = createStep<IStep>(L"GCUIRefresh");
    SmartPtr<IStep> none;
    EXPECT_TRUE(asStep != other);
    EXPECT_FALSE(isSameObject(asStep, other));
    EXPECT_TRUE(asStep != none);
    EXPECT_FALSE(isSameObject(asStep, none));
    EXPECT_TRUE(isSameObject(none, SmartPtr<IParameters>()));
    EXPECT_TRUE(none == nullptr && nullptr == none);
    EXPECT_TRUE(asStep != nullptr && nullptr != asStep);
    EXPECT_FALSE(asStep == nullptr || nullptr == asStep || none != nullptr || nullptr != none);

    // An interface the object does not offer is an empty pointer, not an error.
    EXPECT_FALSE(step.query<IParametricObject>());
    EXPECT_FALSE(none.query<IParameters>());
    SmartPtr<IParametricObject> parametric;
    EXPECT_EQ(step.query_to(parametric.put()), E_NOINTERFACE);
    EXPECT_FALSE(parametric);
    SmartPtr<IParameters> filled;
    EXPECT_EQ(asStep.query_to(filled.put()), S_OK);
    EXPECT_TRUE(isSameObject(filled, step));
    EXPECT_EQ(none.query_to(filled.put()), E_NOINTERFACE);
    EXPECT_FALSE(filled);
    EXPECT_EQ(step.query_to<IStep>(nullptr), E_POINTER);

    // Passing the pointer to a callee that writes releases what it held.
    SmartPtr<IString> string = host::makeString(L"held");
    const int32_t live = host::Ledger::live();
    components->GetComponent(7, L"Missing", nullptr, string.put_void());
    EXPECT_FALSE(string);
    EXPECT_EQ(host::Ledger::live(), live - 1);
}

// Strings made on several threads at once, starting from empty factories:
// filling a factory is safe, and every thread gets its objects.
TEST_F(ComponentAccess, FactoriesFillSafelyFromManyThreads) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 25;
    std::mutex gateMutex;
    std::condition_variable gate;
    bool open = false;
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            {
                std::unique_lock<std::mutex> lock(gateMutex);
                gate.wait(lock, [&] { return open; });
            }
            for (int round = 0; round < kRounds; ++round) {
                SmartPtr<IString> text = ISCreate(t * 1000 + round);
                SmartPtr<IVariant> variant = IVCreate(round);
                SmartPtr<ISuperCollection> collection = CREFString::CreateCollection();
                if (!text || textOf(text.get()) != std::to_wstring(t * 1000 + round)) ++failures;
                if (!variant || variant->get_Long() != round || !collection) ++failures;
            }
        });
    }
    {
        std::lock_guard<std::mutex> lock(gateMutex);
        open = true;
    }
    gate.notify_all();
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
    const size_t lookups = countOf(host::Recorder::take(), "ComponentCollection.GetComponent(CreatableString)");
    EXPECT_GE(lookups, 1u);
    EXPECT_LE(lookups, static_cast<size_t>(kThreads)) << "looked up only while it was missing";
}

// ---------------------------------------------------------------------------
// A fresh process in a working directory of its own, with or without
// ./_binlinux/CollectionsEx.so: the factories' fallback and its message.

namespace {

constexpr char kScenarioVariable[] = "FLUKO_FALLBACK_SCENARIO";
// Failed attempts to load CollectionsEx in the "without" scenario below.
constexpr size_t kAttemptsWithoutCollectionsEx = 9;

const std::string kBuiltCollectionsEx = std::string(FLUKO_BINARY_DIR) + "/_binlinux/CollectionsEx.so";

class TemporaryDirectory {
public:
    TemporaryDirectory() {
        char pattern[] = "/tmp/fluko-fallback-XXXXXX";
        if (mkdtemp(pattern)) m_Path = pattern;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        if (!m_Path.empty()) std::filesystem::remove_all(m_Path, ignored);
    }
    const std::string& path() const { return m_Path; }

private:
    std::string m_Path;
};

void installCollectionsEx(const std::string& directory) {
    std::filesystem::create_directories(directory + "/_binlinux");
    std::filesystem::copy_file(kBuiltCollectionsEx, directory + "/_binlinux/CollectionsEx.so");
}

using ChildRun = ProcessRun;

// Runs this test program again, through the same emulator, in directory,
// with only the fallback scenario selected; collects its standard output.
ChildRun runScenario(const std::string& directory, const std::string& scenario) {
    char self[4096] = {};
    const ssize_t selfLength = readlink("/proc/self/exe", self, sizeof self - 1);
    if (selfLength <= 0) return {};
    return runProcess({std::string(self, static_cast<size_t>(selfLength)), "--gtest_also_run_disabled_tests",
                       "--gtest_filter=CollectionsExFallback.DISABLED_InAFreshProcess"},
                      directory,
                      // A sharded run (the mutation sampler's) would leave the scenario out of the child's shard.
                      {std::string(kScenarioVariable) + "=" + scenario, "GTEST_TOTAL_SHARDS=1", "GTEST_SHARD_INDEX=0"},
                      false);
}

bool passed(const ChildRun& run) {
    return run.status == 0 && run.output.find("[  PASSED  ] 1 test") != std::string::npos;
}

void withoutCollectionsEx() {
    EXPECT_FALSE(CREFString::CreateString());
    EXPECT_FALSE(CREFString::CreateVariant());
    EXPECT_FALSE(CREFString::CreateCollection());
    EXPECT_FALSE(CREFString::CreateString()) << "tried again";
    EXPECT_FALSE(ISCreate(L"x"));
    EXPECT_FALSE(IVCreate(1));
    EXPECT_FALSE(GLOBALComponents());
    SmartPtr<IString> path;
    EXPECT_EQ(FILENAMEGetInstallPath(path.put()), E_FAIL);  // two attempts: the collection, then the string
    EXPECT_FALSE(path);
    const std::wstring longName(300, L'C');
    EXPECT_EQ(MODULECreateFunction({300, longName.c_str()}, refText(L"ComponentString")), nullptr) << "no attempt";

    // The module appears: the next call finds it.
    installCollectionsEx(".");
    SmartPtr<IString> made = ISCreate(L"found");
    ASSERT_TRUE(made);
    EXPECT_EQ(textOf(made.get()), L"found");
    EXPECT_TRUE(CREFString::CreateVariant());
    EXPECT_TRUE(CREFString::CreateCollection());
}

void withCollectionsEx() {
    SmartPtr<host::ComponentCollection> components = host::makeStandardComponents();
    InitializeModule(nullptr, components.get());
    EXPECT_TRUE(CREFString::CreateString());
    EXPECT_TRUE(CREFString::CreateVariant());
    EXPECT_TRUE(CREFString::CreateCollection());
    EXPECT_EQ(dlopen(kCollectionsExPath, RTLD_NOW | RTLD_NOLOAD), nullptr)
        << "no library is opened while the collection offers the factories";
    InitializeModule(nullptr, nullptr);
    MODULEReleaseComponents();
    components->clear();

    // With no collection, component paths from CollectionsEx make them.
    SmartPtr<IString> made = ISCreate(L"from CollectionsEx");
    ASSERT_TRUE(made);
    EXPECT_EQ(textOf(made.get()), L"from CollectionsEx");
    SmartPtr<IVariant> variant = IVCreate(5);
    ASSERT_TRUE(variant);
    EXPECT_EQ(variant->get_Long(), 5);
    EXPECT_TRUE(CREFString::CreateCollection());
    void* library = dlopen(kCollectionsExPath, RTLD_NOW | RTLD_NOLOAD);
    EXPECT_NE(library, nullptr);
    if (library) dlclose(library);

    SmartPtr<IComponentCollection> first = GLOBALComponents();
    SmartPtr<IComponentCollection> second = GLOBALComponents();
    ASSERT_TRUE(first);
    EXPECT_EQ(first.get(), second.get());
    EXPECT_TRUE(CreateObject<IInputParameters>(L"InputParameters")) << "the collection made from CollectionsEx";
}

}  // namespace

// Run only by the two tests below, in a process of its own.
TEST(CollectionsExFallback, DISABLED_InAFreshProcess) {
    const char* scenario = std::getenv(kScenarioVariable);
    if (!scenario) GTEST_SKIP() << "started by the fallback tests";
    const int32_t liveAtStart = host::Ledger::live();
    if (std::strcmp(scenario, "without") == 0) {
        withoutCollectionsEx();
    } else {
        withCollectionsEx();
    }
    MODULEReleaseComponents();
    EXPECT_EQ(host::Ledger::live(), liveAtStart);
}

TEST_F(ComponentAccess, WithoutCollectionsExEveryFactoryFailsUntilItAppears) {
    TemporaryDirectory directory;
    ASSERT_FALSE(directory.path().empty());
    const ChildRun run = runScenario(directory.path(), "without");
    EXPECT_TRUE(passed(run)) << run.output;
    const std::vector<std::string> messages = messagesIn(run.output);
    EXPECT_EQ(messages.size(), kAttemptsWithoutCollectionsEx) << run.output;
    for (const std::string& message : messages) {
        EXPECT_EQ(message.rfind("Module not available ./_binlinux/CollectionsEx.so, error ", 0), 0u) << message;
        EXPECT_GT(message.size(), std::strlen("Module not available ./_binlinux/CollectionsEx.so, error "));
    }
}

TEST_F(ComponentAccess, CollectionsExServesTheFallbackAndIsNotOpenedWhenNotNeeded) {
    TemporaryDirectory directory;
    ASSERT_FALSE(directory.path().empty());
    installCollectionsEx(directory.path());
    const ChildRun run = runScenario(directory.path(), "with");
    EXPECT_TRUE(passed(run)) << run.output;
    EXPECT_TRUE(messagesIn(run.output).empty()) << run.output;
}

// CollectionsEx loaded into a process that holds the stand-in already (a test,
// stephost) is a second host: its objects and this process's meet through
// their interfaces only. Were either taken for the other's own class, calls
// bound to the wrong copy's code would release an object into the wrong
// ledger: a keyboard shown in CollectionsEx's pop-up stayed "alive" here.
TEST_F(ComponentAccess, CollectionsExLoadedBesideTheHostIsAHostOfItsOwn) {
    void* library = dlopen(kBuiltCollectionsEx.c_str(), RTLD_NOW);  // kept loaded, as the module keeps it
    ASSERT_NE(library, nullptr) << dlerror();
    auto createFunction = reinterpret_cast<CREATEFUNCTIONFUNCTION>(dlsym(library, "CreateFunction"));
    ASSERT_NE(createFunction, nullptr);
    CREATEFUNCTION creator = nullptr;
    ASSERT_EQ(createFunction(refText(L"GlobalComponentCollection"), &creator), S_OK);
    SmartPtr<IComponentCollection> theirs;
    ASSERT_EQ(creator(nullptr, &IID_IComponentCollection, theirs.put_void()), S_OK);

    SmartPtr<IUIKeyboard> theirKeyboard;
    ASSERT_EQ(theirs->GetComponent(10, L"UIKeyboard", &iidOf<IUIKeyboard>(), theirKeyboard.put_void()), S_OK);
    SmartPtr<IUIUtils> theirUtils;
    ASSERT_EQ(theirs->GetComponent(7, L"UIUtils", &iidOf<IUIUtils>(), theirUtils.put_void()), S_OK);
    ASSERT_TRUE(theirKeyboard && theirUtils);
    EXPECT_EQ(dynamic_cast<host::Keyboard*>(theirKeyboard.get()), nullptr);
    EXPECT_EQ(dynamic_cast<host::UIUtils*>(theirUtils.get()), nullptr);

    // Our keyboard in their pop-up, and theirs in ours: each shows the other's
    // as a plain object, and every reference comes back.
    const int32_t live = host::Ledger::live();
    SmartPtr<IUIKeyboard> ourKeyboard;
    ASSERT_EQ(components->GetComponent(10, L"UIKeyboard", &iidOf<IUIKeyboard>(), ourKeyboard.put_void()), S_OK);
    SmartPtr<IUIUtils> ourUtils;
    ASSERT_EQ(components->GetComponent(7, L"UIUtils", &iidOf<IUIUtils>(), ourUtils.put_void()), S_OK);
    SmartPtr<host::Keyboard> ours(dynamic_cast<host::Keyboard*>(ourKeyboard.get()));
    ASSERT_TRUE(ours);
    ours->setAskOperator(false);
    SmartPtr<IString> caption = host::makeString(L"Both");
    SmartPtr<IUnknown> theirWindow;
    EXPECT_EQ(theirUtils->ShowPopup(caption.get(), nullptr, 3, ourKeyboard.get(), theirWindow.put(), 5, 1), S_OK);
    SmartPtr<IUnknown> ourWindow;
    EXPECT_EQ(ourUtils->ShowPopup(caption.get(), nullptr, 3, theirKeyboard.get(), ourWindow.put(), 5, 1), S_OK);
    EXPECT_TRUE(ours->isOpen());
    if (auto* kept = dynamic_cast<host::UIUtils*>(ourUtils.get())) kept->forget();
    theirWindow = nullptr;
    ourWindow = nullptr;
    ours = nullptr;
    ourKeyboard = nullptr;
    theirKeyboard = nullptr;
    theirUtils = nullptr;
    theirs = nullptr;  // their pop-up goes with their collection
    caption = nullptr;
    host::OperatorThreads::wait();
    EXPECT_EQ(host::Ledger::live(), live) << host::Ledger::report();
}
