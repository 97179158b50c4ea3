// What the units promise to those who build on them: their types, operations, enumerators,
// constants and first values, each used as a builder uses it. What an operation does is the matter
// of its unit's own tests.

#include "ConvertFile.h"
#include "DataFile.h"
#include "DataRecord.h"
#include "Header.h"
#include "Options.h"
#include "RecordClasses.h"
#include "RecordReading.h"
#include "Synopsis.h"
#include "fileUtilities.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

// =================================================================================================
// Tools
// =================================================================================================

/// To be asserted of a member of the class, which may be inherited and may have overloads. Compiles
/// only if the member is of exactly this type.
template <typename Class, typename Type, typename Declaring>
constexpr bool has(Type Declaring::* /*member*/) {
    return std::is_base_of_v<Declaring, Class>;
}

/// The same for a free function, a static member or an object.
template <typename Type>
constexpr bool is(Type* /*thing*/) {
    return true;
}

/// Whether an operation is declared by the class itself, not by one of its bases.
template <typename Class, typename Declaring, typename... Parameters>
constexpr bool isDeclaredBy(void (Declaring::* /*operation*/)(Parameters...)) {
    return std::is_same_v<Class, Declaring>;
}

/// Whether two types are the same, written so that the first may be an expression's.
template <typename Actual, typename Expected>
constexpr bool same = std::is_same_v<Actual, Expected>;

/// A record whose inner workings are open.
class OpenRecord : public DataRecord {
public:
    void writeBasicCSV(std::ostream& /*os*/) override {}

    using DataRecord::bytes;
    using DataRecord::fromBigEndian;
    using DataRecord::h;
    using DataRecord::position;
    using DataRecord::skip;
    using DataRecord::writeInt8;
    using DataRecord::writeScalar;
    using DataRecord::writeString;
    using DataRecord::writeUint8;
};

/// An open record of the bytes, which are a type code and whatever follows it.
OpenRecord openRecord(const std::string& content) {
    std::istringstream stream(content + bytesOf("10 03"));
    OpenRecord record;
    record.bytes = (*DataRecord::factory(stream)).*(&OpenRecord::bytes);
    return record;
}

/// What is written on a new stream.
template <typename Write>
std::string written(const Write& write) {
    std::ostringstream os;
    write(os);
    return os.str();
}

// =================================================================================================
// Options
// =================================================================================================

static_assert(std::is_default_constructible_v<Options>);
static_assert(has<Options, void(int, const char**)>(&Options::parseArguments));
static_assert(has<Options, std::string() const>(&Options::path));
static_assert(has<Options, void() const>(&Options::displayHelp));

TEST(OptionsInterface, startsInTheWorkingDirectory) {
    const Options options;
    EXPECT_EQ(options.path(), ".");
}

// =================================================================================================
// fileUtilities
// =================================================================================================

static_assert(is<bool(const std::string&)>(&isDirectory));
static_assert(is<bool(const std::string&)>(&isLogFile));
static_assert(is<std::vector<std::string>(const std::string&)>(&allLogFilesIn));

// =================================================================================================
// Header
// =================================================================================================

static_assert(std::is_default_constructible_v<Header>);
static_assert(std::is_copy_constructible_v<Header> && std::is_copy_assignable_v<Header>);
static_assert(std::is_move_constructible_v<Header> && std::is_move_assignable_v<Header>);
static_assert(same<Header::ColumnNames, std::vector<std::string>>);
static_assert(has<Header, void(const std::string&)>(&Header::addName));
static_assert(has<Header, void(const Header&)>(&Header::addAll));
static_assert(has<Header, size_t() const>(&Header::size));
static_assert(has<Header, bool() const>(&Header::empty));
static_assert(has<Header, void(std::ostream&) const>(&Header::write));
static_assert(has<Header, void(std::ostream&, const std::string&) const>(&Header::writeColumnName));
static_assert(has<Header, const Header::ColumnNames&() const>(&Header::columnNames));

TEST(HeaderInterface, tellsItsColumnNamesInTheirOrder) {
    Header header;
    EXPECT_THAT(header.columnNames(), IsEmpty());
    header.addName("B");
    header.addName("A");
    header.addName("B");
    EXPECT_THAT(header.columnNames(), ElementsAre("B", "A", "B"));

    const Header copy = header;
    header.addAll(copy);
    EXPECT_THAT(header.columnNames(), ElementsAre("B", "A", "B", "B", "A", "B"));
    EXPECT_THAT(copy.columnNames(), ElementsAre("B", "A", "B"));
}

// =================================================================================================
// DataFile
// =================================================================================================

using RecordPtr = std::shared_ptr<DataRecord>;

static_assert(same<DataFile::Records, std::vector<RecordPtr>>);
static_assert(std::is_constructible_v<DataFile, const std::string&>);
static_assert(has<DataFile, RecordPtr&()>(&DataFile::front));
static_assert(has<DataFile, const RecordPtr&() const>(&DataFile::front));
static_assert(has<DataFile, RecordPtr&()>(&DataFile::back));
static_assert(has<DataFile, const RecordPtr&() const>(&DataFile::back));
static_assert(has<DataFile, DataFile::Records::iterator()>(&DataFile::begin));
static_assert(has<DataFile, DataFile::Records::const_iterator() const>(&DataFile::begin));
static_assert(has<DataFile, DataFile::Records::iterator()>(&DataFile::end));
static_assert(has<DataFile, DataFile::Records::const_iterator() const>(&DataFile::end));
static_assert(has<DataFile, RecordPtr&(unsigned long)>(&DataFile::operator[]));
static_assert(has<DataFile, const RecordPtr&(unsigned long) const>(&DataFile::operator[]));
static_assert(has<DataFile, bool() const>(&DataFile::empty));
static_assert(has<DataFile, std::string() const>(&DataFile::name));

TEST(DataFileInterface, sharesItsRecordsWithWhoeverCopiesAPointerOut) {
    std::ofstream("shared.LOG", std::ios::binary) << LogBuilder().message({}, "kept").bytes();
    auto file = std::make_shared<DataFile>("shared.LOG");
    EXPECT_EQ(file->name(), "shared.LOG");
    ASSERT_FALSE(file->empty());
    const RecordPtr first = file->front();
    EXPECT_EQ(first, (*file)[0]);
    EXPECT_EQ(first, *std::as_const(*file).begin());
    file.reset();
    EXPECT_EQ(dynamic_cast<MessageDataRecord&>(*first).message, "kept");
}

// =================================================================================================
// DataRecord: constants and enumerations
// =================================================================================================

static_assert(is<const uint16_t>(&DataRecord::seriesCells) && DataRecord::seriesCells == 7);
static_assert(is<const uint16_t>(&DataRecord::temperatureSensors) &&
              DataRecord::temperatureSensors == 1);

