// Every record type, from its bytes to its CSV row. What the types share, framing, datestamps and
// field writers, is tested in DataRecordTest.

#include "RecordCatalogue.h"
#include "RecordReading.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <type_traits>
#include <vector>

namespace {

/// Payload bytes that count up from the first, so that each tells where it was read.
std::string countingBytes(uint8_t first, size_t count) {
    std::string bytes;
    for (size_t index = 0; index < count; ++index) {
        bytes += static_cast<char>(first + index);
    }
    return bytes;
}

/// The number as a field of a row, with the comma before it.
std::string field(unsigned number) {
    std::string text = ",";
    text += std::to_string(number); // as a sum, g++ 12 would warn of an overlap that is not there
    return text;
}

std::string floatField(float value) {
    std::array<char, 32> text = {};
    std::snprintf(text.data(), text.size(), ",%g", static_cast<double>(value));
    return text.data();
}

/// The float with the given bits as a field of a row.
std::string bitsField(uint32_t bits) {
    return floatField(std::bit_cast<float>(bits));
}

std::string commas(size_t count) {
    return std::string(count, ',');
}

/// Begins a new charge period in the process-wide synopsis, so that a test sees what reaches it.
class SynopsisWatch {
public:
    static constexpr const char* begin = "the beginning";

    SynopsisWatch() {
        synopsis.start("an interruption", Synopsis::unknown);
        synopsis.start(begin, Synopsis::charge);
    }

    /// The line of the period under way; empty if no state-of-charge reading reached it.
    std::string line() const {
        std::ostringstream os;
        synopsis.write(os);
        return os.str();
    }
};

/// The same for charge counters. A period shows the difference of its highest and lowest counter
/// reading, so it is given a reading of 1 and, to have a line at all, a state of charge.
class CounterWatch : public SynopsisWatch {
public:
    CounterWatch() {
        synopsis.dynamicInfo(begin, 50, 50);
        synopsis.advancedSOC(begin, 1);
    }

    /// The line once the record has reported the counter reading; 0 if it reported none.
    static std::string expected(std::string_view endDate, uint32_t reading) {
        return std::string(begin) + "," + std::string(endDate) + ",charge,50,50,50,50," +
               std::to_string(reading == 0 ? 0 : reading - 1) + "\n";
    }
};

// =================================================================================================
// What holds for all types
// =================================================================================================

/// Whether the type shows all bytes of its payload, however many there are.
bool takesWhatThereIs(const RecordType& type) {
    return type.name == "message";
}

void expectHeader(unsigned code, const std::string& names) {
    const auto type = DataRecord::Type(code);
    std::ostringstream withoutRecord;
    DataRecord::writeCSVHeader(type, withoutRecord);
    EXPECT_EQ(withoutRecord.str(), "Datestamp," + names + "\n") << "type " << code;

    const std::shared_ptr<DataRecord> record = DataRecord::factory(type);
    std::ostringstream ofRecord;
    record->writeCSVHeader(ofRecord);
    EXPECT_EQ(ofRecord.str(), withoutRecord.str()) << "type " << code;
    EXPECT_EQ(record->header().size(), std::ranges::count(names, ',') + 1U) << "type " << code;
}

TEST(RecordTypes, everyTypeHasItsHeaderLine) {
    for (const RecordType& type : recordTypes()) {
        expectHeader(type.code, type.header);
    }
    for (const unsigned code : {0U, unknownType().code, 255U}) {
        expectHeader(code, "Unknown record type ...");
    }
}

TEST(RecordTypes, onlyDynamicInfoAndAdvancedSocRowsAreEmptyUnlessInterpreted) {
    const std::string payload = countingBytes(1, 179);
    for (const RecordType& type : recordTypes()) {
        if (type.name == "ambient-temperature") {
            continue; // its second row differs in any case
        }
        const auto record = readRecord(LogBuilder().record(type.code, {}, payload).bytes());
        const std::string interpreted = fieldsOf(*record);
        record->interpreted = false;
        const std::string expected = type.name == "dynamic-info" ? commas(16)
                                     : type.name == "soc"        ? commas(5)
                                                                 : interpreted;
        EXPECT_EQ(fieldsOf(*record), expected) << type;
    }
}

TEST(RecordTypes, copiesAndAssignmentsKeepTheBytesOfRecordsOfAnyLength) {
    UnknownDataRecord assigned;
    for (const size_t size : {200U, 0U, 31U, 32U, 33U, 34U, 35U, 300U, 100U, 1U}) {
        const auto record =
            readRecord<UnknownDataRecord>(LogBuilder().record(0, {}, countingBytes(1, size)));
        const std::string expected = fieldsOf(*record);
        EXPECT_EQ(expected.size(), (7 + size) * 3);
        UnknownDataRecord copy(*record);
        assigned = copy;
        EXPECT_EQ(fieldsOf(copy), expected);
        EXPECT_EQ(fieldsOf(assigned), expected);
    }
    const UnknownDataRecord& itself = assigned;
    assigned = itself;
    EXPECT_EQ(fieldsOf(assigned), "00 00 00 00 00 00 00 01 ");
}

TEST(RecordTypes, bytesBehindThePayloadAreNotLookedAt) {
    for (const RecordType& type : recordTypes()) {
        if (!takesWhatThereIs(type)) {
            EXPECT_EQ(fieldsOf(type.code, type.payload + "\xEE\xEE\xEE"),
                      fieldsOf(type.code, type.payload))
                << type;
        }
    }
}

TEST(RecordTypes, aPayloadCutAnywhereReadsItsMissingBytesAsZero) {
    for (const RecordType& type : recordTypes()) {
        const size_t size = type.payload.size();
        const std::string whole = countingBytes(1, size);
        for (size_t length = 0; length < size && !takesWhatThereIs(type); ++length) {
            if (type.name == "dynamic-info" && length == 28) {
                continue; // a record of 35 bytes, whose current has 16 bits
            }
            const std::string cut = whole.substr(0, length);
            EXPECT_EQ(fieldsOf(type.code, cut),
                      fieldsOf(type.code, cut + std::string(size - length, '\0')))
                << type << " cut to " << length;
        }
    }
}

TEST(RecordTypes, aTextOrDumpCutAnywhereTakesTheBytesThatThereAre) {
    const std::string whole = "ABCDEFGHI";
    for (size_t length = 0; length <= whole.size(); ++length) {
        const std::string cut = whole.substr(0, length);
        EXPECT_EQ(fieldsOf(5, cut), "," + cut + ",");
        EXPECT_EQ(fieldsOf(6, cut), "," + cut);
    }
    EXPECT_EQ(fieldsOf(0, ""), "00 00 00 00 00 00 00 ");
    EXPECT_EQ(fieldsOf(0, "A"), "00 00 00 00 00 00 00 41 ");
}

// What zeros and an empty payload give is said in PayloadSweepTest.
TEST(RecordTypes, aRecordThatEndsWithinItsTimeStampReadsAsZeros) {
    for (const RecordType& type : recordTypes()) {
        const std::string expected = fieldsOf(type.code, "");
        for (size_t length = 1; length <= 7; ++length) {
            std::string frame(length, '\0');
            frame.front() = static_cast<char>(type.code);
            const auto record = readRecord(framed(frame));
            EXPECT_EQ(fieldsOf(*record), expected) << type << ", " << length << " bytes";
            EXPECT_EQ(record->datestamp, "1984-01-01 00:00:00.0");
        }
    }
}

TEST(RecordTypes, rowsOnAFailedStreamWriteAndReportNothing) {
    std::vector<std::shared_ptr<DataRecord>> records;
    for (const RecordType& type : recordTypes()) {
        records.push_back(
            readRecord(LogBuilder().record(type.code, {}, "systemState=+ST_RUN").bytes()));
    }
    const SynopsisWatch watch;
    for (const auto& record : records) {
        std::ostringstream os;
        os.setstate(std::ios::failbit);
        record->writeCSVTimestampedData(os);
        record->writeCSVHeader(os);
        EXPECT_EQ(os.str(), "") << "type " << record->recordType();
    }
    synopsis.dynamicInfo("later", 1, 1);
    EXPECT_EQ(watch.line(), "the beginning,later,charge,1,1,1,1,1\n"); // no discharge period began
}

// =================================================================================================
// One row of each type by hand
//
// Every frame begins with the type code and the same time stamp. 01 BC 2B 0D is 1 * 16777216 +
// 188 * 65536 + 43 * 256 + 13 = 29,109,005 ms = 8 h 5 min 9 s and 5 ms. 32 2D is 50 * 256 + 45 =
// day 12845: 1984 to 2018 are 35 years with 9 leap years, 12784 days, which leaves 61, and January
// and February take 59 of them: the third day of March 2019. A data byte 10 stands twice; 10 03
// ends the frame. Offsets count from the first byte of the payload; EE is never looked at.
// =================================================================================================

const std::string when = "2019-03-03 08:05:09.5";

TEST(RowByHand, type0Unknown) {
    const std::string log = bytesOf("00 01 BC 2B 0D 32 2D" // the head is dumped, too
                                    "0A FF 10 10"          // three bytes: 0a, ff and one 10
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)), when + "00 01 bc 2b 0d 32 2d 0a ff 10 \n");
}

TEST(RowByHand, type200Unknown) {
    const std::string log = bytesOf("C8 01 BC 2B 0D 32 2D" // C8 is no type
                                    "41 10 03");
    EXPECT_EQ(lineOf(*readRecord(log)), when + "c8 01 bc 2b 0d 32 2d 41 \n");
}

/// The payload of the static info rows, 179 bytes once the 10 10 is one byte.
const char* const staticInfoBytes =
    "EE EE EE EE"                                     // 0: two words
    "01 F4"                                           // 4: cycleCount, 256 + 244 = 500
    "EE EE EE EE EE EE"                               // 6: three words
    "4D 2A"                                           // 12: manufactureDate, 77 * 256 + 42
    "10 10 E1"                                        // 14: serialNumber, 16 * 256 + 225
    "18"                                              // 16: seriesCells, 24
    "EE EE EE EE EE EE EE EE EE EE EE EE EE EE EE EE" // 17: 32 bytes
    "EE EE EE EE EE EE EE EE EE EE EE EE EE EE EE EE" //
    "4C 49 2D 32 34 00 00 00 00 00 00 00 00 00 00 00" // 49: deviceName, "LI-24"
    "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00" //
    "EE EE EE EE EE EE EE EE EE EE EE EE EE EE EE EE" // 81: 32 bytes
    "EE EE EE EE EE EE EE EE EE EE EE EE EE EE EE EE" //
    "32 2E 37 20 62 37 00 00 00 00 00 00 00 00 00 00" // 113: firmwareVersion, "2.7 b7"
    "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00" //
    "02"                                              // 145: temperatureSensors, 2
    "EE EE EE EE EE EE EE EE EE EE EE EE EE EE EE"    // 146: 15 bytes
    "EE EE EE EE EE EE EE EE EE EE"                   // 161: five words
    "49 74 24 00"                                     // 171: 0xF42400 / 2^4 = 10^6, for the
                                                      // exponent is 146 - 127 = 19 of 23
    "42 F7 00 00";                                    // 175: 0xF70000 / 2^17 = 123.5, for the
                                                      // exponent is 133 - 127 = 6

