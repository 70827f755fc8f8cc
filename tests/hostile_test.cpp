// Every step under a hostile host: lookups and factories that fail or answer
// success with nothing, strings with impossible counts, collections that
// count more than they give, and window events that come twice or after the
// step is gone. Nothing may crash or leak; the codes the operations document
// for their own checks hold whatever the host does.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <iterator>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "host/Collections.h"
#include "host/Files.h"
#include "host/FolderStream.h"
#include "host/Hostility.h"
#include "host/Inputs.h"
#include "host/Operator.h"
#include "host/OperatorWindows.h"
#include "host/UIUtilities.h"
#include "host/Variants.h"
#include "host/XmlStream.h"
#include "stephost/ProgramReader.h"
#include "stephost/ProgramRunner.h"
#include "support/HostTest.h"
#include "support/StepClasses.h"

using namespace std::chrono_literals;
using host::Hostile;

namespace {

constexpr HRESULT kOutOfRange = static_cast<HRESULT>(0x80070057);
constexpr int32_t kCompact = 0x800000;

struct Mode {
    const char* name;
    Hostile modes;
    host::Strikes strikes;
};

const Mode kModes[] = {
    {"a friendly host", Hostile::None, {0, 1}},
    {"a friendly host", Hostile::None, {0, 1}},
    {"every lookup and factory fails", Hostile::FailFactories, {0, 1}},
    {"every third lookup fails", Hostile::FailFactories, {2, 3}},
    {"every lookup succeeds with nothing", Hostile::NullOut, {0, 1}},
    {"every other lookup succeeds with nothing", Hostile::NullOut, {1, 2}},
    {"strings count below zero", Hostile::NegativeCounts, {0, 1}},
    {"every other string counts below zero", Hostile::NegativeCounts, {0, 2}},
    {"strings count too many with no characters", Hostile::HugeCounts, {0, 1}},
    {"collections count more than they give", Hostile::ShortCollections, {0, 1}},
    {"events come twice", Hostile::TwiceEvents, {0, 1}},
    {"events come again late", Hostile::LateEvents, {0, 1}},
    {"all at once",
     Hostile::FailFactories | Hostile::NegativeCounts | Hostile::ShortCollections | Hostile::TwiceEvents,
     {1, 4}},
};

#define EXPECT_DOCUMENTED(call)                                                     \
    do {                                                                            \
        const HRESULT code_ = (call);                                               \
        EXPECT_TRUE(documented(code_)) << #call << " gave 0x" << std::hex << code_; \
    } while (0)

// The operator answers whatever the steps ask, at once: an editor the
// operator never closes keeps its step, as a window on screen does. A
// window of an earlier run may still take one answer.
void scriptOperator() {
    std::vector<host::OperatorAction> answers;
    for (int i = 0; i < 3; ++i) {
        answers.push_back({"confirm", L"yes", 0, 0});
        answers.push_back({"keyboard", L"12", 0, 0});
        answers.push_back({"editor", L"apply", 0, 0});
        answers.push_back({"file", L"/tmp/hostile.csv", 0, 0});
    }
    host::Operator::current().script(answers);
}

// The parameter operations, with the checks they make themselves.
void driveParameters(IUnknown* step) {
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
    if (!parameters) return;
    int32_t count = -1;
    EXPECT_EQ(parameters->get_Count(&count), S_OK);
    EXPECT_GE(count, 0);
    // Out of range and null out-pointers, whatever the host.
    SmartPtr<IUnknown> none;
    EXPECT_EQ(parameters->get_Item(count, none.put()), kOutOfRange);
    EXPECT_EQ(parameters->get_Item(-1, none.put()), kOutOfRange);
    EXPECT_EQ(parameters->get_Item(0, nullptr), E_POINTER);
    EXPECT_EQ(parameters->put_Item(count, nullptr), kOutOfRange);
    EXPECT_EQ(parameters->Rename(count, nullptr), kOutOfRange);
    EXPECT_EQ(parameters->put_ItemDescriptor(-1, nullptr), kOutOfRange);
    EXPECT_EQ(parameters->put_ItemFlags(count, 0), kOutOfRange);
    SmartPtr<IVariant> noVariant;
    EXPECT_EQ(parameters->get_ItemVariant(count, noVariant.put()), kOutOfRange);
    EXPECT_FALSE(none);
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IUnknown> item;
        EXPECT_DOCUMENTED(parameters->get_Item(i, item.put()));
        SmartPtr<IVariant> value;
        EXPECT_DOCUMENTED(parameters->get_ItemVariant(i, value.put()));
        SmartPtr<IString> name;
        EXPECT_DOCUMENTED(parameters->get_ItemName(i, name.put()));
        SmartPtr<IUnknown> descriptor;
        EXPECT_DOCUMENTED(parameters->get_ItemDescriptor(i, descriptor.put()));
        int32_t flags = 0;
        EXPECT_DOCUMENTED(parameters->get_ItemFlags(i, &flags));
        SmartPtr<IString> iterName;
        SmartPtr<IVariant> iterValue;
        SmartPtr<IUnknown> iterDescriptor;
        EXPECT_DOCUMENTED(parameters->Iterate(i, iterName.put(), iterValue.put(), iterDescriptor.put(), &flags));
        int32_t index = -2;
        if (name) EXPECT_DOCUMENTED(parameters->get_Index(name.get(), &index));
        // A number, a text and nothing put in: stored, or refused when the host makes no variant.
        EXPECT_DOCUMENTED(parameters->put_Item(i, host::makeVariant(int32_t{i + 1}).get()));
        EXPECT_DOCUMENTED(parameters->put_Item(i, host::makeString(L"text " + std::to_wstring(i)).get()));
        EXPECT_DOCUMENTED(parameters->put_Item(i, nullptr));
        if (value) EXPECT_DOCUMENTED(parameters->put_Item(i, value.get()));
        EXPECT_DOCUMENTED(parameters->put_ItemDescriptor(i, descriptor.get()));
    }
    EXPECT_DOCUMENTED(parameters->CollectionLock());
    EXPECT_DOCUMENTED(parameters->CollectionUnlock());
    if (SmartPtr<IParametersCreatable> creatable = parameters.query<IParametersCreatable>()) {
        // Set by a name that is neither string nor variant: refused.
        EXPECT_EQ(creatable->Set(nullptr, nullptr, nullptr, 0, 0), E_FAIL);
    }
}

