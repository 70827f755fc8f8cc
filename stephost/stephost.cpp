// stephost: the reference host program. It loads the module from the
// _binlinux/ folder beside its own executable (or where --module says) as a
// host does, hands it the stand-in host's component collection, and runs,
// saves and checks program files.
#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/ClassFactory.h"
#include "host/Components.h"
#include "host/Files.h"
#include "host/HostObject.h"
#include "host/Operator.h"
#include "host/OperatorWindows.h"
#include "host/SettingsStore.h"
#include "stephost/ProgramReader.h"
#include "stephost/ProgramRunner.h"
#include "stephost/ProgramTrace.h"
#include "stephost/TerminalOperator.h"

namespace {

// What stephost tells its caller, a script or CI, when it ends.
enum ExitCode : int {
    kSucceeded = 0,   // every step succeeded, saved or compared identical
    kStepFailed = 1,  // a step returned a failure code; check: a difference; classes: a class cannot be made
    kRefused = 2,     // a program or settings file cannot be read or is refused, an output cannot be written
    kNoModule = 3,    // the module cannot be loaded
    kUsage = 64,      // an unknown command or option, or one without its argument
    kLeak = 70,       // host objects still alive at the end: a fault of the module or of the host
};

void usage(std::FILE* out) {
    std::fprintf(out,
                 "usage: stephost [OPTIONS] COMMAND\n"
                 "  Loads _binlinux/Flukokzad.so beside this program as a host does and gives it\n"
                 "  the stand-in host. Program files are found from the current folder.\n"
                 "\n"
                 "commands:\n"
                 "  run FILE                           runs the program file's steps in order, with a trace\n"
                 "  save FILE [--xml OUT] [--folder OUT]  saves every step through its own Save; each OUT\n"
                 "                                     is written whole beside itself, then renamed into place\n"
                 "  check FILE                         saves, reloads into fresh steps, saves again, compares\n"
                 "  classes                            lists the step classes and the interfaces they answer\n"
                 "\n"
                 "options:\n"
                 "  --trace human|json  the trace of run on standard output: a block of lines per step\n"
                 "                   (human, the default) or one JSON object per line and event\n"
                 "  --module PATH    the module to load instead of _binlinux/Flukokzad.so beside stephost\n"
                 "  --settings FILE  the host's settings store (\"Registry\"), an INI-style file\n"
                 "                   with [Workspace] and [Mappings] sections\n"
                 "  --interactive    the operator is the person at the terminal, not the\n"
                 "                   program file's <operator> script\n"
                 "\n"
                 "exit codes:\n"
                 "  0   every step succeeded (save: written; check: identical after reloading)\n"
                 "  1   a step returned a failure code (check: a difference; classes: a class cannot be made)\n"
                 "  2   a program or settings file cannot be read or was refused (\"file:line: why\" on\n"
                 "      standard error), or an output cannot be written\n"
                 "  3   the module cannot be loaded\n"
                 "  64  an unknown command or option, or an option without its argument\n"
                 "  70  host objects were still alive at the end (a reference the module or host leaked)\n");
}

// The folder of this program's file, symbolic links resolved, so that a link
// /usr/bin/stephost -> /usr/lib/flukokzad/stephost finds /usr/lib/flukokzad.
std::string ownFolder() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0) return ".";
    const std::string file(path, static_cast<size_t>(length));
    const size_t slash = file.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : file.substr(0, slash);
}

struct Module {
    void* library = nullptr;
    INITIALIZEMODULEFUNCTION initialize = nullptr;
    CREATEFUNCTIONFUNCTION create = nullptr;
};

bool loadModule(const std::string& path, Module& module) {
    void* library = dlopen(path.c_str(), RTLD_NOW);
    if (!library) {
        std::fprintf(stderr, "stephost: cannot load %s: %s\n", path.c_str(), dlerror());
        return false;
    }
    module.library = library;
    module.initialize = reinterpret_cast<INITIALIZEMODULEFUNCTION>(dlsym(library, "InitializeModule"));
    module.create = reinterpret_cast<CREATEFUNCTIONFUNCTION>(dlsym(library, "CreateFunction"));
    if (!module.initialize || !module.create) {
        std::fprintf(stderr, "stephost: %s lacks InitializeModule or CreateFunction\n", path.c_str());
        dlclose(library);
        return false;
    }
    return true;
}

struct Face {
    const char* name;
    IID iid;
};

