// The Verb step: runs the verb chosen from another object's menu, acts itself
// on run, stop and edit, offers its own verbs, and stores its choice with its
// binding.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/Collections.h"
#include "host/FolderStream.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "host/Verbs.h"
#include "host/XmlStream.h"
#include "support/Bindings.h"
#include "support/HostTest.h"
#include "support/RecordedCalls.h"

namespace {

using Calls = std::vector<std::string>;

// What the step did, without making strings and finding components.
Calls stepCalls() { return takeCallsExcept({"ComponentString", "ComponentCollection", "VerbCollection"}); }

SmartPtr<host::VerbObject> pump(std::vector<host::VerbEntry> verbs = {}) {
    return host::make<host::VerbObject>("Pump", std::move(verbs));
}

// A collection holding "Action" (or another name) with that value, as the host's page hands it back.
SmartPtr<INamedCollection> actionSetting(IUnknown* value, const wchar_t* name = L"Action") {
    SmartPtr<host::ParameterList> parameters = host::make<host::ParameterList>();
    parameters->Add(host::makeString(name).get(), value, nullptr, 0);
    return parameters.query<INamedCollection>();
}

struct VerbStep {
    SmartPtr<IStep> step;
    SmartPtr<IParametricObject> parametric;
    SmartPtr<IUIVerbCollectionSpecify> verbs;

    void bind(IUnknown* target) const { stepInput(step.get(), L"VerbObject")->put_Object(target); }
    void choose(int32_t action) const {
        EXPECT_EQ(parametric->SetParameters(actionSetting(host::makeVariant(action).get()).get()), S_OK);
    }
    // Runs the step; what the host saw.
    Calls run() const {
        host::Recorder::clear();
        EXPECT_EQ(step->TurnOn(), S_OK);
        return stepCalls();
    }
};

struct Choice {
    std::wstring name;
    int32_t identifier;
    bool operator==(const Choice& other) const { return name == other.name && identifier == other.identifier; }
};

// The one "Action" parameter GetParameters offers: value, flags and choices.
struct Offered {
    int32_t action = -1;
    int32_t flags = 0;
    std::vector<Choice> choices;
};

Offered offered(const VerbStep& verb) {
    Offered result;
    SmartPtr<INamedCollection> collection;
    EXPECT_EQ(verb.parametric->GetParameters(collection.put(), 0), S_OK);
    SmartPtr<IParameters> parameters = collection.query<IParameters>();
    int32_t count = 0;
    parameters->get_Count(&count);
    EXPECT_EQ(count, 1);
    SmartPtr<IString> name;
    SmartPtr<IVariant> value;
    SmartPtr<IUnknown> descriptor;
    parameters->Iterate(0, name.put(), value.put(), descriptor.put(), &result.flags);
    EXPECT_EQ(host::textOf(name.get()), L"Action");
    result.action = value->get_Long();
    SmartPtr<ISuperCollection> choices = descriptor.query<ISuperCollection>();
    int32_t choiceCount = 0;
    choices->get_Count(&choiceCount);
    for (int32_t i = 0; i < choiceCount; ++i) {
        SmartPtr<IString> choiceName;
        choices->get_ItemName(i, choiceName.put());
        SmartPtr<IUnknown> item;
        choices->get_Item(i, item.put());
        result.choices.push_back({host::textOf(choiceName.get()), item.query<IVariant>()->get_Long()});
    }
    return result;
}

// The action a step holds, as its target is asked to do it.
int32_t heldAction(const VerbStep& verb) {
    SmartPtr<host::VerbObject> probe = pump();
    verb.bind(static_cast<IUIVerbCollectionSpecify*>(probe.get()));
    verb.run();
    const std::vector<int32_t> actions = probe->actions();
    verb.bind(nullptr);
    return actions.empty() ? -1 : actions.back();
}

}  // namespace

class VerbStepTest : public HostTest {
protected:
    VerbStep make() {
        VerbStep made;
        made.step = createStep<IStep>(L"GCUIVerb");
        made.parametric = made.step.query<IParametricObject>();
        made.verbs = made.step.query<IUIVerbCollectionSpecify>();
        return made;
    }
};