// Binds every input of the step to a moniker of a host collection's object.
void bindInputs(IUnknown* step, host::SuperCollection* objects) {
    SmartPtr<IInputParameters> inputs = queryInterface<IInputParameters>(step);
    int32_t count = 0;
    if (inputs) EXPECT_DOCUMENTED(inputs->get_Count(&count));
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IUnknown> item;
        if (inputs->get_Item(i, item.put()) < 0 || !item) continue;
        SmartPtr<IInputParameter> input = item.query<IInputParameter>();
        if (!input) continue;
        input->put_Object(host::make<host::CollectionMoniker>(L"Thing").query<IUnknown>().get());
    }
    if (SmartPtr<IBindableObject> bindable = queryInterface<IBindableObject>(step)) {
        EXPECT_DOCUMENTED(bindable->Bind(objects, nullptr));
        EXPECT_DOCUMENTED(bindable->Bind(nullptr, nullptr));
    }
}

// Saved and loaded into a fresh step of the class, in both stream kinds and both modes.
void storeAndReload(IUnknown* step, CREATEFUNCTION creator) {
    SmartPtr<IDataPersist> persist = queryInterface<IDataPersist>(step);
    if (!persist) return;
    for (int32_t mode : {0, kCompact}) {
        SmartPtr<host::FolderStream> folder = host::make<host::FolderStream>();
        EXPECT_DOCUMENTED(persist->Save(folder.get(), mode));
        SmartPtr<IDataPersist> fresh;
        if (creator(nullptr, &iidOf<IDataPersist>(), fresh.put_void()) == S_OK && fresh) {
            EXPECT_DOCUMENTED(fresh->Load(folder.get(), mode));
        }
        SmartPtr<host::XmlStream> xml = host::XmlStream::create(L"Step");
        EXPECT_DOCUMENTED(persist->Save(xml.get(), mode));
        SmartPtr<host::XmlStream> parsed = host::XmlStream::parse(xml->save());
        SmartPtr<IDataPersist> again;
        if (parsed && creator(nullptr, &iidOf<IDataPersist>(), again.put_void()) == S_OK && again) {
            EXPECT_DOCUMENTED(again->Load(parsed.get(), mode));
        }
        EXPECT_DOCUMENTED(persist->Load(nullptr, mode));
    }
}

