// Slot orders a host depends on, pinned by calling through the table of
// function pointers with the host's slot numbers (support/Slots.h): the
// step-side interfaces as the module declares them, the module's objects
// through those slots, and the collection template's own operations and the
// step faces after them, which no interface declares.
#include "support/Slots.h"

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

namespace {

// Implements every step-side interface; each operation records its name.
class Probe final : public IObjectInfo,
                    public IStep,
                    public IParametersCreatable,
                    public IDataPersist,
                    public IBindableObject,
                    public IReplicableObject,
                    public IUIPropertyPageSpecify,
                    public IParametricObject,
                    public IUIVerbCollectionSpecify,
                    public _IConfirmationEvent,
                    public _IUIKeyboardEvents,
                    public _IUIFileArchiveEvents,
                    public _IUIPropFrameEvents {
public:
    std::string called;

#define OPERATION(Result, Name, ...)    \
    Result Name(__VA_ARGS__) override { \
        called = #Name;                 \
        return 0;                       \
    }
    OPERATION(HRESULT, QueryInterface, const IID&, void**)
    OPERATION(uint32_t, AddRef)
    OPERATION(uint32_t, Release)
    OPERATION(HRESULT, GetName, int32_t, tagREFString*)
    OPERATION(HRESULT, TurnOn)
    OPERATION(HRESULT, TurnOff)
    OPERATION(int32_t, IsRunning)
    OPERATION(HRESULT, get_ExecutionTime, double*)
    OPERATION(HRESULT, get_Count, int32_t*)
    OPERATION(HRESULT, get_Item, int32_t, IUnknown**)
    OPERATION(HRESULT, get_Index, IUnknown*, int32_t*)
    OPERATION(HRESULT, get_ItemName, int32_t, IString**)
    OPERATION(HRESULT, Rename, int32_t, IString*)
    OPERATION(HRESULT, CollectionLock)
    OPERATION(HRESULT, CollectionUnlock)
    OPERATION(HRESULT, IsCollectionLocked)
    OPERATION(HRESULT, Iterate, int32_t, IString**, IVariant**, IUnknown**, int32_t*)
    OPERATION(HRESULT, get_ItemVariant, int32_t, IVariant**)
    OPERATION(HRESULT, put_Item, int32_t, IUnknown*)
    OPERATION(HRESULT, get_ItemDescriptor, int32_t, IUnknown**)
    OPERATION(HRESULT, put_ItemDescriptor, int32_t, IUnknown*)
    OPERATION(HRESULT, get_ItemFlags, int32_t, int32_t*)
    OPERATION(HRESULT, put_ItemFlags, int32_t, int32_t)
    OPERATION(HRESULT, Add, IString*, IUnknown*, IUnknown*, int32_t)
    OPERATION(HRESULT, Remove, int32_t)
    OPERATION(HRESULT, RemoveAll)
    OPERATION(HRESULT, Copy, IParameters*)
    OPERATION(HRESULT, Sort, int32_t)
    OPERATION(HRESULT, Set, IUnknown*, IUnknown*, IUnknown*, int32_t, int16_t)
    OPERATION(HRESULT, Save, IDataStream*, int32_t)
    OPERATION(HRESULT, Load, IDataStream*, int32_t)
    OPERATION(HRESULT, Bind, INamedCollection*, IUnknown*)
    OPERATION(HRESULT, Replicate, IUnknown**)
    OPERATION(HRESULT, GetPages, int32_t, INamedCollection**, IUnknown**)
    OPERATION(HRESULT, GetParameters, INamedCollection**, int32_t)
    OPERATION(HRESULT, SetParameters, INamedCollection*)
    OPERATION(int32_t, DoAction, int32_t, IUnknown*)
    OPERATION(HRESULT, GetVerbs, int32_t, IUnknown*, IUIVerbCollection**)
    OPERATION(HRESULT, ConfirmationDone, IUnknown*, int32_t)
    OPERATION(HRESULT, KeyboardClose, IUnknown*)
    OPERATION(HRESULT, KeyboardApply, IString*, IUnknown*)
    OPERATION(HRESULT, FileArchiveClose, IUnknown*)
    OPERATION(HRESULT, FileArchiveApply, IString*, IUnknown*)
    OPERATION(HRESULT, EditClosed, IUnknown*)
    OPERATION(HRESULT, EditApply, IUnknown*)
    OPERATION(HRESULT, EditCancel, IUnknown*)
#undef OPERATION
};

// Calls each slot of the face, IUnknown's three first, with arguments that
// are all zero (the probe reads none), and expects the operations in order.
template <class I>
void expectSlots(Probe& probe, std::vector<std::string> operations) {
    operations.insert(operations.begin(), {"QueryInterface", "AddRef", "Release"});
    void* face = static_cast<I*>(&probe);
    for (size_t slot = 0; slot < operations.size(); ++slot) {
        probe.called.clear();
        const intptr_t zero = 0;
        callSlot<intptr_t>(face, static_cast<int>(slot), zero, zero, zero, zero, zero, zero);
        EXPECT_EQ(probe.called, operations[slot]) << "slot " << slot;
    }
}

const std::vector<std::string> kParametersSlots = {
    "get_Count",      "get_Item",           "get_Index",          "get_ItemName",  "Rename",
    "CollectionLock", "CollectionUnlock",   "IsCollectionLocked", "Iterate",       "get_ItemVariant",
    "put_Item",       "get_ItemDescriptor", "put_ItemDescriptor", "get_ItemFlags", "put_ItemFlags"};

using host::makeString;
using host::makeVariant;
using host::textOf;

// The step classes each variant is tried on. The first has a parameter set
// like the scroll step's (declared, or added by the test), the second a split
// layout ("Parameters" and "Inputs" sub-folders, rebuilt on loading).
struct Fixed {
    static constexpr TemplateTable kSlots = kFixedSlots;
    static constexpr const wchar_t* kCollectionStep = L"GCUIScroll";
    static constexpr const wchar_t* kPersistingStep = L"GCUIScroll";
    static constexpr const wchar_t* kSplitStep = L"GCUIRefresh";
    static constexpr bool kDeclaresScrollSet = true;
    static constexpr bool kDeclaresImmediate = true;
};
struct Creatable {
    static constexpr TemplateTable kSlots = kCreatableSlots;
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
    static constexpr TemplateTable slots = Variant::kSlots;

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
        const HRESULT result = callSlot(face, slots.AddNOLOCK, makeString(name).get(), value, descriptor, flags);
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
    constexpr TemplateTable slots = TypeParam::kSlots;
    SmartPtr<IParameters> step;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kCollectionStep, step));
    IParameters* face = step.get();
    EXPECT_EQ(namesOf(face), kScrollNames);

    ASSERT_EQ(face->CollectionLock(), S_OK);
    SmartPtr<IString> name;
    EXPECT_EQ(callSlot(face, slots.get_ItemNameNOLOCK, 1, name.put()), S_OK);
    EXPECT_EQ(textOf(name.get()), L"Axis");
    EXPECT_EQ(callSlot(face, slots.get_ItemNameNOLOCK, 5, name.put()), E_INVALIDARG);

    // A variant is stored as it is and handed back as it is: numbers come as
    // their variant.
    SmartPtr<IVariant> twelve = makeVariant(12);
    EXPECT_EQ(callSlot(face, slots.put_ItemNOLOCK, 2, static_cast<IUnknown*>(twelve.get())), S_OK);
    SmartPtr<IUnknown> item;
    EXPECT_EQ(callSlot(face, slots.get_ItemNOLOCK, 2, item.put()), S_OK);
    EXPECT_TRUE(isSameObject(item.get(), twelve.get()));

    // A string is wrapped in a new variant on the way in, unwrapped on the way out.
    SmartPtr<IString> text = makeString(L"abc");
    EXPECT_EQ(callSlot(face, slots.put_ItemNOLOCK, 3, static_cast<IUnknown*>(text.get())), S_OK);
    EXPECT_EQ(callSlot(face, slots.get_ItemNOLOCK, 3, item.put()), S_OK);
    EXPECT_EQ(textOf(item.query<IString>().get()), L"abc");
    EXPECT_FALSE(item.query<IVariant>());

    EXPECT_EQ(callSlot(face, slots.get_ItemNOLOCK, 0, static_cast<IUnknown**>(nullptr)), E_POINTER);
    EXPECT_EQ(callSlot(face, slots.get_ItemNOLOCK, 5, item.put()), E_INVALIDARG);
    EXPECT_EQ(callSlot(face, slots.put_ItemNOLOCK, -1, static_cast<IUnknown*>(twelve.get())), E_INVALIDARG);

    // Added under the lock already held: appended, also under a name that exists.
    EXPECT_EQ(callSlot(face, slots.AddNOLOCK, makeString(L"Axis").get(), static_cast<IUnknown*>(nullptr),
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
    PARAMETEROBJECT_HOST record = {recordName.get(), seven.get(), nullptr, 3};
    SmartPtr<IUnknown> value;
    EXPECT_EQ(callSlot(face, slots.getParameter, &record, value.put()), S_OK);
    EXPECT_EQ(value.get(), static_cast<IUnknown*>(seven.get()));
    EXPECT_EQ(seven->AddRef(), 3u) << "one reference for the caller, one for the output";
    seven->Release();

    SmartPtr<host::InputParameter> binding = host::make<host::InputParameter>(L"bound", IID_NULL, 0);
    SmartPtr<IString> live = makeString(L"live");
    binding->put_Object(live.get());
    record.descriptor = static_cast<IInputParameter*>(binding.get());
    EXPECT_EQ(callSlot(face, slots.getParameter, &record, value.put()), S_FALSE);
    EXPECT_TRUE(isSameObject(value.get(), live.get()));

    PARAMETEROBJECT_HOST empty = {nullptr, nullptr, nullptr, 0};
    EXPECT_EQ(callSlot(face, slots.getParameter, &empty, value.put()), E_FAIL);
    EXPECT_FALSE(value);
}

// Copy and Sort: the template's own slots after get_ItemNameNOLOCK in the
// fixed variant, the interface's in the creatable one (what they do is
// parameters_test's).
TYPED_TEST(TemplateSlots, CopyAndSortReachTheirOperations) {
    constexpr TemplateTable slots = TypeParam::kSlots;
    SmartPtr<IParameters> target;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kCollectionStep, target));
    IParameters* face = target.get();

    SmartPtr<IParametersCreatable> source = this->template createStep<IParametersCreatable>(L"GCUIPropWrite");
    ASSERT_TRUE(source);
    source->Add(makeString(L"Pos").get(), makeVariant(30).get(), nullptr, 3);
    source->Add(makeString(L"Extra").get(), makeVariant(4).get(), nullptr, 0x43);
    EXPECT_EQ(callSlot(face, slots.Copy, static_cast<IParameters*>(source.get())), S_OK);
    EXPECT_EQ(callSlot(face, slots.Sort, 2), S_OK);
    EXPECT_EQ(valuesOf(face),
              (std::vector<std::wstring>{L"Pos=30", L"PageSize=0", L"Operation=0", L"Extra=4", L"Done=1", L"Axis=0"}));
}

