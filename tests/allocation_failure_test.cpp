// Every operation of every step with the module's nth allocation failing, for
// n = 1, 2, ... until a run completes without reaching n: once with the nth
// failing alone, once with every allocation from the nth on failing. The
// host allocates as it likes; only the module's own allocations fail.
//
// After each n: the operation returned success or a failure code (nothing
// was thrown through it), a failure for want of memory left the step as it
// was (an operation that brings in several parameters brings all or none;
// a creation or a replica is whole or not made), the step still works when
// memory comes back (the operation run again gives what it gives on a
// step that never ran short), the step's last Release allocates nothing,
// and the ledger of live host objects is where it was.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "host/Collections.h"
#include "host/CsvStream.h"
#include "host/FolderStream.h"
#include "host/Operator.h"
#include "host/OperatorWindows.h"
#include "host/UIUtilities.h"
#include "host/Variants.h"
#include "host/Verbs.h"
#include "host/XmlStream.h"
#include "runtime/Allocation.h"
#include "support/Bindings.h"
#include "support/HostTest.h"
#include "support/PropertyObjects.h"
#include "support/Slots.h"
#include "support/StepClasses.h"

using namespace std::chrono_literals;

namespace {

constexpr int32_t kCompact = 0x800000;
constexpr int32_t kRebuild = 0x1000000;
constexpr int32_t kCsvNames = 0x10000;

using Lines = std::vector<std::string>;

bool userDefined(const std::wstring& className) {
    return className == L"GCUIPropRead" || className == L"GCUIPropWrite";
}
bool asynchronous(const std::wstring& className) {
    return className == L"GCUIConfirm" || className == L"GCUIInput" || className == L"GCUIEdit";
}

// What an operation may answer: success, or a failure code. A code outside
// the failures cannot have come from an exception turned into a code either.
bool isResultCode(HRESULT code) { return documented(code) || code == E_OUTOFMEMORY; }

// The step as a host sees it: every parameter (name, value, flags,
// descriptor), then every input's binding.
Lines stateOf(IUnknown* step) {
    if (!step) return {"(nothing made)"};
    Lines lines = parameterLines(step);
    for (const std::wstring& binding : inputBindings(step)) lines.push_back(host::narrow(binding));
    return lines;
}

SmartPtr<IUnknown> variantOf(const std::wstring& text) { return host::makeVariant(text).query<IUnknown>(); }

// Twelve entries, so that a set rebuilt from them grows the record array twice.
SmartPtr<host::FolderStream> twelveValues() {
    SmartPtr<host::FolderStream> folder = host::make<host::FolderStream>();
    for (int i = 1; i <= 12; ++i) {
        folder->WriteValue(host::makeString(L"Stored" + std::to_wstring(i)).get(), host::makeVariant(i * 11).get());
    }
    return folder;
}
std::string twelveElements(bool objects) {
    std::string text = "<Step>";
    for (int i = 1; i <= 12; ++i) {
        const std::string name = "Stored" + std::to_string(i);
        text += "<" + name + ">";
        text += objects ? "<CollectionMoniker><Name>Thing" + std::to_string(i) + "</Name></CollectionMoniker>"
                        : std::to_string(i * 11);
        text += "</" + name + ">";
    }
    return text + "</Step>";
}

// Calls one of the template's own operations through the host's table of
// the step's collection (the fixed or the user-defined one).
template <class... Arguments>
HRESULT onTable(IUnknown* step, int TemplateTable::*operation, Arguments... arguments) {
    if (SmartPtr<IParametersCreatable> user = queryInterface<IParametersCreatable>(step)) {
        return callSlot(user.get(), kCreatableSlots.*operation, arguments...);
    }
    return callSlot(queryInterface<IParameters>(step).get(), kFixedSlots.*operation, arguments...);
}

// What the operations of one class work with, made before any allocation fails.
struct Setting {
    std::wstring className;
    CREATEFUNCTION creator = nullptr;
    SmartPtr<host::SuperCollection> objects;   // what Bind attaches the monikers to
    SmartPtr<host::PropertyObject> camera;     // what the property steps read and write
    std::string storedFolder;                  // a differently set step of the class, saved
    std::string storedXml;                     // the same in XML
    SmartPtr<host::ParameterList> copySource;  // two of the class's names and twelve new ones
};

// An operation family: what it does to a prepared step, under the plan.
struct Outcome {
    HRESULT code = S_OK;
    Lines state;  // what the operation leaves or makes, when the family compares it
};
struct Family {
    const char* name;
    bool (*appliesTo)(const Setting&, IUnknown* step);
    // Readies a prepared step (memory still there); may be null.
    void (*ready)(const Setting&, IUnknown* step);
    Outcome (*run)(const Setting&, IUnknown* step);
    // What a run that ran out of memory leaves: the step as it was (true), or
    // nothing to compare (false: running and stopping leave their traces).
    bool comparesState;
    // The family makes a new object (creation, replica): one that ran out of
    // memory has made nothing.
    bool makesObject;
};

bool always(const Setting&, IUnknown*) { return true; }
bool isUserDefined(const Setting& setting, IUnknown*) { return userDefined(setting.className); }
bool isAsynchronous(const Setting& setting, IUnknown*) { return asynchronous(setting.className); }
bool replicable(const Setting&, IUnknown* step) { return static_cast<bool>(queryInterface<IReplicableObject>(step)); }
bool hasVerbs(const Setting&, IUnknown* step) {
    return static_cast<bool>(queryInterface<IUIVerbCollectionSpecify>(step));
}

Outcome withState(HRESULT code, IUnknown* step) { return {code, stateOf(step)}; }

// The collection just full, so that the next parameter grows its array.
void fillToTen(const Setting&, IUnknown* step) {
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
    int32_t count = 0;
    parameters->get_Count(&count);
    for (int32_t i = count; i % 10 != 0; ++i) {
        parameters->CollectionLock();
        onTable(step, &TemplateTable::AddNOLOCK, host::makeString(L"Filler" + std::to_wstring(i)).get(),
                host::makeVariant(i).query<IUnknown>().get(), static_cast<IUnknown*>(nullptr), int32_t{3});
        parameters->CollectionUnlock();
    }
}

void turnOn(const Setting&, IUnknown* step) { queryInterface<IStep>(step)->TurnOn(); }

const Family kFamilies[] = {
    {"create", always, nullptr,
     [](const Setting& setting, IUnknown*) {
         SmartPtr<IUnknown> made;
         const HRESULT code = setting.creator(nullptr, &IID_IUnknown, made.put_void());
         return Outcome{code, stateOf(made.get())};
     },
     true, true},
    {"write parameters", always, nullptr,
     [](const Setting&, IUnknown* step) {
         SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
         int32_t count = 0;
         parameters->get_Count(&count);
         HRESULT code = S_OK;
         for (int32_t i = 0; i < count && code >= 0; ++i) {
             SmartPtr<IUnknown> descriptor;
             parameters->get_ItemDescriptor(i, descriptor.put());
             int32_t flags = 0;
             parameters->get_ItemFlags(i, &flags);
             code = parameters->put_Item(i, host::makeVariant(int32_t{i * 7}).get());
             if (code >= 0) code = parameters->Rename(i, host::makeString(L"Renamed" + std::to_wstring(i)).get());
             if (code >= 0) code = parameters->put_ItemDescriptor(i, descriptor.get());
             if (code >= 0) code = parameters->put_ItemFlags(i, flags | 0x400);
         }
         return withState(code, step);
     },
     true, false},
    {"add", always, fillToTen,
     [](const Setting&, IUnknown* step) {
         SmartPtr<IString> name = host::makeString(L"Added");
         SmartPtr<IUnknown> value = variantOf(L"added value");
         if (SmartPtr<IParametersCreatable> user = queryInterface<IParametersCreatable>(step)) {
             return withState(user->Add(name.get(), value.get(), nullptr, 6), step);
         }
         SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
         parameters->CollectionLock();
         const HRESULT code = callSlot(parameters.get(), kFixedSlots.AddNOLOCK, name.get(), value.get(),
                                       static_cast<IUnknown*>(nullptr), int32_t{6});
         parameters->CollectionUnlock();
         return withState(code, step);
     },
     true, false},
    {"set", isUserDefined, fillToTen,
     [](const Setting&, IUnknown* step) {
         SmartPtr<IParametersCreatable> user = queryInterface<IParametersCreatable>(step);
         // The new name first: only it needs memory, so a failure leaves all as it was.
         HRESULT code = user->Set(host::makeString(L"New").get(), variantOf(L"set new").get(), nullptr, 3, 0);
         if (code >= 0)
             code = user->Set(host::makeString(L"User1").get(), variantOf(L"set again").get(), nullptr, 0, 2);
         return withState(code, step);
     },
     true, false},
    {"sort", always, nullptr,
     [](const Setting&, IUnknown* step) {
         HRESULT code = onTable(step, &TemplateTable::Sort, int32_t{2});
         if (code >= 0) code = onTable(step, &TemplateTable::Sort, int32_t{0});
         return withState(code, step);
     },
     true, false},
    {"copy", always, nullptr,
     [](const Setting& setting, IUnknown* step) {
         IParameters* source = setting.copySource.get();
         return withState(onTable(step, &TemplateTable::Copy, source), step);
     },
     true, false},
    {"folder save", always, nullptr,
     [](const Setting&, IUnknown* step) {
         SmartPtr<host::FolderStream> folder = host::make<host::FolderStream>();
         Outcome outcome = withState(queryInterface<IDataPersist>(step)->Save(folder.get(), 0), step);
         outcome.state.push_back(folder->save());
         return outcome;
     },
     true, false},
    {"folder load", always, nullptr,
     [](const Setting& setting, IUnknown* step) {
         SmartPtr<host::FolderStream> stored = host::make<host::FolderStream>();
         stored->load(setting.storedFolder);
         return withState(queryInterface<IDataPersist>(step)->Load(stored.get(), 0), step);
     },
     true, false},
    {"folder load, rebuilt", always, nullptr,
     [](const Setting&, IUnknown* step) {
         SmartPtr<host::FolderStream> stored = twelveValues();
         IDataStream* stream = stored.get();
         return withState(onTable(step, &TemplateTable::Params_LoadFolderStream, stream, kRebuild), step);
     },
     true, false},
    {"xml save", always, nullptr,
     [](const Setting&, IUnknown* step) {
         SmartPtr<host::XmlStream> xml = host::XmlStream::create(L"Step");
         Outcome outcome = withState(queryInterface<IDataPersist>(step)->Save(xml.get(), kCompact), step);
         outcome.state.push_back(xml->save());
         IDataStream* stream = xml.get();
         const HRESULT full = onTable(step, &TemplateTable::Params_SaveXML, stream, int32_t{0});
         if (outcome.code >= 0) outcome.code = full;
         outcome.state.push_back(xml->save());
         return outcome;
     },
     true, false},
    {"xml load", always, nullptr,
     [](const Setting& setting, IUnknown* step) {
         SmartPtr<host::XmlStream> stored = host::XmlStream::parse(setting.storedXml);
         return withState(queryInterface<IDataPersist>(step)->Load(stored.get(), 0), step);
     },
     true, false},
    {"xml load, rebuilt", always, nullptr,
     [](const Setting&, IUnknown* step) {
         SmartPtr<host::XmlStream> stored = host::XmlStream::parse(twelveElements(false));
         IDataStream* stream = stored.get();
         return withState(onTable(step, &TemplateTable::Params_LoadXML, stream, kRebuild, int32_t{0}), step);
     },
     true, false},
    {"xml objects, rebuilt", always, nullptr,
     [](const Setting&, IUnknown* step) {
         SmartPtr<host::XmlStream> stored = host::XmlStream::parse(twelveElements(true));
         IDataStream* stream = stored.get();
         return withState(onTable(step, &TemplateTable::Params_LoadXMLUnk, stream, kRebuild), step);
     },
     true, false},
    {"csv save", always, nullptr,
     [](const Setting&, IUnknown* step) {
         SmartPtr<host::CsvStream> csv = host::make<host::CsvStream>();
         IDataStream* stream = csv.get();
         Outcome outcome = withState(onTable(step, &TemplateTable::Params_SaveCSV, stream, kCsvNames), step);
         outcome.state.push_back(host::narrow(csv->text()));
         return outcome;
     },
     true, false},
    {"replicate", replicable, nullptr,
     [](const Setting&, IUnknown* step) {
         const Lines before = stateOf(step);
         SmartPtr<IUnknown> copy;
         const HRESULT code = queryInterface<IReplicableObject>(step)->Replicate(copy.put());
         EXPECT_EQ(stateOf(step), before) << "the source step is not changed by its copy";
         EXPECT_EQ(code, S_OK) << "a copy that cannot be made is no copy, and still 0";
         // No copy means the copy ran short: it is whole or not made.
         if (!copy) return Outcome{E_OUTOFMEMORY, Lines{"(nothing made)"}};
         return Outcome{code, stateOf(copy.get())};
     },
     true, true},
    {"bind", always, nullptr,
     [](const Setting& setting, IUnknown* step) {
         INamedCollection* objects = setting.objects.get();
         return withState(queryInterface<IBindableObject>(step)->Bind(objects, nullptr), step);
     },
     true, false},
    {"pages", always, nullptr,
     [](const Setting&, IUnknown* step) {
         SmartPtr<INamedCollection> pages;
         SmartPtr<IUnknown> unused;
         return withState(queryInterface<IUIPropertyPageSpecify>(step)->GetPages(0, pages.put(), unused.put()), step);
     },
     true, false},
    {"verbs", hasVerbs, nullptr,
     [](const Setting&, IUnknown* step) {
         SmartPtr<IUIVerbCollection> verbs;
         HRESULT code = queryInterface<IUIVerbCollectionSpecify>(step)->GetVerbs(0, nullptr, verbs.put());
         SmartPtr<IParametricObject> parametric = queryInterface<IParametricObject>(step);
         SmartPtr<INamedCollection> offered;
         if (code >= 0) code = parametric->GetParameters(offered.put(), 0);
         if (code >= 0) code = parametric->SetParameters(offered.get());
         return withState(code, step);
     },
     true, false},
    {"run", always, nullptr,
     [](const Setting&, IUnknown* step) {
         return Outcome{queryInterface<IStep>(step)->TurnOn(), {}};
     },
     false, false},
    {"stop", isAsynchronous, turnOn,
     [](const Setting&, IUnknown* step) {
         return Outcome{queryInterface<IStep>(step)->TurnOff(), {}};
     },
     false, false},
};

// Checks made by a run under a plan, in one place for the message.
struct Round {
    const char* family;
    uint64_t failing;
    bool persistent;
    std::string label() const {
        return std::string(family) + ", allocation " + std::to_string(failing) + (persistent ? " on" : " alone");
    }
};

}  // namespace

