#include "DataRecord.h"

#include "FieldText.h"

#include <algorithm>
#include <bit>
#include <iomanip>
#include <istream>
#include <ostream>
#include <type_traits>

Synopsis synopsis;

// =================================================================================================
// DataRecord: factories
//
// A log is a stream of frames without a header, a length or a checksum:
//
//   any byte but 10       a data byte
//   10 10                 a data byte 10
//   10 03                 the end of the frame (DLE ETX)
//   10 and another byte   nothing; the frame goes on
//
// Nothing but DLE ETX ends a frame, so damage stays within the frames that it touches: whatever
// data bytes lie before the next DLE ETX are one record, and the next frame starts afresh.
// =================================================================================================

namespace {

constexpr uint8_t dle = 0x10;
constexpr uint8_t etx = 0x03;
constexpr uint8_t endOfStream = 0xFF;

template <typename Record>
std::shared_ptr<DataRecord> make() {
    return std::make_shared<Record>();
}

/// A row of the list of record types.
struct TypeEntry {
    DataRecord::Type type;
    std::shared_ptr<DataRecord> (*make)();
};

/// The record types, in the order of their codes from 0, from which the factory makes its records.
/// Codes past its end belong to UnknownDataRecord.
constexpr TypeEntry typeEntries[] = {
    {DataRecord::garble, make<UnknownDataRecord>},
    {DataRecord::staticInfoRecordId, make<StaticInfoDataRecord>},
    {DataRecord::dynamicInfoRecordId, make<DynamicInfoDataRecord>},
    {DataRecord::faultRecordId, make<FaultDataRecord>},
    {DataRecord::shockRecordId, make<ShockDataRecord>},
    {DataRecord::messageRecordId, make<MessageDataRecord>},
    {DataRecord::bmcFirmwareVersionRecordId, make<BMCFirmwareVersionDataRecord>},
    {DataRecord::advancedSocRecordId, make<AdvancedSOCDataRecord>},
    {DataRecord::measuredCurrentRecordId, make<MeasuredCurrentDataRecord>},
    {DataRecord::powerModeRecordId, make<PowerModeDataRecord>},
    {DataRecord::warrantyRecordId, make<WarrantyDataRecord>},
    {DataRecord::ambientTemperatureRecordId, make<AmbientTemperatureDataRecord>},
    {DataRecord::relativeHumidityRecordId, make<HumidityDataRecord>},
    {DataRecord::staticInfoWithAddressRecordId, make<StaticInfoDataRecordWithModuleAddress>},
    {DataRecord::dynamicInfoWithAddressRecordId, make<DynamicInfoDataRecordWithModuleAddress>},
    {DataRecord::advancedSocWithAddressRecordId, make<AdvancedSOCDataRecordWithModuleAddress>},
};

/// The factory takes a code as the index of its row.
constexpr bool standInTheOrderOfTheirCodes() {
    size_t code = 0;
    for (const TypeEntry& entry : typeEntries) {
        if (entry.type != code++) {
            return false;
        }
    }
    return true;
}
static_assert(standInTheOrderOfTheirCodes());

} // namespace

std::shared_ptr<DataRecord> DataRecord::factory(std::istream& stream) {
    if (stream.eof()) {
        return nullptr;
    }
    std::shared_ptr<DataRecord> result;
    const auto append = [&result](std::span<const uint8_t> added) {
        if (added.empty()) {
            return;
        }
        if (!result) {
            result = factory(Type(added.front()));
        }
        result->bytes.append(added);
    };
    bool hasReadEtx = false;
    while (!hasReadEtx && !stream.eof()) {
        // All bytes up to the next DLE in one go: reading them one by one costs more than all else
        // that is done with them.
        char chunk[512];
        stream.getline(chunk, sizeof chunk, dle);
        const auto count = static_cast<size_t>(stream.gcount());
        const std::span bytes(reinterpret_cast<const uint8_t*>(chunk), count);
        if (stream.good()) { // the last one is the DLE, which isn't stored
            append(bytes.first(count - 1));
            const int code = stream.get();
            if (code == dle) {
                append({&dle, 1});
            } else if (code == etx) {
                hasReadEtx = true;
            }
        } else {
            append(bytes);
            if (count == sizeof chunk - 1 && !stream.eof() && !stream.bad()) {
                stream.clear(); // there was no room for more
                continue;
            }
            // The end of the stream counts as a data byte 0xFF. A log that ends with a whole frame
            // so gets a last record of that byte alone, whose datestamp of 1984 decides where the
            // log stands among others.
            append({&endOfStream, 1});
        }
        // A failing read ends the stream as well: a loop that waits for the end of file would
        // otherwise never end.
        if (!stream.good()) {
            stream.setstate(std::ios::eofbit);
        }
    }
    if (!result) {
        result = factory(garble);
    }
    return result;
}

std::shared_ptr<DataRecord> DataRecord::factory(Type type) {
    if (type < std::size(typeEntries)) {
        return typeEntries[type].make();
    }
    return std::make_shared<UnknownDataRecord>();
}

// =================================================================================================
// DataRecord: bytes
//
// Offset  Size  Type    Field
//      0     1  uint8   type code
//      1     4  uint32  time of day, milliseconds since midnight
//      5     2  uint16  day number, 0 is 1 January 1984
//      7        the payload of the record type
//
// Numbers are big-endian.
// =================================================================================================

