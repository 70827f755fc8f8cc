// What a program's run tells, event by event: the human trace (a block of
// lines per step) or JSON lines, one object per event, for a machine.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

#include "host/Operator.h"
#include "runtime/Types.h"

namespace stephost {

// A parameter's value as a step left it.
struct TraceValue {
    enum Kind { kNone, kEmpty, kInteger, kReal, kText, kObject } kind = kNone;
    int64_t integer = 0;
    double real = 0;
    std::string text;  // UTF-8

    bool operator==(const TraceValue& other) const {
        return kind == other.kind && integer == other.integer && text == other.text &&
               (real == other.real || (real != real && other.real != other.real));
    }
    bool operator!=(const TraceValue& other) const { return !(*this == other); }
};

// "0x80004005".
std::string resultCode(HRESULT result);
// "E_FAIL"; empty for a code without a name.
std::string resultName(HRESULT result);

// Every event of a run. Steps are numbered from 1. The operator's questions and
// answers arrive on the operator's threads, between the step's start and its
// end for a step that waits for them, later for one that does not.
class ProgramTrace : public host::OperatorListener {
public:
    explicit ProgramTrace(std::FILE* out) : m_Out(out) {}
    virtual ~ProgramTrace() = default;

    struct Program {
        std::string name;
        std::string file;
        size_t steps = 0;
        size_t objects = 0;
        bool terminal = false;  // the operator is the person at the terminal
        size_t answers = 0;     // the script's answers otherwise
    };
    virtual void programStarts(const Program& program) = 0;
    virtual void stepStarts(size_t step, const std::string& className, const std::string& title) = 0;
    // One call the step made on a host object; declared: on an object the
    // program file declares (label), not on one of the host's own.
    virtual void hostCall(const std::string& label, const std::string& call, bool declared) = 0;
    virtual void parameterWritten(const std::string& name, const TraceValue& value) = 0;
    virtual void stepEnds(HRESULT result, double milliseconds, bool turnedOff) = 0;
    virtual void programEnds(size_t failures) = 0;

protected:
    // One piece of the trace, written whole and flushed, whatever thread writes it.
    void write(const std::string& text);
    // The step that runs now, 0 between steps.
    size_t step() const { return m_Step; }
    void setStep(size_t step) { m_Step = step; }

private:
    std::FILE* m_Out;
    std::mutex m_Mutex;
    std::atomic<size_t> m_Step{0};
};

std::unique_ptr<ProgramTrace> makeHumanTrace(std::FILE* out);
std::unique_ptr<ProgramTrace> makeJsonTrace(std::FILE* out);

}  // namespace stephost