// The CSV line, the XML form and the object form, written and read through
// the table (the forms themselves are xml_persistence_test's).
TYPED_TEST(TemplateSlots, CsvAndXmlThroughTheTable) {
    constexpr TemplateTable slots = TypeParam::kSlots;
    SmartPtr<IParameters> step;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kPersistingStep, step));
    IParameters* face = step.get();
    face->put_Item(2, makeVariant(12).get());

    // The line's modes are parameters_test's; here only that the slot writes it.
    SmartPtr<host::CsvStream> csv = host::make<host::CsvStream>();
    EXPECT_EQ(callSlot(face, slots.Params_SaveCSV, static_cast<IDataStream*>(csv.get()), 0x10000), S_OK);
    EXPECT_EQ(csv->text(), L"Operation=0,Axis=0,Pos=12,PageSize=0,Done=1");

    SmartPtr<host::XmlStream> full = host::XmlStream::create(L"Step");
    EXPECT_EQ(callSlot(face, slots.Params_SaveXML, static_cast<IDataStream*>(full.get()), 0), S_OK);
    EXPECT_EQ(body(full.get()),
              "<Step><Operation><Value>0</Value><Flags>#000043</Flags></Operation>"
              "<Axis><Value>0</Value><Flags>#000003</Flags></Axis><Pos><Value>12</Value><Flags>#000005</Flags></Pos>"
              "<PageSize><Value>0</Value><Flags>#000005</Flags></PageSize>"
              "<Done><Value>1</Value><Flags>#040003</Flags></Done></Step>");
    // Read into the parameters there are: children by name ignoring case.
    SmartPtr<host::XmlStream> document =
        host::XmlStream::parse("<Step><POS><VALUE>7</VALUE></POS><PageSize>3</PageSize><Stranger>1</Stranger></Step>");
    ASSERT_TRUE(document);
    EXPECT_EQ(callSlot(face, slots.Params_LoadXML, static_cast<IDataStream*>(document.get()), 0, 0), S_OK);
    EXPECT_EQ(valuesOf(face),
              (std::vector<std::wstring>{L"Operation=0", L"Axis=0", L"Pos=7", L"PageSize=3", L"Done=1"}));

    // The object form holds only the parameter whose value saves itself.
    SmartPtr<host::CollectionMoniker> pump = host::make<host::CollectionMoniker>(L"Pump");
    ASSERT_TRUE(this->addThroughTable(face, L"Target", static_cast<ICollectionMoniker*>(pump.get()), nullptr, 7));
    SmartPtr<host::XmlStream> objects = host::XmlStream::create(L"Step");
    EXPECT_EQ(callSlot(face, slots.Params_SaveXMLUnk, static_cast<IDataStream*>(objects.get()), 0), S_OK);
    const std::string saved = body(objects.get());
    EXPECT_EQ(saved,
              "<Step><Target><Flags>#000007</Flags><CollectionMoniker><Name>Pump</Name></CollectionMoniker>"
              "</Target></Step>");

    SmartPtr<IParameters> other;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kPersistingStep, other));
    ASSERT_TRUE(this->addThroughTable(other.get(), L"Target", makeVariant(0).get(), nullptr, 0));
    SmartPtr<host::XmlStream> reread = host::XmlStream::parse(objects->save());
    ASSERT_TRUE(reread);
    EXPECT_EQ(callSlot(other.get(), slots.Params_LoadXMLUnk, static_cast<IDataStream*>(reread.get()), 0), S_OK);
    SmartPtr<IUnknown> target;
    ASSERT_EQ(other->get_Item(5, target.put()), S_OK);
    auto* remade = dynamic_cast<host::CollectionMoniker*>(target.query<ICollectionMoniker>().get());
    ASSERT_TRUE(remade) << "the value is the object made from its element";
    EXPECT_EQ(remade->name(), L"Pump");
    EXPECT_FALSE(isSameObject(target.get(), static_cast<ICollectionMoniker*>(pump.get())));
    EXPECT_EQ(flagsOf(other.get()).back(), 7);
    EXPECT_EQ(valuesOf(other.get())[2], L"Pos=0") << "numbers are not in the object form";
    SmartPtr<host::XmlStream> again = host::XmlStream::create(L"Step");
    callSlot(other.get(), slots.Params_SaveXMLUnk, static_cast<IDataStream*>(again.get()), 0);
    EXPECT_EQ(body(again.get()), saved);
}