static_assert(std::is_unsigned_v<std::underlying_type_t<DataRecord::Type>>);
static_assert(same<decltype(DataRecord::garble), DataRecord::Type>);
static_assert(DataRecord::garble == 0);
static_assert(DataRecord::staticInfoRecordId == 1);
static_assert(DataRecord::dynamicInfoRecordId == 2);
static_assert(DataRecord::faultRecordId == 3);
static_assert(DataRecord::shockRecordId == 4);
static_assert(DataRecord::messageRecordId == 5);
static_assert(DataRecord::bmcFirmwareVersionRecordId == 6);
static_assert(DataRecord::advancedSocRecordId == 7);
static_assert(DataRecord::measuredCurrentRecordId == 8);
static_assert(DataRecord::powerModeRecordId == 9);
static_assert(DataRecord::warrantyRecordId == 10);
static_assert(DataRecord::ambientTemperatureRecordId == 11);
static_assert(DataRecord::relativeHumidityRecordId == 12);
static_assert(DataRecord::staticInfoWithAddressRecordId == 13);
static_assert(DataRecord::dynamicInfoWithAddressRecordId == 14);
static_assert(DataRecord::advancedSocWithAddressRecordId == 15);
static_assert(DataRecord::Type(255) == 255); // any byte is a type code

static_assert(same<decltype(DataRecord::January), DataRecord::Month>);
static_assert(DataRecord::January == 1);
static_assert(DataRecord::February == 2);
static_assert(DataRecord::March == 3);
static_assert(DataRecord::April == 4);
static_assert(DataRecord::May == 5);
static_assert(DataRecord::June == 6);
static_assert(DataRecord::July == 7);
static_assert(DataRecord::August == 8);
static_assert(DataRecord::September == 9);
static_assert(DataRecord::October == 10);
static_assert(DataRecord::November == 11);
static_assert(DataRecord::December == 12);

// =================================================================================================
// DataRecord: operations
// =================================================================================================

static_assert(std::is_abstract_v<DataRecord> && std::has_virtual_destructor_v<DataRecord>);

static_assert(is<RecordPtr(std::istream&)>(&DataRecord::factory));
static_assert(is<RecordPtr(DataRecord::Type)>(&DataRecord::factory));
static_assert(has<DataRecord, void()>(&DataRecord::interpret));
static_assert(has<DataRecord, DataRecord::Type() const>(&DataRecord::recordType));
static_assert(has<DataRecord, Header&()>(&DataRecord::header));
static_assert(has<DataRecord, void(Header&)>(&DataRecord::initializeHeader));
static_assert(has<DataRecord, void()>(&DataRecord::interpretPayload));

static_assert(has<DataRecord, std::string()>(&DataRecord::interpretDate));
static_assert(has<DataRecord, std::string()>(&DataRecord::interpretTime));

static_assert(has<DataRecord, void(std::ostream&)>(&DataRecord::writeCSVHeader));
static_assert(has<DataRecord, void(std::ostream&)>(&DataRecord::writeCSVHeaderText));
static_assert(has<DataRecord, void(std::ostream&)>(&DataRecord::writeBasicCSV));
static_assert(has<DataRecord, void(std::ostream&)>(&DataRecord::writeCSVTimestampedData));
static_assert(has<DataRecord, void(std::ostream&)>(&DataRecord::writeCSVTimestamp));
static_assert(has<DataRecord, void(std::ostream&)>(&DataRecord::writeCSVData));
static_assert(has<DataRecord, void(std::ostream&)>(&DataRecord::writeDatestamp));
static_assert(is<void(std::ostream&)>(&DataRecord::writeCSVTimestampHeader));
static_assert(is<void(DataRecord::Type, std::ostream&)>(&DataRecord::writeCSVHeader));
static_assert(is<void(DataRecord::Type, std::ostream&)>(&DataRecord::writeCSVHeaderText));

/// Whether payload decoders can read a number of the type.
template <typename Number>
concept ReadableNumber = requires(OpenRecord& record) {
    { record.fromBigEndian<Number>() } -> std::same_as<Number>;
};
static_assert(ReadableNumber<int8_t> && ReadableNumber<uint8_t>);
static_assert(ReadableNumber<int16_t> && ReadableNumber<uint16_t>);
static_assert(ReadableNumber<int32_t> && ReadableNumber<uint32_t>);
static_assert(ReadableNumber<float>);

/// Whether payload decoders can pass over a number of items of the type.
template <typename Item>
concept PassableItem = requires(OpenRecord& record, unsigned long n) {
    { record.skip<Item>(n) } -> std::same_as<void>;
};
static_assert(PassableItem<char> && PassableItem<unsigned char> && PassableItem<unsigned short>);

/// Whether row writers can write a number of the type as a field.
template <typename Number>
concept WritableNumber = requires(OpenRecord& record, Number value, std::ostream& os) {
    { record.writeScalar<Number>(value, os) } -> std::same_as<void>;
};
static_assert(WritableNumber<bool> && WritableNumber<float>);
static_assert(WritableNumber<int> && WritableNumber<unsigned int>);
static_assert(WritableNumber<short> && WritableNumber<unsigned short>);

/// Whether row writers can read a number of the type and write it as a field.
template <typename Number>
concept CopyableNumber = requires(OpenRecord& record, std::ostream& os) {
    { record.writeScalar<Number>(os) } -> std::same_as<Number>;
};
static_assert(CopyableNumber<unsigned short>);

static_assert(has<OpenRecord, int8_t(std::ostream&)>(&OpenRecord::writeInt8));
static_assert(has<OpenRecord, uint8_t(std::ostream&)>(&OpenRecord::writeUint8));
static_assert(has<OpenRecord, void(std::ostream&, unsigned short)>(&OpenRecord::writeString));

TEST(DataRecordInterface, startsEmptyAndNotInterpreted) {
    static_assert(has<OpenRecord, Header>(&OpenRecord::h));
    static_assert(has<OpenRecord, DataRecord::Bytes>(&OpenRecord::bytes));
    static_assert(has<OpenRecord, size_t>(&OpenRecord::position)); // an offset into the bytes
    static_assert(has<DataRecord, bool>(&DataRecord::interpreted));

    OpenRecord record;
    EXPECT_TRUE(record.h.empty());
    EXPECT_TRUE(record.bytes.empty());
    EXPECT_TRUE(record.datestamp.empty());
    EXPECT_FALSE(record.interpreted);
}

