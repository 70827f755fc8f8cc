// The collection's own operations and the step faces after them, reached as a
// host reaches them: through the table of the IParameters (or
// IParametersCreatable) pointer that QueryInterface hands out, with the
// host's declarations of the slots that follow the interface's own. The
// collection's C++ declarations are not included, so a template whose
// operations are in another order, or not virtual at all, calls the wrong code
// here.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "host/Collections.h"
#include "host/CsvStream.h"
#include "host/FolderStream.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "host/XmlStream.h"
#include "runtime/Interfaces.h"
#include "support/CollectionText.h"
#include "support/HostTest.h"
#include "support/ParameterTables.h"

namespace {

using host::makeString;
using host::makeVariant;
using host::textOf;
using host_tables::PARAMETEROBJECT;

// The step classes each variant is tried on. The first has a parameter set
// like the scroll step's (declared, or added by the test), the second a split
// layout ("Parameters" and "Inputs" sub-folders, rebuilt on loading).
struct Fixed {
    using Table = ParametersTable;
    static constexpr const wchar_t* kCollectionStep = L"GCUIScroll";
    static constexpr const wchar_t* kPersistingStep = L"GCUIScroll";
    static constexpr const wchar_t* kSplitStep = L"GCUIRefresh";
    static constexpr bool kDeclaresScrollSet = true;
    static constexpr bool kDeclaresImmediate = true;
};
struct Creatable {
    using Table = CreatableTable;
    // The property read step's collection lock is a real mutex: the NOLOCK
    // operations must not take it again.
    static constexpr const wchar_t* kCollectionStep = L"GCUIPropRead";
    static constexpr const wchar_t* kPersistingStep = L"GCUIPropWrite";
    static constexpr const wchar_t* kSplitStep = L"GCUIPropWrite";
    static constexpr bool kDeclaresScrollSet = false;
    static constexpr bool kDeclaresImmediate = false;
};

struct VariantNames {
    template <class Variant>
    static std::string GetName(int) {
        return std::is_same_v<Variant, Fixed> ? "Fixed" : "Creatable";
    }
};

std::wstring textOfValue(IVariant* value) {
    if (!value) return L"(none)";
    if (value->IsString()) {
        SmartPtr<IString> text;
        value->get_String(text.put());
        return textOf(text.get());
    }
    if (value->IsObject()) return L"(object)";
    if (value->get_Type() != 0) return std::to_wstring(value->get_Long());
    return L"(empty)";
}

// "Name=value" for every parameter, in order.
std::vector<std::wstring> valuesOf(IParameters* parameters) {
    int32_t count = 0;
    parameters->get_Count(&count);
    std::vector<std::wstring> values;
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IVariant> value;
        parameters->get_ItemVariant(i, value.put());
        values.push_back(nameAt(parameters, i) + L"=" + textOfValue(value.get()));
    }
    return values;
}

std::vector<int32_t> flagsOf(IParameters* parameters) {
    int32_t count = 0;
    parameters->get_Count(&count);
    std::vector<int32_t> flags(static_cast<size_t>(count), -1);
    for (int32_t i = 0; i < count; ++i) parameters->get_ItemFlags(i, &flags[static_cast<size_t>(i)]);
    return flags;
}

std::vector<std::wstring> entriesOf(const SmartPtr<host::FolderStream>& folder) {
    return folder ? folder->names() : std::vector<std::wstring>{L"(no folder)"};
}

const std::vector<std::wstring> kScrollNames = {L"Operation", L"Axis", L"Pos", L"PageSize", L"Done"};

template <class Variant>
class TemplateSlots : public HostTest {
protected:
    using Table = typename Variant::Table;

    // Adds a parameter through AddNOLOCK between the collection's lock and
    // unlock. Every test calls it before any other of the template's slots:
    // on a table without the template's operations the call lands in
    // another operation, and the count says so before anything worse is
    // called there.
    static ::testing::AssertionResult addThroughTable(IParameters* face, const wchar_t* name, IUnknown* value,
                                                      IUnknown* descriptor, int32_t flags) {
        int32_t before = -1;
        face->get_Count(&before);
        face->CollectionLock();
        const HRESULT result = call(face, &Table::AddNOLOCK, makeString(name).get(), value, descriptor, flags);
        face->CollectionUnlock();
        int32_t after = -1;
        face->get_Count(&after);
        if (result != S_OK || after != before + 1 || nameAt(face, after - 1) != name) {
            return ::testing::AssertionFailure() << "AddNOLOCK of " << host::narrow(name) << " returned " << std::hex
                                                 << result << std::dec << ", count " << before << " -> " << after;
        }
        return ::testing::AssertionSuccess();
    }

