// stephost: the reference host program. It loads the module from the
// _binlinux/ folder beside its own executable (or where --module says) as a
// host does, hands it the stand-in host's component collection, and runs,
// saves and checks program files.
#include <dlfcn.h>
#include <limits.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
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
#include "stephost/RunReport.h"
#include "stephost/StepClasses.h"
#include "stephost/StepReference.h"
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
                 "  run FILE             checks the program file, then runs its steps in order, with a trace\n"
                 "  save FILE [--program OUT] [--xml OUT] [--folder OUT]\n"
                 "                       checks it and writes it again: as a program file, or every step\n"
                 "                       through its own Save; each OUT is written whole beside itself,\n"
                 "                       then renamed into place\n"
                 "  check FILE           checks it, then saves, reloads into fresh steps, saves again, compares\n"
                 "  describe [CLASS...]  the step reference: each class's inputs, parameters, choices,\n"
                 "                       flags and pages, as the module declares them, and what they mean\n"
                 "  classes              lists the step classes and the interfaces they answer\n"
                 "\n"
                 "options:\n"
                 "  --trace human|json   the trace of run on standard output: a block of lines per step\n"
                 "                       (human, the default) or one JSON object per line and event\n"
                 "  --report FILE        run also writes a report to look at: one HTML page with a timeline,\n"
                 "                       each step's parameters, calls and operator exchange, and a picture\n"
                 "                       of the screen after it, what the step changed outlined\n"
                 "  --junit FILE         run also writes JUnit XML for CI: a test case per step\n"
                 "  --interactive        the operator is the person at the terminal, not the program\n"
                 "                       file's <operator> script\n"
                 "  --strict             buttons, tabs, items and verbs the declared objects lack are\n"
                 "                       errors, not warnings\n"
                 "  --from-xml FILE      the steps come from a save --xml, the objects and the operator\n"
                 "  --from-folder FILE   from the program file (run, save, check); likewise a save --folder\n"
                 "  --format text|md     describe's form: text (the default) or Markdown (docs/steps.md)\n"
                 "  --module PATH        the module to load instead of _binlinux/Flukokzad.so beside stephost\n"
                 "  --settings FILE      the host's settings store (\"Registry\"), an INI-style file\n"
                 "                       with [Workspace] and [Mappings] sections\n"
                 "  --version            stephost's version\n"
                 "\n"
                 "exit codes:\n"
                 "  0   every step succeeded (save: written; check: identical after reloading)\n"
                 "  1   a step returned a failure code (check: a difference; classes: a class cannot be made)\n"
                 "  2   a program or settings file cannot be read or was refused (\"file:line: what is\n"
                 "      wrong; what would be right\" on standard error), or an output cannot be written\n"
                 "  3   the module cannot be loaded\n"
                 "  64  a command line stephost does not understand: an unknown command or option, an\n"
                 "      option without its argument, a missing file, a save without an output\n"
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

