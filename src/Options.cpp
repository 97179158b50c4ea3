#include "Options.h"

#include "ConvertFile.h"

#include <cstdlib>
#include <iostream>

namespace {

/// The argument behind the option that was taken last; moves on behind it. Ends the process if
/// there is none. Any text is taken, even one that begins with "-".
std::string takeValue(const std::string& option, int argumentCount, const char** arguments,
                      int& each) {
    if (each == argumentCount) {
        std::cerr << option << " needs a value" << std::endl;
        std::exit(1);
    }
    return arguments[each++];
}

} // namespace

void Options::parseArguments(int argumentCount, const char** arguments) {
    if (argumentCount <= 1) {
        return;
    }
    bool pathSpecified = false;
    int each = 1;
    while (each != argumentCount) {
        const std::string argument = arguments[each++];
        if (!argument.starts_with('-')) {
            if (pathSpecified) {
                std::cerr << "Cannot process both " << p << " and " << argument << std::endl;
                std::exit(1);
            }
            p = argument;
            pathSpecified = true;
        } else if (argument == "--startdate") {
            ConvertFile::startDatestamp = takeValue(argument, argumentCount, arguments, each);
        } else if (argument == "--starttime") {
            // The bounds have defaults, so this is reported only behind an empty date. It has
            // always ended with status 0.
            if (ConvertFile::startDatestamp.empty()) {
                std::cerr << "--starttime must be used with --startdate" << std::endl;
                std::exit(0);
            }
            ConvertFile::startDatestamp += ' ';
            ConvertFile::startDatestamp += takeValue(argument, argumentCount, arguments, each);
        } else if (argument == "--enddate") {
            ConvertFile::endDatestamp = takeValue(argument, argumentCount, arguments, each);
        } else if (argument == "--endtime") {
            if (ConvertFile::endDatestamp.empty()) {
                std::cerr << "--endtime must be used with --enddate" << std::endl;
                std::exit(0);
            }
            ConvertFile::endDatestamp += ' ';
            ConvertFile::endDatestamp += takeValue(argument, argumentCount, arguments, each);
        } else if (argument == "--help" || argument == "-h") {
            displayHelp();
            std::exit(0);
        } else if (argument == "--version" || argument == "-v") {
            std::cout << "convertquorvlogs version " << CONVERTQUORVLOGS_VERSION << std::endl;
            std::exit(0);
        } else {
            ConvertFile::enable(argument);
        }
    }
}

std::string Options::path() const {
    return p;
}

void Options::displayHelp() const {
    static const char* const lines[] = {
        "Usage: convertquorvlogs [ <filename> | <directory> ] [ <options> ]",
        "",
        "When <filename> is provided, only the specified file is processed.",
        "When <directory> is provided, all *.LOG files in the specified directory are processed.",
        ("When neither <filename> or <directory> is provided, the current working directory is "
         "assumed."),
        "",
        "Options:",
        "--all (-a)    => produce all output files",
        "--detail      => produce the detailed output file(s)",
        "--dynamicInfo => produce the dynamicInfo output file(s)",
        "--soc (-s)    => produce the advanced soc output file(s)",
        "--wide (-w)   => produce the wide output file (dynamicInfo combined with soc)",
        "--startdate   => set the starting date (YYYY-MM-DD)",
        "--starttime   => set the starting time (HH:MM:SS)",
        "--enddate     => set the ending date (YYYY-MM-DD)",
        "--endtime     => set the ending time (HH:MM:SS)",
        "--help        => Display help",
        "--version     => Display version",
    };
    for (const char* line : lines) {
        std::cout << line << std::endl;
    }
}