TEST(DataRecordInterface, holdsItsBytesFromTheTypeCodeOn) {
    const OpenRecord record = openRecord(bytesOf("C8 00 FF"));
    const DataRecord::Bytes& bytes = record.bytes;
    EXPECT_FALSE(bytes.empty());
    ASSERT_EQ(bytes.size(), 3U);
    static_assert(same<std::decay_t<decltype(bytes[0])>, uint8_t>);
    EXPECT_EQ(bytes[0], 0xC8);
    EXPECT_EQ(bytes[1], 0x00);
    EXPECT_EQ(bytes[2], 0xFF);
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.end()),
              (std::vector<uint8_t>{0xC8, 0x00, 0xFF}));
    EXPECT_EQ(record.recordType(), 0xC8U);
}

TEST(DataRecordInterface, readsNumbersAtItsPositionAndMovesOn) {
    OpenRecord record = openRecord(bytesOf("C8 FE FE FFFE FFFE FFFFFFFE FFFFFFFE 40490FDB "
                                           "00 00 0000 01"));
    record.position = 1;
    EXPECT_EQ(record.fromBigEndian<int8_t>(), -2);
    EXPECT_EQ(record.fromBigEndian<uint8_t>(), 254U);
    EXPECT_EQ(record.fromBigEndian<int16_t>(), -2);
    EXPECT_EQ(record.fromBigEndian<uint16_t>(), 65534U);
    EXPECT_EQ(record.position, 7U);
    EXPECT_EQ(record.fromBigEndian<int32_t>(), -2);
    EXPECT_EQ(record.fromBigEndian<uint32_t>(), 4294967294U);
    EXPECT_EQ(record.fromBigEndian<float>(), 3.14159274F);
    EXPECT_EQ(record.position, 19U);
    record.skip<char>(1);
    record.skip<unsigned char>(1);
    record.skip<unsigned short>(1);
    EXPECT_EQ(record.position, 23U);
    EXPECT_EQ(record.fromBigEndian<uint8_t>(), 1U);
}

TEST(DataRecordInterface, writesFieldsEachAfterAComma) {
    OpenRecord record = openRecord(bytesOf("C8 FFFE FF FF 41420043 05"));
    record.position = 1;
    EXPECT_EQ(written([&](std::ostream& os) {
                  record.writeScalar<bool>(true, os);
                  record.writeScalar<float>(2500000.0F, os);
                  record.writeScalar<int>(-70000, os);
                  record.writeScalar<unsigned int>(4294967295U, os);
                  record.writeScalar<short>(-2, os);
                  record.writeScalar<unsigned short>(65535, os);
                  EXPECT_EQ(record.writeScalar<unsigned short>(os), 65534U);
                  EXPECT_EQ(record.writeInt8(os), -1);
                  EXPECT_EQ(record.writeUint8(os), 255U);
                  record.writeString(os, 4);
                  EXPECT_EQ(record.writeUint8(os), 5U);
              }),
              ",1,2.5e+06,-70000,4294967295,-2,65535,65534,-1,255,AB,5");
}

/// Overrides all that can be overridden, and says which of it was called.
class OverridingRecord : public DataRecord {
public:
    explicit OverridingRecord(std::string& log) : calls(log) {}
    ~OverridingRecord() override { calls += "destroyed "; }
    OverridingRecord(const OverridingRecord&) = delete;
    OverridingRecord& operator=(const OverridingRecord&) = delete;

    void initializeHeader(Header& /*names*/) override { calls += "initializeHeader "; }
    void interpretPayload() override { calls += "interpretPayload "; }
    void writeCSVHeader(std::ostream& /*os*/) override { calls += "writeCSVHeader "; }
    void writeCSVHeaderText(std::ostream& /*os*/) override { calls += "writeCSVHeaderText "; }
    void writeBasicCSV(std::ostream& /*os*/) override { calls += "writeBasicCSV "; }

private:
    std::string& calls;
};

TEST(DataRecordInterface, letsItsDescendantsOverrideHeaderPayloadAndFields) {
    std::string calls;
    RecordPtr record = std::make_shared<OverridingRecord>(calls);
    record->header();
    record->interpret();
    std::ostringstream os;
    record->writeCSVHeader(os);
    record->writeCSVHeaderText(os);
    record->writeCSVTimestampedData(os);
    record.reset();
    EXPECT_EQ(calls, "initializeHeader interpretPayload writeCSVHeader writeCSVHeaderText "
                     "writeBasicCSV destroyed ");
}

/// Has its own of all that is the same for every record.
class HidingRecord : public OpenRecord {
public:
    void interpret() { ++calls; }
    Type recordType() const { return Type(++calls); }
    Header& header() { return ++calls, h; }
    std::string interpretDate() { return ++calls, "date"; }
    std::string interpretTime() { return ++calls, "time"; }
    unsigned short daysPerYear(unsigned short /*year*/) { return ++calls, 1; }
    bool isLeapYear(unsigned short /*year*/) { return ++calls != 0; }
    unsigned short daysPerMonth(unsigned short /*month*/, unsigned short /*year*/) {
        return ++calls, 1;
    }
    void writeCSVTimestampedData(std::ostream& /*os*/) { ++calls; }
    void writeCSVTimestamp(std::ostream& /*os*/) { ++calls; }
    void writeCSVData(std::ostream& /*os*/) { ++calls; }
    void writeDatestamp(std::ostream& /*os*/) { ++calls; }

    mutable unsigned calls = 0;
};

TEST(DataRecordInterface, isTheSameForEveryRecordInAllElse) {
    HidingRecord hiding;
    DataRecord& record = hiding;
    std::ostringstream os;
    record.interpret();
    record.recordType();
    record.header();
    record.interpretDate();
    record.interpretTime();
    record.daysPerYear(2020);
    record.isLeapYear(2020);
    record.daysPerMonth(1, 2020);
    record.writeCSVTimestampedData(os);
    record.writeCSVTimestamp(os);
    record.writeCSVData(os);
    record.writeDatestamp(os);
    EXPECT_EQ(hiding.calls, 0U);
}

TEST(DataRecordInterface, copiesEverythingIntoACopy) {
    OpenRecord record = openRecord(bytesOf("C8 00000000 0000 41"));
    record.interpret();
    record.h.addName("A");
    record.position = 3;

    const OpenRecord copy = record;
    OpenRecord assigned;
    assigned = record;
    for (const OpenRecord& other : {copy, assigned}) {
        EXPECT_THAT(other.h.columnNames(), ElementsAre("A"));
        EXPECT_EQ(std::vector<uint8_t>(other.bytes.begin(), other.bytes.end()),
                  std::vector<uint8_t>(record.bytes.begin(), record.bytes.end()));
        EXPECT_EQ(other.position, 3U);
        EXPECT_EQ(other.datestamp, "1984-01-01 00:00:00.0");
        EXPECT_TRUE(other.interpreted);
    }
}

// =================================================================================================
// DataRecord: datestamps
// =================================================================================================

using DatestampText = decltype(DataRecord::datestamp);