class AllocationFailure : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        host::Operator::current().setDismissUnanswered(true);
        table = stringTable(components.get());
        nameCameraProperties(table.get());
    }
    void TearDown() override {
        planAllocationFailure(0, false);
        host::OperatorThreads::wait();
        host::Operator::current().setDismissUnanswered(false);
        host::Operator::current().script({});
        table = nullptr;
        HostTest::TearDown();
    }

    Setting settingFor(const wchar_t* className) {
        Setting setting;
        setting.className = className;
        EXPECT_EQ(CreateFunction(refText(className), &setting.creator), S_OK);
        setting.objects = host::make<host::SuperCollection>();
        setting.objects->Add(host::makeString(L"View0").get(),
                             host::make<host::SuperCollection>().query<IUnknown>().get(), nullptr, 0);
        setting.camera = camera();
        SmartPtr<IUnknown> other = prepare(setting);
        SmartPtr<IParameters> parameters = queryInterface<IParameters>(other.get());
        int32_t count = 0;
        parameters->get_Count(&count);
        for (int32_t i = 0; i < count; ++i) parameters->put_Item(i, variantOf(L"stored " + std::to_wstring(i)).get());
        SmartPtr<host::FolderStream> folder = host::make<host::FolderStream>();
        queryInterface<IDataPersist>(other.get())->Save(folder.get(), 0);
        setting.storedFolder = folder->save();
        SmartPtr<host::XmlStream> xml = host::XmlStream::create(L"Step");
        queryInterface<IDataPersist>(other.get())->Save(xml.get(), 0);
        setting.storedXml = xml->save();
        setting.copySource = host::make<host::ParameterList>();
        for (int32_t i = 0; i < 2 && i < count; ++i) {
            SmartPtr<IString> name;
            parameters->get_ItemName(i, name.put());
            setting.copySource->Add(name.get(), variantOf(L"copied " + std::to_wstring(i)).get(), nullptr, 0x13);
        }
        for (int i = 1; i <= 12; ++i) {
            setting.copySource->Add(host::makeString(L"Copied" + std::to_wstring(i)).get(), host::makeVariant(i).get(),
                                    nullptr, 3);
        }
        return setting;
    }

    // A step as a program editor leaves it: values off their defaults, its
    // inputs and one parameter bound; a user-defined set of twelve; the
    // property steps bound to an object with properties.
    SmartPtr<IUnknown> prepare(const Setting& setting) {
        SmartPtr<IUnknown> step;
        setting.creator(nullptr, &IID_IUnknown, step.put_void());
        if (!step) return nullptr;
        if (SmartPtr<IParametersCreatable> user = queryInterface<IParametersCreatable>(step.get())) {
            for (int i = 1; i <= 12; ++i) {
                user->Add(host::makeString(L"User" + std::to_wstring(i)).get(), host::makeVariant(i).get(), nullptr,
                          i % 2 ? 3 : 6);
            }
        }
        configureStep(step.get(), true);
        if (userDefined(setting.className)) {
            stepInput(step.get(), L"UIParametric")->put_Object(static_cast<IUIPropInterrogate*>(setting.camera.get()));
        }
        return step;
    }

    // The host's objects back where they were, type by type: an
    // asynchronous step's windows answered or closed by the operator, the
    // host's pop-ups forgotten, a worker's last reference let go.
    void forgetPopupsAfterTheOperator() {
        host::OperatorThreads::wait();
        forgetPopups();
    }
    bool settlesAt(const std::string& live) {
        for (int i = 0; i < 5000 && host::Ledger::report() != live; ++i) {
            forgetPopupsAfterTheOperator();
            std::this_thread::sleep_for(1ms);
        }
        return host::Ledger::report() == live;
    }
    // After a run left to itself: until the host's objects stop changing.
    void quietDown() {
        std::string last;
        for (int i = 0, still = 0; i < 3000 && still < 5; ++i) {
            forgetPopupsAfterTheOperator();
            const std::string now = host::Ledger::report();
            still = now == last ? still + 1 : 0;
            last = now;
            std::this_thread::sleep_for(2ms);
        }
    }

    // A prepared step, readied, the operation run under the plan; then every
    // check. False when the operation completed without reaching the
    // failing allocation.
    bool runRound(const Setting& setting, const Family& family, const Outcome& expected, const Round& round) {
        SCOPED_TRACE(round.label());
        const std::string live = host::Ledger::report();
        uint64_t counted = 0;
        {
            SmartPtr<IUnknown> step = prepare(setting);
            if (family.ready) family.ready(setting, step.get());
            const Lines before = family.makesObject ? Lines{"(nothing made)"} : stateOf(step.get());

            planAllocationFailure(round.failing, round.persistent);
            const Outcome outcome = family.run(setting, step.get());
            counted = allocationsCounted();
            planAllocationFailure(0, false);

            EXPECT_TRUE(isResultCode(outcome.code)) << std::hex << outcome.code;
            const bool ranShort = outcome.code == E_OUTOFMEMORY;
            EXPECT_TRUE(ranShort || counted < round.failing || !family.comparesState)
                << "an allocation failed, yet the operation answered " << std::hex << outcome.code;
            if (family.comparesState) {
                if (ranShort) {
                    EXPECT_EQ(outcome.state, before) << "what ran out of memory changed nothing";
                } else {
                    EXPECT_EQ(outcome.code, expected.code);
                    EXPECT_EQ(outcome.state, expected.state);
                }
            }
            if (ranShort) {
                // Memory is back: the same step does what a step that never ran short does.
                if (family.ready == turnOn) queryInterface<IStep>(step.get())->TurnOn();
                const Outcome again = family.run(setting, step.get());
                EXPECT_EQ(again.code, expected.code);
                if (family.comparesState) {
                    EXPECT_EQ(again.state, expected.state);
                }
            }
            if (SmartPtr<IStep> running = queryInterface<IStep>(step.get())) running->TurnOff();
            // The last Release takes nothing: with every allocation failing it
            // still ends the step, and counts none.
            planAllocationFailure(1, true);
            IUnknown* last = step.detach();
            last->Release();
            const uint64_t teardown = allocationsCounted();
            planAllocationFailure(0, false);
            EXPECT_EQ(teardown, 0u) << "the teardown allocated";
        }
        EXPECT_TRUE(settlesAt(live)) << "was " << live << "\nnow " << host::Ledger::report();
        return counted >= round.failing;
    }

    SmartPtr<host::StringTable> table;
};