TEST(RowByHand, type1StaticInfo) {
    const std::string log =
        bytesOf("01 01 BC 2B 0D 32 2D") + bytesOf(staticInfoBytes) + bytesOf("10 03");
    // Module 1, since a plain record names none. Six significant digits show 10^6 as 1e+06.
    EXPECT_EQ(lineOf(*readRecord(log)), when + ",1,500,19754,4321,24,LI-24,2.7 b7,2,1e+06,123.5\n");
}

TEST(RowByHand, type13StaticInfoWithModuleAddress) {
    const std::string log = bytesOf("0D 01 BC 2B 0D 32 2D"
                                    "C8") + // 0: module 200
                            bytesOf(staticInfoBytes) +
                            bytesOf("10 03");
    EXPECT_EQ(lineOf(*readRecord(log)),
              when + ",200,500,19754,4321,24,LI-24,2.7 b7,2,1e+06,123.5\n");
}

TEST(RowByHand, type2DynamicInfo) {
    // 7 + 28 = 35 bytes, so the current has 16 bits.
    const std::string log = bytesOf("02 01 BC 2B 0D 32 2D"
                                    "EE EE"    // 0: a word
                                    "64 00"    // 2: 100 * 256 = 25600 mV, 25.6 V
                                    "FF 9C"    // 4: 65436 - 65536 = -100 tenths, -10 A
                                    "00 51"    // 6: soc 81
                                    "00 4F"    // 8: dsoc 79
                                    "04 00"    // 10: bit 10, the heater
                                    "0D AC"    // 12: 13 * 256 + 172 = 3500 mV, the lowest cell
                                    "0E 10 10" // 14: 14 * 256 + 16 = 3600 mV
                                    "0E 29"    // 16: 3625 mV
                                    "0E 42"    // 18: 3650 mV
                                    "0E 5B"    // 20: 3675 mV
                                    "0E 74"    // 22: 3700 mV
                                    "0E A6"    // 24: 3750 mV, the highest: 0.25 V above the lowest
                                    "0B A6"    // 26: 2982 tenths, 298.2 K - 273.15 K = 25.05
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)),
              when + ",1,25.6,-10,81,79,3.5,3.6,3.625,3.65,3.675,3.7,3.75,0.25,25.05,1,0\n");
}

TEST(RowByHand, type14DynamicInfoWithModuleAddress) {
    // 7 + 1 + 30 = 38 bytes, so the current has 32 bits.
    const std::string log = bytesOf("0E 01 BC 2B 0D 32 2D"
                                    "02"          // 0: module 2
                                    "EE EE"       // 1: a word
                                    "5F B4"       // 3: 95 * 256 + 180 = 24500 mV, 24.5 V
                                    "00 00 01 F4" // 5: 500 tenths of an ampere, 50 A
                                    "00 64"       // 9: soc 100
                                    "00 65"       // 11: dsoc 101
                                    "20 00"       // 13: bit 13, balancing
                                    "0D AC 0D AC" // 15: seven cells of 3500 mV: no imbalance
                                    "0D AC 0D AC" // 19
                                    "0D AC 0D AC" // 23
                                    "0D AC"       // 27
                                    "09 E4"       // 29: 2532 tenths, 253.2 K - 273.15 K = -19.95
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)),
              when + ",2,24.5,50,100,101,3.5,3.5,3.5,3.5,3.5,3.5,3.5,0,-19.95,0,1\n");
}

TEST(RowByHand, type3Fault) {
    const std::string log = bytesOf("03 01 BC 2B 0D 32 2D"
                                    "EE EE"    // 0: a word
                                    "80"       // 2: error_register 128, feature faults
                                    "EE EE EE" // 3: three bytes
                                    "02 09"    // 6: 521 = 1 + 8 + 512: bits 0, 3 and 9
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)),
              when + ",128,521,Heater error,RTC error,FRU error - Charger\n");
}

TEST(RowByHand, type4Shock) {
    const std::string log = bytesOf("04 01 BC 2B 0D 32 2D"
                                    "FD"    // 0: x, 253 - 256 = -3
                                    "10 10" // 1: y, 16
                                    "64"    // 2: z, 100
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)), when + ",-3,16,100\n");
}

TEST(RowByHand, type5Message) {
    const std::string log = bytesOf("05 01 BC 2B 0D 32 2D"
                                    "73 79 73 74 65 6D 53 74 61 74 65" // 0: "systemState"
                                    "3D 2B 31 32"                      // 11: "=+12"
                                    "10 03");
    // The text, and the state that stands in it after the sign.
    EXPECT_EQ(lineOf(*readRecord(log)), when + ",systemState=+12,12\n");
}

TEST(RowByHand, type6BMCFirmwareVersion) {
    const std::string log = bytesOf("06 01 BC 2B 0D 32 2D"
                                    "42 4D 43 20 76 20 33 2E 31" // 0: "BMC v 3.1"
                                    "00 EE"                      // 9: the end of the text
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)), when + ",BMC v 3.1\n");
}

TEST(RowByHand, type7AdvancedSoc) {
    const std::string log = bytesOf("07 01 BC 2B 0D 32 2D"
                                    "00 0F 42 40" // 0: 15 * 65536 + 66 * 256 + 64 = 10^6 mAh
                                    "00 0C 35 00" // 4: 12 * 65536 + 53 * 256 = 800,000 mAh
                                    "42 C5 00 00" // 8: soh, 0xC50000 / 2^17 = 98.5
                                    "42 A2 80 00" // 12: soc, 0xA28000 / 2^17 = 81.25
                                    "10 03");
    // Counters are integers and never shown with an exponent. Column "dsoc" is the soh.
    EXPECT_EQ(lineOf(*readRecord(log)), when + ",1,1000000,800000,98.5,81.25\n");
}

TEST(RowByHand, type15AdvancedSocWithModuleAddress) {
    const std::string log = bytesOf("0F 01 BC 2B 0D 32 2D"
                                    "03"          // 0: module 3
                                    "FF FF FF F0" // 1: 2^32 - 16 = 4294967280 mAh
                                    "00 00 00 20" // 5: 32 mAh
                                    "BF 00 00 00" // 9: soh, -0x800000 / 2^24 = -0.5
                                    "00 00 00 00" // 13: soc 0
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)), when + ",3,4294967280,32,-0.5,0\n");
}

TEST(RowByHand, type8MeasuredCurrent) {
    const std::string log = bytesOf("08 01 BC 2B 0D 32 2D"
                                    "FF FF CF C7" // 0: 0xCFC7 - 0x10000 = 53191 - 65536
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)), when + ",-12345\n");
}

TEST(RowByHand, type9PowerMode) {
    const std::string log = bytesOf("09 01 BC 2B 0D 32 2D"
                                    "22" // 0: 34
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)), when + ",manual-travel\n");
}

TEST(RowByHand, type10Warranty) {
    const std::string log = bytesOf("0A 01 BC 2B 0D 32 2D"
                                    "08" // 0: 8, and no comma before its text
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)), when + "DECOMMISSIONED_SOC\n");
}

TEST(RowByHand, type11AmbientTemperature) {
    const std::string log = bytesOf("0B 01 BC 2B 0D 32 2D"
                                    "0B 73" // 0: minimum, 11 * 256 + 115 = 2931, unscaled
                                    "0B C3" // 2: maximum, 11 * 256 + 195 = 3011
                                    "FF FF" // 4: average, 65535: no sign
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)), when + ",2931,3011,65535\n");
}

TEST(RowByHand, type12Humidity) {
    const std::string log = bytesOf("0C 01 BC 2B 0D 32 2D"
                                    "13 88"    // 0: 19 * 256 + 136 = 5000 hundredths, 50 %
                                    "00 00"    // 2: 0 %
                                    "27 10 10" // 4: 39 * 256 + 16 = 10000, 100 %
                                    "09 F6"    // 6: 9 * 256 + 246 = 2550, 25.5 %
                                    "10 03");
    EXPECT_EQ(lineOf(*readRecord(log)), when + ",50,0,100,25.5\n");
}

// =================================================================================================
// 1 and 13: StaticInfoDataRecord
// =================================================================================================

/// 179 bytes 1 to 179, with a zero after three letters of each text.
std::string staticInfoCounting() {
    std::string payload = countingBytes(1, 179);
    payload[49 + 3] = 0;
    payload[113 + 3] = 0;
    return payload;
}

void expectStaticInfoCounting(StaticInfoDataRecord& record) {
    EXPECT_EQ(record.cycleCount, 0x0506);
    EXPECT_EQ(record.manufactureDate, 0x0D0E);
    EXPECT_EQ(record.serialNumber, 0x0F10);
    EXPECT_EQ(record.seriesCells, 0x11);
    EXPECT_EQ(record.deviceName, "\x32\x33\x34");
    EXPECT_EQ(record.firmwareVersion, "\x72\x73\x74");
    EXPECT_EQ(record.temperatureSensors, 0x92);
    EXPECT_EQ(std::bit_cast<uint32_t>(record.cumulativeChargeAs), 0xACADAEAFU);
    EXPECT_EQ(std::bit_cast<uint32_t>(record.cumulativeDischargeAs), 0xB0B1B2B3U);
    EXPECT_EQ(fieldsOf(record), field(record.moduleAddress) + ",1286,3342,3856,17,234,rst,146" +
                                    bitsField(0xACADAEAF) + bitsField(0xB0B1B2B3));
}

TEST(StaticInfoDataRecord, everyFieldStandsAtItsOffset) {
    const auto record =
        readRecord<StaticInfoDataRecord>(LogBuilder().record(1, {}, staticInfoCounting()));
    EXPECT_EQ(record->moduleAddress, 1);
    expectStaticInfoCounting(*record);
}

TEST(StaticInfoDataRecord, withModuleAddressEveryFieldStandsOneByteFurther) {
    const auto record = readRecord<StaticInfoDataRecordWithModuleAddress>(
        LogBuilder().record(13, {}, "\xC7" + staticInfoCounting()));
    EXPECT_EQ(record->moduleAddress, 199);
    expectStaticInfoCounting(*record);
}

