// The stand-in host's core objects behave as the module expects of a host.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "host/Collections.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "support/HostTest.h"

using StandInHost = HostTest;
using host::makeString;
using host::makeVariant;
using host::textOf;

TEST_F(StandInHost, StringsKeepCountedTextWithoutTerminator) {
    SmartPtr<IString> string = makeString(L"abc");
    const wchar_t* text = nullptr;
    int32_t length = -1;
    ASSERT_EQ(string->get_Text(&text, &length), S_OK);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(std::wstring(text, 3), L"abc");

    EXPECT_EQ(string->Append(2, L"de!"), S_OK);
    EXPECT_EQ(textOf(string.get()), L"abcde");
    EXPECT_EQ(string->put_Text(0, nullptr), S_OK);
    EXPECT_EQ(textOf(string.get()), L"");
    EXPECT_EQ(string->get_Text(&text, &length), S_OK);
    EXPECT_NE(text, nullptr) << "an empty string still has a character pointer";

    EXPECT_EQ(string->put_Text(-1, L"x"), E_INVALIDARG);
    EXPECT_EQ(string->put_Text(4, nullptr), E_POINTER);
    EXPECT_EQ(string->Append(-5, L"x"), E_INVALIDARG);
    EXPECT_EQ(string->get_Text(nullptr, &length), E_POINTER);
    EXPECT_EQ(textOf(string.get()), L"") << "refused writes change nothing";

    SmartPtr<ICreatableString> creatable = string.query<ICreatableString>();
    EXPECT_TRUE(creatable);
}

TEST_F(StandInHost, VariantsHoldNumbersStringsAndObjects) {
    SmartPtr<IVariant> variant = host::make<host::Variant>();
    EXPECT_EQ(variant->get_Type(), 0);
    EXPECT_EQ(variant->IsString(), 0);
    EXPECT_EQ(variant->IsObject(), 0);

    variant->put_Long(-7);
    EXPECT_EQ(variant->get_Type(), 1);
    EXPECT_EQ(variant->get_Long(), -7);
    EXPECT_EQ(variant->get_Double(), -7.0);
    SmartPtr<IString> none;
    EXPECT_LT(variant->get_String(none.put()), 0) << "a number is no string";
    EXPECT_FALSE(none);

    variant->put_Double(2.75);
    EXPECT_EQ(variant->get_Type(), 2);
    EXPECT_EQ(variant->get_Long(), 2);
    variant->put_Double(1e20);
    EXPECT_EQ(variant->get_Long(), std::numeric_limits<int32_t>::max());
    variant->put_Double(std::nan(""));
    EXPECT_EQ(variant->get_Long(), 0);

    SmartPtr<IString> text = makeString(L"41");
    variant->put_String(text.get());
    EXPECT_EQ(variant->get_Type(), 0);
    EXPECT_EQ(variant->IsString(), 1);
    EXPECT_EQ(variant->get_Long(), 41);
    SmartPtr<IString> held;
    ASSERT_EQ(variant->get_String(held.put()), S_OK);
    EXPECT_EQ(held.get(), text.get()) << "the held string itself";

    SmartPtr<IUnknown> object = host::make<host::SuperCollection>();
    variant->put_Value(object.get());
    EXPECT_EQ(variant->IsObject(), 1);
    SmartPtr<IUnknown> got;
    ASSERT_EQ(variant->get_Object(got.put()), S_OK);
    EXPECT_TRUE(isSameObject(got.get(), object.get()));
    EXPECT_EQ(variant->get_Object(nullptr), E_POINTER);

    variant->put_Value(nullptr);
    EXPECT_EQ(variant->IsObject(), 0);
    EXPECT_EQ(variant->get_Object(got.put()), E_FAIL);
    EXPECT_FALSE(got);
}