#define FACE(Name) \
    Face { #Name, IID_##Name }
const Face kFaces[] = {FACE(IStep),
                       FACE(IParameters),
                       FACE(IParametersCreatable),
                       FACE(IDataPersist),
                       FACE(IBindableObject),
                       FACE(IReplicableObject),
                       FACE(IInputParameters),
                       FACE(IUIPropertyPageSpecify),
                       FACE(IParametricObject),
                       FACE(IUIVerbCollectionSpecify),
                       FACE(_IConfirmationEvent),
                       FACE(_IUIKeyboardEvents),
                       FACE(_IUIFileArchiveEvents),
                       FACE(_IUIPropFrameEvents)};
#undef FACE

const wchar_t* const kStepNames[] = {
    L"GCUIActivate", L"GCUIButtonSelect", L"GCUIConfirm",  L"GCUIEdit",      L"GCUIInput",
    L"GCUIMessage",  L"GCUIPointer",      L"GCUIPropRead", L"GCUIPropWrite", L"GCUIRefresh",
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
    return failures == 0 ? kSucceeded : kStepFailed;
}

std::atomic<bool> gInterrupted{false};

// Until the operator has finished with every window (the questions and the
// property frames' editing sessions alike run on the operator's threads),
// whose last answers release steps, in the module's code.
void waitForTheOperator() { host::OperatorThreads::wait(); }

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
    std::string settings;
    std::string module;
    std::string trace = "human";
    bool interactive = false;
    std::string command;
    std::string file;
    std::string xmlOut;
    std::string folderOut;
};

// False, with the reason in error, for words that are no command stephost knows.
bool parseArguments(int argc, char** argv, Options& options, std::string& error) {
    struct Valued {
        const char* option;
        std::string Options::*value;
    };
    const Valued valued[] = {{"--settings", &Options::settings},
                             {"--module", &Options::module},
                             {"--trace", &Options::trace},
                             {"--xml", &Options::xmlOut},
                             {"--folder", &Options::folderOut}};
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const Valued* option = nullptr;
        for (const Valued& candidate : valued) option = word == candidate.option ? &candidate : option;
        if (option) {
            if (i + 1 >= argc) {
                error = word + " needs an argument";
                return false;
            }
            options.*(option->value) = argv[++i];
        } else if (word == "--interactive") {
            options.interactive = true;
        } else if (word.size() > 1 && word[0] == '-') {
            error = "unknown option " + word;
            return false;
        } else {
            words.push_back(word);
        }
    }
    if (options.trace != "human" && options.trace != "json") {
        error = "--trace is human or json, not " + options.trace;
        return false;
    }
    options.command = words.empty() ? "" : words[0];
    const bool needsFile = options.command == "run" || options.command == "save" || options.command == "check";
    if (!(needsFile && words.size() == 2) && !(options.command == "classes" && words.size() == 1)) {
        error = words.empty() ? "no command" : "unknown command or arguments: " + options.command;
        return false;
    }
    if (needsFile) options.file = words[1];
    return true;
}

// "line N: why" about a program file, told as "file:N: why".
void tellRefusal(const std::string& fileName, const std::string& error) {
    std::fprintf(stderr, "%s:%s\n", fileName.c_str(), error.substr(error.find(' ') + 1).c_str());
}

// The program file read and understood; false, with "file:line: why" told, when it is refused.
bool readProgram(const std::string& fileName, stephost::ProgramFile& program) {
    std::string text;
    std::string error;
    if (!host::readWholeFile(fileName, text, &error)) {
        std::fprintf(stderr, "stephost: %s\n", error.c_str());
        return false;
    }
    if (!stephost::parseProgram(text, program, error)) {
        tellRefusal(fileName, error);
        return false;
    }
    return true;
}

bool buildProgram(stephost::ProgramRunner& runner, const std::string& fileName, const stephost::ProgramFile& program) {
    std::string error;
    if (runner.build(program, error)) return true;
    tellRefusal(fileName, error);
    return false;
}

int runProgram(const Module& module, const Options& options, const stephost::ProgramFile& program,
               host::ComponentCollection* components) {
    const bool json = options.trace == "json";
    std::unique_ptr<stephost::ProgramTrace> trace =
        json ? stephost::makeJsonTrace(stdout) : stephost::makeHumanTrace(stdout);
    stephost::ProgramRunner runner(module.create, trace.get(), components);
    if (!buildProgram(runner, options.file, program)) return kRefused;
    trace->programStarts({host::narrow(program.name), options.file, program.steps.size(), program.objects.size(),
                          options.interactive, program.operatorScript.size()});
    // The stand-in's windows ask this operator when a step puts a question on screen.
    host::Operator& person = host::Operator::current();
    person.script(program.operatorScript);
    // A question nobody answers closes its window, so that a run ends.
    person.setDismissUnanswered(true);
    // Prompts stay off a JSON trace.
    stephost::TerminalOperator terminal(stdin, json ? stderr : stdout);
    if (options.interactive) person.setAnswerer(&terminal);
    person.listen(trace.get());
    std::signal(SIGINT, onInterrupt);
    const size_t failures = runner.run(gInterrupted);
    // Answers still under way belong to the run.
    waitForTheOperator();
    std::signal(SIGINT, SIG_DFL);
    person.listen(nullptr);
    person.setAnswerer(nullptr);
    person.setDismissUnanswered(false);
    trace->programEnds(failures);
    return failures == 0 ? kSucceeded : kStepFailed;
}

