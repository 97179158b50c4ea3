#include "DataRecord.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iomanip>
#include <istream>
#include <ostream>
#include <sstream>
#include <type_traits>
#include <vector>

Synopsis synopsis;

// =================================================================================================
// Datestamp
// =================================================================================================

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

/// Writes the date of a day number.
char* writeDate(char* to, unsigned short days) {
    // A year is passed only by a day number greater than its length, a month by one that is equal,
    // too. So the first day of each year after 1984 stays in the year before and comes out as its
    // month 13, which still sorts between 31 December and 2 January. The outputs have always been
    // so.
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
    to = writePadded(to, year);
    *to++ = '-';
    to = writePadded(to, month);
    *to++ = '-';
    return writePadded(to, days + 1U);
}

/// Writes the time of a number of milliseconds.
char* writeTime(char* to, uint32_t milliseconds) {
    uint32_t seconds = milliseconds / 1000;
    milliseconds %= 1000;
    uint32_t minutes = seconds / 60;
    seconds %= 60;
    const uint32_t hours = minutes / 60; // of any number: no carry into the day takes place
    minutes %= 60;
    to = writePadded(to, hours);
    *to++ = ':';
    to = writePadded(to, minutes);
    *to++ = ':';
    to = writePadded(to, seconds);
    *to++ = '.';
    if (milliseconds < 10) {
        *to = static_cast<char>('0' + milliseconds);
        return to + 1;
    }
    return writePadded(to, milliseconds);
}

} // namespace

Datestamp::Datestamp(std::string_view date, std::string_view time) {
    append(date);
    append(" ");
    append(time);
}

void Datestamp::assign(uint16_t day, uint32_t milliseconds) {
    // Most records follow one of the same day.
    thread_local uint16_t knownDay = 0;
    thread_local std::array<char, 10> knownDate = {'1', '9', '8', '4', '-',
                                                   '0', '1', '-', '0', '1'};
    if (day != knownDay) {
        writeDate(knownDate.data(), day);
        knownDay = day;
    }
    char* const time = std::copy(knownDate.begin(), knownDate.end(), text.begin());
    *time = ' ';
    length = static_cast<uint8_t>(writeTime(time + 1, milliseconds) - text.data());
}

void Datestamp::append(std::string_view part) {
    const size_t count = part.copy(text.data() + length, text.size() - length);
    length = static_cast<uint8_t>(length + count);
}

std::ostream& operator<<(std::ostream& os, const Datestamp& datestamp) {
    return os << std::string_view(datestamp);
}

// =================================================================================================
// RecordBytes
// =================================================================================================

void RecordBytes::append(std::span<const uint8_t> added) {
    if (auto* within = std::get_if<Within>(&held)) {
        if (added.size() <= within->bytes.size() - within->length) {
            std::copy(added.begin(), added.end(), within->bytes.begin() + within->length);
            within->length = static_cast<uint8_t>(within->length + added.size());
            return;
        }
        std::vector<uint8_t> block;
        block.reserve(within->length + added.size());
        block.assign(begin(), end());
        held = std::move(block);
    }
    auto& block = *std::get_if<std::vector<uint8_t>>(&held);
    const size_t needed = block.size() + added.size();
    if (needed > block.capacity()) {
        block.reserve(needed + needed / 16); // a vector of its own accord doubles
    }
    block.insert(block.end(), added.begin(), added.end());
}

// =================================================================================================
// FieldText
// =================================================================================================