    // A step with the scroll step's parameters (Operation 0x43 with its
    // choices, Axis 3, Pos 5, PageSize 5) and a result Done (0x40003) = 1.
    ::testing::AssertionResult makeScrollSet(const wchar_t* className, SmartPtr<IParameters>& step) {
        step = createStep<IParameters>(className);
        if (!step) return ::testing::AssertionFailure() << "no step " << host::narrow(className);
        if (!Variant::kDeclaresScrollSet) {
            struct Declared {
                const wchar_t* name;
                int32_t flags;
            };
            for (const Declared& declared :
                 {Declared{L"Operation", 0x43}, Declared{L"Axis", 3}, Declared{L"Pos", 5}, Declared{L"PageSize", 5}}) {
                SmartPtr<IString> choices =
                    declared.flags == 0x43 ? makeString(L"Read|SetPos|SetSize|SetPosAndSize") : nullptr;
                auto added =
                    addThroughTable(step.get(), declared.name, makeVariant(0).get(), choices.get(), declared.flags);
                if (!added) return added;
            }
        }
        return addThroughTable(step.get(), L"Done", makeVariant(1).get(), nullptr, 0x40003);
    }

    // A split-layout step with Immediate (0x13) = 0 and Note (0) = 4.
    ::testing::AssertionResult makeSplitSet(SmartPtr<IParameters>& step) {
        step = createStep<IParameters>(Variant::kSplitStep);
        if (!step) return ::testing::AssertionFailure() << "no step";
        if (!Variant::kDeclaresImmediate) {
            auto added = addThroughTable(step.get(), L"Immediate", makeVariant(0).get(), nullptr, 0x13);
            if (!added) return added;
        }
        return addThroughTable(step.get(), L"Note", makeVariant(4).get(), nullptr, 0);
    }

    static SmartPtr<host::CollectionMoniker> boundMonikerOfInput(IUnknown* step) {
        SmartPtr<IInputParameters> inputs = queryInterface<IInputParameters>(step);
        SmartPtr<IUnknown> input;
        if (!inputs || inputs->get_Item(0, input.put()) < 0) return nullptr;
        SmartPtr<IInputParameter> binding = input.query<IInputParameter>();
        SmartPtr<IUnknown> object;
        if (!binding || binding->get_Object(object.put()) < 0) return nullptr;
        SmartPtr<ICollectionMoniker> moniker = object.query<ICollectionMoniker>();
        return SmartPtr<host::CollectionMoniker>(dynamic_cast<host::CollectionMoniker*>(moniker.get()));
    }
};

using Variants = ::testing::Types<Fixed, Creatable>;
TYPED_TEST_SUITE(TemplateSlots, Variants, VariantNames);

