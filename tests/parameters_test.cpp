// The parameter collection: where faults hide in lookups, shared
// values, bound inputs, locking, Set, Copy, Sort and the CSV line.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include "host/ClassFactory.h"
#include "host/Collections.h"
#include "host/CsvStream.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "support/CollectionText.h"
#include "support/HostTest.h"
#include "support/TestStep.h"

namespace {

using host::makeString;
using host::makeVariant;
using host::textOf;

// Steps of the tests' own, to reach the collection's internals.
template <class Interface>
class CTestCollection final : public TestStep<CTestCollection<Interface>, Interface, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"TestCollection";
    using Interfaces = std::conditional_t<std::is_same_v<Interface, IParametersCreatable>,
                                          StepInterfaces<IParametersCreatable>, StepInterfaces<>>;
};
using Creatable = CTestCollection<IParametersCreatable>;
using Fixed = CTestCollection<IParameters>;

template <class T>
SmartPtr<T> makeCollection() {
    SmartPtr<IUnknown> object;
    CObject<T>::_CreateInstance(nullptr, &IID_IUnknown, object.put_void());
    return SmartPtr<T>(static_cast<T*>(static_cast<CObject<T>*>(object.get())));
}

// A host's variant that says it holds a string and gives none.
class StringlessVariant final : public host::Object<StringlessVariant, IVariant> {
public:
    static constexpr char kLedgerName[] = "StringlessVariant";
    using Answered = host::Answers<IVariant>;
    int32_t get_Type() override { return 0; }
    double get_Double() override { return 0.0; }
    int32_t get_Long() override { return 0; }
    HRESULT put_Long(int32_t) override { return S_OK; }
    HRESULT put_Double(double) override { return S_OK; }
    int32_t IsObject() override { return 0; }
    HRESULT get_Object(IUnknown** out) override {
        *out = nullptr;
        return E_FAIL;
    }
    HRESULT put_Value(IUnknown*) override { return S_OK; }
    int32_t IsString() override { return 1; }
    HRESULT get_String(IString** out) override {
        *out = nullptr;
        return S_OK;
    }
    HRESULT put_String(IString*) override { return S_OK; }
};

int32_t integerAt(IParameters* parameters, int32_t index) {
    SmartPtr<IVariant> value;
    if (parameters->get_ItemVariant(index, value.put()) < 0 || !value) return INT32_MIN;
    return value->get_Long();
}

void addInteger(IParametersCreatable* parameters, const wchar_t* name, int32_t value, int32_t flags = 3) {
    parameters->Add(makeString(name).get(), makeVariant(value).get(), nullptr, flags);
}

int32_t indexOf(IParameters* parameters, IUnknown* key, HRESULT* result = nullptr) {
    int32_t index = -99;
    const HRESULT found = parameters->get_Index(key, &index);
    if (result) *result = found;
    return index;
}

// A binding whose value is the given object (or none, when it cannot deliver).
SmartPtr<IInputParameter> bindingTo(IUnknown* object) {
    SmartPtr<host::InputParameter> binding = host::make<host::InputParameter>(L"bound", IID_NULL, 0);
    if (object) binding->put_Object(object);
    return SmartPtr<IInputParameter>(binding.get());
}

}  // namespace

using Collection = HostTest;

