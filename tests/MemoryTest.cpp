// What the tool leaves behind when its memory runs out, at whatever moment. Every test runs the
// built tool.
//
// The rule: the run ends there, as a program without memory does, with the signal SIGABRT. Up to
// there its outputs are those of any other run. It goes on only where the system could not open a
// file for lack of memory, which is a file that can't be opened like any other: a log costs its own
// records and one line on standard error, a directory ends the run with status 1, and an output
// lacks its beginning, or is missing.

#include "LogBuilder.h"
#include "ProgramRun.h"
#include "RecordCatalogue.h"

#include <csignal>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

#ifdef __SANITIZE_ADDRESS__
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

using Arguments = std::vector<std::string>;

Stamp second(unsigned number) {
    return stamp(2020, 5, 1, 8, 0, number);
}

/// Records of all types and of two modules, with texts that are longer than what is held without
/// a heap block.
std::string mixedLog(const std::string& name) {
    DynamicInfo info;
    info.millivolts = 25200;
    info.soc = 80;
    info.cellMillivolts = std::vector<unsigned>(cellsPerModule, 3600);
    info.deciKelvin = 2982;
    StaticInfo description;
    description.deviceName = "device of log " + name;
    description.firmwareVersion = "version-of-the-BMU-" + name;
    LogBuilder log;
    log.message(second(0), "systemState=+" + std::string(3000, 's') + name);
    log.staticInfo(second(1), description);
    log.staticInfo(second(1), 2, description);
    log.dynamicInfo(second(2), info);
    log.dynamicInfo(second(3), 2, info);
    log.advancedSoc(second(4), 1000, 2000, 99, 80);
    log.advancedSoc(second(4), 2, 1001, 2001, 99, 80);
    log.fault(second(5), 2, 3);
    log.firmwareVersion(second(6), "the BMC version-of-the-BMC-" + name);
    log.powerMode(second(7), 17);
    appendMissingTypes(log, second(8));
    log.record(unknownType().code, second(9), std::string(50, '?'));
    log.message(second(10), "chargeSchedule.state = a-state-that-is-not-short-" + name);
    log.message(second(11), "interlock=+1");
    log.dynamicInfo(second(12), info);
    log.message(second(13), "systemState=+1");
    log.dynamicInfo(second(14), 2, info);
    return log.bytes();
}

/// What a run leaves behind.
struct Outcome {
    ProgramResult result;
    std::map<std::string, std::string> files; // the CSV files, by name
};

class Memory : public testing::Test {
protected:
    Memory() {
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_CORE, &none);
    }

    Outcome run(const Arguments& command) const {
        for (const auto& [name, bytes] : directory.files()) {
            if (name.ends_with(".csv")) {
                fs::remove(directory.path() / name);
            }
        }
        Outcome outcome{runProgram(command, directory.path()), directory.files()};
        std::erase_if(outcome.files,
                      [](const auto& file) { return !file.first.ends_with(".csv"); });
        return outcome;
    }

    TemporaryDirectory directory;
};

void expectPrefixes(const Outcome& disturbed, const Outcome& undisturbed) {
    EXPECT_TRUE(undisturbed.result.out.starts_with(disturbed.result.out)) << disturbed.result.out;
    for (const auto& [name, bytes] : disturbed.files) {
        ASSERT_TRUE(undisturbed.files.contains(name)) << name;
        EXPECT_TRUE(undisturbed.files.at(name).starts_with(bytes)) << name << ":\n" << bytes;
        EXPECT_TRUE(bytes.empty() || bytes.ends_with('\n')) << name << ":\n" << bytes;
    }
}

// =================================================================================================
// Allocations that fail
// =================================================================================================

/// A way to run the tool.
struct Mode {
    const char* name;
    Arguments arguments;
};

void PrintTo(const Mode& mode, std::ostream* os) {
    *os << mode.name;
}

const Mode modes[] = {
    {"byDefault", {}},
    {"withAllOutputs", {"--all"}},
    {"ofOneLog", {"A.LOG", "--detail"}},
};

/// Whether the file lacks lines at the beginning only, those after a header line perhaps.
bool lacksItsBeginning(std::string_view bytes, std::string_view whole) {
    const size_t header = whole.find('\n') + 1;
    if (whole.substr(0, header) == bytes.substr(0, header)) {
        bytes.remove_prefix(header);
        whole.remove_prefix(header);
    }
    return whole.ends_with(bytes) && (bytes.empty() || bytes.size() == whole.size() ||
                                      whole[whole.size() - bytes.size() - 1] == '\n');
}

class FailingAllocations : public Memory, public testing::WithParamInterface<Mode> {
protected:
    void SetUp() override {
        if (sanitized) {
            GTEST_SKIP() << "the sanitizers have an allocator of their own";
        }
        // Links, so that a log can be taken away without a change to the order of the directory.
        for (const std::string name : {"A", "B"}) {
            logs.write(name, mixedLog(name));
            fs::create_symlink(logs.path() / name, directory.path() / (name + ".LOG"));
        }
        undisturbed = convert(0, 0);
        ASSERT_EQ(undisturbed.result.status, 0);
        ASSERT_EQ(undisturbed.result.err, "");
        allocations = std::stoul(directory.read("count"));
        ASSERT_GT(allocations, 100U);
        for (const char* name : {"A", "B"}) {
            fs::rename(logs.path() / name, logs.path() / "away");
            const Outcome outcome = convert(0, 0);
            if (!outcome.result.err.empty()) {
                withoutLog[outcome.result.err] = outcome;
            }
            fs::rename(logs.path() / "away", logs.path() / name);
        }
        ASSERT_FALSE(withoutLog.empty());
    }