TEST_F(StandInHost, PutValueCopiesAnotherVariantsContent) {
    SmartPtr<IVariant> source = makeVariant(std::wstring(L"text"));
    SmartPtr<IVariant> copy = host::make<host::Variant>();
    copy->put_Value(source.get());
    ASSERT_EQ(copy->IsString(), 1);
    SmartPtr<IString> sourceText, copyText;
    source->get_String(sourceText.put());
    copy->get_String(copyText.put());
    EXPECT_NE(sourceText.get(), copyText.get()) << "copies share no string";
    sourceText->put_Text(3, L"new");
    EXPECT_EQ(textOf(copyText.get()), L"text");

    copy->put_Value(makeVariant(12).get());
    EXPECT_EQ(copy->get_Type(), 1);
    EXPECT_EQ(copy->get_Long(), 12);
    copy->put_Value(makeVariant(0.5).get());
    EXPECT_EQ(copy->get_Type(), 2);
    EXPECT_EQ(copy->get_Double(), 0.5);
    copy->put_Value(copy.get());
    EXPECT_EQ(copy->get_Double(), 0.5) << "a variant given itself keeps its value";

    SmartPtr<IString> plain = makeString(L"plain");
    copy->put_Value(plain.get());
    SmartPtr<IString> held;
    copy->get_String(held.put());
    EXPECT_EQ(held.get(), plain.get()) << "a string is held as it is";
}

TEST_F(StandInHost, CollectionsFindItemsByNameOrNumber) {
    SmartPtr<host::SuperCollection> collection = host::make<host::SuperCollection>();
    collection->Add(makeString(L"first").get(), makeVariant(1).get(), nullptr, 0);
    collection->Add(makeString(L"second").get(), makeVariant(2).get(), makeString(L"a|b").get(), 0x43);
    collection->Add(nullptr, makeVariant(3).get(), nullptr, 0);

    int32_t count = 0;
    EXPECT_EQ(collection->get_Count(&count), S_OK);
    EXPECT_EQ(count, 3);
    int32_t index = 99;
    EXPECT_EQ(collection->get_Index(makeString(L"second").get(), &index), S_OK);
    EXPECT_EQ(index, 1);
    EXPECT_LT(collection->get_Index(makeString(L"SECOND").get(), &index), 0);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(collection->get_Index(makeVariant(2).get(), &index), S_OK);
    EXPECT_EQ(index, 2);
    EXPECT_LT(collection->get_Index(makeVariant(3).get(), &index), 0);
    EXPECT_EQ(collection->get_Index(makeVariant(std::wstring(L"first")).get(), &index), S_OK);
    EXPECT_EQ(index, 0);

    SmartPtr<IString> name;
    EXPECT_EQ(collection->get_ItemName(0, name.put()), S_OK);
    EXPECT_EQ(textOf(name.get()), L"first");
    EXPECT_LT(collection->get_ItemName(2, name.put()), 0) << "an entry added without a name";
    SmartPtr<IUnknown> item;
    EXPECT_EQ(collection->get_Item(-1, item.put()), E_INVALIDARG);
    EXPECT_EQ(collection->get_Item(3, item.put()), E_INVALIDARG);
    EXPECT_EQ(collection->get_Item(1, item.put()), S_OK);
    EXPECT_EQ(queryInterface<IVariant>(item.get())->get_Long(), 2);

    SmartPtr<INamedCollection> named =
        SmartPtr<IUnknown>(static_cast<ISuperCollection*>(collection.get())).query<INamedCollection>();
    EXPECT_TRUE(named);
}

