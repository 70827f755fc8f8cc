#include "runtime/ComponentAccess.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

SmartPtr<IComponentCollection> gGlobalComponentCollection;

namespace {

// Guards only the exchange of the global pointer, never a call into a host:
// a reader takes its reference under the lock, so a concurrent replacement
// cannot release the collection between the read and the AddRef.
std::mutex& globalCollectionMutex() {
    static std::mutex mutex;
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

}  // namespace

SmartPtr<IComponentCollection> GLOBALComponents() {
    {
        std::lock_guard<std::mutex> lock(globalCollectionMutex());
        if (gGlobalComponentCollection) return gGlobalComponentCollection;
    }
    static const wchar_t kModule[] = L"CollectionsEx";
    static const wchar_t kClass[] = L"GlobalComponentCollection";
    const CREATEFUNCTION creator =
        MODULECreateFunction({static_cast<int32_t>(std::wcslen(kModule)), kModule},
                             {static_cast<int32_t>(std::wcslen(kClass)), kClass});
    if (!creator) return nullptr;
    SmartPtr<IComponentCollection> made;
    creator(nullptr, &IID_IComponentCollection, made.put_void());

    std::lock_guard<std::mutex> lock(globalCollectionMutex());
    if (!gGlobalComponentCollection) gGlobalComponentCollection = made;
    return gGlobalComponentCollection;
}

void GLOBALSetComponents(IComponentCollection* collection) {
    SmartPtr<IComponentCollection> replacement(collection);
    {
        std::lock_guard<std::mutex> lock(globalCollectionMutex());
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
        SmartPtr<IComponentCollection> global;
        {
            std::lock_guard<std::mutex> lock(globalCollectionMutex());
            global = gGlobalComponentCollection;
        }
        if (global) initializeModule(nullptr, global.get());
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
    if (collection->get_Index(name, &index) < 0 || index < 0) return nullptr;
    SmartPtr<IUnknown> component;
    if (collection->get_Item(index, component.put()) < 0) return nullptr;
    return component.query<IComponentString>();
}

void MODULEReleaseComponents() { GLOBALSetComponents(nullptr); }