static_assert(std::is_default_constructible_v<DatestampText>);
static_assert(std::is_copy_constructible_v<DatestampText>);
static_assert(std::is_copy_assignable_v<DatestampText>);
static_assert(std::is_constructible_v<DatestampText, const std::string&>);
static_assert(std::is_constructible_v<DatestampText, const char*>);
static_assert(std::is_assignable_v<DatestampText&, const std::string&>);
static_assert(std::is_assignable_v<DatestampText&, const char*>);
static_assert(std::is_convertible_v<const DatestampText&, std::string>);

TEST(DatestampInterface, isBuiltFromAndAssignedFromStrings) {
    const std::string text = "2019-03-03 08:05:09.5";
    const DatestampText built(text);
    EXPECT_EQ(built, text);
    const DatestampText builtFromLiteral("2019-03-03 08:05:09.5");
    EXPECT_EQ(builtFromLiteral, text);

    OpenRecord record;
    record.datestamp = text;
    EXPECT_EQ(record.datestamp, text);
    record.datestamp = "2019-03-04 08:05:09.5";
    EXPECT_EQ(record.datestamp, "2019-03-04 08:05:09.5");
    record.datestamp = built;
    EXPECT_EQ(record.datestamp, text);
    record.datestamp = std::string();
    EXPECT_TRUE(record.datestamp.empty());

    const std::string longest = "2163-06-05 1193:02:47.295"; // the largest day and time
    record.datestamp = longest;
    EXPECT_EQ(record.datestamp, longest);
}

TEST(DatestampInterface, isConvertedToStrings) {
    const DatestampText datestamp(std::string("2019-03-03 08:05:09.5"));
    const std::string initialized = datestamp;
    EXPECT_EQ(initialized, "2019-03-03 08:05:09.5");
    const std::string constructed(datestamp);
    EXPECT_EQ(constructed, "2019-03-03 08:05:09.5");
    std::string assigned;
    assigned = datestamp;
    EXPECT_EQ(assigned, "2019-03-03 08:05:09.5");
    const auto lengthOf = [](const std::string& text) { return text.size(); };
    EXPECT_EQ(lengthOf(datestamp), 21U);
    EXPECT_EQ(written([&](std::ostream& os) { os << datestamp; }), "2019-03-03 08:05:09.5");
}

TEST(DatestampInterface, tellsItsLength) {
    const DatestampText none;
    EXPECT_TRUE(none.empty());
    static_assert(same<decltype(none.size()), size_t>);
    EXPECT_EQ(none.size(), 0U);
    const DatestampText some(std::string("2019-03-03 08:05:09.5"));
    EXPECT_FALSE(some.empty());
    EXPECT_EQ(some.size(), 21U);
}

/// Compares two texts of which the first is the lesser.
template <typename Lesser, typename Greater>
void expectOrder(const Lesser& lesser, const Greater& greater) {
    EXPECT_TRUE(lesser < greater);
    EXPECT_TRUE(lesser <= greater);
    EXPECT_TRUE(lesser != greater);
    EXPECT_FALSE(lesser == greater);
    EXPECT_FALSE(lesser > greater);
    EXPECT_FALSE(lesser >= greater);
    EXPECT_TRUE(greater > lesser);
    EXPECT_TRUE(greater >= lesser);
    EXPECT_FALSE(greater < lesser);
    EXPECT_FALSE(greater <= lesser);
}

/// Compares two texts that are the same.
template <typename First, typename Second>
void expectEquality(const First& first, const Second& second) {
    EXPECT_TRUE(first == second);
    EXPECT_TRUE(first <= second);
    EXPECT_TRUE(first >= second);
    EXPECT_FALSE(first != second);
    EXPECT_FALSE(first < second);
    EXPECT_FALSE(first > second);
}

TEST(DatestampInterface, isComparedAsTextWithItsLikeAndWithStrings) {
    // As text: month 13 is after month 12, and "10" before "9".
    const std::string first = "1984-12-31 10:00:00.0";
    const std::string second = "1984-13-01 10:00:00.0";
    const std::string third = "1984-13-01 9";
    expectOrder(DatestampText(first), DatestampText(second));
    expectOrder(DatestampText(first), second);
    expectOrder(first, DatestampText(second));
    expectOrder(DatestampText(second), third);
    expectOrder(DatestampText(first), "1984-13-01 10:00:00.0");
    expectOrder("1984-12-31 10:00:00.0", DatestampText(second));
    expectOrder(std::string("1984-12-31"), DatestampText(first)); // a date alone, before its day
    expectOrder(DatestampText(), DatestampText(first));

    expectEquality(DatestampText(first), DatestampText(first));
    expectEquality(DatestampText(first), first);
    expectEquality(first, DatestampText(first));
    expectEquality(DatestampText(first), "1984-12-31 10:00:00.0");
    expectEquality(DatestampText(), std::string());
}

TEST(DatestampInterface, isTheDateABlankAndTheTime) {
    struct {
        const char* bytes; // type code, milliseconds, day
        const char* date;
        const char* time;
    } const examples[] = {
        {"C8 00000000 0000", "1984-01-01", "00:00:00.0"},
        {"C8 01BC2B0D 322D", "2019-03-03", "08:05:09.5"},
        {"C8 05265BFF 016E", "1984-13-01", "23:59:59.999"},
        {"C8 FFFFFFFF FFFF", "2163-06-05", "1193:02:47.295"},
    };
    for (const auto& [bytes, date, time] : examples) {
        SCOPED_TRACE(bytes);
        OpenRecord record = openRecord(bytesOf(bytes));
        EXPECT_EQ(record.interpretDate(), date);
        EXPECT_EQ(record.position, 7U);
        EXPECT_EQ(record.interpretTime(), time);
        EXPECT_EQ(record.position, 7U);
        record.interpret();
        EXPECT_EQ(record.datestamp, record.interpretDate() + " " + record.interpretTime());
        EXPECT_EQ(record.datestamp, std::string(date) + " " + time);
        EXPECT_TRUE(record.interpreted);
    }
}

TEST(DatestampInterface, recordsKnowTheCalendar) {
    OpenRecord record;
    static_assert(same<decltype(record.daysPerYear(1984)), unsigned short>);
    static_assert(same<decltype(record.isLeapYear(1984)), bool>);
    static_assert(same<decltype(record.daysPerMonth(1, 1984)), unsigned short>);
    EXPECT_EQ(record.daysPerYear(2100), 366);
    EXPECT_EQ(record.daysPerYear(2019), 365);
    EXPECT_TRUE(record.isLeapYear(2100));
    EXPECT_FALSE(record.isLeapYear(2019));
    EXPECT_EQ(record.daysPerMonth(DataRecord::February, 2100), 29);
    EXPECT_EQ(record.daysPerMonth(DataRecord::February, 2019), 28);
    EXPECT_EQ(record.daysPerMonth(DataRecord::November, 2019), 30);
    EXPECT_EQ(record.daysPerMonth(13, 2019), 31);
}

