#include "host/OperatorWindows.h"

#include <condition_variable>
#include <cwchar>
#include <thread>

#include "host/Hostility.h"
#include "host/Operator.h"
#include "host/Variants.h"

namespace host {

namespace {

struct ThreadCount {
    std::mutex mutex;
    std::condition_variable ended;
    int running = 0;
};

// Never destroyed: an operator thread may still answer while the process ends.
ThreadCount& threadCount() {
    static ThreadCount* count = new ThreadCount;
    return *count;
}

}  // namespace

void OperatorThreads::run(std::function<void()> answer) {
    ThreadCount& count = threadCount();
    {
        std::lock_guard<std::mutex> lock(count.mutex);
        ++count.running;
    }
    std::thread([answer = std::move(answer), cause = Recorder::cause()]() mutable {
        Recorder::setThreadCause(cause);
        answer();
        answer = nullptr;  // what it held goes before the count says so
        ThreadCount& count = threadCount();
        std::lock_guard<std::mutex> lock(count.mutex);
        if (--count.running == 0) count.ended.notify_all();
    }).detach();
}

void OperatorThreads::ask(OperatorQuestion& question, std::function<void(const std::wstring& reply)> answered,
                          std::function<void()> unanswered) {
    question.step = Recorder::cause();
    run([question, answered = std::move(answered), unanswered = std::move(unanswered)] {
        std::wstring reply;
        if (Operator::current().answer(question, reply)) {
            answered(reply);
        } else if (unanswered && Operator::current().dismissesUnanswered()) {
            unanswered();
        }
    });
}

void OperatorThreads::wait() {
    ThreadCount& count = threadCount();
    std::unique_lock<std::mutex> lock(count.mutex);
    count.ended.wait(lock, [&] { return count.running == 0; });
}

HRESULT ConfirmationWindow::SetMessage(IString* text, int32_t style) {
    const std::wstring message = textOf(text);
    record("SetMessage(\"" + narrow(message) + "\", " + hex(style) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Message = message;
    m_Style = style;
    return S_OK;
}

HRESULT ConfirmationWindow::put_TimeOut(int32_t seconds) {
    record("put_TimeOut(" + std::to_string(seconds) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_TimeOut = seconds;
    return S_OK;
}

HRESULT ConfirmationWindow::Advise(IUnknown* sink, int32_t kind) {
    record("Advise(" + std::to_string(kind) + ")");
    if (!sink) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Sink = SmartPtr<IUnknown>(sink);
    return S_OK;
}

HRESULT ConfirmationWindow::Show() {
    record("Show");
    OperatorQuestion question;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (m_Open || m_Answered) return S_OK;
        m_Open = true;
        if (!m_AskOperator) return S_OK;
        m_Question = OperatorQuestion::confirmation(m_Message, m_Style);
        question = m_Question;
    }
    // The operator thread keeps the window until it has answered; a window
    // nobody answers stays open for its step's time-out.
    SmartPtr<ConfirmationWindow> self(this);
    OperatorThreads::ask(question, [self](const std::wstring& reply) {
        self->press(reply.empty() ? self->defaultResponse() : responseOf(reply));
    });
    return S_OK;
}

HRESULT ConfirmationWindow::SendKey(int32_t key, int32_t a, int32_t b, int32_t c) {
    record("SendKey(" + std::to_string(key) + ", " + std::to_string(a) + ", " + std::to_string(b) + ", " +
           std::to_string(c) + ")");
    if (key != 13) return S_OK;
    if (press(defaultResponse())) {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Question.close("Enter was sent to the window (its step's time-out)");
    }
    return S_OK;
}

bool ConfirmationWindow::press(int32_t response) {
    SmartPtr<IUnknown> sink;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (!m_Open || m_Answered) return false;
        m_Answered = true;
        m_Open = false;
        sink = m_Sink;
    }
    record("answered " + std::to_string(response));
    SmartPtr<_IConfirmationEvent> events = queryInterface<_IConfirmationEvent>(sink.get());
    if (events) events->ConfirmationDone(static_cast<IConfirmationWindow*>(this), response);
    SmartPtr<ConfirmationWindow> self(this);
    if (events)
        Hostility::replay([self, events, response] {
            events->ConfirmationDone(static_cast<IConfirmationWindow*>(self.get()), response);
        });
    return true;
}

void ConfirmationWindow::setAskOperator(bool ask) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_AskOperator = ask;
}

int32_t ConfirmationWindow::responseOf(const std::wstring& reply) {
    if (reply == L"ok" || reply == L"OK") return 1;
    if (reply == L"cancel" || reply == L"Cancel") return 2;
    if (reply == L"yes" || reply == L"Yes") return 6;
    if (reply == L"no" || reply == L"No") return 7;
    wchar_t* end = nullptr;
    const long number = std::wcstol(reply.c_str(), &end, 10);
    return !reply.empty() && end && *end == 0 ? static_cast<int32_t>(number) : 2;
}

int32_t ConfirmationWindow::defaultResponse() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Style == kConfirmYesNo ? 6 : 1;
}

std::wstring ConfirmationWindow::message() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Message;
}

int32_t ConfirmationWindow::style() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Style;
}

int32_t ConfirmationWindow::timeOut() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_TimeOut;
}

bool ConfirmationWindow::isOpen() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Open;
}

}  // namespace host