// The other interfaces: name, copy, pages, verbs and parametric pages.
void driveTheRest(IUnknown* step) {
    if (SmartPtr<IObjectInfo> info = queryInterface<IObjectInfo>(step)) {
        tagREFString name = {0, nullptr};
        EXPECT_EQ(info->GetName(0, &name), S_OK);
        EXPECT_GT(name.count, 0);
    }
    if (SmartPtr<IReplicableObject> replicable = queryInterface<IReplicableObject>(step)) {
        SmartPtr<IUnknown> copy;
        const HRESULT copied = replicable->Replicate(copy.put());
        EXPECT_DOCUMENTED(copied);
        EXPECT_EQ(copied >= 0, copy != nullptr);
        if (copy) driveParameters(copy.get());
    }
    if (SmartPtr<IUIPropertyPageSpecify> pages = queryInterface<IUIPropertyPageSpecify>(step)) {
        SmartPtr<INamedCollection> listed;
        SmartPtr<IUnknown> unused;
        EXPECT_DOCUMENTED(pages->GetPages(0, listed.put(), unused.put()));
    }
    if (SmartPtr<IUIVerbCollectionSpecify> verbs = queryInterface<IUIVerbCollectionSpecify>(step)) {
        // A stale value in the out-pointer is replaced or cleared, never left.
        SmartPtr<IUIVerbCollection> offered;
        IUIVerbCollection* const stale = reinterpret_cast<IUIVerbCollection*>(&offered);
        IUIVerbCollection** out = offered.put();
        *out = stale;
        EXPECT_DOCUMENTED(verbs->GetVerbs(0, nullptr, out));
        if (offered.get() == stale) {
            ADD_FAILURE() << "GetVerbs left a stale out-pointer";
            offered.detach();  // nothing to release
        }
        verbs->DoAction(5, nullptr);
    }
    if (SmartPtr<IParametricObject> parametric = queryInterface<IParametricObject>(step)) {
        SmartPtr<INamedCollection> page;
        EXPECT_DOCUMENTED(parametric->GetParameters(page.put(), 0));
        EXPECT_DOCUMENTED(parametric->SetParameters(page.get()));
        EXPECT_DOCUMENTED(parametric->SetParameters(nullptr));
    }
}

// Runs the step to its end (stopping it after a while), then once more
// stopped at once, then once more let go while it runs.
SmartPtr<IStep> execute(SmartPtr<IStep> step) {
    if (!step) return step;
    for (int round = 0; round < 3; ++round) {
        scriptOperator();
        EXPECT_DOCUMENTED(step->TurnOn());
        if (round == 0) {
            for (int i = 0; i < 200 && step->IsRunning(); ++i) std::this_thread::sleep_for(1ms);
        }
        if (round == 2) return nullptr;  // the host lets go during the run
        EXPECT_DOCUMENTED(step->TurnOff());
        EXPECT_EQ(step->IsRunning(), 0);
        double milliseconds = -1.0;
        EXPECT_EQ(step->get_ExecutionTime(&milliseconds), S_OK);
        EXPECT_GE(milliseconds, 0.0);
    }
    return step;
}

// The operator's answers under way. The script stays: a step the host let
// go during its run may still ask, and ends only when answered.
void waitForTheOperator() { host::OperatorThreads::wait(); }

}  // namespace