// =================================================================================================
// The tree of record classes
// =================================================================================================

/// To be asserted of a class whose objects can be made, are records, and have lines that are
/// written as those of all records are.
template <typename Record, typename Base = DataRecord>
constexpr bool isARecord() {
    static_assert(std::is_base_of_v<Base, Record>);
    static_assert(std::is_convertible_v<Record*, DataRecord*>);
    static_assert(!std::is_abstract_v<Record>);
    static_assert(std::has_virtual_destructor_v<Record>);
    static_assert(std::is_default_constructible_v<Record>);
    static_assert(!isDeclaredBy<DataRecord>(&Record::initializeHeader));
    static_assert(!isDeclaredBy<DataRecord>(&Record::writeBasicCSV));
    static_assert(isDeclaredBy<DataRecord>(&Record::interpret));
    static_assert(isDeclaredBy<DataRecord>(&Record::writeCSVHeader));
    static_assert(isDeclaredBy<DataRecord>(&Record::writeCSVHeaderText));
    static_assert(isDeclaredBy<DataRecord>(&Record::writeCSVTimestampedData));
    static_assert(isDeclaredBy<DataRecord>(&Record::writeCSVTimestamp));
    static_assert(isDeclaredBy<DataRecord>(&Record::writeCSVData));
    static_assert(isDeclaredBy<DataRecord>(&Record::writeDatestamp));
    return true;
}

/// The same of a record of a log, which can be copied as well.
template <typename Record, typename Base = DataRecord>
constexpr bool isALogRecord() {
    static_assert(std::is_copy_constructible_v<Record>);
    static_assert(std::is_copy_assignable_v<Record>);
    static_assert(std::is_move_constructible_v<Record>);
    static_assert(std::is_move_assignable_v<Record>);
    return isARecord<Record, Base>();
}

/// Whether a record decodes its payload when it is interpreted.
template <typename Record>
constexpr bool decodesItsPayload = !isDeclaredBy<DataRecord>(&Record::interpretPayload);

template <typename... Records>
constexpr bool areLogRecords(std::type_identity<std::tuple<Records...>> /*list*/) {
    return (isALogRecord<Records>() && ...);
}

static_assert(areLogRecords(std::type_identity<RecordClasses>()));
static_assert(isARecord<WideDataRecord>()); // of which there is only one

static_assert(decodesItsPayload<StaticInfoDataRecord>);
static_assert(decodesItsPayload<DynamicInfoDataRecord>);
static_assert(decodesItsPayload<FaultDataRecord>);
static_assert(decodesItsPayload<ShockDataRecord>);
static_assert(decodesItsPayload<MessageDataRecord>);
static_assert(decodesItsPayload<BMCFirmwareVersionDataRecord>);
static_assert(decodesItsPayload<AdvancedSOCDataRecord>);
static_assert(decodesItsPayload<MeasuredCurrentDataRecord>);
static_assert(decodesItsPayload<PowerModeDataRecord>);
static_assert(decodesItsPayload<HumidityDataRecord>);
static_assert(!decodesItsPayload<WarrantyDataRecord>);
static_assert(!decodesItsPayload<AmbientTemperatureDataRecord>);
static_assert(!decodesItsPayload<UnknownDataRecord>);
static_assert(!decodesItsPayload<WideDataRecord>);

/// To be asserted of a class that differs from the one it descends from by nothing but the decoder
/// of a payload that begins with the module address.
template <typename WithAddress, typename Plain>
constexpr bool addsTheModuleAddressTo() {
    static_assert(sizeof(WithAddress) == sizeof(Plain)); // it adds no members
    static_assert(isDeclaredBy<WithAddress>(&WithAddress::interpretPayload));
    static_assert(!isDeclaredBy<WithAddress>(&WithAddress::initializeHeader));
    static_assert(!isDeclaredBy<WithAddress>(&WithAddress::writeBasicCSV));
    return isALogRecord<WithAddress, Plain>();
}
static_assert(
    addsTheModuleAddressTo<StaticInfoDataRecordWithModuleAddress, StaticInfoDataRecord>());
static_assert(
    addsTheModuleAddressTo<DynamicInfoDataRecordWithModuleAddress, DynamicInfoDataRecord>());
static_assert(
    addsTheModuleAddressTo<AdvancedSOCDataRecordWithModuleAddress, AdvancedSOCDataRecord>());

static_assert(sizeof(UnknownDataRecord) == sizeof(OpenRecord)); // it adds no members

TEST(RecordClasses, areFoundAgainByCheckedDowncasts) {
    const auto record = [](DataRecord::Type type) { return DataRecord::factory(type); };
    const RecordPtr staticInfo = record(DataRecord::staticInfoWithAddressRecordId);
    const RecordPtr dynamicInfo = record(DataRecord::dynamicInfoWithAddressRecordId);
    const RecordPtr soc = record(DataRecord::advancedSocWithAddressRecordId);
    EXPECT_NO_THROW(static_cast<void>(dynamic_cast<StaticInfoDataRecord&>(*staticInfo)));
    EXPECT_NO_THROW(static_cast<void>(dynamic_cast<DynamicInfoDataRecord&>(*dynamicInfo)));
    EXPECT_NO_THROW(static_cast<void>(dynamic_cast<AdvancedSOCDataRecord&>(*soc)));
    EXPECT_THROW(static_cast<void>(dynamic_cast<StaticInfoDataRecord&>(*dynamicInfo)),
                 std::bad_cast);
    EXPECT_THROW(static_cast<void>(dynamic_cast<StaticInfoDataRecordWithModuleAddress&>(
                     *record(DataRecord::staticInfoRecordId))),
                 std::bad_cast);
    EXPECT_EQ(std::dynamic_pointer_cast<FaultDataRecord>(soc), nullptr);
}

// =================================================================================================
// StaticInfoDataRecord, DynamicInfoDataRecord, AdvancedSOCDataRecord
// =================================================================================================

