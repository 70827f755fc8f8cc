// The reference host as a newcomer meets it: a process run on the example
// programs and on broken ones.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/FolderStream.h"
#include "host/XmlStream.h"

extern char** environ;

namespace {

struct Outcome {
    int status = -1;
    std::string output;  // standard output and error together
};

// stephost from the build directory, through the emulator of a cross build.
Outcome stephost(const std::vector<std::string>& words) {
    std::vector<std::string> arguments;
    std::istringstream emulator(FLUKO_EMULATOR);
    for (std::string word; emulator >> word;) arguments.push_back(word);
    arguments.push_back(std::string(FLUKO_BINARY_DIR) + "/stephost");
    arguments.insert(arguments.end(), words.begin(), words.end());
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);

    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0) return {};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDERR_FILENO);
    posix_spawn_file_actions_addchdir_np(&actions, FLUKO_BINARY_DIR);
    pid_t child = -1;
    const int spawned = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);
    Outcome run;
    char chunk[4096];
    for (ssize_t got; (got = read(pipeEnds[0], chunk, sizeof chunk)) != 0;) {
        if (got < 0) {
            if (errno == EINTR) continue;
            break;
        }
        run.output.append(chunk, static_cast<size_t>(got));
    }
    close(pipeEnds[0]);
    if (spawned != 0) return run;
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

std::string example(const char* name) { return std::string(FLUKO_SOURCE_DIR) + "/examples/" + name; }

class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text) {
        char name[] = "/tmp/stephost-test-XXXXXX";
        const int descriptor = mkstemp(name);
        if (descriptor >= 0) close(descriptor);
        m_Path = name;
        std::ofstream(m_Path) << text;
    }
    ~TemporaryFile() { std::filesystem::remove(m_Path); }
    const std::string& path() const { return m_Path; }

private:
    std::string m_Path;
};

TEST(StepHost, RunsTheDemonstrationWithATrace) {
    const Outcome run = stephost({"run", example("demo.xml")});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(run.output.find("LivePlot       Refresh(9)"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("ReportView     Refresh(0)"), std::string::npos) << run.output;
    EXPECT_EQ(run.output.find("0x7f"), std::string::npos) << "no pointer values: " << run.output;
    EXPECT_EQ(run.output.find("host objects still alive"), std::string::npos) << run.output;
}

TEST(StepHost, EveryExampleSurvivesSavingAndReloading) {
    for (const char* name : {"demo.xml", "refresh.xml", "all-steps.xml"}) {
        const Outcome run = stephost({"check", example(name)});
        EXPECT_EQ(run.status, 0) << name << "\n" << run.output;
        EXPECT_NE(run.output.find("xml     "), std::string::npos) << run.output;
        EXPECT_EQ(run.output.find("DIFFERENT"), std::string::npos) << run.output;
    }
    TemporaryFile xml(""), folder("");
    const Outcome saved = stephost({"save", example("all-steps.xml"), "--xml", xml.path(), "--folder", folder.path()});
    ASSERT_EQ(saved.status, 0) << saved.output;
    std::string error;
    SmartPtr<host::XmlStream> document = host::XmlStream::loadFile(xml.path(), &error);
    ASSERT_TRUE(document) << error;
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    ASSERT_TRUE(stream->loadFile(folder.path(), &error)) << error;
    EXPECT_EQ(stream->names().size(), 14u);
    EXPECT_EQ(stream->classOf(L"Step14"), L"GCUIVerb");
}

TEST(StepHost, BrokenProgramsAreNamedByLineAndRefused) {
    struct Case {
        const char* text;
        const char* message;
    };
    const Case cases[] = {
        {"<program>\n<steps>\n<step class=\"GCUIRefresh\">\n</steps>\n", ":3: not well-formed XML (mismatched element)"},
        {"<program>\n<steps>\n  <step class=\"GCUINoSuch\"/>\n</steps>\n</program>\n", ":3: the module has no step class"},
        {"<program>\n<steps>\n<step class=\"GCUIRefresh\">\n<parameter name=\"Later\">1</parameter>\n</step>\n</steps>\n"
         "</program>\n",
         ":4: the step has no parameter \"Later\""},
        {"<program>\n<steps>\n<step class=\"GCUIRefresh\">\n\n<input name=\"RefreshableObject\" object=\"Nowhere\"/>\n"
         "</step>\n</steps>\n</program>\n",
         ":5: no object is named \"Nowhere\""},
        {"<program>\n<objects><object name=\"A\"/></objects>\n<steps>\n<step class=\"GCUIRefresh\">\n"
         "<input name=\"Other\" object=\"A\"/>\n</step>\n</steps>\n</program>\n",
         ":5: the step has no input \"Other\""},
        {"<program>\n<objects><object name=\"A\"/></objects>\n<steps>\n<step class=\"GCTabSelect\">\n"
         "<input name=\"TabbedWindows\" object=\"A\" index=\"two\"/>\n</step>\n</steps>\n</program>\n",
         ":5: the index is not a whole number"},
        {"<program>\n<operator>\n<confirm delay=\"soon\">yes</confirm>\n</operator>\n</program>\n", ":3:"},
        {"<plan/>\n", ":1: the root element is <program>"},
        {"", ":1: not well-formed XML (empty document)"},
    };
    for (const Case& c : cases) {
        TemporaryFile file(c.text);
        const Outcome run = stephost({"run", file.path()});
        EXPECT_EQ(run.status, 1) << c.text << "\n" << run.output;
        EXPECT_NE(run.output.find(file.path() + c.message), std::string::npos) << c.text << "\n" << run.output;
    }
    EXPECT_EQ(stephost({"run", "/nonexistent/program.xml"}).status, 1);
    EXPECT_EQ(stephost({}).status, 2);
    EXPECT_EQ(stephost({"fly", "x"}).status, 2);
    const Outcome help = stephost({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("check FILE"), std::string::npos);
}

}  // namespace