// The folder-stream writer in full and compact form, and both readers.
TYPED_TEST(TemplateSlots, FolderStreamThroughTheTable) {
    constexpr TemplateTable slots = TypeParam::kSlots;
    SmartPtr<IParameters> step;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kPersistingStep, step));
    IParameters* face = step.get();
    face->put_Item(2, makeVariant(12).get());

    SmartPtr<host::FolderStream> full = host::make<host::FolderStream>();
    EXPECT_EQ(callSlot(face, slots.Params_SaveFolderStream, static_cast<IDataStream*>(full.get()), 0), S_OK);
    EXPECT_EQ(full->names(), kScrollNames);
    EXPECT_EQ(entriesOf(full->folder(L"Operation")), (std::vector<std::wstring>{L"Value", L"Flags", L"Descriptor"}));
    ASSERT_TRUE(full->folder(L"Done"));
    EXPECT_EQ(full->folder(L"Done")->bytes(L"Flags"), (std::vector<uint8_t>{0x03, 0x00, 0x04, 0x00}));

    SmartPtr<host::FolderStream> compact = host::make<host::FolderStream>();
    EXPECT_EQ(callSlot(face, slots.Params_SaveFolderStream, static_cast<IDataStream*>(compact.get()), 0x800000), S_OK);
    EXPECT_EQ(compact->names(), kScrollNames);
    for (const std::wstring& name : kScrollNames) EXPECT_FALSE(compact->folder(name)) << host::narrow(name);

    // Keeping the parameters there are: values only, declared flags stay.
    SmartPtr<IParameters> kept;
    ASSERT_TRUE(this->makeScrollSet(TypeParam::kPersistingStep, kept));
    kept->put_ItemFlags(2, 0x205);
    EXPECT_EQ(callSlot(kept.get(), slots.Params_LoadFolderStream, static_cast<IDataStream*>(full.get()), 0), S_OK);
    EXPECT_EQ(valuesOf(kept.get()),
              (std::vector<std::wstring>{L"Operation=0", L"Axis=0", L"Pos=12", L"PageSize=0", L"Done=1"}));
    EXPECT_EQ(flagsOf(kept.get())[2], 0x205);
}

