// The default conversion as one writes it first: bytes taken from a stream one by one, every value
// formatted by the stream that it is written to. A measure of the tool's speed that does not depend
// on the machine.
//
//   plain DIRECTORY
//
// It writes the rows that the tool writes to "wide.csv", without the header line, to "plain.csv" in
// the directory. It knows what the simulated "typical" logs hold, no damage and no restart.

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr char dle = 0x10;
constexpr char etx = 0x03;

struct Record {
    std::vector<uint8_t> bytes;
    std::string datestamp;

    unsigned number(size_t offset, size_t size) const {
        unsigned value = 0;
        for (size_t index = offset; index < offset + size; ++index) {
            value = value << 8U | bytes.at(index);
        }
        return value;
    }

    float real(size_t offset) const { return std::bit_cast<float>(number(offset, 4)); }

    std::string text(size_t offset) const {
        return {bytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.end()};
    }
};

struct DynamicInfo {
    unsigned module = 0;
    float packVoltage = 0;
    float current = 0;
    unsigned soc = 0;
    unsigned dsoc = 0;
    std::array<float, 7> cellVoltage = {};
    float cellTemperature = 0;
    bool heat = false;
    bool balance = false;
};

struct AdvancedSoc {
    unsigned module = 0;
    unsigned chargeMAH = 0;
    unsigned dischargeMAH = 0;
    float soh = 0;
    float soc = 0;
};

unsigned daysOf(unsigned year, unsigned month) {
    static constexpr std::array days{31U, 28U, 31U, 30U, 31U, 30U, 31U, 31U, 30U, 31U, 30U, 31U};
    return month > days.size() ? 31 : days.at(month - 1) + (month == 2 && year % 4 == 0 ? 1 : 0);
}

std::string datestampOf(const Record& record) {
    unsigned days = record.number(5, 2);
    unsigned year = 1984;
    for (unsigned length = 366; days > length; length = year % 4 == 0 ? 366 : 365) {
        days -= length;
        ++year;
    }
    unsigned month = 1;
    while (days >= daysOf(year, month)) {
        days -= daysOf(year, month++);
    }
    const unsigned time = record.number(1, 4);
    std::ostringstream os;
    os << std::setfill('0') << year << '-' << std::setw(2) << month << '-' << std::setw(2)
       << days + 1 << ' ' << std::setw(2) << time / 3'600'000 << ':' << std::setw(2)
       << time / 60'000 % 60 << ':' << std::setw(2) << time / 1000 % 60 << '.' << time % 1000;
    return os.str();
}

std::vector<std::shared_ptr<Record>> recordsIn(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::vector<std::shared_ptr<Record>> records;
    auto record = std::make_shared<Record>();
    for (char byte = 0; stream.get(byte);) {
        if (byte == dle && stream.get(byte) && byte == etx) {
            record->datestamp = datestampOf(*record);
            records.push_back(record);
            record = std::make_shared<Record>();
        } else {
            record->bytes.push_back(static_cast<uint8_t>(byte));
        }
    }
    return records;
}

/// The battery's latest known state and its row.
class Wide {
public:
    /// Takes over what the record says. True if a row follows.
    bool update(const Record& record) {
        const unsigned type = record.bytes.front();
        switch (type) {
        case 1:
        case 13:
            firstWord(record.text(type == 1 ? 120 : 121), bmuVersion);
            return false;
        case 2:
        case 14:
            updateDynamicInfo(record, type == 14);
            break;
        case 3:
            faults[record.number(9, 1)] = record.number(13, 2);
            break;
        case 5:
            updateMessage(record);
            return true;
        case 6: {
            std::istringstream words(record.text(7));
            std::string word;
            words >> word >> word >> bmcVersion;
            return false;
        }
        case 7:
        case 15:
            updateAdvancedSoc(record, type == 15);
            break;
        case 9:
            powerMode = record.number(7, 1);
            break;
        default:
            return false;
        }
        datestamp = record.datestamp;
        return type == 2 || type == 14;
    }

    void write(std::ostream& os) {
        os << datestamp;
        for (const unsigned module : {1U, 2U}) {
            writeDynamicInfo(dynamicInfo[module], os);
        }
        for (const unsigned module : {1U, 2U}) {
            writeAdvancedSoc(advancedSoc[module], os);
        }
        os << ','
           << (powerMode == 34   ? "manual-travel"
               : powerMode == 51 ? "dormant"
               : powerMode == 17 ? "reserve"
                                 : "normal");
        for (const unsigned category : {1U, 2U, 4U, 8U, 16U, 128U}) {
            os << ',' << faults[category];
        }
        os << ',' << signals["systemState=+"] << ',' << signals["chargeSchedule.state = "];
        for (const char* const signal :
             {"sbx_sense=+", "ac_no_sense=+", "hud_multifunc=+", "interlock=+"}) {
            os << ',' << signals[signal];
        }
        os << ',' << bmcVersion << ',' << bmuVersion << std::endl;
    }

private:
    static void firstWord(const std::string& text, std::string& result) {
        std::istringstream words(text.substr(0, text.find('\0')));
        words >> result;
    }