namespace {

static_assert(std::endian::native == std::endian::little, "text is put together in registers");

/// The decimal digits of a number below 10^6, each in a byte of its own, the first one lowest.
uint64_t sixDigits(uint64_t number) {
    const uint64_t hundreds = number / 100;
    const uint64_t first = hundreds / 100;
    const uint64_t pairs = first | (hundreds - first * 100) << 16 | (number - hundreds * 100) << 32;
    const uint64_t tens =
        (pairs * 103 >> 10) & 0x000F000F000F; // x * 103 / 1024 is x / 10 below 100
    return tens | (pairs - tens * 10) << 8;
}

/// Writes the float with up to 6 significant digits in fixed notation, if that is the default
/// notation of its value; otherwise writes nothing and returns null. May touch 14 characters,
/// whatever the length of the text.
///
/// A float times a power of ten up to 10^9 is exact in double precision: 24 bits of the float and
/// 21 of the power, whose other factor is a power of two. So the rounding to an integer of 6 digits
/// is the only one, as it is in the standard's conversion: to the nearest, from the middle to the
/// even one.
char* writeFixed(char* to, float value) {
    constexpr int smallestExponent = -4;
    static constexpr double powers[] = {1e-4, 1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6};
    static constexpr double scales[] = {1e9, 1e8, 1e7, 1e6, 1e5, 1e4, 1e3, 1e2, 1e1, 1e0};

    const double magnitude = std::fabs(static_cast<double>(value));
    if (!(magnitude >= 1e-4 && magnitude < 999999.5)) {
        return nullptr;
    }
    // The decimal exponent is the binary one times log10(2), rounded down, or one more.
    const int binaryExponent = static_cast<int>(std::bit_cast<uint32_t>(value) >> 23 & 0xFF) - 127;
    int exponent = (binaryExponent * 1233) >> 12;
    exponent += magnitude >= powers[exponent + 1 - smallestExponent] ? 1 : 0;

    const double scaled = magnitude * scales[exponent - smallestExponent];
    // The sum has no room for a fraction: it is rounded, and its lowest bits are the integer.
    uint64_t number = std::bit_cast<uint64_t>(scaled + 0x1p52) & 0xFFFFFFFF;
    if (number == 1000000) { // rounded up to the next power of ten
        number = 100000;
        ++exponent;
    }
    const uint64_t digits = sixDigits(number);
    const int count = 8 - std::countl_zero(digits) / 8; // without the zeros at the end
    const uint64_t text = digits | 0x3030303030303030;

    *to = '-';
    to += std::signbit(value) ? 1 : 0;
    if (exponent < 0) {
        std::memcpy(to, "0.000", 5);
        to += 1 - exponent;
        std::memcpy(to, &text, sizeof text);
        return to + count;
    }
    const int whole = exponent + 1; // digits before the point
    std::memcpy(to, &text, sizeof text);
    if (count <= whole) {
        return to + whole;
    }
    to[whole] = '.';
    const uint64_t fraction = text >> (8 * whole);
    std::memcpy(to + whole + 1, &fraction, sizeof fraction);
    return to + count + 1;
}

} // namespace

void FieldText::add(bool value) {
    add(value ? 1U : 0U);
}

void FieldText::add(float value) {
    // The values of a log repeat, and to look a text up takes less time than to put it together. A
    // value goes where its bits lead, in place of whatever stood there.
    struct Known {
        uint32_t bits;
        uint8_t length; // 0 before the first value
        std::array<char, 11> text;
    };
    constexpr int indexBits = 10; // 16 KB, which stay in the processor's cache
    thread_local std::array<Known, 1 << indexBits> table;

    buffer[length++] = ',';
    char* const begin = buffer.data() + length;
    const auto bits = std::bit_cast<uint32_t>(value);
    Known& known = table[bits * 0x9E3779B1U >> (32 - indexBits)];
    if (known.bits == bits && known.length != 0) {
        std::memcpy(begin, known.text.data(), known.text.size());
        length += known.length;
        return;
    }
    char* end = writeFixed(begin, value);
    if (end == nullptr) {
        end = std::to_chars(begin, buffer.end(), value, std::chars_format::general, 6).ptr;
    }
    const auto size = static_cast<size_t>(end - begin);
    length += size;
    if (size <= known.text.size()) {
        known.bits = bits;
        known.length = static_cast<uint8_t>(size);
        std::copy(begin, end, known.text.begin());
    }
}

void FieldText::add(int value) {
    buffer[length++] = ',';
    char* const end = std::to_chars(buffer.data() + length, buffer.end(), value).ptr;
    length = static_cast<size_t>(end - buffer.data());
}

