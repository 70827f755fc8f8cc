// The reference host's program files: any text read as a program; one that
// reads is built (objects, steps, parameters, bindings through the module's
// CreateFunction), saved in both stream forms and reloaded into a fresh
// runner; a program of property steps only is also run, since those touch
// nothing but the simulated objects.
#include <atomic>
#include <string>

#include "fuzz/FuzzHost.h"
#include "host/ProgramReader.h"
#include "host/ProgramRunner.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 64 * 1024) return 0;
    fuzz::HostScope scope;
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string error;
    {
        host::ProgramFile program;
        if (!host::parseProgram(text, program, error)) return 0;
        host::ProgramRunner runner(CreateFunction, nullptr, scope.components.get());
        if (!runner.build(program, error)) return 0;

        bool onlyPropertySteps = !program.steps.empty() && program.steps.size() <= 8;
        for (const host::ProgramStep& step : program.steps) {
            onlyPropertySteps = onlyPropertySteps && (step.className == L"GCUIPropRead" || step.className == L"GCUIPropWrite");
        }
        if (onlyPropertySteps) {
            const std::atomic<bool> interrupted{false};
            runner.run(interrupted);
        }

        const std::string xml = runner.saveXml();
        const std::string folder = runner.saveFolder();
        host::ProgramRunner fromXml(CreateFunction, nullptr, scope.components.get());
        fromXml.build(program, error);
        if (fromXml.loadXml(xml, error)) fromXml.saveXml();
        host::ProgramRunner fromFolder(CreateFunction, nullptr, scope.components.get());
        fromFolder.build(program, error);
        if (fromFolder.loadFolder(folder, error)) fromFolder.saveFolder();
    }
    return 0;
}
