// Steps saved into the host's folder stream, written out as text, read back
// into fresh steps and saved again: values, bindings and the text itself
// must come back unchanged, and the entry layouts hosts rely on must hold.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "host/CsvStream.h"
#include "host/FolderStream.h"
#include "host/Inputs.h"
#include "host/SettingsStore.h"
#include "host/Variants.h"
#include "parameters/IParametersImpl.h"
#include "support/Bindings.h"
#include "support/HostTest.h"
#include "support/Parameters.h"

namespace {

class FolderPersistence : public HostTest {
protected:
    static std::string saved(IUnknown* step) {
        SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
        queryInterface<IDataPersist>(step)->Save(stream.get(), 0);
        return stream->save();
    }

    // The step loaded from the text form of a stream.
    SmartPtr<IUnknown> reloaded(const wchar_t* name, const std::string& text) {
        SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
        std::string error;
        EXPECT_TRUE(stream->load(text, &error)) << error;
        SmartPtr<IUnknown> step = createStep(name);
        EXPECT_EQ(queryInterface<IDataPersist>(step.get())->Load(stream.get(), 0), S_OK);
        return step;
    }

    static std::vector<std::wstring> valuesOf(IUnknown* step) { return parameterTexts(step, true); }
};

TEST_F(FolderPersistence, EveryStepComesBackAsItWasSaved) {
    for (const wchar_t* name : kRegisteredNames) {
        SCOPED_TRACE(host::narrow(name));
        SmartPtr<IUnknown> original = createStep(name);
        ASSERT_TRUE(original);
        configureStep(original.get(), true);
        const std::string first = saved(original.get());

        SmartPtr<IUnknown> copy = reloaded(name, first);
        ASSERT_TRUE(copy);
        EXPECT_EQ(saved(copy.get()), first) << "saved again, the text is the same";
        EXPECT_EQ(inputBindings(copy.get()), inputBindings(original.get()));
        // The property read step keeps its parameters out of folder streams:
        // they are made from the object it reads.
        if (std::wstring(name) != L"GCUIPropRead") {
            EXPECT_EQ(valuesOf(copy.get()), valuesOf(original.get()));
            EXPECT_EQ(descriptorTexts(copy.get()), descriptorTexts(original.get()));
        }
    }
}

TEST_F(FolderPersistence, SplitAndPlainLayouts) {
    // Split layout: "Parameters" in full form, then "Inputs".
    SmartPtr<IUnknown> refresh = createStep(L"GCUIRefresh");
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(refresh.get())->Save(stream.get(), 0);
    EXPECT_EQ(stream->names(), (std::vector<std::wstring>{L"Parameters", L"Inputs"}));
    SmartPtr<host::FolderStream> immediate = stream->folder(L"Parameters")->folder(L"Immediate");
    ASSERT_TRUE(immediate) << "full form: a folder per parameter";
    EXPECT_EQ(immediate->bytes(L"Flags"), (std::vector<uint8_t>{0x13, 0, 0, 0})) << "little-endian flags";
    EXPECT_EQ(stream->folder(L"Inputs")->classOf(L"Input0"), L"InputParameter");

    // Plain layout: compact parameter entries, the input list's beside them.
    SmartPtr<IUnknown> activate = createStep(L"GCUIActivate");
    stream = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(activate.get())->Save(stream.get(), 0);
    EXPECT_EQ(stream->names(), (std::vector<std::wstring>{L"Activate", L"Input0"}));
    EXPECT_FALSE(stream->folder(L"Activate")) << "compact: a plain value, no folder";
    // Kinds 3 and 9 are the declaration's; text (kind 6) keeps its flags.
    SmartPtr<IUnknown> button = createStep(L"GCUIButtonSelect");
    stream = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(button.get())->Save(stream.get(), 0);
    EXPECT_EQ(stream->names(), (std::vector<std::wstring>{L"Button", L"Select", L"Input0"}));
    EXPECT_FALSE(stream->folder(L"Button") || stream->folder(L"Select"));
    SmartPtr<IUnknown> pointer = createStep(L"GCUIPointer");
    stream = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(pointer.get())->Save(stream.get(), 0);
    ASSERT_TRUE(stream->folder(L"Window Name"));
    EXPECT_EQ(stream->folder(L"Window Name")->bytes(L"Flags"), (std::vector<uint8_t>{0x06, 0, 0, 0}));

    // The property read step writes its input list alone.
    SmartPtr<IUnknown> propRead = createStep(L"GCUIPropRead");
    stream = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(propRead.get())->Save(stream.get(), 0);
    EXPECT_EQ(stream->names(), (std::vector<std::wstring>{L"Inputs"}));
}

TEST_F(FolderPersistence, CompactFormLeavesOutWhatTheDeclarationRestores) {
    // Plain layout, compact: a choice parameter is a plain value (no flags,
    // no choice list); a result is kept only where its kind is reduced.
    SmartPtr<IUnknown> confirm = createStep(L"GCUIConfirm");
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(confirm.get())->Save(stream.get(), 0);
    EXPECT_TRUE(stream->has(L"Style"));
    EXPECT_FALSE(stream->folder(L"Style")) << "no folder: the choice list and flags are the declaration's";
    EXPECT_TRUE(stream->has(L"Response") && !stream->folder(L"Response")) << "a result of kind 3: a plain value";
    // Loaded back, an entry without a choice list leaves the declared one.
    stream = host::make<host::FolderStream>();
    SmartPtr<IFolderStream> style;
    stream->CreateFolder(host::makeString(L"Style").get(), 0, style.put());
    style->WriteValue(host::makeString(L"Value").get(), host::makeVariant(2).get());
    SmartPtr<IUnknown> loaded = createStep(L"GCUIConfirm");
    queryInterface<IDataPersist>(loaded.get())->Load(stream.get(), 0);
    EXPECT_EQ(descriptorTexts(loaded.get()), descriptorTexts(confirm.get()));
    SmartPtr<IUnknown> selected = createStep(L"GCTabGetSelected");
    stream = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(selected.get())->Save(stream.get(), 0);
    EXPECT_FALSE(stream->has(L"Name")) << "a result of kind 6 is not stored";
    EXPECT_TRUE(stream->has(L"Index"));

    // Full form (split layout): unnamed parameters are "Item<n>", parameters
    // flagged never-stored are left out, other flags are kept.
    SmartPtr<IParametersCreatable> write = createStep<IParametersCreatable>(L"GCUIPropWrite");
    write->Add(nullptr, host::makeVariant(1).get(), nullptr, 0x3);
    write->Add(host::makeString(L"Secret").get(), host::makeVariant(2).get(), nullptr, 0x4000003);
    write->Add(host::makeString(L"Odd").get(), host::makeVariant(3).get(), nullptr, 0x201);
    stream = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(write.get())->Save(stream.get(), 0);
    SmartPtr<host::FolderStream> parameters = stream->folder(L"Parameters");
    ASSERT_TRUE(parameters);
    EXPECT_EQ(parameters->names(), (std::vector<std::wstring>{L"Item1", L"Odd"}));
    EXPECT_EQ(parameters->folder(L"Odd")->bytes(L"Flags"), (std::vector<uint8_t>{0x01, 0x02, 0, 0}));
}

TEST_F(FolderPersistence, ObjectValuesUnnamedParametersAndTheStepItself) {
    SmartPtr<IParametersCreatable> write = createStep<IParametersCreatable>(L"GCUIPropWrite");
    SmartPtr<IUnknown> target = host::make<host::CollectionMoniker>(L"Pump").query<IUnknown>();
    write->Add(host::makeString(L"Target").get(), target.get(), nullptr, 0);
    SmartPtr<IVariant> self = host::make<host::Variant>();
    self->put_Value(queryInterface<IUnknown>(write.get()).get());
    write->Add(host::makeString(L"Self").get(), self.get(), nullptr, 0);
    write->Add(host::makeString(L"").get(), host::makeVariant(6).get(), nullptr, 0);
    write->Add(host::makeString(L"Result").get(), host::makeVariant(7).get(), nullptr, 0x40003);
    SmartPtr<host::InputParameter> binding = host::make<host::InputParameter>(L"bound", IID_NULL, 0);
    write->Add(host::makeString(L"Bound").get(), target.get(), static_cast<IInputParameter*>(binding.get()), 0);
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(write.get())->Save(stream.get(), 0);
    self->put_Value(nullptr);  // the step holds itself no longer

    SmartPtr<host::FolderStream> parameters = stream->folder(L"Parameters");
    ASSERT_TRUE(parameters);
    EXPECT_EQ(parameters->names(), (std::vector<std::wstring>{L"Target", L"Self", L"Item3", L"Result", L"Bound"}));
    EXPECT_EQ(parameters->folder(L"Bound")->names(), std::vector<std::wstring>{L"Descriptor"})
        << "a bound parameter's object is its binding's to keep";
    EXPECT_EQ(parameters->folder(L"Target")->names(), std::vector<std::wstring>{L"Unknown"});
    EXPECT_EQ(parameters->folder(L"Target")->classOf(L"Unknown"), L"CollectionMoniker");
    EXPECT_TRUE(parameters->folder(L"Self")->names().empty()) << "the step is not stored inside itself";
    EXPECT_FALSE(parameters->folder(L"Item3")) << "a plain value";
    EXPECT_EQ(parameters->folder(L"Result")->names(), (std::vector<std::wstring>{L"Value", L"Flags"}));
    EXPECT_EQ(parameters->folder(L"Result")->bytes(L"Flags"), (std::vector<uint8_t>{0x03, 0x00, 0x04, 0x00}));

    SmartPtr<IUnknown> copy = reloaded(L"GCUIPropWrite", stream->save());
    EXPECT_EQ(descriptorTexts(copy.get()),
              (std::vector<std::wstring>{L"Target #0 none", L"Self #0 none", L"Item3 #0 none", L"Result #40003 none",
                                         L"Bound #0 unbound index -1 iid 00000000"}));
    SmartPtr<IParameters> loaded = queryInterface<IParameters>(copy.get());
    SmartPtr<IUnknown> object;
    loaded->get_Item(0, object.put());
    auto* moniker = dynamic_cast<host::CollectionMoniker*>(object.query<ICollectionMoniker>().get());
    ASSERT_TRUE(moniker) << "the object value, made again";
    EXPECT_EQ(moniker->name(), L"Pump");
    SmartPtr<IVariant> empty;
    loaded->get_ItemVariant(1, empty.put());
    EXPECT_TRUE(empty && !empty->IsObject() && !empty->IsString() && empty->get_Type() == 0);
}

TEST_F(FolderPersistence, PathsAreStoredPortablyAndComeBackWhole) {
    SmartPtr<host::Registry> registry = host::make<host::Registry>();
    registry->set(L"Workspace", L"InstallPath", L"/opt/inspect");
    registry->set(L"Mappings", L"Images", L"/media/img");
    components->addObject(L"Registry", static_cast<IRegistry*>(registry.get()));

    SmartPtr<IParametersCreatable> write = createStep<IParametersCreatable>(L"GCUIPropWrite");
    write->Add(host::makeString(L"Setup").get(), host::makeVariant(std::wstring(L"/opt/inspect/data/a.png")).get(),
               nullptr, 0x16);
    write->Add(host::makeString(L"Picture").get(), host::makeVariant(std::wstring(L"/media/img/1.bmp")).get(), nullptr,
               0x6);
    write->Add(host::makeString(L"Elsewhere").get(), host::makeVariant(std::wstring(L"/srv/x.cfg")).get(), nullptr,
               0x16);
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(write.get())->Save(stream.get(), 0);
    SmartPtr<host::FolderStream> parameters = stream->folder(L"Parameters");
    ASSERT_TRUE(parameters);

    const auto storedText = [&](const wchar_t* name) {
        SmartPtr<IVariant> value = host::make<host::Variant>();
        parameters->folder(name)->ReadValue(host::makeString(L"Value").get(), value.get());
        SmartPtr<IString> text;
        value->get_String(text.put());
        return host::textOf(text.get());
    };
    EXPECT_EQ(storedText(L"Setup"), L"data/a.png") << "under the installation: relative";
    EXPECT_EQ(parameters->folder(L"Setup")->bytes(L"Flags"), (std::vector<uint8_t>{0x16, 0x01, 0, 0}));
    EXPECT_EQ(storedText(L"Picture"), L"[Images]/1.bmp") << "a text that is no path is mapped";
    EXPECT_EQ(storedText(L"Elsewhere"), L"/srv/x.cfg") << "a path outside the installation as it is";
    EXPECT_EQ(parameters->folder(L"Elsewhere")->bytes(L"Flags"), (std::vector<uint8_t>{0x16, 0, 0, 0}));

    SmartPtr<IUnknown> copy = createStep(L"GCUIPropWrite");
    queryInterface<IDataPersist>(copy.get())->Load(stream.get(), 0);
    EXPECT_EQ(parameterTexts(copy.get()),
              (std::vector<std::wstring>{L"Setup=/opt/inspect/data/a.png", L"Picture=/media/img/1.bmp",
                                         L"Elsewhere=/srv/x.cfg"}));
    components->remove(L"Registry");

    // A declared path kept with backslashes comes back with forward ones.
    SmartPtr<IUnknown> edit = createStep(L"GCUIEdit");
    SmartPtr<IParameters> editParameters = queryInterface<IParameters>(edit.get());
    int32_t helpFile = -1;
    editParameters->get_Index(host::makeString(L"HelpFile").get(), &helpFile);
    editParameters->put_Item(helpFile, host::makeString(L"docs\\help.chm").get());
    const std::vector<std::wstring> texts = parameterTexts(reloaded(L"GCUIEdit", saved(edit.get())).get());
    EXPECT_NE(std::find(texts.begin(), texts.end(), L"HelpFile=docs/help.chm"), texts.end());
}

TEST_F(FolderPersistence, SplitLayoutLoadRebuildsAndSkipsWhatIsMissing) {
    SmartPtr<IUnknown> refresh = createStep(L"GCUIRefresh");
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    SmartPtr<IFolderStream> parameters;
    stream->CreateFolder(host::makeString(L"Parameters").get(), 0, parameters.put());
    parameters->WriteValue(host::makeString(L"Other").get(), host::makeVariant(5).get());
    EXPECT_EQ(queryInterface<IDataPersist>(refresh.get())->Load(stream.get(), 0), S_OK);
    EXPECT_EQ(valuesOf(refresh.get()), (std::vector<std::wstring>{L"Other=5"})) << "the set is rebuilt";

    SmartPtr<IUnknown> fresh = createStep(L"GCUIRefresh");
    SmartPtr<host::FolderStream> inputsOnly = host::make<host::FolderStream>();
    SmartPtr<IFolderStream> inputs;
    inputsOnly->CreateFolder(host::makeString(L"Inputs").get(), 0, inputs.put());
    EXPECT_EQ(queryInterface<IDataPersist>(fresh.get())->Load(inputsOnly.get(), 0), S_OK);
    EXPECT_EQ(valuesOf(fresh.get()), (std::vector<std::wstring>{L"Immediate=0"})) << "declared parameters kept";

    EXPECT_EQ(queryInterface<IDataPersist>(fresh.get())->Load(nullptr, 0), E_NOTIMPL);
    EXPECT_EQ(queryInterface<IDataPersist>(fresh.get())->Load(host::make<host::CsvStream>().get(), 0), E_NOTIMPL)
        << "neither XML nor a folder";
}

TEST_F(FolderPersistence, TheEditStepKeepsItsWindowArea) {
    const int32_t area[4] = {10, 20, 300, 400};
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    stream->WriteBinary(host::makeString(L"Rect").get(), area, sizeof area, 0);
    SmartPtr<IUnknown> edit = createStep(L"GCUIEdit");
    ASSERT_EQ(queryInterface<IDataPersist>(edit.get())->Load(stream.get(), 0), S_OK);

    SmartPtr<host::FolderStream> again = host::make<host::FolderStream>();
    ASSERT_EQ(queryInterface<IDataPersist>(edit.get())->Save(again.get(), 0), S_OK);
    const std::vector<uint8_t> rect = again->bytes(L"Rect");
    ASSERT_EQ(rect.size(), 16u);
    int32_t back[4];
    std::memcpy(back, rect.data(), sizeof back);
    EXPECT_EQ(std::vector<int32_t>(back, back + 4), std::vector<int32_t>(area, area + 4));
    EXPECT_EQ(again->names().back(), L"Rect") << "after the parameters and inputs";

    // A block of another size is not taken; opening the pages forgets the area.
    SmartPtr<host::FolderStream> shortBlock = host::make<host::FolderStream>();
    shortBlock->WriteBinary(host::makeString(L"Rect").get(), area, 8, 0);
    queryInterface<IDataPersist>(edit.get())->Load(shortBlock.get(), 0);
    again = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(edit.get())->Save(again.get(), 0);
    EXPECT_EQ(again->bytes(L"Rect"), rect);

    SmartPtr<INamedCollection> pages;
    queryInterface<IUIPropertyPageSpecify>(edit.get())->GetPages(0, pages.put(), nullptr);
    again = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(edit.get())->Save(again.get(), 0);
    EXPECT_EQ(again->bytes(L"Rect"), std::vector<uint8_t>(16, 0));

    EXPECT_EQ(queryInterface<IDataPersist>(edit.get())->Save(host::make<host::CsvStream>().get(), 0), E_NOTIMPL);
    EXPECT_EQ(queryInterface<IDataPersist>(edit.get())->Load(nullptr, 0), E_NOTIMPL);
}

}  // namespace
