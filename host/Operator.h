// The operator at the simulated host: the person who answers confirmations,
// types into keyboard prompts, picks files and closes editors. The stand-in's
// windows ask it when a step puts a question on screen; it answers from its
// script, answer by answer, or hands the question to whoever answers in the
// script's place (the reference host's person at the terminal).
#pragma once

#include <cstdint>
#include <deque>
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

// Told of every question put to the operator and of every answer, on the
// thread that asks, as they happen.
class OperatorListener {
public:
    virtual void asked(const std::string& kind, const std::wstring& prompt) = 0;
    // answered is false when no answer came: the script held none of that
    // kind, or the one answering in its place gave none.
    virtual void replied(const std::string& kind, const std::wstring& reply, bool answered) = 0;

protected:
    ~OperatorListener() = default;
};

// Answers in the script's place, on the thread that asks.
class OperatorAnswerer {
public:
    // False, with `reply` untouched, when no answer comes.
    virtual bool answer(const std::string& kind, const std::wstring& prompt, std::wstring& reply) = 0;

protected:
    ~OperatorAnswerer() = default;
};

class Operator {
public:
    // The one operator of this process, as a host has one screen.
    static Operator& current();

    // The answer to a question of that kind ("confirm", "keyboard", "file",
    // "editor"), given after its delay. False when none comes.
    bool answer(const std::string& kind, const std::wstring& prompt, std::wstring& reply);

    // Scripted answers, consumed in order within each kind.
    void script(const std::vector<OperatorAction>& actions);
    size_t pending() const;
    // Questions go to `answerer` from now on instead of the script; null
    // returns to the script. The answerer must outlive the questions under
    // way (OperatorThreads::wait).
    void setAnswerer(OperatorAnswerer* answerer);

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
    void tellAsked(const std::string& kind, const std::wstring& prompt);
    bool tellReplied(const std::string& kind, const std::wstring& reply, bool answered);

    // Held while the listener is told, apart from the script's lock so that
    // a listener may ask what is pending.
    std::mutex m_Listening;
    OperatorListener* m_Listener = nullptr;
    mutable std::mutex m_Mutex;
    std::deque<OperatorAction> m_Script;
    OperatorAnswerer* m_Answerer = nullptr;
    bool m_DismissUnanswered = false;
};

}  // namespace host