TEST_F(Collection, LooksUpByNameNumberObjectAndDescriptor) {
    SmartPtr<Creatable> step = makeCollection<Creatable>();
    addInteger(step.get(), L"Wait", 1);
    addInteger(step.get(), L"Wait", 2);  // duplicates are appended
    addInteger(step.get(), L"\u00c9tat", 3);
    SmartPtr<IUnknown> object = host::make<host::SuperCollection>();
    // String keys only ever match names, so the descriptor looked up by
    // identity is an object.
    SmartPtr<IUnknown> descriptor = host::make<host::SuperCollection>();
    step->Add(makeString(L"Object").get(), object.get(), nullptr, 7);
    step->Add(makeString(L"Choice").get(), makeVariant(0).get(), descriptor.get(), 0x43);
    addInteger(step.get(), L"Zz", 5);

    HRESULT result = S_OK;
    EXPECT_EQ(indexOf(step.get(), makeString(L"Wait").get()), 0) << "the first of two";
    EXPECT_EQ(indexOf(step.get(), makeString(L"WAIT").get()), 0) << "A to Z fold";
    EXPECT_EQ(indexOf(step.get(), makeString(L"zZ").get()), 5) << "Z folds on either side";
    EXPECT_EQ(indexOf(step.get(), makeVariant(std::wstring(L"wait")).get()), 0) << "a variant holding a name";
    EXPECT_EQ(indexOf(step.get(), makeString(L"\u00e9tat").get(), &result), -1) << "only ASCII folds";
    EXPECT_EQ(result, E_FAIL);
    EXPECT_EQ(indexOf(step.get(), makeString(L"Wai").get(), &result), -1);
    EXPECT_EQ(indexOf(step.get(), makeString(L"").get(), &result), -1);
    EXPECT_EQ(result, E_FAIL);

    EXPECT_EQ(indexOf(step.get(), makeVariant(7).get(), &result), 7) << "a number is taken as it is";
    EXPECT_EQ(result, S_OK);
    EXPECT_EQ(indexOf(step.get(), makeVariant(-3).get()), -3);

    EXPECT_EQ(indexOf(step.get(), object.get()), 3) << "by the value's object";
    SmartPtr<IVariant> holding = makeVariant(0);
    holding->put_Value(object.get());
    EXPECT_EQ(indexOf(step.get(), holding.get()), 3) << "a variant holding the object";
    EXPECT_EQ(indexOf(step.get(), descriptor.get()), 4) << "by the descriptor";
    EXPECT_EQ(indexOf(step.get(), host::make<host::SuperCollection>().get(), &result), -99) << "untouched";
    EXPECT_EQ(result, E_FAIL);
    EXPECT_EQ(indexOf(step.get(), nullptr, &result), -99);
    EXPECT_EQ(result, E_FAIL);
    EXPECT_EQ(step->get_Index(makeString(L"Wait").get(), nullptr), E_POINTER);
}

TEST_F(Collection, ItemsComeUnwrappedAndValuesAreShared) {
    SmartPtr<Creatable> step = makeCollection<Creatable>();
    SmartPtr<IUnknown> object = host::make<host::SuperCollection>();
    SmartPtr<IVariant> shared = makeVariant(5);
    step->Add(makeString(L"Number").get(), shared.get(), nullptr, 3);
    step->Add(makeString(L"Text").get(), makeString(L"abc").get(), nullptr, 6);
    step->Add(makeString(L"Object").get(), object.get(), nullptr, 7);
    step->Add(makeString(L"Empty").get(), nullptr, nullptr, 6);

    SmartPtr<IUnknown> item;
    ASSERT_EQ(step->get_Item(0, item.put()), S_OK);
    EXPECT_EQ(item.get(), static_cast<IUnknown*>(shared.get())) << "a number comes as its variant, shared";
    ASSERT_EQ(step->get_Item(1, item.put()), S_OK);
    EXPECT_EQ(textOf(item.query<IString>().get()), L"abc") << "a string comes unwrapped";
    ASSERT_EQ(step->get_Item(2, item.put()), S_OK);
    EXPECT_TRUE(isSameObject(item.get(), object.get())) << "an object comes unwrapped";
    ASSERT_EQ(step->get_Item(3, item.put()), S_OK);
    EXPECT_EQ(textOf(item.query<IString>().get()), L"") << "a null value is an empty string";

    shared->put_Long(6);
    EXPECT_EQ(integerAt(step.get(), 0), 6) << "Add keeps the caller's variant";
    SmartPtr<IVariant> replacement = makeVariant(10);
    EXPECT_EQ(step->put_Item(0, replacement.get()), S_OK);
    replacement->put_Long(11);
    EXPECT_EQ(integerAt(step.get(), 0), 11) << "put_Item keeps the caller's variant";
    EXPECT_EQ(step->put_Item(1, makeString(L"xyz").get()), S_OK);
    ASSERT_EQ(step->get_Item(1, item.put()), S_OK);
    EXPECT_EQ(textOf(item.query<IString>().get()), L"xyz");
    EXPECT_EQ(step->put_Item(3, nullptr), S_OK);
    SmartPtr<IVariant> emptied;
    ASSERT_EQ(step->get_ItemVariant(3, emptied.put()), S_OK);
    EXPECT_EQ(emptied->IsString() + emptied->IsObject() + emptied->get_Type(), 0) << "an empty variant";
}

