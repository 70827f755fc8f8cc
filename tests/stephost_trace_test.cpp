// stephost's machine trace, read back with a real JSON parser: every example's
// trace, the order of a run's events, and texts no writer expects.
#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "host/ScreenState.h"
#include "stephost/JsonLines.h"
#include "stephost/RunReport.h"
#include "support/StepHost.h"

namespace {

using nlohmann::json;

// Each line of the trace as JSON; a line that is not fails the test.
std::vector<json> eventsOf(const std::string& trace) {
    std::vector<json> events;
    std::istringstream lines(trace);
    for (std::string line; std::getline(lines, line);) {
        try {
            events.push_back(json::parse(line));
        } catch (const json::exception& error) {
            ADD_FAILURE() << error.what() << "\n" << line;
        }
    }
    return events;
}

std::vector<json> jsonTrace(const std::string& program) {
    const ProcessRun run = runStephost({"run", "--trace", "json", program}, FLUKO_BINARY_DIR, false);
    EXPECT_LE(run.status, 1) << run.output;
    return eventsOf(run.output);
}

// The events as "event step detail" words, for comparing a run with its story.
std::string outline(const std::vector<json>& events, const std::vector<std::string>& kept) {
    std::string text;
    for (const json& event : events) {
        const std::string name = event.at("event");
        if (std::find(kept.begin(), kept.end(), name) == kept.end()) continue;
        text += name;
        if (event.contains("step") && !event["step"].is_null()) text += " " + std::to_string(int(event["step"]));
        for (const char* detail : {"class", "object", "call", "kind", "prompt", "reply", "result", "name"}) {
            if (event.contains(detail) && event[detail].is_string()) text += " " + std::string(event[detail]);
        }
        text += "\n";
    }
    return text;
}

TEST(StepHostTrace, EveryExampleGivesOneJsonObjectPerEvent) {
    size_t examples = 0;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(FLUKO_SOURCE_DIR) + "/examples")) {
        if (entry.path().extension() != ".xml") continue;
        ++examples;
        const std::vector<json> events = jsonTrace(entry.path().string());
        ASSERT_GE(events.size(), 2u) << entry.path();
        EXPECT_EQ(events.front().at("event"), "program-start") << entry.path();
        EXPECT_EQ(events.back().at("event"), "program-end") << entry.path();
        size_t started = 0, ended = 0;
        for (const json& event : events) {
            ASSERT_TRUE(event.is_object()) << event;
            started += event.at("event") == "step-start";
            if (event.at("event") != "step-end") continue;
            ++ended;
            EXPECT_EQ(event.at("step"), started) << "a step ends before the next starts";
            EXPECT_TRUE(event.at("ms").is_number()) << event;
            EXPECT_EQ(std::string(event.at("result")).size(), 10u) << event;
        }
        EXPECT_EQ(started, events.front().at("steps")) << entry.path();
        EXPECT_EQ(ended, started) << entry.path();
    }
    EXPECT_GE(examples, 16u);
}