TEST(StaticInfoDataRecord, bytesBetweenFieldsSuchAsThe25BehindTheSensorsAreNeverLookedAt) {
    const std::string payload = staticInfoCounting();
    const auto isField = [](size_t offset) {
        return (offset >= 4 && offset < 6) || (offset >= 12 && offset < 17) ||
               (offset >= 49 && offset < 49 + 4) ||   // three letters and the zero byte
               (offset >= 113 && offset < 113 + 4) || // and again
               offset == 145 || offset >= 171;
    };
    for (size_t offset = 0; offset < payload.size(); ++offset) {
        std::string changed = payload;
        changed[offset] = static_cast<char>(changed[offset] ^ 0x55);
        EXPECT_EQ(fieldsOf(1, changed) != fieldsOf(1, payload), isField(offset))
            << "offset " << offset;
    }
}

TEST(StaticInfoDataRecord, plainRecordIsAlwaysModule1) {
    for (const char first : {'\0', '\x02', '\xFF'}) {
        const auto record =
            readRecord<StaticInfoDataRecord>(LogBuilder().record(1, {}, std::string(179, first)));
        EXPECT_EQ(record->moduleAddress, 1);
        EXPECT_EQ(record->moduleId(), 1);
    }
}

TEST(StaticInfoDataRecord, addressedRecordHasTheModuleOfItsFirstByte) {
    for (unsigned module = 0; module < 256; ++module) {
        const auto record = readRecord<StaticInfoDataRecordWithModuleAddress>(
            LogBuilder().staticInfo(Stamp(), module, StaticInfo()));
        EXPECT_EQ(record->moduleAddress, module);
        EXPECT_EQ(record->moduleId(), module);
        EXPECT_EQ(fieldsOf(*record), field(module) + ",0,0,0,0,,,0,0,0");
    }
}

TEST(StaticInfoDataRecord, moduleIdIsTheLowByteOfAnAddressAbove255) {
    StaticInfoDataRecord record;
    record.moduleAddress = 0x0102;
    EXPECT_EQ(record.moduleId(), 2);
    EXPECT_EQ(fieldsOf(record), ",258,0,0,0,0,,,0,0,0"); // the row shows the whole address
    record.moduleAddress = 256;
    EXPECT_EQ(record.moduleId(), 0);
}

TEST(StaticInfoDataRecord, aShortNameEndsAtItsZeroByteAndMovesNoFieldBehindIt) {
    StaticInfo info;
    info.deviceName = "ABC";
    info.firmwareVersion = "1.2";
    info.temperatureSensors = 4;
    const auto record = readRecord<StaticInfoDataRecord>(LogBuilder().staticInfo({}, info));
    EXPECT_EQ(record->deviceName, "ABC");
    EXPECT_EQ(record->firmwareVersion, "1.2");
    EXPECT_EQ(record->temperatureSensors, 4);
}

TEST(StaticInfoDataRecord, aNameThatBeginsWithAZeroByteIsEmptyAndItsCommasAdjoin) {
    std::string payload = staticInfoPayload(StaticInfo()).bytes;
    payload.replace(49, 32, std::string(1, '\0') + std::string(31, 'X'));
    payload.replace(113, 32, std::string(1, '\0') + std::string(31, 'Y'));
    EXPECT_EQ(fieldsOf(1, payload), ",1,0,0,0,0,,,0,0,0");
}

TEST(StaticInfoDataRecord, aNameWithACommaMakesTheRowWiderThanTheHeader) {
    StaticInfo info;
    info.deviceName = "A,B";
    info.firmwareVersion = "\"1\"\n2";
    const auto record = readRecord(LogBuilder().staticInfo({}, info).bytes());
    EXPECT_EQ(fieldsOf(*record), ",1,0,0,0,0,A,B,\"1\"\n2,0,0,0");
}

TEST(StaticInfoDataRecord, aNameThatFillsItsFieldRunsOnToTheNextZeroByte) {
    std::string payload = staticInfoPayload(StaticInfo()).bytes;
    payload.replace(49, 32, std::string(32, 'D'));
    payload.replace(81, 5, "AFTER");
    payload.replace(113, 32, std::string(32, 'F'));
    payload[145] = '3'; // the sensor count is read where it stands, too
    EXPECT_EQ(fieldsOf(1, payload),
              ",1,0,0,0,0," + std::string(32, 'D') + "AFTER," + std::string(32, 'F') + "3,51,0,0");
}

TEST(StaticInfoDataRecord, aNameThatMeetsNoZeroByteEndsWithTheRecord) {
    const auto record =
        readRecord<StaticInfoDataRecord>(LogBuilder().record(1, {}, std::string(179, 'A')));
    EXPECT_EQ(record->deviceName, std::string(179 - 49, 'A'));
    EXPECT_EQ(record->firmwareVersion, std::string(179 - 113, 'A'));
    EXPECT_EQ(record->temperatureSensors, 'A');
    EXPECT_EQ(std::bit_cast<uint32_t>(record->cumulativeDischargeAs), 0x41414141U);
}

TEST(StaticInfoDataRecord, aRecordCutWithinAFieldKeepsTheBytesThatThereAre) {
    EXPECT_EQ(fieldsOf(1, bytesOf("00 00 00 00 12")), ",1,4608,0,0,0,,,0,0,0"); // 0x1200
    EXPECT_EQ(fieldsOf(1, std::string(49, '\x01') + "NAME"), ",1,257,257,257,1,NAME,,0,0,0");
    // C2 F7 with two zeros after it is -123.5.
    EXPECT_EQ(fieldsOf(1, std::string(171, '\0') + "\xC2\xF7"), ",1,0,0,0,0,,,0,-123.5,0");
}

TEST(StaticInfoDataRecord, countersThatAreNoNumbersAreWrittenAsTheStreamShowsThem) {
    StaticInfo info;
    info.chargeAs = std::numeric_limits<float>::quiet_NaN();
    info.dischargeAs = -std::numeric_limits<float>::infinity();
    EXPECT_EQ(fieldsOf(1, staticInfoPayload(info)), ",1,0,0,0,0,,,0,nan,-inf");
    info.chargeAs = 2500000.0F;
    info.dischargeAs = 0.00001F;
    EXPECT_EQ(fieldsOf(1, staticInfoPayload(info)), ",1,0,0,0,0,,,0,2.5e+06,1e-05");
}

// =================================================================================================
// 2 and 14: DynamicInfoDataRecord
// =================================================================================================

/// A sample that the synopsis takes: every value lies well within its range.
DynamicInfo plausibleInfo() {
    DynamicInfo info;
    info.millivolts = 25600;
    info.soc = 60;
    info.dsoc = 40;
    info.cellMillivolts.assign(cellsPerModule, 3500);
    info.deciKelvin = 2982;
    return info;
}

/// What the synopsis holds after decoding the sample: its period line, empty if nothing arrived.
std::string synopsisAfter(const DynamicInfo& info) {
    const SynopsisWatch watch;
    readRecord(LogBuilder().dynamicInfo(stamp(2020, 5, 1, 8), info).bytes());
    return watch.line();
}

bool isPlausible(const DynamicInfo& info) {
    return !synopsisAfter(info).empty();
}

TEST(DynamicInfoDataRecord, hasSevenCellsAndOneSensor) {
    static_assert(DataRecord::seriesCells == 7);
    static_assert(DataRecord::temperatureSensors == 1);
    DynamicInfoDataRecord record;
    ASSERT_EQ(record.cellVoltage.size(), 7U);
    ASSERT_EQ(record.cellTemperature.size(), 1U);
    EXPECT_EQ(record.moduleAddress, 1);
    for (const float voltage : record.cellVoltage) {
        EXPECT_EQ(voltage, 0.0F);
    }
    EXPECT_EQ(record.cellTemperature[0], 0.0F);
}

TEST(DynamicInfoDataRecord, withALongCurrentEveryFieldStandsAtItsOffset) {
    // Bytes 1 to 30: 0x0304 mV, 0x05060708 tenths of an ampere, 0x090A, 0x0B0C, the status 0x0D0E
    // with bit 10 alone, seven cells from 0x0F10 to 0x1B1C in steps of 514 mV, 745.4 K.
    EXPECT_EQ(fieldsOf(2, countingBytes(1, 30)),
              ",1,0.772,8.42811e+06,2314,2828,3.856,4.37,4.884,5.398,5.912,6.426,6.94,3.084,"
              "472.25,1,0");
}

TEST(DynamicInfoDataRecord, withAShortCurrentEveryFieldBehindItStandsTwoBytesEarlier) {
    // Bytes 1 to 28: 0x0304 mV, 0x0506 tenths of an ampere, 0x0708, 0x090A, the status 0x0B0C with
    // neither bit, seven cells from 0x0D0E to 0x191A, 694.0 K.
    EXPECT_EQ(fieldsOf(2, countingBytes(1, 28)),
              ",1,0.772,128.6,1800,2314,3.342,3.856,4.37,4.884,5.398,5.912,6.426,3.084,420.85,"
              "0,0");
}

TEST(DynamicInfoDataRecord, withModuleAddressEveryFieldStandsOneByteFurther) {
    // Bytes 0x21 to 0x3F: module 33, 0x2425 mV, 0x26272829 = 640100393 tenths of an ampere, 0x2A2B,
    // 0x2C2D, the status 0x2E2F with both bits, cells from 0x3031 to 0x3C3D, 1593.5 K.
    EXPECT_EQ(fieldsOf(14, countingBytes(0x21, 31)),
              ",33,9.253,6.401e+07,10795,11309,12.337,12.851,13.365,13.879,14.393,14.907,15.421,"
              "3.084,1320.35,1,1");
}

TEST(DynamicInfoDataRecord, theFirstWordIsNeverLookedAt) {
    std::string payload = countingBytes(1, 30);
    const std::string expected = fieldsOf(2, payload);
    for (const size_t offset : {0U, 1U}) {
        payload[offset] = '\xFF';
        EXPECT_EQ(fieldsOf(2, payload), expected);
    }
}

TEST(DynamicInfoDataRecord, aPlainRecordOf35BytesHasACurrentOf16Bits) {
    DynamicInfo info = plausibleInfo();
    info.deciAmperes = -100; // FF 9C
    const auto record =
        readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo({}, info, false));
    EXPECT_EQ(record->current, -10.0F);
    EXPECT_EQ(record->soc, 60);
    EXPECT_EQ(record->dsoc, 40);
    EXPECT_EQ(record->cellTemperature[0], 25.05F);
}

TEST(DynamicInfoDataRecord, aPlainRecordOf37BytesHasACurrentOf32Bits) {
    DynamicInfo info = plausibleInfo();
    info.deciAmperes = 500; // 00 00 01 F4
    const auto record = readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo({}, info));
    EXPECT_EQ(record->current, 50.0F);
    EXPECT_EQ(record->soc, 60);
    info.deciAmperes = -1;
    EXPECT_EQ(readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo({}, info))->current,
              -0.1F);
}

