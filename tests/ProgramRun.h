#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

/// A new empty directory that is removed with all it holds when the object goes.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return directory; }

    /// Writes a file below the directory, making its parent directories.
    void write(const std::string& name, std::string_view bytes) const;

    /// The bytes of a file below the directory; fails the test if it can't be read.
    std::string read(const std::string& name) const;

    bool exists(const std::string& name) const;

    /// The bytes of every regular file below the directory, by its name relative to the directory.
    std::map<std::string, std::string> files() const;

private:
    std::filesystem::path directory;
};

/// How a program ended and what it printed.
struct ProgramResult {
    int status = 0; // the exit status, or 128 and the number of the signal that ended it
    std::string out;
    std::string err;
    long peakMemory = 0; // in kilobytes; not less than that of the calling process at the start
};

/// A program that has been started in the given working directory, with standard input empty, no
/// other descriptor than the three standard ones and every signal at its default. It must be waited
/// for once.
class RunningProgram {
public:
    /// The command's first element is the program's path, or a name that PATH leads to.
    RunningProgram(const std::vector<std::string>& command,
                   const std::filesystem::path& workingDirectory);

    void sendSignal(int number) const;

    /// Waits for the program's end.
    ProgramResult wait();

private:
    TemporaryDirectory streams; // files, so that a long output can't block the program
    pid_t process;
};

/// Runs a program to its end in the given working directory, with standard input empty. The
/// command's first element is the program's path, or a name that PATH leads to.
ProgramResult runProgram(const std::vector<std::string>& command,
                         const std::filesystem::path& workingDirectory);

/// Runs the tool that was built.
ProgramResult runTool(const std::vector<std::string>& arguments,
                      const std::filesystem::path& workingDirectory);

/// The path of the tool that was built.
std::string toolPath();

/// The lines of a text, without their line feeds. A last line without a line feed counts.
std::vector<std::string> linesOf(std::string_view text);
