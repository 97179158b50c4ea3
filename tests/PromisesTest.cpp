// What the documentation says about logs and directories that nobody trusts: links in place of
// outputs, names and texts with escape sequences, memory and room. Every test runs the built tool.

#include "LogBuilder.h"
#include "ProgramRun.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const Stamp someTime = stamp(2022, 3, 14, 8);
const std::string messageHeader = "Datestamp,message\n";

std::string messageRow(const std::string& text) {
    return "2022-03-14 08:00:00.0," + text + ",\n";
}

std::string logOfMessage(std::string_view text) {
    return LogBuilder().message(someTime, text).bytes();
}

/// The recipe with its arguments; it finds the tool by PATH.
std::vector<std::string> recipe(const std::string& name, std::vector<std::string> arguments) {
    const std::string path = fs::path(toolPath()).parent_path().string() + ":" + getenv("PATH");
    arguments.insert(arguments.begin(),
                     {"env", "PATH=" + path, fs::path(SOURCE_DIRECTORY) / "recipes" / name});
    return arguments;
}

// =================================================================================================
// Links in place of outputs
// =================================================================================================

/// A directory "card" that others have filled, and a file that is none of theirs.
class Links : public testing::Test {
protected:
    Links() {
        directory.write("card/A.LOG", logOfMessage(text));
        directory.write("mine", "precious");
    }

    ProgramResult run(const std::vector<std::string>& arguments) const {
        return runTool(arguments, directory.path());
    }

    fs::path path(const std::string& name) const { return directory.path() / name; }

    const std::string text = "line 1\nalias ls=oops\nline 3";
    const std::string detail = messageHeader + messageRow(text);
    TemporaryDirectory directory;
};

TEST_F(Links, symbolicOrHardLetARunOverwriteWhatTheyNameWithTextOfTheLog) {
    fs::create_symlink("../mine", path("card/detail.csv"));
    directory.write("mine too", "precious");
    fs::create_hard_link(path("mine too"), path("card/A.LOG.detail.csv"));
    EXPECT_EQ(run({"card", "--detail"}).status, 0);
    EXPECT_EQ(directory.read("mine"), detail);
    EXPECT_EQ(directory.read("mine too"), detail);
}

TEST_F(Links, toALogLetARunReplaceItAfterItWasRead) {
    directory.write("other/B.LOG", "log");
    fs::create_symlink("A.LOG", path("card/detail.csv"));
    fs::create_hard_link(path("other/B.LOG"), path("card/A.LOG.detail.csv"));
    EXPECT_EQ(run({"card", "--detail"}).status, 0);
    EXPECT_EQ(directory.read("card/A.LOG"), detail);
    EXPECT_EQ(directory.read("other/B.LOG"), detail);
}

TEST_F(Links, inPlaceOfTheSynopsisCostTheirFileBeforeTheLogsAreRead) {
    fs::create_symlink("card/A.LOG", path("synopsis.csv"));
    const std::string synopsis = [this] {
        run({"--help"});
        return directory.read("card/A.LOG");
    }();
    EXPECT_THAT(synopsis, testing::StartsWith("start"));
    directory.write("card/A.LOG", logOfMessage(text));
    EXPECT_EQ(run({"card", "--detail"}).status, 0);
    EXPECT_EQ(directory.read("card/A.LOG"), synopsis);
    EXPECT_THAT(directory.read("card/detail.csv"), Not(HasSubstr("line 1")));
}

TEST_F(Links, needNotBeThereForTheSynopsisToReplaceALogOfItsName) {
    directory.write("synopsis.csv", logOfMessage(text));
    fs::remove(path("card/A.LOG"));
    EXPECT_EQ(run({"synopsis.csv", "--detail"}).status, 0);
    EXPECT_THAT(directory.files(),
                testing::Each(testing::Pair(testing::_, Not(HasSubstr("line 1")))));
}