// AddNOLOCK, get_ItemNOLOCK, put_ItemNOLOCK, get_ItemNameNOLOCK between
// CollectionLock and CollectionUnlock, and getParameter on records of the
// caller's.
TYPED_TEST(TemplateSlots, CollectionOperationsWithTheLockHeld) {
    using Table = typename TestFixture::Table;
    SmartPtr<IParameters> step;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kCollectionStep, step));
    IParameters* face = step.get();
    EXPECT_EQ(namesOf(face), kScrollNames);

    ASSERT_EQ(face->CollectionLock(), S_OK);
    SmartPtr<IString> name;
    EXPECT_EQ(call(face, &Table::get_ItemNameNOLOCK, 1, name.put()), S_OK);
    EXPECT_EQ(textOf(name.get()), L"Axis");
    EXPECT_EQ(call(face, &Table::get_ItemNameNOLOCK, 5, name.put()), E_INVALIDARG);

    // A variant is stored as it is and handed back as it is: numbers come as
    // their variant.
    SmartPtr<IVariant> twelve = makeVariant(12);
    EXPECT_EQ(call(face, &Table::put_ItemNOLOCK, 2, static_cast<IUnknown*>(twelve.get())), S_OK);
    SmartPtr<IUnknown> item;
    EXPECT_EQ(call(face, &Table::get_ItemNOLOCK, 2, item.put()), S_OK);
    EXPECT_TRUE(isSameObject(item.get(), twelve.get()));

    // A string is wrapped in a new variant on the way in, unwrapped on the way out.
    SmartPtr<IString> text = makeString(L"abc");
    EXPECT_EQ(call(face, &Table::put_ItemNOLOCK, 3, static_cast<IUnknown*>(text.get())), S_OK);
    EXPECT_EQ(call(face, &Table::get_ItemNOLOCK, 3, item.put()), S_OK);
    EXPECT_EQ(textOf(item.query<IString>().get()), L"abc");
    EXPECT_FALSE(item.query<IVariant>());

    EXPECT_EQ(call(face, &Table::get_ItemNOLOCK, 0, static_cast<IUnknown**>(nullptr)), E_POINTER);
    EXPECT_EQ(call(face, &Table::get_ItemNOLOCK, 5, item.put()), E_INVALIDARG);
    EXPECT_EQ(call(face, &Table::put_ItemNOLOCK, -1, static_cast<IUnknown*>(twelve.get())), E_INVALIDARG);

    // Added under the lock already held: appended, also under a name that exists.
    EXPECT_EQ(call(face, &Table::AddNOLOCK, makeString(L"Axis").get(), static_cast<IUnknown*>(nullptr),
                   static_cast<IUnknown*>(nullptr), 6),
              S_OK);
    EXPECT_EQ(face->IsCollectionLocked(), 1);
    ASSERT_EQ(face->CollectionUnlock(), S_OK);
    EXPECT_EQ(valuesOf(face),
              (std::vector<std::wstring>{L"Operation=0", L"Axis=0", L"Pos=12", L"PageSize=abc", L"Done=1", L"Axis="}))
        << "a null value is stored as an empty string";

    // getParameter: the record's own value with a new reference, or what its
    // bound input supplies (1).
    SmartPtr<IString> recordName = makeString(L"Record");
    SmartPtr<IVariant> seven = makeVariant(7);
    PARAMETEROBJECT record = {recordName.get(), seven.get(), nullptr, 3};
    SmartPtr<IUnknown> value;
    EXPECT_EQ(call(face, &Table::getParameter, &record, value.put()), S_OK);
    EXPECT_EQ(value.get(), static_cast<IUnknown*>(seven.get()));
    EXPECT_EQ(seven->AddRef(), 3u) << "one reference for the caller, one for the output";
    seven->Release();

    SmartPtr<host::InputParameter> binding = host::make<host::InputParameter>(L"bound", IID_NULL, 0);
    SmartPtr<IString> live = makeString(L"live");
    binding->put_Object(live.get());
    record.descriptor = static_cast<IInputParameter*>(binding.get());
    EXPECT_EQ(call(face, &Table::getParameter, &record, value.put()), S_FALSE);
    EXPECT_TRUE(isSameObject(value.get(), live.get()));

    PARAMETEROBJECT empty = {nullptr, nullptr, nullptr, 0};
    EXPECT_EQ(call(face, &Table::getParameter, &empty, value.put()), E_FAIL);
    EXPECT_FALSE(value);
}

// Copy and Sort: the template's own slots after get_ItemNameNOLOCK in the
// fixed variant, the interface's in the creatable one.
TYPED_TEST(TemplateSlots, CopyAndSortReachTheirOperations) {
    using Table = typename TestFixture::Table;
    SmartPtr<IParameters> target;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kCollectionStep, target));
    IParameters* face = target.get();

    SmartPtr<IParametersCreatable> source = this->template createStep<IParametersCreatable>(L"GCUIPropWrite");
    ASSERT_TRUE(source);
    SmartPtr<IVariant> sourcePos = makeVariant(30);
    SmartPtr<IString> choices = makeString(L"a|b");
    source->Add(makeString(L"Pos").get(), sourcePos.get(), nullptr, 3);
    source->Add(makeString(L"Extra").get(), makeVariant(4).get(), choices.get(), 0x43);

    EXPECT_EQ(call(face, &Table::Copy, static_cast<IParameters*>(source.get())), S_OK);
    EXPECT_EQ(valuesOf(face),
              (std::vector<std::wstring>{L"Operation=0", L"Axis=0", L"Pos=30", L"PageSize=0", L"Done=1", L"Extra=4"}));
    EXPECT_EQ(flagsOf(face), (std::vector<int32_t>{0x43, 3, 3, 5, 0x40003, 0x43}));
    SmartPtr<IUnknown> descriptor;
    EXPECT_EQ(face->get_ItemDescriptor(5, descriptor.put()), S_OK);
    EXPECT_TRUE(isSameObject(descriptor.get(), choices.get())) << "the descriptor is shared";
    sourcePos->put_Long(31);
    EXPECT_EQ(valuesOf(face)[2], L"Pos=30") << "the value is copied";

    EXPECT_EQ(call(face, &Table::Sort, 0), S_OK);
    EXPECT_EQ(valuesOf(face),
              (std::vector<std::wstring>{L"Axis=0", L"Done=1", L"Extra=4", L"Operation=0", L"PageSize=0", L"Pos=30"}));
    EXPECT_EQ(call(face, &Table::Sort, 2), S_OK);
    EXPECT_EQ(valuesOf(face),
              (std::vector<std::wstring>{L"Pos=30", L"PageSize=0", L"Operation=0", L"Extra=4", L"Done=1", L"Axis=0"}));
    EXPECT_EQ(flagsOf(face), (std::vector<int32_t>{3, 5, 0x43, 0x43, 0x40003, 3})) << "flags travel with names";
}

