// The stand-in host's folder stream on its own: entries in order and by name,
// values, blocks and scalars read back exactly as written, objects stored by
// class and re-created (the module's steps through CreateFunction), and the
// text form, exact for what it wrote and closed to anything else.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "host/Collections.h"
#include "host/FolderStream.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "support/Bindings.h"
#include "support/Damage.h"
#include "support/HostTest.h"
#include "support/StepClasses.h"

namespace {

using host::makeString;
using host::makeVariant;
using host::textOf;

using FolderStream = HostTest;

SmartPtr<IString> name(const wchar_t* text) { return makeString(text); }

std::wstring monikerName(IUnknown* object) {
    auto* moniker = dynamic_cast<host::CollectionMoniker*>(queryInterface<ICollectionMoniker>(object).get());
    return moniker ? moniker->name() : L"(not a moniker)";
}

TEST_F(FolderStream, EntriesKeepTheirOrderAndAreFoundByName) {
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    stream->WriteValue(name(L"A").get(), makeVariant(1).get());
    stream->WriteValue(name(L"B").get(), makeVariant(2).get());
    stream->WriteBinary(name(L"C").get(), "\x01\xFE", 2, 0);
    // Writing a name again replaces its entry where it stands, whatever kind
    // either one is.
    SmartPtr<IFolderStream> sub;
    ASSERT_EQ(stream->CreateFolder(name(L"B").get(), 0, sub.put()), S_OK);
    sub->WriteValue(name(L"Inner").get(), makeVariant(std::wstring(L"x")).get());
    stream->WriteValue(name(L"A").get(), makeVariant(std::wstring(L"again")).get());
    EXPECT_EQ(stream->names(), (std::vector<std::wstring>{L"A", L"B", L"C"}));

    SmartPtr<INamedCollection> entries = queryInterface<INamedCollection>(static_cast<IFolderStream*>(stream.get()));
    int32_t count = 0;
    EXPECT_EQ(entries->get_Count(&count), S_OK);
    EXPECT_EQ(count, 3);
    int32_t index = -1;
    EXPECT_EQ(entries->get_Index(name(L"C").get(), &index), S_OK);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(entries->get_Index(makeVariant(std::wstring(L"B")).get(), &index), S_OK) << "a variant's string";
    EXPECT_EQ(index, 1);
    EXPECT_LT(entries->get_Index(name(L"a").get(), &index), 0) << "names are exact";
    EXPECT_EQ(index, -1);
    EXPECT_LT(entries->get_Index(makeVariant(1).get(), &index), 0);
    SmartPtr<IString> itemName;
    EXPECT_EQ(entries->get_ItemName(1, itemName.put()), S_OK);
    EXPECT_EQ(textOf(itemName.get()), L"B");
    EXPECT_EQ(entries->get_ItemName(3, itemName.put()), E_INVALIDARG);

    // Items: a value is a variant, a sub-folder a stream of its own, a block
    // its hexadecimal digits.
    SmartPtr<IUnknown> item;
    ASSERT_EQ(entries->get_Item(0, item.put()), S_OK);
    SmartPtr<IVariant> value = item.query<IVariant>();
    ASSERT_TRUE(value && value->IsString());
    SmartPtr<IString> text;
    value->get_String(text.put());
    EXPECT_EQ(textOf(text.get()), L"again");
    ASSERT_EQ(entries->get_Item(1, item.put()), S_OK);
    EXPECT_TRUE(item.query<IFolderStream>() && item.query<IDataStream>() && item.query<INamedCollection>());
    EXPECT_EQ(item.get(), queryInterface<IUnknown>(sub.get()).get()) << "the sub-folder itself";
    ASSERT_EQ(entries->get_Item(2, item.put()), S_OK);
    EXPECT_EQ(textOf(item.query<IString>().get()), L"01FE");
    EXPECT_EQ(entries->get_Item(-1, item.put()), E_INVALIDARG);
    EXPECT_FALSE(item);

    EXPECT_EQ(stream->CreateFolder(nullptr, 0, sub.put()), E_INVALIDARG);
    EXPECT_EQ(stream->CreateFolder(name(L"D").get(), 0, nullptr), E_POINTER);
    EXPECT_EQ(stream->names().size(), 3u) << "refused writes add nothing";
}

TEST_F(FolderStream, ValuesBlocksAndScalarsReadBackExactly) {
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    stream->WriteValue(name(L"Int").get(), makeVariant(-7).get());
    stream->WriteValue(name(L"Real").get(), makeVariant(0.1).get());
    stream->WriteValue(name(L"Text").get(), makeVariant(std::wstring(L"t\u00e9xt")).get());
    stream->WriteValue(name(L"Empty").get(), host::make<host::Variant>().get());
    const int32_t scalar = 0x12345678;
    EXPECT_EQ(stream->WriteScalar(name(L"Scalar").get(), &scalar, 3), S_OK);
    EXPECT_EQ(stream->WriteScalar(name(L"Wide").get(), &scalar, 4), E_INVALIDARG) << "only kind 3, 32-bit integers";
    const uint8_t block[5] = {1, 2, 3, 4, 5};
    EXPECT_EQ(stream->WriteBinary(name(L"Block").get(), block, 5, 0), S_OK);
    EXPECT_EQ(stream->WriteBinary(name(L"Nothing").get(), nullptr, 0, 0), S_OK);
    EXPECT_EQ(stream->WriteBinary(name(L"Bad").get(), nullptr, 4, 0), E_INVALIDARG);

    SmartPtr<IVariant> into = host::make<host::Variant>();
    ASSERT_EQ(stream->ReadValue(name(L"Int").get(), into.get()), S_OK);
    EXPECT_EQ(into->get_Type(), 1);
    EXPECT_EQ(into->get_Long(), -7);
    ASSERT_EQ(stream->ReadValue(name(L"Real").get(), into.get()), S_OK);
    EXPECT_EQ(into->get_Type(), 2);
    EXPECT_EQ(into->get_Double(), 0.1);
    ASSERT_EQ(stream->ReadValue(name(L"Text").get(), into.get()), S_OK);
    SmartPtr<IString> text;
    into->get_String(text.put());
    EXPECT_EQ(textOf(text.get()), L"t\u00e9xt");
    ASSERT_EQ(stream->ReadValue(name(L"Empty").get(), into.get()), S_OK);
    EXPECT_FALSE(into->IsString());
    EXPECT_EQ(into->get_Type(), 0);
    into->put_Long(99);
    EXPECT_LT(stream->ReadValue(name(L"Absent").get(), into.get()), 0);
    EXPECT_LT(stream->ReadValue(name(L"Block").get(), into.get()), 0) << "a block is no value";
    EXPECT_EQ(into->get_Long(), 99) << "a failed read leaves the caller's variant alone";
    EXPECT_EQ(stream->ReadValue(name(L"Int").get(), nullptr), E_POINTER);

    // A scalar is an integer value, and an integer value a scalar.
    int32_t number = 0;
    EXPECT_EQ(stream->ReadScalar(name(L"Scalar").get(), &number, 3), S_OK);
    EXPECT_EQ(number, scalar);
    EXPECT_EQ(stream->ReadScalar(name(L"Int").get(), &number, 3), S_OK);
    EXPECT_EQ(number, -7);
    number = 5;
    EXPECT_LT(stream->ReadScalar(name(L"Text").get(), &number, 3), 0);
    EXPECT_LT(stream->ReadScalar(name(L"Absent").get(), &number, 3), 0);
    EXPECT_EQ(stream->ReadScalar(name(L"Scalar").get(), &number, 2), E_INVALIDARG);
    EXPECT_EQ(number, 5);

    // A block reads back only at exactly its size; any other size writes
    // nothing into the caller's buffer.
    uint8_t buffer[8];
    std::memset(buffer, 0xAA, sizeof buffer);
    EXPECT_EQ(stream->ReadBinary(name(L"Block").get(), buffer, 5, 0), S_OK);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + 6), (std::vector<uint8_t>{1, 2, 3, 4, 5, 0xAA}));
    std::memset(buffer, 0xAA, sizeof buffer);
    EXPECT_EQ(stream->ReadBinary(name(L"Block").get(), buffer, 4, 0), E_INVALIDARG);
    EXPECT_EQ(stream->ReadBinary(name(L"Block").get(), buffer, 8, 0), E_INVALIDARG);
    EXPECT_EQ(stream->ReadBinary(name(L"Block").get(), buffer, -1, 0), E_INVALIDARG);
    EXPECT_EQ(buffer[0], 0xAA);
    EXPECT_EQ(stream->ReadBinary(name(L"Nothing").get(), nullptr, 0, 0), E_INVALIDARG) << "no buffer";
    EXPECT_EQ(stream->ReadBinary(name(L"Nothing").get(), buffer, 0, 0), S_OK);
    EXPECT_EQ(stream->ReadBinary(name(L"Absent").get(), buffer, 5, 0), E_FAIL);
    EXPECT_EQ(stream->ReadBinary(name(L"Int").get(), buffer, 4, 0), E_FAIL) << "a value is no block";
}

