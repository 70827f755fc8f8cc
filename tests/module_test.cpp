// The module's entry points and registry, driven as a host drives them.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

#include "host/Variants.h"
#include "module/Registry.h"
#include "support/HostTest.h"

using ModuleEntry = HostTest;

namespace {

std::wstring nameOf(IUnknown* object) {
    SmartPtr<IObjectInfo> info = queryInterface<IObjectInfo>(object);
    if (!info) return L"(no IObjectInfo)";
    tagREFString name = {0, nullptr};
    if (info->GetName(0, &name) != S_OK) return L"(GetName failed)";
    return std::wstring(name.text, static_cast<size_t>(name.count));
}

}  // namespace

TEST_F(ModuleEntry, RegistryHoldsTheFourteenClassesInLookupOrder) {
    ASSERT_EQ(kModuleClassCount, 14);
    for (int32_t i = 0; i < kModuleClassCount; ++i) {
        const tagREFString& name = *gModuleClasses[i]->name;
        EXPECT_EQ(std::wstring(name.text, static_cast<size_t>(name.count)), kRegisteredNames[i]) << i;
    }
}

TEST_F(ModuleEntry, EveryRegisteredNameGivesTheCreatorOfItsClass) {
    for (const wchar_t* registered : kRegisteredNames) {
        CREATEFUNCTION creator = nullptr;
        ASSERT_EQ(CreateFunction(refText(registered), &creator), S_OK) << registered;
        ASSERT_NE(creator, nullptr);
        SmartPtr<IUnknown> step;
        ASSERT_EQ(creator(nullptr, &IID_IUnknown, step.put_void()), S_OK) << registered;
        EXPECT_EQ(nameOf(step.get()), registered);
        // The host receives the only reference.
        EXPECT_EQ(referencesOf(step.get()), 1u) << registered;
    }
}

TEST_F(ModuleEntry, NamesAreMatchedExactlyWithTheirCount) {
    struct Case {
        tagREFString name;
        HRESULT expected;
    };
    const std::wstring longest(63, L'G');  // the longest count the lookup indexes
    const Case cases[] = {
        {{11, L"GCUIRefresh"}, S_OK},
        {{11, L"gcuirefresh"}, E_FAIL},
        {{12, L"GCUIRefresh "}, E_FAIL},
        {{10, L"GCUIRefresh"}, E_FAIL},
        {{11, L"GCTabSelect"}, S_OK},
        {{13, L"GCUITabSelect"}, E_FAIL},
        {{16, L"GCTabGetSelected"}, S_OK},
        {{18, L"GCUITabGetSelected"}, E_FAIL},
        {{0, L""}, E_FAIL},
        {{0, nullptr}, E_FAIL},
        {{-11, L"GCUIRefresh"}, E_FAIL},
        {{11, nullptr}, E_FAIL},  // a count with no text: no class, no read
        {{2147483647, L"GCUIRefresh"}, E_FAIL},
        {{63, longest.c_str()}, E_FAIL},
    };
    for (const Case& c : cases) {
        CREATEFUNCTION creator = reinterpret_cast<CREATEFUNCTION>(0x1234);
        EXPECT_EQ(CreateFunction(c.name, &creator), c.expected) << c.name.count;
        if (c.expected != S_OK) {
            EXPECT_EQ(creator, reinterpret_cast<CREATEFUNCTION>(0x1234)) << "left untouched on failure";
        }
    }
}

TEST_F(ModuleEntry, ANullCreatorVariableIsRefusedNotWritten) {
    EXPECT_EQ(CreateFunction(refText(L"GCUIRefresh"), nullptr), E_POINTER);
    EXPECT_EQ(CreateFunction(refText(L"NoSuchStep"), nullptr), E_FAIL);
}

TEST_F(ModuleEntry, InitializeModuleHoldsExactlyOneReference) {
    SmartPtr<host::ComponentCollection> other = host::makeStandardComponents();
    const uint32_t before = referencesOf(other.get());

    EXPECT_EQ(InitializeModule(nullptr, other.get()), S_OK);
    EXPECT_EQ(referencesOf(other.get()), before + 1);
    EXPECT_EQ(InitializeModule(nullptr, other.get()), S_OK);
    EXPECT_EQ(referencesOf(other.get()), before + 1) << "the same collection twice";
    EXPECT_EQ(InitializeModule(reinterpret_cast<void*>(0x1), nullptr), S_OK);
    EXPECT_EQ(referencesOf(other.get()), before) << "null releases the one held";

    // A later call replaces the collection that steps are made from.
    InitializeModule(nullptr, other.get());
    SmartPtr<IUnknown> step = createStep(L"GCUIRefresh");
    ASSERT_TRUE(step);
    host::Recorder::clear();
    other->remove(L"InputParameters");
    SmartPtr<IUnknown> withoutInputs = createStep(L"GCUIRefresh");
    ASSERT_TRUE(withoutInputs);
    EXPECT_FALSE(withoutInputs.query<IInputParameters>()) << "made from the new collection";
    EXPECT_TRUE(step.query<IInputParameters>());
    InitializeModule(nullptr, nullptr);
    step = nullptr;
    withoutInputs = nullptr;
    other->clear();
}

// The shared object a host loads, through its two exported names only.
TEST_F(ModuleEntry, TheSharedObjectCreatesStepsThroughItsExports) {
    void* library = dlopen("./_binlinux/Flukokzad.so", RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    auto initialize = reinterpret_cast<INITIALIZEMODULEFUNCTION>(dlsym(library, "InitializeModule"));
    auto create = reinterpret_cast<CREATEFUNCTIONFUNCTION>(dlsym(library, "CreateFunction"));
    ASSERT_NE(initialize, nullptr);
    ASSERT_NE(create, nullptr);
    EXPECT_EQ(dlsym(library, "MODULEFindCreator"), nullptr) << "internal functions stay hidden";
    EXPECT_NE(reinterpret_cast<void*>(create), reinterpret_cast<void*>(&CreateFunction)) << "its own copy";

    ASSERT_EQ(initialize(nullptr, components.get()), S_OK);
    for (const wchar_t* registered : kRegisteredNames) {
        CREATEFUNCTION creator = nullptr;
        ASSERT_EQ(create(refText(registered), &creator), S_OK) << host::narrow(registered);
        SmartPtr<IUnknown> step;
        ASSERT_EQ(creator(nullptr, &IID_IUnknown, step.put_void()), S_OK);
        EXPECT_EQ(nameOf(step.get()), registered);
        EXPECT_TRUE(step.query<IInputParameters>()) << "its input list came from this host";
    }
    initialize(nullptr, nullptr);
    // Unloading releases what the shared object keeps for its lifetime (its
    // cached factories), as for a host that unloads it.
    EXPECT_EQ(dlclose(library), 0);
}