TEST_F(VerbStepTest, AVerbStepRunsAndOpensAnotherOne) {
    SmartPtr<host::VerbObject> target = pump();
    VerbStep inner = make();
    inner.bind(static_cast<IUIVerbCollectionSpecify*>(target.get()));
    inner.choose(5);
    VerbStep outer = make();
    outer.bind(inner.step.get());

    struct Case {
        int32_t action;
        Calls calls;
    };
    const Case cases[] = {
        {8, {"Pump.DoAction(5)"}},  // the inner step runs
        {3, {"Frame.AddObject(GCUIVerb, 0x60)", "UIUtils.ShowPopup(\"\", 3, 4, -1)"}},
        {9, {}},  // a synchronous step cannot be stopped: nothing to see
        {5, {}},  // the inner step answers 5, which the outer one leaves alone
        {0, {}},
    };
    for (const Case& c : cases) {
        outer.choose(c.action);
        EXPECT_EQ(outer.run(), c.calls) << "action " << c.action;
    }
    EXPECT_EQ(target->actions(), std::vector<int32_t>{5});

    // A step bound to itself, or to a step bound back to it, does not run
    // itself again while it runs.
    inner.bind(outer.step.get());
    inner.choose(8);
    outer.choose(8);
    EXPECT_EQ(outer.run(), Calls{});
    outer.bind(outer.step.get());
    EXPECT_EQ(outer.run(), Calls{});
    inner.bind(nullptr);
    outer.bind(nullptr);
}

TEST_F(VerbStepTest, NothingIsDoneWithoutATargetOfferingVerbs) {
    VerbStep verb = make();
    verb.choose(8);
    EXPECT_EQ(verb.run(), Calls{}) << "unbound";
    SmartPtr<host::SuperCollection> plain = host::make<host::SuperCollection>();
    verb.bind(static_cast<ISuperCollection*>(plain.get()));
    EXPECT_EQ(verb.run(), Calls{}) << "bound to an object without verbs";
    // A target answering 8 or 3 that is no step and has no pages.
    SmartPtr<host::VerbObject> target = pump();
    verb.bind(static_cast<IUIVerbCollectionSpecify*>(target.get()));
    for (int32_t action : {8, 9, 3, 42}) {
        verb.choose(action);
        EXPECT_EQ(verb.run(), Calls{"Pump.DoAction(" + std::to_string(action) + ")"});
    }
    verb.bind(nullptr);
}

TEST_F(VerbStepTest, TheChoicesAreTheTargetsVerbsAndTheActionOneOfThem) {
    VerbStep verb = make();
    SmartPtr<host::VerbObject> target = pump({{L"Open", true, 5}, {L"", false, 0}, {L"Close", true, 9}});
    verb.bind(static_cast<IUIVerbCollectionSpecify*>(target.get()));
    const std::vector<Choice> expected = {{L"Open", 5}, {L"------", 0}, {L"Close", 9}};

    struct Case {
        int32_t stored;
        int32_t offered;
    };
    for (const Case& c : {Case{7, 9}, Case{5, 5}, Case{0, 0}, Case{9, 9}}) {
        verb.choose(c.stored);
        const Offered result = offered(verb);
        EXPECT_EQ(result.action, c.offered) << "stored " << c.stored;
        EXPECT_EQ(result.flags, 0x43);
        EXPECT_EQ(result.choices, expected);
        EXPECT_EQ(heldAction(verb), c.offered) << "the stored setting follows";
        verb.bind(static_cast<IUIVerbCollectionSpecify*>(target.get()));
    }
    // An empty name is a separator as well.
    SmartPtr<host::VerbObject> blank = pump({{L"", true, 4}});
    verb.bind(static_cast<IUIVerbCollectionSpecify*>(blank.get()));
    EXPECT_EQ(offered(verb).choices, (std::vector<Choice>{{L"------", 4}}));

    // No target, or a target without verbs: no choices, and the action is 0.
    for (SmartPtr<host::VerbObject> none : {SmartPtr<host::VerbObject>(), pump()}) {
        verb.bind(static_cast<IUIVerbCollectionSpecify*>(none.get()));
        verb.choose(8);
        const Offered result = offered(verb);
        EXPECT_EQ(result.action, 0);
        EXPECT_TRUE(result.choices.empty());
    }
    verb.bind(nullptr);
    EXPECT_EQ(verb.parametric->GetParameters(nullptr, 0), E_POINTER);
}