static_assert(has<StaticInfoDataRecord, uint16_t>(&StaticInfoDataRecord::moduleAddress));
static_assert(has<StaticInfoDataRecord, uint16_t>(&StaticInfoDataRecord::cycleCount));
static_assert(has<StaticInfoDataRecord, uint16_t>(&StaticInfoDataRecord::manufactureDate));
static_assert(has<StaticInfoDataRecord, uint16_t>(&StaticInfoDataRecord::serialNumber));
static_assert(has<StaticInfoDataRecord, uint16_t>(&StaticInfoDataRecord::seriesCells));
static_assert(has<StaticInfoDataRecord, std::string>(&StaticInfoDataRecord::deviceName));
static_assert(has<StaticInfoDataRecord, std::string>(&StaticInfoDataRecord::firmwareVersion));
static_assert(has<StaticInfoDataRecord, uint16_t>(&StaticInfoDataRecord::temperatureSensors));
static_assert(has<StaticInfoDataRecord, float>(&StaticInfoDataRecord::cumulativeChargeAs));
static_assert(has<StaticInfoDataRecord, float>(&StaticInfoDataRecord::cumulativeDischargeAs));
static_assert(has<StaticInfoDataRecord, uint8_t() const>(&StaticInfoDataRecord::moduleId));
static_assert(
    has<StaticInfoDataRecord, std::string(unsigned short)>(&StaticInfoDataRecord::interpretString));

static_assert(has<DynamicInfoDataRecord, uint16_t>(&DynamicInfoDataRecord::moduleAddress));
static_assert(has<DynamicInfoDataRecord, bool>(&DynamicInfoDataRecord::heat));
static_assert(has<DynamicInfoDataRecord, bool>(&DynamicInfoDataRecord::balance));
static_assert(has<DynamicInfoDataRecord, float>(&DynamicInfoDataRecord::packVoltage));
static_assert(has<DynamicInfoDataRecord, float>(&DynamicInfoDataRecord::current));
static_assert(has<DynamicInfoDataRecord, uint16_t>(&DynamicInfoDataRecord::soc));
static_assert(has<DynamicInfoDataRecord, uint16_t>(&DynamicInfoDataRecord::dsoc));
static_assert(same<decltype(DynamicInfoDataRecord::cellVoltage)::value_type, float>);
static_assert(same<decltype(DynamicInfoDataRecord::cellTemperature)::value_type, float>);
static_assert(has<DynamicInfoDataRecord, uint8_t() const>(&DynamicInfoDataRecord::moduleId));

static_assert(has<AdvancedSOCDataRecord, uint16_t>(&AdvancedSOCDataRecord::moduleAddress));
static_assert(has<AdvancedSOCDataRecord, uint32_t>(&AdvancedSOCDataRecord::chargeMAH));
static_assert(has<AdvancedSOCDataRecord, uint32_t>(&AdvancedSOCDataRecord::dischargeMAH));
static_assert(has<AdvancedSOCDataRecord, uint32_t>(&AdvancedSOCDataRecord::transportedCharge));
static_assert(has<AdvancedSOCDataRecord, float>(&AdvancedSOCDataRecord::soh));
static_assert(has<AdvancedSOCDataRecord, float>(&AdvancedSOCDataRecord::soc));
static_assert(has<AdvancedSOCDataRecord, uint8_t() const>(&AdvancedSOCDataRecord::moduleId));

TEST(ModuleRecords, startAsModuleOneWithoutValues) {
    const StaticInfoDataRecord staticInfo;
    EXPECT_EQ(staticInfo.moduleAddress, 1);
    EXPECT_EQ(staticInfo.deviceName, "");
    EXPECT_EQ(staticInfo.firmwareVersion, "");
    EXPECT_EQ(StaticInfoDataRecordWithModuleAddress().moduleAddress, 1);

    const DynamicInfoDataRecord dynamicInfo;
    EXPECT_EQ(dynamicInfo.moduleAddress, 1);
    EXPECT_FALSE(dynamicInfo.heat);
    EXPECT_FALSE(dynamicInfo.balance);
    EXPECT_EQ(dynamicInfo.packVoltage, 0.0F);
    EXPECT_EQ(dynamicInfo.current, 0.0F);
    EXPECT_EQ(dynamicInfo.soc, 0);
    EXPECT_EQ(dynamicInfo.dsoc, 0);
    EXPECT_EQ(dynamicInfo.cellVoltage.size(), DataRecord::seriesCells);
    EXPECT_THAT(dynamicInfo.cellVoltage, Each(0.0F));
    EXPECT_EQ(dynamicInfo.cellTemperature.size(), DataRecord::temperatureSensors);
    EXPECT_THAT(dynamicInfo.cellTemperature, Each(0.0F));
    EXPECT_EQ(DynamicInfoDataRecordWithModuleAddress().moduleAddress, 1);

    const AdvancedSOCDataRecord soc;
    EXPECT_EQ(soc.moduleAddress, 1);
    EXPECT_EQ(soc.chargeMAH, 0U);
    EXPECT_EQ(soc.dischargeMAH, 0U);
    EXPECT_EQ(soc.soh, 0.0F);
    EXPECT_EQ(soc.soc, 0.0F);
    EXPECT_EQ(AdvancedSOCDataRecordWithModuleAddress().moduleAddress, 1);
}

/// A module record that names a module of its own choice.
template <typename Record>
class OtherModule : public Record {
public:
    uint8_t moduleId() const override { return 77; }
};

template <typename Record>
void expectModuleIdFromAddressUnlessOverridden() {
    Record record;
    EXPECT_EQ(record.moduleId(), 1);
    record.moduleAddress = 0x1234;
    EXPECT_EQ(record.moduleId(), 0x34);

    const OtherModule<Record> other;
    const Record& viewedAsItsBase = other;
    EXPECT_EQ(viewedAsItsBase.moduleId(), 77);
}

TEST(ModuleRecords, tellTheLowByteOfTheirAddressUnlessADescendantSaysOtherwise) {
    expectModuleIdFromAddressUnlessOverridden<StaticInfoDataRecord>();
    expectModuleIdFromAddressUnlessOverridden<DynamicInfoDataRecord>();
    expectModuleIdFromAddressUnlessOverridden<AdvancedSOCDataRecord>();
}

// =================================================================================================
// FaultDataRecord
// =================================================================================================

static_assert(has<FaultDataRecord, uint16_t>(&FaultDataRecord::error_register));
static_assert(has<FaultDataRecord, uint16_t>(&FaultDataRecord::additional_information));
static_assert(has<FaultDataRecord, std::map<uint8_t, uint16_t>>(&FaultDataRecord::faultMap));
static_assert(has<FaultDataRecord, void(unsigned short, const char**, std::ostream&)>(
    &FaultDataRecord::interpretFault));
static_assert(has<FaultDataRecord, void(unsigned short, std::ostream&)>(
    &FaultDataRecord::interpretGeneralFault));
static_assert(has<FaultDataRecord, void(unsigned short, std::ostream&)>(
    &FaultDataRecord::interpretCurrentFault));
static_assert(has<FaultDataRecord, void(unsigned short, std::ostream&)>(
    &FaultDataRecord::interpretVoltageFault));
static_assert(has<FaultDataRecord, void(unsigned short, std::ostream&)>(
    &FaultDataRecord::interpretTemperatureFault));