TEST(DynamicInfoDataRecord, everyLengthBut35HasACurrentOf32Bits) {
    // Seven bytes before the payload and 27 to 31 of it: lengths 34 to 38. The payload is 1000 mV,
    // 00 01 00 02 of current and so on, up to the temperature 0x0C0D.
    const std::string payload = bytesOf("00 00 03 E8 00 01 00 02 00 03 00 04 00 05 00 06 00 07 00 "
                                        "08 00 09 00 0A 00 0B 00 0C 0C 0D 63");
    const auto fields = [&](size_t length) { return fieldsOf(2, payload.substr(0, length - 7)); };

    // 16 bits: current 1, soc 2, dsoc 3, status 4, cells 5 to 11 mV, temperature 12.
    EXPECT_EQ(fields(35),
              ",1,1,0.1,2,3,0.005,0.006,0.007,0.008,0.009,0.01,0.011,0.006,-271.95,0,0");

    // 32 bits: current 65538, soc 3, dsoc 4, status 5, cells 6 to 12 mV.
    const std::string start = ",1,1,6553.8,3,4,0.006,0.007,0.008,0.009,0.01,0.011,";
    EXPECT_EQ(fields(34), start + "0,0.011,-273.15,0,0");   // cell 7 is 00 and a missing byte
    EXPECT_EQ(fields(36), start + "0.012,0.006,34.05,0,0"); // 0x0C00 = 3072, 307.2 K
    EXPECT_EQ(fields(37), start + "0.012,0.006,35.35,0,0"); // 0x0C0D = 3085, 308.5 K
    EXPECT_EQ(fields(38), start + "0.012,0.006,35.35,0,0"); // one byte more is not looked at
}

TEST(DynamicInfoDataRecord, anAddressedRecordOf36BytesIsMisreadWithACurrentOf32Bits) {
    DynamicInfo info = plausibleInfo();
    info.deciAmperes = 1;
    const std::string payload = "\x02" + dynamicInfoPayload(info, false).bytes;
    const auto record =
        readRecord<DynamicInfoDataRecordWithModuleAddress>(LogBuilder().record(14, {}, payload));
    EXPECT_EQ(record->moduleAddress, 2);
    EXPECT_EQ(record->current, 6559.6F); // 00 01, and the soc 00 3C as the low half: 65596
    EXPECT_EQ(record->soc, 40);          // where the dsoc stands
    EXPECT_EQ(record->dsoc, 0);          // where the status stands
}

TEST(DynamicInfoDataRecord, anAddressedRecordOf35BytesHasACurrentOf16Bits) {
    DynamicInfo info = plausibleInfo();
    info.deciAmperes = 1;
    std::string payload = "\x02" + dynamicInfoPayload(info, false).bytes;
    payload.pop_back(); // the temperature's low byte
    const auto record =
        readRecord<DynamicInfoDataRecordWithModuleAddress>(LogBuilder().record(14, {}, payload));
    EXPECT_EQ(record->current, 0.1F);
    EXPECT_EQ(record->soc, 60);
    EXPECT_EQ(record->cellTemperature[0], 8.45F); // 0x0B00 = 2816, 281.6 K
}

TEST(DynamicInfoDataRecord, theCurrentIsSignedInBothWidths) {
    DynamicInfo info;
    info.deciAmperes = std::numeric_limits<int32_t>::min();
    EXPECT_EQ(readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo({}, info))->current,
              -214748364.8F);
    info.deciAmperes = std::numeric_limits<int16_t>::min();
    EXPECT_EQ(readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo({}, info, false))->current,
              -3276.8F);
    info.deciAmperes = std::numeric_limits<int16_t>::max();
    EXPECT_EQ(readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo({}, info, false))->current,
              3276.7F);
}

TEST(DynamicInfoDataRecord, scalingDividesInDoublePrecisionAndKeepsAFloat) {
    DynamicInfo info;
    // A float holds no 16777217. In double precision its tenth is 1677721.7, and the nearest float
    // to that .75; dividing the nearest float, 16777216, would give .625.
    info.deciAmperes = 16777217;
    info.millivolts = 65535;
    info.deciKelvin = 2732; // 0.05 degrees; subtracting floats would give 0.0500183
    const auto record = readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo({}, info));
    EXPECT_EQ(record->current, 1677721.75F);
    EXPECT_EQ(record->packVoltage, 65.535F);
    EXPECT_EQ(record->cellTemperature[0], 0.05F);
    EXPECT_EQ(fieldsOf(*record), ",1,65.535,1.67772e+06,0,0,0,0,0,0,0,0,0,0,0.05,0,0");
}

TEST(DynamicInfoDataRecord, everyReadingIsWrittenInTheDefaultNotationOfFloats) {
    DynamicInfo info;
    for (unsigned raw = 0; raw < 65536; ++raw) {
        info.millivolts = raw;
        info.deciAmperes = static_cast<int16_t>(raw);
        info.cellMillivolts[6] = raw;
        info.deciKelvin = raw;
        const std::string volts = floatField(static_cast<float>(raw / 1000.0));
        const std::string amperes =
            floatField(static_cast<float>(static_cast<int16_t>(raw) / 10.0));
        const std::string degrees = floatField(static_cast<float>(raw / 10.0 - 273.15));
        ASSERT_EQ(fieldsOf(2, dynamicInfoPayload(info, false)),
                  ",1" + volts + amperes + ",0,0,0,0,0,0,0,0" + volts + volts + degrees + ",0,0");
    }
}

TEST(DynamicInfoDataRecord, bit10OfTheStatusIsHeatAndBit13Balance) {
    const auto flags = [](unsigned status) {
        DynamicInfo info;
        info.status = status;
        const auto record = readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo({}, info));
        return std::pair(record->heat, record->balance);
    };
    EXPECT_EQ(flags(0x2400), std::pair(true, true));
    EXPECT_EQ(flags(0x0400), std::pair(true, false));
    EXPECT_EQ(flags(0x2000), std::pair(false, true));
    EXPECT_EQ(flags(0x1000), std::pair(false, false));
    EXPECT_EQ(flags(0xDBFF), std::pair(false, false)); // all others
    EXPECT_EQ(flags(0xFFFF), std::pair(true, true));
    for (unsigned bit = 0; bit < 16; ++bit) {
        EXPECT_EQ(flags(1U << bit), std::pair(bit == 10, bit == 13)) << "bit " << bit;
    }
}

TEST(DynamicInfoDataRecord, plainRecordIsAlwaysModule1AndAddressedOneOfItsFirstByte) {
    EXPECT_EQ(readRecord<DynamicInfoDataRecord>(LogBuilder().record(2, {}, std::string(30, '\xFF')))
                  ->moduleAddress,
              1);
    for (unsigned module = 0; module < 256; ++module) {
        const auto record = readRecord<DynamicInfoDataRecordWithModuleAddress>(
            LogBuilder().dynamicInfo(Stamp(), module, DynamicInfo()));
        EXPECT_EQ(record->moduleAddress, module);
        EXPECT_EQ(record->moduleId(), module);
        EXPECT_EQ(fieldsOf(*record), field(module) + ",0,0,0,0,0,0,0,0,0,0,0,0,-273.15,0,0");
    }
}

TEST(DynamicInfoDataRecord, moduleIdIsTheLowByteOfAnAddressAbove255) {
    DynamicInfoDataRecord record;
    record.moduleAddress = 0xFF07;
    EXPECT_EQ(record.moduleId(), 7);
    record.interpreted = true;
    EXPECT_EQ(fieldsOf(record), ",65287,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0");
}

TEST(DynamicInfoDataRecord, aRecordThatWasNeverInterpretedWritesSixteenCommas) {
    DynamicInfoDataRecord plain;
    EXPECT_EQ(lineOf(plain), ",,,,,,,,,,,,,,,,\n");
    DynamicInfoDataRecordWithModuleAddress addressed;
    EXPECT_EQ(lineOf(addressed), ",,,,,,,,,,,,,,,,\n");
}

TEST(DynamicInfoDataRecord, equalCellsHaveNoImbalance) {
    const auto record = readRecord(LogBuilder().dynamicInfo({}, plausibleInfo()).bytes());
    EXPECT_EQ(fieldsOf(*record), ",1,25.6,0,60,40,3.5,3.5,3.5,3.5,3.5,3.5,3.5,0,25.05,0,0");
}

TEST(DynamicInfoDataRecord, imbalanceIsTheHighestMinusTheLowestCellWhereverTheyStand) {
    for (size_t high = 0; high < cellsPerModule; ++high) {
        for (size_t low = 0; low < cellsPerModule; ++low) {
            if (high == low) {
                continue;
            }
            DynamicInfo info;
            info.cellMillivolts.assign(cellsPerModule, 3000);
            info.cellMillivolts[high] = 4000;
            info.cellMillivolts[low] = 2500;
            const std::string fields = fieldsOf(2, dynamicInfoPayload(info, true));
            EXPECT_NE(fields.find(",1.5,-273.15,0,0"), std::string::npos) << fields;
        }
    }
}

TEST(DynamicInfoDataRecord, imbalanceIsTheDifferenceOfFloats) {
    DynamicInfo info;
    info.cellMillivolts = {3700, 3640, 3650, 3650, 3650, 3650, 3650};
    // The floats next to 3.7 and 3.64 lie 0.05999994 apart.
    EXPECT_EQ(fieldsOf(2, dynamicInfoPayload(info, true)),
              ",1,0,0,0,0,3.7,3.64,3.65,3.65,3.65,3.65,3.65,0.0599999,-273.15,0,0");
}

TEST(DynamicInfoDataRecord, imbalanceFollowsTheCellsWheneverTheRowIsWritten) {
    const auto record =
        readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo({}, plausibleInfo()));
    record->cellVoltage[3] = 4.0F;
    EXPECT_EQ(fieldsOf(*record), ",1,25.6,0,60,40,3.5,3.5,3.5,4,3.5,3.5,3.5,0.5,25.05,0,0");
}

TEST(DynamicInfoDataRecord, aPlausibleSampleReportsItsDatestampDsocAndSocToTheSynopsis) {
    // The synopsis shows soc before dsoc.
    EXPECT_EQ(synopsisAfter(plausibleInfo()),
              "the beginning,2020-05-01 08:00:00.0,charge,60,60,40,40,1\n");
}

TEST(DynamicInfoDataRecord, recordsOfEveryKindReportPlausibleSamples) {
    const std::string expected = "the beginning,2020-05-01 08:00:00.0,charge,60,60,40,40,1\n";
    const SynopsisWatch shortCurrent;
    readRecord(LogBuilder().dynamicInfo(stamp(2020, 5, 1, 8), plausibleInfo(), false).bytes());
    EXPECT_EQ(shortCurrent.line(), expected);
    const SynopsisWatch addressed;
    readRecord(LogBuilder().dynamicInfo(stamp(2020, 5, 1, 8), 9, plausibleInfo()).bytes());
    EXPECT_EQ(addressed.line(), expected);
}

