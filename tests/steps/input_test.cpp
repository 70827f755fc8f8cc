// The Input step: the keyboard for texts, numbers and passwords, the file
// chooser for names, and the wait for the window to close.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "host/Operator.h"
#include "host/OperatorServices.h"
#include "host/OperatorWindows.h"
#include "host/UIUtilities.h"
#include "host/Variants.h"
#include "host/Windows.h"
#include "runtime/Values.h"
#include "support/Bindings.h"
#include "support/HostTest.h"

using namespace std::chrono_literals;

namespace {

enum { kCaption, kType, kExtIfFile, kInput, kInputTimeOut, kInputWait, kReturnCode };

std::wstring textOfVariant(IVariant* value) {
    SmartPtr<IString> text = value ? ISCreate(value) : nullptr;
    return text ? host::textOf(text.get()) : L"(none)";
}

// A keyboard and a file chooser that offer no event source, and utilities
// whose file chooser is such a one and whose pop-ups open no window.
class DeafKeyboard final : public host::Object<DeafKeyboard, IUIKeyboard> {
public:
    static constexpr char kLedgerName[] = "DeafKeyboard";
    using Answered = host::Answers<IUIKeyboard>;
    HRESULT put_Mode(int32_t) override { return S_OK; }
    HRESULT put_Text(IString*) override { return S_OK; }
};

class DeafChooser final : public host::Object<DeafChooser, IUIFileArchive> {
public:
    static constexpr char kLedgerName[] = "DeafChooser";
    using Answered = host::Answers<IUIFileArchive>;
};

class DeafUtils final : public host::Object<DeafUtils, IUIUtils> {
public:
    static constexpr char kLedgerName[] = "DeafUtils";
    using Answered = host::Answers<IUIUtils>;
    HRESULT ShowPopup(IString*, IUnknown*, int32_t, IUnknown*, IUnknown**, int32_t, int32_t) override { return S_OK; }
    HRESULT ShowFileArchive(int32_t, const wchar_t*, int32_t, const wchar_t*, int32_t, const wchar_t*, int32_t, int32_t,
                            int32_t, int32_t, IUnknown** result) override {
        SmartPtr<DeafChooser> chooser = host::make<DeafChooser>();
        *result = host::make<host::HostWindow>("Chooser", chooser.query<IUnknown>().get()).query<IUnknown>().detach();
        return S_OK;
    }
};

}  // namespace

class InputStepTest : public HostTest {
protected:
    void TearDown() override {
        host::Operator::current().script({});
        host::OperatorThreads::wait();
        if (components && utils()) utils()->forget();
        HostTest::TearDown();
    }

    DrivenStep inputStep(int32_t type, const std::wstring& input, int32_t wait = 0) {
        DrivenStep step = driven(createStep<IStep>(L"GCUIInput"), L"");
        step.set(kType, host::makeVariant(type).get());
        step.set(kInput, host::makeString(input).get());
        step.set(kInputWait, host::makeVariant(wait).get());
        return step;
    }

    template <class T>
    T* component(const wchar_t* name) {
        SmartPtr<IUnknown> object;
        components->GetComponent(static_cast<int32_t>(std::wcslen(name)), name, nullptr, object.put_void());
        return dynamic_cast<T*>(object.get());  // the collection keeps it
    }
    host::UIUtils* utils() { return component<host::UIUtils>(L"UIUtils"); }

    SmartPtr<host::Keyboard> lastKeyboard() {
        auto popups = utils()->popups();
        if (popups.empty()) return nullptr;
        SmartPtr<IUnknown> hosted;
        popups.back()->get_HostedObject(hosted.put());
        return SmartPtr<host::Keyboard>(dynamic_cast<host::Keyboard*>(hosted.query<IUIKeyboard>().get()));
    }
    SmartPtr<host::FileChooser> lastChooser() {
        auto choosers = utils()->choosers();
        if (choosers.empty()) return nullptr;
        SmartPtr<IUnknown> hosted;
        choosers.back()->get_HostedObject(hosted.put());
        return SmartPtr<host::FileChooser>(dynamic_cast<host::FileChooser*>(hosted.query<IUIFileArchive>().get()));
    }