static_assert(has<FaultDataRecord, void(unsigned short, std::ostream&)>(
    &FaultDataRecord::interpretCommunicationFault));
static_assert(has<FaultDataRecord, void(unsigned short, std::ostream&)>(
    &FaultDataRecord::interpretFeatureFault));

TEST(FaultRecordInterface, startsWithoutFaults) {
    const FaultDataRecord fault;
    EXPECT_EQ(fault.error_register, 0);
    EXPECT_EQ(fault.additional_information, 0);
    EXPECT_THAT(fault.faultMap, IsEmpty());
}

TEST(FaultRecordInterface, namesTheBitsOfAListThatAnEmptyTextCloses) {
    FaultDataRecord fault;
    const char* names[] = {"first", "second", "third", "", "beyond"};
    EXPECT_EQ(written([&](std::ostream& os) { fault.interpretFault(0xFFFD, names, os); }),
              ",first,third");
    EXPECT_EQ(written([&](std::ostream& os) {
                  fault.interpretGeneralFault(1, os);
                  fault.interpretCurrentFault(1, os);
                  fault.interpretVoltageFault(1, os);
                  fault.interpretTemperatureFault(1, os);
                  fault.interpretCommunicationFault(1, os);
                  fault.interpretFeatureFault(1, os);
              }),
              ",Low SOC,Charge current warning,Voltage sense wire,"
              "Cell temperature measurement error,Loss of CAN Rx,Heater error");
}

// =================================================================================================
// MessageDataRecord and TriState
// =================================================================================================

static_assert(std::is_enum_v<TriState> && std::is_convertible_v<TriState, int>);
static_assert(same<decltype(False), TriState> && False == 0);
static_assert(same<decltype(True), TriState> && True == 1);
static_assert(same<decltype(Indeterminate), TriState> && Indeterminate == 2);

static_assert(has<MessageDataRecord, std::string>(&MessageDataRecord::message));
static_assert(is<std::map<std::string, std::string>>(&MessageDataRecord::systemStates));
static_assert(has<MessageDataRecord, std::string() const>(&MessageDataRecord::systemState));
static_assert(has<MessageDataRecord, std::string() const>(&MessageDataRecord::chargeScheduleState));
static_assert(has<MessageDataRecord, TriState() const>(&MessageDataRecord::sbx));
static_assert(has<MessageDataRecord, TriState() const>(&MessageDataRecord::button));
static_assert(has<MessageDataRecord, TriState() const>(&MessageDataRecord::acPresent));
static_assert(has<MessageDataRecord, TriState() const>(&MessageDataRecord::interlock));

TEST(TriStateInterface, enumeratorsNeedNoPrefixAndConvertToTheirNumbers) {
    TriState state = Indeterminate;
    EXPECT_EQ(state, 2);
    state = TriState::False;
    EXPECT_EQ(state, 0);
    const int number = True;
    EXPECT_EQ(number, 1);
}

TEST(MessageRecordInterface, startsEmpty) {
    const MessageDataRecord message;
    EXPECT_EQ(message.message, "");
    EXPECT_EQ(message.systemState(), "");
    EXPECT_EQ(message.chargeScheduleState(), "");
    EXPECT_EQ(message.sbx(), Indeterminate);
    EXPECT_EQ(message.button(), Indeterminate);
    EXPECT_EQ(message.acPresent(), Indeterminate);
    EXPECT_EQ(message.interlock(), Indeterminate);
}

TEST(MessageRecordInterface, tableOfStatesIsEmptyUntilAHeaderIsAskedFor) {
    EXPECT_THAT(MessageDataRecord::systemStates, IsEmpty());
    MessageDataRecord().header();
    EXPECT_EQ(MessageDataRecord::systemStates.size(), 22U);
    EXPECT_EQ(MessageDataRecord::systemStates["systemState=+0"], "ST_INIT");
    EXPECT_EQ(MessageDataRecord::systemStates["systemState=+21"], "ST_UNDEFINED");
    MessageDataRecord::systemStates.clear();
}

// =================================================================================================
// The small records
// =================================================================================================

static_assert(has<ShockDataRecord, int16_t>(&ShockDataRecord::x));
static_assert(has<ShockDataRecord, int16_t>(&ShockDataRecord::y));
static_assert(has<ShockDataRecord, int16_t>(&ShockDataRecord::z));

static_assert(
    has<BMCFirmwareVersionDataRecord, std::string>(&BMCFirmwareVersionDataRecord::firmwareVersion));

static_assert(has<MeasuredCurrentDataRecord, int32_t>(&MeasuredCurrentDataRecord::current));

static_assert(has<PowerModeDataRecord, PowerModeDataRecord::eepromPowerModeFlag>(
    &PowerModeDataRecord::powerMode));
static_assert(PowerModeDataRecord::EEPROM_POWER_FLAG_RESERVE_MODE == 17);
static_assert(PowerModeDataRecord::EEPROM_POWER_FLAG_MANUAL_TRAVEL_MODE == 34);
static_assert(PowerModeDataRecord::EEPROM_POWER_FLAG_DORMANT_MODE == 51);
static_assert(PowerModeDataRecord::EEPROM_POWER_FLAG_NORMAL_MODE == 255);

static_assert(std::is_enum_v<WarrantyDataRecord::CommissioningState>);
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
static_assert(
    same<decltype(WarrantyDataRecord::UNCOMMISSIONED), WarrantyDataRecord::CommissioningState>);

static_assert(has<HumidityDataRecord, float>(&HumidityDataRecord::relativeHumidity));
static_assert(has<HumidityDataRecord, float>(&HumidityDataRecord::relativeHumidityLow));
static_assert(has<HumidityDataRecord, float>(&HumidityDataRecord::relativeHumidityHigh));
static_assert(has<HumidityDataRecord, float>(&HumidityDataRecord::relativeHumidityAverage));

TEST(SmallRecordInterface, startsWithoutTextAndMode) {
    EXPECT_EQ(BMCFirmwareVersionDataRecord().firmwareVersion, "");
    EXPECT_EQ(unsigned{PowerModeDataRecord().powerMode}, 0U); // a number: a byte prints as text
}

// =================================================================================================
// WideDataRecord
// =================================================================================================

// One parameter each.
static_assert(
    has<WideDataRecord, void(const StaticInfoDataRecord&)>(&WideDataRecord::updateStaticInfo));
static_assert(
    has<WideDataRecord, void(const DynamicInfoDataRecord&)>(&WideDataRecord::updateDynamicInfo));
static_assert(has<WideDataRecord, void(const AdvancedSOCDataRecord&)>(&WideDataRecord::updateSOC));
static_assert(
    has<WideDataRecord, void(const PowerModeDataRecord&)>(&WideDataRecord::updatePowerMode));