TEST_F(Collection, ABoundInputSuppliesTheValueUntilItCannot) {
    SmartPtr<Creatable> step = makeCollection<Creatable>();
    SmartPtr<IVariant> supplied = makeVariant(42);
    SmartPtr<IInputParameter> binding = bindingTo(supplied.get());
    step->Add(makeString(L"Bound").get(), makeVariant(1).get(), binding.get(), 3);

    SmartPtr<IVariant> value;
    EXPECT_EQ(step->get_ItemVariant(0, value.put()), S_FALSE) << "1: the value came from the input";
    EXPECT_EQ(value->get_Long(), 42);
    SmartPtr<IUnknown> item;
    EXPECT_EQ(step->get_Item(0, item.put()), S_FALSE);
    EXPECT_EQ(item.get(), static_cast<IUnknown*>(supplied.get()));
    SmartPtr<IVariant> iterated;
    EXPECT_EQ(step->Iterate(0, nullptr, iterated.put(), nullptr, nullptr), S_OK) << "Iterate passes no 1 on";
    EXPECT_EQ(iterated->get_Long(), 42);
    EXPECT_EQ(step->PARAMInteger(0, -1), 42);

    binding->put_Object(nullptr);  // the input can no longer deliver
    EXPECT_EQ(step->get_ItemVariant(0, value.put()), S_OK);
    EXPECT_EQ(value->get_Long(), 1) << "the stored value";

    // A bound object that is no variant is wrapped in a new one.
    SmartPtr<IUnknown> object = host::make<host::SuperCollection>();
    binding->put_Object(object.get());
    EXPECT_EQ(step->get_ItemVariant(0, value.put()), S_FALSE);
    EXPECT_EQ(value->IsObject(), 1);
    EXPECT_EQ(step->get_Item(0, item.put()), S_FALSE);
    EXPECT_EQ(item.get(), object.get()) << "the item is the bound object itself";
    EXPECT_EQ(step->PARAMInteger(5, -7), -7) << "an unreadable parameter gives the default";
}

TEST_F(Collection, IterateWritesOnlyWhatWasAskedAndWhatExists) {
    SmartPtr<Creatable> step = makeCollection<Creatable>();
    step->Add(makeString(L"Plain").get(), makeVariant(3).get(), nullptr, 0x13);
    step->Add(nullptr, makeVariant(4).get(), makeString(L"X|Y").get(), 0x43);

    int32_t flags = 0;
    EXPECT_EQ(step->Iterate(0, nullptr, nullptr, nullptr, &flags), S_OK);
    EXPECT_EQ(flags, 0x13);

    IString* name = reinterpret_cast<IString*>(0x1);
    IVariant* value = nullptr;
    IUnknown* marker = reinterpret_cast<IUnknown*>(0x2);
    IUnknown* descriptor = marker;
    EXPECT_EQ(step->Iterate(0, &name, &value, &descriptor, &flags), S_OK);
    EXPECT_EQ(descriptor, marker) << "no descriptor: the caller's pointer is left as it was";
    EXPECT_EQ(textOf(name), L"Plain");
    EXPECT_EQ(value->get_Long(), 3);
    name->Release();
    value->Release();

    EXPECT_EQ(step->Iterate(1, &name, nullptr, &descriptor, &flags), S_OK);
    EXPECT_EQ(name, nullptr) << "a parameter without a name";
    ASSERT_NE(descriptor, marker);
    EXPECT_EQ(textOf(queryInterface<IString>(descriptor).get()), L"X|Y");
    descriptor->Release();

    EXPECT_EQ(step->Iterate(2, nullptr, nullptr, nullptr, &flags), E_INVALIDARG);
    EXPECT_EQ(step->Iterate(-1, nullptr, nullptr, nullptr, &flags), E_INVALIDARG);
}

TEST_F(Collection, LockFlagReportsOnlyTheLastCall) {
    for (const wchar_t* registered : {L"GCUIRefresh", L"GCUIPropRead"}) {
        SmartPtr<IParameters> parameters = createStep<IParameters>(registered);
        EXPECT_EQ(parameters->IsCollectionLocked(), 0);
        parameters->CollectionLock();
        EXPECT_EQ(parameters->IsCollectionLocked(), 1);
        parameters->CollectionLock();  // not counted
        parameters->CollectionUnlock();
        EXPECT_EQ(parameters->IsCollectionLocked(), 0) << host::narrow(registered);
    }
}