    void updateDynamicInfo(const Record& record, bool isAddressed) {
        const size_t begin = isAddressed ? 8 : 7;
        const size_t width = isAddressed ? 4 : 2;
        const unsigned module = isAddressed ? record.number(7, 1) : 1;
        DynamicInfo& info = dynamicInfo[module];
        info.module = module;
        info.packVoltage = static_cast<float>(record.number(begin + 2, 2) / 1000.0);
        const unsigned current = record.number(begin + 4, width);
        info.current = static_cast<float>(
            (isAddressed ? static_cast<int32_t>(current) : static_cast<int16_t>(current)) / 10.0);
        const size_t rest = begin + 4 + width;
        info.soc = record.number(rest, 2);
        info.dsoc = record.number(rest + 2, 2);
        info.heat = (record.number(rest + 4, 2) & 1U << 10U) != 0;
        info.balance = (record.number(rest + 4, 2) & 1U << 13U) != 0;
        for (size_t cell = 0; cell < info.cellVoltage.size(); ++cell) {
            info.cellVoltage.at(cell) =
                static_cast<float>(record.number(rest + 6 + 2 * cell, 2) / 1000.0);
        }
        info.cellTemperature = static_cast<float>(record.number(rest + 20, 2) / 10.0 - 273.15);
    }

    void updateAdvancedSoc(const Record& record, bool isAddressed) {
        const size_t begin = isAddressed ? 8 : 7;
        const unsigned module = isAddressed ? record.number(7, 1) : 1;
        advancedSoc[module] = {module, record.number(begin, 4), record.number(begin + 4, 4),
                               record.real(begin + 8), record.real(begin + 12)};
    }

    void updateMessage(const Record& record) {
        const std::string message = record.text(7);
        for (const char* const prefix : {"systemState=+", "chargeSchedule.state = ", "sbx_sense=+",
                                         "ac_no_sense=+", "hud_multifunc=+", "interlock=+"}) {
            if (message.starts_with(prefix)) {
                signals[prefix] = message.substr(std::string(prefix).size());
                if (message.find("tate") != std::string::npos) {
                    datestamp = record.datestamp;
                }
            }
        }
    }

    static void writeDynamicInfo(const DynamicInfo& info, std::ostream& os) {
        if (info.module == 0) {
            os << std::string(16, ',');
            return;
        }
        os << ',' << info.module << ',' << info.packVoltage << ',' << info.current << ','
           << info.soc << ',' << info.dsoc;
        for (const float voltage : info.cellVoltage) {
            os << ',' << voltage;
        }
        const auto [lowest, highest] =
            std::minmax_element(info.cellVoltage.begin(), info.cellVoltage.end());
        os << ',' << *highest - *lowest << ',' << info.cellTemperature << ',' << info.heat << ','
           << info.balance;
    }

    static void writeAdvancedSoc(const AdvancedSoc& counters, std::ostream& os) {
        if (counters.module == 0) {
            os << std::string(5, ',');
            return;
        }
        os << ',' << counters.module << ',' << counters.chargeMAH << ',' << counters.dischargeMAH
           << ',' << counters.soh << ',' << counters.soc;
    }

    std::string datestamp;
    std::map<unsigned, DynamicInfo> dynamicInfo;
    std::map<unsigned, AdvancedSoc> advancedSoc;
    std::map<unsigned, unsigned> faults;
    std::map<std::string, std::string> signals; // what stands after each prefix
    unsigned powerMode = 255;
    std::string bmcVersion;
    std::string bmuVersion;
};

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        return 1;
    }
    const std::filesystem::path directory = arguments[1];
    std::vector<std::vector<std::shared_ptr<Record>>> logs;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.path().extension() == ".LOG") {
            logs.push_back(recordsIn(entry.path()));
        }
    }
    Wide wide;
    std::ofstream output(directory / "plain.csv");
    for (const auto& records : logs) {
        for (const auto& record : records) {
            if (wide.update(*record)) {
                wide.write(output);
            }
        }
    }
    return 0;
}
