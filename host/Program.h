// Program files for the reference host: the simulated host's interface
// objects, the steps with their settings and input bindings, and a scripted
// operator; and the runner that builds, runs, saves and checks them.
#pragma once

#include <atomic>
#include <cstdio>
#include <string>
#include <vector>

#include "host/Collections.h"
#include "host/HostObject.h"

namespace host {

struct ProgramObject {
    std::wstring name;
    std::string kind;  // "refreshable" or "object"
    int line = 0;
};

struct ProgramSetting {
    std::wstring name;
    std::wstring value;
    int line = 0;
};

struct ProgramBinding {
    std::wstring input;
    std::wstring object;
    std::wstring itemName;
    bool hasItemName = false;
    int32_t itemIndex = -1;
    int line = 0;
};

struct ProgramStep {
    std::wstring className;
    std::wstring title;
    std::vector<ProgramSetting> parameters;
    std::vector<ProgramBinding> inputs;
    int line = 0;
};

// One scripted answer of the operator, consumed by the steps that ask.
struct OperatorAction {
    std::string kind;  // "confirm", "keyboard", "file" or "editor"
    std::wstring value;
    int32_t delayMs = 0;
    int line = 0;
};

struct ProgramFile {
    std::wstring name;
    std::vector<ProgramObject> objects;
    std::vector<ProgramStep> steps;
    std::vector<OperatorAction> operatorScript;
};

// False with "line N: why" in error for a text that is not a program file.
// Step classes, parameter and input names are checked when it is built.
bool parseProgram(const std::string& text, ProgramFile& program, std::string& error);

// Builds a program's objects and steps through the module's CreateFunction,
// runs the steps in order with a trace, and saves them.
class ProgramRunner {
public:
    ProgramRunner(CREATEFUNCTIONFUNCTION create, std::FILE* trace);
    ~ProgramRunner();

    // Creates the objects and the steps, sets the parameters, binds the
    // inputs through monikers into the program's collection. False with
    // "line N: why" when the program names what does not exist.
    bool build(const ProgramFile& program, std::string& error);

    // Runs every step; asynchronous ones are polled until they end, and
    // turned off when interrupted becomes true. 0 when every step succeeded.
    int run(const std::atomic<bool>& interrupted);

    // Every step through its own Save: the XML document, one element per
    // step named after its class; the folder stream, one stored object per
    // step ("Step1", "Step2", ...).
    std::string saveXml() const;
    std::string saveFolder() const;

    // Replaces the steps with fresh ones loaded from those texts.
    bool loadXml(const std::string& text, std::string& error);
    bool loadFolder(const std::string& text, std::string& error);

    size_t stepCount() const { return m_Steps.size(); }

private:
    struct Step;
    bool setParameter(IUnknown* step, const ProgramSetting& setting, std::string& error);
    bool bindInput(IUnknown* step, const ProgramBinding& binding, std::string& error);
    void traceStep(size_t index, const Step& step, HRESULT result, double milliseconds,
                   const std::vector<std::string>& effects, const std::vector<std::string>& written);

    CREATEFUNCTIONFUNCTION m_Create;
    std::FILE* m_Trace;
    SmartPtr<SuperCollection> m_Objects;
    std::vector<std::string> m_Labels;
    struct Step {
        std::wstring className;
        std::wstring title;
        SmartPtr<IUnknown> object;
    };
    std::vector<Step> m_Steps;
};

}  // namespace host