    static void runToEnd(IStep* step) {
        ASSERT_EQ(step->TurnOn(), S_OK);
        for (int i = 0; i < 5000 && step->IsRunning(); ++i) std::this_thread::sleep_for(1ms);
        EXPECT_FALSE(step->IsRunning());
    }
    // Waits for the worker only: a step waiting for its window keeps running.
    static void runWorker(IStep* step) {
        ASSERT_EQ(step->TurnOn(), S_OK);
        step->TurnOff();
    }
    static std::wstring text(const DrivenStep& step, int32_t index) { return textOfVariant(step.value(index).get()); }
};

TEST_F(InputStepTest, EachKeyboardTypeSetsItsModeStartAndAnswer) {
    struct Case {
        int32_t type;
        const char* mode;
        std::vector<std::string> start;  // what the keyboard is given besides its mode
        std::wstring inputWhileOpen;
        std::wstring typed;
        std::wstring answer;
    };
    const Case cases[] = {
        {0, "0x8000006", {"Keyboard.put_Text(\"abc\")"}, L"abc", L"hello", L"hello"},
        {1, "0x8080006", {}, L"      ", L"secret", L"secret"},
        {2, "0x8080006", {}, L"      ", L"admin", L"3"},
        {2, "0x8080006", {}, L"      ", L"guess", L"0"},
        {3, "0x8000003", {"Keyboard.put_Text(\"abc\")"}, L"abc", L"42", L"42"},
        {4, "0x8000005", {"Keyboard.put_Text(\"abc\")"}, L"abc", L"4.5", L"4.5"},
        {-2, "0x8000006", {"Keyboard.put_Text(\"abc\")"}, L"abc", L"x", L"x"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.type);
        DrivenStep step = inputStep(c.type, L"abc");
        host::Recorder::clear();
        runToEnd(step.step.get());
        std::vector<std::string> expected = {std::string("Keyboard.put_Mode(") + c.mode + ")"};
        expected.insert(expected.end(), c.start.begin(), c.start.end());
        expected.push_back("UIUtils.ShowPopup(\"Please enter ???\", 3, 5, 1)");
        expected.push_back("Keyboard.Advise(1)");
        EXPECT_EQ(takeCallsOn({"Keyboard", "UIUtils"}), expected);
        EXPECT_EQ(text(step, kInput), c.inputWhileOpen);
        EXPECT_EQ(text(step, kReturnCode), L"0");
        SmartPtr<host::Keyboard> keyboard = lastKeyboard();
        ASSERT_TRUE(keyboard);
        ASSERT_TRUE(keyboard->apply(c.typed));
        EXPECT_EQ(text(step, kInput), c.answer);
        EXPECT_EQ(text(step, kReturnCode), L"1");
        const std::vector<std::string> check = takeCallsOn({"PasswordAccess"});
        EXPECT_EQ(check.size(), c.type == 2 ? 1u : 0u);
        for (const std::string& call : check) EXPECT_EQ(call.find(host::narrow(c.typed)), std::string::npos);
    }
}

TEST_F(InputStepTest, WaitKeepsTheStepRunningUntilTheWindowCloses) {
    DrivenStep noWait = inputStep(0, L"a", 0);
    runToEnd(noWait.step.get());
    SmartPtr<host::Keyboard> open = lastKeyboard();
    EXPECT_TRUE(open->isOpen()) << "the keyboard stays open after the step";

    DrivenStep waiting = inputStep(0, L"a", 1);
    runWorker(waiting.step.get());
    EXPECT_TRUE(waiting.step->IsRunning());
    SmartPtr<_IUIKeyboardEvents> events = waiting.step.query<_IUIKeyboardEvents>();
    events->KeyboardApply(host::makeString(L"typed").get(), nullptr);
    EXPECT_TRUE(waiting.step->IsRunning()) << "an apply does not end the wait";
    EXPECT_EQ(text(waiting, kReturnCode), L"1");
    lastKeyboard()->close();
    EXPECT_FALSE(waiting.step->IsRunning());
    events->KeyboardClose(nullptr);  // twice, late
    EXPECT_FALSE(waiting.step->IsRunning());
    open->close();

    // A scripted operator answers from its own thread and closes the keyboard
    // (once the earlier keyboards have found nothing to answer).
    host::OperatorThreads::wait();
    host::Operator::current().script({{"keyboard", L"from the operator", 20, 0}});
    DrivenStep scripted = inputStep(0, L"a", 1);
    runToEnd(scripted.step.get());
    EXPECT_EQ(text(scripted, kInput), L"from the operator");
}