namespace {

constexpr size_t timeOffset = 1;
constexpr size_t dayOffset = timeOffset + 4;
constexpr size_t payloadOffset = dayOffset + 2;

} // namespace

void DataRecord::interpret() {
    datestamp = interpretDate();
    datestamp += " ";
    datestamp += interpretTime();
    interpretPayload();
    interpreted = true;
}

void DataRecord::interpretPayload() {}

DataRecord::Type DataRecord::recordType() const {
    return bytes.empty() ? garble : Type(bytes.front());
}

void DataRecord::moveTo(size_t offset) {
    position = std::min(offset, bytes.size());
}

template <typename T>
T DataRecord::fromBigEndian() {
    using Bits = std::conditional_t<sizeof(T) == 1, uint8_t,
                                    std::conditional_t<sizeof(T) == 2, uint16_t, uint32_t>>;
    const std::span<const uint8_t> left = rest();
    const size_t count = std::min(sizeof(T), left.size());
    uint32_t bits = 0;
    for (size_t index = 0; index < sizeof(T); ++index) {
        bits = bits << 8 | (index < count ? left[index] : 0U);
    }
    position += count;
    return std::bit_cast<T>(static_cast<Bits>(bits));
}

template int8_t DataRecord::fromBigEndian<int8_t>();
template uint8_t DataRecord::fromBigEndian<uint8_t>();
template int16_t DataRecord::fromBigEndian<int16_t>();
template uint16_t DataRecord::fromBigEndian<uint16_t>();
template int32_t DataRecord::fromBigEndian<int32_t>();
template uint32_t DataRecord::fromBigEndian<uint32_t>();
template float DataRecord::fromBigEndian<float>();

template <typename T>
void DataRecord::skip(unsigned long n) {
    const size_t remaining = rest().size();
    position += n <= remaining / sizeof(T) ? n * sizeof(T) : remaining;
}

template void DataRecord::skip<char>(unsigned long n);
template void DataRecord::skip<unsigned char>(unsigned long n);
template void DataRecord::skip<unsigned short>(unsigned long n);

namespace {

constexpr std::string_view whiteSpace = " \t\n\v\f\r";

/// The first word of the text, empty if there is none; takes it off the text.
std::string_view takeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(whiteSpace), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(whiteSpace));
    text.remove_prefix(word.size());
    return word;
}

} // namespace

std::string_view DataRecord::terminatedText(unsigned short length) {
    const std::span<const uint8_t> left = rest();
    const auto end = std::find(left.begin(), left.end(), uint8_t{0});
    skip<char>(length);
    return {reinterpret_cast<const char*>(left.data()), static_cast<size_t>(end - left.begin())};
}

// =================================================================================================
// DataRecord: time stamps
// =================================================================================================

std::ostream& operator<<(std::ostream& os, const Datestamp& datestamp) {
    return os << std::string_view(datestamp);
}

namespace {

/// Writes the number, below 100, as two digits.
char* writeTwoDigits(char* to, unsigned number) {
    to[0] = static_cast<char>('0' + number / 10);
    to[1] = static_cast<char>('0' + number % 10);
    return to + 2;
}

/// Writes the number, which has no more than four digits, with at least two.
char* writePadded(char* to, uint32_t number) {
    if (number < 100) {
        return writeTwoDigits(to, number);
    }
    if (number >= 1000) {
        *to++ = static_cast<char>('0' + number / 1000);
    }
    *to++ = static_cast<char>('0' + number / 100 % 10);
    return writeTwoDigits(to, number % 100);
}

/// The date of a day number.
std::string dateOf(unsigned short days) {
    // A year is passed only by a day number greater than its length, a month by one that is equal,
    // too. So the first day of each year after 1984 stays in the year before and comes out as its
    // month 13. That still sorts between 31 December and 2 January, and users who compare files
    // find the same day under the same name in all of them.
    unsigned short year = 1984;
    while (days > DataRecord::daysPerYear(year)) {
        days = static_cast<unsigned short>(days - DataRecord::daysPerYear(year));
        ++year;
    }
    unsigned short month = DataRecord::January;
    for (unsigned short length = 0; days >= (length = DataRecord::daysPerMonth(month, year));
         ++month) {
        days = static_cast<unsigned short>(days - length);
    }
    char text[Datestamp::maximumLength];
    char* to = writePadded(text, year);
    *to++ = '-';
    to = writePadded(to, month);
    *to++ = '-';
    return {text, writePadded(to, days + 1U)};
}

/// The time of a number of milliseconds.
std::string timeOf(uint32_t milliseconds) {
    uint32_t seconds = milliseconds / 1000;
    milliseconds %= 1000;
    uint32_t minutes = seconds / 60;
    seconds %= 60;
    const uint32_t hours = minutes / 60; // of any number: no carry into the day takes place
    minutes %= 60;
    char text[Datestamp::maximumLength];
    char* to = writePadded(text, hours);
    *to++ = ':';
    to = writePadded(to, minutes);
    *to++ = ':';
    to = writePadded(to, seconds);
    *to++ = '.';
    if (milliseconds < 10) {
        *to++ = static_cast<char>('0' + milliseconds);
    } else {
        to = writePadded(to, milliseconds);
    }
    return {text, to};
}

} // namespace

std::string DataRecord::interpretDate() {
    // Most records follow one of the same day.
    static uint16_t knownDay = 0;
    static std::string knownDate = dateOf(knownDay);
    moveTo(dayOffset);
    const auto day = fromBigEndian<uint16_t>();
    if (day != knownDay) {
        knownDate = dateOf(day);
        knownDay = day;
    }
    return knownDate;
}