class HostileHost : public HostTest {
protected:
    // A question the script has no answer left for closes its window, as
    // stephost's operator does: a keyboard left open on a failure path would
    // otherwise hold its waiting step past the end of the test.
    void SetUp() override {
        HostTest::SetUp();
        host::Operator::current().setDismissUnanswered(true);
    }
    // A fresh host (what the last one kept on screen goes with it), and the
    // module's factories afresh, as after a reload.
    void restartModule() {
        MODULEReleaseComponents();
        components->clear();
        components = host::makeStandardComponents();
        InitializeModule(nullptr, components.get());
    }

    // Waits until the host's objects stop changing: a step the host let go
    // during its run is released by its worker when the run ends, and the
    // pop-ups the host's utilities keep a record of hold their windows'
    // listeners until forgotten.
    void settle() {
        int32_t last = -1;
        for (int i = 0, stable = 0; i < 3000 && stable < 60; ++i) {
            forgetPopups();
            const int32_t now = host::Ledger::live();
            stable = now == last ? stable + 1 : 0;
            last = now;
            std::this_thread::sleep_for(1ms);
        }
        waitForTheOperator();
    }
    // After a restart, whether the host's objects come back to `live`
    // (slowly under a memory checker, where a let-go step's run takes long).
    bool settlesAt(int32_t live) {
        for (int i = 0; i < 10000 && host::Ledger::live() != live; ++i) {
            forgetPopups();
            std::this_thread::sleep_for(1ms);
        }
        waitForTheOperator();
        return host::Ledger::live() == live;
    }

    void TearDown() override {
        waitForTheOperator();
        host::Operator::current().setDismissUnanswered(false);
        host::Operator::current().script({});
        HostTest::TearDown();
    }

    // Every operation of a step of the class, from its creation on, under
    // the mode; the number of calls the mode touched.
    int64_t everyOperation(const wchar_t* className, const Mode& mode) {
        int64_t touched = 0;
        CREATEFUNCTION creator = nullptr;
        EXPECT_EQ(CreateFunction(refText(className), &creator), S_OK);
        if (!creator) return 0;
        SmartPtr<host::SuperCollection> objects = host::make<host::SuperCollection>();
        objects->Add(host::makeString(L"Thing").get(), host::make<host::SuperCollection>().query<IUnknown>().get(),
                     nullptr, 0);
        {
            host::Hostility hostile(mode.modes, mode.strikes);
            SmartPtr<IUnknown> step;
            const HRESULT made = creator(nullptr, &IID_IUnknown, step.put_void());
            EXPECT_DOCUMENTED(made);
            EXPECT_EQ(made >= 0, step != nullptr);
            if (step) {
                // An interface the class does not offer: refused, nothing handed out.
                SmartPtr<IUnknown> other;
                const HRESULT refused = creator(nullptr, &iidOf<IWorkspace>(), other.put_void());
                EXPECT_TRUE(refused == E_NOINTERFACE || (refused < 0 && documented(refused))) << refused;
                EXPECT_FALSE(other);
                driveParameters(step.get());
                bindInputs(step.get(), objects.get());
                storeAndReload(step.get(), creator);
                driveTheRest(step.get());
                SmartPtr<IStep> run = execute(queryInterface<IStep>(step.get()));
                step = nullptr;
                run = nullptr;  // late events may still reach the step after this
            }
            touched = host::Hostility::calls();
        }
        waitForTheOperator();
        return touched;
    }
};

TEST_F(HostileHost, EveryOperationOfEveryStepUnderEveryMode) {
    for (const Mode& mode : kModes) {
        for (const wchar_t* className : kRegisteredNames) {
            SCOPED_TRACE(std::string(mode.name) + ", " + host::narrow(className));
            restartModule();
            const int32_t live = host::Ledger::live();
            everyOperation(className, mode);
            settle();
            restartModule();
            EXPECT_TRUE(settlesAt(live)) << host::Ledger::report();
        }
    }
}

#ifdef __SANITIZE_THREAD__
constexpr int32_t kRaceCheckerStride = 3;
#else
constexpr int32_t kRaceCheckerStride = 1;
#endif

// One failure alone at each lookup a step's whole life makes, one after the
// other: every failure path of every step, each in a run of its own. The
// classes are walked in two halves for each kind of failure, four tests that
// a parallel run spreads over the cores.
struct LookupWalk {
    Hostile kind;
    size_t firstClass;
    size_t endClass;
};

