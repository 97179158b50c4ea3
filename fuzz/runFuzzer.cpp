// Runs the whole tool, options, ordering and conversion, over logs made from the input in a scratch
// directory in memory.
//
// The input is, in this order:
//   1 byte      how many choices follow (modulo 8)
//   1 byte each a choice of words for the command line, see takeCommandLine
//   1 byte      what else lies in the directory: bit 0 a dangling link, bit 1 a directory named as
//               a log, bit 2 no logs at all
//   the rest    the logs, 10 7C between them
//
// What must hold besides the absence of a crash:
// - the files that exist afterwards are the logs, unchanged, and the outputs asked for;
// - each record inside the date range has exactly one row in "detail.csv" and one in its log's own
//   detail file, under a header line where the type changes (but for records of type 0 in front of
//   all others: the log's own file is opened by the first header line, which they don't cause);
// - the files of samples and counters hold exactly their rows, and the combined rows are those that
//   the records give one after the other;
// - the synopsis holds its header line alone;
// - standard output names every log once per phase, and the exit status is the documented one;
// - a second run over the same directory leaves the same bytes.
//
// Built without access control: a process would end after each run, so what it keeps is put back to
// its state at program start by hand. Command lines on which the option parser ends the process are
// not made.

#include "ConvertFile.h"
#include "DataFile.h"
#include "DataRecord.h"
#include "Options.h"
#include "Require.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

/// The tool's main, renamed by the build.
int toolMain(int argumentCount, char** arguments);