TEST_F(Links, harmNothingWhenLogsAreConvertedByTheRecipe) {
    const std::string log = directory.read("card/A.LOG");
    for (const char* output :
         {"detail.csv", "wide.csv", "soc.csv", "dynamicInfo.csv", "A.LOG.detail.csv"}) {
        fs::create_symlink("../mine", path("card") / output);
    }
    fs::create_symlink("A.LOG", path("card/synopsis.csv"));
    const ProgramResult result =
        runProgram(recipe("convert-checked", {"card", "out"}), directory.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(directory.read("mine"), "precious");
    EXPECT_EQ(directory.read("card/A.LOG"), log);
    EXPECT_EQ(directory.read("out/detail.csv"), detail);
}

TEST_F(Links, andPipesInPlaceOfLogsAreRefusedByTheRecipe) {
    ASSERT_EQ(mkfifo(path("card/P.LOG").c_str(), 0600), 0);
    const ProgramResult pipe =
        runProgram(recipe("convert-checked", {"card", "out"}), directory.path());
    EXPECT_EQ(pipe.status, 1);
    EXPECT_THAT(pipe.err, testing::EndsWith("/card/P.LOG is not a file\n"));
    fs::remove(path("card/P.LOG"));
    fs::create_symlink("/dev/zero", path("card/Z.LOG"));
    const ProgramResult device =
        runProgram(recipe("convert-checked", {"card", "out"}), directory.path());
    EXPECT_EQ(device.status, 1);
    EXPECT_THAT(device.err, testing::EndsWith("/card/Z.LOG is not a file\n"));
    EXPECT_FALSE(directory.exists("out"));
}

// =================================================================================================
// Limits
// =================================================================================================

TEST(Limits, onFileSizeAreNoticedByTheRecipe) {
    const TemporaryDirectory directory;
    directory.write("card/A.LOG", logOfMessage(std::string(10000, 'x')));
    std::vector<std::string> command = {"prlimit", "--fsize=8192", "--core=0"};
    std::ranges::copy(recipe("convert-checked", {"card", "out"}), std::back_inserter(command));
    const ProgramResult result = runProgram(command, directory.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err, "");
}

TEST(Limits, onMemoryAreNoticedByTheRecipe) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizers take memory of their own";
#endif
    const TemporaryDirectory directory;
    std::string frames;
    while (frames.size() < 1U << 20) {
        frames += "\x10\x03";
    }
    directory.write("card/A.LOG", frames);
    std::vector<std::string> command = {"prlimit", "--as=60000000", "--core=0"};
    std::ranges::copy(recipe("convert-checked", {"card", "out"}), std::back_inserter(command));
    const ProgramResult result = runProgram(command, directory.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("convertquorvlogs ended with status 134. "));
}

// =================================================================================================
// Names and texts on the terminal
// =================================================================================================

const std::string oddName = "\033[2J\nConverting: B.LOG";

TEST(Names, areWrittenAsTheyAreInProgressAndErrorLines) {
    const TemporaryDirectory directory;
    directory.write(oddName, logOfMessage("\033]0;title\a"));
    const ProgramResult result = runTool({"./" + oddName, "--detail"}, directory.path());
    EXPECT_EQ(result.out, "Reading: ./" + oddName + "\nConverting: ./" + oddName + "\n");
    EXPECT_EQ(directory.read(oddName + ".detail.csv"),
              messageHeader + messageRow("\033]0;title\a"));

    fs::create_symlink("no/where", directory.path() / ("Z" + oddName));
    EXPECT_EQ(runTool({"."}, directory.path()).err,
              "Unable to open ./Z" + oddName + " for reading.\n");
}

TEST(Names, areShownHarmlesslyByTheRecipe) {
    const TemporaryDirectory directory;
    directory.write("card/A.LOG", logOfMessage("text"));
    fs::create_symlink("no/where", directory.path() / "card/-\033.LOG");
    const ProgramResult odd =
        runProgram(recipe("convert-checked", {"card", "out"}), directory.path());
    EXPECT_EQ(odd.status, 1);
    EXPECT_EQ(odd.out, "");
    EXPECT_THAT(odd.err, testing::EndsWith("/card/-^[.LOG is not a file\n"));
    fs::remove(directory.path() / "card/-\033.LOG");
    directory.write("card/-\033.LOG", logOfMessage("text"));
    EXPECT_EQ(runProgram(recipe("convert-checked", {"card", "out"}), directory.path()).out,
              "complete: 4 lines in detail.csv\n");
}

// =================================================================================================
// The order of whole logs
// =================================================================================================

TEST(WholeLogs, changePlacesWhenTheyBeginAtTheFirstStampOf1984) {
    const TemporaryDirectory directory;
    for (const char* name : {"A.LOG", "B.LOG", "C.LOG"}) {
        directory.write(name, LogBuilder().powerMode({0, 0}, 17).powerMode(someTime, 17).bytes());
    }
    const std::vector<std::string> lines = linesOf(runTool({"."}, directory.path()).out);
    ASSERT_EQ(lines.size(), 9U);
    const auto nameIn = [&](size_t line) { return lines[line].substr(lines[line].size() - 5); };
    // The third in the listing touches the first and the second.
    EXPECT_THAT((std::vector{nameIn(6), nameIn(7), nameIn(8)}),
                ElementsAre(nameIn(0), nameIn(2), nameIn(1)));
}

// =================================================================================================
// Memory and room
// =================================================================================================

/// The list of records grows by doubling: one record more than a power of two takes the most. The
/// record that meets the end is the one more.
template <typename Append>
std::string logOf(size_t records, Append append) {
    LogBuilder log;
    for (size_t count = 0; count < records; ++count) {
        append(log);
    }
    return log.bytes();
}

