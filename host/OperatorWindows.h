// The windows in which the simulated host asks the operator something: the
// confirmation window with its buttons. Each asks host::Operator when it is
// shown and raises its answer to the registered sink from the operator's own
// thread, as a host raises window events on its event thread.
#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "host/HostObject.h"
#include "host/Operator.h"

namespace host {

// Threads on which the operator answers: the windows' questions and the
// property frames' editing sessions alike. Each holds what it answers for
// until it has answered; wait() lets a test or a host end only when all
// have finished, so that nothing is still alive behind its back.
class OperatorThreads {
public:
    // Runs answer on a new operator thread, which keeps the cause of the
    // thread that starts it (Recorder::cause).
    static void run(std::function<void()> answer);
    // Asks the operator the question on an operator thread, as the program
    // step that runs now (Recorder::cause) asks it: `answered` hears the
    // reply. When none comes and the operator closes what nobody answers,
    // `unanswered` runs; without it the window stays open. The question's
    // state is shared with the caller, which closes it when its window goes.
    static void ask(OperatorQuestion& question, std::function<void(const std::wstring& reply)> answered,
                    std::function<void()> unanswered = nullptr);
    // Waits until every operator thread started so far has ended.
    static void wait();
};

// The confirmation window: a question with OK, OK and Cancel, or Yes and No.
// Shown, it asks the operator ("confirm") on an operator thread; the reply
// ("ok", "yes", "cancel", "no" or a number) becomes the response code that
// the window passes to the sink's ConfirmationDone. Enter (an empty answer,
// or the key sent to it) presses the default button, its first: OK (1), or
// Yes (6) in a Yes No window. A window answers once; a closed window ignores
// every later answer, and its question is closed with it.
class ConfirmationWindow final
    : public Object<ConfirmationWindow, IConfirmationWindow, IEventSource, IUIKeyboardInput> {
public:
    static constexpr char kLedgerName[] = "ConfirmationWindow";
    using Answered = Answers<IConfirmationWindow, IEventSource, IUIKeyboardInput>;

    HRESULT Show() override;
    HRESULT SetMessage(IString* text, int32_t style) override;
    HRESULT put_TimeOut(int32_t seconds) override;
    HRESULT Advise(IUnknown* sink, int32_t kind) override;
    HRESULT SendKey(int32_t key, int32_t a, int32_t b, int32_t c) override;

    // The operator presses a button: the sink hears the response, once.
    // False when the window was not open or has already answered.
    bool press(int32_t response);
    // Shown without asking the operator: a test answers with press().
    void setAskOperator(bool ask);

    // The response code of a reply: 1 ok, 2 cancel, 6 yes, 7 no, or the
    // number it reads as; 2 for anything else.
    static int32_t responseOf(const std::wstring& reply);
    // The response of its default button, which Enter presses.
    int32_t defaultResponse() const;

    std::wstring message() const;
    int32_t style() const;
    int32_t timeOut() const;
    bool isOpen() const;

private:
    mutable std::mutex m_Mutex;
    std::wstring m_Message;
    int32_t m_Style = 0;
    int32_t m_TimeOut = 0;
    bool m_Open = false;
    bool m_Answered = false;
    bool m_AskOperator = true;
    SmartPtr<IUnknown> m_Sink;
    OperatorQuestion m_Question;
};

}  // namespace host

namespace host {

// The on-screen keyboard ("UIKeyboard"), a new one per request. Shown in a
// popup, it asks the operator ("keyboard", with the popup's caption) on an
// operator thread; the reply is applied (Enter: the text as it stands) and
// the keyboard closed. An answer that comes before anyone registered for its
// events waits for the registration. In a password mode (0x80000) its trace
// never shows what is typed.
class Keyboard final : public Object<Keyboard, IUIKeyboard, IEventSource> {
public:
    static constexpr char kLedgerName[] = "Keyboard";
    using Answered = Answers<IUIKeyboard, IEventSource>;

    HRESULT put_Mode(int32_t mode) override;
    HRESULT put_Text(IString* text) override;
    HRESULT Advise(IUnknown* sink, int32_t kind) override;

    // Shown in a popup with that caption: asks the operator when askOperator is set.
    void shown(const std::wstring& caption = std::wstring());
    // The operator types and applies; closes the keyboard. False once closed.
    bool apply(const std::wstring& text);
    bool close();
    void setAskOperator(bool ask);

    int32_t mode() const;
    std::wstring text() const;
    bool isOpen() const;
    // A step has registered for its events.
    bool advised() const;

private:
    SmartPtr<IUnknown> sink();

    mutable std::mutex m_Mutex;
    int32_t m_Mode = 0;
    std::wstring m_Text;
    bool m_Open = true;
    bool m_AskOperator = true;
    bool m_Answered = false;       // the operator's reply is in m_Reply
    bool m_ClosedUnheard = false;  // closed before anybody listened
    std::wstring m_Reply;
    SmartPtr<IUnknown> m_Sink;
    OperatorQuestion m_Question;
};

// The file chooser a host window hosts: registered with, it asks the
// operator ("file") on an operator thread; the reply is applied and the
// chooser closed. An empty reply (Enter) takes the proposed name; with none
// proposed it only closes the chooser.
class FileChooser final : public Object<FileChooser, IUIFileArchive, IEventSource> {
public:
    static constexpr char kLedgerName[] = "FileChooser";
    using Answered = Answers<IUIFileArchive, IEventSource>;

    explicit FileChooser(std::wstring caption = std::wstring(), std::wstring proposed = std::wstring());

    HRESULT Advise(IUnknown* sink, int32_t kind) override;

    bool apply(const std::wstring& name);
    bool close();
    void setAskOperator(bool ask);
    bool isOpen() const;

private:
    SmartPtr<IUnknown> sink();

    mutable std::mutex m_Mutex;
    bool m_Open = true;
    bool m_AskOperator = true;
    SmartPtr<IUnknown> m_Sink;
    OperatorQuestion m_Question;
};

}  // namespace host
