// What manual page, README and completions say: the options, and the ranges of time that the manual
// page shows as examples.

#include "LogBuilder.h"
#include "Options.h"
#include "ProgramRun.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

namespace {

using testing::ElementsAre;
using Datestamps = std::vector<std::string>;

/// 1 January, which the controller's calendar takes for month 13 of the year before: the day
/// after 31 December.
Stamp firstDayOf(unsigned year) {
    Stamp day = stamp(year - 1, 12, 31);
    ++day.day;
    return day;
}

/// The datestamps of the messages that the tool converts, of those at the given times.
Datestamps converted(const std::vector<Stamp>& times, std::vector<std::string> options) {
    LogBuilder log;
    for (const Stamp& time : times) {
        log.message(time, "text");
    }
    const TemporaryDirectory directory;
    directory.write("A.LOG", log.bytes());
    options.insert(options.end(), {"A.LOG", "--detail"});
    EXPECT_EQ(runTool(options, directory.path()).status, 0);
    Datestamps datestamps;
    for (const std::string& line : linesOf(directory.read("A.LOG.detail.csv"))) {
        if (!line.starts_with("Datestamp,")) {
            datestamps.push_back(line.substr(0, line.find(',')));
        }
    }
    return datestamps;
}

TEST(ManualTest, aMonthEndsWithTheFirstDayOfTheNext) {
    EXPECT_THAT(converted({stamp(2020, 4, 30, 23, 59, 59, 999), stamp(2020, 5, 1),
                           stamp(2020, 5, 31, 23, 59, 59, 999), stamp(2020, 6, 1)},
                          {"--startdate", "2020-05-01", "--enddate", "2020-06-01"}),
                ElementsAre("2020-05-01 00:00:00.0", "2020-05-31 23:59:59.999"));
}

TEST(ManualTest, aMorningMayBeGivenInHours) {
    EXPECT_THAT(converted({stamp(2022, 3, 14, 5, 59, 59, 999), stamp(2022, 3, 14, 6),
                           stamp(2022, 3, 14, 11, 59, 59, 999), stamp(2022, 3, 14, 12)},
                          {"--startdate", "2022-03-14", "--starttime", "06", "--enddate",
                           "2022-03-14", "--endtime", "12"}),
                ElementsAre("2022-03-14 06:00:00.0", "2022-03-14 11:59:59.999"));
}

TEST(ManualTest, theFirstOfJanuaryIsLeftOutByItsDateAndTakenInAsMonth13) {
    const std::vector<Stamp> times = {stamp(2019, 12, 31, 23), firstDayOf(2020), stamp(2020, 1, 2)};
    EXPECT_THAT(converted(times, {"--startdate", "2020-01-01"}),
                ElementsAre("2020-01-02 00:00:00.0"));
    EXPECT_THAT(converted(times, {"--startdate", "2019-13-01"}),
                ElementsAre("2019-13-01 00:00:00.0", "2020-01-02 00:00:00.0"));
    EXPECT_THAT(converted(times, {"--enddate", "2020-01-01"}),
                ElementsAre("2019-12-31 23:00:00.0", "2019-13-01 00:00:00.0"));
    EXPECT_THAT(converted(times, {"--enddate", "2019-13"}), ElementsAre("2019-12-31 23:00:00.0"));
}

TEST(ManualTest, aYearIsTakenWithItsFirstAndLastDay) {
    EXPECT_THAT(
        converted({stamp(2018, 12, 31, 23), firstDayOf(2019), stamp(2019, 1, 2),
                   stamp(2019, 12, 31, 23), firstDayOf(2020), stamp(2020, 1, 2)},
                  {"--startdate", "2018-13-01", "--enddate", "2019-13"}),
        ElementsAre("2018-13-01 00:00:00.0", "2019-01-02 00:00:00.0", "2019-12-31 23:00:00.0"));
}

TEST(ManualTest, anEmptyStartDateTakesTheEndOfTheFileIn) {
    EXPECT_THAT(
        converted({stamp(1984, 6, 1), stamp(2020, 6, 1)}, {"--startdate", ""}),
        ElementsAre("1984-06-01 00:00:00.0", "2020-06-01 00:00:00.0", "1984-01-01 00:00:00.0ff "));
}

// -------------------------------------------------------------------------------------------------
// The options: whatever the tool knows is named, and whatever is named the tool knows
// -------------------------------------------------------------------------------------------------

using Words = std::set<std::string>;

/// The options that something tells of.
struct OptionSet {
    Words words;     // long and short names
    Words pairs;     // a short name and the long one that means the same, such as "-a --all"
    Words withValue; // long names
};

/// Takes a long name into the set, and a short one if there is one.
void add(OptionSet& options, const std::string& name, const std::string& shortName,
         bool takesValue) {
    options.words.insert(name);
    if (!shortName.empty()) {
        options.words.insert(shortName);
        options.pairs.insert(shortName + ' ' + name);
    }
    if (takesValue) {
        options.withValue.insert(name);
    }
}

bool takesValue(const Option& option) {
    using enum Option::Action;
    return option.action == startDate || option.action == startTime || option.action == endDate ||
           option.action == endTime;
}

OptionSet knownOptions() {
    OptionSet known;
    for (const Option& option : allOptions()) {
        add(known, std::string(option.name), std::string(option.shortName), takesValue(option));
    }
    return known;
}

void expectKnownOptions(const OptionSet& named) {
    const OptionSet known = knownOptions();
    EXPECT_EQ(named.words, known.words);
    EXPECT_EQ(named.pairs, known.pairs);
    EXPECT_EQ(named.withValue, known.withValue);
}

std::string sourceText(const std::string& name) {
    std::ifstream stream(std::filesystem::path(SOURCE_DIRECTORY) / name);
    EXPECT_TRUE(stream) << name;
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// What the groups of the pattern hold at each place where it is found; empty if left out.
std::vector<std::vector<std::string>> found(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    std::vector<std::vector<std::string>> result;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
        result.emplace_back(std::next(match->begin()), match->end());
    }
    return result;
}

Words wordsOf(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

/// Every place that the pattern finds names options of the tool only. What isn't an option by its
/// form, such as "-as" or "--a=1", is not looked at.
void expectNoOtherOptions(const std::string& text, const std::string& pattern) {
    const Words known = knownOptions().words;
    const std::vector<std::vector<std::string>> places = found(text, pattern);
    EXPECT_FALSE(places.empty()) << pattern;
    for (const std::vector<std::string>& place : places) {
        for (const std::string& word : wordsOf(place.front())) {
            if (std::regex_match(word, std::regex("--[A-Za-z]+|-[A-Za-z]"))) {
                EXPECT_TRUE(known.contains(word)) << word << " in: " << place.front();
            }
        }
    }
}

TEST(ManualTest, optionsAreDocumentedInTheReadme) {
    const std::string readme = sourceText("README.md");
    // `--wide`, `-w` or `--all` (`-a`); a capital letter stands for the value.
    OptionSet named;
    for (const auto& option : found(readme, "`(--\\w+)( [A-Z])?`(?:,? \\(?`(-\\w)`)?")) {
        add(named, option[0], option[2], !option[1].empty());
    }
    expectKnownOptions(named);
    expectNoOtherOptions(readme, "`(-[^`]*)`");
    expectNoOtherOptions(readme, "\n    \\S*convertquorvlogs (.*)");
}

/// The options in the lines of the page that begin with the macro. A line has one of them, such as
///     .Op Fl a | Fl -all
///     .It Fl -startdate Ar date
OptionSet optionsOfMacro(const std::string& page, const std::string& macro) {
    OptionSet options;
    for (const auto& line :
         found(page, "\n\\." + macro + " (?:Fl (\\w) [|,] )?Fl -(\\w+)( Ar .*)?")) {
        add(options, "--" + line[1], line[0].empty() ? "" : "-" + line[0], !line[2].empty());
    }
    return options;
}

TEST(ManualTest, optionsAreDocumentedInTheManualPage) {
    const std::string page = sourceText("docs/convertquorvlogs.1.in");
    expectKnownOptions(optionsOfMacro(page, "It"));
    // In the synopsis, options that end the run have a line each, without brackets.
    OptionSet synopsis = optionsOfMacro(page, "Op");
    for (const auto& line : found(page, "\n\\.Nm\n\\.Fl (\\w) \\| Fl -(\\w+)")) {
        add(synopsis, "--" + line[1], "-" + line[0], false);
    }
    expectKnownOptions(synopsis);

    // In the text, and in the examples, whose dashes are "\-".
    for (const auto& flag : found(page, "\\bFl (-?\\w+)")) {
        EXPECT_TRUE(knownOptions().words.contains('-' + flag[0])) << flag[0];
    }
    const std::string asTyped = std::regex_replace(page, std::regex(R"(\\-)"), "-");
    expectNoOtherOptions(asTyped, "\n(?:\\.Dl )?convertquorvlogs ((?:.*\\\\e\n)*.*)");
    expectNoOtherOptions(asTyped, "\n\\.Ql (--(?:start|end).*)");
}

TEST(ManualTest, optionsAreDocumentedInTheBashCompletion) {
    const std::string completion = sourceText("packaging/completions/convertquorvlogs.bash");
    const auto lists = found(completion, "compgen -W '([^']*)'");
    ASSERT_EQ(lists.size(), 1U);
    EXPECT_EQ(wordsOf(lists[0][0]), knownOptions().words);
    // Two places look for options that take a value: "--startdate | --starttime)".
    const auto patterns = found(completion, "\n *(--\\w+(?: \\| --\\w+)*)\\)");
    EXPECT_EQ(patterns.size(), 2U);
    for (const auto& pattern : patterns) {
        Words words = wordsOf(pattern[0]);
        words.erase("|");
        EXPECT_EQ(words, knownOptions().withValue);
    }
}

TEST(ManualTest, optionsAreDocumentedInTheZshCompletion) {
    const std::string completion = sourceText("packaging/completions/_convertquorvlogs");
    // '(-a --all)'{-a,--all}'[help]' or '--startdate[help]:what the value is: '
    OptionSet named;
    for (const auto& option :
         found(completion, "\n *'(?:\\(.*\\)'\\{(-\\w),)?(--\\w+)(?:\\}')?\\[[^\\]]*\\](:)?")) {
        add(named, option[1], option[0], !option[2].empty());
    }
    expectKnownOptions(named);
    // What excludes an option: itself by both names, or everything.
    for (const auto& option : found(completion, "'\\((.*)\\)'\\{(.*),(.*)\\}")) {
        if (option[0] != "- *") {
            EXPECT_EQ(option[0], option[1] + ' ' + option[2]);
        }
    }
}

TEST(ManualTest, optionsAreDocumentedInTheFishCompletion) {
    const std::string completion = sourceText("packaging/completions/convertquorvlogs.fish");
    OptionSet named;
    for (const auto& option :
         found(completion, "\ncomplete -c convertquorvlogs(?: -o (\\w))? -l (\\w+)( -x)? -d ")) {
        add(named, "--" + option[1], option[0].empty() ? "" : "-" + option[0], !option[2].empty());
    }
    expectKnownOptions(named);
    const auto lists = found(completion, "contains -- \\S+ (--.*)");
    ASSERT_EQ(lists.size(), 1U);
    EXPECT_EQ(wordsOf(lists[0][0]), knownOptions().withValue);
}

} // namespace