TEST_F(Collection, SetUpdatesOrAddsByMode) {
    SmartPtr<IParametersCreatable> step = createStep<IParametersCreatable>(L"GCUIPropWrite");
    ASSERT_TRUE(step);
    SmartPtr<IString> choices = makeString(L"a|b");
    step->Add(makeString(L"Mode").get(), makeVariant(1).get(), choices.get(), 0x43);

    SmartPtr<IUnknown> descriptor;
    int32_t flags = 0;
    EXPECT_EQ(step->Set(makeString(L"MODE").get(), makeVariant(2).get(), nullptr, 0, 0), S_OK);
    EXPECT_EQ(integerAt(step.get(), 0), 2);
    EXPECT_EQ(step->get_ItemDescriptor(0, descriptor.put()), S_OK) << "mode 0 keeps the descriptor";
    step->get_ItemFlags(0, &flags);
    EXPECT_EQ(flags, 0x43) << "flags 0 with mode 0 keep the flags";

    EXPECT_EQ(step->Set(makeString(L"Mode").get(), makeVariant(3).get(), nullptr, 0, 1), S_OK);
    EXPECT_EQ(step->get_ItemDescriptor(0, descriptor.put()), E_FAIL) << "mode 1 clears it";
    EXPECT_FALSE(descriptor);
    step->get_ItemFlags(0, &flags);
    EXPECT_EQ(flags, 0x43);

    EXPECT_EQ(step->Set(makeString(L"Mode").get(), makeVariant(4).get(), choices.get(), 0, 2), S_OK);
    step->get_ItemFlags(0, &flags);
    EXPECT_EQ(flags, 0) << "mode 2 stores flags 0";
    EXPECT_EQ(step->get_ItemDescriptor(0, descriptor.put()), S_OK);

    EXPECT_EQ(step->Set(makeString(L"New").get(), makeVariant(9).get(), nullptr, 5, 0), S_OK);
    EXPECT_EQ(step->Set(makeVariant(std::wstring(L"FromVariant")).get(), makeVariant(8).get(), nullptr, 0, 0), S_OK);
    EXPECT_EQ(namesOf(step.get()), (std::vector<std::wstring>{L"Mode", L"New", L"FromVariant"}));
    EXPECT_EQ(step->Set(host::make<host::SuperCollection>().get(), makeVariant(1).get(), nullptr, 0, 0), E_FAIL);
    // A numeric key is an index, but nothing is written outside the collection.
    EXPECT_EQ(step->Set(makeVariant(1).get(), makeVariant(77).get(), nullptr, 0, 0), S_OK);
    EXPECT_EQ(integerAt(step.get(), 1), 77);
    EXPECT_EQ(step->Set(makeVariant(50).get(), makeVariant(1).get(), choices.get(), 3, 3), E_INVALIDARG);
    int32_t count = 0;
    step->get_Count(&count);
    EXPECT_EQ(count, 3);
}

TEST_F(Collection, CopyUpdatesKeepsAndAppends) {
    SmartPtr<Creatable> source = makeCollection<Creatable>();
    SmartPtr<IString> sourceChoices = makeString(L"p|q");
    source->Add(makeString(L"X").get(), makeVariant(1).get(), nullptr, 3);
    source->Add(makeString(L"Y").get(), makeVariant(2).get(), sourceChoices.get(), 0x43);

    auto check = [&](IParameters* target) {
        EXPECT_EQ(namesOf(target), (std::vector<std::wstring>{L"Y", L"Z", L"X"}));
        EXPECT_EQ(integerAt(target, 0), 2) << "Y updated";
        EXPECT_EQ(integerAt(target, 1), 30) << "Z kept";
        EXPECT_EQ(integerAt(target, 2), 1) << "X appended";
        SmartPtr<IUnknown> descriptor;
        target->get_ItemDescriptor(0, descriptor.put());
        EXPECT_EQ(descriptor.get(), static_cast<IUnknown*>(sourceChoices.get())) << "descriptors are shared";
        EXPECT_EQ(target->get_ItemDescriptor(2, descriptor.put()), E_FAIL) << "none replaces an old one";
        int32_t flags = 0;
        target->get_ItemFlags(0, &flags);
        EXPECT_EQ(flags, 0x43);
        // The values are copies: the source's variants are not shared.
        SmartPtr<IVariant> sourceValue;
        source->get_ItemVariant(1, sourceValue.put());
        sourceValue->put_Long(99);
        EXPECT_EQ(integerAt(target, 0), 2);
        sourceValue->put_Long(2);
    };

    SmartPtr<Creatable> creatable = makeCollection<Creatable>();
    creatable->Add(makeString(L"Y").get(), makeVariant(20).get(), nullptr, 3);
    creatable->Add(makeString(L"Z").get(), makeVariant(30).get(), nullptr, 3);
    creatable->Add(makeString(L"x").get(), makeVariant(10).get(), makeString(L"old").get(), 3);
    creatable->Remove(2);
    EXPECT_EQ(creatable->Copy(source.get()), S_OK);
    check(creatable.get());

    SmartPtr<Fixed> fixed = makeCollection<Fixed>();
    fixed->Add(makeString(L"Y").get(), makeVariant(20).get(), makeString(L"old").get(), 3);
    fixed->Add(makeString(L"Z").get(), makeVariant(30).get(), nullptr, 3);
    EXPECT_EQ(fixed->Copy(source.get()), S_OK);
    check(fixed.get());
    EXPECT_EQ(fixed->Copy(nullptr), E_POINTER);
}