TEST_F(InputStepTest, FileSaveProposesTheNextFreeNumber) {
    char pattern[] = "/tmp/input-test-XXXXXX";
    ASSERT_TRUE(mkdtemp(pattern));
    const std::string dir = pattern;
    for (const char* name : {"image7.bmp", "image09.bmp", "image0.bmp", "image.bmp", "a.b.3.png", "7.png", ".5"}) {
        std::FILE* file = std::fopen((dir + "/" + name).c_str(), "w");
        ASSERT_TRUE(file);
        std::fclose(file);
    }
    ASSERT_EQ(mkdir((dir + "/shots5.d").c_str(), 0700), 0);
    // Names relative to the directory, as an operator types them.
    char previous[4096];
    ASSERT_TRUE(getcwd(previous, sizeof previous));
    ASSERT_EQ(chdir(dir.c_str()), 0);
    const std::wstring at;
    struct Case {
        int32_t type;
        std::wstring name;
        std::wstring proposed;
    };
    const std::wstring longName(300, L'x');
    const Case cases[] = {
        {6, L"image7.bmp", L"image8.bmp"},
        {6, L"image09.bmp", L"image10.bmp"},
        {6, L"image0.bmp", L"image0.bmp"},
        {6, L"image.bmp", L"image.bmp"},
        {6, L"a.b.3.png", L"a.b.4.png"},
        {6, L"7.png", L"7.png"},
        {6, L"shots5.d", L"shots6.d"},
        {6, L"new3.bmp", L"new3.bmp"},
        {9, L"image7.bmp", L"image8.bmp"},
        {5, L"image7.bmp", L"image7.bmp"},
        {6, L".5", L".5"},
    };
    utils()->setChooser(host::UIUtils::Chooser::AtOnce);
    for (const Case& c : cases) {
        DrivenStep step = inputStep(c.type, at + c.name);
        host::Recorder::clear();
        runToEnd(step.step.get());
        EXPECT_EQ(text(step, kInput), at + c.proposed) << host::narrow(c.name);
        EXPECT_EQ(text(step, kReturnCode), L"1");
        const auto calls = takeCallsOn({"UIUtils"});
        ASSERT_EQ(calls.size(), 1u);
        const std::string save = c.type == 5 ? ", 0, 0, 0, -1)" : ", 0, 1, 0, -1)";
        EXPECT_NE(calls[0].find("Images|*.jpg;*.png;*.bmp|All Files|*.*||\"" + save), std::string::npos) << calls[0];
    }
    DrivenStep tooLong = inputStep(6, at + longName);
    runToEnd(tooLong.step.get());
    EXPECT_EQ(text(tooLong, kInput), at + longName);
    EXPECT_EQ(chdir(previous), 0);
    EXPECT_EQ(std::system(("rm -rf " + dir).c_str()), 0);
}

TEST_F(InputStepTest, AChooserWindowAnswersLaterOrNotAtAll) {
    DrivenStep step = inputStep(5, L"old.png", 1);
    runWorker(step.step.get());
    EXPECT_TRUE(step.step->IsRunning());
    EXPECT_EQ(text(step, kReturnCode), L"0");
    SmartPtr<host::FileChooser> chooser = lastChooser();
    ASSERT_TRUE(chooser);
    chooser->apply(L"new.png");
    EXPECT_EQ(text(step, kInput), L"new.png");
    EXPECT_EQ(text(step, kReturnCode), L"1");
    EXPECT_TRUE(step.step->IsRunning());
    chooser->close();
    EXPECT_FALSE(step.step->IsRunning());

    utils()->setChooser(host::UIUtils::Chooser::Fails);
    DrivenStep failing = inputStep(6, L"x.png", 1);
    runToEnd(failing.step.get());
    EXPECT_EQ(text(failing, kReturnCode), L"-1");
}