namespace {

namespace fs = std::filesystem;

using Files = std::map<std::string, std::string>; // bytes by name

// =================================================================================================
// The input
// =================================================================================================

struct Case {
    std::vector<std::string> words; // of the command line
    std::string path = ".";         // that the command line names
    std::vector<std::string> logs;
    bool danglingLink = false;
    bool directoryNamedAsLog = false;
};

uint8_t takeByte(std::string_view& input) {
    if (input.empty()) {
        return 0;
    }
    const auto byte = static_cast<uint8_t>(input.front());
    input.remove_prefix(1);
    return byte;
}

/// Adds words such that the option parser never ends the process: one path at most, a value after
/// every option that takes one, and no time after an empty date.
void takeCommandLine(std::string_view& input, Case& result, const std::string& directory) {
    static const std::vector<std::string> outputs = [] {
        std::vector<std::string> words;
        for (const Option& option : allOptions()) {
            if (option.action == Option::Action::output) {
                words.emplace_back(option.name);
                words.emplace_back(option.shortName.empty() ? "--none" : option.shortName);
            }
        }
        return words;
    }();
    static const std::vector<std::string> dates = {
        "2019-03-03", "2016-01-01", "2099-12-31", "1984-01-01", "2019", "-", "~", "",
    };
    static const std::vector<std::string> times = {"00:00:00", "08:05:09.5", "23:59:59", "x", ""};
    const std::vector<std::string> paths = {".", directory, directory + "/", "0.LOG",
                                            "missing.LOG"};
    bool pathSpecified = false;
    std::map<std::string, std::string> bounds = {{"--start", "set"}, {"--end", "set"}};

    const auto pick = [](const std::vector<std::string>& words, unsigned choice) {
        return words[choice % words.size()];
    };
    for (unsigned count = takeByte(input) % 8U; count > 0; --count) {
        const uint8_t choice = takeByte(input);
        const unsigned value = choice / 4U;
        const std::string bound = value % 2 == 0 ? "--start" : "--end";
        switch (choice % 4) {
        case 0:
            result.words.push_back(pick(outputs, value));
            break;
        case 1:
            bounds[bound] = pick(dates, value / 2);
            result.words.insert(result.words.end(), {bound + "date", bounds[bound]});
            break;
        case 2:
            if (!bounds[bound].empty()) {
                result.words.insert(result.words.end(), {bound + "time", pick(times, value / 2)});
            }
            break;
        default:
            if (!pathSpecified) {
                pathSpecified = true;
                result.path = pick(paths, value);
                result.words.push_back(result.path);
            }
        }
    }
}

Case caseOf(std::string_view input, const std::string& directory) {
    constexpr std::string_view separator = "\x10|";
    constexpr size_t mostLogs = 6;
    Case result;
    takeCommandLine(input, result, directory);
    const uint8_t others = takeByte(input);
    result.danglingLink = (others & 1) != 0;
    result.directoryNamedAsLog = (others & 2) != 0;
    if ((others & 4) == 0) {
        while (result.logs.size() + 1 < mostLogs && input.find(separator) != input.npos) {
            result.logs.emplace_back(input.substr(0, input.find(separator)));
            input.remove_prefix(input.find(separator) + separator.size());
        }
        result.logs.emplace_back(input);
    }
    return result;
}

// =================================================================================================
// The scratch directory, which is the working directory of each run
// =================================================================================================

/// An empty directory, in memory where the system has a place for that.
class Scratch {
public:
    Scratch() : home(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        const fs::path memory = "/dev/shm";
        const fs::path parent =
            access(memory.c_str(), W_OK) == 0 ? memory : fs::temp_directory_path();
        std::string name = parent / "convertquorvlogs-fuzz-XXXXXX";
        require(home >= 0 && mkdtemp(name.data()) != nullptr, "a scratch directory can be made");
        directory = name;
    }
    ~Scratch() {
        std::error_code ignored;
        fs::remove_all(directory, ignored);
        close(home);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    const fs::path& path() const { return directory; }

    void enter() const { require(chdir(directory.c_str()) == 0, "the directory can be entered"); }

    /// Goes back to where the program was started: the fuzzer's own paths may be relative.
    void leave() const { require(fchdir(home) == 0, "the directory can be left"); }

    void fill(const Case& input) const {
        for (const auto& entry : fs::directory_iterator(directory)) {
            fs::remove_all(entry.path());
        }
        for (size_t index = 0; index < input.logs.size(); ++index) {
            std::ofstream(directory / (std::to_string(index) + ".LOG"), std::ios::binary)
                << input.logs[index];
        }
        if (input.danglingLink) {
            fs::create_symlink("nowhere", directory / "link.LOG");
        }
        if (input.directoryNamedAsLog) {
            fs::create_directory(directory / "directory.LOG");
        }
    }

    Files files() const {
        Files result;
        for (const auto& entry : fs::directory_iterator(directory)) {
            if (entry.is_regular_file()) {
                std::ifstream stream(entry.path(), std::ios::binary);
                result[entry.path().filename()] = {std::istreambuf_iterator<char>(stream),
                                                   std::istreambuf_iterator<char>()};
            }
        }
        return result;
    }

private:
    int home;
    fs::path directory;
};

const Scratch& scratch() {
    static const Scratch directory;
    return directory;
}

// =================================================================================================
// The run
// =================================================================================================

/// Catches what is written to standard output and standard error while it lives.
class Console {
public:
    Console() {
        // What the run does first; the first time gives the streams their buffers anew.
        std::ios::sync_with_stdio(false);
        formerOut = std::cout.rdbuf(out.rdbuf());
        formerErr = std::cerr.rdbuf(err.rdbuf());
    }
    ~Console() {
        std::cout.rdbuf(formerOut);
        std::cerr.rdbuf(formerErr);
    }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    std::ostringstream out;
    std::ostringstream err;

private:
    std::streambuf* formerOut = nullptr;
    std::streambuf* formerErr = nullptr;
};

/// Puts what lives as long as the process back to its state at program start.
void beginProcess() {
    ConvertFile::detailEnabled = false;
    ConvertFile::socEnabled = false;
    ConvertFile::dynamicInfoEnabled = false;
    ConvertFile::wideEnabled = false;
    ConvertFile::startDatestamp = "2016-01-01";
    ConvertFile::endDatestamp = "2099-12-31";
    ConvertFile::globalDynamicInfoFilename.clear();
    ConvertFile::globalSocFilename.clear();
    ConvertFile::globalWideFilename.clear();
    ConvertFile::globalDetailFilename.clear();
    ConvertFile::globalDynamicInfoStream = std::ofstream();
    ConvertFile::globalSocStream = std::ofstream();
    ConvertFile::globalWideStream = std::ofstream();
    ConvertFile::globalDetailStream = std::ofstream();
    ConvertFile::wide = WideDataRecord();
    MessageDataRecord::systemStates.clear();
    std::destroy_at(&synopsis);
    std::construct_at(&synopsis);
}

/// What a run left behind. The choices are those that it worked with.
struct Outcome {
    int status = 0;
    std::string out;
    std::string err;
    Files files;
};

Outcome run(const Case& input) {
    std::vector<std::string> words = input.words;
    std::string name = "convertquorvlogs";
    std::vector<char*> arguments = {name.data()};
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);

    Outcome outcome;
    beginProcess();
    {
        const Console console;
        outcome.status = toolMain(static_cast<int>(arguments.size() - 1), arguments.data());
        outcome.out = console.out.str();
        outcome.err = console.err.str();
    }
    std::destroy_at(&synopsis); // as the end of the process would, with its last line
    outcome.files = scratch().files();
    std::construct_at(&synopsis);
    return outcome;
}

// =================================================================================================
// What must hold
// =================================================================================================

/// What stands after the prefix in the lines that begin with it, in their order.
std::vector<std::string> namesAfter(std::string_view prefix, const std::string& console) {
    std::vector<std::string> names;
    std::istringstream lines(console);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(prefix)) {
            names.push_back(line.substr(prefix.size()));
        }
    }
    return names;
}