void PrintTo(const LookupWalk& walk, std::ostream* out) {
    *out << "classes " << walk.firstClass << " to " << walk.endClass - 1;
}

class HostileLookups : public HostileHost, public testing::WithParamInterface<LookupWalk> {};

TEST_P(HostileLookups, EachFailingAloneInTurn) {
    const LookupWalk walk = GetParam();
    restartModule();
    const int32_t live = host::Ledger::live();
    for (size_t index = walk.firstClass; index < walk.endClass; ++index) {
        const wchar_t* className = kRegisteredNames[index];
        restartModule();
        const int64_t lookups = everyOperation(className, Mode{"counting", walk.kind, {INT_MAX, 0}});
        EXPECT_GT(lookups, 0);
        // Under the memory checker (FLUKO_STRESS_DIVISOR), in an emulated
        // build and under the race checker (which looks for races, not
        // failure paths: the other builds walk every one), every n-th
        // lookup only.
        const char* divisor = std::getenv("FLUKO_STRESS_DIVISOR");
        const int32_t stride =
            (sizeof(FLUKO_EMULATOR) > 1 ? 5 : 1) * kRaceCheckerStride * (divisor ? std::max(1, std::atoi(divisor)) : 1);
        for (int32_t at = 0; at < lookups; at += stride) {
            SCOPED_TRACE(host::narrow(className) + " lookup " + std::to_string(at));
            restartModule();
            everyOperation(className, Mode{"one", walk.kind, {at, 0}});
            // The operator finishes with this run's windows before the
            // next run's script is set.
            waitForTheOperator();
            if (HasFailure()) return;
        }
    }
    // Steps let go during their last runs end with them.
    settle();
    restartModule();
    EXPECT_TRUE(settlesAt(live)) << host::Ledger::report();
}

constexpr size_t kClasses = std::size(kRegisteredNames);
INSTANTIATE_TEST_SUITE_P(Walks, HostileLookups,
                         testing::Values(LookupWalk{Hostile::FailFactories, 0, kClasses / 2},
                                         LookupWalk{Hostile::FailFactories, kClasses / 2, kClasses},
                                         LookupWalk{Hostile::NullOut, 0, kClasses / 2},
                                         LookupWalk{Hostile::NullOut, kClasses / 2, kClasses}),
                         [](const testing::TestParamInfo<LookupWalk>& info) {
                             return std::string(info.param.kind == Hostile::NullOut ? "Empty" : "Failing") +
                                    (info.param.firstClass == 0 ? "FirstHalf" : "SecondHalf");
                         });

// The program of every step, with its objects, built, run, saved and
// reloaded in both stream kinds under each mode, the operator answering at
// once.
TEST_F(HostileHost, TheProgramOfEveryStepUnderEveryMode) {
    StepClassesResolved resolved;
    std::string text;
    std::string error;
    ASSERT_TRUE(host::readWholeFile(FLUKO_SOURCE_DIR "/examples/all-steps.xml", text, &error)) << error;
    stephost::ProgramFile program;
    ASSERT_TRUE(stephost::parseProgram(text, program, error)) << error;
    for (host::OperatorAction& action : program.operatorScript) action.delayMs = 0;
    const std::atomic<bool> interrupted{false};
    for (const Mode& mode : kModes) {
        SCOPED_TRACE(mode.name);
        {
            host::Hostility hostile(mode.modes, mode.strikes);
            stephost::ProgramRunner runner(CreateFunction, nullptr, components.get());
            const bool built = runner.build(program, error);
            const bool friendly = mode.modes == Hostile::None;
            EXPECT_TRUE(built || !friendly) << error;
            if (built) {
                host::Operator::current().script(program.operatorScript);
                const int result = runner.run(interrupted);
                EXPECT_TRUE(result == 0 || !friendly) << result;
                const std::string xml = runner.saveXml();
                const std::string folder = runner.saveFolder();
                stephost::ProgramRunner xmlCopy(CreateFunction, nullptr, components.get());
                const bool xmlLoaded = xmlCopy.build(program, error) && xmlCopy.loadXml(xml, error);
                EXPECT_TRUE(xmlLoaded || !friendly) << error;
                stephost::ProgramRunner folderCopy(CreateFunction, nullptr, components.get());
                const bool folderLoaded = folderCopy.build(program, error) && folderCopy.loadFolder(folder, error);
                EXPECT_TRUE(folderLoaded || !friendly) << error;
                if (friendly && xmlLoaded) {
                    EXPECT_EQ(xmlCopy.saveXml(), xml);
                }
            }
        }
        waitForTheOperator();
        restartModule();
    }
}

