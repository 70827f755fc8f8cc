#include "runtime/ComponentAccess.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "runtime/CREFString.h"
#include "runtime/Locks.h"
#include "runtime/PropertyNames.h"
#include "runtime/Values.h"

SmartPtr<IComponentCollection> gGlobalComponentCollection;

namespace {

// Guards only the exchange of the global pointer, never a call into a host:
// a reader takes its reference under the lock, so a concurrent replacement
// cannot release the collection between the read and the AddRef.
Mutex& globalCollectionMutex() {
    static Mutex mutex;
    return mutex;
}

constexpr size_t kPathCapacity = 260;
constexpr char kModuleDirectory[] = "./_binlinux/";
constexpr char kModuleSuffix[] = ".so";

// Builds ./_binlinux/<name>.so; false when the name cannot be converted or
// would not fit, rather than cutting it.
bool buildModulePath(tagREFString name, char (&path)[kPathCapacity]) {
    if (name.count < 1 || name.text == nullptr) return false;
    const size_t fixed = sizeof(kModuleDirectory) - 1 + sizeof(kModuleSuffix) - 1 + 1;
    const size_t room = kPathCapacity - fixed;
    if (static_cast<size_t>(name.count) > room) return false;

    // The name is counted, not terminated: wcstombs needs a terminated copy.
    wchar_t wide[kPathCapacity];
    std::memcpy(wide, name.text, static_cast<size_t>(name.count) * sizeof(wchar_t));
    wide[name.count] = L'\0';

    // One byte per character, as module names are short single-byte
    // identifiers; a name that would need more bytes, or holds a zero
    // character, is refused rather than cut.
    const size_t bytes = std::wcstombs(nullptr, wide, 0);
    if (bytes != static_cast<size_t>(name.count)) return false;
    char converted[kPathCapacity];
    std::wcstombs(converted, wide, bytes);

    size_t at = 0;
    std::memcpy(path + at, kModuleDirectory, sizeof(kModuleDirectory) - 1);
    at += sizeof(kModuleDirectory) - 1;
    std::memcpy(path + at, converted, bytes);
    at += bytes;
    std::memcpy(path + at, kModuleSuffix, sizeof(kModuleSuffix));  // with the terminator
    return true;
}

// The global collection as it is now, without making one.
SmartPtr<IComponentCollection> currentGlobal() {
    std::lock_guard<Mutex> lock(globalCollectionMutex());
    return gGlobalComponentCollection;
}

template <size_t N>
constexpr tagREFString literal(const wchar_t (&text)[N]) {
    return {static_cast<int32_t>(N - 1), text};
}

constexpr tagREFString kCollectionsEx = literal(L"CollectionsEx");

// One cached host factory: a component path that makes one kind of object.
// Found or made once and kept until unload; while it is missing, every call
// tries again. The mutex guards only the exchange of the pointer: lookups,
// library loading and CreateInstance run outside it, so two threads that find
// it empty at once may both look it up, and the first to store it wins.
struct CachedFactory {
    const tagREFString className;  // the component name and the class part
    Mutex mutex;
    SmartPtr<IComponentString> factory;
};

enum FactoryKind { kStringFactory, kVariantFactory, kCollectionFactory, kFactoryKinds };

CachedFactory& cachedFactory(FactoryKind kind) {
    static CachedFactory factories[kFactoryKinds] = {
        {literal(L"CreatableString"), {}, nullptr},
        {literal(L"Variant"), {}, nullptr},
        {literal(L"SuperCollection"), {}, nullptr},
    };
    return factories[kind];
}

// The global collection's component of that name, or else a fresh component
// path from CollectionsEx naming the class in Collections.
SmartPtr<IComponentString> findFactory(const tagREFString& className) {
    if (SmartPtr<IComponentCollection> global = currentGlobal()) {
        SmartPtr<IUnknown> component;
        global->GetComponent(className.count, className.text, nullptr, component.put_void());
        // The component comes as it is; it is only used as a component path
        // when it says it is one.
        if (SmartPtr<IComponentString> found = component.query<IComponentString>()) return found;
    }
    const CREATEFUNCTION creator = MODULECreateFunction(kCollectionsEx, literal(L"ComponentString"));
    if (!creator) return nullptr;
    SmartPtr<IComponentString> made;
    creator(nullptr, &IID_IComponentString, made.put_void());
    if (!made) return nullptr;
    const tagREFString module = literal(L"Collections");
    made->put_Part(4, module.count, module.text);
    made->put_Part(1, className.count, className.text);
    return made;
}

SmartPtr<IComponentString> factoryFor(FactoryKind kind) {
    CachedFactory& cache = cachedFactory(kind);
    {
        std::lock_guard<Mutex> lock(cache.mutex);
        if (cache.factory) return cache.factory;
    }
    SmartPtr<IComponentString> found = findFactory(cache.className);
    if (!found) return nullptr;
    std::lock_guard<Mutex> lock(cache.mutex);
    if (!cache.factory) cache.factory = std::move(found);
    return cache.factory;
}

template <class I>
SmartPtr<I> createFrom(FactoryKind kind) {
    SmartPtr<IComponentString> factory = factoryFor(kind);
    if (!factory) return nullptr;
    SmartPtr<I> made;
    factory->CreateInstance(&iidOf<I>(), made.put_void());
    return made;
}

void releaseFactories() {
    for (int kind = 0; kind < kFactoryKinds; ++kind) {
        CachedFactory& cache = cachedFactory(static_cast<FactoryKind>(kind));
        SmartPtr<IComponentString> released;
        std::lock_guard<Mutex> lock(cache.mutex);
        std::swap(released, cache.factory);
    }
}

}  // namespace