int listClasses(const Module& module) {
    std::printf("%-18s %-13s %s\n", "step", "runs", "interfaces");
    int failures = 0;
    for (const wchar_t* name : stephost::kStepClassNames) {
        stephost::StepClass described;
        std::string error;
        if (!stephost::describeStepClass(module.create, name, described, error)) {
            std::printf("%-18s cannot be created\n", host::narrow(name).c_str());
            ++failures;
            continue;
        }
        std::string faces;
        for (const std::string& face : described.interfaces) faces += (faces.empty() ? "" : " ") + face;
        std::printf("%-18s %-13s %s\n", described.name.c_str(), described.asynchronous ? "asynchronous" : "synchronous",
                    faces.c_str());
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
    std::string format = "text";
    bool interactive = false;
    bool strict = false;
    std::string command;
    std::string file;
    std::vector<std::string> classes;  // describe's
    std::string programOut;
    std::string xmlOut;
    std::string folderOut;
    std::string fromXml;
    std::string fromFolder;
    std::string report;
    std::string junit;
};

// False, with the one thing wrong in error, for words stephost does not understand.
bool parseArguments(int argc, char** argv, Options& options, std::string& error) {
    struct Valued {
        const char* option;
        std::string Options::*value;
        const char* argument;  // what it needs, for the message when it is missing
        const char* commands;  // the commands it belongs to, space-separated; null: all
    };
    const Valued valued[] = {
        {"--settings", &Options::settings, "a settings file", nullptr},
        {"--module", &Options::module, "the module's path", nullptr},
        {"--trace", &Options::trace, "human or json", "run"},
        {"--report", &Options::report, "an output file", "run"},
        {"--junit", &Options::junit, "an output file", "run"},
        {"--format", &Options::format, "text or md", "describe"},
        {"--program", &Options::programOut, "an output file", "save"},
        {"--xml", &Options::xmlOut, "an output file", "save"},
        {"--folder", &Options::folderOut, "an output file", "save"},
        {"--from-xml", &Options::fromXml, "a file that save --xml wrote", "run save check"},
        {"--from-folder", &Options::fromFolder, "a file that save --folder wrote", "run save check"}};
    struct Flag {
        const char* option;
        bool Options::*value;
        const char* commands;
    };
    const Flag flags[] = {{"--interactive", &Options::interactive, "run"},
                          {"--strict", &Options::strict, "run save check"}};
    std::vector<std::string> words;
    std::vector<std::pair<std::string, const char*>> given;  // each option with the commands it belongs to
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const Valued* option = nullptr;
        for (const Valued& candidate : valued) option = word == candidate.option ? &candidate : option;
        const Flag* flag = nullptr;
        for (const Flag& candidate : flags) flag = word == candidate.option ? &candidate : flag;
        if (option) {
            if (i + 1 >= argc) {
                error = word + " needs " + option->argument;
                return false;
            }
            options.*(option->value) = argv[++i];
            given.emplace_back(word, option->commands);
        } else if (flag) {
            options.*(flag->value) = true;
            given.emplace_back(word, flag->commands);
        } else if (word.size() > 1 && word[0] == '-') {
            error = "unknown option " + word;
            return false;
        } else {
            words.push_back(word);
        }
    }
    if (words.empty()) {
        error = "no command: run, save, check, describe or classes";
        return false;
    }
    options.command = words[0];
    const std::string& command = options.command;
    const bool needsFile = command == "run" || command == "save" || command == "check";
    if (!needsFile && command != "describe" && command != "classes") {
        error = "unknown command " + command + ": the commands are run, save, check, describe and classes";
        return false;
    }
    for (const auto& [option, commands] : given) {
        if (commands && (" " + std::string(commands) + " ").find(" " + command + " ") == std::string::npos) {
            error = option + " belongs to " + std::string(commands) + ", not to " + command;
            return false;
        }
    }
    if (options.trace != "human" && options.trace != "json") {
        error = "--trace is human or json, not " + options.trace;
        return false;
    }
    if (options.format != "text" && options.format != "md") {
        error = "--format is text or md, not " + options.format;
        return false;
    }
    if (!options.fromXml.empty() && !options.fromFolder.empty()) {
        error = "--from-xml and --from-folder both: the steps come from one stored form";
        return false;
    }
    if (needsFile && words.size() != 2) {
        error = words.size() < 2 ? command + " needs a program file"
                                 : command + " takes one program file, not " + std::to_string(words.size() - 1);
        return false;
    }
    if (command == "classes" && words.size() > 1) {
        error = "classes takes no arguments";
        return false;
    }
    if (command == "save" && options.programOut.empty() && options.xmlOut.empty() && options.folderOut.empty()) {
        error = "save needs an output: --program, --xml or --folder";
        return false;
    }
    if (needsFile) options.file = words[1];
    if (command == "describe") options.classes.assign(words.begin() + 1, words.end());
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

// Every problem as "file:line: what is wrong; what would be right", in the
// order of the file's lines; warnings say so unless --strict makes them errors.
void tellProblems(const std::string& fileName, std::vector<stephost::ProgramProblem> problems, bool strict) {
    std::stable_sort(
        problems.begin(), problems.end(),
        [](const stephost::ProgramProblem& a, const stephost::ProgramProblem& b) { return a.line < b.line; });
    // A generated program can repeat a mistake in every step: the first
    // hundred say what it is.
    constexpr size_t kTold = 100;
    for (size_t i = 0; i < problems.size() && i < kTold; ++i) {
        std::fprintf(stderr, "%s:%d: %s%s\n", fileName.c_str(), problems[i].line,
                     problems[i].warning && !strict ? "warning: " : "", problems[i].text.c_str());
    }
    if (problems.size() > kTold) std::fprintf(stderr, "%s: %zu more\n", fileName.c_str(), problems.size() - kTold);
}

// The program's objects made, its steps checked and made, and, with
// --from-xml or --from-folder, replaced by the steps stored there. False,
// with what is wrong told, when the program is refused.
bool buildProgram(stephost::ProgramRunner& runner, const Options& options, stephost::ProgramFile& program) {
    std::string error;
    if (!runner.buildObjects(program, error)) {
        tellRefusal(options.file, error);
        return false;
    }
    std::vector<stephost::ProgramProblem> problems;
    const bool built = runner.buildSteps(program, problems, options.strict);
    tellProblems(options.file, problems, options.strict);
    if (!built) return false;
    const std::string& stored = options.fromXml.empty() ? options.fromFolder : options.fromXml;
    if (stored.empty()) return true;
    std::string text;
    if (!host::readWholeFile(stored, text, &error)) {
        std::fprintf(stderr, "stephost: %s\n", error.c_str());
        return false;
    }
    const bool loaded = options.fromXml.empty() ? runner.loadFolder(text, error) : runner.loadXml(text, error);
    if (!loaded) std::fprintf(stderr, "stephost: %s: %s\n", stored.c_str(), error.c_str());
    return loaded;
}

int runProgram(const Module& module, const Options& options, stephost::ProgramFile& program,
               host::ComponentCollection* components) {
    const bool json = options.trace == "json";
    std::unique_ptr<stephost::ProgramTrace> trace =
        json ? stephost::makeJsonTrace(stdout) : stephost::makeHumanTrace(stdout);
    for (const std::string* output : {&options.report, &options.junit}) {
        if (!output->empty() && host::sameFile(*output, options.file)) {
            std::fprintf(stderr, "stephost: %s is the program file; a report goes to another file\n", output->c_str());
            return kUsage;
        }
    }
    // The reports are told the same events as the trace, which they pass on.
    const bool reports = !options.report.empty() || !options.junit.empty();
    stephost::RunRecord record(trace.get());
    stephost::ProgramTrace* told = reports ? &record : trace.get();
    stephost::ProgramRunner runner(module.create, told, components);
    if (!buildProgram(runner, options, program)) return kRefused;
    told->programStarts({host::narrow(program.name), options.file, runner.stepCount(), program.objects.size(),
                         options.interactive, program.operatorScript.size()});
    // The stand-in's windows ask this operator when a step puts a question on screen.
    host::Operator& person = host::Operator::current();
    person.script(program.operatorScript);
    // A question nobody answers closes its window, so that a run ends.
    person.setDismissUnanswered(true);
    // Prompts go with the human trace, line by line; they stay off a JSON trace.
    stephost::ProgramTrace* lines = trace.get();
    stephost::TerminalOperator terminal(STDIN_FILENO, [json, lines](const std::string& text) {
        if (!json) return lines->write(text);
        std::fwrite(text.data(), 1, text.size(), stderr);
        std::fflush(stderr);
    });
    if (options.interactive) person.setAnswerer(&terminal);
    person.listen(&runner);
    std::signal(SIGINT, onInterrupt);
    const size_t failures = runner.run(gInterrupted);
    // Answers still under way belong to the run.
    waitForTheOperator();
    runner.finish();
    std::signal(SIGINT, SIG_DFL);
    person.listen(nullptr);
    person.setAnswerer(nullptr);
    person.setDismissUnanswered(false);
    told->programEnds(failures);
    const stephost::RunRecord::Run run = reports ? record.run() : stephost::RunRecord::Run();
    const std::pair<const std::string*, std::string> outputs[] = {
        {&options.report, options.report.empty() ? "" : stephost::reportHtml(run, FLUKO_VERSION)},
        {&options.junit, options.junit.empty() ? "" : stephost::junitXml(run)}};
    for (const auto& [name, text] : outputs) {
        std::string error;
        if (!name->empty() && !host::writeWholeFile(*name, text, &error)) {
            std::fprintf(stderr, "stephost: %s\n", error.c_str());
            return kRefused;
        }
    }
    return failures == 0 ? kSucceeded : kStepFailed;
}

// Each output is written whole beside itself and renamed into place; the
// program file itself is never an output.
int saveProgram(const Module& module, const Options& options, stephost::ProgramFile& program,
                host::ComponentCollection* components) {
    stephost::ProgramRunner runner(module.create, nullptr, components);
    if (!buildProgram(runner, options, program)) return kRefused;
    struct Output {
        const std::string& name;
        std::string text;
    };
    const Output outputs[] = {{options.programOut, options.programOut.empty() ? "" : runner.saveProgram(program)},
                              {options.xmlOut, options.xmlOut.empty() ? "" : runner.saveXml()},
                              {options.folderOut, options.folderOut.empty() ? "" : runner.saveFolder()}};
    for (const Output& output : outputs) {
        if (!output.name.empty() && host::sameFile(output.name, options.file)) {
            std::fprintf(stderr, "stephost: %s is the program file; the steps are saved to another file\n",
                         output.name.c_str());
            return kUsage;
        }
    }
    for (const Output& output : outputs) {
        std::string error;
        if (!output.name.empty() && !host::writeWholeFile(output.name, output.text, &error)) {
            std::fprintf(stderr, "stephost: %s\n", error.c_str());
            return kRefused;
        }
    }
    std::printf("saved %zu steps\n", runner.stepCount());
    return kSucceeded;
}

// Each stored form (the module's XML and folder stream, and the program file
// stephost writes) reloaded into fresh steps and saved again. The folder
// stream, the largest, is saved and then reloaded step by step on a thread of
// its own while this one does the other two: a host has two cores, and
// saving only reads the steps.
int checkProgram(const Module& module, const Options& options, stephost::ProgramFile& program,
                 host::ComponentCollection* components) {
    std::string saved[3];
    size_t steps = 0;
    {
        stephost::ProgramRunner runner(module.create, nullptr, components);
        if (!buildProgram(runner, options, program)) return kRefused;
        std::thread folder([&] { saved[1] = runner.saveFolder(); });
        saved[0] = runner.saveXml();
        saved[2] = runner.saveProgram(program);
        folder.join();
        steps = runner.stepCount();
    }
    struct Reloaded {
        bool loaded = false;
        std::string text;
        size_t steps = 0;
        std::string error;
    } reloaded[3];
    std::thread folder([&] {
        stephost::ProgramRunner runner(module.create, nullptr, components);
        Reloaded& form = reloaded[1];
        form.loaded = runner.buildObjects(program, form.error) &&
                      runner.resaveFolder(saved[1], form.text, form.steps, form.error);
    });
    {
        stephost::ProgramRunner runner(module.create, nullptr, components);
        Reloaded& form = reloaded[0];
        form.loaded = runner.buildObjects(program, form.error) && runner.loadXml(saved[0], form.error);
        form.text = form.loaded ? runner.saveXml() : "";
        form.steps = runner.stepCount();
    }
    {
        stephost::ProgramRunner runner(module.create, nullptr, components);
        stephost::ProgramFile again;
        Reloaded& form = reloaded[2];
        form.loaded = stephost::parseProgram(saved[2], again, form.error) && runner.build(again, form.error);
        form.text = form.loaded ? runner.saveProgram(again) : "";
        form.steps = runner.stepCount();
    }
    folder.join();
    const char* const names[3] = {"xml", "folder", "program"};
    int differences = 0;
    for (int kind = 0; kind < 3; ++kind) {
        const Reloaded& form = reloaded[kind];
        if (!form.loaded) {
            std::printf("%-8s cannot reload: %s\n", names[kind], form.error.c_str());
            ++differences;
            continue;
        }
        const std::string difference = firstDifference(saved[kind], form.text);
        std::printf("%-8s %zu steps  %s\n", names[kind], form.steps,
                    difference.empty() ? "identical after reloading" : ("DIFFERENT at " + difference).c_str());
        differences += !difference.empty() || form.steps != steps;
    }
    return differences == 0 ? kSucceeded : kStepFailed;
}

// The step reference, of the classes named or of all fourteen.
int describeClasses(const Module& module, const Options& options) {
    std::vector<std::wstring> names;
    for (const std::string& name : options.classes) names.push_back(host::widen(name));
    if (names.empty()) names.assign(std::begin(stephost::kStepClassNames), std::end(stephost::kStepClassNames));
    std::vector<stephost::StepClass> classes;
    for (const std::wstring& name : names) {
        stephost::StepClass described;
        std::string error;
        if (!stephost::describeStepClass(module.create, name, described, error)) {
            std::fprintf(stderr, "stephost: %s; the classes are %s\n", error.c_str(),
                         stephost::nearestFirst(host::narrow(name), stephost::stepClassNames(), 14).c_str());
            return kUsage;
        }
        classes.push_back(std::move(described));
    }
    const std::string text =
        options.format == "md" ? stephost::referenceMarkdown(classes) : stephost::referenceText(classes);
    std::fwrite(text.data(), 1, text.size(), stdout);
    return kSucceeded;
}

int runCommand(const Module& module, const Options& options, host::ComponentCollection* components) {
    if (options.command == "classes") return listClasses(module);
    if (options.command == "describe") return describeClasses(module, options);
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
        if (std::strcmp(argv[i], "--version") == 0) {
            std::printf("stephost %s, the reference host of the Flukokzad module\n", FLUKO_VERSION);
            return kSucceeded;
        }
    }
    if (!parseArguments(argc, argv, options, error)) {
        std::fprintf(stderr, "stephost: %s; see stephost --help\n", error.c_str());
        return kUsage;
    }
    Module module;
    if (!loadModule(options.module.empty() ? ownFolder() + "/_binlinux/Flukokzad.so" : options.module, module)) {
        return kNoModule;
    }
    // A big program's check makes and frees millions of small host objects;
    // without fast bins glibc does not sweep them up again on each larger
    // request (a tenth of the time of a check of 10 000 steps).
    mallopt(M_MXFAST, 0);
    // The stand-in records every call only while a program runs: a save or a
    // check of a big program would otherwise keep a line per stream entry.
    host::Recorder::setEnabled(false);
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