// The demonstration's story as a machine reads it: each step's start, the
// calls it made on the program's objects, the operator's question and answer
// inside the step that waits for them, and each step's end with its code.
TEST(StepHostTrace, TheDemonstrationsEventsComeInTheOrderTheyHappened) {
    const std::vector<json> events = jsonTrace(example("demo.xml"));
    ASSERT_FALSE(events.empty());
    const json& start = events.front();
    EXPECT_EQ(start.at("name"), "Measuring run on the pump test stand");
    EXPECT_EQ(start.at("steps"), 15);
    EXPECT_EQ(start.at("operator"), "script");
    EXPECT_EQ(start.at("answers"), 2);
    const std::string story = outline(events, {"step-start", "question", "answer", "step-end"});
    EXPECT_NE(story.find("step-start 3 GCUIConfirm\n"
                         "question 3 confirm Start the measuring run?\n"
                         "answer 3 confirm yes\n"
                         "step-end 3 0x00000000 S_OK\n"
                         "step-start 4 GCUIInput\n"
                         "question 4 keyboard Batch number\n"
                         "answer 4 keyboard 4711\n"
                         "step-end 4 0x00000000 S_OK\n"),
              std::string::npos)
        << story;
    const std::string calls = outline(events, {"step-start", "call"});
    for (const char* part : {"step-start 1 GCUIActivate\ncall 1 PanelWindow get_HostedObject\n"
                             "call 1 MeasuringPanel Activate(1)\nstep-start 2",
                             "call 8 Pump SetProperty(100, 1500)", "call 11 PumpMenu DoAction(7)",
                             "step-start 13 GCUIRefresh\ncall 13 LivePlot Refresh(9)\nstep-start 14"}) {
        EXPECT_NE(calls.find(part), std::string::npos) << part << "\n" << calls;
    }
    bool response = false, speed = false;
    for (const json& event : events) {
        if (event.at("event") != "parameter") continue;
        response |= event.at("step") == 3 && event.at("name") == "Response" && event.at("value") == 6;
        speed |= event.at("step") == 9 && event.at("name") == "Speed" && event.at("value") == 1500 &&
                 event.at("kind") == "integer";
    }
    EXPECT_TRUE(response && speed) << outline(events, {"parameter"});
    for (const json& event : events) {
        if (event.at("event") == "step-end") {
            EXPECT_EQ(event.at("succeeded"), true) << event;
        }
    }
    EXPECT_EQ(events.back().at("failures"), 0);
}

TEST(StepHostTrace, AFailingStepAndAnUnansweredQuestionAreTold) {
    TemporaryFile program(
        "<program>\n<steps>\n<step class=\"GCUIRefresh\" title=\"nothing bound\"/>\n"
        "<step class=\"GCUIConfirm\"><parameter name=\"Message\">Anyone?</parameter>"
        "<parameter name=\"TimeOut\">1</parameter></step>\n</steps>\n</program>\n");
    const ProcessRun run = runStephost({"--trace", "json", "run", program.path()}, FLUKO_BINARY_DIR, false);
    EXPECT_EQ(run.status, 1) << run.output;
    const std::vector<json> events = eventsOf(run.output);
    const std::string story = outline(events, {"step-end", "question", "answer"});
    EXPECT_NE(story.find("step-end 1 0x80004005 E_FAIL\nquestion 2 confirm Anyone?\nanswer 2 confirm\n"),
              std::string::npos)
        << story;
    for (const json& event : events) {
        if (event.at("event") == "answer") {
            EXPECT_TRUE(event.at("reply").is_null() && event.at("answered") == false) << event;
        }
    }
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.back().at("failures"), 1);
    EXPECT_EQ(events.back().at("succeeded"), false);
}

// Each event carries the step that caused it, whenever it comes: an answer
// to step 1 that comes while step 2 runs is step 1's, and so is what it
// writes; lines carry the time since the program started and the run's name;
// a failed step says what the host knows of why.
TEST(StepHostTrace, EveryEventCarriesItsOwnStepItsTimeAndTheRun) {
    TemporaryFile program(
        "<program name=\"late\">\n<steps>\n"
        "<step class=\"GCUIInput\" title=\"ask, do not wait\"><parameter name=\"Caption\">Batch</parameter></step>\n"
        "<step class=\"GCUIConfirm\" title=\"wait a second\"><parameter name=\"TimeOut\">1</parameter></step>\n"
        "<step class=\"GCUIRefresh\" title=\"nothing bound\"/>\n</steps>\n"
        "<operator><keyboard delay=\"300\">4711</keyboard></operator>\n</program>\n");
    const std::vector<json> events = jsonTrace(program.path());
    ASSERT_GE(events.size(), 4u);
    const std::string run = events.front().at("run");
    EXPECT_EQ(run.size(), 16u);
    for (const json& event : events) {
        EXPECT_TRUE(event.contains("step") && event.at("t").is_number() && event.at("t") >= 0) << event;
        EXPECT_EQ(event.at("run"), run) << event;
    }
    EXPECT_TRUE(events.front().at("step").is_null() && events.back().at("step").is_null());
    const std::string story = outline(events, {"step-start", "answer", "parameter", "step-end"});
    EXPECT_NE(story.find("step-start 2 GCUIConfirm\nanswer 2 confirm\nanswer 1 keyboard 4711\n"), std::string::npos)
        << story;
    EXPECT_NE(story.find("parameter 1 text Input\nparameter 1 integer ReturnCode\nstep-end 2"), std::string::npos)
        << story;
    double waited = 0;
    for (const json& event : events) {
        if (event.at("event") == "step-end" && event.at("step") == 2) waited = event.at("t");
        if (event.at("event") == "step-end" && event.at("step") == 3) {
            EXPECT_EQ(event.at("why"), "input RefreshableObject is bound to nothing") << event;
        }
    }
    EXPECT_GE(waited, 900.0) << "the time-out of a second is on the timeline";
    const ProcessRun human = runStephost({"run", program.path()});
    for (const char* line : {"  2  GCUIConfirm        wait a second\n", "(step 1) operator answers (keyboard): 4711\n",
                             "(step 1) wrote Input = \"4711\"\n", "failed (0x80004005), "}) {
        EXPECT_NE(human.output.find(line), std::string::npos) << line << "\n" << human.output;
    }
    EXPECT_NE(human.output.find(": input RefreshableObject is bound to nothing\n"), std::string::npos) << human.output;
}