// The CSV line, both XML forms and the object form, written and read
// through the table.
TYPED_TEST(TemplateSlots, CsvAndXmlThroughTheTable) {
    using Table = typename TestFixture::Table;
    SmartPtr<IParameters> step;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kPersistingStep, step));
    IParameters* face = step.get();
    face->put_Item(2, makeVariant(12).get());

    struct Line {
        int32_t mode;
        std::wstring text;
    };
    for (const Line& line : {Line{0x10000, L"Operation=0,Axis=0,Pos=12,PageSize=0,Done=1"}, Line{0, L"0,0,12,0,1"},
                             Line{0x800000, L"0,0,12,0"}, Line{0x810000, L"Operation=0,Axis=0,Pos=12,PageSize=0"}}) {
        SmartPtr<host::CsvStream> csv = host::make<host::CsvStream>();
        EXPECT_EQ(call(face, &Table::Params_SaveCSV, static_cast<IDataStream*>(csv.get()), line.mode), S_OK);
        EXPECT_EQ(csv->text(), line.text) << "mode " << std::hex << line.mode;
    }

    SmartPtr<host::XmlStream> full = host::XmlStream::create(L"Step");
    EXPECT_EQ(call(face, &Table::Params_SaveXML, static_cast<IDataStream*>(full.get()), 0), S_OK);
    EXPECT_EQ(body(full.get()),
              "<Step><Operation><Value>0</Value><Flags>#000043</Flags></Operation>"
              "<Axis><Value>0</Value><Flags>#000003</Flags></Axis><Pos><Value>12</Value><Flags>#000005</Flags></Pos>"
              "<PageSize><Value>0</Value><Flags>#000005</Flags></PageSize>"
              "<Done><Value>1</Value><Flags>#040003</Flags></Done></Step>");
    SmartPtr<host::XmlStream> compact = host::XmlStream::create(L"Step");
    EXPECT_EQ(call(face, &Table::Params_SaveXML, static_cast<IDataStream*>(compact.get()), 0x800000), S_OK);
    EXPECT_EQ(body(compact.get()),
              "<Step><Operation>0</Operation><Axis>0</Axis><Pos>12</Pos><PageSize>0</PageSize>"
              "<Done>1</Done></Step>");

    SmartPtr<IParameters> split;
    ASSERT_TRUE(this->makeSplitSet(split));
    SmartPtr<host::XmlStream> immediate = host::XmlStream::create(L"Step");
    EXPECT_EQ(call(split.get(), &Table::Params_SaveXML, static_cast<IDataStream*>(immediate.get()), 0), S_OK);
    EXPECT_EQ(body(immediate.get()),
              "<Step><Immediate><Value>0</Value><Flags>#000013</Flags></Immediate>"
              "<Note>4</Note></Step>");

    // Read into the parameters there are: children by name ignoring case.
    SmartPtr<host::XmlStream> document =
        host::XmlStream::parse("<Step><POS><VALUE>7</VALUE></POS><PageSize>3</PageSize><Stranger>1</Stranger></Step>");
    ASSERT_TRUE(document);
    EXPECT_EQ(call(face, &Table::Params_LoadXML, static_cast<IDataStream*>(document.get()), 0, 0), S_OK);
    EXPECT_EQ(valuesOf(face),
              (std::vector<std::wstring>{L"Operation=0", L"Axis=0", L"Pos=7", L"PageSize=3", L"Done=1"}));

    // The object form holds only the parameter whose value saves itself.
    SmartPtr<host::CollectionMoniker> pump = host::make<host::CollectionMoniker>(L"Pump");
    ASSERT_TRUE(this->addThroughTable(face, L"Target", static_cast<ICollectionMoniker*>(pump.get()), nullptr, 7));
    SmartPtr<host::XmlStream> objects = host::XmlStream::create(L"Step");
    EXPECT_EQ(call(face, &Table::Params_SaveXMLUnk, static_cast<IDataStream*>(objects.get()), 0), S_OK);
    const std::string saved = body(objects.get());
    EXPECT_EQ(saved,
              "<Step><Target><Flags>#000007</Flags><CollectionMoniker><Name>Pump</Name></CollectionMoniker>"
              "</Target></Step>");

    SmartPtr<IParameters> other;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kPersistingStep, other));
    ASSERT_TRUE(this->addThroughTable(other.get(), L"Target", makeVariant(0).get(), nullptr, 0));
    SmartPtr<host::XmlStream> reread = host::XmlStream::parse(objects->save());
    ASSERT_TRUE(reread);
    EXPECT_EQ(call(other.get(), &Table::Params_LoadXMLUnk, static_cast<IDataStream*>(reread.get()), 0), S_OK);
    SmartPtr<IUnknown> target;
    ASSERT_EQ(other->get_Item(5, target.put()), S_OK);
    auto* remade = dynamic_cast<host::CollectionMoniker*>(target.query<ICollectionMoniker>().get());
    ASSERT_TRUE(remade) << "the value is the object made from its element";
    EXPECT_EQ(remade->name(), L"Pump");
    EXPECT_FALSE(isSameObject(target.get(), static_cast<ICollectionMoniker*>(pump.get())));
    EXPECT_EQ(flagsOf(other.get()).back(), 7);
    EXPECT_EQ(valuesOf(other.get())[2], L"Pos=0") << "numbers are not in the object form";
    SmartPtr<host::XmlStream> again = host::XmlStream::create(L"Step");
    call(other.get(), &Table::Params_SaveXMLUnk, static_cast<IDataStream*>(again.get()), 0);
    EXPECT_EQ(body(again.get()), saved);
}

