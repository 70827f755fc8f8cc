// The stand-in host's core objects behave as the module expects of a host.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "host/Collections.h"
#include "host/Variants.h"
#include "support/HostTest.h"

using StandInHost = HostTest;
using host::makeString;
using host::makeVariant;
using host::textOf;

TEST_F(StandInHost, StringsTakeAnEmptyTextWithoutCharacters) {
    SmartPtr<IString> string = makeString(L"abc");
    EXPECT_EQ(string->put_Text(0, nullptr), S_OK);
    EXPECT_EQ(textOf(string.get()), L"");
}

// What the module relies on of a host's variants beyond what its own tests
// show: a real read as an integer is cut toward zero and clamped (NaN is 0),
// a string's number is read, and a copy shares no string with its source.
TEST_F(StandInHost, VariantsReadNumbersAndCopyWithoutSharing) {
    SmartPtr<IVariant> variant = host::make<host::Variant>();
    const struct {
        double value;
        int32_t integer;
    } reals[] = {{2.75, 2},
                 {-2.75, -2},
                 {1e20, std::numeric_limits<int32_t>::max()},
                 {-1e20, std::numeric_limits<int32_t>::min()},
                 {std::nan(""), 0}};
    for (const auto& real : reals) {
        variant->put_Double(real.value);
        EXPECT_EQ(variant->get_Type(), 2);
        EXPECT_EQ(variant->get_Long(), real.integer) << real.value;
    }
    SmartPtr<IString> none;
    EXPECT_LT(variant->get_String(none.put()), 0) << "a number is no string";
    EXPECT_FALSE(none);
    variant->put_String(makeString(L"41").get());
    EXPECT_EQ(variant->get_Type(), 0);
    EXPECT_EQ(variant->get_Long(), 41);

    SmartPtr<IVariant> copy = host::make<host::Variant>();
    copy->put_Value(variant.get());
    SmartPtr<IString> sourceText, copyText;
    variant->get_String(sourceText.put());
    ASSERT_EQ(copy->get_String(copyText.put()), S_OK);
    EXPECT_NE(sourceText.get(), copyText.get()) << "copies share no string";
    sourceText->put_Text(3, L"new");
    EXPECT_EQ(textOf(copyText.get()), L"41");
    copy->put_Value(makeVariant(0.5).get());
    copy->put_Value(copy.get());
    EXPECT_EQ(copy->get_Type(), 2);
    EXPECT_EQ(copy->get_Double(), 0.5) << "a variant given itself keeps its value";

    SmartPtr<IUnknown> object = host::make<host::SuperCollection>();
    copy->put_Value(object.get());
    SmartPtr<IUnknown> got;
    ASSERT_EQ(copy->get_Object(got.put()), S_OK);
    EXPECT_TRUE(isSameObject(got.get(), object.get()));
    copy->put_Value(nullptr);
    EXPECT_EQ(copy->IsObject(), 0);
    EXPECT_EQ(copy->get_Object(got.put()), E_FAIL);
    EXPECT_FALSE(got);
}

// The host's collection as steps find their objects in it: by name, exactly,
// by a variant's string or number, and entries added without a name.
TEST_F(StandInHost, CollectionsFindItemsByNameOrNumber) {
    SmartPtr<host::SuperCollection> collection = host::make<host::SuperCollection>();
    collection->Add(makeString(L"first").get(), makeVariant(1).get(), nullptr, 0);
    collection->Add(makeString(L"second").get(), makeVariant(2).get(), nullptr, 0);
    collection->Add(nullptr, makeVariant(3).get(), nullptr, 0);
    const struct {
        SmartPtr<IUnknown> key;
        int32_t index;
    } cases[] = {{SmartPtr<IUnknown>(makeString(L"second").get()), 1},
                 {SmartPtr<IUnknown>(makeString(L"SECOND").get()), -1},
                 {SmartPtr<IUnknown>(makeVariant(2).get()), 2},
                 {SmartPtr<IUnknown>(makeVariant(3).get()), -1},
                 {SmartPtr<IUnknown>(makeVariant(std::wstring(L"first")).get()), 0}};
    for (const auto& c : cases) {
        int32_t index = 99;
        EXPECT_EQ(collection->get_Index(c.key.get(), &index) >= 0, c.index >= 0) << &c - cases;
        EXPECT_EQ(index, c.index) << &c - cases;
    }
    SmartPtr<IString> name;
    EXPECT_LT(collection->get_ItemName(2, name.put()), 0) << "an entry added without a name";
}

// Components the module asks for by name (its own tests ask for classes):
// an object is handed out as it is, and listed among the classes.
TEST_F(StandInHost, ComponentsAreObjectsOrClasses) {
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
    SmartPtr<IComponentString> path = host::make<host::ComponentString>(L"Collections", L"Unknown");
    EXPECT_EQ(path->CreateInstance(&IID_IUnknown, got.put_void()), E_FAIL) << "a path to no class makes nothing";
    EXPECT_FALSE(got);
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