TEST_F(Collection, SortsByNameAndReverses) {
    // Code points, case-sensitive; an empty name first, a prefix before longer names.
    struct Case {
        int32_t mode;
        std::vector<std::wstring> expected;
    };
    const Case cases[] = {
        {0, {L"", L"A", L"Ab", L"a", L"b"}},
        {1, {L"", L"A", L"Ab", L"a", L"b"}},
        {2, {L"b", L"a", L"Ab", L"A", L""}},
    };
    for (const Case& c : cases) {
        SmartPtr<Creatable> step = makeCollection<Creatable>();
        int32_t value = 0;
        for (const wchar_t* name : {L"b", L"A", L"a", L"Ab", L""}) addInteger(step.get(), name, value++);
        EXPECT_EQ(step->Sort(c.mode), S_OK);
        EXPECT_EQ(namesOf(step.get()), c.expected) << "mode " << c.mode;
        // The values travel with their names.
        const std::vector<std::wstring> added = {L"b", L"A", L"a", L"Ab", L""};
        for (int32_t i = 0; i < 5; ++i) {
            const std::wstring name = nameAt(step.get(), i);
            const auto position = std::find(added.begin(), added.end(), name) - added.begin();
            EXPECT_EQ(integerAt(step.get(), i), position) << host::narrow(name);
        }
    }
    SmartPtr<Creatable> single = makeCollection<Creatable>();
    addInteger(single.get(), L"only", 1);
    EXPECT_EQ(single->Sort(2), S_OK);
    EXPECT_EQ(namesOf(single.get()), std::vector<std::wstring>{L"only"});
}

TEST_F(Collection, WritesOneCommaSeparatedLine) {
    SmartPtr<Creatable> step = makeCollection<Creatable>();
    step->Add(makeString(L"Mode").get(), makeVariant(1).get(), nullptr, 3);
    step->Add(makeString(L"Name").get(), makeString(L"abc").get(), nullptr, 6);
    step->Add(makeString(L"Result").get(), makeVariant(2.5).get(), nullptr, 0x40005);

    struct Case {
        int32_t mode;
        std::wstring line;
    };
    const Case cases[] = {
        {0, L"1,abc,2.5"},
        {0x10000, L"Mode=1,Name=abc,Result=2.5"},
        {0x800000, L"1,abc"},
        {0x810000, L"Mode=1,Name=abc"},
    };
    for (const Case& c : cases) {
        SmartPtr<host::CsvStream> csv = host::make<host::CsvStream>();
        EXPECT_EQ(step->Params_SaveCSV(csv.get(), c.mode), S_OK);
        EXPECT_EQ(csv->text(), c.line) << "mode " << std::hex << c.mode;
        EXPECT_EQ(csv->bytes().size(), c.line.size() * sizeof(wchar_t)) << "characters at their full width";
    }
    // Only a CSV stream is written to.
    SmartPtr<IUnknown> notCsv = host::make<host::SuperCollection>();
    EXPECT_EQ(step->Params_SaveCSV(reinterpret_cast<IDataStream*>(notCsv.get()), 0), S_OK);
    EXPECT_EQ(step->Params_SaveCSV(nullptr, 0), S_OK);
}

