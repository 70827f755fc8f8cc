// Runs programs for the reference host.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "host/Collections.h"
#include "host/Components.h"
#include "host/HostObject.h"
#include "stephost/Program.h"
#include "stephost/ProgramTrace.h"

namespace stephost {

// Builds a program's objects and steps through the module's CreateFunction,
// runs the steps in order with a trace, and saves them.
class ProgramRunner {
public:
    // Declared objects that stand for a host component (a workspace) replace
    // that component in `components`, the collection the module was given.
    // trace, when given, is told every event of run().
    ProgramRunner(CREATEFUNCTIONFUNCTION create, ProgramTrace* trace, host::ComponentCollection* components = nullptr);
    ~ProgramRunner();

    // Creates the objects and the steps, sets the parameters, binds the
    // inputs through monikers into the program's collection. False with
    // "line N: why" when the program names what does not exist.
    bool build(const ProgramFile& program, std::string& error);

    // Runs every step; asynchronous ones are polled until they end, and
    // turned off when interrupted becomes true. The number of steps that
    // returned a failure code.
    size_t run(const std::atomic<bool>& interrupted);

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
    // Binds the step to the program's collection of objects, as a host binds each step it holds.
    void bindToObjects(IUnknown* step) const;
    void replaceSteps(std::vector<Step> loaded);
    // What the step did to the host's objects, in the order it did it.
    void traceCalls(const std::vector<std::string>& calls) const;

    CREATEFUNCTIONFUNCTION m_Create;
    ProgramTrace* m_Trace;
    SmartPtr<host::ComponentCollection> m_Components;
    SmartPtr<host::SuperCollection> m_Objects;
    std::vector<std::string> m_Labels;
    struct Step {
        std::wstring className;
        std::wstring title;
        SmartPtr<IUnknown> object;
    };
    std::vector<Step> m_Steps;
};

}  // namespace stephost
