// The Edit step: the objects bound to its inputs in the host's property
// frame, shown in a viewer or in a pop-up window whose answer it may await.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "host/Collections.h"
#include "host/Operator.h"
#include "host/OperatorWindows.h"
#include "host/PropertyFrames.h"
#include "host/UIUtilities.h"
#include "host/Variants.h"
#include "host/Windows.h"
#include "support/Bindings.h"
#include "support/HostTest.h"
#include "support/RecordedCalls.h"
#include "support/Threads.h"

namespace {

// A frame of the test's own: it may offer no event source, refuse the
// registration, have the operator answer while the step registers, or not
// report its close when it is closed. It notes the thread that filled it.
class TestFrame final : public host::Object<TestFrame, IUIPropertyPageCollection, IEventSource> {
public:
    static constexpr char kLedgerName[] = "TestFrame";
    using Answered = host::Answers<IUIPropertyPageCollection, IEventSource>;
    struct Behaviour {
        bool events = true;
        HRESULT advise = S_OK;
        const wchar_t* answerWhileRegistering = nullptr;
        bool reportsClose = true;
        bool registersOnlyOnceClosed = false;  // a stop comes while the step registers
    };
    explicit TestFrame(Behaviour behaviour) : m_Behaviour(behaviour) {}

    HRESULT QueryInterface(const IID& iid, void** out) override {
        if (!m_Behaviour.events && iid == iidOf<IEventSource>()) {
            *out = nullptr;
            return E_NOINTERFACE;
        }
        return Object::QueryInterface(iid, out);
    }
    HRESULT SetPages(ISuperCollection*, int32_t) override { return S_OK; }
    HRESULT AddObject(IUnknown*, int32_t) override {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_FilledOn = std::this_thread::get_id();
        return S_OK;
    }
    HRESULT Close(int32_t) override {
        ++m_Closes;
        if (m_Behaviour.reportsClose) raise(L"close");
        return S_OK;
    }
    HRESULT put_HelpFile(IString*, int32_t) override { return S_OK; }
    HRESULT put_Options(int32_t) override { return S_OK; }
    HRESULT SetItemSize(int32_t, int32_t, int32_t) override { return S_OK; }
    HRESULT Advise(IUnknown* sink, int32_t) override {
        m_Registering = true;
        if (m_Behaviour.registersOnlyOnceClosed) within(5000, [&] { return m_Closes.load() > 0; });
        {
            std::lock_guard<std::mutex> lock(m_Mutex);
            m_Sink = queryInterface<_IUIPropFrameEvents>(sink);
        }
        ++m_Advises;
        if (m_Behaviour.answerWhileRegistering) raise(m_Behaviour.answerWhileRegistering);
        return m_Behaviour.advise;
    }

    // The operator's words ("apply", "cancel", "close") to the registered
    // step on the caller's thread; after a cancel or a close it is let go.
    void raise(const std::wstring& words) {
        std::wistringstream stream(words);
        for (std::wstring word; stream >> word;) {
            SmartPtr<_IUIPropFrameEvents> sink;
            {
                std::lock_guard<std::mutex> lock(m_Mutex);
                sink = m_Sink;
                if (word != L"apply") m_Sink = nullptr;
            }
            if (!sink) return;
            if (word == L"apply") sink->EditApply(nullptr);
            if (word == L"cancel") sink->EditCancel(nullptr);
            if (word == L"close") sink->EditClosed(nullptr);
        }
    }
    bool advised() const {
        std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Sink != nullptr;
    }
    std::thread::id filledOn() const {
        std::lock_guard<std::mutex> lock(m_Mutex);
        return m_FilledOn;
    }
    int closes() const { return m_Closes.load(); }
    int advises() const { return m_Advises.load(); }
    bool registering() const { return m_Registering.load(); }

private:
    const Behaviour m_Behaviour;
    mutable std::mutex m_Mutex;
    SmartPtr<_IUIPropFrameEvents> m_Sink;
    std::thread::id m_FilledOn;
    std::atomic<int> m_Closes{0};
    std::atomic<int> m_Advises{0};
    std::atomic<bool> m_Registering{false};
};

}  // namespace

class EditStepTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        frame = host::make<host::PropertyFrame>("Frame");
        components->addObject(L"UIPropertyPageCollection", frame.query<IUnknown>().get());
        SmartPtr<IUnknown> found;
        components->GetComponent(7, L"UIUtils", nullptr, found.put_void());
        utils = SmartPtr<host::UIUtils>(dynamic_cast<host::UIUtils*>(found.query<IUIUtils>().get()));
        ASSERT_NE(utils, nullptr);
        step = newStep();
        host::Recorder::clear();
    }
    void TearDown() override {
        if (step.step) step.step->TurnOff();
        host::OperatorThreads::wait();
        host::Operator::current().script({});
        step = DrivenStep{nullptr, L""};
        frame = nullptr;
        if (utils) utils->forget();
        utils = nullptr;
        HostTest::TearDown();
    }

    DrivenStep newStep() { return driven(createStep<IStep>(L"GCUIEdit"), L"Edit1"); }
    void set(const wchar_t* name, int32_t value) { step.set(name, host::makeVariant(value).get()); }
    void setText(const wchar_t* name, const wchar_t* text) { step.set(name, host::makeString(text).get()); }
    int32_t returnCode() {
        SmartPtr<IVariant> value = step.value(L"ReturnCode");
        return value ? value->get_Long() : 99;
    }
    // Runs the step and waits until it has ended by itself.
    bool runToEnd() {
        EXPECT_EQ(step.step->TurnOn(), S_OK);
        return within(5000, [&] { return step.step->IsRunning() == 0; });
    }
    // Starts a waiting run and waits until the frame listens to the operator.
    void openAndWait() {
        set(L"Wait", 1);
        ASSERT_EQ(step.step->TurnOn(), S_OK);
        ASSERT_TRUE(within(5000, [&] { return frame->hasSink(); }));
    }
    static std::vector<std::string> frameCalls() { return takeCallsExcept({"ComponentString", "ComponentCollection"}); }

    SmartPtr<host::PropertyFrame> frame;
    SmartPtr<host::UIUtils> utils;
    DrivenStep step{nullptr, L""};
};

