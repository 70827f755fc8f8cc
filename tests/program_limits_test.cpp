// Bounded work and clear refusals: program and settings files far larger than
// any author writes are read or refused in linear time, refusals name the line
// in the reader's own words, and what they echo stays short.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "host/Files.h"
#include "host/SettingsStore.h"
#include "host/Variants.h"
#include "stephost/ProgramReader.h"
#include "support/StepHost.h"

namespace {

// Seconds that a plain build on an idle machine needs far less than; a
// sanitizer or an emulator gets four times as many.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr double kSeconds = 20.0;
#else
const double kSeconds = std::string(FLUKO_EMULATOR).empty() ? 5.0 : 20.0;
#endif

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string refusal(const std::string& text) {
    stephost::ProgramFile program;
    std::string error;
    EXPECT_FALSE(stephost::parseProgram(text, program, error)) << text.substr(0, 200);
    return error;
}

std::string withObject(const std::string& object) {
    return "<program>\n<objects>\n" + object + "\n</objects>\n</program>\n";
}

TEST(ProgramLimits, AnElementWithTooManyAttributesIsRefusedAtOnce) {
    std::string attributes;
    for (int i = 0; i < 100000; ++i) attributes += " a" + std::to_string(i) + "=\"" + std::to_string(i) + "\"";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(refusal(withObject("<refreshable name=\"View\"\n" + attributes + "/>")),
              "line 3: <refreshable> has more than 100 attributes");
    EXPECT_LT(secondsSince(start), kSeconds);

    // Up to the limit, quoted ">" and comments that look like tags included, it is read.
    std::string most;
    for (int i = 0; i < 99; ++i) most += " a" + std::to_string(i) + "='>'";
    stephost::ProgramFile program;
    std::string error;
    ASSERT_TRUE(stephost::parseProgram(
        withObject("<!-- <x a='1' b='2'> -->\n<refreshable name=\"View\"" + most + "/><![CDATA[ \" ]]>"), program,
        error))
        << error;
    ASSERT_EQ(program.objects.size(), 1u);
    EXPECT_EQ(program.objects[0].attributes.size(), 99u);
    EXPECT_EQ(program.objects[0].line, 4);
}

// A step's parameters are set one by one, each looked up among those before it.
TEST(ProgramLimits, AStepHoldsAtMostAThousandParameters) {
    std::string parameters;
    for (int i = 0; i < 1000; ++i) parameters += "<parameter name=\"p" + std::to_string(i) + "\">1</parameter>\n";
    const std::string step = "<program>\n<steps>\n<step class=\"GCUIPropWrite\">\n" + parameters;
    stephost::ProgramFile program;
    std::string error;
    ASSERT_TRUE(stephost::parseProgram(step + "</step>\n</steps>\n</program>\n", program, error)) << error;
    EXPECT_EQ(program.steps.at(0).parameters.size(), 1000u);
    EXPECT_EQ(refusal(step + "<parameter name=\"more\"/>\n</step>\n</steps>\n</program>\n"),
              "line 1004: a step holds at most 1000 parameters");
}

TEST(ProgramLimits, ManyObjectsWithOneNameAreFoundInLinearTime) {
    std::string objects;
    for (int i = 0; i < 50000; ++i) objects += "<object name=\"o" + std::to_string(i) + "\"/>\n";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(refusal(withObject(objects + "<object name=\"o7\"/>")),
              "line 50003: an object named \"o7\" exists already");
    EXPECT_LT(secondsSince(start), kSeconds);
}

TEST(ProgramLimits, RefusalsAreInTheReadersOwnWordsAndEchoNamesShort) {
    struct Case {
        std::string text;
        std::string error;
    };
    const std::string longName(1 << 20, 'n');
    const std::string cut = std::string(60, 'n') + "...";
    const Case cases[] = {
        {"<program>\n<steps>\n<step class='A'>\n</steps>",
         "line 3: not well-formed XML: an element is not closed, or its end tag names another"},
        {"<program>\n<steps a=1/>\n</program>",
         "line 2: not well-formed XML: an attribute is not written name=\"value\""},
        {"<program>\n<!-- open\n</program>", "line 2: not well-formed XML: a comment is not closed with -->"},
        {"<program>\n <steps>\n  <step class=\"A\"/>\n\n <x>",
         "line 5: not well-formed XML: an element is not closed, or its end tag names another"},
        {"<program>\n <steps>\n  <step class=\"A\"\n\n",
         "line 3: not well-formed XML: an element's tag is not closed with > or />"},
        {"   \n\n", "line 1: not well-formed XML: the file holds no element"},
        {withObject("<" + longName + "/>"), "line 3: unknown kind of object <" + cut + ">"},
        {withObject("<object name=\"" + longName + "\"/><object name=\"" + longName + "\"/>"),
         "line 3: an object named \"" + cut + "\" exists already"},
        {"<program>\n<" + longName + "/>\n</program>",
         "line 2: unknown section <" + cut + ">; a program holds <objects>, <steps> and <operator>"},
        {std::string("\xFE\xFF\0<\0p", 6),
         "line 1: the file is UTF-16 or UTF-32 (its first bytes say so); save it as UTF-8"},
        {std::string("<\0p\0r\0\n\0", 8), "line 1: the file holds NUL bytes, as UTF-16 does; save it as UTF-8"},
        {std::string("<program>\n<steps/>\n") + '\0' + "\n</program>",
         "line 3: the file holds NUL bytes, as UTF-16 does; save it as UTF-8"},
    };
    for (const Case& c : cases) {
        const std::string error = refusal(c.text);
        EXPECT_EQ(error, c.error) << c.text.substr(0, 200);
        EXPECT_EQ(error.find("XML_"), std::string::npos) << error.substr(0, 200);
        EXPECT_LT(error.size(), 200u);
    }
    // A name that is cut keeps its characters whole.
    EXPECT_EQ(stephost::shown(std::string(59, 'x') + "\xC3\xA9\xC3\xA9"), std::string(59, 'x') + "\xC3\xA9...");
    EXPECT_EQ(stephost::shown(std::string(60, 'x')), std::string(60, 'x'));
}

// A settings file of 100 000 keys reads in linear time (at most thirty times
// a tenth as many keys take, however slow the build or busy the machine;
// quadratic would be a hundred), names still matched ignoring case and a key
// set twice keeping its last value.
TEST(ProgramLimits, AHugeSettingsFileIsReadInLinearTime) {
    const auto settings = [](int keys) {
        std::string text = "[Mappings]\n";
        for (int i = 0; i < keys; ++i) text += "Key" + std::to_string(i) + "=/media/" + std::to_string(i) + "\n";
        return text + "[workspace]\nInstallPath=/opt/first\n[Workspace]\nINSTALLPATH=/opt/second\n";
    };
    const std::string tenth = settings(10000);
    const std::string text = settings(100000);
    auto start = std::chrono::steady_clock::now();
    host::make<host::Registry>()->parse(tenth);
    const double tenthSeconds = secondsSince(start);
    SmartPtr<host::Registry> store = host::make<host::Registry>();
    start = std::chrono::steady_clock::now();
    store->parse(text);
    EXPECT_LT(secondsSince(start), 30 * tenthSeconds + 0.2);
    for (const auto& key : {std::make_pair(L"KEY99999", L"/media/99999"), std::make_pair(L"key0", L"/media/0")}) {
        SmartPtr<IString> value;
        ASSERT_EQ(store->GetValue(host::makeString(L"mappings").get(), host::makeString(key.first).get(), value.put()),
                  S_OK);
        EXPECT_EQ(host::textOf(value.get()), key.second);
    }
    SmartPtr<IString> path;
    ASSERT_EQ(store->GetValue(host::makeString(L"Workspace").get(), host::makeString(L"installpath").get(), path.put()),
              S_OK);
    EXPECT_EQ(host::textOf(path.get()), L"/opt/second");
    SmartPtr<INamedCollection> section;
    ASSERT_EQ(store->get_Section(host::makeString(L"MAPPINGS").get(), section.put()), S_OK);
    int32_t count = 0;
    section->get_Count(&count);
    EXPECT_EQ(count, 100000);

    TemporaryFile utf16(std::string("\xFF\xFE[\0W\0]\0", 8));
    std::string error;
    EXPECT_FALSE(store->load(utf16.path(), &error));
    EXPECT_EQ(error, utf16.path() + ":1: the file is UTF-16 or UTF-32 (its first bytes say so); save it as UTF-8");
}

// A check of 10 000 Edit steps, the class with the most parameters and
// inputs, checks, saves, reloads and compares every form within 5 seconds and
// 500 MB on two cores. A sanitizer or an emulator checks a tenth as many in
// the same time. The time allowed grows with the machine's load, which a test
// cannot choose: when a check of a tenth as many steps, just before, shows
// the machine slower, the big one may take twenty times that (tests running
// beside it come and go), which time growing with the square of the steps
// would still exceed five times over.
TEST(ProgramLimits, TenThousandStepsCheckWithinFiveSeconds) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    const bool slowed = true;
#else
    const bool slowed = std::string(FLUKO_EMULATOR).size() > 0;
#endif
    const int steps = slowed ? 1000 : 10000;
    const auto programOf = [](int count) {
        std::string program = "<program name=\"big\">\n<objects><editable name=\"Pump\"/></objects>\n<steps>\n";
        for (int i = 0; i < count; ++i) {
            program += "<step class=\"GCUIEdit\" title=\"edit " + std::to_string(i) +
                       "\"><input name=\"Edit1\" object=\"Pump\"/><parameter name=\"Caption\">Pump " +
                       std::to_string(i) + "</parameter><parameter name=\"ShowClose\">Show</parameter></step>\n";
        }
        return program + "</steps>\n</program>\n";
    };
    TemporaryFile tenth(programOf(steps / 10)), file(programOf(steps));
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(runStephost({"check", tenth.path()}).status, 0);
    const double small = secondsSince(start);
    double load = 0;
    std::ifstream("/proc/loadavg") >> load;
    const double allowed =
        std::max(5.0 * std::max(1.0, (load + 1.0) / std::max(1u, std::thread::hardware_concurrency())), 20.0 * small);
    start = std::chrono::steady_clock::now();
    const ProcessRun check = runStephost({"check", file.path()});
    const double took = secondsSince(start);
    EXPECT_EQ(check.status, 0) << check.output.substr(0, 2000);
    EXPECT_NE(check.output.find("program  " + std::to_string(steps) + " steps  identical after reloading"),
              std::string::npos)
        << check.output.substr(0, 2000);
    EXPECT_LT(took, allowed) << steps << " steps, load " << load << ", a tenth as many " << small << " s";
    rusage children{};
    getrusage(RUSAGE_CHILDREN, &children);
    if (!slowed) {
        EXPECT_LT(children.ru_maxrss, 500 * 1024) << "kilobytes";
    }
}

// A write cut short (here by the file size limit) leaves the old file whole
// and no temporary file beside it.
TEST(ProgramLimits, AWriteCutShortLeavesTheOldFileWhole) {
    TemporaryFolder folder;
    const std::string file = folder / "steps.xml";
    ASSERT_TRUE(host::writeWholeFile(file, "previous"));
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small = before;
    small.rlim_cur = 4096;
    sighandler_t handler = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    std::string error;
    const bool written = host::writeWholeFile(file, std::string(1 << 20, 'x'), &error);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    EXPECT_FALSE(written);
    EXPECT_EQ(error.compare(0, 14 + file.size(), "cannot write " + file + ":"), 0) << error;
    EXPECT_EQ(fileText(file), "previous");
    size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) files += entry.is_regular_file();
    EXPECT_EQ(files, 1u);
}

}  // namespace