TEST(DynamicInfoDataRecord, reportsWhenDecodedAndNotWhenWritten) {
    const auto record =
        readRecord(LogBuilder().dynamicInfo(stamp(2020, 5, 1), plausibleInfo()).bytes());
    const SynopsisWatch watch;
    EXPECT_NE(lineOf(*record), "");
    EXPECT_EQ(watch.line(), "");
}

TEST(DynamicInfoDataRecord, socAbove100KeepsTheSampleOutOfTheSynopsisAndStaysInTheRow) {
    DynamicInfo info = plausibleInfo();
    info.soc = 100;
    EXPECT_EQ(synopsisAfter(info), "the beginning,2020-05-01 08:00:00.0,charge,100,100,40,40,1\n");
    info.soc = 101;
    EXPECT_FALSE(isPlausible(info));
    EXPECT_EQ(fieldsOf(2, dynamicInfoPayload(info, true)),
              ",1,25.6,0,101,40,3.5,3.5,3.5,3.5,3.5,3.5,3.5,0,25.05,0,0");
    info.soc = 65535;
    EXPECT_FALSE(isPlausible(info));
}

TEST(DynamicInfoDataRecord, dsocAbove100IsImplausible) {
    DynamicInfo info = plausibleInfo();
    info.dsoc = 100;
    EXPECT_EQ(synopsisAfter(info), "the beginning,2020-05-01 08:00:00.0,charge,60,60,100,100,1\n");
    info.dsoc = 101;
    EXPECT_FALSE(isPlausible(info));
    info.dsoc = 65535;
    EXPECT_FALSE(isPlausible(info));
}

TEST(DynamicInfoDataRecord, socAndDsocOf0ArePlausible) {
    DynamicInfo info = plausibleInfo();
    info.soc = 0;
    info.dsoc = 0;
    EXPECT_TRUE(isPlausible(info));
}

TEST(DynamicInfoDataRecord, everyCellIsPlausibleAbove2VoltsAndUpTo5) {
    for (size_t cell = 0; cell < cellsPerModule; ++cell) {
        DynamicInfo info = plausibleInfo();
        for (const auto& [millivolts, plausible] : std::map<unsigned, bool>{{0, false},
                                                                            {1999, false},
                                                                            {2000, false},
                                                                            {2001, true},
                                                                            {5000, true},
                                                                            {5001, false},
                                                                            {65535, false}}) {
            info.cellMillivolts[cell] = millivolts;
            EXPECT_EQ(isPlausible(info), plausible) << millivolts << " mV in cell " << cell + 1;
        }
    }
}

TEST(DynamicInfoDataRecord, temperatureIsPlausibleFromMinus40To4000Degrees) {
    DynamicInfo info = plausibleInfo();
    for (const auto& [deciKelvin, plausible] :
         std::map<unsigned, bool>{{0, false},
                                  {2331, false},  // -40.05 degrees
                                  {2332, true},   // -39.95
                                  {42731, true},  // 3999.95
                                  {42732, false}, // 4000.05
                                  {65535, false}}) {
        info.deciKelvin = deciKelvin;
        EXPECT_EQ(isPlausible(info), plausible) << deciKelvin << " tenths of a kelvin";
    }
}

TEST(DynamicInfoDataRecord, packVoltageCurrentAndStatusDoNotCountForPlausibility) {
    DynamicInfo info = plausibleInfo();
    info.millivolts = 0;
    info.deciAmperes = std::numeric_limits<int32_t>::max();
    info.status = 0xFFFF;
    EXPECT_TRUE(isPlausible(info));
}

TEST(DynamicInfoDataRecord, copiesAndAssignmentsKeepEveryField) {
    const auto record = readRecord<DynamicInfoDataRecord>(
        LogBuilder().record(2, stamp(2020, 5, 1), countingBytes(1, 30)));
    DynamicInfoDataRecord copy(*record);
    DynamicInfoDataRecord assigned;
    assigned = copy;
    EXPECT_EQ(lineOf(copy), lineOf(*record));
    EXPECT_EQ(lineOf(assigned), lineOf(*record));
}

// =================================================================================================
// 3: FaultDataRecord
// =================================================================================================

struct FaultCategory {
    unsigned code;
    std::vector<std::string> names; // from bit 0
    void (FaultDataRecord::*interpret)(unsigned short, std::ostream&);
};

const std::vector<FaultCategory> faultCategories = {
    {1,
     {"Low SOC", "Self-test", "AC Present while truck on", "Loss of wake", "Contactor stuck open",
      "Contactor stuck closed", "Contactor coil bad", "Fuse blown", "EEPROM memory error",
      "Flash memory error", "Sleep warning", "Contactor opening imminent", "Dormant Mode"},
     &FaultDataRecord::interpretGeneralFault},
    {2,
     {"Charge current warning", "Discharge current warning", "Charge current error",
      "Discharge current error", "Current measurement error", "Hardware over current"},
     &FaultDataRecord::interpretCurrentFault},
    {4,
     {"Voltage sense wire", "Voltage measurement error", "High cell voltage", "Low cell voltage",
      "Hardware over voltage"},
     &FaultDataRecord::interpretVoltageFault},
    {8,
     {"Cell temperature measurement error", "High cell temperature", "Low cell temperature",
      "Too hot to charge", "Too cold to charge"},
     &FaultDataRecord::interpretTemperatureFault},
    {16,
     {"Loss of CAN Rx", "Loss of internal communication"},
     &FaultDataRecord::interpretCommunicationFault},
    {128,
     {"Heater error", "Fan error", "Cell balancing error", "RTC error", "Shock / Vibration error",
      "Humidity error", "FRU error - LIBUI", "FRU error - BMC", "FRU error - BMU",
      "FRU error - Charger"},
     &FaultDataRecord::interpretFeatureFault},
};

std::string faultFields(unsigned category, unsigned bits) {
    return fieldsOf(3, faultPayload(category, bits));
}

TEST(FaultDataRecord, everyFieldStandsAtItsOffset) {
    const auto record =
        readRecord<FaultDataRecord>(LogBuilder().record(3, {}, countingBytes(1, 8)));
    EXPECT_EQ(record->error_register, 3);
    EXPECT_EQ(record->additional_information, 0x0708);
    EXPECT_EQ(fieldsOf(*record), ",3,1800");
}

TEST(FaultDataRecord, bytesBetweenFieldsAreNeverLookedAt) {
    const std::string payload = countingBytes(1, 8);
    for (const size_t offset : {0U, 1U, 3U, 4U, 5U}) {
        std::string changed = payload;
        changed[offset] = '\xFF';
        EXPECT_EQ(fieldsOf(3, changed), fieldsOf(3, payload)) << "offset " << offset;
    }
}

TEST(FaultDataRecord, everyBitOfEveryCategoryHasItsNameOrNone) {
    size_t names = 0;
    for (const FaultCategory& category : faultCategories) {
        for (unsigned bit = 0; bit < 16; ++bit) {
            std::string expected = field(category.code) + field(1U << bit);
            if (bit < category.names.size()) {
                expected += "," + category.names[bit];
                ++names;
            }
            EXPECT_EQ(faultFields(category.code, 1U << bit), expected);
        }
    }
    EXPECT_EQ(names, 41U);
}

TEST(FaultDataRecord, allBitsTogetherNameTheFaultsFromBit0Up) {
    for (const FaultCategory& category : faultCategories) {
        std::string names;
        for (const std::string& name : category.names) {
            names += "," + name;
        }
        EXPECT_EQ(faultFields(category.code, 0xFFFF), field(category.code) + ",65535" + names);
    }
}

TEST(FaultDataRecord, theNamingOperationsWriteTheNamesAlone) {
    for (const FaultCategory& category : faultCategories) {
        for (unsigned short bit = 0; bit < 16; ++bit) {
            std::ostringstream os;
            (FaultDataRecord().*category.interpret)(static_cast<unsigned short>(1U << bit), os);
            EXPECT_EQ(os.str(), bit < category.names.size() ? "," + category.names[bit] : "");
        }
    }
}

TEST(FaultDataRecord, aListOfNamesEndsAtItsEmptyText) {
    const char* names[] = {"zero", "one", "", "never"};
    std::ostringstream os;
    FaultDataRecord().interpretFault(0xFFFF, names, os);
    EXPECT_EQ(os.str(), ",zero,one");
    const char* none[] = {"", "never"};
    FaultDataRecord().interpretFault(0xFFFF, none, os);
    EXPECT_EQ(os.str(), ",zero,one");
}

TEST(FaultDataRecord, aNameBehindTheSixteenthBitIsNeverWritten) {
    std::array<const char*, 18> names = {};
    names.fill("x");
    names.back() = "";
    std::ostringstream os;
    FaultDataRecord().interpretFault(0xFFFF, names.data(), os);
    EXPECT_EQ(os.str(), ",x,x,x,x,x,x,x,x,x,x,x,x,x,x,x,x");
}

TEST(FaultDataRecord, generalFaultsWithBits0And3NameLowSocAndLossOfWake) {
    EXPECT_EQ(faultFields(1, 9), ",1,9,Low SOC,Loss of wake");
}

TEST(FaultDataRecord, featureFaultBit9IsTheCharger) {
    EXPECT_EQ(faultFields(128, 0x200), ",128,512,FRU error - Charger");
}

TEST(FaultDataRecord, currentFaultBits6To15HaveNoName) {
    EXPECT_EQ(faultFields(2, 0xFFC0), ",2,65472");
}

TEST(FaultDataRecord, communicationFaultsNameLossOfCanFirst) {
    EXPECT_EQ(faultFields(16, 3), ",16,3,Loss of CAN Rx,Loss of internal communication");
}

TEST(FaultDataRecord, categoriesWithoutNamesWriteTheTwoNumbersOnly) {
    for (unsigned code = 0; code < 256; ++code) {
        bool named = false;
        for (const FaultCategory& category : faultCategories) {
            named = named || category.code == code;
        }
        if (!named) {
            EXPECT_EQ(faultFields(code, 0xFFFF), field(code) + ",65535");
        }
    }
}

TEST(FaultDataRecord, aZeroBitSetWritesTheTwoNumbersOnly) {
    for (unsigned code = 0; code < 256; ++code) {
        EXPECT_EQ(faultFields(code, 0), field(code) + ",0");
    }
}

TEST(FaultDataRecord, theMapHoldsTheOneCategoryAndItsBits) {
    for (const unsigned category : {0U, 1U, 255U}) {
        const auto record = readRecord<FaultDataRecord>(LogBuilder().fault({}, category, 0xABCD));
        const auto key = static_cast<uint8_t>(category);
        EXPECT_EQ(record->error_register, category);
        EXPECT_EQ(record->faultMap, (std::map<uint8_t, uint16_t>{{key, 0xABCD}}));
    }
    FaultDataRecord fresh;
    EXPECT_EQ(fresh.error_register, 0);
    EXPECT_EQ(fresh.additional_information, 0);
    EXPECT_TRUE(fresh.faultMap.empty());
}