std::string DataRecord::interpretTime() {
    moveTo(timeOffset);
    std::string time = timeOf(fromBigEndian<uint32_t>());
    moveTo(payloadOffset);
    return time;
}

unsigned short DataRecord::daysPerYear(unsigned short year) {
    return isLeapYear(year) ? 366 : 365;
}

bool DataRecord::isLeapYear(unsigned short year) {
    return (year & 3) == 0;
}

unsigned short DataRecord::daysPerMonth(unsigned short month, unsigned short year) {
    // Any other number has 31 days, above all month 13 of the first day of a year.
    static constexpr unsigned short days[] = {31, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month == February && isLeapYear(year)) {
        return 29;
    }
    return month <= December ? days[month] : 31;
}

// =================================================================================================
// DataRecord: CSV lines
//
// The writers of whole lines and of their parts write nothing to a stream that has failed. Writing
// to one that was never opened fails at the datestamp, and the data fields after it are then not
// asked for.
// =================================================================================================

Header& DataRecord::header() {
    if (h.empty()) {
        initializeHeader(h);
    }
    return h;
}

void DataRecord::initializeHeader(Header& /*names*/) {}

void DataRecord::writeCSVHeader(std::ostream& os) {
    if (!os.fail()) {
        writeCSVTimestampHeader(os);
        writeCSVHeaderText(os);
        os << std::endl;
    }
}

void DataRecord::writeCSVHeaderText(std::ostream& os) {
    header().write(os);
}

void DataRecord::writeCSVTimestampHeader(std::ostream& os) {
    if (!os.fail()) {
        os << "Datestamp,";
    }
}

void DataRecord::writeCSVTimestampedData(std::ostream& os) {
    if (!os.fail()) {
        os << std::dec; // an unknown record leaves the stream in hexadecimal
        writeCSVTimestamp(os);
        writeCSVData(os);
    }
}

void DataRecord::writeCSVTimestamp(std::ostream& os) {
    if (!os.fail()) {
        writeDatestamp(os);
    }
}

void DataRecord::writeCSVData(std::ostream& os) {
    if (!os.fail()) {
        writeBasicCSV(os);
        put("\n", os);
        flush(os);
    }
}

void DataRecord::writeDatestamp(std::ostream& os) {
    put(datestamp, os);
}

void DataRecord::writeCSVHeader(Type type, std::ostream& os) {
    writeCSVTimestampHeader(os);
    writeCSVHeaderText(type, os);
    os << std::endl;
}

void DataRecord::writeCSVHeaderText(Type type, std::ostream& os) {
    factory(type)->writeCSVHeaderText(os);
}

template <typename T>
void DataRecord::writeScalar(T value, std::ostream& os) {
    FieldText field(os);
    field.add(value);
    field.write();
}

template void DataRecord::writeScalar<bool>(bool value, std::ostream& os);
template void DataRecord::writeScalar<float>(float value, std::ostream& os);
template void DataRecord::writeScalar<int>(int value, std::ostream& os);
template void DataRecord::writeScalar<unsigned int>(unsigned int value, std::ostream& os);
template void DataRecord::writeScalar<short>(short value, std::ostream& os);
template void DataRecord::writeScalar<unsigned short>(unsigned short value, std::ostream& os);

template <typename T>
T DataRecord::writeScalar(std::ostream& os) {
    const T value = fromBigEndian<T>();
    writeScalar<T>(value, os);
    return value;
}

template unsigned short DataRecord::writeScalar<unsigned short>(std::ostream& os);

int8_t DataRecord::writeInt8(std::ostream& os) {
    const int8_t value = fromBigEndian<int8_t>();
    writeScalar<short>(value, os);
    return value;
}

uint8_t DataRecord::writeUint8(std::ostream& os) {
    const uint8_t value = fromBigEndian<uint8_t>();
    writeScalar<unsigned short>(value, os);
    return value;
}

void DataRecord::writeString(std::ostream& os, unsigned short length) {
    FieldText field(os);
    field.add(terminatedText(length));
    field.write();
}

// =================================================================================================
// ModuleDataRecord
// =================================================================================================

uint8_t ModuleDataRecord::moduleId() const {
    return static_cast<uint8_t>(moduleAddress);
}

// =================================================================================================
// 0 and all codes without a class: UnknownDataRecord
//
// Payload: anything.
// =================================================================================================

void UnknownDataRecord::initializeHeader(Header& names) {
    static const Header columns{"Unknown record type ..."};
    names.addAll(columns);
}

void UnknownDataRecord::writeBasicCSV(std::ostream& os) {
    // No comma before the dump: who splits the detail files tells the rows of unknown records by
    // that. The stream stays in hexadecimal; the line that follows sets decimal.
    moveTo(0);
    os << std::hex << std::setfill('0');
    while (position < bytes.size()) {
        os << std::setw(2) << unsigned{fromBigEndian<uint8_t>()} << ' ';
    }
}