// The folder-stream writer in full and compact form, and both readers.
TYPED_TEST(TemplateSlots, FolderStreamThroughTheTable) {
    using Table = typename TestFixture::Table;
    SmartPtr<IParameters> step;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kPersistingStep, step));
    IParameters* face = step.get();
    face->put_Item(2, makeVariant(12).get());

    SmartPtr<host::FolderStream> full = host::make<host::FolderStream>();
    EXPECT_EQ(call(face, &Table::Params_SaveFolderStream, static_cast<IDataStream*>(full.get()), 0), S_OK);
    EXPECT_EQ(full->names(), kScrollNames);
    EXPECT_EQ(entriesOf(full->folder(L"Operation")), (std::vector<std::wstring>{L"Value", L"Flags", L"Descriptor"}));
    ASSERT_TRUE(full->folder(L"Done"));
    EXPECT_EQ(full->folder(L"Done")->bytes(L"Flags"), (std::vector<uint8_t>{0x03, 0x00, 0x04, 0x00}));

    SmartPtr<host::FolderStream> compact = host::make<host::FolderStream>();
    EXPECT_EQ(call(face, &Table::Params_SaveFolderStream, static_cast<IDataStream*>(compact.get()), 0x800000), S_OK);
    EXPECT_EQ(compact->names(), kScrollNames);
    for (const std::wstring& name : kScrollNames) EXPECT_FALSE(compact->folder(name)) << host::narrow(name);

    // Keeping the parameters there are: values only, declared flags stay.
    SmartPtr<IParameters> kept;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kPersistingStep, kept));
    kept->put_ItemFlags(2, 0x205);
    EXPECT_EQ(call(kept.get(), &Table::Params_LoadFolderStream, static_cast<IDataStream*>(full.get()), 0), S_OK);
    EXPECT_EQ(valuesOf(kept.get()),
              (std::vector<std::wstring>{L"Operation=0", L"Axis=0", L"Pos=12", L"PageSize=0", L"Done=1"}));
    EXPECT_EQ(flagsOf(kept.get())[2], 0x205);

    // Rebuilding: the set is what the stream holds.
    SmartPtr<IParameters> rebuilt;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kPersistingStep, rebuilt));
    ASSERT_TRUE(this->addThroughTable(rebuilt.get(), L"Gone", makeVariant(1).get(), nullptr, 0));
    EXPECT_EQ(call(rebuilt.get(), &Table::Params_LoadFolderStream, static_cast<IDataStream*>(full.get()), 0x1000000),
              S_OK);
    EXPECT_EQ(valuesOf(rebuilt.get()),
              (std::vector<std::wstring>{L"Operation=0", L"Axis=0", L"Pos=12", L"PageSize=0", L"Done=1"}));
    EXPECT_EQ(flagsOf(rebuilt.get()), (std::vector<int32_t>{0x43, 3, 5, 5, 0x40003}));
}