TEST_F(StandInHost, ComponentsAreObjectsOrClasses) {
    // A class asked for as it is gives its component path; asked for an
    // interface, a new object.
    SmartPtr<IComponentString> factory;
    ASSERT_EQ(components->GetComponent(15, L"CreatableString", nullptr, factory.put_void()), S_OK);
    ASSERT_TRUE(factory);
    SmartPtr<IString> part;
    factory->get_Part(1, part.put());
    EXPECT_EQ(textOf(part.get()), L"CreatableString");
    factory->get_Part(4, part.put());
    EXPECT_EQ(textOf(part.get()), L"Collections");

    SmartPtr<IString> first, second;
    ASSERT_EQ(factory->CreateInstance(&IID_ICreatableString, first.put_void()), S_OK);
    ASSERT_EQ(factory->CreateInstance(&IID_IString, second.put_void()), S_OK);
    EXPECT_NE(first.get(), second.get());
    SmartPtr<IUnknown> refused;
    EXPECT_EQ(factory->CreateInstance(&IID_IVariant, refused.put_void()), E_NOINTERFACE);

    SmartPtr<IInputParameters> inputs;
    EXPECT_EQ(components->GetComponent(15, L"InputParameters", &IID_IInputParameters, inputs.put_void()), S_OK);
    EXPECT_TRUE(inputs);

    SmartPtr<IUnknown> object = host::make<host::SuperCollection>();
    components->addObject(L"Shared", object.get());
    SmartPtr<IUnknown> got;
    EXPECT_EQ(components->GetComponent(6, L"Shared", nullptr, got.put_void()), S_OK);
    EXPECT_EQ(got.get(), object.get()) << "an object component is handed out as it is";
    EXPECT_EQ(components->GetComponent(6, L"Shared", &IID_IVariant, got.put_void()), E_NOINTERFACE);

    int32_t index = -1;
    EXPECT_EQ(components->get_Index(makeString(L"Shared").get(), &index), S_OK);
    EXPECT_EQ(components->get_Item(index, got.put()), S_OK);
    EXPECT_EQ(got.get(), object.get());
    EXPECT_EQ(components->get_Index(makeString(L"Variant").get(), &index), S_OK);
    EXPECT_EQ(components->get_Item(index, got.put()), S_OK);
    EXPECT_TRUE(got.query<IComponentString>()) << "a class component is its component path";

    EXPECT_LT(components->get_Index(makeString(L"Missing").get(), &index), 0);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(components->GetComponent(7, L"Missing", nullptr, got.put_void()), E_FAIL);
    EXPECT_FALSE(got);
    EXPECT_EQ(components->GetComponent(-1, L"x", nullptr, got.put_void()), E_INVALIDARG);
    EXPECT_EQ(components->GetComponent(3, nullptr, nullptr, got.put_void()), E_POINTER);
    EXPECT_EQ(components->GetComponent(6, L"Shared", nullptr, nullptr), E_POINTER);
}

TEST_F(StandInHost, ComponentPathsCreateTheirClass) {
    SmartPtr<IComponentString> path = host::make<host::ComponentString>();
    path->put_Part(4, 11, L"Collections");
    for (const wchar_t* className : {L"CreatableString", L"Variant", L"SuperCollection"}) {
        path->put_Part(1, static_cast<int32_t>(std::wcslen(className)), className);
        SmartPtr<IUnknown> made;
        EXPECT_EQ(path->CreateInstance(&IID_IUnknown, made.put_void()), S_OK) << host::narrow(className);
        EXPECT_TRUE(made);
    }
    path->put_Part(1, 7, L"Unknown");
    SmartPtr<IUnknown> made;
    EXPECT_EQ(path->CreateInstance(&IID_IUnknown, made.put_void()), E_FAIL);
    EXPECT_EQ(path->CreateInstance(nullptr, made.put_void()), E_POINTER);
    EXPECT_EQ(path->put_Part(1, -2, L"x"), E_INVALIDARG);
}

