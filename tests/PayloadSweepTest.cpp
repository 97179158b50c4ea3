// Every type code with every payload length from 0 to 300 bytes, against a model of the layouts
// that knows nothing of the decoders. Bytes that a payload is too short to hold count as zeros. The
// build with sanitizers shows that nothing outside the record is read.

#include "DataRecord.h"
#include "LogBuilder.h"
#include "RecordCatalogue.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr size_t longestPayload = 300;
constexpr size_t bytesInFrontOfPayload = 7; // type code and time stamp
const Stamp when = stamp(2019, 3, 3, 8, 5, 9, 5);
const std::string datestamp = "2019-03-03 08:05:09.5";

// =================================================================================================
// The model: for each type a list of the fields of its row, in column order
// =================================================================================================

enum class Kind {
    // Numbers.
    one,
    uint8,
    uint16,
    uint32,
    int8,
    int16,
    int32,
    float32,
    bit,       // of a uint16
    imbalance, // of the cells, a uint16 each
    // Texts.
    terminatedText, // up to a zero byte
    rest,
    systemState,
    powerMode,
    faultNames,         // a field each
    commissioningState, // without a comma in front
    dump                // of the whole record, without a comma in front
};

struct Field {
    Kind kind;
    size_t offset = 0;    // in the payload
    double divisor = 0;   // 0: the number is written as it is
    double less = 0;      // subtracted after the division
    unsigned bitMask = 0; // of a bit in a uint16
};

using Row = std::vector<Field>;

Row shifted(const Field& first, const Row& plain) {
    Row row = {first};
    for (size_t number = 1; number < plain.size(); ++number) {
        row.push_back(plain[number]);
        row.back().offset += 1;
    }
    return row;
}

const Field moduleOne = {Kind::one};
const Field moduleAddress = {Kind::uint8, 0};

const Row staticInfo = {
    moduleOne,                   // module
    {Kind::uint16, 4},           // cycleCount
    {Kind::uint16, 12},          // manufactureDate
    {Kind::uint16, 14},          // serialNumber
    {Kind::uint8, 16},           // seriesCells
    {Kind::terminatedText, 49},  // deviceName
    {Kind::terminatedText, 113}, // firmwareVersion
    {Kind::uint8, 145},          // tempSensors
    {Kind::float32, 171},        // cumulativeCharge
    {Kind::float32, 175},        // cumulativeDischarge
};

/// The current takes two bytes in a record of 35 bytes in all and four in any other.
Row dynamicInfo(size_t recordLength) {
    constexpr size_t shortRecord = bytesInFrontOfPayload + 14 + 2 * cellsPerModule;
    static_assert(shortRecord == 35);
    const size_t w = recordLength == shortRecord ? 2 : 4;
    Row row = {
        moduleOne,                                   // module
        {Kind::uint16, 2, 1000},                     // packVoltage, mV
        {w == 2 ? Kind::int16 : Kind::int32, 4, 10}, // current, 0.1 A
        {Kind::uint16, 4 + w},                       // soc
        {Kind::uint16, 6 + w},                       // dsoc
    };
    for (size_t cell = 0; cell < cellsPerModule; ++cell) {
        row.push_back({Kind::uint16, 10 + w + 2 * cell, 1000}); // cellRow, mV
    }
    const size_t afterCells = 10 + w + 2 * cellsPerModule;
    row.push_back({Kind::imbalance, 10 + w});              // imbalance of the cells
    row.push_back({Kind::uint16, afterCells, 10, 273.15}); // cellTemperature, 0.1 K
    row.push_back({Kind::bit, 8 + w, 0, 0, 1U << 10});     // heat
    row.push_back({Kind::bit, 8 + w, 0, 0, 1U << 13});     // balance
    return row;
}

const Row advancedSoc = {
    moduleOne,           // module
    {Kind::uint32, 0},   // totalCharge
    {Kind::uint32, 4},   // totalDischarge
    {Kind::float32, 8},  // state of health, under "dsoc"
    {Kind::float32, 12}, // state of charge, under "soh"
};

using Layout = std::function<Row(size_t recordLength)>;

Layout always(const Row& row) {
    return [row](size_t /*recordLength*/) { return row; };
}

const std::map<unsigned, Layout> layouts = {
    {1, always(staticInfo)},
    {2, dynamicInfo},
    {3, always({{Kind::uint8, 2}, {Kind::uint16, 6}, {Kind::faultNames}})},
    {4, always({{Kind::int8, 0}, {Kind::int8, 1}, {Kind::int8, 2}})},
    {5, always({{Kind::rest, 0}, {Kind::systemState}})},
    {6, always({{Kind::terminatedText, 0}})},
    {7, always(advancedSoc)},
    {8, always({{Kind::int32, 0}})},
    {9, always({{Kind::powerMode}})},
    {10, always({{Kind::commissioningState}})},
    {11, always({{Kind::uint16, 0}, {Kind::uint16, 2}, {Kind::uint16, 4}})},
    {12, always({{Kind::uint16, 0, 100},
                 {Kind::uint16, 2, 100},
                 {Kind::uint16, 4, 100},
                 {Kind::uint16, 6, 100}})},
    {13, always(shifted(moduleAddress, staticInfo))},
    {14, [](size_t recordLength) { return shifted(moduleAddress, dynamicInfo(recordLength)); }},
    {15, always(shifted(moduleAddress, advancedSoc))},
};