TEST_F(VerbStepTest, TheActionIsSetFromANumberOrADecimalText) {
    VerbStep verb = make();
    struct Case {
        SmartPtr<IUnknown> value;
        const wchar_t* name;
        int32_t action;
    };
    const Case cases[] = {
        {host::makeVariant(int32_t{12}).query<IUnknown>(), L"Action", 12},
        {host::makeString(L"  12").query<IUnknown>(), L"Action", 12},
        {host::makeString(L"\u00FE\u00EF\t\r 7 tail").query<IUnknown>(), L"Action", 7},
        {host::makeString(L"   ").query<IUnknown>(), L"Action", 7},  // all blank: unchanged
        {host::makeString(L"-3").query<IUnknown>(), L"Action", -3},
        {host::makeString(L"Open").query<IUnknown>(), L"Action", 0},    // no number: 0
        {host::makeVariant(int32_t{4}).query<IUnknown>(), L"Verb", 0},  // no "Action": unchanged
        {host::makeVariant(2.75).query<IUnknown>(), L"Action", host::toInteger(2.75)},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(verb.parametric->SetParameters(actionSetting(c.value.get(), c.name).get()), S_OK);
        EXPECT_EQ(heldAction(verb), c.action) << "case " << &c - cases;
    }
    EXPECT_EQ(verb.parametric->SetParameters(nullptr), S_OK);
    EXPECT_EQ(heldAction(verb), 2) << "no collection: unchanged";
}

TEST_F(VerbStepTest, TheStepOffersRunAndEditAndAnswersAVerbUnchanged) {
    VerbStep verb = make();
    SmartPtr<IUIVerbCollection> verbs;
    ASSERT_EQ(verb.verbs->GetVerbs(7, nullptr, verbs.put()), S_OK);
    auto* collection = dynamic_cast<host::VerbCollection*>(verbs.get());
    ASSERT_NE(collection, nullptr);
    const std::vector<host::VerbEntry> own = collection->verbs();
    ASSERT_EQ(own.size(), 2u);
    EXPECT_EQ(own[0].name, L"Run");
    EXPECT_EQ(own[0].identifier, 8);
    EXPECT_EQ(own[1].name, L"Edit");
    EXPECT_EQ(own[1].identifier, 3);
    EXPECT_EQ(verb.verbs->GetVerbs(0, nullptr, nullptr), E_INVALIDARG);
    for (int32_t code : {0, 3, 8, 9, -1, 123456}) EXPECT_EQ(verb.verbs->DoAction(code, nullptr), code);

    // A Verb step aimed at another offers the other's two verbs.
    VerbStep outer = make();
    outer.bind(verb.step.get());
    outer.choose(3);
    EXPECT_EQ(offered(outer).choices, (std::vector<Choice>{{L"Run", 8}, {L"Edit", 3}}));
    outer.bind(nullptr);
}