void requireConsole(const Case& input, const Outcome& outcome, bool directoryMode) {
    std::multiset<std::string> logs;
    if (directoryMode) {
        for (size_t index = 0; index < input.logs.size(); ++index) {
            logs.insert(input.path + "/" + std::to_string(index) + ".LOG");
        }
        if (input.danglingLink) {
            logs.insert(input.path + "/link.LOG");
        }
        if (input.directoryNamedAsLog) {
            logs.insert(input.path + "/directory.LOG");
        }
    } else {
        logs.insert(input.path);
    }
    const auto setOf = [](const std::vector<std::string>& names) {
        return std::multiset<std::string>(names.begin(), names.end());
    };
    const auto read = namesAfter("Reading: ", outcome.out);
    const auto sorted = namesAfter("Sorting ", outcome.out);
    const auto converted = namesAfter("Converting: ", outcome.out);
    require(setOf(read) == logs, "each log is read once");
    require(sorted == (directoryMode ? read : std::vector<std::string>()),
            "the logs of a directory are ordered in listing order");
    require(setOf(converted) == logs, "each log is converted once");
    require(static_cast<size_t>(std::count(outcome.out.begin(), outcome.out.end(), '\n')) ==
                read.size() + sorted.size() + converted.size(),
            "nothing else is printed");
    require(outcome.status == (logs.empty() ? 1 : 0), "the exit status is the documented one");
}

/// The combined rows, from the rows of the records alone.
class CombinedRows {
public:
    CombinedRows() {
        for (const unsigned module : {1U, 2U}) { // known from the beginning, with empty fields
            samples[module] = std::string(16, ',');
            counters[module] = std::string(5, ',');
        }
    }

    void take(const std::shared_ptr<DataRecord>& record) {
        if (auto* const info = dynamic_cast<StaticInfoDataRecord*>(record.get())) {
            takeWord(info->firmwareVersion, 1, bmuVersion);
        } else if (auto* const version =
                       dynamic_cast<BMCFirmwareVersionDataRecord*>(record.get())) {
            takeWord(version->firmwareVersion, 3, bmcVersion);
        } else if (auto* const message = dynamic_cast<MessageDataRecord*>(record.get())) {
            takeMessage(*message);
            addRow();
        } else if (auto* const sample = dynamic_cast<DynamicInfoDataRecord*>(record.get())) {
            samples[sample->moduleAddress % 256U] = fieldsOf(*sample);
            datestamp = sample->datestamp;
            addRow();
        } else if (auto* const reading = dynamic_cast<AdvancedSOCDataRecord*>(record.get())) {
            counters[reading->moduleAddress % 256U] = fieldsOf(*reading);
            datestamp = reading->datestamp;
        } else if (auto* const mode = dynamic_cast<PowerModeDataRecord*>(record.get())) {
            powerMode = fieldsOf(*mode);
            datestamp = mode->datestamp;
        } else if (auto* const fault = dynamic_cast<FaultDataRecord*>(record.get())) {
            faults[fault->error_register % 256U] = fault->additional_information;
            datestamp = fault->datestamp;
        }
    }

    const std::string& rows() const { return text; }

private:
    static std::string fieldsOf(DataRecord& record) {
        std::ostringstream os;
        record.writeBasicCSV(os);
        return os.str();
    }

    /// Takes the word at the place, counted from 1, if there is one.
    static void takeWord(const std::string& words, int place, std::string& version) {
        std::istringstream stream(words);
        std::string word;
        for (int index = 0; index < place; ++index) {
            if (!(stream >> word)) {
                return;
            }
        }
        version = word;
    }

    void takeMessage(const MessageDataRecord& message) {
        if (!message.systemState().empty()) {
            state = message.systemState();
            datestamp = message.datestamp;
            if (state == "1") {
                faults.clear();
                schedule.clear();
                signals.fill(",");
            }
        } else if (!message.chargeScheduleState().empty()) {
            schedule = message.chargeScheduleState();
            datestamp = message.datestamp;
        } else {
            const TriState reports[] = {message.sbx(), message.acPresent(), message.button(),
                                        message.interlock()};
            for (size_t index = 0; index < signals.size(); ++index) {
                if (reports[index] != TriState::Indeterminate) {
                    signals[index] = reports[index] == TriState::True ? ",1" : ",0";
                }
            }
        }
    }

    void addRow() {
        if (datestamp.empty()) {
            return;
        }
        text += datestamp;
        for (const auto* modules : {&samples, &counters}) {
            for (const auto& [module, fields] : *modules) {
                text += fields;
            }
        }
        text += powerMode;
        for (const unsigned category : {1U, 2U, 4U, 8U, 16U, 128U}) {
            text += ',' + std::to_string(faults[category]);
        }
        text += ',' + state + ',' + schedule;
        for (const std::string& signal : signals) {
            text += signal;
        }
        text += ',' + bmcVersion + ',' + bmuVersion + '\n';
    }