// =================================================================================================
// 1 and 13: StaticInfoDataRecord
//
// Offset  Size  Type    Field                  Column
//      0     4          (two words)
//      4     2  uint16  cycleCount             cycleCount
//      6     6          (three words)
//     12     2  uint16  manufactureDate        manufactureDate
//     14     2  uint16  serialNumber           serialNumber
//     16     1  uint8   seriesCells            seriesCells
//     17    32
//     49    32  text    deviceName             deviceName
//     81    32
//    113    32  text    firmwareVersion        firmwareVersion
//    145     1  uint8   temperatureSensors     tempSensors
//    146    25          (15 bytes, five words)
//    171     4  float   cumulativeChargeAs     cumulativeCharge (amp-seconds)
//    175     4  float   cumulativeDischargeAs  cumulativeDischarge (amp-seconds)
//    179
// =================================================================================================

void StaticInfoDataRecord::initializeHeader(Header& names) {
    static const Header columns{
        "module",
        "cycleCount",
        "manufactureDate",
        "serialNumber",
        "seriesCells",
        "deviceName",
        "firmwareVersion",
        "tempSensors",
        "cumulativeCharge (amp-seconds)",
        "cumulativeDischarge (amp-seconds)",
    };
    names.addAll(columns);
}

void StaticInfoDataRecord::interpretPayload() {
    skip<unsigned short>(2);
    cycleCount = fromBigEndian<uint16_t>();
    skip<unsigned short>(3);
    manufactureDate = fromBigEndian<uint16_t>();
    serialNumber = fromBigEndian<uint16_t>();
    seriesCells = fromBigEndian<uint8_t>();
    skip<char>(32);
    deviceName = interpretString(32);
    skip<char>(32);
    firmwareVersion = interpretString(32);
    temperatureSensors = fromBigEndian<uint8_t>();
    skip<char>(15);
    skip<unsigned short>(5);
    cumulativeChargeAs = fromBigEndian<float>();
    cumulativeDischargeAs = fromBigEndian<float>();
}

std::string StaticInfoDataRecord::interpretString(unsigned short length) {
    return std::string(terminatedText(length));
}

void StaticInfoDataRecord::writeBasicCSV(std::ostream& os) {
    FieldText row(os);
    row.add(moduleAddress);
    row.add(cycleCount);
    row.add(manufactureDate);
    row.add(serialNumber);
    row.add(seriesCells);
    row.add(deviceName);
    row.add(firmwareVersion);
    row.add(temperatureSensors);
    row.add(cumulativeChargeAs);
    row.add(cumulativeDischargeAs);
    row.write();
}

// 13: the module address (uint8), then the payload above.

void StaticInfoDataRecordWithModuleAddress::interpretPayload() {
    moduleAddress = fromBigEndian<uint8_t>();
    StaticInfoDataRecord::interpretPayload();
}

// =================================================================================================
// 2 and 14: DynamicInfoDataRecord
//
// W is 2 in a record of 35 bytes in all and 4 in every other: older firmware logged the current in
// 16 bits, and the record does not say so. A whole record with a module address is longer by that
// byte, so its current is always one of 32 bits.
//
// Offset  Size  Type     Field            Unit                 Column
//      0     2           (a word)
//      2     2  uint16   packVoltage      mV, held as V        packVoltage (V)
//      4     W  int16/32 current          0.1 A, held as A     current (A)
//    4+W     2  uint16   soc              %                    soc (%)
//    6+W     2  uint16   dsoc             %                    dsoc (%)
//    8+W     2  uint16   bit 10: heat, bit 13: balance         heat, balance
//   10+W    14  uint16   cellVoltage [7]  mV, held as V        cellRow[1] (V) to cellRow[7] (V)
//   24+W     2  uint16   cellTemperature  0.1 K, held as deg C cellTemperature[0] (C)
//   26+W
// =================================================================================================

void DynamicInfoDataRecord::initializeHeader(Header& names) {
    static const Header columns = [] {
        Header list{"module", "packVoltage (V)", "current (A)", "soc (%)", "dsoc (%)"};
        // Cells are counted from 1 and sensors from 0.
        for (int cell = 0; cell < DataRecord::seriesCells; ++cell) {
            list.addName("cellRow[" + std::to_string(cell + 1) + "] (V)");
        }
        list.addName("imbalance");
        for (int sensor = 0; sensor < DataRecord::temperatureSensors; ++sensor) {
            list.addName("cellTemperature[" + std::to_string(sensor) + "] (C)");
        }
        list.addName("heat");
        list.addName("balance");
        return list;
    }();
    names.addAll(columns);
}

namespace {

constexpr size_t bytesOfReadings = 2 * (DataRecord::seriesCells + DataRecord::temperatureSensors);
constexpr size_t lengthWithShortCurrent = payloadOffset + 12 + bytesOfReadings;
constexpr size_t lengthWithAddress = payloadOffset + 1 + 14 + bytesOfReadings;

static_assert(lengthWithShortCurrent == 35, "what older firmware writes");
static_assert(lengthWithAddress <= RecordBytes::withinCapacity,
              "the most frequent record would need a heap block");

} // namespace