// Quotes, backslashes, control characters, any script, and bytes that are not
// UTF-8 at all, in a step's title and a message: the trace stays valid JSON and
// brings back every well-formed character exactly.
TEST(StepHostTrace, AnyTextAProgramHoldsStaysValidJson) {
    const std::string title = "say \"hi\" \\ back\tslash&#10;line&#1;bell &#x7f; \xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    const std::string decoded =
        "say \"hi\" \\ back\tslash\nline\x01"
        "bell \x7f \xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    TemporaryFile program(
        "<program name=\"bad \xFF\xC0\x80\xED\xA0\x80\xF4\x90\x80\x80 bytes\">\n<objects>"
        "<screen name=\"S\xE2\x82\"/></objects>\n<steps>\n<step class=\"GCUIMessage\" title='" +
        title + "'><parameter name=\"Message\">\xE2\x28\xA1 \"quoted\"</parameter></step>\n</steps>\n</program>\n");
    const std::vector<json> events = jsonTrace(program.path());
    ASSERT_GE(events.size(), 3u);
    EXPECT_EQ(events[1].at("title"), decoded);
    const std::string name = events[0].at("name");
    EXPECT_EQ(name.compare(0, 4, "bad "), 0) << name;
    EXPECT_NE(name.find("\xEF\xBF\xBD"), std::string::npos) << "bytes that are no UTF-8 become U+FFFD";
    bool shown = false;
    for (const json& event : events) {
        shown |= event.at("event") == "call" && std::string(event.at("call")).find("\"quoted\"") != std::string::npos;
    }
    EXPECT_TRUE(shown) << outline(events, {"call"});
}

TEST(StepHostTrace, TheWriterEscapesAndReplacesWhatJsonCannotHold) {
    struct Case {
        std::string text;
        std::string written;
    };
    const Case cases[] = {
        {"plain", "\"plain\""},
        {"\"\\/", "\"\\\"\\\\/\""},
        {std::string("\0\x01\x1f\x7f\b\f\n\r\t", 9), "\"\\u0000\\u0001\\u001f\\u007f\\b\\f\\n\\r\\t\""},
        {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF",
         "\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF\""},
        {"\xC0\x80", "\"\\ufffd\\ufffd\""},                        // an overlong NUL
        {"\xED\xA0\x80", "\"\\ufffd\\ufffd\\ufffd\""},             // a surrogate
        {"\xF4\x90\x80\x80", "\"\\ufffd\\ufffd\\ufffd\\ufffd\""},  // beyond U+10FFFF
        {"a\xE2\x82", "\"a\\ufffd\\ufffd\""},                      // cut short at the end
        {"\x80z\xFF", "\"\\ufffdz\\ufffd\""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(stephost::jsonString(c.text), c.written);
        EXPECT_NO_THROW(json::parse(stephost::jsonString(c.text))) << c.written;
    }
    const std::string line = stephost::JsonObject()
                                 .text("t", "x")
                                 .integer("i", -9007199254740993LL)
                                 .number("r", 0.1)
                                 .number("n", std::nan(""))
                                 .number("inf", std::numeric_limits<double>::infinity())
                                 .boolean("b", false)
                                 .null("z")
                                 .line();
    EXPECT_EQ(line, "{\"t\":\"x\",\"i\":-9007199254740993,\"r\":0.1,\"n\":null,\"inf\":null,\"b\":false,\"z\":null}");
    const json parsed = json::parse(line);
    EXPECT_EQ(parsed.at("i").get<int64_t>(), -9007199254740993LL);
    EXPECT_EQ(parsed.at("r").get<double>(), 0.1);
    EXPECT_EQ(json::parse(stephost::JsonObject().number("third", 1.0 / 3).line()).at("third").get<double>(), 1.0 / 3);
}

}  // namespace