    std::string datestamp;
    std::map<unsigned, std::string> samples;  // by module
    std::map<unsigned, std::string> counters; // by module
    std::string powerMode = ",normal";
    std::map<unsigned, unsigned> faults; // by category
    std::string state;
    std::string schedule;
    std::array<std::string, 4> signals = {",", ",", ",", ","};
    std::string bmcVersion;
    std::string bmuVersion;
    std::string text;
};

bool insideDateRange(const DataRecord& record) {
    const std::string_view datestamp = record.datestamp;
    return (ConvertFile::startDatestamp.empty() || ConvertFile::startDatestamp <= datestamp) &&
           (ConvertFile::endDatestamp.empty() || datestamp <= ConvertFile::endDatestamp);
}

/// Adds the rows of a log to the outputs.
void addRows(Files& expected, CombinedRows& combined, const std::string& logName,
             bool directoryMode) {
    const DataFile log(logName);
    std::ostringstream global;
    std::ostringstream own;
    std::ostringstream samples;
    std::ostringstream counters;
    DataRecord::Type headerType = DataRecord::garble;
    bool ownOpen = false;
    for (const auto& record : log) {
        if (!insideDateRange(*record)) {
            continue;
        }
        const DataRecord::Type type = record->recordType();
        if (type != headerType) {
            record->writeCSVHeader(global);
            record->writeCSVHeader(own);
            headerType = type;
            ownOpen = true;
        }
        if (ConvertFile::detailEnabled) {
            if (directoryMode) { // first, since ambient temperature is read while it is written
                record->writeCSVTimestampedData(global);
            }
            if (ownOpen) {
                record->writeCSVTimestampedData(own);
            }
        }
        if (type == 2 || type == 14) {
            record->writeCSVTimestampedData(samples);
        } else if (type == 7 || type == 15) {
            record->writeCSVTimestampedData(counters);
        }
        combined.take(record);
    }
    if (ConvertFile::detailEnabled && ownOpen) {
        expected[fs::path(logName).filename().string() + ".detail.csv"] = own.str();
    }
    if (directoryMode) {
        if (ConvertFile::detailEnabled) {
            expected["detail.csv"] += global.str();
        }
        if (ConvertFile::dynamicInfoEnabled) {
            expected["dynamicInfo.csv"] += samples.str();
        }
        if (ConvertFile::socEnabled) {
            expected["soc.csv"] += counters.str();
        }
    }
}

std::string headerOf(DataRecord::Type type) {
    std::ostringstream os;
    DataRecord::writeCSVHeader(type, os);
    return os.str();
}

/// All files that the run should have left.
Files expectedFiles(const Case& input, const Outcome& outcome, bool directoryMode) {
    Files expected;
    size_t index = 0;
    for (const std::string& log : input.logs) {
        expected[std::to_string(index++) + ".LOG"] = log;
    }
    expected["synopsis.csv"] =
        "startDate,endDate,direction,loSoc,hiSoc,loDsoc,hiDsoc,transportedCharge\n";
    const auto converted = namesAfter("Converting: ", outcome.out);
    const bool hasGlobalFiles = directoryMode && !converted.empty();
    if (hasGlobalFiles && ConvertFile::dynamicInfoEnabled) {
        expected["dynamicInfo.csv"] = headerOf(DataRecord::dynamicInfoRecordId);
    }
    if (hasGlobalFiles && ConvertFile::socEnabled) {
        expected["soc.csv"] = headerOf(DataRecord::advancedSocRecordId);
    }
    const Console silence;
    CombinedRows combined;
    for (const std::string& log : converted) {
        addRows(expected, combined, log, directoryMode);
    }
    if (hasGlobalFiles && ConvertFile::wideEnabled) {
        std::ostringstream header;
        WideDataRecord().writeCSVHeader(header);
        expected["wide.csv"] = header.str() + combined.rows();
    }
    return expected;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(data, data + size);
    const Case input = caseOf(bytes, scratch().path());
    scratch().fill(input);
    scratch().enter();
    const bool directoryMode = fs::is_directory(input.path);

    const Outcome first = run(input);
    requireConsole(input, first, directoryMode);
    require(first.files == expectedFiles(input, first, directoryMode),
            "the files hold exactly their rows");

    const Outcome second = run(input);
    require(first.status == second.status && first.out == second.out && first.err == second.err,
            "a second run says the same");
    require(first.files == second.files, "a second run leaves the same bytes");
    scratch().leave();
    return 0;
}