void DynamicInfoDataRecord::interpretPayload() {
    constexpr uint16_t heatBit = 1 << 10;
    constexpr uint16_t balanceBit = 1 << 13;

    bool plausible = true;
    skip<unsigned short>(1);
    packVoltage = static_cast<float>(fromBigEndian<uint16_t>() / 1000.0);
    const int32_t tenthsOfAmpere = bytes.size() == lengthWithShortCurrent
                                       ? fromBigEndian<int16_t>()
                                       : fromBigEndian<int32_t>();
    current = static_cast<float>(tenthsOfAmpere / 10.0);
    soc = fromBigEndian<uint16_t>();
    dsoc = fromBigEndian<uint16_t>();
    if (soc > 100 || dsoc > 100) {
        plausible = false;
    }
    const uint16_t status = fromBigEndian<uint16_t>();
    heat = (status & heatBit) != 0;
    balance = (status & balanceBit) != 0;
    for (float& voltage : cellVoltage) {
        voltage = static_cast<float>(fromBigEndian<uint16_t>() / 1000.0);
        if (!(voltage > 2.0F && voltage <= 5.0F)) {
            plausible = false;
        }
    }
    for (float& temperature : cellTemperature) {
        temperature = static_cast<float>(fromBigEndian<uint16_t>() / 10.0 - 273.15);
        // 4000 degrees are meant as they stand.
        if (temperature < -40.0F || temperature > 4000.0F) {
            plausible = false;
        }
    }
    if (plausible) {
        synopsis.dynamicInfo(datestamp, dsoc, soc);
    }
}

void DynamicInfoDataRecord::writeBasicCSV(std::ostream& os) {
    FieldText row(os);
    if (interpreted) {
        row.add(moduleAddress);
        row.add(packVoltage);
        row.add(current);
        row.add(soc);
        row.add(dsoc);
        for (const float voltage : cellVoltage) {
            row.add(voltage);
        }
        const auto [lowest, highest] = std::minmax_element(cellVoltage.begin(), cellVoltage.end());
        row.add(*highest - *lowest);
        for (const float temperature : cellTemperature) {
            row.add(temperature);
        }
        row.add(heat);
        row.add(balance);
    } else {
        row.addEmpty(header().size());
    }
    row.write();
}

// 14: the module address (uint8), then the payload above.

void DynamicInfoDataRecordWithModuleAddress::interpretPayload() {
    moduleAddress = fromBigEndian<uint8_t>();
    DynamicInfoDataRecord::interpretPayload();
}

// =================================================================================================
// 3: FaultDataRecord
//
// Offset  Size  Type    Field                   Column
//      0     2          (a word)
//      2     1  uint8   error_register          error_register
//      3     3
//      6     2  uint16  additional_information  additional_information
//      8
// =================================================================================================

void FaultDataRecord::initializeHeader(Header& names) {
    static const Header columns{"error_register", "additional_information"};
    names.addAll(columns);
}

void FaultDataRecord::interpretPayload() {
    skip<unsigned short>(1);
    error_register = fromBigEndian<uint8_t>();
    skip<char>(3);
    additional_information = fromBigEndian<uint16_t>();
    faultMap[static_cast<uint8_t>(error_register)] = additional_information;
}

namespace {

/// A category of faults: its column in the combined state and the operation that names its faults.
/// Other categories have neither.
struct FaultCategory {
    uint8_t code;
    const char* column;
    void (FaultDataRecord::*interpret)(unsigned short bits, std::ostream& out);
};

constexpr FaultCategory faultCategories[] = {
    {1, "General Faults", &FaultDataRecord::interpretGeneralFault},
    {2, "Current Faults", &FaultDataRecord::interpretCurrentFault},
    {4, "Voltage Faults", &FaultDataRecord::interpretVoltageFault},
    {8, "Temperature Faults", &FaultDataRecord::interpretTemperatureFault},
    {16, "Communication Faults", &FaultDataRecord::interpretCommunicationFault},
    {128, "FeatureFaults", &FaultDataRecord::interpretFeatureFault},
};

} // namespace

void FaultDataRecord::writeBasicCSV(std::ostream& os) {
    FieldText row(os);
    row.add(error_register);
    row.add(additional_information);
    row.write();
    for (const FaultCategory& category : faultCategories) {
        if (category.code == error_register) {
            (this->*category.interpret)(additional_information, os);
        }
    }
    os << std::dec;
}

void FaultDataRecord::interpretFault(unsigned short bits, const char** names, std::ostream& out) {
    unsigned mask = 1;
    for (const char** name = names; **name != '\0'; ++name) {
        if ((bits & mask) != 0) {
            out << ',' << *name;
        }
        mask <<= 1;
    }
}

void FaultDataRecord::interpretGeneralFault(unsigned short bits, std::ostream& out) {
    static const char* names[] = {
        "Low SOC",
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
        "Dormant Mode",
        "",
    };
    interpretFault(bits, names, out);
}

void FaultDataRecord::interpretCurrentFault(unsigned short bits, std::ostream& out) {
    static const char* names[] = {
        "Charge current warning",
        "Discharge current warning",
        "Charge current error",
        "Discharge current error",
        "Current measurement error",
        "Hardware over current",
        "",
    };
    interpretFault(bits, names, out);
}

void FaultDataRecord::interpretVoltageFault(unsigned short bits, std::ostream& out) {
    static const char* names[] = {
        "Voltage sense wire", "Voltage measurement error", "High cell voltage",
        "Low cell voltage",   "Hardware over voltage",     "",
    };
    interpretFault(bits, names, out);
}

void FaultDataRecord::interpretTemperatureFault(unsigned short bits, std::ostream& out) {
    static const char* names[] = {
        "Cell temperature measurement error",
        "High cell temperature",
        "Low cell temperature",
        "Too hot to charge",
        "Too cold to charge",
        "",
    };
    interpretFault(bits, names, out);
}

void FaultDataRecord::interpretCommunicationFault(unsigned short bits, std::ostream& out) {
    static const char* names[] = {
        "Loss of CAN Rx",
        "Loss of internal communication",
        "",
    };
    interpretFault(bits, names, out);
}