    /// Converts, and lets the allocations from the first to the last, counted from 1, fail.
    Outcome convert(size_t first, size_t last) const {
        Arguments command = {"env",
                             std::string("LD_PRELOAD=") + FAILING_ALLOCATIONS,
                             "FAIL_FROM=" + std::to_string(first),
                             "FAIL_TO=" + std::to_string(last),
                             "COUNT_FILE=count",
                             toolPath()};
        const Arguments& arguments = GetParam().arguments;
        command.insert(command.end(), arguments.begin(), arguments.end());
        return run(command);
    }

    /// Looks whether the run ended as one without memory does or left what it should have.
    void check(const Outcome& disturbed) {
        const ProgramResult& result = disturbed.result;
        if (result.status == 128 + SIGABRT) {
            ++aborted;
            expectPrefixes(disturbed, undisturbed);
            return;
        }
        if (result.status == 1) { // the directory could not be opened
            EXPECT_EQ(result.out, "");
            EXPECT_EQ(result.err, "");
            EXPECT_EQ(disturbed.files.size(), 1U);
            expectPrefixes(disturbed, undisturbed);
            return;
        }
        EXPECT_EQ(result.status, 0);
        ASSERT_TRUE(result.err.empty() || withoutLog.contains(result.err)) << result.err;
        const Outcome& expected = result.err.empty() ? undisturbed : withoutLog.at(result.err);
        EXPECT_EQ(result.out, expected.result.out);
        unsigned lacking = 0;
        for (const auto& [name, whole] : expected.files) {
            const auto found = disturbed.files.find(name);
            const std::string bytes = found != disturbed.files.end() ? found->second : "";
            EXPECT_TRUE(lacksItsBeginning(bytes, whole)) << name << ":\n" << bytes;
            lacking += bytes != whole ? 1 : 0;
        }
        EXPECT_LE(lacking, result.err.empty() ? 1U : 0U);
        for (const auto& [name, bytes] : disturbed.files) {
            EXPECT_TRUE(expected.files.contains(name)) << name;
        }
    }

    TemporaryDirectory logs;
    Outcome undisturbed;
    std::map<std::string, Outcome> withoutLog; // by the line about the log that can't be opened
    size_t allocations = 0;
    size_t aborted = 0;
};

TEST_P(FailingAllocations, onceEndTheRunOrLeaveNoWrongByte) {
    for (size_t number = 1; number <= allocations; ++number) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        check(convert(number, number));
    }
    EXPECT_GT(aborted, allocations / 2);
}

TEST_P(FailingAllocations, fromSomeOneOnEndTheRunOrLeaveNoWrongByte) {
    for (size_t number = 1; number <= allocations; ++number) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        check(convert(number, SIZE_MAX));
    }
    EXPECT_GT(aborted, allocations / 2);
}

INSTANTIATE_TEST_SUITE_P(, FailingAllocations, testing::ValuesIn(modes),
                         [](const auto& test) { return std::string(test.param.name); });

// =================================================================================================
// Limits
// =================================================================================================

// A row that is longer than the memory that is left has no place to be put together in.
TEST_F(Memory, limitNeverCutsARow) {
    if (sanitized) {
        GTEST_SKIP() << "the sanitizers themselves need more memory than the limit";
    }
    DynamicInfo info;
    info.millivolts = 25200;
    LogBuilder log;
    log.message(second(0), "systemState=+" + std::string(8'000'000, 'S'));
    log.fault(second(1), 1, 1);
    for (unsigned number = 2; number < 5; ++number) {
        log.dynamicInfo(second(number), 1, info);
    }
    directory.write("A.LOG", log.bytes());
    const Outcome undisturbed = run({toolPath()});
    ASSERT_EQ(undisturbed.result.status, 0);
    unsigned complete = 0;
    unsigned aborted = 0;
    for (unsigned megabytes = 40; complete < 2 && megabytes < 400; megabytes += 3) {
        SCOPED_TRACE(megabytes);
        const Outcome disturbed =
            run({"prlimit", "--as=" + std::to_string(megabytes) + "000000", toolPath()});
        if (disturbed.result.status == 128 + SIGABRT) {
            ++aborted;
            EXPECT_THAT(disturbed.result.err, HasSubstr("bad_alloc"));
            for (const auto& [name, bytes] : disturbed.files) {
                EXPECT_TRUE(undisturbed.files.at(name).starts_with(bytes)) << bytes.size();
                EXPECT_TRUE(bytes.empty() || bytes.ends_with('\n')) << bytes.size();
            }
        } else {
            ++complete;
            EXPECT_EQ(disturbed.result.status, 0);
            EXPECT_EQ(disturbed.result.out, undisturbed.result.out);
            EXPECT_EQ(disturbed.result.err, "");
            EXPECT_TRUE(disturbed.files == undisturbed.files);
        }
    }
    EXPECT_GE(aborted, 5U);
    EXPECT_EQ(complete, 2U);
}

} // namespace
