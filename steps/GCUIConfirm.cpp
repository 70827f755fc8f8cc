// The Confirmation step: asks the operator a question in a confirmation
// window and records the answer.
#include <mutex>

#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kMessage, kStyle, kTimeOut, kWait, kResponse };  // parameters, in declaration order
enum { kStyleOk, kStyleOkCancel, kStyleYesNo };         // "Style" choices

const ParameterDeclaration kParameters[] = {
    {L"Message", Text(L"Stop Program?"), kTextFlags}, {L"Style", Integer(0), kChoiceFlags, L"OK|OK Cancel|Yes No"},
    {L"TimeOut", Integer(0), kIntegerFlags},          {L"Wait", Integer(0), kSwitchFlags},
    {L"Response", Integer(0), kIntegerResultFlags},
};

const PageDeclaration kPages[] = {
    {L"UIParametersPropPage", false},
};

constexpr int32_t kLookMilliseconds = 50;

// The window's style word for the "Style" choice; anything else offers OK.
int32_t styleWord(int32_t style) {
    switch (style) {
        case kStyleOkCancel:
            return kConfirmOkCancel;
        case kStyleYesNo:
            return kConfirmYesNo;
        default:
            return kConfirmOk;
    }
}

}  // namespace

class CGCUIConfirm final : public StepBase<CGCUIConfirm, IParameters, IStepImplAsynchronous, _IConfirmationEvent> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIConfirm";
    static constexpr StepTables kTables{{}, kParameters, kPages};
    using Interfaces = StepInterfaces<_IConfirmationEvent>;

    // Ended: answered, stopped or timed out.
    struct Ended {
        StepWorker* worker;
        bool operator()() const { return worker->runningFlag() == 0; }
    };
    Ended answered() { return Ended{&m_Worker}; }

    HRESULT Execute(CStopEvent* stop) {
        SmartPtr<IString> message = readString(kMessage);
        SmartPtr<IConfirmationWindow> window = CreateObject<IConfirmationWindow>(L"ConfirmationWindow");
        if (!window) return S_OK;  // no window: nobody to wait for
        window->SetMessage(message.get(), styleWord(readInteger(kStyle)));
        window->put_TimeOut(readInteger(kTimeOut));
        // How to wait is settled before the window can answer; the answer
        // itself is noticed through the running flag and the stop event, so
        // an operator faster than this thread still ends the wait.
        const double limit = readDouble(kTimeOut) * 1000.0;
        const bool waitForAnswer = readInteger(kWait) != 0;
        // A window without an event source can never tell the step of an
        // answer, so it is not waited for; a registration it refuses is not
        // noticed.
        SmartPtr<IEventSource> events = window.query<IEventSource>();
        if (events) events->Advise(identity(), kEventsOfWindow);
        window->Show();
        if (!events) return S_OK;

        if (limit > 0) {
            waitWithLimit(stop, window.get(), limit);
        } else if (waitForAnswer) {
            // The host's stop clears the running flag as an answer does.
            while (m_Worker.runningFlag() != 0) m_Worker.waitUntil(stop, kLookMilliseconds, answered());
        }
        return S_OK;
    }

    // The window's answer, on the host's event thread. Recorded only while
    // the step still runs: after a time-out, a stop or a run without a wait
    // it changes nothing but the execution time.
    HRESULT ConfirmationDone(IUnknown*, int32_t response) override {
        bool recorded = false;
        {
            std::lock_guard<Mutex> lock(m_AnswerMutex);
            if (m_Worker.runningFlag() != 0) {
                writeInteger(kResponse, response);
                m_Worker.clearRunningFlag();
                recorded = true;
            }
        }
        if (recorded) TurnOff();
        m_Worker.wake();
        m_Worker.updateExecutionTime();
        return S_OK;
    }

private:
    // Counts from the step's start, not from when the window opened. On
    // time-out "Response" is -1 and the window gets Enter as if the operator
    // had pressed it.
    void waitWithLimit(CStopEvent* stop, IConfirmationWindow* window, double limit) {
        SmartPtr<IUIKeyboardInput> keyboard = queryInterface<IUIKeyboardInput>(window);
        for (;;) {
            if (stop && stop->isSet()) return;
            m_Worker.waitUntil(stop, kLookMilliseconds, answered());
            m_Worker.updateExecutionTime();
            double elapsed = 0.0;
            m_Worker.executionTime(&elapsed);
            {
                // An answer or a stop that came during the look wins over a
                // time-out that falls due in the same look.
                std::lock_guard<Mutex> lock(m_AnswerMutex);
                if ((stop && stop->isSet()) || m_Worker.runningFlag() == 0) return;
                if (!(limit < elapsed)) continue;
                m_Worker.clearRunningFlag();
                writeInteger(kResponse, -1);
            }
            if (keyboard) keyboard->SendKey(kKeyEnter, 0, 0, 0);
            return;
        }
    }

    // Makes "is the step still running" and the write of "Response" one
    // step, between the answer and the time-out.
    Mutex m_AnswerMutex;
};

extern const ModuleClass gGCUIConfirmClass = moduleClassOf<CGCUIConfirm>();