void FieldText::add(unsigned int value) {
    buffer[length++] = ',';
    char* const end = std::to_chars(buffer.data() + length, buffer.end(), value).ptr;
    length = static_cast<size_t>(end - buffer.data());
}

void FieldText::addEmpty(size_t count) {
    std::fill_n(buffer.data() + length, count, ',');
    length += count;
}

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

constexpr DataRecord::TypeEntry typeEntries[] = {
    {DataRecord::garble, "UnknownDataRecord", make<UnknownDataRecord>},
    {DataRecord::staticInfoRecordId, "StaticInfoDataRecord", make<StaticInfoDataRecord>},
    {DataRecord::dynamicInfoRecordId, "DynamicInfoDataRecord", make<DynamicInfoDataRecord>},
    {DataRecord::faultRecordId, "FaultDataRecord", make<FaultDataRecord>},
    {DataRecord::shockRecordId, "ShockDataRecord", make<ShockDataRecord>},
    {DataRecord::messageRecordId, "MessageDataRecord", make<MessageDataRecord>},
    {DataRecord::bmcFirmwareVersionRecordId, "BMCFirmwareVersionDataRecord",
     make<BMCFirmwareVersionDataRecord>},
    {DataRecord::advancedSocRecordId, "AdvancedSOCDataRecord", make<AdvancedSOCDataRecord>},
    {DataRecord::measuredCurrentRecordId, "MeasuredCurrentDataRecord",
     make<MeasuredCurrentDataRecord>},
    {DataRecord::powerModeRecordId, "PowerModeDataRecord", make<PowerModeDataRecord>},
    {DataRecord::warrantyRecordId, "WarrantyDataRecord", make<WarrantyDataRecord>},
    {DataRecord::ambientTemperatureRecordId, "AmbientTemperatureDataRecord",
     make<AmbientTemperatureDataRecord>},
    {DataRecord::relativeHumidityRecordId, "HumidityDataRecord", make<HumidityDataRecord>},
    {DataRecord::staticInfoWithAddressRecordId, "StaticInfoDataRecordWithModuleAddress",
     make<StaticInfoDataRecordWithModuleAddress>},
    {DataRecord::dynamicInfoWithAddressRecordId, "DynamicInfoDataRecordWithModuleAddress",
     make<DynamicInfoDataRecordWithModuleAddress>},
    {DataRecord::advancedSocWithAddressRecordId, "AdvancedSOCDataRecordWithModuleAddress",
     make<AdvancedSOCDataRecordWithModuleAddress>},
};