TEST_F(EditStepTest, TheFrameGetsTheBoundObjectsThePagesAndTheOptions) {
    SmartPtr<host::SuperCollection> first = host::make<host::SuperCollection>();
    SmartPtr<host::SuperCollection> third = host::make<host::SuperCollection>();
    // A host window is replaced by the object it shows.
    SmartPtr<host::HostWindow> window = host::make<host::HostWindow>("Holder", third.query<IUnknown>().get());
    step.input->put_Object(first.query<IUnknown>().get());
    stepInput(step.step.get(), L"Edit3")->put_Object(window.query<IUnknown>().get());

    struct Case {
        const char* what;
        std::vector<std::pair<const wchar_t*, int32_t>> numbers;
        std::vector<std::pair<const wchar_t*, const wchar_t*>> texts;
        int32_t options;
        int32_t itemSize;
        std::vector<std::wstring> pages;  // none: SetPages not called
        int32_t objectFlags;
    };
    const std::vector<std::wstring> kCreated = {L"Parameters:UIParametersPropPage::1",
                                                L"Preferences:UIParametricObjectPropPage::0",
                                                L":UIPropInterrogatePropPage::0"};
    const Case cases[] = {
        {"values at creation", {}, {}, 0xA7, 18, {}, 0xE0},
        {"close on apply, no help, no save or load",
         {{L"ShowClose", 2}, {L"ShowHelp", 0}, {L"ShowSaveLoad", 0}, {L"ItemSize", 0}},
         {},
         0x205,
         -1,
         {},
         0xE0},
        {"close off, load only, negative size",
         {{L"ShowClose", 0}, {L"ShowSaveLoad", 2}, {L"ItemSize", -4}},
         {},
         0xA3,
         -1,
         {},
         0xE0},
        {"close unreadable", {}, {{L"ShowClose", L"Show"}}, 0xA3, 18, {}, 0xE0},
        {"pages at creation", {{L"SetPages", 1}}, {}, 0xA7, 18, kCreated, 0xC0},
        {"a blank Page2 ends the list",
         {{L"SetPages", 1}},
         {{L"Page2", L" \t "}, {L"Page3", L"Other"}},
         0xA7,
         18,
         {L"Parameters:UIParametersPropPage::1"},
         0xC0},
        {"filler before a class name",
         {{L"SetPages", 1}, {L"Flags1", 6}},
         {{L"Page1", L"\xFE\xEF\x01 Grid"}, {L"Page2", L""}},
         0xA7,
         18,
         {L"Parameters:Grid::6"},
         0xC0},
        {"a page name that is no text", {{L"SetPages", 1}, {L"PageName1", 3}}, {}, 0xA7, 18, {L""}, 0xC0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DrivenStep fresh = newStep();
        std::swap(step, fresh);
        step.input->put_Object(first.query<IUnknown>().get());
        stepInput(step.step.get(), L"Edit3")->put_Object(window.query<IUnknown>().get());
        SmartPtr<host::PropertyFrame> own = host::make<host::PropertyFrame>("Frame");
        components->addObject(L"UIPropertyPageCollection", own.query<IUnknown>().get());
        std::swap(frame, own);
        for (const auto& number : c.numbers) set(number.first, number.second);
        for (const auto& text : c.texts) setText(text.first, text.second);
        setText(L"HelpFile", L"pump.hlp");

        ASSERT_TRUE(runToEnd());
        EXPECT_EQ(frame->options(), c.options);
        EXPECT_EQ(frame->itemSize(), c.itemSize);
        EXPECT_EQ(frame->helpFile(), L"pump.hlp");
        if (c.pages.empty()) {
            EXPECT_TRUE(frame->pages().empty());
        } else if (c.pages.front().empty()) {
            EXPECT_TRUE(frame->pages().empty());  // SetPages got an empty list
            EXPECT_NE(
                std::find(host::Recorder::calls().begin(), host::Recorder::calls().end(), "Frame.SetPages([], 0)"),
                host::Recorder::calls().end());
        } else {
            EXPECT_EQ(frame->pages(), c.pages);
        }
        // Eight inputs, only the first and the third bound, then the closing null.
        const auto objects = frame->objects();
        ASSERT_EQ(objects.size(), 9u);
        for (size_t i = 0; i < 8; ++i) {
            IUnknown* expected = i == 0   ? first.query<IUnknown>().get()
                                 : i == 2 ? third.query<IUnknown>().get()
                                          : nullptr;
            EXPECT_EQ(objects[i].object.get(), expected) << "input " << i;
            EXPECT_EQ(objects[i].flags, c.objectFlags);
        }
        EXPECT_EQ(objects[8].object, nullptr);
        EXPECT_EQ(objects[8].flags, 0);
        // Without waiting the step opens the editor and is finished.
        EXPECT_EQ(returnCode(), 0);
        frame->raise(L"close");
        std::swap(step, fresh);
        std::swap(frame, own);
        host::Recorder::clear();
    }
}

TEST_F(EditStepTest, AViewerShowsTheFrameInPlaceAndNothingIsAwaited) {
    SmartPtr<host::SmartViewer> viewer = host::make<host::SmartViewer>("Inspector");
    stepInput(step.step.get(), L"OptionalViewer")->put_Object(viewer.query<IUnknown>().get());
    set(L"Wait", 1);
    set(L"ReturnCode", 7);
    ASSERT_TRUE(runToEnd());
    EXPECT_EQ(viewer->shown().get(), frame.query<IUnknown>().get());
    const auto calls = frameCalls();
    EXPECT_NE(std::find(calls.begin(), calls.end(), "Inspector.ShowObject(0, Frame, 0)"), calls.end());
    EXPECT_NE(std::find(calls.begin(), calls.end(), "Inspector.Refresh(0)"), calls.end());
    EXPECT_EQ(utils->lastPopup(), nullptr);
    EXPECT_FALSE(frame->hasSink());
    EXPECT_EQ(returnCode(), 7);
    viewer->ShowObject(0, nullptr, 0);  // the viewer lets go of the frame
}

TEST_F(EditStepTest, TheOperatorsAnswersEndTheWaitAndThePopupsPlaceIsRemembered) {
    set(L"SaveLocation", 1);
    openAndWait();
    EXPECT_EQ(step.step->IsRunning(), 1);
    EXPECT_EQ(returnCode(), 0);
    frame->raise(L"apply");
    EXPECT_EQ(returnCode(), 1);
    EXPECT_EQ(step.step->IsRunning(), 1) << "an apply leaves the editor open";
    const int32_t moved[4] = {5, 6, 300, 200};
    utils->lastPopup()->put_Area(moved);
    frame->raise(L"close");
    ASSERT_TRUE(within(2000, [&] { return step.step->IsRunning() == 0; }));
    EXPECT_EQ(returnCode(), 1) << "a close keeps the last apply";
    frame->raise(L"close");  // late and twice: nothing happens
    step.step->TurnOff();

    // The next window opens where the last one stood; a cancel remembers too.
    host::Recorder::clear();
    openAndWait();
    auto calls = frameCalls();
    EXPECT_NE(std::find(calls.begin(), calls.end(), "Popups.AdjustArea((5, 6, 300, 200), 0, 1)"), calls.end());
    EXPECT_NE(std::find(calls.begin(), calls.end(), "Popup.put_Area(5, 6, 300, 200)"), calls.end());
    const int32_t again[4] = {7, 8, 310, 210};
    utils->lastPopup()->put_Area(again);
    frame->raise(L"cancel");
    ASSERT_TRUE(within(2000, [&] { return step.step->IsRunning() == 0; }));
    EXPECT_EQ(returnCode(), -1);
    host::Recorder::clear();
    openAndWait();
    EXPECT_EQ(utils->lastPopup()->shows(), 0);
    int32_t area[4];
    utils->lastPopup()->get_Area(area);
    EXPECT_EQ(std::vector<int32_t>(area, area + 4), (std::vector<int32_t>{7, 8, 310, 210}));

    // A stop closes the frame and does not remember the window's place.
    const int32_t stopped[4] = {1, 1, 50, 50};
    utils->lastPopup()->put_Area(stopped);
    host::Recorder::clear();
    EXPECT_EQ(step.step->TurnOff(), S_OK);
    EXPECT_EQ(step.step->IsRunning(), 0);
    calls = frameCalls();
    EXPECT_NE(std::find(calls.begin(), calls.end(), "Frame.Close(3)"), calls.end());
    EXPECT_EQ(returnCode(), 0);
    openAndWait();
    utils->lastPopup()->get_Area(area);
    EXPECT_EQ(area[0], 7);
    step.step->TurnOff();

    // Opening the step's pages forgets the place.
    SmartPtr<IUIPropertyPageSpecify> pages = step.step.query<IUIPropertyPageSpecify>();
    SmartPtr<INamedCollection> listed;
    pages->GetPages(0, listed.put(), nullptr);
    host::Recorder::clear();
    openAndWait();
    calls = frameCalls();
    EXPECT_EQ(std::find(calls.begin(), calls.end(), "Popups.AdjustArea((7, 8, 310, 210), 0, 1)"), calls.end());
    utils->lastPopup()->get_Area(area);
    EXPECT_EQ(area[0], 100);
}

TEST_F(EditStepTest, AnOperatorFasterThanTheWorkerStillEndsTheWait) {
    set(L"Wait", 1);
    for (const wchar_t* answer : {L"cancel", L"apply close"}) {
        TestFrame::Behaviour instant;
        instant.answerWhileRegistering = answer;
        components->addObject(L"UIPropertyPageCollection", host::make<TestFrame>(instant).query<IUnknown>().get());
        ASSERT_EQ(step.step->TurnOn(), S_OK);
        ASSERT_TRUE(within(3000, [&] { return step.step->IsRunning() == 0; })) << "answered during registration";
        EXPECT_EQ(returnCode(), answer[0] == L'c' ? -1 : 1) << "the opening's code must not undo the answer";
    }
    components->addObject(L"UIPropertyPageCollection", frame.query<IUnknown>().get());
    for (int run = 0; run < 30; ++run) {
        host::Operator::current().script({{"editor", run % 2 ? L"apply close" : L"cancel", 0, 0}});
        ASSERT_EQ(step.step->TurnOn(), S_OK);
        ASSERT_TRUE(within(5000, [&] { return step.step->IsRunning() == 0; })) << "run " << run;
        EXPECT_EQ(returnCode(), run % 2 ? 1 : -1);
        host::OperatorThreads::wait();
    }
}

// "Wait" chooses the thread: without it the editor opens on the host's
// thread and the step is finished when TurnOn returns; with it the worker
// opens the editor and ends, and the step runs on until the operator's
// close. A new run while the editor is open opens a new one.
TEST_F(EditStepTest, WaitChoosesTheThreadAndTheWorkerEndsBeforeTheOperatorAnswers) {
    SmartPtr<TestFrame> own = host::make<TestFrame>(TestFrame::Behaviour{});
    components->addObject(L"UIPropertyPageCollection", own.query<IUnknown>().get());
    ASSERT_EQ(step.step->TurnOn(), S_OK);
    EXPECT_EQ(own->filledOn(), std::this_thread::get_id());
    EXPECT_EQ(step.step->IsRunning(), 0);
    own->raise(L"close");

    const int threadsBefore = threadCount();
    set(L"Wait", 1);
    for (int run = 0; run < 2; ++run) {
        const int advisesBefore = own->advises();
        ASSERT_EQ(step.step->TurnOn(), S_OK);
        ASSERT_TRUE(within(5000, [&] { return own->advises() > advisesBefore; }));
        EXPECT_NE(own->filledOn(), std::this_thread::get_id());
        EXPECT_TRUE(within(5000, [&] { return threadCount() <= threadsBefore; })) << "the worker has ended";
        EXPECT_EQ(step.step->IsRunning(), 1);
    }
    EXPECT_EQ(utils->popups().size(), 3u);
    own->raise(L"close");
    EXPECT_EQ(step.step->IsRunning(), 0);
}

// The code each order of the operator's events leaves, and whether the step
// still waits: an apply does not end the wait, a close keeps the last apply.
TEST_F(EditStepTest, TheOutcomeFollowsTheOrderOfTheOperatorsEvents) {
    struct Case {
        const wchar_t* events;
        int32_t returnCode;
        bool waits;
    };
    const Case cases[] = {
        {L"", 0, true},
        {L"apply", 1, true},
        {L"apply apply", 1, true},
        {L"close", 0, false},
        {L"apply close", 1, false},
        {L"cancel", -1, false},
        {L"apply cancel", -1, false},
    };
    set(L"Wait", 1);
    for (const Case& c : cases) {
        SCOPED_TRACE(host::narrow(c.events));
        SmartPtr<TestFrame> own = host::make<TestFrame>(TestFrame::Behaviour{});
        components->addObject(L"UIPropertyPageCollection", own.query<IUnknown>().get());
        set(L"ReturnCode", 7);
        ASSERT_EQ(step.step->TurnOn(), S_OK);
        ASSERT_TRUE(within(5000, [&] { return own->advised(); }));
        own->raise(c.events);
        EXPECT_EQ(returnCode(), c.returnCode);
        if (c.waits) {
            EXPECT_EQ(step.step->IsRunning(), 1);
        } else {
            EXPECT_TRUE(within(2000, [&] { return step.step->IsRunning() == 0; }));
        }
        own->raise(L"close");
        // The next run starts only once this one has ended.
        ASSERT_TRUE(within(2000, [&] { return step.step->IsRunning() == 0; }));
    }
}

// A stop closes the frame with 3 and lets go of the window; the wait ends
// when the frame reports the close, which a frame may never do. A stop after
// the close finds nothing to close.
TEST_F(EditStepTest, AStopClosesTheFrameAndItsCloseEndsTheWait) {
    TestFrame::Behaviour quiet;
    quiet.reportsClose = false;
    SmartPtr<TestFrame> own = host::make<TestFrame>(quiet);
    components->addObject(L"UIPropertyPageCollection", own.query<IUnknown>().get());
    set(L"Wait", 1);
    const int threadsBefore = threadCount();
    ASSERT_EQ(step.step->TurnOn(), S_OK);
    ASSERT_TRUE(within(5000, [&] { return own->advised() && threadCount() <= threadsBefore; }));
    EXPECT_EQ(step.step->TurnOff(), S_OK);
    EXPECT_EQ(own->closes(), 1);
    EXPECT_EQ(step.step->IsRunning(), 1) << "the frame has not reported its close";
    EXPECT_EQ(step.step->TurnOff(), S_OK);
    EXPECT_EQ(own->closes(), 1) << "the first stop let go of the window";
    own->raise(L"close");
    EXPECT_EQ(step.step->IsRunning(), 0);
    EXPECT_EQ(returnCode(), 0);
    EXPECT_EQ(step.step->TurnOff(), S_OK);
    EXPECT_EQ(own->closes(), 1);

    // A stop while the step registers closes a frame that has nobody to
    // tell; the stop then ends the wait itself.
    TestFrame::Behaviour late;
    late.registersOnlyOnceClosed = true;
    SmartPtr<TestFrame> slow = host::make<TestFrame>(late);
    components->addObject(L"UIPropertyPageCollection", slow.query<IUnknown>().get());
    ASSERT_EQ(step.step->TurnOn(), S_OK);
    ASSERT_TRUE(within(5000, [&] { return slow->registering(); }));
    EXPECT_EQ(step.step->TurnOff(), S_OK);
    EXPECT_EQ(slow->closes(), 1);
    EXPECT_EQ(step.step->IsRunning(), 0);
    slow->raise(L"close");
}

// Neither a frame without an event source, nor a registration it refuses,
// nor a pop-up that did not open is noticed: "ReturnCode" ends 0 and the
// step waits for a close that only the frame can report. Without a frame
// nothing opens and nothing is awaited.
TEST_F(EditStepTest, WhatTheHostFailedToDoIsNotNoticed) {
    struct Case {
        const char* what;
        bool events;
        HRESULT advise;
        bool popups;
    };
    const Case cases[] = {
        {"no event source", false, S_OK, true},
        {"registration refused", true, E_FAIL, true},
        {"no pop-up window", true, S_OK, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DrivenStep fresh = newStep();
        TestFrame::Behaviour behaviour;
        behaviour.events = c.events;
        behaviour.advise = c.advise;
        SmartPtr<TestFrame> own = host::make<TestFrame>(behaviour);
        components->addObject(L"UIPropertyPageCollection", own.query<IUnknown>().get());
        if (!c.popups) components->remove(L"UIUtils");
        const int threadsBefore = threadCount();
        fresh.set(L"ReturnCode", host::makeVariant(5).get());
        fresh.set(L"Wait", host::makeVariant(1).get());
        ASSERT_EQ(fresh.step->TurnOn(), S_OK);
        const auto code = [&] {
            SmartPtr<IVariant> value = fresh.value(L"ReturnCode");
            return value ? value->get_Long() : 99;
        };
        ASSERT_TRUE(within(5000, [&] { return code() == 0 && threadCount() <= threadsBefore; }));
        EXPECT_EQ(fresh.step->IsRunning(), 1);
        fresh.step->TurnOff();
        EXPECT_EQ(own->closes(), c.popups ? 1 : 0);
        own->raise(L"close");
        EXPECT_EQ(fresh.step->IsRunning(), c.events ? 0 : 1);
    }

    components->remove(L"UIPropertyPageCollection");
    step.set(L"Wait", host::makeString(L"yes").get());  // unreadable: runs at once
    step.set(L"Caption", host::make<host::SuperCollection>().query<IUnknown>().get());
    set(L"ReturnCode", 5);
    EXPECT_EQ(step.step->TurnOn(), S_OK);
    EXPECT_EQ(step.step->IsRunning(), 0);
    EXPECT_EQ(returnCode(), 5);
    EXPECT_EQ(step.step->TurnOff(), S_OK);
}

TEST_F(EditStepTest, ClosesAndStopsRacingFromSeveralThreadsEndEveryRun) {
    for (int run = 0; run < 1000; ++run) {
        DrivenStep racing = newStep();
        racing.set(L"Wait", host::makeVariant(1).get());
        ASSERT_EQ(racing.step->TurnOn(), S_OK);
        std::atomic<bool> go{false};
        std::thread closer([&] {
            while (!go.load()) std::this_thread::yield();
            frame->raise(run % 3 ? L"apply close" : L"cancel");
        });
        std::thread stopper([&] {
            while (!go.load()) std::this_thread::yield();
            if (run % 2) racing.step->TurnOff();
        });
        go = true;
        if (run % 4 == 0) racing.step->TurnOff();
        closer.join();
        stopper.join();
        // A close that came before the frame listened is lost, and a stop
        // that came before the pop-up opened found nothing to close: the
        // host stops the step again, once its worker has ended.
        for (int stop = 0; stop < 2 && !within(20, [&] { return racing.step->IsRunning() == 0; }); ++stop) {
            racing.step->TurnOff();
        }
        ASSERT_EQ(racing.step->IsRunning(), 0) << "run " << run;
        racing.step = nullptr;  // released while the frame may still raise events
        frame->raise(L"close");
    }
}