TEST_F(InputStepTest, SetRecentFileOnlyAsksNothing) {
    DrivenStep step = inputStep(7, L"pic.png");
    step.set(kReturnCode, host::makeVariant(5).get());
    runToEnd(step.step.get());
    EXPECT_EQ(component<host::RecentFileCollection>(L"RecentFileCollection")->files(),
              std::vector<std::wstring>{L"pic.png"});
    EXPECT_EQ(text(step, kReturnCode), L"5");
    EXPECT_TRUE(utils()->popups().empty());
}

// A window the step cannot listen to (no keyboard, a keyboard or a file
// chooser without an event source, no utilities to show the keyboard) is not
// noticed: "ReturnCode" ends 0, the wait is marked from "Wait", a stop ends
// only the worker, and only a close ends the wait. A file chooser that cannot
// be shown gives -1 and no wait.
TEST_F(InputStepTest, AWindowThatCannotBeListenedToLeavesTheWaitToItsClose) {
    const auto check = [&](int32_t type) {
        for (int32_t wait : {0, 1}) {
            SCOPED_TRACE(wait);
            DrivenStep step = inputStep(type, L"x.png", wait);
            step.set(kReturnCode, host::makeVariant(5).get());
            runWorker(step.step.get());
            EXPECT_EQ(text(step, kReturnCode), L"0");
            EXPECT_EQ(step.step->IsRunning(), wait);
            EXPECT_EQ(step.step->TurnOff(), S_OK);
            EXPECT_EQ(step.step->IsRunning(), wait) << "a stop ends the worker, not the wait";
            if (type > 4) {
                step.step.query<_IUIFileArchiveEvents>()->FileArchiveClose(nullptr);
            } else {
                step.step.query<_IUIKeyboardEvents>()->KeyboardClose(nullptr);
            }
            EXPECT_EQ(step.step->IsRunning(), 0);
        }
    };
    {
        SCOPED_TRACE("no keyboard");
        components->remove(L"UIKeyboard");
        check(0);
    }
    {
        SCOPED_TRACE("a keyboard without events");
        components->addObject(L"UIKeyboard", host::make<DeafKeyboard>().query<IUnknown>().get());
        check(1);
    }
    {
        SCOPED_TRACE("no utilities to show the keyboard");
        components->remove(L"UIUtils");
        check(3);
    }
    {
        SCOPED_TRACE("a file chooser without events");
        components->addObject(L"UIUtils", host::make<DeafUtils>().query<IUnknown>().get());
        check(6);
    }

    components->remove(L"UIUtils");
    DrivenStep failing = inputStep(5, L"a", 1);
    runToEnd(failing.step.get());
    EXPECT_EQ(text(failing, kReturnCode), L"-1");
    components->remove(L"RecentFileCollection");
    DrivenStep recent = inputStep(7, L"a");
    runToEnd(recent.step.get());
}

// The operator's answers, the host's stops and the host letting go race
// from three threads; every waiting run still ends with the typed text.
TEST_F(InputStepTest, AnswersStopsAndReleasesRace) {
    for (int run = 0; run < 1000; ++run) {
        host::Operator::current().script({{"keyboard", L"typed", run % 7, 0}});
        DrivenStep step = inputStep(run % 3 == 0 ? 2 : 0, L"start", run % 2);
        ASSERT_EQ(step.step->TurnOn(), S_OK);
        std::thread stopping([step = step.step, run] {
            std::this_thread::sleep_for(std::chrono::milliseconds(run % 5));
            step->TurnOff();
        });
        if (run % 4 == 3) {
            step.step = nullptr;  // the host lets go; the keyboard still answers
            step.parameters = nullptr;
        } else {
            for (int i = 0; i < 2000 && (step.step->IsRunning() || host::Operator::current().pending() > 0); ++i) {
                std::this_thread::sleep_for(1ms);
            }
        }
        stopping.join();
        host::OperatorThreads::wait();
        if (!step.step) continue;
        EXPECT_FALSE(step.step->IsRunning()) << run;
        EXPECT_EQ(text(step, kInput), run % 3 == 0 ? L"0" : L"typed") << run;
        EXPECT_EQ(text(step, kReturnCode), L"1") << run;
        utils()->forget();
    }
}