namespace {

// Counts the answers a window raises.
class Listener final : public host::Object<Listener, _IConfirmationEvent> {
public:
    static constexpr char kLedgerName[] = "Listener";
    using Answered = host::Answers<_IConfirmationEvent>;
    HRESULT ConfirmationDone(IUnknown*, int32_t) override {
        ++answers;
        return S_OK;
    }
    std::atomic<int> answers{0};
};

}  // namespace

// The hostile host itself: each mode does what it says, only while it holds.
TEST_F(HostileHost, EachModeDoesWhatItSaysWhileItHolds) {
    SmartPtr<IUnknown> found;
    {
        host::Hostility hostile(Hostile::FailFactories);
        EXPECT_EQ(components->GetComponent(7, L"Variant", &iidOf<IVariant>(), found.put_void()), E_FAIL);
        EXPECT_FALSE(found);
    }
    {
        // A lookup of a class is two calls (the lookup, the class's
        // factory): the third call is the second lookup.
        host::Hostility hostile(Hostile::NullOut, {2, 0});
        EXPECT_EQ(components->GetComponent(7, L"Variant", &iidOf<IVariant>(), found.put_void()), S_OK);
        EXPECT_TRUE(found);
        EXPECT_EQ(components->GetComponent(7, L"Variant", &iidOf<IVariant>(), found.put_void()), S_OK);
        EXPECT_FALSE(found);
        EXPECT_EQ(host::Hostility::calls(), 3);
    }
    EXPECT_EQ(components->GetComponent(7, L"Variant", &iidOf<IVariant>(), found.put_void()), S_OK);
    EXPECT_TRUE(found);

    SmartPtr<IString> text = host::makeString(L"abc");
    {
        host::Hostility hostile(Hostile::NegativeCounts);
        const wchar_t* characters = nullptr;
        int32_t length = 0;
        text->get_Text(&characters, &length);
        EXPECT_LT(length, 0);
    }
    {
        host::Hostility hostile(Hostile::HugeCounts);
        const wchar_t* characters = L"x";
        int32_t length = 0;
        text->get_Text(&characters, &length);
        EXPECT_EQ(characters, nullptr);
        EXPECT_EQ(length, INT_MAX);
    }

    SmartPtr<host::SuperCollection> collection = host::make<host::SuperCollection>();
    collection->Add(nullptr, text.get(), nullptr, 0);
    {
        host::Hostility hostile(Hostile::ShortCollections);
        int32_t count = 0;
        collection->get_Count(&count);
        EXPECT_EQ(count, 3);
        SmartPtr<IUnknown> item;
        EXPECT_EQ(collection->get_Item(1, item.put()), E_FAIL);
        EXPECT_EQ(collection->get_Item(2, item.put()), S_OK);
        EXPECT_FALSE(item);
    }

    for (Hostile events : {Hostile::TwiceEvents, Hostile::LateEvents}) {
        SmartPtr<Listener> listener = host::make<Listener>();
        SmartPtr<host::ConfirmationWindow> window = host::make<host::ConfirmationWindow>();
        window->setAskOperator(false);
        window->Advise(static_cast<_IConfirmationEvent*>(listener.get()), 1);
        window->Show();
        {
            host::Hostility hostile(events);
            EXPECT_TRUE(window->press(6));
        }
        host::OperatorThreads::wait();
        EXPECT_EQ(listener->answers.load(), 2);
    }
}
