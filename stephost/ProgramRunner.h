// Runs programs for the reference host.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/Collections.h"
#include "host/Components.h"
#include "host/HostObject.h"
#include "host/Operator.h"
#include "stephost/Program.h"
#include "stephost/ProgramTrace.h"
#include "stephost/StepClasses.h"

namespace stephost {

// Builds a program's objects and steps through the module's CreateFunction,
// runs the steps in order with a trace, and saves them.
class ProgramRunner : public host::OperatorListener {
public:
    // Declared objects that stand for a host component (a workspace) replace
    // that component in `components`, the collection the module was given.
    // trace, when given, is told every event of run().
    ProgramRunner(CREATEFUNCTIONFUNCTION create, ProgramTrace* trace, host::ComponentCollection* components = nullptr);
    ~ProgramRunner();

    // Makes the objects the program declares. False with "line N: why" when
    // one cannot be made.
    bool buildObjects(const ProgramFile& program, std::string& error);
    // Checks the steps against what the module declares and the objects
    // offer (checkProgram), then makes them, sets their parameters and binds
    // their inputs through monikers into the program's collection. False,
    // with nothing made, when a problem of the file or of the check is an
    // error (with strict, a warning too); `problems` holds them all.
    bool buildSteps(ProgramFile& program, std::vector<ProgramProblem>& problems, bool strict = false);
    // Both, false with the first error as "line N: why".
    bool build(ProgramFile& program, std::string& error);

    // Runs every step; asynchronous ones are polled until they end, and
    // turned off when interrupted becomes true. The number of steps that
    // returned a failure code.
    size_t run(const std::atomic<bool>& interrupted);
    // Tells what came after the last step: calls and answers of the
    // operator's threads, parameters that late answers wrote. Called once
    // the operator has finished (host::OperatorThreads::wait).
    void finish();

    // Every step through its own Save: the XML document, one element per
    // step named after its class; the folder stream, one stored object per
    // step ("Step1", "Step2", ...).
    std::string saveXml() const;
    std::string saveFolder() const;
    // A program file: the program's objects and operator, and each step with
    // its title, every stored parameter and every binding as it holds them
    // now. Reading it back and saving it again gives the same text.
    std::string saveProgram(const ProgramFile& program) const;

    // Replaces the steps with fresh ones loaded from those texts.
    bool loadXml(const std::string& text, std::string& error);
    bool loadFolder(const std::string& text, std::string& error);
    // Each step of a folder stream text loaded into a fresh step and saved
    // again at once, as saveFolder saves the steps: `saved` is the text that
    // saveFolder would give after loadFolder, made without holding the steps.
    bool resaveFolder(const std::string& text, std::string& saved, size_t& steps, std::string& error) const;

    size_t stepCount() const { return m_Steps.size(); }
    // What the program's objects and the host's screen and workspace show now.
    host::ScreenState screenState() const;
    // The object the program declares under that name, or null.
    IUnknown* object(const std::wstring& name) const;

    // The operator's questions and answers, told to the trace; a step whose
    // question was asked is watched for what its answer writes later.
    void asked(const host::OperatorQuestion& question) override;
    void replied(const host::OperatorQuestion& question, const std::wstring& reply, bool answered,
                 const std::string& why) override;

private:
    struct Step;
    using Parameters = std::vector<std::pair<std::string, TraceValue>>;
    void setParameter(IUnknown* step, const ProgramSetting& setting);
    void bindInput(IUnknown* step, const ProgramBinding& binding);
    // Binds the step to the program's collection of objects, as a host binds each step it holds.
    void bindToObjects(IUnknown* step) const;
    void replaceSteps(std::vector<Step> loaded);
    bool forEachStoredStep(const std::string& text, std::string& error,
                           const std::function<void(Step step)>& made) const;
    // What the steps did to the host's objects, each under the step it belongs to.
    void traceCalls();
    // The parameters the step wrote since `before`, told as its own.
    void traceWrites(size_t number, Parameters& before);
    // Steps that asked the operator, whose answers may write later.
    void traceLateWrites(size_t running);
    // What the host knows of why a step failed: an input bound to nothing,
    // or to an object without the interface the input wants.
    std::string whyFailed(const Step& step) const;

    CREATEFUNCTIONFUNCTION m_Create;
    ProgramTrace* m_Trace;
    SmartPtr<host::ComponentCollection> m_Components;
    SmartPtr<host::SuperCollection> m_Objects;
    std::unordered_map<std::wstring, SmartPtr<IUnknown>> m_Named;
    std::unordered_set<std::string> m_Labels;
    std::vector<std::wstring> m_Order;  // the declared objects' names, in the file's order
    bool m_WasRecording = false;
    StepCatalogue m_Catalogue;
    struct Step {
        std::wstring className;
        std::wstring title;
        SmartPtr<IUnknown> object;
    };
    std::vector<Step> m_Steps;
    std::mutex m_AskedMutex;
    std::set<size_t> m_Asked;             // steps whose questions were asked
    std::map<size_t, Parameters> m_Seen;  // their parameters as last told
};

}  // namespace stephost
