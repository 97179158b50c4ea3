// What the sample logs have to become, byte for byte. script/updateGolden writes the golden files
// with the reference converter.
//
// The goldens hold what a directory with a single log gives, since the order in which a directory
// lists several logs is the file system's choice, and the outputs follow it. What a whole directory
// has to give is put together from the goldens of its logs, in the order in which they are listed
// when the test runs.

#include "ExpectedCsv.h"
#include "ProgramRun.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>

namespace fs = std::filesystem;

namespace {

using Files = std::map<std::string, std::string>;

const fs::path samples = fs::path(SOURCE_DIRECTORY) / "samples";
const fs::path golden = fs::path(SOURCE_DIRECTORY) / "tests" / "golden";

std::string bytesOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    EXPECT_TRUE(stream) << path;
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The names of a directory's entries that end in the given text, in the order in which the
/// directory lists them.
std::vector<std::string> listed(const fs::path& directory, std::string_view ending) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory)) {
        if (entry.path().filename().native().ends_with(ending)) {
            names.push_back(entry.path().filename());
        }
    }
    EXPECT_FALSE(names.empty()) << directory;
    return names;
}

/// The golden files of a log: the paths that they have when the log lies in "logs".
Files goldenFilesOf(const std::string& directory, const std::string& log) {
    const fs::path source = golden / directory / fs::path(log).stem();
    Files files;
    for (const std::string& name : listed(source, ".csv")) {
        files[name == "synopsis.csv" ? name : "logs/" + name] = bytesOf(source / name);
    }
    return files;
}

/// The files that a run left behind in its directory, but for the logs.
Files outputsIn(const TemporaryDirectory& directory) {
    Files files = directory.files();
    std::erase_if(files, [](const auto& file) { return file.first.ends_with(".LOG"); });
    return files;
}

/// Converts all logs below "logs" and returns what was printed.
std::string convert(const TemporaryDirectory& directory) {
    const ProgramResult result = runTool({"logs", "--all"}, directory.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
}

std::vector<std::string> namesOf(const Files& files) {
    std::vector<std::string> names;
    for (const auto& file : files) {
        names.push_back(file.first);
    }
    return names;
}

/// Compares file by file, so that a difference doesn't print megabytes.
void expectFiles(const Files& expected, const Files& actual) {
    EXPECT_EQ(namesOf(actual), namesOf(expected));
    for (const auto& [name, text] : expected) {
        const auto found = actual.find(name);
        if (found == actual.end() || found->second == text) {
            continue;
        }
        const std::vector<std::string> left = linesOf(text);
        const std::vector<std::string> right = linesOf(found->second);
        const auto difference = std::ranges::mismatch(left, right);
        ADD_FAILURE() << name << ", line " << difference.in1 - left.begin() + 1 << "\nexpected: "
                      << (difference.in1 == left.end() ? "(end)" : *difference.in1)
                      << "\nactual:   "
                      << (difference.in2 == right.end() ? "(end)" : *difference.in2);
    }
}

std::string withoutHeader(const std::string& text, const std::string& header) {
    EXPECT_TRUE(text.starts_with(header));
    return text.substr(header.size());
}

class GoldenTest : public testing::TestWithParam<std::string> {
protected:
    const std::string& directoryName() const { return GetParam(); }
};

TEST_P(GoldenTest, aLogAloneInADirectoryGivesItsGoldenFiles) {
    for (const std::string& log : listed(samples / directoryName(), ".LOG")) {
        SCOPED_TRACE(log);
        const TemporaryDirectory directory;
        directory.write("logs/" + log, bytesOf(samples / directoryName() / log));
        const std::string printed = convert(directory);
        expectFiles(goldenFilesOf(directoryName(), log), outputsIn(directory));
        EXPECT_EQ(printed, bytesOf(golden / directoryName() / fs::path(log).stem() / "stdout"));
    }
}

// No sample log reaches into the time of another, so they are converted in the order in which they
// are listed. The combined state is carried from log to log: see the next test.
TEST_P(GoldenTest, aDirectoryGivesTheGoldenFilesOfItsLogsInListingOrder) {
    const TemporaryDirectory directory;
    for (const std::string& log : listed(samples / directoryName(), ".LOG")) {
        directory.write("logs/" + log, bytesOf(samples / directoryName() / log));
    }
    Files expected = {{"synopsis.csv", synopsisHeader},
                      {"logs/detail.csv", ""},
                      {"logs/dynamicInfo.csv", dynamicInfoHeader},
                      {"logs/soc.csv", socHeader}};
    std::string reading;
    std::string sorting;
    std::string converting;
    for (const std::string& log : listed(directory.path() / "logs", ".LOG")) {
        Files files = goldenFilesOf(directoryName(), log);
        const std::string detail = "logs/" + log + ".detail.csv";
        expected[detail] = files[detail];
        expected["logs/detail.csv"] += files["logs/detail.csv"];
        expected["logs/dynamicInfo.csv"] +=
            withoutHeader(files["logs/dynamicInfo.csv"], dynamicInfoHeader);
        expected["logs/soc.csv"] += withoutHeader(files["logs/soc.csv"], socHeader);
        reading += "Reading: logs/" + log + "\n";
        sorting += "Sorting logs/" + log + "\n";
        converting += "Converting: logs/" + log + "\n";
    }
    EXPECT_EQ(convert(directory), reading + sorting + converting);
    Files actual = outputsIn(directory);
    EXPECT_EQ(actual.erase("logs/wide.csv"), 1U);
    expectFiles(expected, actual);
}

INSTANTIATE_TEST_SUITE_P(Samples, GoldenTest,
                         testing::Values("two-module-truck", "single-module-truck", "damaged"),
                         [](const auto& tested) {
                             std::string name = tested.param;
                             std::erase(name, '-');
                             return name;
                         });

// Logs that end with a whole frame can be put one after the other and are a log again. Its only
// difference from the directory is the header lines that start each log in "detail.csv".
TEST(GoldenWideTest, aDirectoryGivesTheRowsOfItsLogsPutTogetherInListingOrder) {
    for (const std::string name : {"two-module-truck", "single-module-truck"}) {
        SCOPED_TRACE(name);
        const TemporaryDirectory separate;
        for (const std::string& log : listed(samples / name, ".LOG")) {
            separate.write("logs/" + log, bytesOf(samples / name / log));
        }
        std::string together;
        for (const std::string& log : listed(separate.path() / "logs", ".LOG")) {
            together += bytesOf(samples / name / log);
        }
        const TemporaryDirectory one;
        one.write("logs/together.LOG", together);
        convert(separate);
        convert(one);
        expectFiles({{"wide.csv", one.read("logs/wide.csv")}},
                    {{"wide.csv", separate.read("logs/wide.csv")}});
    }
}

} // namespace