void FaultDataRecord::interpretFeatureFault(unsigned short bits, std::ostream& out) {
    static const char* names[] = {
        "Heater error",
        "Fan error",
        "Cell balancing error",
        "RTC error",
        "Shock / Vibration error",
        "Humidity error",
        "FRU error - LIBUI",
        "FRU error - BMC",
        "FRU error - BMU",
        "FRU error - Charger",
        "",
    };
    interpretFault(bits, names, out);
}

// =================================================================================================
// 4: ShockDataRecord
//
// The readings are written unscaled, under headings that name g.
//
// Offset  Size  Type  Field  Column
//      0     1  int8  x      x (g)
//      1     1  int8  y      y (g)
//      2     1  int8  z      z (g)
//      3
// =================================================================================================

void ShockDataRecord::initializeHeader(Header& names) {
    static const Header columns{"x (g)", "y (g)", "z (g)"};
    names.addAll(columns);
}

void ShockDataRecord::interpretPayload() {
    x = fromBigEndian<int8_t>();
    y = fromBigEndian<int8_t>();
    z = fromBigEndian<int8_t>();
}

void ShockDataRecord::writeBasicCSV(std::ostream& os) {
    FieldText row(os);
    row.add(x);
    row.add(y);
    row.add(z);
    row.write();
}

// =================================================================================================
// 5: MessageDataRecord
//
// Offset  Size  Type  Field    Column
//      0  rest  text  message  message
//
// Every byte up to the record's end is text, zero bytes included.
// =================================================================================================

std::map<std::string, std::string> MessageDataRecord::systemStates;

namespace {

constexpr std::string_view systemStatePrefix = "systemState=+";
constexpr std::string_view chargeSchedulePrefix = "chargeSchedule.state = ";

/// The part of the message after the prefix; empty if the message does not begin with it.
std::string textAfter(std::string_view prefix, const std::string& message) {
    return message.starts_with(prefix) ? message.substr(prefix.size()) : std::string();
}

/// The signal whose report begins with the prefix. The number is what a formatted extraction makes
/// of the text: white space is skipped, a sign is taken, a number that is too large is not 0, and
/// no number at all counts as 0.
TriState signalAfter(std::string_view prefix, std::string_view message) {
    if (!message.starts_with(prefix)) {
        return Indeterminate;
    }
    message.remove_prefix(prefix.size());
    message.remove_prefix(std::min(message.find_first_not_of(whiteSpace), message.size()));
    if (message.starts_with('+') || message.starts_with('-')) {
        message.remove_prefix(1);
    }
    const size_t zeros = std::min(message.find_first_not_of('0'), message.size());
    message.remove_prefix(zeros);
    return !message.empty() && message.front() >= '1' && message.front() <= '9' ? True : False;
}

} // namespace

