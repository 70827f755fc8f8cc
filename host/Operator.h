// The operator at the simulated host: the person who answers confirmations,
// types into keyboard prompts, picks files and closes editors. The stand-in's
// windows ask it when a step puts a question on screen; it answers from its
// script, answer by answer, or hands the question to whoever answers in the
// script's place (the reference host's person at the terminal).
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace host {

// One scripted answer of the operator, consumed by the question it answers.
struct OperatorAction {
    std::string kind;  // "confirm", "keyboard", "file" or "editor"
    std::wstring value;
    int32_t delayMs = 0;
    int line = 0;  // where a program file wrote it
};

// A question a window puts to the operator: what it shows, what it is filled
// with, and which answers it takes. An empty answer is Enter, which each
// window takes as its default: a confirmation's first button, the keyboard's
// text as it stands, the proposed file name (none: the chooser closes without
// one), the editor closed.
struct OperatorQuestion {
    enum class Takes { Text, WholeNumber, Number, Buttons, EditorWords };

    std::string kind;      // "confirm", "keyboard", "file" or "editor"
    std::wstring caption;  // the message or caption the window shows
    std::wstring value;    // what it is filled with: the keyboard's text, the proposed file name
    Takes takes = Takes::Text;
    std::vector<std::wstring> buttons;  // Takes::Buttons: "yes", "no"; the default first
    bool secret = false;                // a password keyboard: the answer is never shown
    int step = 0;                       // the program step that asked (Recorder::cause when it was shown)

    // The confirmation window's question for its style word (0x2001 OK
    // Cancel, 0x4001 Yes No, anything else OK); the keyboard's for its mode
    // (0x80000 password, low bits 3 a whole number, 5 a number).
    static OperatorQuestion confirmation(const std::wstring& message, int32_t styleWord);
    static OperatorQuestion keyboard(const std::wstring& caption, const std::wstring& text, int32_t mode);
    static OperatorQuestion fileChooser(const std::wstring& caption, const std::wstring& proposed);
    static OperatorQuestion editor(const std::wstring& caption);

    // Whether the window takes that answer; an empty answer (Enter) always.
    bool accepts(const std::wstring& reply) const;
    // "yes, no or a response code", for prompts and refusals.
    std::string accepted() const;
    // What Enter gives, in words: "yes", "keeps \"0\"", "closes it".
    std::string enter() const;

    // Closed when the window goes away without the operator's answer (its
    // step timed out or was stopped, or no longer waits for it): whoever
    // answers gives up on it. Shared by the window and the one answering.
    struct State {
        std::mutex mutex;
        bool closed = false;
        bool done = false;  // answered: closing changes nothing
        std::string why;
    };
    std::shared_ptr<State> state = std::make_shared<State>();
    // False when it was answered or closed already.
    bool close(const std::string& why) const;
    bool isClosed(std::string* why = nullptr) const;
};

// Told of every question put to the operator and of every answer, on the
// thread that asks, as they happen.
class OperatorListener {
public:
    virtual void asked(const OperatorQuestion& question) = 0;
    // answered is false when no answer came: the script held none of that
    // kind, the one answering in its place gave none, or the question was
    // closed (why says so).
    virtual void replied(const OperatorQuestion& question, const std::wstring& reply, bool answered,
                         const std::string& why) = 0;

protected:
    ~OperatorListener() = default;
};

// Answers in the script's place, on the thread that asks.
class OperatorAnswerer {
public:
    // False, with `reply` untouched, when no answer comes or the question
    // was closed first.
    virtual bool answer(const OperatorQuestion& question, std::wstring& reply) = 0;

protected:
    ~OperatorAnswerer() = default;
};

class Operator {
public:
    // The one operator of this process, as a host has one screen.
    static Operator& current();

    // The answer to the question, given after its delay. False when none
    // comes, or the question was closed before its answer.
    bool answer(const OperatorQuestion& question, std::wstring& reply);
    // A question of that kind with that caption, taking any text.
    bool answer(const std::string& kind, const std::wstring& caption, std::wstring& reply);

    // Scripted answers, consumed in order within each kind.
    void script(const std::vector<OperatorAction>& actions);
    size_t pending() const;
    // Questions go to `answerer` from now on instead of the script; null
    // returns to the script. The answerer must outlive the questions under
    // way (OperatorThreads::wait).
    void setAnswerer(OperatorAnswerer* answerer);

    // Closes the questions of that kind which that step asked and which are
    // still waiting for their answer.
    void closeQuestions(int step, const std::string& kind, const std::string& why);

    // When set, a window whose question finds no answer (no scripted answer
    // of its kind left, or none from the answerer) is closed as an operator
    // who walks away would: the keyboard and the file chooser without a
    // value, the editor cancelled. Without it such a window stays open, and a
    // step that waits for it without a time-out waits until it is stopped; a
    // reference host run in CI must end. The confirmation window keeps
    // waiting: its step has a time-out of its own.
    void setDismissUnanswered(bool dismiss);
    bool dismissesUnanswered() const;

    // The listener told of questions and answers from now on; null for none.
    // Once this returns, the previous listener is told nothing more.
    void listen(OperatorListener* listener);

private:
    void tellAsked(const OperatorQuestion& question);
    bool tellReplied(const OperatorQuestion& question, const std::wstring& reply, bool answered,
                     const std::string& why = std::string());

    // Held while the listener is told, apart from the script's lock so that
    // a listener may ask what is pending.
    std::mutex m_Listening;
    OperatorListener* m_Listener = nullptr;
    mutable std::mutex m_Mutex;
    std::deque<OperatorAction> m_Script;
    OperatorAnswerer* m_Answerer = nullptr;
    bool m_DismissUnanswered = false;
    std::vector<OperatorQuestion> m_Open;  // asked, not yet answered
};

}  // namespace host