Row rowOfType(unsigned type, size_t recordLength) {
    const auto layout = layouts.find(type);
    return layout == layouts.end() ? Row{{Kind::dump}} : layout->second(recordLength);
}

/// A category's names, by bit.
std::vector<std::string> faultNames(unsigned category) {
    switch (category) {
    case 1:
        return {"Low SOC",
                "Self-test",
                "AC Present while truck on",
                "Loss of wake",
                "Contactor stuck open",
                "Contactor stuck closed",
                "Contactor coil bad",
                "Fuse blown",
                "EEPROM memory error",
                "Flash memory error",
                "Sleep warning",
                "Contactor opening imminent",
                "Dormant Mode"};
    case 2:
        return {"Charge current warning",  "Discharge current warning", "Charge current error",
                "Discharge current error", "Current measurement error", "Hardware over current"};
    case 4:
        return {"Voltage sense wire", "Voltage measurement error", "High cell voltage",
                "Low cell voltage", "Hardware over voltage"};
    case 8:
        return {"Cell temperature measurement error", "High cell temperature",
                "Low cell temperature", "Too hot to charge", "Too cold to charge"};
    case 16:
        return {"Loss of CAN Rx", "Loss of internal communication"};
    case 128:
        return {"Heater error",
                "Fan error",
                "Cell balancing error",
                "RTC error",
                "Shock / Vibration error",
                "Humidity error",
                "FRU error - LIBUI",
                "FRU error - BMC",
                "FRU error - BMU",
                "FRU error - Charger"};
    default:
        return {};
    }
}

std::string commissioningState(unsigned state) {
    static const char* const texts[] = {"UNCOMMISSIONED",
                                        "COMMISSIONED",
                                        "DECOMMISSIONED_VOLT_LOW",
                                        "DECOMMISSIONED_VOLT_HIGH",
                                        "DECOMMISSIONED_HIGH_TEMPERATURE",
                                        "DECOMMISSIONED_DISCHARGE_OVERCURRENT",
                                        "DECOMMISSIONED_CHARGE_OVERCURRENT",
                                        "DECOMMISSIONED_EXCESSIVE_SHOCK",
                                        "DECOMMISSIONED_SOC",
                                        "DECOMMISSIONED_RESERVE_MODE",
                                        "DECOMMISSIONED_DORMANT_TOO_LONG",
                                        "DECOMMISSIONED_WARRANTY_EXPIRED",
                                        "DECOMMISSIONED_UNKNOWN"};
    return state < std::size(texts) ? texts[state] : "UNKNOWN EVENT";
}

std::string powerMode(unsigned mode) {
    return mode == 17   ? "reserve"
           : mode == 34 ? "manual-travel"
           : mode == 51 ? "dormant"
                        : "normal";
}

std::string floatText(float value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", static_cast<double>(value));
    return text;
}

class Model {
public:
    Model(unsigned typeCode, std::string_view payloadBytes)
        : type(typeCode), payload(payloadBytes) {}

    std::string row() const {
        std::string text = datestamp;
        for (const Field& field : rowOfType(type, bytesInFrontOfPayload + payload.size())) {
            append(text, field);
        }
        text += '\n';
        return text;
    }

private:
    unsigned byteAt(size_t offset) const {
        return offset < payload.size() ? static_cast<uint8_t>(payload[offset]) : 0U;
    }

    uint32_t numberAt(size_t offset, size_t size) const {
        uint32_t number = 0;
        for (size_t index = 0; index < size; ++index) {
            number = number * 256 + byteAt(offset + index);
        }
        return number;
    }

    std::string_view restAt(size_t offset) const {
        return payload.substr(std::min(offset, payload.size()));
    }

    void append(std::string& text, const Field& field) const {
        if (field.kind == Kind::faultNames) {
            unsigned bits = numberAt(6, 2);
            for (const std::string& name : faultNames(byteAt(2))) {
                if (bits % 2 == 1) {
                    text += ',';
                    text += name;
                }
                bits /= 2;
            }
            return;
        }
        if (field.kind != Kind::commissioningState && field.kind != Kind::dump) {
            text += ',';
        }
        text += fieldText(field);
    }