static_assert(has<WideDataRecord, void(const FaultDataRecord&)>(&WideDataRecord::updateFault));
static_assert(has<WideDataRecord, void(const MessageDataRecord&)>(&WideDataRecord::updateMessage));
static_assert(has<WideDataRecord, void(const BMCFirmwareVersionDataRecord&)>(
    &WideDataRecord::updateBMCFWVersion));
static_assert(
    has<WideDataRecord, void(TriState, std::ostream&) const>(&WideDataRecord::writeTriState));
static_assert(has<WideDataRecord, void(const FaultDataRecord&, std::ostream&) const>(
    &WideDataRecord::writeFault));

TEST(WideRecordInterface, startsWithTwoModulesThatSaidNothing) {
    WideDataRecord wide;
    EXPECT_TRUE(wide.datestamp.empty());
    EXPECT_EQ(wide.header().size(), 2U * 16U + 2U * 5U + 1U + 14U);
    EXPECT_EQ(wide.header().columnNames().front(), "module");
    EXPECT_EQ(wide.header().columnNames().back(), "BMU FW");
    EXPECT_EQ(fieldsOf(wide), std::string(2 * 16 + 2 * 5, ',') + // nothing of either module
                                  ",normal" + ",0,0,0,0,0,0" +   // power mode and faults
                                  ",,,,,,,,");                   // states, signals and versions
}

TEST(WideRecordInterface, takesTheDatestampOfARecordAsAString) {
    WideDataRecord wide;
    DynamicInfoDataRecord record;
    record.datestamp = std::string("2019-03-03 08:05:09.5");
    wide.updateDynamicInfo(record);
    EXPECT_EQ(wide.datestamp, "2019-03-03 08:05:09.5");
}

TEST(WideRecordInterface, writesASignalAndAFault) {
    const WideDataRecord wide;
    FaultDataRecord fault;
    fault.additional_information = 65535;
    EXPECT_EQ(written([&](std::ostream& os) {
                  wide.writeTriState(False, os);
                  wide.writeTriState(True, os);
                  wide.writeTriState(Indeterminate, os);
                  wide.writeFault(fault, os);
              }),
              ",0,1,,65535");
}

// =================================================================================================
// ConvertFile
// =================================================================================================

static_assert(is<bool>(&ConvertFile::detailEnabled));
static_assert(is<bool>(&ConvertFile::socEnabled));
static_assert(is<bool>(&ConvertFile::dynamicInfoEnabled));
static_assert(is<bool>(&ConvertFile::wideEnabled));
static_assert(is<std::string>(&ConvertFile::startDatestamp));
static_assert(is<std::string>(&ConvertFile::endDatestamp));

static_assert(is<void(const std::string&)>(&ConvertFile::enable));
static_assert(is<void()>(&ConvertFile::enableDefault));
static_assert(is<bool()>(&ConvertFile::anyEnabled));
static_assert(is<void(const std::string&)>(&ConvertFile::aggregate));
static_assert(is<bool(const std::string&)>(&ConvertFile::exists));
static_assert(is<void(const std::string&)>(&ConvertFile::openGlobalDynamicInfoStream));
static_assert(is<void(const std::string&)>(&ConvertFile::openGlobalSocStream));
static_assert(is<void(const std::string&)>(&ConvertFile::openGlobalWideStream));
static_assert(is<void(const std::string&)>(&ConvertFile::openGlobalDetailStream));
static_assert(is<bool(const RecordPtr&)>(&ConvertFile::insideDateRange));

static_assert(std::is_constructible_v<ConvertFile, const DataFile&>);
static_assert(has<ConvertFile, int()>(&ConvertFile::convert));
static_assert(
    has<ConvertFile, void(std::ofstream&, const std::string&)>(&ConvertFile::writeCSVWide));

TEST(ConvertFileInterface, startsWithoutOutputsAndWithTheDefaultRange) {
    EXPECT_FALSE(ConvertFile::detailEnabled);
    EXPECT_FALSE(ConvertFile::socEnabled);
    EXPECT_FALSE(ConvertFile::dynamicInfoEnabled);
    EXPECT_FALSE(ConvertFile::wideEnabled);
    EXPECT_FALSE(ConvertFile::anyEnabled());
    EXPECT_EQ(ConvertFile::startDatestamp, "2016-01-01");
    EXPECT_EQ(ConvertFile::endDatestamp, "2099-12-31");
}

TEST(ConvertFileInterface, comparesTheRangeWithADatestampThatWasAssigned) {
    const RecordPtr record = DataRecord::factory(DataRecord::messageRecordId);
    record->datestamp = ConvertFile::startDatestamp;
    EXPECT_TRUE(ConvertFile::insideDateRange(record));
    record->datestamp = ConvertFile::endDatestamp;
    EXPECT_TRUE(ConvertFile::insideDateRange(record));
    record->datestamp = std::string("2015-12-31 23:59:59.999");
    EXPECT_FALSE(ConvertFile::insideDateRange(record));
    record->datestamp = std::string("2099-12-31 00:00:00.0");
    EXPECT_FALSE(ConvertFile::insideDateRange(record));
}

// =================================================================================================
// Synopsis
// =================================================================================================

static_assert(Synopsis::unknown == 0);
static_assert(Synopsis::discharge == 1);
static_assert(Synopsis::charge == 2);
static_assert(same<decltype(Synopsis::charge), Synopsis::ChargeDirection>);

static_assert(std::is_default_constructible_v<Synopsis>);
static_assert(has<Synopsis, void(Synopsis::ChargeDirection)>(&Synopsis::initialize));
static_assert(has<Synopsis, void(std::ostream&)>(&Synopsis::write));

static_assert(is<Synopsis>(&synopsis)); // the one that records report to

/// Whether the reports can be made with a datestamp of this type.
template <typename Text>
concept DatesReports = requires(Synopsis& reports, const Text& datestamp,
                                Synopsis::ChargeDirection direction, uint16_t percent,
                                uint32_t charge) {
    { reports.start(datestamp, direction) } -> std::same_as<void>;
    { reports.dynamicInfo(datestamp, percent, percent) } -> std::same_as<void>;
    { reports.advancedSOC(datestamp, charge) } -> std::same_as<void>;
};
static_assert(DatesReports<std::string>);
static_assert(DatesReports<DatestampText>);

TEST(SynopsisInterface, takesTheDsocBeforeTheSoc) {
    Synopsis reports;
    reports.start(std::string("begin"), Synopsis::charge);
    reports.dynamicInfo(std::string("end"), 30, 37);
    EXPECT_EQ(written([&](std::ostream& os) { reports.write(os); }),
              "begin,end,charge,37,37,30,30,1\n");
}

} // namespace