TEST(FaultDataRecord, theRowLeavesTheStreamInDecimal) {
    const auto record = readRecord(LogBuilder().fault({}, 0, 0).bytes());
    std::ostringstream os;
    os << std::hex;
    record->writeBasicCSV(os);
    os << ',' << 255;
    EXPECT_EQ(os.str(), ",0,0,255");
}

// =================================================================================================
// 4: ShockDataRecord
// =================================================================================================

TEST(ShockDataRecord, readingsAreSignedBytes) {
    const auto record =
        readRecord<ShockDataRecord>(LogBuilder().record(4, {}, bytesOf("FF 80 7F")));
    EXPECT_EQ(record->x, -1);
    EXPECT_EQ(record->y, -128);
    EXPECT_EQ(record->z, 127);
    EXPECT_EQ(fieldsOf(*record), ",-1,-128,127");
}

TEST(ShockDataRecord, readingsAreWrittenAsNumbersAndUnscaled) {
    EXPECT_EQ(fieldsOf(4, bytesOf("01 41 00")), ",1,65,0");
    EXPECT_EQ(fieldsOf(4, bytesOf("05")), ",5,0,0");
}

// =================================================================================================
// 5: MessageDataRecord
// =================================================================================================

std::shared_ptr<MessageDataRecord> readMessage(const std::string& text, Stamp time = {}) {
    return readRecord<MessageDataRecord>(LogBuilder().message(time, text));
}

const std::map<std::string, std::string> systemStateNames = {
    {"systemState=+0", "ST_INIT"},
    {"systemState=+1", "ST_RESTART"},
    {"systemState=+2", "ST_WAIT_FOR_GPIO_ON_STARTUP"},
    {"systemState=+3", "ST_WAIT_FOR_BMU_COMM"},
    {"systemState=+4", "ST_WAIT_FOR_SAFE_BATTERY"},
    {"systemState=+5", "ST_RUN"},
    {"systemState=+6", "ST_CHARGE"},
    {"systemState=+7", "ST_CHARGE_DONE"},
    {"systemState=+8", "ST_STOP_CHARGE"},
    {"systemState=+9", "ST_INTERLOCK"},
    {"systemState=+10", "ST_UNDERVOLTAGE"},
    {"systemState=+11", "ST_OVERVOLTAGE"},
    {"systemState=+12", "ST_BMU_COMM_LOST"},
    {"systemState=+13", "ST_TRUCK_COMM_LOST"},
    {"systemState=+14", "ST_OVERCURRENT"},
    {"systemState=+15", "ST_RESET_BMU"},
    {"systemState=+16", "ST_WAIT_FOR_CONTACTOR_OPEN_BEFORE_SLEEP"},
    {"systemState=+17", "ST_ABOUT_TO_SLEEP"},
    {"systemState=+18", "ST_SLEEP"},
    {"systemState=+19", "ST_FIRMWAREUPDATE"},
    {"systemState=+20", "ST_FIRMWAREUPDATE_WAIT_FOR_BMU"},
    {"systemState=+21", "ST_UNDEFINED"},
};

TEST(MessageDataRecord, theTextIsEveryByteOfThePayload) {
    const std::string text("a,b\nc\0d\xFF \x10\x03", 11);
    const auto record = readMessage(text);
    EXPECT_EQ(record->message, text);
    EXPECT_EQ(fieldsOf(*record), "," + text + ",");
    EXPECT_EQ(fieldsOf(*record), "," + text + ","); // and again
}

TEST(MessageDataRecord, theRowHasTheStateBehindTheTextWhichTheHeaderDoesNotName) {
    EXPECT_EQ(fieldsOf(*readMessage("hello")), ",hello,");
    EXPECT_EQ(fieldsOf(*readMessage("systemState=+17")), ",systemState=+17,17");
    EXPECT_EQ(fieldsOf(*readMessage("chargeSchedule.state = IDLE")),
              ",chargeSchedule.state = IDLE,");
    EXPECT_EQ(fieldsOf(*readMessage("")), ",,");
}

TEST(MessageDataRecord, theTableOfSystemStatesIsFilledWithTheFirstHeader) {
    MessageDataRecord::systemStates.clear();
    MessageDataRecord record;
    EXPECT_TRUE(MessageDataRecord::systemStates.empty());
    record.header();
    ASSERT_EQ(systemStateNames.size(), 22U);
    EXPECT_EQ(MessageDataRecord::systemStates, systemStateNames);
}

TEST(MessageDataRecord, theTableOfSystemStatesIsFilledOnlyOnce) {
    MessageDataRecord::systemStates.clear();
    MessageDataRecord().header();
    MessageDataRecord::systemStates = {{"a mark", "that a second filling would remove"}};
    for (int time = 0; time < 3; ++time) {
        MessageDataRecord().header();
    }
    EXPECT_EQ(MessageDataRecord::systemStates.size(), 1U);
    MessageDataRecord::systemStates.clear();
}

TEST(MessageDataRecord, nothingLooksUpTheTableOfSystemStates) {
    for (const bool filled : {false, true}) {
        MessageDataRecord::systemStates.clear();
        if (filled) {
            MessageDataRecord().header();
        }
        const SynopsisWatch watch;
        for (const auto& [text, name] : systemStateNames) {
            const auto record = readMessage(text);
            const std::string number = text.substr(13);
            EXPECT_EQ(record->systemState(), number);
            EXPECT_EQ(fieldsOf(*record), "," + text + "," + number);
        }
        synopsis.dynamicInfo("later", 1, 1);
        EXPECT_EQ(watch.line(), "the beginning,later,charge,1,1,1,1,1\n"); // no other period began
    }
}

TEST(MessageDataRecord, systemStateIsTheRestOfTheTextWhateverItHolds) {
    EXPECT_EQ(readMessage("systemState=+5")->systemState(), "5");
    EXPECT_EQ(readMessage("systemState=+ST_RUN")->systemState(), "ST_RUN");
    EXPECT_EQ(readMessage("systemState=+")->systemState(), "");
    EXPECT_EQ(readMessage("systemState=+ a, b=+c ")->systemState(), " a, b=+c ");
}

TEST(MessageDataRecord, chargeScheduleStateIsTheRestOfTheTextWhateverItHolds) {
    EXPECT_EQ(readMessage("chargeSchedule.state = IDLE")->chargeScheduleState(), "IDLE");
    EXPECT_EQ(readMessage("chargeSchedule.state = ")->chargeScheduleState(), "");
    EXPECT_EQ(readMessage("chargeSchedule.state =  A,\n")->chargeScheduleState(), " A,\n");
    EXPECT_EQ(readMessage("chargeSchedule.state=IDLE")->chargeScheduleState(), "");
    EXPECT_EQ(readMessage("chargeSchedule.state =IDLE")->chargeScheduleState(), "");
}

TEST(MessageDataRecord, trailingBytesStayInTheStatesAndEndTheNumberOfASignal) {
    const std::string tail("\0\r\n", 3);
    EXPECT_EQ(readMessage("systemState=+5" + tail)->systemState(), "5" + tail);
    EXPECT_EQ(readMessage("chargeSchedule.state = IDLE" + tail)->chargeScheduleState(),
              "IDLE" + tail);
    EXPECT_EQ(readMessage("sbx_sense=+1" + tail)->sbx(), TriState::True);
    EXPECT_EQ(readMessage("sbx_sense=+0" + tail + "1")->sbx(), TriState::False);
    EXPECT_EQ(fieldsOf(*readMessage("systemState=+5" + tail)),
              ",systemState=+5" + tail + ",5" + tail);
}

TEST(MessageDataRecord, prefixesAreExactAndStandAtTheStart) {
    for (const char* text :
         {" systemState=+5", "SystemState=+5", "systemstate=+5", "systemState=5", "systemState=-5",
          "systemState = +5", "systemState+5", "systemState=", "xsystemState=+5"}) {
        EXPECT_EQ(readMessage(text)->systemState(), "") << text;
    }
    for (const char* text : {" chargeSchedule.state = A", "chargeschedule.state = A",
                             "chargeSchedule.State = A", "xchargeSchedule.state = A"}) {
        EXPECT_EQ(readMessage(text)->chargeScheduleState(), "") << text;
    }
}

TEST(MessageDataRecord, anEmptyMessageCarriesNothing) {
    const auto record = readMessage("");
    EXPECT_EQ(record->systemState(), "");
    EXPECT_EQ(record->chargeScheduleState(), "");
    EXPECT_EQ(record->sbx(), TriState::Indeterminate);
    EXPECT_EQ(record->button(), TriState::Indeterminate);
    EXPECT_EQ(record->acPresent(), TriState::Indeterminate);
    EXPECT_EQ(record->interlock(), TriState::Indeterminate);
}

TEST(MessageDataRecord, triStateHasItsNumbers) {
    static_assert(static_cast<int>(TriState::False) == 0);
    static_assert(static_cast<int>(TriState::True) == 1);
    static_assert(static_cast<int>(TriState::Indeterminate) == 2);
}

struct Signal {
    const char* prefix;
    TriState (MessageDataRecord::*value)() const;
};

const std::vector<Signal> signals = {
    {"sbx_sense=+", &MessageDataRecord::sbx},
    {"hud_multifunc=+", &MessageDataRecord::button},
    {"ac_no_sense=+", &MessageDataRecord::acPresent}, // not inverted, whatever its name says
    {"interlock=+", &MessageDataRecord::interlock},
};

TEST(MessageDataRecord, eachSignalIsReportedUnderItsOwnPrefix) {
    for (const Signal& reported : signals) {
        for (const Signal& asked : signals) {
            const bool same = &reported == &asked;
            const std::string prefix = reported.prefix;
            EXPECT_EQ(((*readMessage(prefix + "1")).*asked.value)(),
                      same ? TriState::True : TriState::Indeterminate);
            EXPECT_EQ(((*readMessage(prefix + "0")).*asked.value)(),
                      same ? TriState::False : TriState::Indeterminate);
        }
    }
}

TEST(MessageDataRecord, aSignalPrefixIsExactAndStandsAtTheStart) {
    for (const Signal& signal : signals) {
        const std::string prefix = signal.prefix;
        std::string capital = prefix;
        capital[0] = static_cast<char>(capital[0] - 'a' + 'A');
        const std::string withoutPlus = prefix.substr(0, prefix.size() - 1);
        for (const std::string& text :
             {withoutPlus, withoutPlus + "1", withoutPlus + "-1", withoutPlus + " +1",
              capital + "1", " " + prefix + "1", "x" + prefix + "1", prefix.substr(1) + "1",
              std::string("1")}) {
            EXPECT_EQ(((*readMessage(text)).*signal.value)(), TriState::Indeterminate) << text;
        }
    }
}

