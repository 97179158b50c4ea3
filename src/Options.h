#pragma once

#include <span>
#include <string>
#include <string_view>

/// A command-line option, as the parser takes it and the help lists it.
struct Option {
    enum class Action { output, startDate, startTime, endDate, endTime, help, version };

    std::string_view name;      // "--all"
    std::string_view shortName; // "-a"; empty if there is none
    std::string_view help;      // its line of the help, which leaves out some short names
    Action action;
};

/// The options, in the order of the help.
std::span<const Option> allOptions();

/// The command line, read once at the start of a run. It keeps the path to process and sets the
/// process-wide choices of ConvertFile: its output flags and its date range.
class Options {
public:
    /// The path is "." until the command line names another.
    Options() = default;

    /// Parses the arguments after the program name. Ends the process itself for the help and
    /// version options and for errors, at the first of these that it meets.
    void parseArguments(int argumentCount, const char** arguments);

    /// The file or directory to process.
    std::string path() const;

    /// Writes the help text to standard output.
    void displayHelp() const;

private:
    std::string p = ".";
};
