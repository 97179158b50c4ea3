#pragma once

#include <string>

/// The command line, read once at the start of a run. It keeps the path to process and sets the
/// process-wide choices of ConvertFile: its output flags and its date range.
class Options {
public:
    /// The path is "." until the command line names another.
    Options() = default;

    /// Parses the arguments behind the program name. Ends the process itself for the help and
    /// version options and for errors, at the first of these that it meets.
    void parseArguments(int argumentCount, const char** arguments);

    /// The file or directory to process.
    std::string path() const;

    /// Writes the help text to standard output.
    void displayHelp() const;

private:
    std::string p = ".";
};