TEST(MessageDataRecord, aSignalIsTrueUnlessTheNumberBehindItsPrefixIs0) {
    using namespace std::string_literals;
    const auto expectAll = [](TriState expected, const std::vector<std::string>& values) {
        for (const Signal& signal : signals) {
            for (const std::string& value : values) {
                EXPECT_EQ(((*readMessage(signal.prefix + value)).*signal.value)(), expected)
                    << signal.prefix << value;
            }
        }
    };
    expectAll(TriState::True, {"1", "2", "10", "007"});
    expectAll(TriState::False, {"0", "000"});

    // No number at all counts as 0.
    expectAll(TriState::False, {"", "x", "x1", " ", "-", "+", ".5"});

    // White space before the number is skipped.
    expectAll(TriState::True, {" 7", "\t\n\v\f\r 7"});
    expectAll(TriState::False, {" 0", "\t\n\v\f\r 0"});

    // One sign belongs to the number.
    expectAll(TriState::True, {"-5", "+7", " -5"});
    expectAll(TriState::False, {"-0", "+0", "++7", "--5", "+-5", "- 5"});

    // Too large a number counts as the largest.
    expectAll(TriState::True, {"4294967295", "4294967296", "18446744073709551616",
                               "99999999999999999999999999", "-4294967296"});

    // The number ends at the first character that can't continue it.
    expectAll(TriState::True, {"1x", "1 0", "1,000", "1\n"});
    expectAll(TriState::False, {"0x1", "0 1", "0.9", "0,1", "0\n1"});

    // A zero byte is a character like others, and no white space.
    expectAll(TriState::True, {"1\0"s});
    expectAll(TriState::False, {"\0"s, "0\0"s + "1", "\0"s + "1"});
}

/// The direction of the period under way in the synopsis, and the datestamp at which it began.
std::string periodUnderWay() {
    synopsis.dynamicInfo("later", 1, 1);
    std::ostringstream os;
    synopsis.write(os);
    return os.str();
}

TEST(MessageDataRecord, aWrittenStRunStartsADischargePeriodAtItsDatestamp) {
    const SynopsisWatch watch;
    fieldsOf(*readMessage("systemState=+ST_RUN", stamp(2020, 5, 1, 9)));
    EXPECT_EQ(periodUnderWay(), "2020-05-01 09:00:00.0,later,discharge,1,1,1,1,1\n");
}

TEST(MessageDataRecord, aWrittenStChargeStartsAChargePeriodAtItsDatestamp) {
    const SynopsisWatch watch;
    synopsis.start("a discharge", Synopsis::discharge);
    fieldsOf(*readMessage("systemState=+ST_CHARGE", stamp(2020, 5, 1, 9)));
    EXPECT_EQ(periodUnderWay(), "2020-05-01 09:00:00.0,later,charge,1,1,1,1,1\n");
}

TEST(MessageDataRecord, aWrittenStRestartStartsAPeriodWithoutALine) {
    const SynopsisWatch watch;
    fieldsOf(*readMessage("systemState=+ST_RESTART"));
    EXPECT_EQ(periodUnderWay(), "");
}

TEST(MessageDataRecord, noOtherMessageStartsAPeriod) {
    const SynopsisWatch watch;
    for (const auto& [text, name] : systemStateNames) {
        fieldsOf(*readMessage(text));
        if (name != "ST_RUN" && name != "ST_CHARGE" && name != "ST_RESTART") {
            fieldsOf(*readMessage("systemState=+" + name));
        }
    }
    for (const char* text :
         {"", "ST_RUN", "systemState=ST_RUN", "systemState=+st_run", "systemState=+ST_RUN ",
          "systemState=+ ST_RUN", "systemState=+ST_RUN,", "chargeSchedule.state = ST_RUN"}) {
        fieldsOf(*readMessage(text));
    }
    fieldsOf(*readMessage(std::string("systemState=+ST_RUN\0", 20)));
    EXPECT_EQ(periodUnderWay(), "the beginning,later,charge,1,1,1,1,1\n");
}

TEST(MessageDataRecord, periodsStartWhenTheRowIsWrittenAndNotWhenItIsRead) {
    const SynopsisWatch watch;
    const auto record = readMessage("systemState=+ST_RUN", stamp(2020, 5, 1, 9));
    std::ostringstream os;
    record->writeCSVHeader(os);
    EXPECT_EQ(periodUnderWay(), "the beginning,later,charge,1,1,1,1,1\n");
    fieldsOf(*record);
    EXPECT_EQ(periodUnderWay(), "2020-05-01 09:00:00.0,later,discharge,1,1,1,1,1\n");
}

TEST(MessageDataRecord, everyWrittenRowStartsItsPeriodAgain) {
    const auto record = readMessage("systemState=+ST_RUN", stamp(2020, 5, 1, 9));
    fieldsOf(*record);
    const SynopsisWatch watch;
    fieldsOf(*record);
    EXPECT_EQ(periodUnderWay(), "2020-05-01 09:00:00.0,later,discharge,1,1,1,1,1\n");
}

// =================================================================================================
// 6: BMCFirmwareVersionDataRecord
// =================================================================================================

TEST(BMCFirmwareVersionDataRecord, theVersionEndsAtTheFirstZeroByte) {
    EXPECT_EQ(fieldsOf(6, std::string("v1.2\0v3", 7)), ",v1.2");
}

TEST(BMCFirmwareVersionDataRecord, withoutAZeroByteTheVersionIsTheWholePayload) {
    const std::string text = "BMC, v 1.2\n\x10\xFF";
    const auto record =
        readRecord<BMCFirmwareVersionDataRecord>(LogBuilder().firmwareVersion({}, text));
    EXPECT_EQ(record->firmwareVersion, text);
    EXPECT_EQ(fieldsOf(*record), "," + text);
}

TEST(BMCFirmwareVersionDataRecord, aVersionThatBeginsWithAZeroByteIsEmptyAndItsRowABareComma) {
    const auto record = readRecord(
        LogBuilder().firmwareVersion(stamp(2020, 5, 1), std::string("\0abc", 4)).bytes());
    EXPECT_EQ(lineOf(*record), "2020-05-01 00:00:00.0,\n");
}

TEST(BMCFirmwareVersionDataRecord, decodingAppendsAndLeavesTheReadPositionAlone) {
    const auto record =
        readRecord<BMCFirmwareVersionDataRecord>(LogBuilder().firmwareVersion({}, "v1"));
    record->interpretPayload();
    EXPECT_EQ(record->firmwareVersion, "v1v1");
}

// =================================================================================================
// 7 and 15: AdvancedSOCDataRecord
// =================================================================================================

TEST(AdvancedSOCDataRecord, everyFieldStandsAtItsOffset) {
    const auto record =
        readRecord<AdvancedSOCDataRecord>(LogBuilder().record(7, {}, countingBytes(1, 16)));
    EXPECT_EQ(record->moduleAddress, 1);
    EXPECT_EQ(record->chargeMAH, 0x01020304U);
    EXPECT_EQ(record->dischargeMAH, 0x05060708U);
    EXPECT_EQ(std::bit_cast<uint32_t>(record->soh), 0x090A0B0CU);
    EXPECT_EQ(std::bit_cast<uint32_t>(record->soc), 0x0D0E0F10U);
    EXPECT_EQ(fieldsOf(*record),
              ",1,16909060,84281096" + bitsField(0x090A0B0C) + bitsField(0x0D0E0F10));
}

TEST(AdvancedSOCDataRecord, withModuleAddressEveryFieldStandsOneByteFurther) {
    const auto record = readRecord<AdvancedSOCDataRecordWithModuleAddress>(
        LogBuilder().record(15, {}, countingBytes(9, 17)));
    EXPECT_EQ(record->moduleAddress, 9);
    EXPECT_EQ(record->chargeMAH, 0x0A0B0C0DU);
    EXPECT_EQ(record->dischargeMAH, 0x0E0F1011U);
    EXPECT_EQ(std::bit_cast<uint32_t>(record->soh), 0x12131415U);
    EXPECT_EQ(std::bit_cast<uint32_t>(record->soc), 0x16171819U);
}

TEST(AdvancedSOCDataRecord, columnDsocHoldsTheSohAndColumnSohTheSoc) {
    const auto record =
        readRecord<AdvancedSOCDataRecord>(LogBuilder().advancedSoc({}, 10, 20, 99, 50));
    EXPECT_EQ(record->soh, 99.0F);
    EXPECT_EQ(record->soc, 50.0F);
    EXPECT_EQ(fieldsOf(*record), ",1,10,20,99,50"); // module,totalCharge,totalDischarge,dsoc,soh
}

TEST(AdvancedSOCDataRecord, plainRecordIsAlwaysModule1AndAddressedOneOfItsFirstByte) {
    EXPECT_EQ(readRecord<AdvancedSOCDataRecord>(LogBuilder().record(7, {}, std::string(16, '\xFF')))
                  ->moduleAddress,
              1);
    for (unsigned module = 0; module < 256; ++module) {
        const auto record = readRecord<AdvancedSOCDataRecordWithModuleAddress>(
            LogBuilder().advancedSoc({}, module, 1, 2, 3, 4));
        EXPECT_EQ(record->moduleId(), module);
        EXPECT_EQ(fieldsOf(*record), field(module) + ",1,2,3,4");
    }
}

TEST(AdvancedSOCDataRecord, moduleIdIsTheLowByteOfAnAddressAbove255) {
    AdvancedSOCDataRecord record;
    EXPECT_EQ(record.moduleId(), 1);
    record.moduleAddress = 0x0403;
    EXPECT_EQ(record.moduleId(), 3);
    record.interpreted = true;
    EXPECT_EQ(fieldsOf(record), ",1027,0,0,0,0");
}

TEST(AdvancedSOCDataRecord, aRecordThatWasNeverInterpretedWritesFiveCommas) {
    AdvancedSOCDataRecord plain;
    EXPECT_EQ(lineOf(plain), ",,,,,\n");
    AdvancedSOCDataRecordWithModuleAddress addressed;
    EXPECT_EQ(lineOf(addressed), ",,,,,\n");
}

TEST(AdvancedSOCDataRecord, reportsTheSumOfItsCountersToTheSynopsis) {
    const CounterWatch plain;
    readRecord(LogBuilder().advancedSoc(stamp(2020, 5, 1), 3000, 4000, 0, 0).bytes());
    EXPECT_EQ(plain.line(), plain.expected("2020-05-01 00:00:00.0", 7000));

    const CounterWatch addressed;
    readRecord(LogBuilder().advancedSoc(stamp(2020, 5, 2), 7, 0, 4000, 0, 0).bytes());
    EXPECT_EQ(addressed.line(), addressed.expected("2020-05-02 00:00:00.0", 4000));
}

