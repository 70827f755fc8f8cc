// Runs a program of the build as a separate process, through the emulator of
// a cross build, and collects what it prints.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

struct ProcessRun {
    int status = -1;     // the exit code; -1 when it did not start or did not exit
    std::string output;  // standard output, and standard error when asked for
};

// program and its arguments, run in directory with the environment of this
// process plus extraEnvironment ("NAME=value" entries); its standard input is
// the file `input` names, when one does.
inline ProcessRun runProcess(const std::vector<std::string>& command, const std::string& directory,
                             const std::vector<std::string>& extraEnvironment = {}, bool withErrors = true,
                             const std::string& input = "") {
    std::vector<std::string> arguments;
    std::istringstream emulator(FLUKO_EMULATOR);
    for (std::string word; emulator >> word;) arguments.push_back(word);
    arguments.insert(arguments.end(), command.begin(), command.end());
    // An extra entry replaces the inherited one of its name.
    const auto overridden = [&](const std::string& entry) {
        for (const std::string& extra : extraEnvironment) {
            const size_t equals = extra.find('=');
            if (equals != std::string::npos && entry.compare(0, equals + 1, extra, 0, equals + 1) == 0) return true;
        }
        return false;
    };
    std::vector<std::string> environment;
    for (char** entry = environ; *entry; ++entry) {
        if (!overridden(*entry)) environment.push_back(*entry);
    }
    environment.insert(environment.end(), extraEnvironment.begin(), extraEnvironment.end());

    std::vector<char*> argv, envp;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    for (std::string& entry : environment) envp.push_back(entry.data());
    envp.push_back(nullptr);

    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0) return {};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    if (withErrors) posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDERR_FILENO);
    if (!input.empty()) posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    pid_t child = -1;
    const int spawned = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);

    ProcessRun run;
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