TEST_F(StandInHost, InputListsDeclareAndBindInputs) {
    SmartPtr<host::InputParameters> inputs = host::make<host::InputParameters>();
    inputs->AddInput(makeString(L"RefreshableObject").get(), IID_IUIRefreshableObject, 0);
    int32_t count = 0;
    inputs->get_Count(&count);
    EXPECT_EQ(count, 1);

    SmartPtr<IUnknown> entry;
    ASSERT_EQ(inputs->get_Item(0, entry.put()), S_OK);
    SmartPtr<IInputParameter> binding = entry.query<IInputParameter>();
    ASSERT_TRUE(binding);
    IID required = IID_NULL;
    binding->get_IID(&required);
    EXPECT_EQ(required, IID_IUIRefreshableObject);

    SmartPtr<IUnknown> bound;
    EXPECT_EQ(inputs->get_InputObject(0, bound.put()), S_OK) << "unbound: no object, and no refusal";
    EXPECT_FALSE(bound);
    SmartPtr<IUnknown> target = host::make<host::SuperCollection>();
    binding->put_Object(target.get());
    EXPECT_EQ(inputs->get_InputObject(0, bound.put()), S_OK);
    EXPECT_EQ(bound.get(), target.get());
    EXPECT_EQ(inputs->get_InputObject(1, bound.put()), E_INVALIDARG);
    EXPECT_EQ(inputs->get_InputObject(-1, bound.put()), E_INVALIDARG);

    int32_t itemIndex = 0;
    binding->get_ItemIndex(&itemIndex);
    EXPECT_EQ(itemIndex, -1);
    SmartPtr<IString> itemName;
    EXPECT_LT(binding->get_ItemName(itemName.put()), 0);
    binding->put_ItemName(makeString(L"View").get());
    EXPECT_EQ(binding->get_ItemName(itemName.put()), S_OK);
    EXPECT_EQ(textOf(itemName.get()), L"View");
}

TEST_F(StandInHost, LedgerCountsLiveObjectsAndRecorderKeepsCalls) {
    const int32_t before = host::Ledger::live();
    {
        SmartPtr<IVariant> a = makeVariant(1);
        SmartPtr<IString> b = makeString(L"b");
        EXPECT_EQ(host::Ledger::live(), before + 2);
        EXPECT_NE(host::Ledger::report().find("Variant: 1"), std::string::npos);
    }
    EXPECT_EQ(host::Ledger::live(), before);

    host::Recorder::clear();
    SmartPtr<IUnknown> got;
    components->GetComponent(7, L"Variant", nullptr, got.put_void());
    EXPECT_EQ(host::Recorder::take(), std::vector<std::string>{"ComponentCollection.GetComponent(Variant)"});
    EXPECT_TRUE(host::Recorder::calls().empty());
}

// The same host code built as the component module ./_binlinux/CollectionsEx.so.
TEST(CollectionsExModule, OffersTheGlobalCollectionAndComponentPaths) {
    void* library = dlopen("./_binlinux/CollectionsEx.so", RTLD_NOW);
    ASSERT_NE(library, nullptr) << dlerror();
    auto createFunction = reinterpret_cast<CREATEFUNCTIONFUNCTION>(dlsym(library, "CreateFunction"));
    auto initializeModule = reinterpret_cast<INITIALIZEMODULEFUNCTION>(dlsym(library, "InitializeModule"));
    ASSERT_NE(createFunction, nullptr);
    ASSERT_NE(initializeModule, nullptr);
    EXPECT_EQ(initializeModule(nullptr, nullptr), S_OK);

    CREATEFUNCTION creator = nullptr;
    ASSERT_EQ(createFunction(refText(L"GlobalComponentCollection"), &creator), S_OK);
    SmartPtr<IComponentCollection> collection;
    ASSERT_EQ(creator(nullptr, &IID_IComponentCollection, collection.put_void()), S_OK);
    SmartPtr<IComponentString> factory;
    EXPECT_EQ(collection->GetComponent(7, L"Variant", nullptr, factory.put_void()), S_OK);
    SmartPtr<IVariant> variant;
    EXPECT_EQ(factory->CreateInstance(&IID_IVariant, variant.put_void()), S_OK);

    ASSERT_EQ(createFunction(refText(L"ComponentString"), &creator), S_OK);
    SmartPtr<IComponentString> path;
    ASSERT_EQ(creator(nullptr, &IID_IComponentString, path.put_void()), S_OK);
    SmartPtr<IString> part;
    path->get_Part(1, part.put());
    EXPECT_EQ(textOf(part.get()), L"") << "a fresh component path is empty";

    EXPECT_EQ(createFunction(refText(L"Variant"), &creator), E_FAIL);
    EXPECT_EQ(dlsym(library, "_ZN4host6Ledger4liveEv"), nullptr) << "only the two entry points are exported";
}