// Bind, Save, Replicate and Load come after the template's operations in
// the same table.
TYPED_TEST(TemplateSlots, StepFacesFollowTheTemplatesOperations) {
    using Table = typename TestFixture::Table;
    SmartPtr<IParameters> step;
    ASSERT_TRUE(this->makeSplitSet(step));
    IParameters* face = step.get();
    face->put_Item(0, makeVariant(1).get());

    // Bind attaches the input's moniker to the program's collection.
    SmartPtr<IUnknown> input;
    ASSERT_EQ(step.template query<IInputParameters>()->get_Item(0, input.put()), S_OK);
    SmartPtr<host::CollectionMoniker> pump = host::make<host::CollectionMoniker>(L"Pump");
    input.query<IInputParameter>()->put_Object(static_cast<ICollectionMoniker*>(pump.get()));
    SmartPtr<host::SuperCollection> program = host::make<host::SuperCollection>();
    EXPECT_EQ(call(face, &Table::Bind, static_cast<INamedCollection*>(program.get()), static_cast<IUnknown*>(nullptr)),
              S_OK);
    EXPECT_TRUE(pump->bound());
    EXPECT_EQ(call(face, &Table::Bind, static_cast<INamedCollection*>(nullptr), static_cast<IUnknown*>(nullptr)), S_OK);
    EXPECT_FALSE(pump->bound());

    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    EXPECT_EQ(call(face, &Table::Save, static_cast<IDataStream*>(stream.get()), 0), S_OK);
    EXPECT_EQ(stream->names(), (std::vector<std::wstring>{L"Parameters", L"Inputs"}));
    ASSERT_TRUE(stream->folder(L"Parameters"));
    EXPECT_EQ(stream->folder(L"Parameters")->names(), (std::vector<std::wstring>{L"Immediate", L"Note"}));
    EXPECT_EQ(entriesOf(stream->folder(L"Parameters")->folder(L"Immediate")),
              (std::vector<std::wstring>{L"Value", L"Flags"}))
        << "the split layout writes the full form";
    EXPECT_EQ(call(face, &Table::Save, static_cast<IDataStream*>(nullptr), 0), S_OK);

    SmartPtr<IParameters> loaded = this->template createStep<IParameters>(TypeParam::kSplitStep);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(call(loaded.get(), &Table::Load, static_cast<IDataStream*>(stream.get()), 0), S_OK);
    EXPECT_EQ(valuesOf(loaded.get()), (std::vector<std::wstring>{L"Immediate=1", L"Note=4"}));
    EXPECT_EQ(flagsOf(loaded.get()), (std::vector<int32_t>{0x13, 0}));
    SmartPtr<host::CollectionMoniker> loadedPump = TestFixture::boundMonikerOfInput(loaded.get());
    ASSERT_TRUE(loadedPump) << "the input list was loaded from \"Inputs\"";
    EXPECT_EQ(loadedPump->name(), L"Pump");
    EXPECT_EQ(call(loaded.get(), &Table::Load, static_cast<IDataStream*>(nullptr), 0), E_NOTIMPL);

    SmartPtr<IUnknown> copy;
    EXPECT_EQ(call(face, &Table::Replicate, copy.put()), S_OK);
    ASSERT_TRUE(copy);
    EXPECT_FALSE(isSameObject(copy.get(), face));
    tagREFString className = {0, nullptr};
    copy.query<IObjectInfo>()->GetName(0, &className);
    EXPECT_EQ(textOf(className), TypeParam::kSplitStep);
    SmartPtr<IParameters> replica = copy.query<IParameters>();
    const std::vector<std::wstring> expected =
        TypeParam::kDeclaresImmediate ? std::vector<std::wstring>{L"Immediate=1"}  // a fixed set takes no more
                                      : std::vector<std::wstring>{L"Immediate=1", L"Note=4"};
    EXPECT_EQ(valuesOf(replica.get()), expected);
    SmartPtr<host::CollectionMoniker> replicaPump = TestFixture::boundMonikerOfInput(copy.get());
    EXPECT_EQ(replicaPump.get(), pump.get()) << "the input is bound to the same object";
}

}  // namespace
