// The reference host as a newcomer meets it: a process run on the example
// programs and on broken ones.
#include "support/StepHost.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "host/FolderStream.h"
#include "host/XmlStream.h"
#include "stephost/StepMeanings.h"

namespace {

using Outcome = ProcessRun;

// Run from the project's root, as `make demo` runs it: the module is found
// beside stephost, the program relative to the caller's folder.
TEST(StepHost, RunsTheDemonstrationFromTheProjectRootWithATrace) {
    const Outcome run = runStephost({"run", "examples/demo.xml"}, FLUKO_SOURCE_DIR);
    EXPECT_EQ(run.status, 0) << run.output;
    for (const char* line :
         {"program  Measuring run on the pump test stand: 15 steps",
          "PanelWindow    get_HostedObject\n"
          "                        MeasuringPanel Activate(1)",
          "Screen         Add(GCUIMessage \"Preparing the measuring run\")",
          "operator is asked (confirm): Start the measuring run?", "operator answers (confirm): yes",
          "wrote Response = 6", "operator answers (keyboard): 4711", "wrote Input = \"4711\"",
          "Views          Measurement.Select(1, 1): Plot in front", "Toolbar        Start.Press",
          "Pump           SetProperty(100, 1500)", "wrote Speed = 1500", "PumpMenu       DoAction(7)",
          "Chart          put_Scroll(0, 240, 60)", "LivePlot       Refresh(9)", "ReportView     Refresh(0)",
          "finished 15 steps, all succeeded"}) {
        EXPECT_NE(run.output.find(line), std::string::npos) << line << "\n" << run.output;
    }
    EXPECT_EQ(run.output.find("failed"), std::string::npos) << run.output;
    EXPECT_EQ(run.output.find("0x7f"), std::string::npos) << "no pointer values: " << run.output;
    EXPECT_EQ(run.output.find("host objects still alive"), std::string::npos) << run.output;
}

// Each example's effects, in the order the trace tells them, and what must
// not happen.
TEST(StepHost, EachExampleShowsItsEffectsInOrder) {
    struct Case {
        const char* example;
        std::vector<const char*> lines;
        std::vector<const char*> absent;
    };
    const Case cases[] = {
        {"activate.xml",
         {"PanelWindow    get_HostedObject\n"
          "                        Panel          Activate(0)"},
         {}},
        {"button-select.xml",
         {"Tools          RunCommand(102)", "Pumps          Start.Unpress", "Modes          put_PropertyAll(15, 0)",
          "Modes          Auto.put_Property(15, 1)"},
         {"Hold.Unpress"}},  // a toggle stays pressed
        {"property-read.xml",
         {"wrote Exposure = 20", "wrote Mode = 1", "wrote Gain = 2.5", "wrote Label = \"Front door\""},
         {}},
        {"property-write.xml",
         {"Camera         SetProperty(100, 35)", "Camera         PutPropertyObject(103, \"Back door\")",
          "wrote Exposure = 35", "wrote Label = \"Back door\""},
         {"SetProperty(101"}},  // only the given properties change
        {"message.xml",
         {"Screen         Add(GCUIMessage \"Filling the tank\")",
          "Screen         Remove(0) closes GCUIMessage \"Filling the tank\"",
          "Screen         Remove(0) closes GCUIMessage \"Rinsing\""},
         {}},
        {"pointer.xml",
         {"Desk           SendMouse(1, 0, 0, 400, 300, (10, 20, 800, 600))",
          "Desk           Plot.SendMouse(2, 3, 8, 150, 60, (100, 50, 200, 100))"},
         {}},
        {"edit.xml",
         {"Inspector      ShowObject(0, Editor, 0)", "Editor         AddObject(Valve, 0xC0)",
          "Editor         put_Options(0x2A7)",
          "Editor         Advise(1)\n"
          "                        wrote ReturnCode = 1"},
         {}},
        {"scroll.xml",
         {"Chart          get_Scroll(1) -> 120.5, 40", "wrote Pos = 120.5", "wrote PageSize = 40",
          "Chart          put_Scroll(1, 0, 40)", "Chart          put_Scroll(0, 5, 25)"},
         {}},
        {"tab-select.xml",
         {"Main           get_Index(Results) -> 2", "Main           Select(2, 1): Results in front",
          "Main           Results.Select(2, 1): Plot in front", "Main           Results.Refresh(0)"},
         {}},
        {"selected-tab.xml", {"wrote Index = 1", "wrote Name = \"Results\"", "wrote Index = -1"}, {}},
        {"confirm.xml", {"wrote Response = 6", "wrote Response = -1"}, {}},
        {"input.xml", {"wrote Input = \"Batch 42\"", "wrote Input = 2", "wrote Input = \"run42.csv\""}, {}},
        // A text setting, blanks first, after the number.
        {"verb.xml", {"Pump           DoAction(5)", "Pump           DoAction(9)"}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.example);
        const Outcome run = runStephost({"run", example(c.example)});
        EXPECT_EQ(run.status, 0) << run.output;
        size_t from = 0;
        for (const char* line : c.lines) {
            from = run.output.find(line, from);
            EXPECT_NE(from, std::string::npos) << line << "\n" << run.output;
            if (from == std::string::npos) from = 0;
        }
        for (const char* line : c.absent) EXPECT_EQ(run.output.find(line), std::string::npos) << line;
        EXPECT_EQ(run.output.find("host objects still alive"), std::string::npos) << run.output;
    }
}

// Every step runs to its effect among the others.
TEST(StepHost, TheProgramOfEveryStepRunsEachToItsEffect) {
    const Outcome run = runStephost({"run", example("all-steps.xml")});
    for (const char* effect :
         {"Panel          Activate(0)", "Toolbar        RunCommand(102, 0)",
          "Screen         Add(GCUIMessage \"Measuring, please wait\")",
          "Desk           Chart.SendMouse(1, 3, 0, 920, 420, (200, 100, 600, 400))", "StatusView     Refresh(9)",
          "Chart          put_Scroll(1, 40, 10)", "wrote Name = \"Setup\"",
          "Tabs           Results.Select(1, 1): Plot in front", "wrote Response = 6", "wrote Input = \"4711\"",
          "wrote Speed = 1200", "Pump           SetProperty(100, 1500)", "PumpMenu       DoAction(5)"}) {
        EXPECT_NE(run.output.find(effect), std::string::npos) << effect << "\n" << run.output;
    }
    EXPECT_EQ(run.output.find("host objects still alive"), std::string::npos) << run.output;
}

TEST(StepHost, EveryExampleSurvivesSavingAndReloading) {
    for (const char* name :
         {"demo.xml", "refresh.xml", "all-steps.xml", "activate.xml", "button-select.xml", "message.xml", "pointer.xml",
          "scroll.xml", "tab-select.xml", "selected-tab.xml", "verb.xml", "property-read.xml", "property-write.xml",
          "confirm.xml", "input.xml", "edit.xml"}) {
        const Outcome run = runStephost({"check", example(name)});
        EXPECT_EQ(run.status, 0) << name << "\n" << run.output;
        for (const char* form : {"xml      ", "folder   ", "program  "}) {
            EXPECT_NE(run.output.find(form), std::string::npos) << form << "\n" << run.output;
        }
        EXPECT_EQ(run.output.find("DIFFERENT"), std::string::npos) << run.output;
        // Saved as a program file, read back and saved again: the same bytes.
        TemporaryFile once(""), twice("");
        ASSERT_EQ(runStephost({"save", example(name), "--program", once.path()}).status, 0) << name;
        ASSERT_EQ(runStephost({"save", once.path(), "--program", twice.path()}).status, 0) << fileText(once.path());
        EXPECT_EQ(fileText(once.path()), fileText(twice.path())) << name;
    }
    TemporaryFile xml(""), folder("");
    const Outcome saved =
        runStephost({"save", example("all-steps.xml"), "--xml", xml.path(), "--folder", folder.path()});
    ASSERT_EQ(saved.status, 0) << saved.output;
    std::string error;
    SmartPtr<host::XmlStream> document = host::XmlStream::loadFile(xml.path(), &error);
    ASSERT_TRUE(document) << error;
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    ASSERT_TRUE(stream->loadFile(folder.path(), &error)) << error;
    EXPECT_EQ(stream->names().size(), 14u);
    std::ifstream xmlFile(xml.path());
    const std::string xmlText((std::istreambuf_iterator<char>(xmlFile)), std::istreambuf_iterator<char>());
    EXPECT_NE(xmlText.find("<Name>StatusView</Name>"), std::string::npos) << "input bindings beside each step";
    EXPECT_EQ(stream->classOf(L"Step14"), L"GCUIVerb");
    // What stephost writes, stephost reads: the stored steps run with the program's objects.
    for (const std::string from : {"--from-xml", "--from-folder"}) {
        const std::string stored = from == "--from-xml" ? xml.path() : folder.path();
        const Outcome run = runStephost({"run", example("all-steps.xml"), from, stored});
        EXPECT_EQ(run.status, 0) << run.output;
        // The Verb step stores its verb in a folder stream only.
        const char* verb = from == "--from-xml" ? "PumpMenu       DoAction(0)" : "PumpMenu       DoAction(5)";
        EXPECT_NE(run.output.find(verb), std::string::npos) << run.output;
        EXPECT_EQ(runStephost({"check", example("all-steps.xml"), from, stored}).status, 0) << from;
        const Outcome direct = runStephost({"run", stored});
        EXPECT_EQ(direct.status, 2);
        EXPECT_NE(direct.output.find(from + " beside the program file"), std::string::npos) << direct.output;
    }
    TemporaryFile program("");
    ASSERT_EQ(runStephost({"save", example("demo.xml"), "--program", program.path()}).status, 0);
    const Outcome demo = runStephost({"run", program.path()}, FLUKO_SOURCE_DIR);
    EXPECT_EQ(demo.status, 0) << demo.output;
    EXPECT_NE(demo.output.find("finished 15 steps, all succeeded"), std::string::npos) << demo.output;
}

TEST(StepHost, BrokenProgramsAreNamedByLineAndRefused) {
    struct Case {
        std::string text;
        const char* message;
    };
    const Case cases[] = {
        {"<program>\n<steps>\n<step class=\"GCUIRefresh\">\n</steps>\n",
         ":3: not well-formed XML: an element is not closed, or its end tag names another"},
        {"<program>\n<steps>\n  <step class=\"GCUINoSuch\"/>\n</steps>\n</program>\n",
         ":3: the module has no step class"},
        {"<program>\n<steps>\n<step class=\"GCUIRefresh\">\n<parameter "
         "name=\"Later\">1</parameter>\n</step>\n</steps>\n"
         "</program>\n",
         ":4: GCUIRefresh has no parameter \"Later\"; its parameters are Immediate"},
        {"<program>\n<steps>\n<step class=\"GCUIRefresh\">\n\n<input name=\"RefreshableObject\" object=\"Nowhere\"/>\n"
         "</step>\n</steps>\n</program>\n",
         ":5: no object is named \"Nowhere\""},
        {"<program>\n<objects><object name=\"A\"/></objects>\n<steps>\n<step class=\"GCUIRefresh\">\n"
         "<input name=\"Other\" object=\"A\"/>\n</step>\n</steps>\n</program>\n",
         ":5: GCUIRefresh has no input \"Other\"; its inputs are RefreshableObject"},
        {"<program>\n<objects><object name=\"A\"/></objects>\n<steps>\n<step class=\"GCTabSelect\">\n"
         "<input name=\"TabbedWindows\" object=\"A\" index=\"two\"/>\n</step>\n</steps>\n</program>\n",
         ":5: the index is not a whole number"},
        {"<program>\n<operator>\n<confirm delay=\"soon\">yes</confirm>\n</operator>\n</program>\n", ":3:"},
        {"<plan/>\n", ":1: the root element is <program>"},
        {"", ":1: not well-formed XML: the file holds no element"},
        {"<program>\n<steps>\n<step class=\"GCUIRefresh\" title=\"a\" title=\"b\"/>\n</steps>\n</program>\n",
         ":3: not well-formed XML: an attribute is not written name=\"value\""},
        {std::string("\xFF\xFE<\0p\0", 6),
         ":1: the file is UTF-16 or UTF-32 (its first bytes say so); save it as UTF-8"},
    };
    for (const Case& c : cases) {
        TemporaryFile file(c.text);
        const Outcome run = runStephost({"run", file.path()});
        EXPECT_EQ(run.status, 2) << c.text << "\n" << run.output;
        EXPECT_NE(run.output.find(file.path() + c.message), std::string::npos) << c.text << "\n" << run.output;
        EXPECT_EQ(run.output.find("XML_"), std::string::npos) << "in stephost's own words: " << run.output;
    }
    // A name or value of a megabyte is echoed by its first 60 characters.
    const std::string longName(1 << 20, 'n');
    for (const std::string& text :
         {"<program>\n<steps>\n<step class=\"" + longName + "\"/>\n</steps>\n</program>\n",
          "<program>\n<objects>\n<scrollable name=\"C\" pos0=\"" + longName + "\"/>\n</objects>\n</program>\n"}) {
        TemporaryFile file(text);
        const Outcome run = runStephost({"run", file.path()});
        EXPECT_EQ(run.status, 2) << run.output.substr(0, 300);
        EXPECT_NE(run.output.find(file.path() + ":3: "), std::string::npos) << run.output.substr(0, 300);
        EXPECT_NE(run.output.find(std::string(60, 'n') + "...\""), std::string::npos) << run.output.substr(0, 300);
        EXPECT_LT(run.output.size(), 600u);
    }
}

// A program's author and CI tell the outcomes apart by the exit code alone.
TEST(StepHost, ExitCodesTellWhatWentWrong) {
    TemporaryFile failing(
        "<program>\n<steps>\n<step class=\"GCUIRefresh\" title=\"nothing to refresh\"/>\n"
        "<step class=\"GCUIMessage\" title=\"still runs\"/>\n</steps>\n</program>\n");
    const Outcome failed = runStephost({"run", failing.path()});
    EXPECT_EQ(failed.status, 1) << failed.output;
    EXPECT_NE(failed.output.find("failed (0x80004005)"), std::string::npos) << failed.output;
    EXPECT_NE(failed.output.find("finished 2 steps, 1 failed"), std::string::npos) << failed.output;

    EXPECT_EQ(runStephost({"run", "/nonexistent/program.xml"}).status, 2);
    TemporaryFile utf16Settings(std::string("\xFF\xFE[\0W\0]\0", 8));
    const Outcome settings = runStephost({"--settings", utf16Settings.path(), "run", example("refresh.xml")});
    EXPECT_EQ(settings.status, 2) << settings.output;
    EXPECT_NE(settings.output.find(utf16Settings.path() + ":1: the file is UTF-16"), std::string::npos)
        << settings.output;
    EXPECT_EQ(runStephost({"--settings", "/nonexistent/settings.ini", "classes"}).status, 2);

    const Outcome noModule = runStephost({"--module", "/nonexistent/Flukokzad.so", "classes"});
    EXPECT_EQ(noModule.status, 3) << noModule.output;
    EXPECT_NE(noModule.output.find("cannot load /nonexistent/Flukokzad.so"), std::string::npos) << noModule.output;

    // A command line stephost does not understand: the one thing wrong, and where to read more.
    const struct {
        std::vector<std::string> words;
        const char* wrong;
    } usages[] = {
        {{}, "no command: run, save, check, describe or classes"},
        {{"fly", "x"}, "unknown command fly: the commands are run, save, check, describe and classes"},
        {{"run"}, "run needs a program file"},
        {{"run", "a.xml", "b.xml"}, "run takes one program file, not 2"},
        {{"--fast", "classes"}, "unknown option --fast"},
        {{"classes", "--module"}, "--module needs the module's path"},
        {{"--trace", "xml", "run", "a.xml"}, "--trace is human or json, not xml"},
        {{"save", "a.xml"}, "save needs an output: --program, --xml or --folder"},
        {{"run", "a.xml", "--xml", "b.xml"}, "--xml belongs to save, not to run"},
    };
    for (const auto& usage : usages) {
        const Outcome run = runStephost(usage.words);
        EXPECT_EQ(run.status, 64) << run.output;
        EXPECT_EQ(run.output, "stephost: " + std::string(usage.wrong) + "; see stephost --help\n");
    }
    const Outcome help = runStephost({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* line : {"check FILE", "describe [CLASS...]", "--trace human|json", "--module PATH",
                             "exit codes:", "  0 ", "  1 ", "  2 ", "  3 ", "  64 ", "  70 "}) {
        EXPECT_NE(help.output.find(line), std::string::npos) << line << "\n" << help.output;
    }
    const Outcome version = runStephost({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output.rfind("stephost 0.", 0), 0u) << version.output;
    // A file that cannot be read says why, in the system's words.
    const Outcome missing = runStephost({"run", "/nonexistent/program.xml"});
    EXPECT_EQ(missing.output, "stephost: cannot read /nonexistent/program.xml: No such file or directory\n");
    EXPECT_NE(runStephost({"check", "/tmp"}).output.find("cannot read /tmp: Is a directory"), std::string::npos);
}

// The module is found beside stephost's own file, links followed, whatever the
// caller's folder; --module names another.
TEST(StepHost, FindsItsModuleFromAnyFolder) {
    TemporaryFolder folder;
    std::filesystem::create_symlink(std::string(FLUKO_BINARY_DIR) + "/stephost", folder / "stephost");
    const Outcome linked = runProcess({folder / "stephost", "run", example("refresh.xml")}, folder.path());
    EXPECT_EQ(linked.status, 0) << linked.output;
    EXPECT_NE(linked.output.find("MainView       Refresh(9)"), std::string::npos) << linked.output;

    const Outcome named =
        runStephost({"--module", std::string(FLUKO_BINARY_DIR) + "/_binlinux/Flukokzad.so", "classes"}, folder.path());
    EXPECT_EQ(named.status, 0) << named.output;
    EXPECT_NE(named.output.find("GCUIVerb"), std::string::npos) << named.output;
    EXPECT_EQ(runStephost({"classes"}, "/").status, 0);
}

// Saving writes a new file and renames it into place: the old one stays whole
// until then, and a program file is never the output.
TEST(StepHost, SavingNeverLosesTheOldFile) {
    TemporaryFolder folder;
    const std::string broken = folder / "broken.xml";
    std::ofstream(broken) << "<program>\n<steps>\n";
    const Outcome refused = runStephost({"save", broken, "--xml", broken});
    EXPECT_EQ(refused.status, 2) << refused.output;
    EXPECT_EQ(fileText(broken), "<program>\n<steps>\n");

    const std::string program = folder / "program.xml";
    std::filesystem::copy_file(example("refresh.xml"), program);
    const Outcome itself = runStephost({"save", program, "--folder", folder / "steps.folder", "--xml", program});
    EXPECT_EQ(itself.status, 64) << itself.output;
    EXPECT_NE(itself.output.find("is the program file"), std::string::npos) << itself.output;
    EXPECT_EQ(fileText(program), fileText(example("refresh.xml")));
    EXPECT_FALSE(std::filesystem::exists(folder / "steps.folder")) << "nothing is written when one output is refused";

    // A second name for the old file keeps the old text: it was replaced, not rewritten.
    const std::string saved = folder / "steps.xml";
    std::ofstream(saved) << "previous";
    std::filesystem::permissions(saved, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write |
                                            std::filesystem::perms::group_read);
    std::filesystem::create_hard_link(saved, folder / "previous.xml");
    const Outcome save = runStephost({"save", program, "--xml", saved});
    ASSERT_EQ(save.status, 0) << save.output;
    EXPECT_EQ(fileText(folder / "previous.xml"), "previous");
    EXPECT_NE(fileText(saved).find("<GCUIRefresh>"), std::string::npos) << fileText(saved);
    EXPECT_EQ(
        std::filesystem::status(saved).permissions() & std::filesystem::perms::all,
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_write | std::filesystem::perms::group_read);
    size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) files += entry.is_regular_file();
    EXPECT_EQ(files, 4u) << "no temporary file is left";

    // A device takes the text as it comes, and stays a device (a null device of
    // the test's own, where it may make one, so that a fault harms no other).
    const std::string device = folder / "null";
    if (mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0) {
        EXPECT_EQ(runStephost({"save", program, "--xml", device}).status, 0);
        EXPECT_TRUE(std::filesystem::is_character_file(device));
    }
    const Outcome nowhere = runStephost({"save", program, "--xml", "/nonexistent/steps.xml"});
    EXPECT_EQ(nowhere.status, 2) << nowhere.output;
    EXPECT_NE(nowhere.output.find("cannot write /nonexistent/steps.xml"), std::string::npos) << nowhere.output;
}

// The step reference is what the module declares, asked through its
// interfaces, with a line of meaning for every class, input and parameter and
// none for what it does not declare; docs/steps.md is what it prints.
TEST(StepHost, TheStepReferenceTellsWhatTheModuleDeclaresWithItsMeanings) {
    const Outcome md = runStephost({"describe", "--format", "md"});
    ASSERT_EQ(md.status, 0) << md.output;
    EXPECT_EQ(md.output, fileText(std::string(FLUKO_SOURCE_DIR) + "/docs/steps.md"))
        << "docs/steps.md is out of date: stephost describe --format md > docs/steps.md";
    size_t count = 0;
    const stephost::Meaning* meanings = stephost::allMeanings(count);
    for (size_t i = 0; i < count; ++i) {
        const std::string section =
            md.output.substr(md.output.find(std::string("\n## ") + meanings[i].className + "\n"));
        const std::string own = section.substr(0, section.find("\n## ", 1));
        const std::string row = std::string("| `") + meanings[i].name + "` |";
        EXPECT_TRUE(*meanings[i].name == 0 || own.find(row) != std::string::npos)
            << meanings[i].className << " declares no " << meanings[i].name;
    }
    EXPECT_EQ(md.output.find(" |  |\n"), std::string::npos) << "every input and parameter has its meaning";
    // The manual page's section of the classes says what each does, as describe does.
    std::string manual = fileText(std::string(FLUKO_SOURCE_DIR) + "/cmake/packaging/stephost.1");
    for (size_t at = manual.find("\\-"); at != std::string::npos; at = manual.find("\\-", at)) manual.erase(at, 1);
    for (size_t i = 0; i < count; ++i) {
        if (*meanings[i].name) continue;
        EXPECT_NE(manual.find(std::string(".B ") + meanings[i].className + "\n" + meanings[i].text + "\n"),
                  std::string::npos)
            << meanings[i].className;
    }
    const Outcome text = runStephost({"describe", "GCUIPointer"});
    EXPECT_NE(text.output.find("parameter 4 State: choice, 0 (OVER) [0x43]\n      choices 0 OVER, 1 UP, 2 DOWN\n"),
              std::string::npos)
        << text.output;
    EXPECT_EQ(text.output.find("GCUIScroll"), std::string::npos) << "only the class asked for";
    EXPECT_EQ(runStephost({"describe", "GCUIScrol"}).status, 64);
}

// Each mistake is refused before anything runs, with its line, what is wrong
// and what would be right; what a program may mean is a warning, an error
// with --strict.
TEST(StepHost, ProgramsAreCheckedBeforeAnythingRuns) {
    TemporaryFile mistakes(
        "<program name=\"mistakes\">\n<objects>\n<object name=\"Pump\"/>\n<refreshable name=\"MainView\"/>\n"
        "<tabs name=\"Tabs\"><tab name=\"Setup\"/><tab name=\"Results\"/></tabs>\n"
        "<buttons name=\"Bar\"><button name=\"Start\"/></buttons>\n</objects>\n<steps>\n"
        "<step class=\"GCUIRefresh\" tittle=\"typo\">\n<parameter name=\"Immediate\">yes</parameter>\n"
        "<input name=\"RefreshableObject\" object=\"Pump\"/>\n</step>\n"
        "<step class=\"GCUIScroll\"><parameter name=\"Position\">3</parameter>"
        "<parameter name=\"Operation\">SetPosition</parameter></step>\n"
        "<step class=\"GCUIRefrsh\"/>\n"
        "<step class=\"GCUIConfirm\"><parameter name=\"Style\">Yes No</parameter></step>\n"
        "<step class=\"GCUIInput\"><parameter name=\"Type\">Integer</parameter></step>\n"
        "<step class=\"GCTabSelect\"><input name=\"TabbedWindows\" object=\"Tabs\" item=\"Reslts\"/></step>\n"
        "<step class=\"GCUIButtonSelect\"><parameter name=\"Button\">Stop</parameter>"
        "<input name=\"Buttons\" object=\"Bar\"/></step>\n</steps>\n"
        "<operator>\n<confirm>ok</confirm>\n<keyboard>twelve</keyboard>\n<editor>aply</editor>\n</operator>\n</"
        "program>\n");
    const std::string file = mistakes.path();
    for (const char* command : {"run", "check"}) {
        const Outcome refused = runStephost({command, file});
        EXPECT_EQ(refused.status, 2) << refused.output;
        EXPECT_EQ(refused.output.find("program  "), std::string::npos) << "nothing runs: " << refused.output;
        for (const std::string line :
             {":9: <step> has no attribute \"tittle\"; it takes title, class\n",
              ":10: \"yes\" is not a value of Immediate; Immediate takes a whole number",
              ":11: input RefreshableObject wants IUIRefreshableObject, which \"Pump\" (<object>) does not offer; "
              "these offer it: MainView, Tabs, Bar\n",
              ":13: GCUIScroll has no parameter \"Position\"; its parameters are Pos, Operation, PageSize, Axis\n",
              ":13: \"SetPosition\" is no choice of Operation; its choices are 0 Read, 1 SetPos, 2 SetSize, "
              "3 SetPosAndSize, by name or index\n",
              ":14: the module has no step class \"GCUIRefrsh\"; the nearest are GCUIRefresh",
              ":17: warning: \"Reslts\" is no item of \"Tabs\"; its items are Results, Setup\n",
              ":18: warning: \"Bar\" has no button \"Stop\"; its buttons are Start\n",
              ":21: <confirm> \"ok\" is no answer step 4's confirmation takes; it takes yes or no (or a response "
              "code)\n",
              ":22: <keyboard> \"twelve\" is no answer step 5's keyboard takes; it takes a whole number\n",
              ":23: <editor> \"aply\" is no answer an editor takes; it takes apply, cancel and close"}) {
            EXPECT_NE(refused.output.find(file + line), std::string::npos) << line << "\n" << refused.output;
        }
    }
    // Warnings alone: the program runs, unless --strict makes them errors.
    TemporaryFile warned(
        "<program>\n<objects><tabs name=\"Tabs\"><tab name=\"Setup\"/></tabs></objects>\n<steps>\n"
        "<step class=\"GCTabSelect\"><input name=\"TabbedWindows\" object=\"Tabs\" item=\"Plot\" index=\"4\"/>"
        "</step>\n</steps>\n</program>\n");
    const Outcome ran = runStephost({"run", warned.path()});
    EXPECT_EQ(ran.status, 0) << ran.output;
    EXPECT_NE(ran.output.find(":4: warning: index 4 is beyond the 1 items of \"Tabs\""), std::string::npos)
        << ran.output;
    const Outcome strict = runStephost({"run", "--strict", warned.path()});
    EXPECT_EQ(strict.status, 2) << strict.output;
    EXPECT_NE(strict.output.find(warned.path() + ":4: \"Plot\" is no item of \"Tabs\""), std::string::npos)
        << strict.output;
    // A choice by its name is stored as its index: SetPos sets the position.
    TemporaryFile byName(
        "<program>\n<objects><scrollable name=\"Chart\" pos0=\"0\" page0=\"10\"/></objects>\n<steps>\n"
        "<step class=\"GCUIScroll\"><parameter name=\"Operation\">SetPos</parameter>"
        "<parameter name=\"Pos\">30</parameter><input name=\"ScrollableObject\" object=\"Chart\"/></step>\n"
        "</steps>\n</program>\n");
    const Outcome scrolled = runStephost({"run", byName.path()});
    EXPECT_EQ(scrolled.status, 0) << scrolled.output;
    EXPECT_NE(scrolled.output.find("Chart          put_Scroll(0, 30, 10)"), std::string::npos) << scrolled.output;
}

// A password typed at a password keyboard never shows: not as the answer,
// not as the parameter the step writes, not where it is quoted again.
TEST(StepHost, APasswordNeverAppears) {
    TemporaryFile program(
        "<program>\n<objects><screen name=\"Screen\"/></objects>\n<steps>\n"
        "<step class=\"GCUIInput\"><parameter name=\"Caption\">Password</parameter>"
        "<parameter name=\"Type\">Password</parameter><parameter name=\"Wait\">1</parameter></step>\n"
        "<step class=\"GCUIMessage\"><parameter name=\"Message\">service</parameter></step>\n"
        "<step class=\"GCUIInput\"><parameter name=\"Type\">SystemPassword</parameter>"
        "<parameter name=\"Wait\">1</parameter></step>\n</steps>\n"
        "<operator><keyboard>service</keyboard><keyboard>service</keyboard></operator>\n</program>\n");
    for (const char* trace : {"human", "json"}) {
        const Outcome run = runStephost({"run", "--trace", trace, program.path()});
        EXPECT_EQ(run.status, 0) << run.output;
        EXPECT_EQ(run.output.find("service"), std::string::npos) << run.output;
        EXPECT_NE(run.output.find("******"), std::string::npos) << run.output;
    }
    const Outcome human = runStephost({"run", program.path()});
    for (const char* line : {"operator answers (keyboard): ******\n", "wrote Input = \"******\"\n",
                             "Screen         Add(GCUIMessage \"******\")", "wrote Input = 2\n"}) {
        EXPECT_NE(human.output.find(line), std::string::npos) << line << "\n" << human.output;
    }
}

// The person at the terminal is asked one question at a time, on lines of
// its own, asked again for an answer the window does not take; a question
// whose step timed out is closed and the next line goes to the next question.
TEST(StepHost, TheTerminalAnswersEachQuestionItself) {
    TemporaryFile program(
        "<program>\n<steps>\n"
        "<step class=\"GCUIConfirm\"><parameter name=\"Message\">Start?</parameter>"
        "<parameter name=\"Style\">Yes No</parameter><parameter name=\"TimeOut\">1</parameter></step>\n"
        "<step class=\"GCUIInput\"><parameter name=\"Caption\">Batch</parameter><parameter "
        "name=\"Type\">Integer</parameter>"
        "<parameter name=\"Input\">7</parameter><parameter name=\"Wait\">1</parameter></step>\n</steps>\n</program>\n");
    TemporaryFile typed("maybe\nyes\nabc\n\n");
    const Outcome answered =
        runStephost({"run", "--interactive", program.path()}, FLUKO_BINARY_DIR, true, typed.path());
    EXPECT_EQ(answered.status, 0) << answered.output;
    for (const char* part :
         {"operator is asked (confirm): Start?\n? step 1 asks (confirm): Start?\n"
          "  answer yes or no (or a response code); Enter: yes\n"
          "  \"maybe\" is not an answer here: yes or no (or a response code), please\n",
          "wrote Response = 6\n",
          "? step 2 asks (keyboard): Batch [now \"7\"]\n  answer a whole number; Enter: keeps \"7\"\n",
          "operator answers (keyboard): (Enter)\n"}) {
        EXPECT_NE(answered.output.find(part), std::string::npos) << part << "\n" << answered.output;
    }
    // Nobody types until the confirmation has timed out: "42", typed then, is the keyboard's.
    TemporaryFolder folder;
    const std::string pipe = folder / "terminal";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::thread person([&] {
        std::ofstream terminal(pipe);
        std::this_thread::sleep_for(std::chrono::milliseconds(1800));
        terminal << "42" << std::endl;
    });
    const Outcome late = runStephost({"run", "--interactive", program.path()}, FLUKO_BINARY_DIR, true, pipe);
    person.join();
    EXPECT_EQ(late.status, 0) << late.output;
    for (const char* part :
         {"? step 1's question (confirm) is closed: Enter was sent to the window (its step's time-out)\n",
          "wrote Response = -1\n", "operator answers (keyboard): 42\n", "wrote Input = \"42\"\n"}) {
        EXPECT_NE(late.output.find(part), std::string::npos) << part << "\n" << late.output;
    }
}

}  // namespace

// An operator who answers nothing must not hold a CI run for ever: the
// keyboard and the file chooser close without a value, the editor is
// cancelled, and the steps that wait for them end.
TEST(StepHost, QuestionsNobodyAnswersCloseTheirWindows) {
    TemporaryFile silent(
        "<program name=\"nobody at the panel\">\n<objects><editable name=\"Pump\"/><frame name=\"Editor\"/></objects>\n"
        "<steps>\n"
        "<step class=\"GCUIInput\" title=\"wait for a batch name\">\n"
        "  <parameter name=\"Caption\">Batch</parameter><parameter name=\"Wait\">1</parameter>\n</step>\n"
        "<step class=\"GCUIInput\" title=\"wait for a file\">\n"
        "  <parameter name=\"Type\">6</parameter><parameter name=\"Wait\">1</parameter>\n</step>\n"
        "<step class=\"GCUIEdit\" title=\"wait for the editor\">\n  <input name=\"Edit1\" object=\"Pump\"/>\n"
        "  <parameter name=\"Wait\">1</parameter>\n</step>\n"
        "</steps>\n</program>\n");
    const auto started = std::chrono::steady_clock::now();
    const Outcome run = runStephost({"run", silent.path()});
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(20));
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(run.output.find("finished 3 steps"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("wrote ReturnCode = -1"), std::string::npos) << run.output;  // cancelled
}