TEST_F(AllocationFailure, EveryOperationOfEveryStepSurvivesEveryFailingAllocation) {
    StepClassesResolved resolved;  // XML object elements of the module's classes can be made
    uint64_t failed = 0;
    for (const wchar_t* className : kRegisteredNames) {
        const Setting setting = settingFor(className);
        ASSERT_TRUE(setting.creator);
        for (const Family& family : kFamilies) {
            SmartPtr<IUnknown> probe = prepare(setting);
            ASSERT_TRUE(probe);
            const bool applies = family.appliesTo(setting, probe.get());
            if (SmartPtr<IStep> running = probe.query<IStep>()) running->TurnOff();
            probe = nullptr;
            if (!applies) continue;
            SCOPED_TRACE(host::narrow(className) + ", " + family.name);

            // What the operation gives with memory to spare.
            Outcome expected;
            {
                SmartPtr<IUnknown> step = prepare(setting);
                if (family.ready) family.ready(setting, step.get());
                expected = family.run(setting, step.get());
                if (SmartPtr<IStep> running = step.query<IStep>()) running->TurnOff();
            }
            if (asynchronous(setting.className)) quietDown();
            ASSERT_TRUE(isResultCode(expected.code));
            ASSERT_NE(expected.code, E_OUTOFMEMORY);

            for (bool persistent : {false, true}) {
                for (uint64_t n = 1;; ++n) {
                    if (!runRound(setting, family, expected, Round{family.name, n, persistent})) break;
                    ++failed;
                    if (HasFailure()) return;
                }
            }
        }
    }
    // The module's allocations were reached at all: creations, records and runs.
    EXPECT_GT(failed, 500u);
}