SmartPtr<IString> CREFString::CreateString() { return createFrom<ICreatableString>(kStringFactory); }

SmartPtr<IVariant> CREFString::CreateVariant() { return createFrom<IVariant>(kVariantFactory); }

SmartPtr<ISuperCollection> CREFString::CreateCollection() { return createFrom<ISuperCollection>(kCollectionFactory); }

SmartPtr<IComponentCollection> GLOBALComponents() {
    {
        std::lock_guard<Mutex> lock(globalCollectionMutex());
        if (gGlobalComponentCollection) return gGlobalComponentCollection;
    }
    const CREATEFUNCTION creator = MODULECreateFunction(kCollectionsEx, literal(L"GlobalComponentCollection"));
    if (!creator) return nullptr;
    SmartPtr<IComponentCollection> made;
    creator(nullptr, &IID_IComponentCollection, made.put_void());

    std::lock_guard<Mutex> lock(globalCollectionMutex());
    if (!gGlobalComponentCollection) gGlobalComponentCollection = made;
    return gGlobalComponentCollection;
}

void GLOBALSetComponents(IComponentCollection* collection) {
    SmartPtr<IComponentCollection> replacement(collection);
    {
        std::lock_guard<Mutex> lock(globalCollectionMutex());
        std::swap(replacement, gGlobalComponentCollection);
    }
    // The old collection is released outside the lock.
}

CREATEFUNCTION MODULECreateFunction(tagREFString moduleName, tagREFString className) {
    char path[kPathCapacity];
    if (!buildModulePath(moduleName, path)) return nullptr;

    void* library = dlopen(path, RTLD_NOW);
    if (!library) {
        const char* error = dlerror();
        std::printf("Module not available %s, error %s\n", path, error ? error : "");
        std::fflush(stdout);
        dlerror();
        return nullptr;
    }
    // The library stays loaded for the life of the process.
    auto createFunction = reinterpret_cast<CREATEFUNCTIONFUNCTION>(dlsym(library, "CreateFunction"));
    auto initializeModule = reinterpret_cast<INITIALIZEMODULEFUNCTION>(dlsym(library, "InitializeModule"));
    dlerror();
    if (!createFunction) return nullptr;

    if (initializeModule) {
        if (SmartPtr<IComponentCollection> global = currentGlobal()) initializeModule(nullptr, global.get());
    }
    CREATEFUNCTION creator = nullptr;
    if (createFunction(className, &creator) != S_OK) return nullptr;
    return creator;
}

void* CreateObject(tagREFString name, const IID* iid) {
    SmartPtr<IComponentCollection> collection = GLOBALComponents();
    if (!collection) return nullptr;
    void* result = nullptr;
    collection->GetComponent(name.count, name.text, iid, &result);
    return result;
}

SmartPtr<IComponentString> GetComponentString(IString* name) {
    SmartPtr<IComponentCollection> collection = GLOBALComponents();
    if (!collection) return nullptr;
    int32_t index = -1;
    if (FAILED(collection->get_Index(name, &index)) || index < 0) return nullptr;
    SmartPtr<IUnknown> component;
    if (FAILED(collection->get_Item(index, component.put()))) return nullptr;
    return component.query<IComponentString>();
}

namespace {
Mutex& keptComponentsMutex() {
    static Mutex mutex;
    return mutex;
}
KeptComponent* gKeptComponents = nullptr;
}  // namespace

SmartPtr<IComponentString> KeptComponent::get() {
    {
        std::lock_guard<Mutex> lock(keptComponentsMutex());
        if (m_Component) return m_Component;
    }
    SmartPtr<IComponentString> found = GetComponentString(ISCreate(m_Name).get());
    if (!found) return nullptr;
    std::lock_guard<Mutex> lock(keptComponentsMutex());
    if (!m_Component) m_Component = std::move(found);
    if (!m_Listed) {
        m_Listed = true;
        m_Next = gKeptComponents;
        gKeptComponents = this;
    }
    return m_Component;
}

void KeptComponent::release() {
    SmartPtr<IComponentString> released;
    std::lock_guard<Mutex> lock(keptComponentsMutex());
    std::swap(released, m_Component);
}

void MODULEReleaseComponents() {
    KeptComponent* kept = nullptr;
    {
        std::lock_guard<Mutex> lock(keptComponentsMutex());
        kept = gKeptComponents;
    }
    // Listed components stay listed: the list only grows, at its head.
    for (; kept; kept = kept->m_Next) kept->release();
    releaseFactories();
    PROPReleaseStringTable();
    GLOBALSetComponents(nullptr);
}
