// stephost: the reference host program. It loads ./_binlinux/Flukokzad.so as
// a host does, hands it the stand-in host's component collection, and shows
// what the module offers.
#include <dlfcn.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <sstream>
#include <cstring>
#include <string>
#include <vector>

#include "host/ClassFactory.h"
#include "host/Components.h"
#include "host/Files.h"
#include "host/HostObject.h"
#include "host/Operator.h"
#include "host/OperatorWindows.h"
#include "host/ProgramReader.h"
#include "host/ProgramRunner.h"
#include "host/SettingsStore.h"

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
        "usage: stephost [--settings FILE] [--interactive] COMMAND\n"
        "  Loads ./_binlinux/Flukokzad.so as a host does and gives it the stand-in host.\n"
        "\n"
        "commands:\n"
        "  run FILE                           runs the program file's steps in order, with a trace\n"
        "  save FILE [--xml OUT] [--folder OUT]  saves every step through its own Save\n"
        "  check FILE                         saves, reloads into fresh steps, saves again, compares\n"
        "  classes                            lists the step classes and the interfaces they answer\n"
        "\n"
        "options:\n"
        "  --settings FILE  the host's settings store (\"Registry\"), an INI-style file\n"
        "                   with [Workspace] and [Mappings] sections\n"
        "  --interactive    the operator is the person at the terminal, not the\n"
        "                   program file's <operator> script\n");
}

std::atomic<bool> gInterrupted{false};

extern "C" void onInterrupt(int) { gInterrupted.store(true); }

// The first line where two texts differ, for the check's report.
std::string firstDifference(const std::string& a, const std::string& b) {
    std::istringstream left(a), right(b);
    std::string l, r;
    for (int line = 1;; ++line) {
        const bool more = static_cast<bool>(std::getline(left, l));
        const bool moreRight = static_cast<bool>(std::getline(right, r));
        if (!more && !moreRight) return "";
        if (l != r || more != moreRight) {
            return "line " + std::to_string(line) + ":\n    saved:    " + l + "\n    reloaded: " + r;
        }
    }
}

struct Options {
    const char* settings = nullptr;
    bool interactive = false;
    std::string command;
    std::string file;
    std::string xmlOut;
    std::string folderOut;
};

int runCommand(const Module& module, const Options& options, host::ComponentCollection* components) {
    if (options.command == "classes") return listClasses(module);

    std::string text;
    std::string error;
    if (!host::readWholeFile(options.file, text, &error)) {
        std::fprintf(stderr, "stephost: %s\n", error.c_str());
        return 1;
    }
    host::ProgramFile program;
    if (!host::parseProgram(text, program, error)) {
        std::fprintf(stderr, "%s:%s\n", options.file.c_str(), error.substr(5).c_str());
        return 1;
    }
    host::ProgramRunner runner(module.create, options.command == "run" ? stdout : nullptr, components);
    if (!runner.build(program, error)) {
        std::fprintf(stderr, "%s:%s\n", options.file.c_str(), error.substr(5).c_str());
        return 1;
    }

    if (options.command == "run") {
        std::printf("program  %s: %zu steps, %zu objects, operator: %s\n", host::narrow(program.name).c_str(),
                    program.steps.size(), program.objects.size(),
                    options.interactive ? "the terminal"
                                        : (std::to_string(program.operatorScript.size()) + " scripted answers").c_str());
        // The stand-in's windows ask this operator when a step puts a question on screen.
        host::Operator::current().script(program.operatorScript);
        if (options.interactive) host::Operator::current().setTerminal(stdin, stdout);
        std::signal(SIGINT, onInterrupt);
        const int result = runner.run(gInterrupted);
        host::Operator::current().setTerminal(nullptr, nullptr);
        std::signal(SIGINT, SIG_DFL);
        return result;
    }
    if (options.command == "save") {
        if (!options.xmlOut.empty() && !host::writeWholeFile(options.xmlOut, runner.saveXml())) {
            std::fprintf(stderr, "stephost: cannot write %s\n", options.xmlOut.c_str());
            return 1;
        }
        if (!options.folderOut.empty() && !host::writeWholeFile(options.folderOut, runner.saveFolder())) {
            std::fprintf(stderr, "stephost: cannot write %s\n", options.folderOut.c_str());
            return 1;
        }
        std::printf("saved %zu steps\n", runner.stepCount());
        return 0;
    }
    // check: both stream kinds, each reloaded into fresh steps and saved again.
    int differences = 0;
    const std::string xml = runner.saveXml();
    const std::string folder = runner.saveFolder();
    struct Kind {
        const char* name;
        const std::string& first;
        bool (host::ProgramRunner::*load)(const std::string&, std::string&);
        std::string (host::ProgramRunner::*save)() const;
    };
    const Kind kinds[] = {{"xml", xml, &host::ProgramRunner::loadXml, &host::ProgramRunner::saveXml},
                          {"folder", folder, &host::ProgramRunner::loadFolder, &host::ProgramRunner::saveFolder}};
    for (const Kind& kind : kinds) {
        host::ProgramRunner reloaded(module.create, nullptr, components);
        reloaded.build(program, error);
        if (!(reloaded.*kind.load)(kind.first, error)) {
            std::printf("%-7s cannot reload: %s\n", kind.name, error.c_str());
            ++differences;
            continue;
        }
        const std::string again = (reloaded.*kind.save)();
        const std::string difference = firstDifference(kind.first, again);
        std::printf("%-7s %zu steps  %s\n", kind.name, reloaded.stepCount(),
                    difference.empty() ? "identical after reloading" : ("DIFFERENT at " + difference).c_str());
        differences += !difference.empty();
    }
    return differences == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--help" || word == "-h") {
            usage();
            return 0;
        } else if (word == "--settings" && i + 1 < argc) {
            options.settings = argv[++i];
        } else if (word == "--interactive") {
            options.interactive = true;
        } else if (word == "--xml" && i + 1 < argc) {
            options.xmlOut = argv[++i];
        } else if (word == "--folder" && i + 1 < argc) {
            options.folderOut = argv[++i];
        } else {
            words.push_back(word);
        }
    }
    if (words.empty()) {
        usage();
        return 2;
    }
    options.command = words[0];
    const bool needsFile = options.command == "run" || options.command == "save" || options.command == "check";
    if (!(needsFile && words.size() == 2) && !(options.command == "classes" && words.size() == 1)) {
        std::fprintf(stderr, "stephost: unknown command or arguments: %s\n", options.command.c_str());
        usage();
        return 2;
    }
    if (needsFile) options.file = words[1];

    Module module;
    if (!loadModule("./_binlinux/Flukokzad.so", module)) return 1;

    int result = 0;
    {
        SmartPtr<host::ComponentCollection> components = host::makeStandardComponents();
        SmartPtr<host::Registry> registry = host::make<host::Registry>();
        if (options.settings && !registry->load(options.settings)) {
            std::fprintf(stderr, "stephost: cannot read the settings file %s\n", options.settings);
            return 1;
        }
        components->addObject(L"Registry", static_cast<IRegistry*>(registry.get()));
        module.initialize(nullptr, components.get());
        // Stored steps are re-created by their class names, as a host does.
        host::setObjectResolver(host::moduleResolver(module.create));
        result = runCommand(module, options, components.get());
        // Windows still open hold their steps until the operator has answered
        // them; the module's code must stay loaded until then.
        host::OperatorThreads::wait();
        host::setObjectResolver(nullptr);
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