TEST_F(VerbStepTest, SavingAndLoadingKeepTheActionAndTheBinding) {
    SmartPtr<host::VerbObject> target = pump();
    SmartPtr<host::SuperCollection> objects = host::make<host::SuperCollection>();
    objects->Add(host::makeString(L"Pump").get(), static_cast<IUIVerbCollectionSpecify*>(target.get()), nullptr, 0);

    VerbStep verb = make();
    stepInput(verb.step.get(), L"VerbObject")
        ->put_Object(host::make<host::CollectionMoniker>(L"Pump").query<IUnknown>().get());
    verb.choose(5);
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    ASSERT_EQ(verb.step.query<IDataPersist>()->Save(stream.get(), 0), S_OK);
    EXPECT_EQ(stream->names(), (std::vector<std::wstring>{L"Inputs", L"STEPUIVerbRunAction"}));

    auto loadInto = [&](IDataStream* from) {
        VerbStep loaded = make();
        EXPECT_EQ(loaded.step.query<IDataPersist>()->Load(from, 0), S_OK);
        loaded.step.query<IBindableObject>()->Bind(static_cast<INamedCollection*>(objects.get()), nullptr);
        EXPECT_EQ(inputBindings(loaded.step.get()), inputBindings(verb.step.get()));
        return loaded;
    };
    EXPECT_EQ(loadInto(stream.get()).run(), Calls{"Pump.DoAction(5)"});

    // A stored parameter collection is applied last and wins.
    SmartPtr<host::ParameterList> parameters = host::make<host::ParameterList>();
    parameters->Add(host::makeString(L"Action").get(), host::makeVariant(int32_t{3}).get(), nullptr, 0);
    stream->WriteObject(host::makeString(L"Parameters").get(), static_cast<IDataPersist*>(parameters.get()), 0);
    SmartPtr<host::FolderStream> reread = host::make<host::FolderStream>();
    std::string error;
    ASSERT_TRUE(reread->load(stream->save(), &error)) << error;
    EXPECT_EQ(loadInto(reread.get()).run(), Calls{"Pump.DoAction(3)"});

    // Streams that are not folders are refused, and nothing is changed.
    SmartPtr<host::XmlStream> xml = host::XmlStream::create(L"Root");
    EXPECT_EQ(verb.step.query<IDataPersist>()->Save(xml.get(), 0), E_NOTIMPL);
    EXPECT_EQ(verb.step.query<IDataPersist>()->Load(xml.get(), 0), E_NOTIMPL);
    EXPECT_EQ(verb.step.query<IDataPersist>()->Load(nullptr, 0), E_NOTIMPL);
    EXPECT_EQ(verb.step.query<IDataPersist>()->Save(nullptr, 0), E_NOTIMPL);
    verb.step.query<IBindableObject>()->Bind(static_cast<INamedCollection*>(objects.get()), nullptr);
    EXPECT_EQ(verb.run(), Calls{"Pump.DoAction(5)"});
}

TEST_F(VerbStepTest, MissingComponentsFailTheirOperationAndNothingElse) {
    VerbStep verb = make();
    VerbStep other = make();
    verb.bind(other.step.get());
    for (const wchar_t* name : {L"ParametersCreatable", L"UIVerbCollection", L"UIPropertyPageCollection", L"UIUtils"}) {
        components->remove(name);
    }
    SmartPtr<INamedCollection> parameters;
    EXPECT_EQ(verb.parametric->GetParameters(parameters.put(), 0), E_FAIL);
    EXPECT_EQ(parameters, nullptr);
    SmartPtr<IUIVerbCollection> verbs;
    EXPECT_EQ(verb.verbs->GetVerbs(0, nullptr, verbs.put()), E_FAIL);
    EXPECT_EQ(verbs, nullptr);
    verb.choose(3);
    EXPECT_EQ(verb.run(), Calls{}) << "no frame: no pages";

    // A component missing is looked for again, and once found it is kept:
    // the next collections are made without a lookup.
    host::addVerbComponents(*components.get());
    components->addClass(L"UIPropertyPageCollection", L"UIPropertyPageCollection");
    host::Recorder::clear();
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(verb.parametric->GetParameters(parameters.put(), 0), S_OK);
        EXPECT_EQ(verb.verbs->GetVerbs(0, nullptr, verbs.put()), S_OK);
    }
    const Calls lookups = takeCallsOn({"ComponentCollection"});
    for (const char* name : {"ParametersCreatable", "UIVerbCollection"}) {
        EXPECT_EQ(
            std::count(lookups.begin(), lookups.end(), std::string("ComponentCollection.get_Index(") + name + ")"), 1)
            << name;
    }
    components->remove(L"ParametersCreatable");
    EXPECT_EQ(verb.parametric->GetParameters(parameters.put(), 0), S_OK) << "kept";

    // A frame without a pop-up gets the object and shows nothing.
    components->remove(L"UIUtils");
    EXPECT_EQ(verb.run(), Calls{"Frame.AddObject(GCUIVerb, 0x60)"});
    verb.bind(nullptr);
}
