// The reference host's program files: any text read as a program; one that
// reads is built (objects, steps, parameters, bindings through the module's
// CreateFunction), saved in both stream forms and reloaded into a fresh
// runner; a program of property steps only is also run, since those touch
// nothing but the simulated objects.
#include <atomic>
#include <string>

#include "fuzz/FuzzHost.h"
#include "stephost/ProgramReader.h"
#include "stephost/ProgramRunner.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 64 * 1024) return 0;
    fuzz::HostScope scope;
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string error;
    {
        stephost::ProgramFile program;
        if (!stephost::parseProgram(text, program, error)) return 0;
        stephost::ProgramRunner runner(CreateFunction, nullptr, scope.components.get());
        if (!runner.build(program, error)) return 0;

        bool onlyPropertySteps = !program.steps.empty() && program.steps.size() <= 8;
        for (const stephost::ProgramStep& step : program.steps) {
            onlyPropertySteps =
                onlyPropertySteps && (step.className == L"GCUIPropRead" || step.className == L"GCUIPropWrite");
        }
        if (onlyPropertySteps) {
            const std::atomic<bool> interrupted{false};
            runner.run(interrupted);
        }

        // Saved, reloaded into fresh runners and saved again: after the first
        // reload (which may still change what the host's stream cannot carry),
        // the text must settle, as `stephost check` expects of the examples.
        using Load = bool (stephost::ProgramRunner::*)(const std::string&, std::string&);
        using Save = std::string (stephost::ProgramRunner::*)() const;
        const struct {
            const char* name;
            Load load;
            Save save;
        } forms[] = {{"XML", &stephost::ProgramRunner::loadXml, &stephost::ProgramRunner::saveXml},
                     {"folder", &stephost::ProgramRunner::loadFolder, &stephost::ProgramRunner::saveFolder}};
        for (const auto& form : forms) {
            std::string texts[3] = {(runner.*form.save)()};
            bool loaded = true;
            for (int round = 1; round < 3 && loaded; ++round) {
                stephost::ProgramRunner again(CreateFunction, nullptr, scope.components.get());
                again.build(program, error);
                loaded = (again.*form.load)(texts[round - 1], error);
                if (loaded) texts[round] = (again.*form.save)();
            }
            if (loaded && texts[1] != texts[2]) {
                std::fprintf(stderr, "fuzz: the program's %s save keeps changing\n--- once\n%s\n--- twice\n%s\n",
                             form.name, texts[1].c_str(), texts[2].c_str());
                std::abort();
            }
        }
    }
    return 0;
}