/// The factory takes a code as the index of its row.
constexpr bool standInTheOrderOfTheirCodes() {
    size_t code = 0;
    for (const DataRecord::TypeEntry& entry : typeEntries) {
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
        char run[512];
        stream.getline(run, sizeof run, dle);
        const auto count = static_cast<size_t>(stream.gcount());
        const std::span bytes(reinterpret_cast<const uint8_t*>(run), count);
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
            if (count == sizeof run - 1 && !stream.eof() && !stream.bad()) {
                stream.clear(); // there was no room for more
                continue;
            }
            // The end of the stream counts as a data byte 0xFF: the outputs have always been so.
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

std::span<const DataRecord::TypeEntry> DataRecord::types() {
    return typeEntries;
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
constexpr size_t dayOffset = 5;
constexpr size_t payloadOffset = 7;

} // namespace

void DataRecord::interpret() {
    const uint16_t day = storedDay();
    datestamp.assign(day, storedMilliseconds());
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
    for (size_t each = 0; each < sizeof(T); ++each) {
        bits = bits << 8 | (each < count ? left[each] : 0U);
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

std::string_view DataRecord::terminatedText(unsigned short length) {
    const std::span<const uint8_t> left = rest();
    const auto end = std::find(left.begin(), left.end(), uint8_t{0});
    skip<char>(length);
    return {reinterpret_cast<const char*>(left.data()), static_cast<size_t>(end - left.begin())};
}

// =================================================================================================
// DataRecord: time stamps
// =================================================================================================

uint16_t DataRecord::storedDay() {
    moveTo(dayOffset);
    return fromBigEndian<uint16_t>();
}

uint32_t DataRecord::storedMilliseconds() {
    moveTo(timeOffset);
    const auto milliseconds = fromBigEndian<uint32_t>();
    moveTo(payloadOffset);
    return milliseconds;
}

std::string DataRecord::interpretDate() {
    char text[Datestamp::maximumLength];
    return {text, writeDate(text, storedDay())};
}

std::string DataRecord::interpretTime() {
    char text[Datestamp::maximumLength];
    return {text, writeTime(text, storedMilliseconds())};
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
// to one that was never opened fails at the datestamp, and the data fields behind it are then not
// asked for. Outputs that are not wanted are skipped in this way. (A line that is written in one go
// fails as a whole; its fields have no effect but their text.)
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
        os << std::endl;
    }
}

void DataRecord::writeDatestamp(std::ostream& os) {
    os << datestamp;
}

void DataRecord::writeCSVHeader(Type type, std::ostream& os) {
    writeCSVTimestampHeader(os);
    writeCSVHeaderText(type, os);
    os << std::endl;
}

void DataRecord::writeCSVHeaderText(Type type, std::ostream& os) {
    factory(type)->writeCSVHeaderText(os);
}

namespace {

/// Writes a text that a log may make as long as it likes. A file stream writes a text of 1024
/// characters or more past its buffer, so that the line would leave the tool in several writes and
/// not in one: such a text goes to the stream in pieces.
void writeText(std::string_view text, std::ostream& os) {
    constexpr size_t longestPiece = 1000;
    for (; text.size() > longestPiece; text.remove_prefix(longestPiece)) {
        os << text.substr(0, longestPiece);
    }
    os << text;
}

} // namespace

template <typename T>
void DataRecord::writeScalar(T value, std::ostream& os) {
    FieldText field;
    field.add(value);
    os << field.text();
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
    os << ',';
    writeText(terminatedText(length), os);
}

// =================================================================================================
// 0 and 16 to 255: UnknownDataRecord
//
// Payload: anything.
// =================================================================================================

void UnknownDataRecord::initializeHeader(Header& names) {
    static const Header columns{"Unknown record type ..."};
    names.addAll(columns);
}

void UnknownDataRecord::writeBasicCSV(std::ostream& os) {
    // No comma before the dump, and the stream stays in hexadecimal: both have always been so.
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
    writeScalar<unsigned short>(moduleAddress, os);
    writeScalar<unsigned short>(cycleCount, os);
    writeScalar<unsigned short>(manufactureDate, os);
    writeScalar<unsigned short>(serialNumber, os);
    writeScalar<unsigned short>(seriesCells, os);
    os << ',';
    writeText(deviceName, os);
    os << ',';
    writeText(firmwareVersion, os);
    writeScalar<unsigned short>(temperatureSensors, os);
    writeScalar<float>(cumulativeChargeAs, os);
    writeScalar<float>(cumulativeDischargeAs, os);
}

uint8_t StaticInfoDataRecord::moduleId() const {
    return static_cast<uint8_t>(moduleAddress);
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

void DynamicInfoDataRecord::interpretPayload() {
    constexpr size_t lengthWithShortCurrent = 35;
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
    os << fields().text();
}

FieldText DynamicInfoDataRecord::fields() {
    FieldText text;
    if (interpreted) {
        text.add(moduleAddress);
        text.add(packVoltage);
        text.add(current);
        text.add(soc);
        text.add(dsoc);
        for (const float voltage : cellVoltage) {
            text.add(voltage);
        }
        const auto [lowest, highest] = std::minmax_element(cellVoltage.begin(), cellVoltage.end());
        text.add(*highest - *lowest);
        for (const float temperature : cellTemperature) {
            text.add(temperature);
        }
        text.add(heat);
        text.add(balance);
    } else {
        text.addEmpty(header().size());
    }
    return text;
}

uint8_t DynamicInfoDataRecord::moduleId() const {
    return static_cast<uint8_t>(moduleAddress);
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

void FaultDataRecord::writeBasicCSV(std::ostream& os) {
    writeScalar<unsigned short>(error_register, os);
    writeScalar<unsigned short>(additional_information, os);
    switch (error_register) {
    case 1:
        interpretGeneralFault(additional_information, os);
        break;
    case 2:
        interpretCurrentFault(additional_information, os);
        break;
    case 4:
        interpretVoltageFault(additional_information, os);
        break;
    case 8:
        interpretTemperatureFault(additional_information, os);
        break;
    case 16:
        interpretCommunicationFault(additional_information, os);
        break;
    case 128:
        interpretFeatureFault(additional_information, os);
        break;
    default: // the controller names no faults of other categories
        break;
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
    const char* names[] = {
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
    const char* names[] = {
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
    const char* names[] = {
        "Voltage sense wire", "Voltage measurement error", "High cell voltage",
        "Low cell voltage",   "Hardware over voltage",     "",
    };
    interpretFault(bits, names, out);
}

void FaultDataRecord::interpretTemperatureFault(unsigned short bits, std::ostream& out) {
    const char* names[] = {
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
    const char* names[] = {
        "Loss of CAN Rx",
        "Loss of internal communication",
        "",
    };
    interpretFault(bits, names, out);
}

void FaultDataRecord::interpretFeatureFault(unsigned short bits, std::ostream& out) {
    const char* names[] = {
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
    writeScalar<short>(x, os);
    writeScalar<short>(y, os);
    writeScalar<short>(z, os);
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

/// The part of the message behind the prefix; empty if the message does not begin with it.
std::string textBehind(std::string_view prefix, const std::string& message) {
    return message.starts_with(prefix) ? message.substr(prefix.size()) : std::string();
}

/// The signal whose report begins with the prefix. The number is whatever a formatted extraction
/// makes of the text: white space is skipped, a sign is taken, an overflow gives the largest
/// number, and no number at all counts as 0.
TriState signalBehind(std::string_view prefix, const std::string& message) {
    if (!message.starts_with(prefix)) {
        return TriState::Indeterminate;
    }
    std::istringstream text(message.substr(prefix.size()));
    uint32_t number = 0;
    text >> number;
    return number != 0 ? TriState::True : TriState::False;
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
    os << ',';
    writeText(message, os);
    os << ',';
    writeText(state, os);
}

std::string MessageDataRecord::systemState() const {
    return textBehind(systemStatePrefix, message);
}

std::string MessageDataRecord::chargeScheduleState() const {
    return textBehind(chargeSchedulePrefix, message);
}

TriState MessageDataRecord::sbx() const {
    return signalBehind("sbx_sense=+", message);
}

TriState MessageDataRecord::button() const {
    return signalBehind("hud_multifunc=+", message);
}

TriState MessageDataRecord::acPresent() const {
    return signalBehind("ac_no_sense=+", message);
}

TriState MessageDataRecord::interlock() const {
    return signalBehind("interlock=+", message);
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
    os << ',';
    writeText(firmwareVersion, os);
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
    os << fields().text();
}

FieldText AdvancedSOCDataRecord::fields() {
    FieldText text;
    if (interpreted) {
        text.add(moduleAddress);
        text.add(chargeMAH);
        text.add(dischargeMAH);
        text.add(soh); // under the heading "dsoc"
        text.add(soc); // under the heading "soh"
    } else {
        text.addEmpty(header().size());
    }
    return text;
}

uint8_t AdvancedSOCDataRecord::moduleId() const {
    return static_cast<uint8_t>(moduleAddress);
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
    writeScalar<int>(current, os);
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
    switch (powerMode) {
    case EEPROM_POWER_FLAG_MANUAL_TRAVEL_MODE:
        os << ",manual-travel";
        break;
    case EEPROM_POWER_FLAG_DORMANT_MODE:
        os << ",dormant";
        break;
    case EEPROM_POWER_FLAG_RESERVE_MODE:
        os << ",reserve";
        break;
    case EEPROM_POWER_FLAG_NORMAL_MODE:
    default:
        os << ",normal";
        break;
    }
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
    const uint8_t state = position < bytes.size() ? bytes[position] : uint8_t{0};
    switch (state) {
    case UNCOMMISSIONED:
        os << "UNCOMMISSIONED";
        break;
    case COMMISSIONED:
        os << "COMMISSIONED";
        break;
    case DECOMMISSIONED_VOLT_LOW:
        os << "DECOMMISSIONED_VOLT_LOW";
        break;
    case DECOMMISSIONED_VOLT_HIGH:
        os << "DECOMMISSIONED_VOLT_HIGH";
        break;
    case DECOMMISSIONED_HIGH_TEMPERATURE:
        os << "DECOMMISSIONED_HIGH_TEMPERATURE";
        break;
    case DECOMMISSIONED_DISCHARGE_OVERCURRENT:
        os << "DECOMMISSIONED_DISCHARGE_OVERCURRENT";
        break;
    case DECOMMISSIONED_CHARGE_OVERCURRENT:
        os << "DECOMMISSIONED_CHARGE_OVERCURRENT";
        break;
    case DECOMMISSIONED_EXCESSIVE_SHOCK:
        os << "DECOMMISSIONED_EXCESSIVE_SHOCK";
        break;
    case DECOMMISSIONED_SOC:
        os << "DECOMMISSIONED_SOC";
        break;
    case DECOMMISSIONED_RESERVE_MODE:
        os << "DECOMMISSIONED_RESERVE_MODE";
        break;
    case DECOMMISSIONED_DORMANT_TOO_LONG:
        os << "DECOMMISSIONED_DORMANT_TOO_LONG";
        break;
    case DECOMMISSIONED_WARRANTY_EXPIRED:
        os << "DECOMMISSIONED_WARRANTY_EXPIRED";
        break;
    case DECOMMISSIONED_UNKNOWN:
        os << "DECOMMISSIONED_UNKNOWN";
        break;
    default:
        os << "UNKNOWN EVENT";
        break;
    }
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
    writeScalar<float>(relativeHumidity, os);
    writeScalar<float>(relativeHumidityLow, os);
    writeScalar<float>(relativeHumidityHigh, os);
    writeScalar<float>(relativeHumidityAverage, os);
}

// =================================================================================================
// WideDataRecord
//
// Columns, in this order: those of each module's dynamic info, those of each module's charge
// counters, the power mode and the fixed columns below. The names of the modules' columns repeat
// and carry no module number.
// =================================================================================================

WideDataRecord::WideDataRecord() {
    for (uint8_t module = 1; module < 3; ++module) {
        dynamicInfo[module] = DynamicInfoDataRecord();
        advancedSOC[module] = AdvancedSOCDataRecord();
    }
}

void WideDataRecord::initializeHeader(Header& names) {
    static const Header fixedColumns{
        "General Faults",
        "Current Faults",
        "Voltage Faults",
        "Temperature Faults",
        "Communication Faults",
        "FeatureFaults",
        "System State",
        "Charge Schedule State",
        "SBX Sense",
        "AC Present",
        "Button",
        "Interlock",
        "BMC FW",
        "BMU FW",
    };
    for (auto& [module, record] : dynamicInfo) {
        names.addAll(record.header());
    }
    for (auto& [module, record] : advancedSOC) {
        names.addAll(record.header());
    }
    names.addAll(powerMode.header());
    names.addAll(fixedColumns);
}

void WideDataRecord::updateStaticInfo(const StaticInfoDataRecord& record) {
    std::istringstream text(record.firmwareVersion);
    std::string version;
    if (text >> version) {
        bmuFWVersion = version;
        otherText.clear();
    }
}

void WideDataRecord::updateDynamicInfo(const DynamicInfoDataRecord& record,
                                       std::string_view fields) {
    dynamicInfo[record.moduleId()] = record;
    dynamicInfoText[record.moduleId()] = fields;
    datestamp = record.datestamp;
}

void WideDataRecord::updateSOC(const AdvancedSOCDataRecord& record, std::string_view fields) {
    advancedSOC[record.moduleId()] = record;
    advancedSOCText[record.moduleId()] = fields;
    datestamp = record.datestamp;
}

void WideDataRecord::updatePowerMode(const PowerModeDataRecord& record) {
    powerMode = record;
    otherText.clear();
    datestamp = record.datestamp;
}

void WideDataRecord::updateFault(const FaultDataRecord& record) {
    faults[static_cast<uint8_t>(record.error_register)] = record;
    otherText.clear();
    datestamp = record.datestamp;
}

void WideDataRecord::updateMessage(const MessageDataRecord& message) {
    otherText.clear();
    const std::string state = message.systemState();
    if (!state.empty()) {
        systemState = state;
        datestamp = message.datestamp;
        if (state == "1") { // a restart: what was known before it no longer holds
            faults.clear();
            sbxSense = TriState::Indeterminate;
            acPresent = TriState::Indeterminate;
            multifunctionButton = TriState::Indeterminate;
            interlock = TriState::Indeterminate;
            chargeScheduleState.clear();
        }
        return;
    }
    const std::string scheduleState = message.chargeScheduleState();
    if (!scheduleState.empty()) {
        chargeScheduleState = scheduleState;
        datestamp = message.datestamp;
        return;
    }
    const auto store = [](TriState reported, TriState& signal) {
        if (reported != TriState::Indeterminate) {
            signal = reported;
        }
    };
    store(message.sbx(), sbxSense);
    store(message.button(), multifunctionButton);
    store(message.acPresent(), acPresent);
    store(message.interlock(), interlock);
}

void WideDataRecord::updateBMCFWVersion(const BMCFirmwareVersionDataRecord& record) {
    std::istringstream text(record.firmwareVersion);
    std::string first;
    std::string second;
    std::string version;
    if (text >> first >> second >> version) {
        bmcFWVersion = version;
        otherText.clear();
    }
}

namespace {

/// The record's fields, from the text that is kept of them or newly put into it.
template <typename Record>
const std::string& keptText(Record& record, std::string& kept) {
    if (kept.empty()) {
        kept = record.fields().text();
    }
    return kept;
}

} // namespace

void WideDataRecord::writeCSVTimestampedData(std::ostream& os) {
    if (!os.fail()) {
        line.assign(datestamp);
        appendFields(line);
        line += '\n';
        os << std::dec;
        os.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
    }
}

void WideDataRecord::writeBasicCSV(std::ostream& os) {
    std::string fields;
    appendFields(fields);
    os << fields;
}

void WideDataRecord::appendFields(std::string& row) {
    for (auto& [module, record] : dynamicInfo) {
        row += keptText(record, dynamicInfoText[module]);
    }
    for (auto& [module, record] : advancedSOC) {
        row += keptText(record, advancedSOCText[module]);
    }
    if (otherText.empty()) {
        std::ostringstream text;
        writeOtherFields(text);
        otherText = text.str();
    }
    row += otherText;
}

void WideDataRecord::writeOtherFields(std::ostream& os) {
    powerMode.writeBasicCSV(os);
    for (const uint8_t category : std::initializer_list<uint8_t>{1, 2, 4, 8, 16, 128}) {
        writeFault(faults[category], os); // a category that was never reported has no faults
    }
    os << ',' << systemState << ',' << chargeScheduleState;
    writeTriState(sbxSense, os);
    writeTriState(acPresent, os);
    writeTriState(multifunctionButton, os);
    writeTriState(interlock, os);
    os << ',' << bmcFWVersion << ',' << bmuFWVersion;
}

void WideDataRecord::writeTriState(TriState value, std::ostream& os) const {
    switch (value) {
    case TriState::False:
        os << ",0";
        break;
    case TriState::True:
        os << ",1";
        break;
    case TriState::Indeterminate:
    default:
        os << ',';
        break;
    }
}

void WideDataRecord::writeFault(const FaultDataRecord& fault, std::ostream& os) const {
    FieldText field;
    field.add(fault.additional_information);
    os << field.text();
}
