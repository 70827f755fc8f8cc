// A run kept for its reports: the trace's events gathered step by step, with
// what the screen showed after each step, then written as one HTML page (a
// timeline, an entry and a picture of the screen per step) or as JUnit XML
// for a CI server.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/ScreenState.h"
#include "stephost/ProgramTrace.h"

namespace stephost {

class RunRecord final : public ProgramTrace {
public:
    // Every event is passed on to `trace` (the one on standard output), when given.
    explicit RunRecord(ProgramTrace* trace = nullptr);

    struct Question {
        size_t step = 0;
        std::string kind;
        std::string prompt;
        std::string value;
        std::string accepts;
        bool secret = false;
        double askedAt = 0;   // milliseconds from the program's start
        bool closed = false;  // answered, or gone without an answer
        bool answered = false;
        std::string reply;  // "******" for a password
        std::string why;
        double closedAt = 0;
    };
    struct Call {
        std::string object;
        std::string call;
        bool declared = false;
    };
    struct Step {
        std::string className;
        std::string title;
        double startAt = 0;  // milliseconds from the program's start
        double endAt = 0;
        bool ended = false;
        HRESULT result = S_OK;
        double milliseconds = 0;  // the step's own execution time
        bool turnedOff = false;
        std::string why;
        std::vector<std::pair<std::string, std::string>> read;     // name, value as written
        std::vector<std::pair<std::string, std::string>> written;  // likewise
        std::vector<Call> calls;
        host::ScreenState screen;
        bool hasScreen = false;
        std::vector<Question> dialogs;  // its questions as they stood when the screen was taken
    };
    struct Run {
        Program program;
        std::string date;  // UTC, when the program started
        std::vector<Step> steps;
        std::vector<Question> questions;
        host::ScreenState before;  // the screen before the first step
        size_t failures = 0;
        double duration = 0;
    };
    // A copy, complete once programEnds was told.
    Run run() const;

    void programStarts(const Program& program) override;
    void stepStarts(size_t step, const std::string& className, const std::string& title) override;
    void stepReads(size_t step, const std::vector<std::pair<std::string, TraceValue>>& parameters) override;
    void hostCall(size_t step, const std::string& label, const std::string& call, bool declared,
                  std::chrono::steady_clock::time_point at) override;
    void parameterWritten(size_t step, const std::string& name, const TraceValue& value) override;
    void asked(const host::OperatorQuestion& question) override;
    void replied(const host::OperatorQuestion& question, const std::wstring& reply, bool answered,
                 const std::string& why) override;
    void stepEnds(size_t step, HRESULT result, double milliseconds, bool turnedOff, const std::string& why) override;
    void programEnds(size_t failures) override;
    bool wantsScreens() const override { return true; }
    void screenAfter(size_t step, const host::ScreenState& screen) override;

private:
    Step* stepAt(size_t number);  // under m_Mutex

    ProgramTrace* m_Trace;
    mutable std::mutex m_Mutex;
    Run m_Run;
    std::map<const void*, size_t> m_Open;  // a question's shared state to its place in m_Run.questions
};

// The picture of the screen as SVG: every element carries its kind as a class
// and its name in data-name; what differs from `before` has the class
// "changed", and `changes` (when given) says what in words. The step's
// dialogs are drawn over the screen.
std::string screenSvg(const host::ScreenState& screen, const host::ScreenState& before,
                      const std::vector<RunRecord::Question>& dialogs, std::vector<std::string>* changes = nullptr);

// One self-contained page: nothing is fetched, it prints, and it is read
// without a mouse. `version` is the module's.
std::string reportHtml(const RunRecord::Run& run, const std::string& version);
// One test suite for the program, one test case per step.
std::string junitXml(const RunRecord::Run& run);

}  // namespace stephost