std::string oneRecord(unsigned type, const std::string& begin) {
    return LogBuilder().record(type, someTime, begin + std::string(2820000, 't')).bytes();
}

/// What a row of the table in docs/output-files.md speaks of.
struct Kind {
    const char* name;
    std::string (*log)();
};

const size_t records = 1U << 17;
const Kind kinds[] = {
    {"static info of one byte, `01 10 03` or `0D 10 03`",
     [] { return logOf(records * 4, [](LogBuilder& log) { log.append("\x01\x10\x03"); }); }},
    {"frames of no bytes, `10 03`",
     [] { return logOf(records * 4, [](LogBuilder& log) { log.append("\x10\x03"); }); }},
    {"power modes",
     [] { return logOf(records * 2, [](LogBuilder& log) { log.powerMode(someTime, 17); }); }},
    {"faults",
     [] { return logOf(records * 2, [](LogBuilder& log) { log.fault(someTime, 1, 0x1000); }); }},
    {"charge counters",
     [] {
         return logOf(records * 2,
                      [](LogBuilder& log) { log.advancedSoc(someTime, 1, 1000, 2000, 99, 80); });
     }},
    {"messages of 20 characters",
     [] {
         return logOf(records,
                      [](LogBuilder& log) { log.message(someTime, std::string(20, 'm')); });
     }},
    {"messages of 200 characters",
     [] {
         return logOf(records / 2,
                      [](LogBuilder& log) { log.message(someTime, std::string(200, 'm')); });
     }},
    {"measurements",
     [] {
         return logOf(records, [](LogBuilder& log) { log.dynamicInfo(someTime, DynamicInfo()); });
     }},
    {"one text of megabytes", [] { return oneRecord(5, ""); }},
    {"one system state of megabytes", [] { return oneRecord(5, "systemState=+"); }},
    {"one record of megabytes of unknown type", [] { return oneRecord(99, ""); }},
};

void PrintTo(const Kind& kind, std::ostream* os) {
    *os << kind.name;
}

std::string nameOf(const testing::TestParamInfo<Kind>& info) {
    std::string name = info.param.name;
    std::erase_if(name, [](unsigned char character) { return std::isalnum(character) == 0; });
    return name;
}

std::string textOf(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The rows of the table of memory: what a log holds, and bytes of memory per byte of log.
std::map<std::string, double> tableOfMemory() {
    const std::string page = textOf(fs::path(SOURCE_DIRECTORY) / "docs/output-files.md");
    const std::string table = page.substr(page.find("| Logs of nothing but |"));
    const std::regex row("\n\\| (.*) \\| ([0-9.]+) \\|");
    std::map<std::string, double> rows;
    for (std::sregex_iterator match(table.begin(), table.end(), row), end; match != end; ++match) {
        rows[match->str(1)] = std::stod(match->str(2));
    }
    return rows;
}

TEST(Memory, isTabledForTheKindsThatAreMeasured) {
    std::vector<std::string> names;
    std::transform(std::begin(kinds), std::end(kinds), std::back_inserter(names),
                   [](const Kind& kind) { return kind.name; });
    std::vector<std::string> tabled;
    for (const auto& [name, factor] : tableOfMemory()) {
        tabled.push_back(name);
    }
    EXPECT_THAT(names, testing::UnorderedElementsAreArray(tabled));
}

class MemoryOf : public testing::TestWithParam<Kind> {};

TEST_P(MemoryOf, theRecordsIsWhatTheTableSays) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizers take memory of their own";
#endif
    const TemporaryDirectory directory;
    directory.write("A.LOG", GetParam().log());
    const ProgramResult result = runTool({"--all"}, directory.path());
    EXPECT_EQ(result.status, 0);
    const double size = static_cast<double>(fs::file_size(directory.path() / "A.LOG"));
    const double tabled = tableOfMemory()[GetParam().name] * size;
    const double measured = 1024.0 * static_cast<double>(result.peakMemory);
    EXPECT_LE(measured, 5e6 + tabled) << (measured - 4e6) / size << " per byte";
    EXPECT_GE(measured, 0.8 * tabled) << "the table exaggerates";
}

INSTANTIATE_TEST_SUITE_P(, MemoryOf, testing::ValuesIn(kinds), nameOf);

/// Half a log of one long state text, half of short messages.
std::string halfAndHalf(size_t size) {
    LogBuilder log;
    log.message(someTime, "systemState=+" + std::string(size / 2, 's'));
    while (log.bytes().size() < size) {
        log.message(someTime, "");
    }
    return log.bytes();
}