// Each output is written whole beside itself and renamed into place; the
// program file itself is never an output.
int saveProgram(const Module& module, const Options& options, const stephost::ProgramFile& program,
                host::ComponentCollection* components) {
    stephost::ProgramRunner runner(module.create, nullptr, components);
    if (!buildProgram(runner, options.file, program)) return kRefused;
    struct Output {
        const std::string& name;
        std::string (stephost::ProgramRunner::*save)() const;
    };
    const Output outputs[] = {{options.xmlOut, &stephost::ProgramRunner::saveXml},
                              {options.folderOut, &stephost::ProgramRunner::saveFolder}};
    for (const Output& output : outputs) {
        if (!output.name.empty() && host::sameFile(output.name, options.file)) {
            std::fprintf(stderr, "stephost: %s is the program file; the steps are saved to another file\n",
                         output.name.c_str());
            return kUsage;
        }
    }
    for (const Output& output : outputs) {
        std::string error;
        if (!output.name.empty() && !host::writeWholeFile(output.name, (runner.*output.save)(), &error)) {
            std::fprintf(stderr, "stephost: %s\n", error.c_str());
            return kRefused;
        }
    }
    std::printf("saved %zu steps\n", runner.stepCount());
    return kSucceeded;
}

// Both stream kinds, each reloaded into fresh steps and saved again.
int checkProgram(const Module& module, const Options& options, const stephost::ProgramFile& program,
                 host::ComponentCollection* components) {
    stephost::ProgramRunner runner(module.create, nullptr, components);
    if (!buildProgram(runner, options.file, program)) return kRefused;
    int differences = 0;
    const std::string xml = runner.saveXml();
    const std::string folder = runner.saveFolder();
    struct Kind {
        const char* name;
        const std::string& first;
        bool (stephost::ProgramRunner::*load)(const std::string&, std::string&);
        std::string (stephost::ProgramRunner::*save)() const;
    };
    const Kind kinds[] = {
        {"xml", xml, &stephost::ProgramRunner::loadXml, &stephost::ProgramRunner::saveXml},
        {"folder", folder, &stephost::ProgramRunner::loadFolder, &stephost::ProgramRunner::saveFolder}};
    for (const Kind& kind : kinds) {
        stephost::ProgramRunner reloaded(module.create, nullptr, components);
        std::string error;
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
    return differences == 0 ? kSucceeded : kStepFailed;
}

int runCommand(const Module& module, const Options& options, host::ComponentCollection* components) {
    if (options.command == "classes") return listClasses(module);
    stephost::ProgramFile program;
    if (!readProgram(options.file, program)) return kRefused;
    if (options.command == "run") return runProgram(module, options, program, components);
    if (options.command == "save") return saveProgram(module, options, program, components);
    return checkProgram(module, options, program, components);
}

// The host's settings store, filled from the settings file when one is given.
SmartPtr<host::Registry> readSettings(const std::string& fileName) {
    SmartPtr<host::Registry> registry = host::make<host::Registry>();
    std::string error;
    if (!fileName.empty() && !registry->load(fileName, &error)) {
        std::fprintf(stderr, "stephost: %s\n", error.c_str());
        return nullptr;
    }
    return registry;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    std::string error;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            usage(stdout);
            return kSucceeded;
        }
    }
    if (!parseArguments(argc, argv, options, error)) {
        std::fprintf(stderr, "stephost: %s\n", error.c_str());
        usage(stderr);
        return kUsage;
    }
    Module module;
    if (!loadModule(options.module.empty() ? ownFolder() + "/_binlinux/Flukokzad.so" : options.module, module)) {
        return kNoModule;
    }
    int result = kSucceeded;
    {
        SmartPtr<host::ComponentCollection> components = host::makeStandardComponents();
        SmartPtr<host::Registry> registry = readSettings(options.settings);
        if (!registry) return kRefused;
        components->addObject(L"Registry", static_cast<IRegistry*>(registry.get()));
        module.initialize(nullptr, components.get());
        // Stored steps are re-created by their class names, as a host does.
        host::setObjectResolver(host::moduleResolver(module.create));
        result = runCommand(module, options, components.get());
        // Windows still open hold their steps until the operator has answered
        // them; the module's code must stay loaded until then.
        waitForTheOperator();
        host::setObjectResolver(nullptr);
        module.initialize(nullptr, nullptr);
        components->clear();
    }
    // Unloading the module releases what it keeps for its lifetime (its
    // cached string, variant and collection factories).
    dlclose(module.library);
    if (host::Ledger::live() != 0) {
        std::fprintf(stderr, "stephost: host objects still alive: %s\n", host::Ledger::report().c_str());
        result = kLeak;
    }
    return result;
}
