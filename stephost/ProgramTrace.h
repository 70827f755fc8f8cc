// What a program's run tells, event by event: the human trace (a block of
// lines per step) or JSON lines, one object per event, for a machine.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/Operator.h"
#include "host/ScreenState.h"
#include "runtime/Interfaces.h"
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

// A value as the host's variant holds it.
TraceValue traceValueOf(IVariant* value);
// "0", "2.5", "\"Running\"", "(object)", "(empty)".
std::string valueText(const TraceValue& value);

// "0x80004005".
std::string resultCode(HRESULT result);
// "E_FAIL"; empty for a code without a name.
std::string resultName(HRESULT result);

// Every event of a run, each with the number of the step that caused it
// (from 1; 0 for none). The operator's questions and answers arrive on the
// operator's threads, between the step's start and its end for a step that
// waits for them, later for one that does not: they carry their own step's
// number whenever they come. What a password keyboard was answered is never
// written: not as the answer, nor where it shows again (a parameter's value,
// a call's quoted text), which read "******".
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
    // One call a step made on a host object; declared: on an object the
    // program file declares (label), not on one of the host's own.
    // at: when it was made.
    virtual void hostCall(size_t step, const std::string& label, const std::string& call, bool declared,
                          std::chrono::steady_clock::time_point at) = 0;
    virtual void parameterWritten(size_t step, const std::string& name, const TraceValue& value) = 0;
    // why: what the host side knows of a failure, or empty.
    virtual void stepEnds(size_t step, HRESULT result, double milliseconds, bool turnedOff, const std::string& why) = 0;
    virtual void programEnds(size_t failures) = 0;

    // A report's events, which the traces on standard output leave out: the
    // parameters a step starts with, and what the screen shows before the
    // first step (0) and after each. A runner takes the screen's state only
    // for a trace that wants it.
    virtual void stepReads(size_t, const std::vector<std::pair<std::string, TraceValue>>&) {}
    virtual bool wantsScreens() const { return false; }
    virtual void screenAfter(size_t, const host::ScreenState&) {}

    // One piece of output, written whole and flushed, whatever thread writes
    // it; the terminal's prompts go through it too, so that no line of the
    // trace and no prompt cut into each other.
    void write(const std::string& text);

    static constexpr const char* kHidden = "******";

protected:
    // The step whose block of lines the human trace writes now, 0 between steps.
    size_t step() const { return m_Step; }
    void setStep(size_t step) { m_Step = step; }
    // Milliseconds from the program's start to now, or to `at`.
    double elapsed() const;
    double elapsed(std::chrono::steady_clock::time_point at) const;
    void startClock();

    // A password a keyboard was answered with, hidden from now on.
    void hide(const std::string& secret);
    // The value as it may be written: a text that is a password, hidden.
    TraceValue shown(const TraceValue& value);
    // The text with every quoted password hidden.
    std::string shown(const std::string& text);
    std::string reply(const host::OperatorQuestion& question, const std::wstring& reply);

private:
    std::FILE* m_Out;
    std::mutex m_Mutex;
    std::atomic<size_t> m_Step{0};
    std::chrono::steady_clock::time_point m_Start = std::chrono::steady_clock::now();
    std::mutex m_SecretsMutex;
    std::vector<std::string> m_Secrets;
};

std::unique_ptr<ProgramTrace> makeHumanTrace(std::FILE* out);
std::unique_ptr<ProgramTrace> makeJsonTrace(std::FILE* out);

}  // namespace stephost