namespace {

// The reports of a run with a password and a failing step: the JUnit XML
// parses, with a case per step named by its title (or class) and a failure,
// with code, name and reason, where the step failed; the page has an entry
// and a picture per step; neither shows the password.
TEST(StepHostTrace, TheReportsHoldACasePerStepTheFailuresAndNoPassword) {
    TemporaryFile program(
        "<program name=\"fails &lt;once&gt; \xFF\">\n<objects><screen name=\"Screen\"/></objects>\n<steps>\n"
        "<step class=\"GCUIInput\" title=\"the password\"><parameter name=\"Type\">Password</parameter>"
        "<parameter name=\"Wait\">1</parameter></step>\n<step class=\"GCUIRefresh\" title=\"nothing &amp; bound\"/>\n"
        "<step class=\"GCUIMessage\"><parameter name=\"Message\">service</parameter></step>\n</steps>\n"
        "<operator><keyboard>service</keyboard></operator>\n</program>\n");
    TemporaryFolder out;
    const ProcessRun run = runStephost({"run", "--report", out / "r.html", "--junit", out / "j.xml", program.path()});
    EXPECT_EQ(run.status, 1) << run.output;
    tinyxml2::XMLDocument junit;
    ASSERT_EQ(junit.LoadFile((out / "j.xml").c_str()), tinyxml2::XML_SUCCESS) << fileText(out / "j.xml");
    const tinyxml2::XMLElement* suite = junit.RootElement()->FirstChildElement("testsuite");
    ASSERT_NE(suite, nullptr);
    EXPECT_STREQ(suite->Attribute("tests"), "3");
    EXPECT_STREQ(suite->Attribute("failures"), "1");
    std::vector<std::string> cases;
    for (auto* testCase = suite->FirstChildElement("testcase"); testCase;
         testCase = testCase->NextSiblingElement("testcase")) {
        const tinyxml2::XMLElement* failure = testCase->FirstChildElement("failure");
        cases.push_back(std::string(testCase->Attribute("name")) + " | " + testCase->Attribute("classname") +
                        (failure ? std::string(" | ") + failure->Attribute("message") : ""));
        EXPECT_GE(testCase->DoubleAttribute("time", -1), 0.0);
        EXPECT_NE(testCase->FirstChildElement("system-out"), nullptr);
    }
    EXPECT_EQ(cases, (std::vector<std::string>{
                         "the password | GCUIInput",
                         "nothing & bound | GCUIRefresh | E_FAIL (0x80004005): input RefreshableObject is bound to "
                         "nothing",
                         "GCUIMessage | GCUIMessage"}));
    const std::string page = fileText(out / "r.html");
    const auto count = [&page](const std::string& part) {
        size_t found = 0;
        for (size_t at = page.find(part); at != std::string::npos; at = page.find(part, at + 1)) ++found;
        return found;
    };
    EXPECT_EQ(count("<section class=\"step "), 3u);
    EXPECT_EQ(count("<section class=\"step failed\""), 1u);
    EXPECT_EQ(count("class=\"screen\""), 3u);
    EXPECT_NE(page.find("fails &lt;once&gt; \xEF\xBF\xBD"), std::string::npos);
    for (const std::string& text : {page, fileText(out / "j.xml")}) {
        EXPECT_EQ(text.find("service"), std::string::npos) << text;
        EXPECT_NE(text.find("******"), std::string::npos);
    }
    EXPECT_EQ(runStephost({"run", "--report", "/nonexistent/r.html", program.path()}).status, 2);
}

// The picture of the screen, element by element: the active window, the tab
// in front, pressed and selected buttons, the message's text, a scroll
// position, a pointer event and a dialog; "changed" marks exactly what
// differs from the screen before.
TEST(StepHostTrace, TheScreensPictureDrawsItsStateAndMarksWhatChanged) {
    host::ScreenState before;
    before.windows.resize(1);
    before.windows[0].name = "Panel";
    before.windows[0].hosts = "Pump";
    before.windows[0].area[2] = 800;
    before.windows[0].area[3] = 600;
    before.tabs = {{"Views", 0, {"Setup", "Plot"}, 0}};
    before.buttons = {{"Bar", {{"Start", false, false, 201}, {"Stop", false, true, 202}}, {}}};
    before.scrollables = {{"Chart", {0, 0}, {60, 0}}};
    before.shown = {{"Screen", "GCUIMessage", "Preparing", true}};
    host::ScreenState after = before;
    after.windows[0].active = true;
    after.windows[0].pointerEvents = 1;
    after.windows[0].lastPointer.x = 400;
    after.tabs[0].selected = 1;
    after.buttons[0].buttons[0].pressed = true;
    after.buttons[0].commands = {202};
    after.scrollables[0].position[0] = 240;
    stephost::RunRecord::Question dialog;
    dialog.kind = "confirm";
    dialog.prompt = "Start?";
    dialog.closed = dialog.answered = true;
    dialog.reply = "yes";
    // Each group as "class | data-name | data-selected or data-position", by its place.
    const auto groups = [](const std::string& svg) {
        tinyxml2::XMLDocument document;
        EXPECT_EQ(document.Parse(svg.c_str()), tinyxml2::XML_SUCCESS) << svg;
        std::vector<std::string> found;
        std::vector<const tinyxml2::XMLElement*> open = {document.RootElement()};
        while (!open.empty()) {
            const tinyxml2::XMLElement* element = open.back();
            open.pop_back();
            for (auto* child = element ? element->LastChildElement() : nullptr; child;
                 child = child->PreviousSiblingElement()) {
                open.push_back(child);
            }
            if (!element || std::string(element->Name()) != "g") continue;
            const char* detail = element->Attribute("data-selected") ? element->Attribute("data-selected")
                                                                     : element->Attribute("data-position");
            found.push_back(std::string(element->Attribute("class")) + " | " + element->Attribute("data-name") +
                            (detail ? std::string(" | ") + detail : ""));
        }
        return found;
    };
    std::vector<std::string> changes;
    const std::string svg = stephost::screenSvg(after, before, {dialog}, &changes);
    EXPECT_EQ(groups(svg), (std::vector<std::string>{
                               "window active changed | Panel", "pointer changed | Panel", "message | GCUIMessage",
                               "tabs changed | Views | Plot", "tab | Setup", "tab selected | Plot", "buttons | Bar",
                               "button pressed changed | Start", "button selected changed | Stop", "scrollable | Chart",
                               "scrollbar changed | Chart.0 | 240.00", "dialog confirm closed changed | Start?"}));
    EXPECT_NE(svg.find(">Preparing</text>"), std::string::npos) << svg;
    EXPECT_EQ(changes.size(), 7u);
    for (const char* change : {"Views: Plot in front", "Bar.Stop up, selected, its command run once"}) {
        EXPECT_NE(std::find(changes.begin(), changes.end(), change), changes.end()) << change;
    }
    changes.clear();
    EXPECT_EQ(stephost::screenSvg(after, after, {}, &changes).find("changed"), std::string::npos);
    EXPECT_TRUE(changes.empty());
    host::ScreenState closed = after;
    closed.shown.clear();
    EXPECT_EQ(stephost::screenSvg(closed, after, {}, &changes).find("message"), std::string::npos);
    EXPECT_EQ(changes, std::vector<std::string>{"Screen.GCUIMessage closed"});
}

}  // namespace
