// stephost: the reference host program. It loads ./_binlinux/Flukokzad.so as
// a host does, hands it the stand-in host's component collection, and shows
// what the module offers.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "host/Components.h"
#include "host/HostObject.h"
#include "host/Registry.h"

namespace {

struct Module {
    void* library = nullptr;
    INITIALIZEMODULEFUNCTION initialize = nullptr;
    CREATEFUNCTIONFUNCTION create = nullptr;
};

bool loadModule(const char* path, Module& module) {
    void* library = dlopen(path, RTLD_NOW);
    if (!library) {
        std::fprintf(stderr, "stephost: cannot load %s: %s\n", path, dlerror());
        return false;
    }
    module.library = library;
    module.initialize = reinterpret_cast<INITIALIZEMODULEFUNCTION>(dlsym(library, "InitializeModule"));
    module.create = reinterpret_cast<CREATEFUNCTIONFUNCTION>(dlsym(library, "CreateFunction"));
    if (!module.initialize || !module.create) {
        std::fprintf(stderr, "stephost: %s lacks InitializeModule or CreateFunction\n", path);
        return false;
    }
    return true;
}

struct Face {
    const char* name;
    IID iid;
};

#define FACE(Name) Face{#Name, IID_##Name}
const Face kFaces[] = {FACE(IStep),          FACE(IParameters),          FACE(IParametersCreatable),
                       FACE(IDataPersist),   FACE(IBindableObject),      FACE(IReplicableObject),
                       FACE(IInputParameters), FACE(IUIPropertyPageSpecify), FACE(IParametricObject),
                       FACE(IUIVerbCollectionSpecify), FACE(_IConfirmationEvent), FACE(_IUIKeyboardEvents),
                       FACE(_IUIFileArchiveEvents), FACE(_IUIPropFrameEvents)};
#undef FACE

const wchar_t* const kStepNames[] = {
    L"GCUIActivate", L"GCUIButtonSelect", L"GCUIConfirm",  L"GCUIEdit",         L"GCUIInput",
    L"GCUIMessage",  L"GCUIPointer",      L"GCUIPropRead", L"GCUIPropWrite",    L"GCUIRefresh",
    L"GCUIScroll",   L"GCTabGetSelected", L"GCTabSelect",  L"GCUIVerb",
};

int listClasses(const Module& module) {
    std::printf("%-18s %-8s %s\n", "step", "running", "interfaces");
    int failures = 0;
    for (const wchar_t* name : kStepNames) {
        const std::string text = host::narrow(name);
        CREATEFUNCTION creator = nullptr;
        tagREFString registered = {static_cast<int32_t>(std::wcslen(name)), name};
        SmartPtr<IStep> step;
        if (module.create(registered, &creator) != S_OK || !creator ||
            creator(nullptr, &IID_IStep, step.put_void()) != S_OK) {
            std::printf("%-18s cannot be created\n", text.c_str());
            ++failures;
            continue;
        }
        std::string faces;
        for (const Face& face : kFaces) {
            SmartPtr<IUnknown> answer;
            if (step->QueryInterface(face.iid, answer.put_void()) == S_OK) {
                faces += faces.empty() ? "" : " ";
                faces += face.name;
            }
        }
        std::printf("%-18s %-8s %s\n", text.c_str(), step->IsRunning() ? "yes" : "no", faces.c_str());
    }
    return failures == 0 ? 0 : 1;
}

void usage() {
    std::printf(
        "usage: stephost [--settings FILE] classes\n"
        "  Loads ./_binlinux/Flukokzad.so, gives it the stand-in host, and lists the\n"
        "  step classes it registers with the interfaces each one answers.\n"
        "  --settings FILE  the host's settings store (\"Registry\"), read from an\n"
        "                   INI-style file with [Workspace] and [Mappings] sections\n");
}

}  // namespace

int main(int argc, char** argv) {
    const char* settings = nullptr;
    if (argc >= 3 && std::strcmp(argv[1], "--settings") == 0) {
        settings = argv[2];
        argv += 2;
        argc -= 2;
    }
    if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
        usage();
        return argc < 2 ? 2 : 0;
    }
    if (std::strcmp(argv[1], "classes") != 0) {
        std::fprintf(stderr, "stephost: unknown command %s\n", argv[1]);
        usage();
        return 2;
    }
    Module module;
    if (!loadModule("./_binlinux/Flukokzad.so", module)) return 1;

    int result = 0;
    {
        SmartPtr<host::ComponentCollection> components = host::makeStandardComponents();
        SmartPtr<host::Registry> registry = host::make<host::Registry>();
        if (settings && !registry->load(settings)) {
            std::fprintf(stderr, "stephost: cannot read the settings file %s\n", settings);
            return 1;
        }
        components->addObject(L"Registry", static_cast<IRegistry*>(registry.get()));
        module.initialize(nullptr, components.get());
        result = listClasses(module);
        module.initialize(nullptr, nullptr);
        components->clear();
    }
    // Unloading the module releases what it keeps for its lifetime (its
    // cached string, variant and collection factories).
    dlclose(module.library);
    if (host::Ledger::live() != 0) {
        std::fprintf(stderr, "stephost: host objects still alive: %s\n", host::Ledger::report().c_str());
        result = 1;
    }
    return result;
}