namespace host {

HRESULT Keyboard::put_Mode(int32_t mode) {
    record("put_Mode(" + hex(mode) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Mode = mode;
    return S_OK;
}

HRESULT Keyboard::put_Text(IString* text) {
    const std::wstring typed = textOf(text);
    record("put_Text(\"" + narrow(typed) + "\")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Text = typed;
    return S_OK;
}

HRESULT Keyboard::Advise(IUnknown* sink, int32_t kind) {
    record("Advise(" + std::to_string(kind) + ")");
    if (!sink) return E_POINTER;
    std::wstring reply;
    bool answered = false;
    bool closed = false;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Sink = SmartPtr<IUnknown>(sink);
        answered = m_Answered;
        reply = m_Reply;
        m_Answered = false;
        closed = m_ClosedUnheard;
        m_ClosedUnheard = false;
    }
    if (answered) apply(reply);
    // A keyboard the operator closed before anybody listened tells its
    // listener so, as it keeps an answer given before: a step waiting for
    // the close would otherwise wait for ever.
    if (closed) {
        SmartPtr<_IUIKeyboardEvents> events = queryInterface<_IUIKeyboardEvents>(sink);
        if (events) events->KeyboardClose(static_cast<IUIKeyboard*>(this));
    }
    return S_OK;
}

void Keyboard::shown(const std::wstring& caption) {
    OperatorQuestion question;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (!m_AskOperator) return;
        m_Question = OperatorQuestion::keyboard(caption, m_Text, m_Mode);
        question = m_Question;
    }
    SmartPtr<Keyboard> self(this);
    OperatorThreads::ask(
        question,
        [self](const std::wstring& answer) {
            std::wstring reply = answer;
            {
                std::lock_guard<std::mutex> lock(self->m_Mutex);
                if (reply.empty()) reply = self->m_Text;  // Enter: the text as it stands
                if (!self->m_Sink) {                      // nobody listens yet: the registration delivers it
                    self->m_Answered = true;
                    self->m_Reply = reply;
                    return;
                }
            }
            self->apply(reply);
        },
        [self] { self->close(); });
}

SmartPtr<IUnknown> Keyboard::sink() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Sink;
}

bool Keyboard::apply(const std::wstring& text) {
    bool secret = false;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (!m_Open) return false;
        m_Text = text;
        secret = (m_Mode & 0x80000) != 0;
    }
    record(secret ? "apply ******" : "apply \"" + narrow(text) + "\"");
    SmartPtr<_IUIKeyboardEvents> events = queryInterface<_IUIKeyboardEvents>(sink().get());
    if (events) events->KeyboardApply(makeString(text).get(), static_cast<IUIKeyboard*>(this));
    SmartPtr<Keyboard> self(this);
    if (events)
        Hostility::replay([self, events, text] {
            events->KeyboardApply(makeString(text).get(), static_cast<IUIKeyboard*>(self.get()));
        });
    return close();
}

bool Keyboard::close() {
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (!m_Open) return false;
        m_Open = false;
        m_ClosedUnheard = !m_Sink;
        m_Question.close("the keyboard was closed");
    }
    record("close");
    SmartPtr<_IUIKeyboardEvents> events = queryInterface<_IUIKeyboardEvents>(sink().get());
    if (events) events->KeyboardClose(static_cast<IUIKeyboard*>(this));
    SmartPtr<Keyboard> self(this);
    if (events) Hostility::replay([self, events] { events->KeyboardClose(static_cast<IUIKeyboard*>(self.get())); });
    return true;
}

bool Keyboard::advised() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return static_cast<bool>(m_Sink);
}

void Keyboard::setAskOperator(bool ask) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_AskOperator = ask;
}

int32_t Keyboard::mode() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Mode;
}

std::wstring Keyboard::text() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Text;
}

bool Keyboard::isOpen() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Open;
}

FileChooser::FileChooser(std::wstring caption, std::wstring proposed) {
    m_Question = OperatorQuestion::fileChooser(caption, proposed);
}

HRESULT FileChooser::Advise(IUnknown* sink, int32_t kind) {
    record("Advise(" + std::to_string(kind) + ")");
    if (!sink) return E_POINTER;
    OperatorQuestion question;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Sink = SmartPtr<IUnknown>(sink);
        if (!m_AskOperator || !m_Open) return S_OK;
        question = m_Question;
    }
    SmartPtr<FileChooser> self(this);
    const std::wstring proposed = question.value;
    OperatorThreads::ask(
        question,
        [self, proposed](const std::wstring& reply) {
            const std::wstring chosen = reply.empty() ? proposed : reply;  // Enter: the proposed name
            if (!chosen.empty()) self->apply(chosen);
            self->close();
        },
        [self] { self->close(); });
    return S_OK;
}

SmartPtr<IUnknown> FileChooser::sink() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Sink;
}

bool FileChooser::apply(const std::wstring& name) {
    if (!isOpen()) return false;
    record("apply \"" + narrow(name) + "\"");
    SmartPtr<_IUIFileArchiveEvents> events = queryInterface<_IUIFileArchiveEvents>(sink().get());
    if (events) events->FileArchiveApply(makeString(name).get(), static_cast<IUIFileArchive*>(this));
    SmartPtr<FileChooser> self(this);
    if (events)
        Hostility::replay([self, events, name] {
            events->FileArchiveApply(makeString(name).get(), static_cast<IUIFileArchive*>(self.get()));
        });
    return true;
}

bool FileChooser::close() {
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (!m_Open) return false;
        m_Open = false;
        m_Question.close("the file chooser was closed");
    }
    record("close");
    SmartPtr<_IUIFileArchiveEvents> events = queryInterface<_IUIFileArchiveEvents>(sink().get());
    if (events) events->FileArchiveClose(static_cast<IUIFileArchive*>(this));
    SmartPtr<FileChooser> self(this);
    if (events)
        Hostility::replay([self, events] { events->FileArchiveClose(static_cast<IUIFileArchive*>(self.get())); });
    return true;
}

void FileChooser::setAskOperator(bool ask) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_AskOperator = ask;
}

bool FileChooser::isOpen() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Open;
}

}  // namespace host