void MessageDataRecord::initializeHeader(Header& names) {
    static const Header columns{"message"};
    names.addAll(columns);
    if (systemStates.empty()) {
        systemStates = {
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
    }
}

void MessageDataRecord::interpretPayload() {
    const std::span<const uint8_t> text = rest();
    message.append(text.begin(), text.end());
}

void MessageDataRecord::writeBasicCSV(std::ostream& os) {
    const std::string state = systemState();
    if (state == "ST_RUN") {
        synopsis.start(datestamp, Synopsis::discharge);
    } else if (state == "ST_CHARGE") {
        synopsis.start(datestamp, Synopsis::charge);
    } else if (state == "ST_RESTART") {
        synopsis.start(datestamp, Synopsis::unknown);
    }
    FieldText row(os);
    row.add(message);
    row.add(state);
    row.write();
}

std::string MessageDataRecord::systemState() const {
    return textAfter(systemStatePrefix, message);
}

std::string MessageDataRecord::chargeScheduleState() const {
    return textAfter(chargeSchedulePrefix, message);
}

TriState MessageDataRecord::sbx() const {
    return signalAfter("sbx_sense=+", message);
}

TriState MessageDataRecord::button() const {
    return signalAfter("hud_multifunc=+", message);
}

TriState MessageDataRecord::acPresent() const {
    return signalAfter("ac_no_sense=+", message);
}

TriState MessageDataRecord::interlock() const {
    return signalAfter("interlock=+", message);
}

// =================================================================================================
// 6: BMCFirmwareVersionDataRecord
//
// Offset  Size  Type  Field            Column
//      0  rest  text  firmwareVersion  Version
//
// The text ends at its first zero byte or at the record's end.
// =================================================================================================

void BMCFirmwareVersionDataRecord::initializeHeader(Header& names) {
    static const Header columns{"Version"};
    names.addAll(columns);
}

void BMCFirmwareVersionDataRecord::interpretPayload() {
    firmwareVersion += terminatedText(0);
}

void BMCFirmwareVersionDataRecord::writeBasicCSV(std::ostream& os) {
    FieldText row(os);
    row.add(firmwareVersion);
    row.write();
}

// =================================================================================================
// 7 and 15: AdvancedSOCDataRecord
//
// Offset  Size  Type    Field         Unit  Column
//      0     4  uint32  chargeMAH     mAh   totalCharge (mAH)
//      4     4  uint32  dischargeMAH  mAh   totalDischarge (mAH)
//      8     4  float   soh                 dsoc
//     12     4  float   soc                 soh
//     16
// =================================================================================================

void AdvancedSOCDataRecord::initializeHeader(Header& names) {
    static const Header columns{"module", "totalCharge (mAH)", "totalDischarge (mAH)", "dsoc",
                                "soh"};
    names.addAll(columns);
}

void AdvancedSOCDataRecord::interpretPayload() {
    chargeMAH = fromBigEndian<uint32_t>();
    dischargeMAH = fromBigEndian<uint32_t>();
    soh = fromBigEndian<float>();
    soc = fromBigEndian<float>();
    synopsis.advancedSOC(datestamp, chargeMAH + dischargeMAH);
}

void AdvancedSOCDataRecord::writeBasicCSV(std::ostream& os) {
    FieldText row(os);
    if (interpreted) {
        row.add(moduleAddress);
        row.add(chargeMAH);
        row.add(dischargeMAH);
        row.add(soh); // under the heading "dsoc"
        row.add(soc); // under the heading "soh"
    } else {
        row.addEmpty(header().size());
    }
    row.write();
}

// 15: the module address (uint8), then the payload above.

void AdvancedSOCDataRecordWithModuleAddress::interpretPayload() {
    moduleAddress = fromBigEndian<uint8_t>();
    AdvancedSOCDataRecord::interpretPayload();
}

// =================================================================================================
// 8: MeasuredCurrentDataRecord
//
// Offset  Size  Type   Field    Unit  Column
//      0     4  int32  current  mA    measuredCurrent (mA)
//      4
// =================================================================================================

void MeasuredCurrentDataRecord::initializeHeader(Header& names) {
    static const Header columns{"measuredCurrent (mA)"};
    names.addAll(columns);
}

void MeasuredCurrentDataRecord::interpretPayload() {
    current = fromBigEndian<int32_t>();
}

void MeasuredCurrentDataRecord::writeBasicCSV(std::ostream& os) {
    FieldText row(os);
    row.add(current);
    row.write();
}

// =================================================================================================
// 9: PowerModeDataRecord
//
// Offset  Size  Type   Field      Column
//      0     1  uint8  powerMode  power-mode
//      1
// =================================================================================================

void PowerModeDataRecord::initializeHeader(Header& names) {
    static const Header columns{"power-mode"};
    names.addAll(columns);
}

void PowerModeDataRecord::interpretPayload() {
    powerMode = eepromPowerModeFlag{fromBigEndian<uint8_t>()};
}

void PowerModeDataRecord::writeBasicCSV(std::ostream& os) {
    const std::string_view mode = powerMode == EEPROM_POWER_FLAG_MANUAL_TRAVEL_MODE
                                      ? "manual-travel"
                                  : powerMode == EEPROM_POWER_FLAG_DORMANT_MODE ? "dormant"
                                  : powerMode == EEPROM_POWER_FLAG_RESERVE_MODE ? "reserve"
                                                                                : "normal";
    FieldText row(os);
    row.add(mode);
    row.write();
}

// =================================================================================================
// 10: WarrantyDataRecord
//
// Offset  Size  Type   Field                               Column
//      0     1  uint8  CommissioningState, read by the row warrantyEvent
//      1
// =================================================================================================

void WarrantyDataRecord::initializeHeader(Header& names) {
    static const Header columns{"warrantyEvent"};
    names.addAll(columns);
}

void WarrantyDataRecord::writeBasicCSV(std::ostream& os) {
    static constexpr const char* names[] = {
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
    static_assert(std::size(names) == DECOMMISSIONED_UNKNOWN + 1);
    const uint8_t state = position < bytes.size() ? bytes[position] : uint8_t{0};
    os << (state < std::size(names) ? names[state] : "UNKNOWN EVENT");
}

// =================================================================================================
// 11: AmbientTemperatureDataRecord
//
// The readings are written unscaled, under headings that name kelvin.
//
// Offset  Size  Type    Field, read by the row  Column
//      0     2  uint16  minimum                 minimum (K)
//      2     2  uint16  maximum                 maximum (K)
//      4     2  uint16  average                 average (K)
//      6
// =================================================================================================

void AmbientTemperatureDataRecord::initializeHeader(Header& names) {
    static const Header columns{"minimum (K)", "maximum (K)", "average (K)"};
    names.addAll(columns);
}

void AmbientTemperatureDataRecord::writeBasicCSV(std::ostream& os) {
    writeScalar<unsigned short>(os);
    writeScalar<unsigned short>(os);
    writeScalar<unsigned short>(os);
}

// =================================================================================================
// 12: HumidityDataRecord
//
// Offset  Size  Type    Field                    Unit             Column
//      0     2  uint16  relativeHumidity         0.01 %, held as % RH (%)
//      2     2  uint16  relativeHumidityLow      0.01 %, held as % Low RH (%)
//      4     2  uint16  relativeHumidityHigh     0.01 %, held as % High RH (%)
//      6     2  uint16  relativeHumidityAverage  0.01 %, held as % Ave RH (%)
//      8
// =================================================================================================

void HumidityDataRecord::initializeHeader(Header& names) {
    static const Header columns{"RH (%)", "Low RH (%)", "High RH (%)", "Ave RH (%)"};
    names.addAll(columns);
}

void HumidityDataRecord::interpretPayload() {
    relativeHumidity = static_cast<float>(fromBigEndian<uint16_t>() / 100.0);
    relativeHumidityLow = static_cast<float>(fromBigEndian<uint16_t>() / 100.0);
    relativeHumidityHigh = static_cast<float>(fromBigEndian<uint16_t>() / 100.0);
    relativeHumidityAverage = static_cast<float>(fromBigEndian<uint16_t>() / 100.0);
}

void HumidityDataRecord::writeBasicCSV(std::ostream& os) {
    FieldText row(os);
    row.add(relativeHumidity);
    row.add(relativeHumidityLow);
    row.add(relativeHumidityHigh);
    row.add(relativeHumidityAverage);
    row.write();
}

// =================================================================================================
// WideDataRecord
//
// Columns, in this order: those of each module's dynamic info, those of each module's charge
// counters, the power mode, the fault categories and the other columns below. The names of the
// modules' columns repeat and carry no module number.
// =================================================================================================

WideDataRecord::WideDataRecord() {
    for (uint8_t module = 1; module < 3; ++module) {
        dynamicInfo[module]; // is added, without values
        advancedSOC[module];
    }
}

void WideDataRecord::initializeHeader(Header& names) {
    static const Header otherColumns{
        "System State", "Charge Schedule State",
        "SBX Sense",    "AC Present",
        "Button",       "Interlock",
        "BMC FW",       "BMU FW",
    };
    for (auto& [module, record] : dynamicInfo) {
        names.addAll(record.change().header());
    }
    for (auto& [module, record] : advancedSOC) {
        names.addAll(record.change().header());
    }
    names.addAll(battery.change().powerMode.header());
    for (const FaultCategory& category : faultCategories) {
        names.addName(category.column);
    }
    names.addAll(otherColumns);
}

void WideDataRecord::updateStaticInfo(const StaticInfoDataRecord& record) {
    std::string_view text = record.firmwareVersion;
    const std::string_view version = takeWord(text);
    if (!version.empty()) {
        battery.change().bmuFWVersion = version;
    }
}

void WideDataRecord::updateDynamicInfo(const DynamicInfoDataRecord& record) {
    dynamicInfo[record.moduleId()].change() = record;
    datestamp = record.datestamp;
}

void WideDataRecord::updateSOC(const AdvancedSOCDataRecord& record) {
    advancedSOC[record.moduleId()].change() = record;
    datestamp = record.datestamp;
}

void WideDataRecord::updatePowerMode(const PowerModeDataRecord& record) {
    battery.change().powerMode = record;
    datestamp = record.datestamp;
}

void WideDataRecord::updateFault(const FaultDataRecord& record) {
    battery.change().faults[static_cast<uint8_t>(record.error_register)] = record;
    datestamp = record.datestamp;
}

void WideDataRecord::updateMessage(const MessageDataRecord& message) {
    Battery& state = battery.change();
    const std::string systemState = message.systemState();
    if (!systemState.empty()) {
        state.systemState = systemState;
        datestamp = message.datestamp;
        if (systemState == "1") { // a restart: what was known before it no longer holds
            state.faults.clear();
            state.sbxSense = Indeterminate;
            state.acPresent = Indeterminate;
            state.multifunctionButton = Indeterminate;
            state.interlock = Indeterminate;
            state.chargeScheduleState.clear();
        }
        return;
    }
    const std::string scheduleState = message.chargeScheduleState();
    if (!scheduleState.empty()) {
        state.chargeScheduleState = scheduleState;
        datestamp = message.datestamp;
        return;
    }
    const auto store = [](TriState reported, TriState& signal) {
        if (reported != Indeterminate) {
            signal = reported;
        }
    };
    store(message.sbx(), state.sbxSense);
    store(message.button(), state.multifunctionButton);
    store(message.acPresent(), state.acPresent);
    store(message.interlock(), state.interlock);
}

void WideDataRecord::updateBMCFWVersion(const BMCFirmwareVersionDataRecord& record) {
    std::string_view text = record.firmwareVersion;
    takeWord(text);
    takeWord(text);
    const std::string_view version = takeWord(text);
    if (!version.empty()) {
        battery.change().bmcFWVersion = version;
    }
}

void WideDataRecord::writeBasicCSV(std::ostream& os) {
    const auto writeFields = [](DataRecord& record, std::ostream& to) { record.writeBasicCSV(to); };
    for (auto& [module, record] : dynamicInfo) {
        put(record.text(writeFields), os);
    }
    for (auto& [module, record] : advancedSOC) {
        put(record.text(writeFields), os);
    }
    put(battery.text([this](Battery& state, std::ostream& to) { writeBattery(state, to); }), os);
}

void WideDataRecord::writeBattery(Battery& state, std::ostream& os) const {
    state.powerMode.writeBasicCSV(os);
    for (const FaultCategory& category : faultCategories) {
        writeFault(state.faults[category.code], os); // none if the category was never reported
    }
    FieldText row(os);
    row.add(state.systemState);
    row.add(state.chargeScheduleState);
    writeTriState(state.sbxSense, os);
    writeTriState(state.acPresent, os);
    writeTriState(state.multifunctionButton, os);
    writeTriState(state.interlock, os);
    row.add(state.bmcFWVersion);
    row.add(state.bmuFWVersion);
    row.write();
}

void WideDataRecord::writeTriState(TriState value, std::ostream& os) const {
    os << (value == False ? ",0" : value == True ? ",1" : ",");
}

void WideDataRecord::writeFault(const FaultDataRecord& fault, std::ostream& os) const {
    FieldText field(os);
    field.add(fault.additional_information);
    field.write();
}