TEST(AdvancedSOCDataRecord, reportsWhenDecodedAndNotWhenWritten) {
    const auto record = readRecord(LogBuilder().advancedSoc({}, 3000, 4000, 0, 0).bytes());
    const CounterWatch watch;
    fieldsOf(*record);
    EXPECT_EQ(watch.line(), watch.expected(SynopsisWatch::begin, 0));
}

TEST(AdvancedSOCDataRecord, theReportedSumWrapsAt32Bits) {
    const CounterWatch watch;
    const auto record = readRecord<AdvancedSOCDataRecord>(
        LogBuilder().advancedSoc(stamp(2020, 5, 1), 4294967280U, 32, 0, 0));
    EXPECT_EQ(watch.line(), watch.expected("2020-05-01 00:00:00.0", 16));
    EXPECT_EQ(fieldsOf(*record), ",1,4294967280,32,0,0"); // the counters stay as they are
    EXPECT_EQ(record->transportedCharge, 0U);             // and the sum is not kept

    const CounterWatch toZero;
    readRecord(LogBuilder().advancedSoc(stamp(2020, 5, 1), 4294967295U, 1, 0, 0).bytes());
    EXPECT_EQ(toZero.line(), toZero.expected(SynopsisWatch::begin, 0));
}

TEST(AdvancedSOCDataRecord, valuesThatAreNoNumbersAreWrittenAsTheStreamShowsThemAndReported) {
    const CounterWatch watch;
    const auto record = readRecord(LogBuilder()
                                       .advancedSoc(stamp(2020, 5, 1), 100, 200,
                                                    std::numeric_limits<float>::quiet_NaN(),
                                                    std::numeric_limits<float>::infinity())
                                       .bytes());
    EXPECT_EQ(fieldsOf(*record), ",1,100,200,nan,inf");
    EXPECT_EQ(watch.line(), watch.expected("2020-05-01 00:00:00.0", 300));
    EXPECT_EQ(fieldsOf(7, Payload().u32(0).u32(0).u32(0xFFC00000).u32(0xFF800000)),
              ",1,0,0,-nan,-inf");
}

TEST(AdvancedSOCDataRecord, noValueIsCheckedBeforeItIsReported) {
    const CounterWatch watch;
    readRecord(LogBuilder().advancedSoc(stamp(2020, 5, 1), 5, 6, -1.0F, 1e30F).bytes());
    EXPECT_EQ(watch.line(), watch.expected("2020-05-01 00:00:00.0", 11));
}

TEST(AdvancedSOCDataRecord, copiesAndAssignmentsKeepEveryField) {
    const auto record = readRecord<AdvancedSOCDataRecord>(
        LogBuilder().record(7, stamp(2020, 5, 1), countingBytes(1, 16)));
    AdvancedSOCDataRecord copy(*record);
    AdvancedSOCDataRecord assigned;
    assigned = copy;
    EXPECT_EQ(lineOf(copy), lineOf(*record));
    EXPECT_EQ(lineOf(assigned), lineOf(*record));
}

// =================================================================================================
// 8: MeasuredCurrentDataRecord
// =================================================================================================

TEST(MeasuredCurrentDataRecord, currentIsASigned32BitNumberOfMilliamperes) {
    EXPECT_EQ(fieldsOf(8, bytesOf("01 02 03 04")), ",16909060");
    EXPECT_EQ(fieldsOf(8, bytesOf("80 00 00 00")), ",-2147483648");
    EXPECT_EQ(fieldsOf(8, bytesOf("7F FF FF FF")), ",2147483647");
    EXPECT_EQ(fieldsOf(8, bytesOf("FF FF FF FF")), ",-1");
    EXPECT_EQ(fieldsOf(8, bytesOf("FF")), ",-16777216"); // FF 00 00 00
}

// =================================================================================================
// 9: PowerModeDataRecord
// =================================================================================================

TEST(PowerModeDataRecord, threeModesHaveNamesAndAllOthersAreNormal) {
    for (unsigned mode = 0; mode < 256; ++mode) {
        const char* expected = mode == 17   ? ",reserve"
                               : mode == 34 ? ",manual-travel"
                               : mode == 51 ? ",dormant"
                                            : ",normal";
        const auto record = readRecord<PowerModeDataRecord>(LogBuilder().powerMode({}, mode));
        EXPECT_EQ(record->powerMode, mode);
        EXPECT_EQ(fieldsOf(*record), expected) << "mode " << mode;
    }
}

TEST(PowerModeDataRecord, theFlagsHaveTheirNumbers) {
    static_assert(PowerModeDataRecord::EEPROM_POWER_FLAG_RESERVE_MODE == 17);
    static_assert(PowerModeDataRecord::EEPROM_POWER_FLAG_MANUAL_TRAVEL_MODE == 34);
    static_assert(PowerModeDataRecord::EEPROM_POWER_FLAG_DORMANT_MODE == 51);
    static_assert(PowerModeDataRecord::EEPROM_POWER_FLAG_NORMAL_MODE == 255);
}

// =================================================================================================
// 10: WarrantyDataRecord
// =================================================================================================

TEST(WarrantyDataRecord, everyCommissioningStateHasItsTextWithoutACommaBeforeIt) {
    const std::vector<std::string> texts = {
        "UNCOMMISSIONED",
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
        "DECOMMISSIONED_UNKNOWN",
    };
    for (unsigned state = 0; state < 256; ++state) {
        const auto record = readRecord(LogBuilder().warranty(stamp(2020, 5, 1), state).bytes());
        EXPECT_EQ(lineOf(*record),
                  "2020-05-01 00:00:00.0" + (state < 13 ? texts[state] : "UNKNOWN EVENT") + "\n");
    }
}

TEST(WarrantyDataRecord, everyCommissioningStateHasItsNumber) {
    static_assert(WarrantyDataRecord::UNCOMMISSIONED == 0);
    static_assert(WarrantyDataRecord::COMMISSIONED == 1);
    static_assert(WarrantyDataRecord::DECOMMISSIONED_VOLT_LOW == 2);
    static_assert(WarrantyDataRecord::DECOMMISSIONED_VOLT_HIGH == 3);
    static_assert(WarrantyDataRecord::DECOMMISSIONED_HIGH_TEMPERATURE == 4);
    static_assert(WarrantyDataRecord::DECOMMISSIONED_DISCHARGE_OVERCURRENT == 5);
    static_assert(WarrantyDataRecord::DECOMMISSIONED_CHARGE_OVERCURRENT == 6);
    static_assert(WarrantyDataRecord::DECOMMISSIONED_EXCESSIVE_SHOCK == 7);
    static_assert(WarrantyDataRecord::DECOMMISSIONED_SOC == 8);
    static_assert(WarrantyDataRecord::DECOMMISSIONED_RESERVE_MODE == 9);
    static_assert(WarrantyDataRecord::DECOMMISSIONED_DORMANT_TOO_LONG == 10);
    static_assert(WarrantyDataRecord::DECOMMISSIONED_WARRANTY_EXPIRED == 11);
    static_assert(WarrantyDataRecord::DECOMMISSIONED_UNKNOWN == 12);
}

TEST(WarrantyDataRecord, everyWriteGivesTheSameRowSinceTheReadPositionStays) {
    const auto record = readRecord(LogBuilder().record(10, {}, bytesOf("07 08 09")).bytes());
    for (int time = 0; time < 3; ++time) {
        EXPECT_EQ(fieldsOf(*record), "DECOMMISSIONED_EXCESSIVE_SHOCK");
    }
}

// =================================================================================================
// 11: AmbientTemperatureDataRecord
// =================================================================================================

TEST(AmbientTemperatureDataRecord, theFirstWriteGivesTheReadingsUnscaled) {
    EXPECT_EQ(fieldsOf(11, countingBytes(1, 6)), ",258,772,1286");
    EXPECT_EQ(fieldsOf(11, Payload().u16(65535).u16(0).u16(2982)), ",65535,0,2982");
}

TEST(AmbientTemperatureDataRecord, aSecondWriteReadsTheSixBytesBehindTheFirst) {
    const auto record = readRecord(LogBuilder().record(11, {}, countingBytes(1, 15)).bytes());
    EXPECT_EQ(fieldsOf(*record), ",258,772,1286");
    EXPECT_EQ(fieldsOf(*record), ",1800,2314,2828");
    EXPECT_EQ(fieldsOf(*record), ",3342,3840,0"); // 0D 0E, 0F and no more
    EXPECT_EQ(fieldsOf(*record), ",0,0,0");
}

TEST(AmbientTemperatureDataRecord, aSecondWriteOfSixBytesGivesZeros) {
    const auto record =
        readRecord(LogBuilder().ambientTemperature(stamp(2020, 5, 1), 1, 2, 3).bytes());
    EXPECT_EQ(lineOf(*record), "2020-05-01 00:00:00.0,1,2,3\n");
    EXPECT_EQ(lineOf(*record), "2020-05-01 00:00:00.0,0,0,0\n");
    EXPECT_EQ(lineOf(*record), "2020-05-01 00:00:00.0,0,0,0\n");
}

TEST(AmbientTemperatureDataRecord, aWriteToAFailedStreamTakesNoReadings) {
    const auto record = readRecord(LogBuilder().ambientTemperature({}, 1, 2, 3).bytes());
    std::ostringstream failed;
    failed.setstate(std::ios::failbit);
    record->writeCSVTimestampedData(failed);
    EXPECT_EQ(fieldsOf(*record), ",1,2,3");
}

// =================================================================================================
// 12: HumidityDataRecord
// =================================================================================================

TEST(HumidityDataRecord, everyFieldStandsAtItsOffset) {
    const auto record =
        readRecord<HumidityDataRecord>(LogBuilder().record(12, {}, countingBytes(1, 8)));
    EXPECT_EQ(record->relativeHumidity, 2.58F);        // 0x0102
    EXPECT_EQ(record->relativeHumidityLow, 7.72F);     // 0x0304
    EXPECT_EQ(record->relativeHumidityHigh, 12.86F);   // 0x0506
    EXPECT_EQ(record->relativeHumidityAverage, 18.0F); // 0x0708
    EXPECT_EQ(fieldsOf(*record), ",2.58,7.72,12.86,18");
}

TEST(HumidityDataRecord, everyReadingIsWrittenInTheDefaultNotationOfFloats) {
    for (unsigned raw = 0; raw < 65536; ++raw) {
        ASSERT_EQ(fieldsOf(12, Payload().u16(raw).zeros(6)),
                  floatField(static_cast<float>(raw / 100.0)) + ",0,0,0");
    }
}

TEST(HumidityDataRecord, readingsAreHundredthsOfAPercent) {
    EXPECT_EQ(fieldsOf(12, Payload().u16(5000).u16(0).u16(10000).u16(2550)), ",50,0,100,25.5");
    EXPECT_EQ(fieldsOf(12, Payload().u16(1).u16(99).u16(12345).u16(65535)),
              ",0.01,0.99,123.45,655.35");
}

} // namespace