TEST_F(Collection, BadIndexesAndPointersGetTheirCodes) {
    SmartPtr<Creatable> step = makeCollection<Creatable>();
    addInteger(step.get(), L"One", 1);
    for (int32_t bad : {-1, 1, INT32_MAX, INT32_MIN}) {
        SmartPtr<IUnknown> item;
        SmartPtr<IVariant> variant;
        SmartPtr<IString> name;
        int32_t flags = 0;
        EXPECT_EQ(step->get_Item(bad, item.put()), E_INVALIDARG) << bad;
        EXPECT_EQ(step->get_ItemVariant(bad, variant.put()), E_INVALIDARG);
        EXPECT_EQ(step->get_ItemName(bad, name.put()), E_INVALIDARG);
        EXPECT_EQ(step->put_Item(bad, makeVariant(1).get()), E_INVALIDARG);
        EXPECT_EQ(step->get_ItemDescriptor(bad, item.put()), E_INVALIDARG);
        EXPECT_EQ(step->put_ItemDescriptor(bad, nullptr), E_INVALIDARG);
        EXPECT_EQ(step->get_ItemFlags(bad, &flags), E_INVALIDARG);
        EXPECT_EQ(step->put_ItemFlags(bad, 1), E_INVALIDARG);
        EXPECT_EQ(step->Rename(bad, makeString(L"x").get()), E_INVALIDARG);
        EXPECT_EQ(step->Remove(bad), E_INVALIDARG);
        EXPECT_EQ(step->Iterate(bad, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    }
    EXPECT_EQ(step->get_Item(0, nullptr), E_POINTER);
    EXPECT_EQ(step->get_ItemVariant(0, nullptr), E_POINTER);
    EXPECT_EQ(step->get_ItemName(0, nullptr), E_POINTER);
    EXPECT_EQ(step->get_ItemDescriptor(0, nullptr), E_POINTER);
    EXPECT_EQ(step->get_ItemFlags(0, nullptr), E_POINTER);
    EXPECT_EQ(step->get_Count(nullptr), E_POINTER);

    // Null names and descriptors are allowed and read back as missing.
    EXPECT_EQ(step->Add(nullptr, nullptr, nullptr, 0), S_OK);
    EXPECT_EQ(step->Rename(0, nullptr), S_OK);
    SmartPtr<IString> name;
    EXPECT_EQ(step->get_ItemName(0, name.put()), E_FAIL);
    EXPECT_FALSE(name);
    EXPECT_EQ(step->put_ItemDescriptor(0, nullptr), S_OK);
    SmartPtr<IUnknown> descriptor;
    EXPECT_EQ(step->get_ItemDescriptor(0, descriptor.put()), E_FAIL);
    EXPECT_FALSE(descriptor);
    EXPECT_EQ(step->Rename(1, makeString(L"Renamed").get()), S_OK);
    EXPECT_EQ(nameAt(step.get(), 1), L"Renamed");

    // A value whose variant gives nothing is no item.
    ASSERT_EQ(step->Add(makeString(L"Lying").get(), host::make<StringlessVariant>().get(), nullptr, 6), S_OK);
    SmartPtr<IUnknown> item;
    EXPECT_EQ(step->get_Item(2, item.put()), E_FAIL);
    EXPECT_FALSE(item);
}

TEST_F(Collection, WithoutAVariantFactoryNothingIsStored) {
    SmartPtr<Creatable> step = makeCollection<Creatable>();
    // A string value needs a new variant: this makes the module find its factory.
    ASSERT_EQ(step->Add(makeString(L"Kept").get(), makeString(L"kept").get(), nullptr, 6), S_OK);
    host::ClassRegistry::add(L"Variant", [] { return SmartPtr<IUnknown>(); });
    EXPECT_EQ(step->Add(makeString(L"Lost").get(), makeString(L"text").get(), nullptr, 6), E_FAIL);
    EXPECT_EQ(step->put_Item(0, makeString(L"text").get()), E_FAIL);
    SmartPtr<IUnknown> item;
    ASSERT_EQ(step->get_Item(0, item.put()), S_OK);
    EXPECT_EQ(textOf(item.query<IString>().get()), L"kept") << "the old value stays";
    SmartPtr<IUnknown> object = host::make<host::SuperCollection>();
    EXPECT_EQ(step->Add(makeString(L"Shared").get(), makeVariant(2).get(), bindingTo(object.get()).get(), 3), S_OK)
        << "a caller's own variant needs no factory";
    SmartPtr<IVariant> wrapped;
    EXPECT_EQ(step->get_ItemVariant(1, wrapped.put()), E_FAIL) << "nor is a bound object wrapped";
    EXPECT_FALSE(wrapped);
    int32_t count = 0;
    step->get_Count(&count);
    EXPECT_EQ(count, 2);
    host::ClassRegistry::add(L"Variant", [] { return SmartPtr<IUnknown>(host::make<host::Variant>()); });
}
