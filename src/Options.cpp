#include "Options.h"

#include "ConvertFile.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

namespace {

using enum Option::Action;

constexpr Option options[] = {
    {"--all", "-a", "--all (-a)    => produce all output files", output},
    {"--detail", "", "--detail      => produce the detailed output file(s)", output},
    {"--dynamicInfo", "-d", "--dynamicInfo => produce the dynamicInfo output file(s)", output},
    {"--soc", "-s", "--soc (-s)    => produce the advanced soc output file(s)", output},
    {"--wide", "-w",
     "--wide (-w)   => produce the wide output file (dynamicInfo combined with soc)", output},
    {"--startdate", "", "--startdate   => set the starting date (YYYY-MM-DD)", startDate},
    {"--starttime", "", "--starttime   => set the starting time (HH:MM:SS)", startTime},
    {"--enddate", "", "--enddate     => set the ending date (YYYY-MM-DD)", endDate},
    {"--endtime", "", "--endtime     => set the ending time (HH:MM:SS)", endTime},
    {"--help", "-h", "--help        => Display help", help},
    {"--version", "-v", "--version     => Display version", version},
};

/// Ends the process unless the bound holds a date to which a time can be added. The bounds have
/// defaults, so that is only so after an empty date. The status is 0: scripts that leave a date
/// empty on purpose have come to rely on it.
void requireDate(const std::string& bound, const char* timeOption, const char* dateOption) {
    if (bound.empty()) {
        std::cerr << timeOption << " must be used with " << dateOption << std::endl;
        std::exit(0);
    }
}

} // namespace

std::span<const Option> allOptions() {
    return options;
}

void Options::parseArguments(int argumentCount, const char** arguments) {
    if (argumentCount <= 1) {
        return;
    }
    bool pathSpecified = false;
    int next = 1;
    while (next != argumentCount) {
        const std::string argument = arguments[next++];
        if (!argument.starts_with('-')) {
            if (pathSpecified) {
                std::cerr << "Cannot process both " << p << " and " << argument << std::endl;
                std::exit(1);
            }
            p = argument;
            pathSpecified = true;
            continue;
        }
        const auto* const option = std::ranges::find_if(options, [&](const Option& known) {
            return argument == known.name || argument == known.shortName;
        });
        // Any text is taken as a value, even one that begins with "-".
        const auto takeValue = [&] {
            if (next == argumentCount) {
                std::cerr << argument << " needs a value" << std::endl;
                std::exit(1);
            }
            return arguments[next++];
        };
        switch (option != std::end(options) ? option->action : output) {
        case output:
            ConvertFile::enable(argument); // which ignores what is no option
            break;
        case startDate:
            ConvertFile::startDatestamp = takeValue();
            break;
        case startTime:
            requireDate(ConvertFile::startDatestamp, "--starttime", "--startdate");
            ConvertFile::startDatestamp += std::string(" ") + takeValue();
            break;
        case endDate:
            ConvertFile::endDatestamp = takeValue();
            break;
        case endTime:
            requireDate(ConvertFile::endDatestamp, "--endtime", "--enddate");
            ConvertFile::endDatestamp += std::string(" ") + takeValue();
            break;
        case help:
            displayHelp();
            std::exit(0);
        case version:
            std::cout << "convertquorvlogs version " << CONVERTQUORVLOGS_VERSION << std::endl;
            std::exit(0);
        }
    }
}

std::string Options::path() const {
    return p;
}

void Options::displayHelp() const {
    static const char* const usage[] = {
        "Usage: convertquorvlogs [ <filename> | <directory> ] [ <options> ]",
        "",
        "When <filename> is provided, only the specified file is processed.",
        "When <directory> is provided, all *.LOG files in the specified directory are processed.",
        ("When neither <filename> or <directory> is provided, the current working directory is "
         "assumed."),
        "",
        "Options:",
    };
    for (const char* line : usage) {
        std::cout << line << std::endl;
    }
    for (const Option& option : options) {
        std::cout << option.help << std::endl;
    }
}