// Bind, Save, Replicate and Load come after the template's operations in
// the same table.
TYPED_TEST(TemplateSlots, StepFacesFollowTheTemplatesOperations) {
    constexpr TemplateTable slots = TypeParam::kSlots;
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
    EXPECT_EQ(
        callSlot(face, slots.Bind, static_cast<INamedCollection*>(program.get()), static_cast<IUnknown*>(nullptr)),
        S_OK);
    EXPECT_TRUE(pump->bound());
    EXPECT_EQ(callSlot(face, slots.Bind, static_cast<INamedCollection*>(nullptr), static_cast<IUnknown*>(nullptr)),
              S_OK);
    EXPECT_FALSE(pump->bound());

    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    EXPECT_EQ(callSlot(face, slots.Save, static_cast<IDataStream*>(stream.get()), 0), S_OK);
    EXPECT_EQ(stream->names(), (std::vector<std::wstring>{L"Parameters", L"Inputs"}));
    ASSERT_TRUE(stream->folder(L"Parameters"));
    EXPECT_EQ(stream->folder(L"Parameters")->names(), (std::vector<std::wstring>{L"Immediate", L"Note"}));
    EXPECT_EQ(entriesOf(stream->folder(L"Parameters")->folder(L"Immediate")),
              (std::vector<std::wstring>{L"Value", L"Flags"}))
        << "the split layout writes the full form";
    EXPECT_EQ(callSlot(face, slots.Save, static_cast<IDataStream*>(nullptr), 0), S_OK);

    SmartPtr<IParameters> loaded = this->template createStep<IParameters>(TypeParam::kSplitStep);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(callSlot(loaded.get(), slots.Load, static_cast<IDataStream*>(stream.get()), 0), S_OK);
    EXPECT_EQ(valuesOf(loaded.get()), (std::vector<std::wstring>{L"Immediate=1", L"Note=4"}));
    EXPECT_EQ(flagsOf(loaded.get()), (std::vector<int32_t>{0x13, 0}));
    SmartPtr<host::CollectionMoniker> loadedPump = TestFixture::boundMonikerOfInput(loaded.get());
    ASSERT_TRUE(loadedPump) << "the input list was loaded from \"Inputs\"";
    EXPECT_EQ(loadedPump->name(), L"Pump");
    EXPECT_EQ(callSlot(loaded.get(), slots.Load, static_cast<IDataStream*>(nullptr), 0), E_NOTIMPL);

    SmartPtr<IUnknown> copy;
    EXPECT_EQ(callSlot(face, slots.Replicate, copy.put()), S_OK);
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

TEST(SlotOrder, StepSideInterfacesHaveTheHostsSlotOrder) {
    Probe probe;
    expectSlots<IObjectInfo>(probe, {"GetName"});
    expectSlots<IStep>(probe, {"TurnOn", "TurnOff", "IsRunning", "get_ExecutionTime"});
    expectSlots<IParameters>(probe, kParametersSlots);
    std::vector<std::string> creatable = kParametersSlots;
    creatable.insert(creatable.end(), {"Add", "Remove", "RemoveAll", "Copy", "Sort", "Set"});
    expectSlots<IParametersCreatable>(probe, creatable);
    expectSlots<IDataPersist>(probe, {"Save", "Load"});
    expectSlots<IBindableObject>(probe, {"Bind"});
    expectSlots<IReplicableObject>(probe, {"Replicate"});
    expectSlots<IUIPropertyPageSpecify>(probe, {"GetPages"});
    expectSlots<IParametricObject>(probe, {"GetParameters", "SetParameters"});
    expectSlots<IUIVerbCollectionSpecify>(probe, {"DoAction", "GetVerbs"});
    expectSlots<_IConfirmationEvent>(probe, {"ConfirmationDone"});
    expectSlots<_IUIKeyboardEvents>(probe, {"KeyboardClose", "KeyboardApply"});
    expectSlots<_IUIFileArchiveEvents>(probe, {"FileArchiveClose", "FileArchiveApply"});
    expectSlots<_IUIPropFrameEvents>(probe, {"EditClosed", "EditApply", "EditCancel"});
}

using StepSlots = HostTest;

// The module's objects answer through the same slots.
TEST_F(StepSlots, StepObjectsAnswerThroughTheHostsSlots) {
    SmartPtr<IUnknown> step = createStep(L"GCUIRefresh");
    ASSERT_TRUE(step);

    SmartPtr<IObjectInfo> info = step.query<IObjectInfo>();
    tagREFString name = {0, nullptr};
    EXPECT_EQ(callSlot<HRESULT>(info.get(), 3, 0, &name), S_OK);
    EXPECT_EQ(std::wstring(name.text, static_cast<size_t>(name.count)), L"GCUIRefresh");

    SmartPtr<IStep> run = step.query<IStep>();
    EXPECT_EQ(callSlot<HRESULT>(run.get(), 4), E_NOTIMPL) << "TurnOff of a synchronous step";
    EXPECT_EQ(callSlot<int32_t>(run.get(), 5), 0) << "IsRunning";
    double time = -1.0;
    EXPECT_EQ(callSlot<HRESULT>(run.get(), 6, &time), S_OK) << "get_ExecutionTime";
    EXPECT_EQ(time, 0.0);

    // AddRef and Release through slots 1 and 2 of any face share one count.
    SmartPtr<IDataPersist> persist = step.query<IDataPersist>();
    const uint32_t count = callSlot<uint32_t>(persist.get(), 1);
    EXPECT_EQ(callSlot<uint32_t>(info.get(), 2), count - 1);

    // QueryInterface through slot 0 of a face other than the first.
    void* out = nullptr;
    EXPECT_EQ(callSlot<HRESULT>(persist.get(), 0, &IID_IStep, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(run.get()));
    static_cast<IUnknown*>(out)->Release();
}