// 20 kB: 10 kB of state text in the rows of 1111 messages of 9 bytes are 11 MB, so 1 MB gives 28
// GB.
TEST(Room, forTheWideFileGrowsWithTheSquareOfAHostileLog) {
    const TemporaryDirectory directory;
    directory.write("A.LOG", halfAndHalf(20000));
    EXPECT_EQ(runTool({}, directory.path()).status, 0);
    const double size = static_cast<double>(fs::file_size(directory.path() / "wide.csv"));
    EXPECT_NEAR(size * 50 * 50, 28e9, 1.5e9);
}

/// 256 modules with numbers of many digits, and messages.
std::string logOfManyModules() {
    LogBuilder log;
    for (unsigned module = 0; module < 256; ++module) {
        log.record(14, someTime, Payload().u8(module).text(std::string(60, '\xFE')));
        log.record(15, someTime, Payload().u8(module).text(std::string(16, '\xFE')));
    }
    for (unsigned count = 0; count < 500; ++count) {
        log.message(someTime, "");
    }
    return log.bytes();
}

/// Every text that a row of the wide file repeats, as long as it may be, with line breaks.
std::string logOfAllTexts() {
    const std::string text(30000, '\n');
    return LogBuilder()
        .message(someTime, "systemState=+" + text)
        .message(someTime, "chargeSchedule.state = " + text)
        .firmwareVersion(someTime, "a b " + std::string(30000, 'v'))
        .record(1, someTime,
                Payload().zeros(50).text("n", 32).zeros(32).text(std::string(30000, 'f')))
        .message(someTime, "a\x10\x03"
                           "b")
        .message(someTime, "")
        .bytes();
}

/// The number that follows the text.
double numberAfter(const std::string& text, const std::string& all) {
    const size_t found = all.find(text);
    EXPECT_NE(found, std::string::npos) << all;
    return found == std::string::npos ? 0 : std::stod(all.substr(found + text.size()));
}

const Kind hostileLogs[] = {
    {"halfAndHalf", [] { return halfAndHalf(50000); }},
    {"manyModules", logOfManyModules},
    {"allTexts", logOfAllTexts},
};

class LookFirst : public testing::TestWithParam<Kind> {};

TEST_P(LookFirst, tellsAtLeastWhatTheRunTakesAndNotMuchMore) {
    const TemporaryDirectory directory;
    directory.write("A.LOG", GetParam().log());
    directory.write("B.LOG", GetParam().log());
    const ProgramResult said = runProgram(recipe("look-first", {"."}), directory.path());
    EXPECT_EQ(said.err, "");
    const ProgramResult result = runTool({}, directory.path());
    EXPECT_EQ(result.status, 0);
    const double wide = static_cast<double>(fs::file_size(directory.path() / "wide.csv")) / 1e6;
    EXPECT_GE(numberAfter("wide.csv: at most ", said.out), wide);
    EXPECT_LE(numberAfter("wide.csv: at most ", said.out), 4 * wide + 1);
}

class LookFirstAtMemoryOf : public testing::TestWithParam<Kind> {};

TEST_P(LookFirstAtMemoryOf, theRecordsTellsAtLeastWhatTheRunTakes) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizers take memory of their own";
#endif
    const TemporaryDirectory directory;
    directory.write("A.LOG", GetParam().log());
    const double said = numberAfter("memory: at most ",
                                    runProgram(recipe("look-first", {"."}), directory.path()).out);
    const ProgramResult result = runTool({"--all"}, directory.path());
    const double measured = 1024.0 * static_cast<double>(result.peakMemory);
    EXPECT_GE(said * 1e6, measured);
    EXPECT_LE(said * 1e6, 4 * measured);
}

// Those that take the most.
INSTANTIATE_TEST_SUITE_P(, LookFirstAtMemoryOf,
                         testing::Values(kinds[0], kinds[1], kinds[9], kinds[10]), nameOf);

INSTANTIATE_TEST_SUITE_P(, LookFirst, testing::ValuesIn(hostileLogs), nameOf);

TEST(LookFirstAt, anyBytesCountsTheRecordsAndTheirBytes) {
    const TemporaryDirectory directory;
    // Escapes and discarded pairs; each log ends with the record that meets the end.
    directory.write("A.LOG", std::string("\x05\x10\x10\x03\x10\x41z\x10\x03\x10", 10));
    directory.write(".LOG", "abc");
    directory.write("other", std::string(100, 'x'));
    ASSERT_EQ(mkfifo((directory.path() / "P.LOG").c_str(), 0600), 0);
    const ProgramResult said = runProgram(recipe("look-first", {"."}), directory.path());
    EXPECT_EQ(said.status, 0);
    EXPECT_THAT(said.out, testing::StartsWith("3 records, the longest of 4 bytes\n"));
}

} // namespace
