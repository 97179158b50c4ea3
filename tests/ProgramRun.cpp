#include "ProgramRun.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string bytesOf(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        ADD_FAILURE() << "can't read " << path;
        return {};
    }
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// In the child: makes the descriptor refer to the file, or ends the process.
void redirect(int descriptor, const std::filesystem::path& file, int flags) {
    const int opened = open(file.c_str(), flags, 0600);
    if (opened < 0 || dup2(opened, descriptor) < 0) {
        _exit(126);
    }
    close(opened);
}

/// In the child: gives every signal its default, whatever whoever started the tests has ignored or
/// blocked, and whatever the tests' own process ignores.
void resetSignals() {
    for (int number = 1; number <= SIGRTMAX; ++number) {
        std::signal(number, SIG_DFL); // which some numbers refuse
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace

TemporaryDirectory::TemporaryDirectory() {
    std::string name = std::filesystem::temp_directory_path() / "convertquorvlogs-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("can't make a temporary directory");
    }
    directory = name;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
}

void TemporaryDirectory::write(const std::string& name, std::string_view bytes) const {
    const std::filesystem::path file = directory / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string TemporaryDirectory::read(const std::string& name) const {
    return bytesOf(directory / name);
}

bool TemporaryDirectory::exists(const std::string& name) const {
    return std::filesystem::exists(directory / name);
}

std::map<std::string, std::string> TemporaryDirectory::files() const {
    std::map<std::string, std::string> result;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        std::error_code ignored; // of a link that leads nowhere
        if (entry.is_regular_file(ignored)) {
            result[entry.path().lexically_relative(directory)] = bytesOf(entry.path());
        }
    }
    return result;
}

RunningProgram::RunningProgram(const std::vector<std::string>& command,
                               const std::filesystem::path& workingDirectory) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);

    process = fork();
    if (process < 0) {
        throw std::runtime_error("can't fork");
    }
    if (process == 0) {
        resetSignals();
        redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
        redirect(STDOUT_FILENO, streams.path() / "out", O_WRONLY | O_CREAT | O_TRUNC);
        redirect(STDERR_FILENO, streams.path() / "err", O_WRONLY | O_CREAT | O_TRUNC);
        closefrom(STDERR_FILENO + 1);
        if (chdir(workingDirectory.c_str()) == 0) {
            execvp(arguments[0], arguments.data());
        }
        _exit(127);
    }
}

void RunningProgram::sendSignal(int number) const {
    kill(process, number);
}

ProgramResult RunningProgram::wait() {
    int status = 0;
    rusage usage = {};
    while (wait4(process, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    ProgramResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = streams.read("out");
    result.err = streams.read("err");
    result.peakMemory = usage.ru_maxrss;
    return result;
}

ProgramResult runProgram(const std::vector<std::string>& command,
                         const std::filesystem::path& workingDirectory) {
    return RunningProgram(command, workingDirectory).wait();
}

ProgramResult runTool(const std::vector<std::string>& arguments,
                      const std::filesystem::path& workingDirectory) {
    std::vector<std::string> command = {toolPath()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProgram(command, workingDirectory);
}

std::string toolPath() {
    return TOOL_PATH;
}

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}