    std::string fieldText(const Field& field) const {
        switch (field.kind) {
        case Kind::one:
            return "1";
        case Kind::uint8:
            return numberText(field, byteAt(field.offset));
        case Kind::uint16:
            return numberText(field, numberAt(field.offset, 2));
        case Kind::uint32:
            return numberText(field, numberAt(field.offset, 4));
        case Kind::int8:
            return numberText(field, static_cast<int8_t>(byteAt(field.offset)));
        case Kind::int16:
            return numberText(field, static_cast<int16_t>(numberAt(field.offset, 2)));
        case Kind::int32:
            return numberText(field, static_cast<int32_t>(numberAt(field.offset, 4)));
        case Kind::float32:
            return floatText(std::bit_cast<float>(numberAt(field.offset, 4)));
        case Kind::bit:
            return (numberAt(field.offset, 2) & field.bitMask) != 0 ? "1" : "0";
        case Kind::imbalance:
            return imbalance(field.offset);
        case Kind::terminatedText: {
            const std::string_view rest = restAt(field.offset);
            return std::string(rest.substr(0, rest.find('\0')));
        }
        case Kind::rest:
            return std::string(restAt(field.offset));
        case Kind::systemState: {
            constexpr std::string_view prefix = "systemState=+";
            return payload.starts_with(prefix) ? std::string(restAt(prefix.size())) : "";
        }
        case Kind::powerMode:
            return powerMode(byteAt(0));
        case Kind::commissioningState:
            return commissioningState(byteAt(0));
        case Kind::dump:
            return dump();
        case Kind::faultNames:
            break;
        }
        return "more than one field";
    }

    static std::string numberText(const Field& field, int64_t number) {
        if (field.divisor == 0) {
            return std::to_string(number);
        }
        const double scaled = static_cast<double>(number) / field.divisor - field.less;
        return floatText(static_cast<float>(scaled));
    }

    std::string imbalance(size_t offset) const {
        std::vector<float> volts;
        for (size_t cell = 0; cell < cellsPerModule; ++cell) {
            volts.push_back(static_cast<float>(numberAt(offset + 2 * cell, 2) / 1000.0));
        }
        std::sort(volts.begin(), volts.end());
        return floatText(volts.back() - volts.front());
    }

    std::string dump() const {
        const Payload record =
            Payload().u8(type).u32(when.milliseconds).u16(when.day).text(payload);
        std::string text;
        for (const char byte : record.bytes) {
            char digits[8];
            std::snprintf(digits, sizeof digits, "%02x ",
                          static_cast<unsigned>(static_cast<uint8_t>(byte)));
            text += digits;
        }
        return text;
    }

    unsigned type;
    std::string_view payload;
};

// =================================================================================================
// The sweep
// =================================================================================================

std::string rowOf(unsigned type, std::string_view payload) {
    std::istringstream stream(LogBuilder().record(type, when, payload).bytes());
    const std::shared_ptr<DataRecord> record = DataRecord::factory(stream);
    record->interpret();
    std::ostringstream row;
    record->writeCSVTimestampedData(row);
    return row.str();
}

/// Compares the rows of all lengths of the payload.
void sweep(unsigned type, const std::string& payload) {
    for (size_t length = 0; length <= payload.size(); ++length) {
        const std::string_view part = std::string_view(payload).substr(0, length);
        ASSERT_EQ(rowOf(type, part), Model(type, part).row())
            << "type " << type << ", payload of " << length << " bytes";
    }
}

class Layouts : public testing::TestWithParam<unsigned> {};

TEST_P(Layouts, giveTheRowOfTheExample) {
    sweep(GetParam(), recordType(GetParam()).payload);
}

std::vector<unsigned> codesOfLayouts() {
    std::vector<unsigned> codes;
    for (const auto& [code, layout] : layouts) {
        codes.push_back(code);
    }
    return codes;
}

// The test of the catalogue looks for a type's layout by the names that the tests get here.
INSTANTIATE_TEST_SUITE_P(Types, Layouts, testing::ValuesIn(codesOfLayouts()),
                         [](const auto& test) { return "type" + std::to_string(test.param); });

TEST(PayloadSweep, zeros) {
    for (unsigned type = 0; type < 256; ++type) {
        sweep(type, std::string(longestPayload, '\0'));
    }
}

TEST(PayloadSweep, ones) {
    for (unsigned type = 0; type < 256; ++type) {
        sweep(type, std::string(longestPayload, '\xFF'));
    }
}

TEST(PayloadSweep, randomBytes) {
    std::mt19937 random(1);
    for (unsigned type = 0; type < 256; ++type) {
        std::string payload;
        while (payload.size() < longestPayload) {
            payload += static_cast<char>(static_cast<uint8_t>(random()));
        }
        sweep(type, payload);
    }
}

// Evenly distributed bytes rarely name a fault category, a mode or a state, or end a text.
TEST(PayloadSweep, powersOfTwoAndSmallNumbers) {
    std::mt19937 random(1);
    for (unsigned round = 0; round < 16; ++round) {
        for (const RecordType& type : recordTypes()) {
            std::string payload;
            while (payload.size() < longestPayload) {
                const auto number = static_cast<unsigned>(random() % 64);
                payload += static_cast<char>(random() % 2 == 0 ? 1U << (number % 8) : number);
            }
            sweep(type.code, payload);
        }
    }
}

TEST(PayloadSweep, messagesThatReportAState) {
    sweep(5, "systemState=+ST_RUN");
}

} // namespace