TEST_F(FolderStream, ObjectsAreStoredByClassAndLoadedAnewOrInPlace) {
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    SmartPtr<host::CollectionMoniker> moniker = host::make<host::CollectionMoniker>(L"Pump");
    ASSERT_EQ(stream->WriteObject(name(L"Named").get(), static_cast<ICollectionMoniker*>(moniker.get()), 0), S_OK);
    EXPECT_EQ(stream->classOf(L"Named"), L"CollectionMoniker");
    ASSERT_EQ(stream->WriteObject(name(L"Choices").get(), makeString(L"Off|On").get(), 0), S_OK);
    EXPECT_EQ(stream->classOf(L"Choices"), L"") << "a string is kept as text, not as an object";
    SmartPtr<IUnknown> collection = host::make<host::SuperCollection>().query<IUnknown>();
    EXPECT_EQ(stream->WriteObject(name(L"Plain").get(), collection.get(), 0), E_NOTIMPL) << "cannot save itself";
    EXPECT_EQ(stream->WriteObject(name(L"Null").get(), nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(stream->names(), (std::vector<std::wstring>{L"Named", L"Choices"}));

    // A null pointer receives a new object of the stored class.
    SmartPtr<IUnknown> read;
    ASSERT_EQ(stream->ReadObject(name(L"Named").get(), read.put(), 0), S_OK);
    EXPECT_NE(read.get(), queryInterface<IUnknown>(static_cast<ICollectionMoniker*>(moniker.get())).get());
    EXPECT_EQ(monikerName(read.get()), L"Pump");
    SmartPtr<IUnknown> choices;
    ASSERT_EQ(stream->ReadObject(name(L"Choices").get(), choices.put(), 0), S_OK);
    EXPECT_EQ(textOf(choices.query<IString>().get()), L"Off|On");
    SmartPtr<IVariant> holder = host::make<host::Variant>();
    ASSERT_EQ(stream->ReadValue(name(L"Named").get(), holder.get()), S_OK) << "an object read as a value";
    EXPECT_TRUE(holder->IsObject());
    EXPECT_LT(stream->ReadObject(name(L"Absent").get(), read.put(), 0), 0);

    // An object already there loads in place and stays the caller's; one of
    // another class is refused and left as it was.
    SmartPtr<host::CollectionMoniker> existing = host::make<host::CollectionMoniker>(L"Old");
    IUnknown* into = static_cast<ICollectionMoniker*>(existing.get());
    EXPECT_EQ(stream->ReadObject(name(L"Named").get(), &into, 0), S_OK);
    EXPECT_EQ(into, static_cast<ICollectionMoniker*>(existing.get()));
    EXPECT_EQ(existing->name(), L"Pump");
    SmartPtr<host::InputParameter> other = host::make<host::InputParameter>();
    into = static_cast<IInputParameter*>(other.get());
    EXPECT_EQ(stream->ReadObject(name(L"Named").get(), &into, 0), E_INVALIDARG);
    EXPECT_EQ(into, static_cast<IInputParameter*>(other.get()));
    IUnknown* string = makeString(L"kept").detach();
    EXPECT_EQ(stream->ReadObject(name(L"Choices").get(), &string, 0), E_INVALIDARG);
    EXPECT_EQ(textOf(queryInterface<IString>(string).get()), L"kept");
    string->Release();

    // Objects storing each other are cut off, not followed without end.
    SmartPtr<host::InputParameter> first = host::make<host::InputParameter>();
    SmartPtr<host::InputParameter> second = host::make<host::InputParameter>();
    first->put_Object(static_cast<IInputParameter*>(second.get()));
    second->put_Object(static_cast<IInputParameter*>(first.get()));
    EXPECT_EQ(stream->WriteObject(name(L"Cycle").get(), static_cast<IInputParameter*>(first.get()), 0), S_OK);
    first->put_Object(nullptr);
    SmartPtr<host::FolderStream> back = host::make<host::FolderStream>();
    std::string error;
    EXPECT_TRUE(back->load(stream->save(), &error)) << "what was written reads back: " << error;
}

TEST_F(FolderStream, TheTextFormIsExactAndSurvivesAFile) {
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    stream->WriteValue(name(L"Count").get(), makeVariant(3).get());
    stream->WriteValue(name(L"Ratio").get(), makeVariant(0.5).get());
    SmartPtr<IFolderStream> sub;
    stream->CreateFolder(name(L"Sub folder").get(), 0, sub.put());
    sub->WriteBinary(name(L"Flags").get(), "\x13\x00\x04\x00", 4, 0);
    sub->WriteObject(name(L"Descriptor").get(), makeString(L"a|b").get(), 0);
    stream->WriteObject(name(L"View").get(),
                        host::make<host::CollectionMoniker>(L"Main \"view\"").query<IUnknown>().get(), 0);
    stream->WriteValue(name(L"\u00e9").get(), host::make<host::Variant>().get());
    stream->Write("\x00\xFF", 2, 0);
    const std::string expected =
        "folder-stream 1\n"
        "int \"Count\" 3\n"
        "real \"Ratio\" 0x1p-1\n"
        "folder \"Sub folder\" {\n"
        "  bytes \"Flags\" 13000400\n"
        "  string \"Descriptor\" \"a|b\"\n"
        "}\n"
        "object \"View\" \"CollectionMoniker\" {\n"
        "  text \"Name\" \"Main \\\"view\\\"\"\n"
        "}\n"
        "empty \"\\u{E9}\"\n"
        "data 00FF\n";
    EXPECT_EQ(stream->save(), expected);

    const std::string file = std::string(FLUKO_BINARY_DIR) + "/folder_stream_test.txt";
    ASSERT_TRUE(stream->save(file));
    SmartPtr<host::FolderStream> back = host::make<host::FolderStream>();
    std::string error;
    ASSERT_TRUE(back->loadFile(file, &error)) << error;
    EXPECT_EQ(back->save(), expected);
    std::remove(file.c_str());
    EXPECT_FALSE(back->loadFile(file, &error));
    EXPECT_TRUE(back->names().empty());
}

TEST_F(FolderStream, HostileTextsAreRefusedWithTheirLine) {
    const char* const texts[] = {
        "",
        "folder-stream 2\n",
        "folder-stream 1\nint \"A\" 99999999999\n",
        "folder-stream 1\nint \"A\" 12x\n",
        "folder-stream 1\nint \"A\"\n",
        "folder-stream 1\nreal \"A\" 1.5z\n",
        "folder-stream 1\ntext \"A\" \"unterminated\n",
        "folder-stream 1\ntext \"A\" \"bad \\q escape\"\n",
        "folder-stream 1\ntext \"A\" \"\\u{110000000}\"\n",
        "folder-stream 1\ntext \"A\" \"\\u{}\"\n",
        "folder-stream 1\ntext \"A\" \"raw \x01 control\"\n",
        "folder-stream 1\nbytes \"A\" ABC\n",
        "folder-stream 1\nbytes \"A\" 0g\n",
        "folder-stream 1\nempty \"A\" 1\n",
        "folder-stream 1\nfolder \"A\" {\nint \"B\" 1\n",
        "folder-stream 1\nfolder \"A\"\n}\n",
        "folder-stream 1\n}\n",
        "folder-stream 1\nobject \"A\" {\n}\n",
        "folder-stream 1\nwhatever \"A\"\n",
        "folder-stream 1\nint\n",
        "folder-stream 1\ndata 0\n",
        "folder-stream 1\nint \"A\" 1\ntext \"A\" \"twice\"\n",
    };
    for (const char* text : texts) {
        SCOPED_TRACE(text);
        SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
        stream->WriteValue(name(L"Before").get(), makeVariant(1).get());
        std::string error;
        EXPECT_FALSE(stream->load(text, &error));
        EXPECT_EQ(error.rfind("line ", 0), 0u) << error;
        EXPECT_TRUE(stream->names().empty()) << "nothing half-read or older is kept";
    }

    // Nesting is bounded: deep enough for any program, not for a crash.
    const auto nested = [](int depth) {
        std::string text = "folder-stream 1\n";
        for (int i = 0; i < depth; ++i) text += "folder \"F\" {\n";
        for (int i = 0; i < depth; ++i) text += "}\n";
        return text;
    };
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    EXPECT_TRUE(stream->load(nested(200)));
    EXPECT_EQ(stream->save(), [&] {
        std::string text = "folder-stream 1\n";
        for (int i = 0; i < 200; ++i) text += std::string(static_cast<size_t>(i) * 2, ' ') + "folder \"F\" {\n";
        for (int i = 199; i >= 0; --i) text += std::string(static_cast<size_t>(i) * 2, ' ') + "}\n";
        return text;
    }());
    std::string error;
    EXPECT_FALSE(stream->load(nested(100000), &error));
    EXPECT_NE(error.find("too deep"), std::string::npos) << error;
    EXPECT_FALSE(stream->load("folder-stream 1\n" + std::string(65u << 20, '\n'), &error));
    EXPECT_NE(error.find("too large"), std::string::npos) << error;

    // Any character survives the text form.
    stream->WriteValue(name(L"\"odd\\ name\"\n").get(),
                       makeVariant(std::wstring(L"\u00e9\U0001F600\t\x7f") + wchar_t(0xD800)).get());
    stream->WriteValue(name(L"real").get(), makeVariant(0.1).get());
    SmartPtr<host::FolderStream> back = host::make<host::FolderStream>();
    ASSERT_TRUE(back->load(stream->save()));
    EXPECT_EQ(back->save(), stream->save());
}

// A program's text with bytes changed, dropped or repeated at random: each
// either is refused or reads back into steps that save again, and nothing
// leaks either way.
TEST_F(FolderStream, DamagedProgramsAreReadOrRefusedWithoutHarm) {
    StepClassesResolved resolved;
    SmartPtr<host::FolderStream> program = host::make<host::FolderStream>();
    for (const wchar_t* registered : {L"GCUIRefresh", L"GCUIActivate", L"GCUIConfirm", L"GCUIEdit", L"GCUIScroll"}) {
        SmartPtr<IUnknown> step = createStep(registered);
        configureStep(step.get(), true);
        program->WriteObject(name(registered).get(), step.get(), 0);
    }
    const std::string text = program->save();
    std::mt19937 random(20261123);
    int accepted = 0;
    for (int round = 0; round < 300; ++round) {
        const std::string damaged = damage(text, random);
        SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
        if (!stream->load(damaged)) continue;
        ++accepted;
        for (const std::wstring& entry : stream->names()) {
            SmartPtr<IUnknown> step;
            if (stream->ReadObject(name(entry.c_str()).get(), step.put(), 0) < 0) continue;
            SmartPtr<host::FolderStream> again = host::make<host::FolderStream>();
            again->WriteObject(name(L"Again").get(), step.get(), 0);
            EXPECT_TRUE(host::make<host::FolderStream>()->load(again->save()));
        }
    }
    EXPECT_GT(accepted, 0) << "some damage leaves a readable text";
}

}  // namespace
