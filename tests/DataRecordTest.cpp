#include "DataRecord.h"

#include "LogBuilder.h"
#include "ProgramRun.h"
#include "RecordCatalogue.h"
#include "RecordClasses.h"
#include "RecordReading.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

// =================================================================================================
// Tools
// =================================================================================================

/// A record of a type of its own, with the columns A, B and C, whose inner workings are open.
class OpenRecord : public DataRecord {
public:
    OpenRecord() = default;
    explicit OpenRecord(const std::string& content) { hold(content); }

    void hold(const std::string& content) {
        bytes = {};
        bytes.append({reinterpret_cast<const uint8_t*>(content.data()), content.size()});
    }

    void initializeHeader(Header& names) override {
        ++headersBuilt;
        names.addAll(Header{"A", "B", "C"});
    }

    void interpretPayload() override {
        positionAtPayload = position;
        datestampAtPayload = std::string(datestamp);
        interpretedAtPayload = interpreted;
    }

    void writeBasicCSV(std::ostream& os) override {
        ++rowsWritten;
        os << fields;
    }

    using DataRecord::bytes;
    using DataRecord::fromBigEndian;
    using DataRecord::h;
    using DataRecord::position;
    using DataRecord::skip;
    using DataRecord::writeInt8;
    using DataRecord::writeScalar;
    using DataRecord::writeString;
    using DataRecord::writeUint8;

    std::string fields = ",1,2,3";
    int headersBuilt = 0;
    int rowsWritten = 0;
    size_t positionAtPayload = 0;
    std::string datestampAtPayload;
    bool interpretedAtPayload = false;
};

/// A record class that overrides nothing but what it must.
class PlainRecord : public DataRecord {
public:
    void writeBasicCSV(std::ostream& /*os*/) override {}
};

/// The data bytes of any record.
std::string dataOf(const DataRecord& record) {
    const DataRecord::Bytes& bytes = record.*(&OpenRecord::bytes);
    return {bytes.begin(), bytes.end()};
}

size_t positionOf(const DataRecord& record) {
    return record.*(&OpenRecord::position);
}

/// The record that the factory makes of the first frame of a log.
std::shared_ptr<DataRecord> firstRecord(const std::string& log) {
    std::istringstream stream(log);
    return DataRecord::factory(stream);
}

/// The data bytes of every record that the factory makes of a stream.
std::vector<std::string> recordsOf(std::istream& stream) {
    std::vector<std::string> records;
    while (const std::shared_ptr<DataRecord> record = DataRecord::factory(stream)) {
        records.push_back(dataOf(*record));
    }
    return records;
}

std::vector<std::string> recordsOf(const std::string& log) {
    std::istringstream stream(log);
    return recordsOf(stream);
}

/// The decoded record that consists of the data bytes.
std::shared_ptr<DataRecord> decoded(const std::string& bytes) {
    return readRecord(framed(bytes));
}

/// What is written on a new stream.
std::string written(const std::function<void(std::ostream&)>& write) {
    std::ostringstream os;
    write(os);
    return os.str();
}

/// A source whose reads fail after its last byte, as those of a broken disk do. What would follow,
/// if there is something, can be read after the first failure.
class BrokenSource : public std::streambuf {
public:
    explicit BrokenSource(const std::string& content, const std::string& next = {})
        : text(content), following(next) {
        setg(text.data(), text.data(), text.data() + text.size());
    }

protected:
    int_type underflow() override {
        setg(following.data(), following.data(), following.data() + following.size());
        throw std::ios_base::failure("read error");
    }

private:
    std::string text;
    std::string following;
};

// =================================================================================================
// Framing
// =================================================================================================

TEST(Framing, anyByteOtherThanDleIsOneDataByte) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        if (byte != 0x10) {
            const std::string data = Payload().u8(0x41).u8(byte).u8(0x42).bytes;
            EXPECT_EQ(dataOf(*firstRecord(data + bytesOf("10 03"))), data);
        }
    }
}

TEST(Framing, dleDleIsOneDataByte) {
    EXPECT_EQ(dataOf(*firstRecord(bytesOf("41 10 10 42 10 03"))), bytesOf("41 10 42"));
    EXPECT_EQ(dataOf(*firstRecord(bytesOf("41 10 10 10 10 10 03"))), bytesOf("41 10 10"));
}

TEST(Framing, dleEtxEndsTheRecordAndIsNotStored) {
    EXPECT_EQ(dataOf(*firstRecord(bytesOf("41 42 10 03 43"))), bytesOf("41 42"));
}

TEST(Framing, dleBeforeAnyOtherByteVanishesWithItAndTheRecordGoesOn) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        if (byte != 0x10 && byte != 0x03) {
            const std::string log =
                Payload().u8(0x05).u8(0x10).u8(byte).u8(0x42).u8(0x10).u8(0x03).bytes;
            EXPECT_EQ(dataOf(*firstRecord(log)), bytesOf("05 42")) << byte;
        }
    }
}

TEST(Framing, etxIsDataUnlessABareDleStandsBeforeIt) {
    EXPECT_EQ(dataOf(*firstRecord(bytesOf("41 03 10 03"))), bytesOf("41 03"));
    EXPECT_EQ(dataOf(*firstRecord(bytesOf("41 10 10 03 42 10 03"))), bytesOf("41 10 03 42"));
    EXPECT_EQ(dataOf(*firstRecord(bytesOf("41 10 42 03 43 10 03"))), bytesOf("41 03 43"));
}

TEST(Framing, aRecordBeginsAfterTheDleEtxOfTheOneBefore) {
    EXPECT_THAT(recordsOf(bytesOf("41 42 10 03 43 10 03 44 45")),
                ElementsAre(bytesOf("41 42"), bytesOf("43"), bytesOf("44 45 FF")));
}

TEST(Framing, theStreamIsLeftJustBehindTheFrame) {
    std::istringstream stream(bytesOf("41 10 10 42 10 03 43 44"));
    DataRecord::factory(stream);
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.tellg(), 6);
    EXPECT_EQ(stream.get(), 0x43);
}

TEST(Framing, damageStaysWithinTheFrameThatItTouches) {
    LogBuilder log;
    log.message(stamp(2020, 5, 4), "one").message(stamp(2020, 5, 4), "two");
    log.message(stamp(2020, 5, 4), "three");
    const std::vector<std::string> intact = recordsOf(log.bytes());
    log.flip(log.frames()[1].begin, 0xFF).remove(log.frames()[1].begin + 3);
    const std::vector<std::string> damaged = recordsOf(log.bytes());
    ASSERT_EQ(damaged.size(), intact.size());
    EXPECT_EQ(damaged[0], intact[0]);
    EXPECT_NE(damaged[1], intact[1]);
    EXPECT_EQ(damaged[2], intact[2]);
}

TEST(Framing, aLostEndOfFrameJoinsTwoRecords) {
    LogBuilder log;
    log.message({}, "one").message({}, "two");
    log.remove(log.frames()[0].end - 2, 2);
    EXPECT_THAT(recordsOf(log.bytes()),
                ElementsAre(Payload().u8(5).zeros(6).text("one").u8(5).zeros(6).text("two").bytes,
                            bytesOf("FF")));
}

TEST(Framing, aRecordMayHaveAnyLength) {
    const std::string data(300000, 'x');
    EXPECT_THAT(recordsOf(data + bytesOf("10 03")), ElementsAre(data, bytesOf("FF")));
}

/// The framing once more, a byte at a time: a log's records, the one that its end makes included.
std::vector<std::string> modelRecords(const std::string& log) {
    std::vector<std::string> records(1);
    bool afterDle = false;
    for (const char byte : log) {
        if (afterDle) {
            afterDle = false;
            if (byte == 0x10) {
                records.back() += byte;
            } else if (byte == 0x03) {
                records.emplace_back();
            }
        } else if (byte == 0x10) {
            afterDle = true;
        } else {
            records.back() += byte;
        }
    }
    if (!afterDle) {
        records.back() += bytesOf("FF");
    }
    return records;
}

TEST(Framing, framesOfEveryLengthGiveTheRecordsOfAByteAtATimeModel) {
    // Around the lengths of what is read in one go and of what a record holds within itself.
    for (const size_t around : {5U, 39U, 511U, 2 * 511U}) {
        for (size_t length = around - 4; length <= around + 4; ++length) {
            const std::string run(length, 'x');
            for (const char* between : {"", "10 10", "10 41", "10 10 10 10", "10 41 10 10"}) {
                const std::string frame = run + bytesOf(between) + run;
                for (const char* end : {"", "10", "10 03", "10 03 10", "10 03 10 10"}) {
                    const std::string log = frame + bytesOf(end);
                    ASSERT_EQ(recordsOf(log), modelRecords(log)) << length << between << end;
                    BrokenSource source(log);
                    std::istream broken(&source);
                    ASSERT_EQ(recordsOf(broken), modelRecords(log)) << length << between << end;
                }
            }
        }
    }
}

TEST(Framing, aRecordOfManyEscapesHasThemAll) {
    const size_t count = 200000;
    EXPECT_EQ(recordsOf(std::string(2 * count, '\x10') + "x" + bytesOf("10 03"))[0],
              std::string(count, '\x10') + "x");
}

TEST(Framing, aStreamThatHasFailedBeforeEndsAtOnce) {
    std::istringstream stream(bytesOf("05 41 10 03"));
    stream.setstate(std::ios::failbit);
    EXPECT_THAT(recordsOf(stream), ElementsAre(bytesOf("FF")));
}

TEST(Framing, aFileThatEndsBehindAFrameGivesOneMoreRecordOfTheByteFF) {
    std::istringstream stream(bytesOf("05 41 10 03"));
    DataRecord::factory(stream);
    ASSERT_FALSE(stream.eof());
    const std::shared_ptr<DataRecord> last = DataRecord::factory(stream);
    EXPECT_EQ(dataOf(*last), bytesOf("FF"));
    EXPECT_NE(dynamic_cast<UnknownDataRecord*>(last.get()), nullptr);
    EXPECT_TRUE(stream.eof());
}

TEST(Framing, theByteFFThatEndsAFileIsStampedAtTheBeginningOfTime) {
    const std::shared_ptr<DataRecord> last = firstRecord("");
    last->interpret();
    EXPECT_EQ(last->datestamp, "1984-01-01 00:00:00.0");
    EXPECT_EQ(lineOf(*last), "1984-01-01 00:00:00.0ff \n");
}

TEST(Framing, anEmptyFileGivesOneRecordOfTheByteFF) {
    EXPECT_THAT(recordsOf(""), ElementsAre(bytesOf("FF")));
}

TEST(Framing, aStreamAtEndOfFileGivesAnEmptyPointer) {
    std::istringstream stream(bytesOf("05 41 10 03"));
    stream.setstate(std::ios::eofbit);
    EXPECT_EQ(DataRecord::factory(stream), nullptr);
    EXPECT_EQ(DataRecord::factory(stream), nullptr);
}

TEST(Framing, theEndOfTheFileEndsItsLastRecordBehindTheByteFF) {
    EXPECT_THAT(recordsOf(bytesOf("05 41 42")), ElementsAre(bytesOf("05 41 42 FF")));
    EXPECT_THAT(recordsOf(bytesOf("05 41 10 10")), ElementsAre(bytesOf("05 41 10 FF")));
    EXPECT_THAT(recordsOf(bytesOf("05 41 10 42")), ElementsAre(bytesOf("05 41 FF")));
}

TEST(Framing, aLoneDleAtTheEndOfTheFileIsDroppedWithTheByteFF) {
    EXPECT_THAT(recordsOf(bytesOf("05 41 42 10")), ElementsAre(bytesOf("05 41 42")));
    EXPECT_THAT(recordsOf(bytesOf("05 10 03 41 10")), ElementsAre(bytesOf("05"), bytesOf("41")));
}

/// What a frame without any data byte gives, however it came about.
void expectRecordWithoutBytes(const std::string& log) {
    const std::shared_ptr<DataRecord> record = firstRecord(log);
    ASSERT_NE(record, nullptr);
    EXPECT_NE(dynamic_cast<UnknownDataRecord*>(record.get()), nullptr);
    EXPECT_EQ(dataOf(*record), "");
    EXPECT_EQ(record->recordType(), 0U);
    record->interpret();
    EXPECT_EQ(record->datestamp, "1984-01-01 00:00:00.0");
    EXPECT_EQ(lineOf(*record), "1984-01-01 00:00:00.0\n");
}

TEST(Framing, dleEtxAtOnceGivesAnUnknownRecordWithoutBytes) {
    expectRecordWithoutBytes(bytesOf("10 03 05 41 10 03"));
    EXPECT_THAT(recordsOf(bytesOf("10 03 10 03 05 10 03")),
                ElementsAre("", "", bytesOf("05"), bytesOf("FF")));
}

TEST(Framing, onlyPairsOfDleAndJunkGiveAnUnknownRecordWithoutBytes) {
    expectRecordWithoutBytes(bytesOf("10 41 10 42 10 03 05 41 10 03"));
    expectRecordWithoutBytes(bytesOf("10 41 10 42 10"));
}

TEST(Framing, aLoneDleAtTheEndBeforeAnyDataByteGivesAnUnknownRecordWithoutBytes) {
    expectRecordWithoutBytes(bytesOf("10"));
    EXPECT_THAT(recordsOf(bytesOf("05 10 03 10")), ElementsAre(bytesOf("05"), ""));
}

/// Random logs in which the bytes that framing looks at are frequent. The seed is fixed.
std::vector<std::string> randomLogs() {
    std::mt19937 random(20190303);
    const std::string frequent = bytesOf("10 10 10 03 03 FF 00 41");
    std::vector<std::string> logs;
    for (int count = 0; count < 3000; ++count) {
        std::string log;
        for (size_t length = random() % 80; length > 0; --length) {
            log += random() % 4 == 0 ? static_cast<char>(random() % 256)
                                     : frequent[random() % frequent.size()];
        }
        logs.push_back(log);
    }
    return logs;
}

TEST(Framing, randomBytesGiveTheRecordsOfAByteAtATimeModel) {
    for (const std::string& log : randomLogs()) {
        ASSERT_EQ(recordsOf(log), modelRecords(log)) << testing::PrintToString(log);
    }
}

TEST(Framing, aReadErrorEndsTheFileAsItsEndWould) {
    for (const std::string& log : randomLogs()) {
        BrokenSource source(log);
        std::istream stream(&source);
        ASSERT_EQ(recordsOf(stream), modelRecords(log)) << testing::PrintToString(log);
    }
}

TEST(Framing, aReadErrorMarksTheStreamBadAndAnEndDoesNot) {
    for (const std::string& log :
         {bytesOf(""), bytesOf("05 41"), bytesOf("05 41 10"), bytesOf("05 41 10 03")}) {
        BrokenSource source(log);
        std::istream broken(&source);
        recordsOf(broken);
        EXPECT_TRUE(broken.bad());
        EXPECT_TRUE(broken.eof());

        std::istringstream whole(log);
        recordsOf(whole);
        EXPECT_FALSE(whole.bad());
    }
}

// Whatever the number of bytes that were read before: they are read in portions of 511.
TEST(Framing, nothingIsReadAfterAReadError) {
    for (size_t length = 0; length <= 3 * 511 + 1; ++length) {
        const std::string before(length, 'a');
        BrokenSource source(before, "after" + bytesOf("10 03"));
        std::istream stream(&source);
        ASSERT_THAT(recordsOf(stream), ElementsAre(before + bytesOf("FF"))) << length;
        ASSERT_TRUE(stream.bad()) << length;
    }
}

TEST(Framing, aDirectoryThatIsReadAsALogGivesOneRecord) {
    const TemporaryDirectory directory;
    std::ifstream stream(directory.path());
    EXPECT_THAT(recordsOf(stream), ElementsAre(bytesOf("FF")));
    EXPECT_TRUE(stream.bad());
}

TEST(Framing, aStreamThatWasNeverOpenedGivesOneRecord) {
    std::ifstream stream;
    EXPECT_THAT(recordsOf(stream), ElementsAre(bytesOf("FF")));
}

// =================================================================================================
// Type codes and classes
// =================================================================================================

/// A record type and the class that belongs to it.
struct TypeRow {
    const RecordType* type;
    const std::type_info* madeClass;
    std::shared_ptr<DataRecord> (*copy)(const DataRecord&);

    DataRecord::Type code() const { return DataRecord::Type(type->code); }
};

std::ostream& operator<<(std::ostream& os, const TypeRow& row) {
    return os << row.type->className;
}

template <typename Record>
TypeRow rowOf(const RecordType& type) {
    const auto copy = [](const DataRecord& record) -> std::shared_ptr<DataRecord> {
        return std::make_shared<Record>(dynamic_cast<const Record&>(record));
    };
    return {&type, &typeid(Record), copy};
}

/// The catalogue of types, the unknown one last.
template <typename... Records>
std::vector<TypeRow> rowsOf(std::type_identity<std::tuple<Records...>> /*classes*/) {
    auto type = recordTypes().begin();
    const auto next = [&type]() -> const RecordType& {
        return type == recordTypes().end() ? unknownType() : *type++;
    };
    return {rowOf<Records>(next())...};
}

const std::vector<TypeRow>& typeRows() {
    static const std::vector<TypeRow> rows = rowsOf(std::type_identity<RecordClasses>());
    return rows;
}

bool isOfClass(const DataRecord& record, const std::type_info& expected) {
    return typeid(record) == expected;
}

TEST(TypeCodes, eachHasItsClass) {
    for (const TypeRow& row : typeRows()) {
        SCOPED_TRACE(*row.type);
        EXPECT_TRUE(isOfClass(*DataRecord::factory(row.code()), *row.madeClass));
        const std::string bytes = Payload().u8(row.type->code).zeros(6).bytes;
        const std::shared_ptr<DataRecord> read = firstRecord(framed(bytes));
        EXPECT_TRUE(isOfClass(*read, *row.madeClass));
        EXPECT_EQ(read->recordType(), row.code());
        EXPECT_EQ(dataOf(*read), bytes) << "the type code stays in front";
    }
}

TEST(TypeCodes, enumeratorsHaveTheirNumbers) {
    EXPECT_EQ(DataRecord::garble, 0U);
    EXPECT_EQ(DataRecord::staticInfoRecordId, 1U);
    EXPECT_EQ(DataRecord::dynamicInfoRecordId, 2U);
    EXPECT_EQ(DataRecord::faultRecordId, 3U);
    EXPECT_EQ(DataRecord::shockRecordId, 4U);
    EXPECT_EQ(DataRecord::messageRecordId, 5U);
    EXPECT_EQ(DataRecord::bmcFirmwareVersionRecordId, 6U);
    EXPECT_EQ(DataRecord::advancedSocRecordId, 7U);
    EXPECT_EQ(DataRecord::measuredCurrentRecordId, 8U);
    EXPECT_EQ(DataRecord::powerModeRecordId, 9U);
    EXPECT_EQ(DataRecord::warrantyRecordId, 10U);
    EXPECT_EQ(DataRecord::ambientTemperatureRecordId, 11U);
    EXPECT_EQ(DataRecord::relativeHumidityRecordId, 12U);
    EXPECT_EQ(DataRecord::staticInfoWithAddressRecordId, 13U);
    EXPECT_EQ(DataRecord::dynamicInfoWithAddressRecordId, 14U);
    EXPECT_EQ(DataRecord::advancedSocWithAddressRecordId, 15U);
}

TEST(TypeCodes, everyOtherCodeBelongsToTheUnknownRecord) {
    for (unsigned code = 0; code < 256; ++code) {
        if (std::ranges::count(recordTypes(), code, &RecordType::code) != 0) {
            continue;
        }
        const auto type = DataRecord::Type(code);
        EXPECT_TRUE(isOfClass(*DataRecord::factory(type), typeid(UnknownDataRecord))) << code;
        const auto read = firstRecord(framed(Payload().u8(code).u8(1).bytes));
        EXPECT_TRUE(isOfClass(*read, typeid(UnknownDataRecord))) << code;
        EXPECT_EQ(read->recordType(), type);
    }
}

TEST(TypeCodes, anEscapedDleInFrontIsTypeSixteen) {
    const std::shared_ptr<DataRecord> record = firstRecord(bytesOf("10 10 41 10 03"));
    EXPECT_EQ(record->recordType(), 16U);
    EXPECT_EQ(dataOf(*record), bytesOf("10 41"));
}

TEST(TypeCodes, theTypeIsTheFirstDataByteAndNotTheFirstByteOfTheFrame) {
    const std::shared_ptr<DataRecord> record = firstRecord(bytesOf("10 07 05 41 10 03"));
    EXPECT_TRUE(isOfClass(*record, typeid(MessageDataRecord)));
    EXPECT_EQ(record->recordType(), DataRecord::messageRecordId);
}

TEST(TypeCodes, theFactoryOfATypeMakesAnEmptyRecord) {
    for (unsigned code = 0; code < 256; ++code) {
        const std::shared_ptr<DataRecord> record = DataRecord::factory(DataRecord::Type(code));
        EXPECT_EQ(dataOf(*record), "");
        EXPECT_TRUE(record->datestamp.empty());
        EXPECT_FALSE(record->interpreted);
        EXPECT_EQ(record->recordType(), DataRecord::garble);
    }
}

TEST(TypeCodes, aRecordOfTheStreamFactoryIsNotInterpretedYet) {
    const std::shared_ptr<DataRecord> record =
        firstRecord(framed(bytesOf("05 00 00 00 01 00 01 41")));
    EXPECT_FALSE(record->interpreted);
    EXPECT_TRUE(record->datestamp.empty());
}

/// What a record class overrides.
struct Overrides {
    bool header;
    bool decoder;
    bool row;

    bool operator==(const Overrides&) const = default;
};

template <typename Owner, typename... Arguments>
constexpr std::type_identity<Owner> declarer(void (Owner::* /*operation*/)(Arguments...)) {
    return {};
}

template <typename Record>
constexpr Overrides overridesOf() {
    using Own = std::type_identity<Record>;
    return {std::is_same_v<decltype(declarer(&Record::initializeHeader)), Own>,
            std::is_same_v<decltype(declarer(&Record::interpretPayload)), Own>,
            std::is_same_v<decltype(declarer(&Record::writeBasicCSV)), Own>};
}

constexpr Overrides all = {true, true, true};
constexpr Overrides decoderOnly = {false, true, false};
constexpr Overrides withoutDecoder = {true, false, true};

/// All three, unless the class is one of those named here.
template <typename Record>
constexpr Overrides expectedOverrides() {
    const auto isOneOf = []<typename... Classes>(std::type_identity<Classes>... /*classes*/) {
        return (std::is_same_v<Record, Classes> || ...);
    };
    // What precedes the payload of the plain type is all that differs.
    if (isOneOf(std::type_identity<StaticInfoDataRecordWithModuleAddress>(),
                std::type_identity<DynamicInfoDataRecordWithModuleAddress>(),
                std::type_identity<AdvancedSOCDataRecordWithModuleAddress>())) {
        return decoderOnly;
    }
    // The payload is decoded while the row is written, if at all.
    if (isOneOf(std::type_identity<WarrantyDataRecord>(),
                std::type_identity<AmbientTemperatureDataRecord>(),
                std::type_identity<UnknownDataRecord>())) {
        return withoutDecoder;
    }
    return all;
}

template <typename... Records>
void expectOverrides(std::type_identity<std::tuple<Records...>> /*classes*/) {
    const auto expect = []<typename Record>(std::type_identity<Record> /*class*/) {
        EXPECT_EQ(overridesOf<Record>(), expectedOverrides<Record>()) << typeid(Record).name();
    };
    (expect(std::type_identity<Records>()), ...);
}

TEST(ClassTree, eachClassOverridesWhatItsTypeNeeds) {
    expectOverrides(std::type_identity<RecordClasses>());
    EXPECT_EQ(overridesOf<WideDataRecord>(), withoutDecoder);
}

TEST(ClassTree, aClassWithModuleAddressDerivesFromThePlainOne) {
    EXPECT_TRUE((std::is_base_of_v<StaticInfoDataRecord, StaticInfoDataRecordWithModuleAddress>));
    EXPECT_TRUE((std::is_base_of_v<DynamicInfoDataRecord, DynamicInfoDataRecordWithModuleAddress>));
    EXPECT_TRUE((std::is_base_of_v<AdvancedSOCDataRecord, AdvancedSOCDataRecordWithModuleAddress>));
}

TEST(ClassTree, theBaseIsAbstractAndCanBeDestroyedThroughItsPointer) {
    EXPECT_TRUE(std::is_abstract_v<DataRecord>);
    EXPECT_TRUE(std::has_virtual_destructor_v<DataRecord>);
}

TEST(ClassTree, theBaseNamesNoColumnsDecodesNothingAndIsNotInterpretedAtFirst) {
    PlainRecord record;
    EXPECT_FALSE(record.interpreted);
    EXPECT_TRUE(record.datestamp.empty());
    EXPECT_TRUE(record.header().empty());
    record.interpretPayload();
    EXPECT_EQ(positionOf(record), 0U);
}

TEST(ClassTree, aModuleHasSevenCellsInSeriesAndOneTemperatureSensor) {
    EXPECT_EQ(DataRecord::seriesCells, 7);
    EXPECT_EQ(DataRecord::temperatureSensors, 1);
    EXPECT_TRUE((std::is_same_v<decltype(DataRecord::seriesCells), const unsigned short>));
    EXPECT_TRUE((std::is_same_v<decltype(DataRecord::temperatureSensors), const unsigned short>));
}

// =================================================================================================
// Reading a record's bytes
// =================================================================================================

/// Reads a number at the beginning of the bytes, and looks where that leaves the cursor.
template <typename T>
T readFrom(const std::string& bytes) {
    OpenRecord record(bytesOf(bytes));
    const T value = record.fromBigEndian<T>();
    EXPECT_EQ(record.position, std::min(sizeof(T), record.bytes.size()));
    return value;
}

TEST(Reading, numbersAreBigEndianAndMoveTheCursorByTheirWidth) {
    EXPECT_EQ(readFrom<int8_t>("7F 55"), 127);
    EXPECT_EQ(readFrom<int8_t>("80 55"), -128);
    EXPECT_EQ(readFrom<int8_t>("FF 55"), -1);
    EXPECT_EQ(readFrom<uint8_t>("FF 55"), 255);
    EXPECT_EQ(readFrom<int16_t>("01 02 55"), 258);
    EXPECT_EQ(readFrom<int16_t>("FF 9C 55"), -100);
    EXPECT_EQ(readFrom<int16_t>("80 00 55"), -32768);
    EXPECT_EQ(readFrom<uint16_t>("01 02 55"), 258);
    EXPECT_EQ(readFrom<uint16_t>("FF FE 55"), 65534);
    EXPECT_EQ(readFrom<int32_t>("01 02 03 04 55"), 16909060);
    EXPECT_EQ(readFrom<int32_t>("FF FF FF FE 55"), -2);
    EXPECT_EQ(readFrom<int32_t>("80 00 00 00 55"), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(readFrom<uint32_t>("01 02 03 04 55"), 16909060U);
    EXPECT_EQ(readFrom<uint32_t>("FF FF FF FF 55"), 4294967295U);
}

TEST(Reading, floatsAreIeeeSinglePrecisionBitPatterns) {
    EXPECT_EQ(readFrom<float>("3F 80 00 00 55"), 1.0F);
    EXPECT_EQ(readFrom<float>("C1 20 00 00 55"), -10.0F);
    EXPECT_EQ(readFrom<float>("40 49 0F DB 55"), 3.14159265F);
    EXPECT_EQ(readFrom<float>("00 00 00 01 55"), std::numeric_limits<float>::denorm_min());
    EXPECT_EQ(readFrom<float>("7F 80 00 00 55"), std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(readFrom<float>("7F C0 00 00 55")));
}

TEST(Reading, numbersFollowEachOther) {
    OpenRecord record(bytesOf("01 02 03 04 05 06 07"));
    EXPECT_EQ(record.fromBigEndian<uint8_t>(), 0x01);
    EXPECT_EQ(record.fromBigEndian<uint32_t>(), 0x02030405U);
    EXPECT_EQ(record.fromBigEndian<uint16_t>(), 0x0607);
    EXPECT_EQ(record.position, 7U);
}

TEST(Reading, eachMissingByteIsZeroAndTheCursorStopsAtTheEnd) {
    EXPECT_EQ(readFrom<int8_t>(""), 0);
    EXPECT_EQ(readFrom<uint8_t>(""), 0);
    EXPECT_EQ(readFrom<int16_t>(""), 0);
    EXPECT_EQ(readFrom<uint16_t>(""), 0);
    EXPECT_EQ(readFrom<int32_t>(""), 0);
    EXPECT_EQ(readFrom<int32_t>("80"), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(readFrom<int32_t>("FF FF"), -65536);
    EXPECT_EQ(readFrom<int32_t>("00 00 01"), 256);
    EXPECT_EQ(readFrom<uint32_t>(""), 0U);
    EXPECT_EQ(readFrom<uint32_t>("01"), 0x01000000U);
    EXPECT_EQ(readFrom<uint32_t>("01 02"), 0x01020000U);
    EXPECT_EQ(readFrom<uint32_t>("01 02 03"), 0x01020300U);
    EXPECT_EQ(readFrom<float>(""), 0.0F);
    EXPECT_EQ(readFrom<float>("40"), 2.0F);
    EXPECT_EQ(readFrom<float>("3F 80"), 1.0F);
    EXPECT_EQ(readFrom<float>("C1 20 00"), -10.0F);
}

TEST(Reading, aSixteenBitNumberWithOneByteLeftKeepsItAsItsHighHalf) {
    EXPECT_EQ(readFrom<uint16_t>("AB"), 0xAB00);
    EXPECT_EQ(readFrom<int16_t>("FF"), -256);
}

TEST(Reading, readsBehindTheEndGoOnGivingZero) {
    OpenRecord record(bytesOf("AB"));
    EXPECT_EQ(record.fromBigEndian<uint16_t>(), 0xAB00);
    EXPECT_EQ(record.fromBigEndian<uint32_t>(), 0U);
    EXPECT_EQ(record.fromBigEndian<float>(), 0.0F);
    EXPECT_EQ(record.fromBigEndian<uint8_t>(), 0);
    EXPECT_EQ(record.position, 1U);
}

/// Where a skip of n values leaves the cursor of a record that has the given length.
template <typename T>
size_t positionAfterSkip(size_t length, unsigned long n) {
    OpenRecord record(std::string(length, 'x'));
    record.skip<T>(n);
    return record.position;
}

TEST(Reading, skipMovesTheCursorByTheWidthOfEachValue) {
    EXPECT_EQ(positionAfterSkip<char>(10, 0), 0U);
    EXPECT_EQ(positionAfterSkip<char>(10, 3), 3U);
    EXPECT_EQ(positionAfterSkip<char>(10, 10), 10U);
    EXPECT_EQ(positionAfterSkip<unsigned char>(10, 3), 3U);
    EXPECT_EQ(positionAfterSkip<unsigned short>(10, 0), 0U);
    EXPECT_EQ(positionAfterSkip<unsigned short>(10, 3), 6U);
    EXPECT_EQ(positionAfterSkip<unsigned short>(10, 5), 10U);
    EXPECT_EQ(positionAfterSkip<unsigned short>(9, 3), 6U);
    EXPECT_EQ(positionAfterSkip<unsigned short>(9, 4), 8U) << "one byte is left";
}

TEST(Reading, skipStopsAtTheEnd) {
    const unsigned long most = std::numeric_limits<unsigned long>::max();
    EXPECT_EQ(positionAfterSkip<char>(10, 11), 10U);
    EXPECT_EQ(positionAfterSkip<char>(10, most), 10U);
    EXPECT_EQ(positionAfterSkip<unsigned char>(10, 11), 10U);
    EXPECT_EQ(positionAfterSkip<unsigned char>(10, most), 10U);
    EXPECT_EQ(positionAfterSkip<unsigned short>(10, 6), 10U);
    EXPECT_EQ(positionAfterSkip<unsigned short>(9, 5), 9U);
    EXPECT_EQ(positionAfterSkip<unsigned short>(10, most), 10U);
    EXPECT_EQ(positionAfterSkip<unsigned short>(10, most / 2 + 1), 10U);
    EXPECT_EQ(positionAfterSkip<unsigned short>(0, 1), 0U);
}

TEST(Reading, skipGoesOnFromTheCursor) {
    OpenRecord record(bytesOf("01 02 03 04 05 06"));
    record.skip<char>(1);
    record.skip<unsigned short>(1);
    EXPECT_EQ(record.fromBigEndian<uint8_t>(), 4);
    record.skip<unsigned char>(9);
    EXPECT_EQ(record.position, 6U);
}

// =================================================================================================
// interpret
// =================================================================================================

/// The data bytes in front of a payload.
std::string recordHead(unsigned type, Stamp when) {
    return Payload().u8(type).u32(when.milliseconds).u16(when.day).bytes;
}

TEST(Interpret, typeTimeDayAndPayloadStandAtTheirOffsets) {
    // 08 is the type; 01BC2B0D is 29,109,005 ms, which is 8 h 5 min 9 s and 5 ms; 322D is day
    // 12845; 000001F4 is a payload of 500.
    const std::shared_ptr<DataRecord> record = decoded(bytesOf("08 01 BC 2B 0D 32 2D 00 00 01 F4"));
    EXPECT_EQ(record->recordType(), DataRecord::measuredCurrentRecordId);
    EXPECT_EQ(lineOf(*record), "2019-03-03 08:05:09.5,500\n");
}

TEST(Interpret, thePayloadIsDecodedBehindTheDatestampWithTheCursorAtItsFirstByte) {
    OpenRecord record(bytesOf("C8 01 BC 2B 0D 32 2D 41 42"));
    record.interpret();
    EXPECT_EQ(record.positionAtPayload, 7U);
    EXPECT_EQ(record.datestampAtPayload, "2019-03-03 08:05:09.5");
    EXPECT_FALSE(record.interpretedAtPayload);
    EXPECT_TRUE(record.interpreted);
}

TEST(Interpret, eachByteThatAShortDatestampLacksIsZero) {
    // Day 322D is 12845; without its low half it is 12800 (3200), 45 days before 3 March 2019.
    // Without low bytes 01BC2B0D is 01BC2B00 (29,108,992), 01BC0000 (29,097,984) and 01000000
    // (16,777,216).
    const std::string whole = bytesOf("C8 01 BC 2B 0D 32 2D");
    const std::vector<std::string> expected = {
        "1984-01-01 00:00:00.0",   "1984-01-01 00:00:00.0",   "1984-01-01 04:39:37.216",
        "1984-01-01 08:04:57.984", "1984-01-01 08:05:08.992", "1984-01-01 08:05:09.5",
        "2019-01-17 08:05:09.5",   "2019-03-03 08:05:09.5",
    };
    for (size_t length = 0; length < expected.size(); ++length) {
        OpenRecord record(whole.substr(0, length));
        record.interpret();
        EXPECT_EQ(record.datestamp, expected[length]);
        EXPECT_EQ(record.positionAtPayload, length) << "the end of the record";
    }
}

TEST(Interpret, recordTypeIsTheFirstByteOrGarbleIfThereIsNone) {
    EXPECT_EQ(OpenRecord(bytesOf("FE 01")).recordType(), 254U);
    EXPECT_EQ(OpenRecord().recordType(), DataRecord::garble);
}

// =================================================================================================
// header, copies
// =================================================================================================

TEST(RecordHeader, headerCalledTwiceInitialisesOnce) {
    OpenRecord record;
    EXPECT_EQ(record.headersBuilt, 0);
    Header& first = record.header();
    EXPECT_EQ(record.headersBuilt, 1);
    Header& second = record.header();
    EXPECT_EQ(record.headersBuilt, 1);
    EXPECT_EQ(&first, &second);
    EXPECT_EQ(&first, &record.h);
    EXPECT_EQ(first.size(), 3U);
}

TEST(RecordHeader, aHeaderThatIsFilledAlreadyIsNotInitialised) {
    OpenRecord record;
    record.h.addName("X");
    EXPECT_EQ(written([&](std::ostream& os) { record.writeCSVHeader(os); }), "Datestamp,X\n");
    EXPECT_EQ(record.headersBuilt, 0);
}

TEST(RecordCopy, hasEveryMemberOfTheRecord) {
    OpenRecord record(bytesOf("C8 01 BC 2B 0D 32 2D 41 42"));
    record.interpret();
    record.header();
    record.skip<char>(1);

    const OpenRecord copy = record;
    OpenRecord assigned;
    assigned = record;
    for (const OpenRecord& duplicate : {copy, assigned}) {
        EXPECT_EQ(dataOf(duplicate), dataOf(record));
        EXPECT_EQ(duplicate.position, 8U);
        EXPECT_EQ(duplicate.datestamp, "2019-03-03 08:05:09.5");
        EXPECT_TRUE(duplicate.interpreted);
        EXPECT_EQ(duplicate.h.size(), 3U);
    }
}

TEST(RecordCopy, hasTheBytesOfARecordOfAnyLength) {
    OpenRecord assigned;
    for (const size_t length : {0U, 1U, 38U, 39U, 40U, 1000U, 40U, 39U, 1U, 0U}) {
        const std::string content(length, 'x');
        OpenRecord original(content);
        const OpenRecord copy = original;
        assigned = original;
        const OpenRecord& itself = assigned;
        assigned = itself;
        original.hold("other");
        EXPECT_EQ(dataOf(copy), content);
        EXPECT_EQ(dataOf(assigned), content);
    }
}

TEST(RecordCopy, isIndependentOfTheRecord) {
    OpenRecord record(bytesOf("C8 01 BC 2B 0D 32 2D 41 42"));
    record.interpret();
    OpenRecord copy = record;
    copy.header().addName("D");
    copy.datestamp = "2020-01-02 00:00:00.0";
    EXPECT_EQ(record.header().size(), 3U);
    EXPECT_EQ(record.datestamp, "2019-03-03 08:05:09.5");
    EXPECT_EQ(copy.header().size(), 4U);
}

// =================================================================================================
// Timestamps
// =================================================================================================

// Both look at the datestamp as well, which is put together in a way of its own.

std::string dateOf(unsigned day) {
    OpenRecord record(Payload().zeros(5).u16(day).bytes);
    const std::string date = record.interpretDate();
    for (int time = 0; time < 2; ++time) {
        record.interpret();
        EXPECT_EQ(record.datestamp, date + " 00:00:00.0");
    }
    return date;
}

std::string timeOf(uint32_t milliseconds) {
    OpenRecord record(Payload().zeros(1).u32(milliseconds).zeros(2).bytes);
    const std::string time = record.interpretTime();
    record.interpret();
    EXPECT_EQ(record.datestamp, "1984-01-01 " + time);
    return time;
}

TEST(Timestamps, theMonthsAreNumberedFromOne) {
    EXPECT_EQ(DataRecord::January, 1);
    EXPECT_EQ(DataRecord::February, 2);
    EXPECT_EQ(DataRecord::March, 3);
    EXPECT_EQ(DataRecord::April, 4);
    EXPECT_EQ(DataRecord::May, 5);
    EXPECT_EQ(DataRecord::June, 6);
    EXPECT_EQ(DataRecord::July, 7);
    EXPECT_EQ(DataRecord::August, 8);
    EXPECT_EQ(DataRecord::September, 9);
    EXPECT_EQ(DataRecord::October, 10);
    EXPECT_EQ(DataRecord::November, 11);
    EXPECT_EQ(DataRecord::December, 12);
}

TEST(Timestamps, dayZeroAndNoMillisecondsAreTheBeginningOf1984) {
    OpenRecord record(recordHead(200, {0, 0}));
    record.interpret();
    EXPECT_EQ(record.datestamp, "1984-01-01 00:00:00.0");
}

TEST(Timestamps, theLargestValuesGiveTheLongestText) {
    OpenRecord record(recordHead(200, {65535, 4294967295}));
    record.interpret();
    EXPECT_EQ(record.datestamp, "2163-06-05 1193:02:47.295");
    EXPECT_EQ(std::string_view(record.datestamp).size(), Datestamp::maximumLength);
}

TEST(Timestamps, monthAndDayHaveTwoDigits) {
    EXPECT_EQ(dateOf(8), "1984-01-09");
    EXPECT_EQ(dateOf(9), "1984-01-10");
    EXPECT_EQ(dateOf(31 + 29 - 1), "1984-02-29");
    EXPECT_EQ(dateOf(31 + 29), "1984-03-01");
    EXPECT_EQ(dateOf(365), "1984-12-31");
    EXPECT_EQ(dateOf(12845), "2019-03-03");
    EXPECT_EQ(dateOf(65535), "2163-06-05");
}

TEST(Timestamps, theFirstDayOfAYearBehind1984IsMonth13OfTheYearBefore) {
    EXPECT_EQ(dateOf(366), "1984-13-01");
    EXPECT_EQ(dateOf(367), "1985-01-02");
    EXPECT_EQ(dateOf(730), "1985-12-31");
    EXPECT_EQ(dateOf(731), "1985-13-01");
    EXPECT_EQ(dateOf(1460), "1987-12-31");
    EXPECT_EQ(dateOf(1461), "1987-13-01");
    EXPECT_EQ(dateOf(1462), "1988-01-02");
}

TEST(Timestamps, theYear2100HasA29February) {
    // 116 years of 365 days and 29 leap days lead to 1 January 2100, day 42369.
    EXPECT_EQ(dateOf(42369), "2099-13-01");
    EXPECT_EQ(dateOf(42369 + 31 + 27), "2100-02-28");
    EXPECT_EQ(dateOf(42369 + 31 + 28), "2100-02-29");
    EXPECT_EQ(dateOf(42369 + 31 + 29), "2100-03-01");
}

TEST(Timestamps, everyDayNumberGivesTheDateOfACalendarThatCountsOnDayByDay) {
    constexpr unsigned monthLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    unsigned year = 1984;
    unsigned month = 1;
    unsigned day = 1;
    for (unsigned number = 0; number <= 65535; ++number) {
        const bool newYear = month == 1 && day == 1 && number > 0;
        char expected[32] = {};
        (void)std::snprintf(expected, sizeof expected, "%u-%02u-%02u", newYear ? year - 1 : year,
                            newYear ? 13 : month, day);
        ASSERT_EQ(dateOf(number), expected) << number;

        const unsigned leapDay = month == 2 && year % 4 == 0 ? 1 : 0;
        if (++day > monthLengths[month - 1] + leapDay) {
            day = 1;
            if (++month > 12) {
                month = 1;
                ++year;
            }
        }
    }
}

TEST(Timestamps, aDatestampHasItsOwnDateWhateverDayWasBefore) {
    const std::map<uint16_t, std::string> dates = {
        {0, "1984-01-01"}, {366, "1984-13-01"}, {12845, "2019-03-03"}, {65535, "2163-06-05"}};
    for (const auto& [day, date] : dates) {
        for (const auto& [otherDay, otherDate] : dates) {
            OpenRecord record(recordHead(200, {day, 0}));
            OpenRecord other(recordHead(200, {otherDay, 0}));
            record.interpret();
            other.interpret();
            EXPECT_EQ(record.datestamp, date + " 00:00:00.0");
            EXPECT_EQ(other.datestamp, otherDate + " 00:00:00.0");
        }
    }
}

TEST(Timestamps, laterDaysHaveGreaterTexts) {
    std::string before;
    for (unsigned number = 0; number <= 65535; ++number) {
        const std::string date = dateOf(number);
        ASSERT_LT(before, date);
        before = date;
    }
}

TEST(Timestamps, leapYearsAreTheYearsDivisibleByFourWithoutACenturyRule) {
    for (unsigned year = 0; year <= 65535; ++year) {
        const auto number = static_cast<unsigned short>(year);
        ASSERT_EQ(DataRecord::isLeapYear(number), year % 4 == 0) << year;
        ASSERT_EQ(DataRecord::daysPerYear(number), year % 4 == 0 ? 366 : 365) << year;
    }
    EXPECT_TRUE(DataRecord::isLeapYear(2100));
}

TEST(Timestamps, monthsHaveTheirLengthsAndAnyOtherNumberHas31Days) {
    constexpr unsigned short lengths[] = {31, 31, 28, 31, 30, 31, 30, 31,
                                          31, 30, 31, 30, 31, 31, 31};
    constexpr unsigned short count = std::size(lengths);
    for (unsigned short month = 0; month < count; ++month) {
        EXPECT_EQ(DataRecord::daysPerMonth(month, 2019), lengths[month]) << month;
        EXPECT_EQ(DataRecord::daysPerMonth(month, 2020), month == 2 ? 29 : lengths[month]) << month;
    }
    EXPECT_EQ(DataRecord::daysPerMonth(2, 2100), 29);
    EXPECT_EQ(DataRecord::daysPerMonth(65535, 2019), 31);
}

TEST(Timestamps, millisecondsAreNotPadded) {
    EXPECT_EQ(timeOf(0), "00:00:00.0");
    EXPECT_EQ(timeOf(5), "00:00:00.5");
    EXPECT_EQ(timeOf(50), "00:00:00.50");
    EXPECT_EQ(timeOf(500), "00:00:00.500");
    EXPECT_EQ(timeOf(999), "00:00:00.999");
    EXPECT_EQ(timeOf(29109005), "08:05:09.5");
    EXPECT_EQ(timeOf(86399999), "23:59:59.999");
}

TEST(Timestamps, hoursGoOnBehind24) {
    EXPECT_EQ(timeOf(86400000), "24:00:00.0");
    EXPECT_EQ(timeOf(90000000), "25:00:00.0");
    EXPECT_EQ(timeOf(359999999), "99:59:59.999");
    EXPECT_EQ(timeOf(360000000), "100:00:00.0");
    EXPECT_EQ(timeOf(4294967295), "1193:02:47.295");
}

TEST(Timestamps, hoursBehind24DoNotCarryIntoTheDay) {
    OpenRecord record(recordHead(200, {12845, 90000000}));
    record.interpret();
    EXPECT_EQ(record.datestamp, "2019-03-03 25:00:00.0");
}

/// A clock that counts its units on one by one; it begins at midnight.
struct Clock {
    uint32_t hours = 0;
    uint32_t minutes = 0;
    uint32_t seconds = 0;

    std::string text(unsigned milliseconds) const {
        char text[32] = {};
        (void)std::snprintf(text, sizeof text, "%02u:%02u:%02u.%u", hours, minutes, seconds,
                            milliseconds);
        return text;
    }

    void nextSecond() {
        if (++seconds == 60) {
            seconds = 0;
            if (++minutes == 60) {
                minutes = 0;
                ++hours;
            }
        }
    }
};

TEST(Timestamps, everySecondOfThirtyHoursCarriesLikeAClock) {
    Clock clock;
    for (uint32_t second = 0; second < 30 * 3600; ++second) {
        ASSERT_EQ(timeOf(second * 1000), clock.text(0));
        ASSERT_EQ(timeOf(second * 1000 + 1), clock.text(1));
        ASSERT_EQ(timeOf(second * 1000 + 999), clock.text(999));
        clock.nextSecond();
    }
}

TEST(Timestamps, everyHourThatFitsCarriesLikeAClock) {
    for (uint32_t hour = 1; hour <= 1193; ++hour) {
        ASSERT_EQ(timeOf(hour * 3600000 - 1), (Clock{hour - 1, 59, 59}.text(999)));
        ASSERT_EQ(timeOf(hour * 3600000), (Clock{hour, 0, 0}.text(0)));
    }
}

TEST(Timestamps, theDateIsReadAtOffsetFiveAndTheTimeAtOffsetOneWhereverTheCursorStood) {
    OpenRecord record(bytesOf("C8 01 BC 2B 0D 32 2D 41 42"));
    for (const size_t start : {0U, 3U, 9U}) {
        record.position = start;
        EXPECT_EQ(record.interpretDate(), "2019-03-03");
        EXPECT_EQ(record.position, 7U);
        record.position = start;
        EXPECT_EQ(record.interpretTime(), "08:05:09.5");
        EXPECT_EQ(record.position, 7U);
    }
}

TEST(Timestamps, theTimeLeavesTheCursorAtThePayloadWhateverTheMillisecondsWere) {
    for (const uint32_t milliseconds : {0U, 1U, 999U, 1000U, 86399999U, 90000000U, 4294967295U}) {
        OpenRecord record(recordHead(200, {0, milliseconds}) + "payload");
        record.interpretTime();
        EXPECT_EQ(record.position, 7U);
    }
}

TEST(Timestamps, theDatestampIsDateBlankAndTime) {
    OpenRecord record(recordHead(99, {12845, 29109005}));
    record.interpret();
    EXPECT_EQ(record.datestamp, "2019-03-03 08:05:09.5");
    EXPECT_EQ(record.datestamp, record.interpretDate() + ' ' + record.interpretTime());
}

TEST(Timestamps, aDatestampIsUsedLikeAString) {
    Datestamp datestamp;
    EXPECT_TRUE(datestamp.empty());
    datestamp = std::string("2019-03-03 08:05:09.5");
    EXPECT_EQ(datestamp.size(), 21U);
    const std::string text = datestamp;
    EXPECT_EQ(text, "2019-03-03 08:05:09.5");
    EXPECT_EQ(datestamp, text);
    EXPECT_NE(datestamp, "2019-03-03 08:05:09.50");
    EXPECT_EQ(Datestamp(std::string_view("x")), std::string_view("x"));
    datestamp = "";
    EXPECT_TRUE(datestamp.empty());
    datestamp += "1984-01-01";
    datestamp += " 00:00:00.0";
    EXPECT_EQ(datestamp, "1984-01-01 00:00:00.0");
}

TEST(Timestamps, aDatestampIsCutToTheLongestThatThereIs) {
    const std::string longest = "2163-06-05 1193:02:47.295";
    EXPECT_EQ(Datestamp::maximumLength, longest.size());
    EXPECT_EQ(Datestamp(longest), longest);
    Datestamp datestamp = longest + "6";
    EXPECT_EQ(datestamp, longest);
    datestamp += "7";
    EXPECT_EQ(datestamp, longest);
}

TEST(Timestamps, datestampsCompareAsTexts) {
    const Datestamp newYear = "1984-13-01 00:00:00.0";
    EXPECT_LT(Datestamp("1984-12-31 23:59:59.999"), newYear);
    EXPECT_LT(newYear, Datestamp("1985-01-02 00:00:00.0"));
    EXPECT_GT(newYear, "1984-13-01");
    EXPECT_LT(newYear, std::string("1984-2"));
    EXPECT_EQ(newYear, Datestamp("1984-13-01 00:00:00.0"));
    EXPECT_LT(Datestamp("2019-03-03 100:00:00.0"), Datestamp("2019-03-03 99:00:00.0"));
    EXPECT_LT(Datestamp(), newYear);
}

TEST(Timestamps, writeDatestampWritesTheTextAsItIs) {
    OpenRecord record(recordHead(200, {12845, 29109005}));
    EXPECT_EQ(written([&](std::ostream& os) { record.writeDatestamp(os); }), "");
    record.interpret();
    const std::string text = written([&](std::ostream& os) {
        os << std::hex << std::setfill('#');
        record.writeDatestamp(os);
    });
    EXPECT_EQ(text, "2019-03-03 08:05:09.5");
}

// =================================================================================================
// CSV lines
// =================================================================================================

/// An interpreted record of 3 March 2019.
OpenRecord sample() {
    OpenRecord record(recordHead(200, {12845, 29109005}));
    record.interpret();
    return record;
}

TEST(Lines, writeCSVHeaderWritesTheDatestampColumnTheNamesAndOneLineFeed) {
    OpenRecord record;
    EXPECT_EQ(written([&](std::ostream& os) { record.writeCSVHeader(os); }), "Datestamp,A,B,C\n");
}

TEST(Lines, writeCSVHeaderTextWritesTheNamesAlone) {
    OpenRecord record;
    EXPECT_EQ(written([&](std::ostream& os) { record.writeCSVHeaderText(os); }), "A,B,C");
}

TEST(Lines, writeCSVTimestampHeaderWritesTheDatestampColumnAndItsComma) {
    EXPECT_EQ(written([](std::ostream& os) { DataRecord::writeCSVTimestampHeader(os); }),
              "Datestamp,");
}

TEST(Lines, writeCSVTimestampedDataWritesDatestampFieldsAndOneLineFeed) {
    OpenRecord record = sample();
    EXPECT_EQ(lineOf(record), "2019-03-03 08:05:09.5,1,2,3\n");
}

TEST(Lines, writeCSVTimestampWritesTheDatestampWithoutSeparator) {
    OpenRecord record = sample();
    EXPECT_EQ(written([&](std::ostream& os) { record.writeCSVTimestamp(os); }),
              "2019-03-03 08:05:09.5");
}

TEST(Lines, writeCSVDataWritesTheFieldsAndOneLineFeed) {
    OpenRecord record = sample();
    EXPECT_EQ(written([&](std::ostream& os) { record.writeCSVData(os); }), ",1,2,3\n");
}

TEST(Lines, theHeaderLineOfATypeNeedsNoRecord) {
    EXPECT_EQ(written([](std::ostream& os) {
                  DataRecord::writeCSVHeader(DataRecord::measuredCurrentRecordId, os);
              }),
              "Datestamp,measuredCurrent (mA)\n");
    EXPECT_EQ(
        written([](std::ostream& os) { DataRecord::writeCSVHeader(DataRecord::Type(200), os); }),
        "Datestamp,Unknown record type ...\n");
}

TEST(Lines, theHeaderTextOfATypeIsItsNamesAlone) {
    EXPECT_EQ(written([](std::ostream& os) {
                  DataRecord::writeCSVHeaderText(DataRecord::measuredCurrentRecordId, os);
              }),
              "measuredCurrent (mA)");
}

TEST(Lines, aRecordWithoutFieldsHasALineOfItsDatestampAlone) {
    OpenRecord record = sample();
    record.fields = "";
    EXPECT_EQ(lineOf(record), "2019-03-03 08:05:09.5\n");
}

TEST(Lines, aRecordWithoutColumnsHasAHeaderLineOfTheDatestampAlone) {
    PlainRecord record;
    EXPECT_EQ(written([&](std::ostream& os) { record.writeCSVHeader(os); }), "Datestamp,\n");
}

TEST(Lines, nothingIsQuotedOrEscaped) {
    const std::string text = "a,b \"c\"\nd;e\\";
    const auto record = decoded(recordHead(5, {}) + text);
    EXPECT_EQ(lineOf(*record), "1984-01-01 00:00:00.0," + text + ",\n");
}

TEST(Lines, eachDataLineBeginsWithDecimalIntegers) {
    const auto record = decoded(recordHead(8, {}) + bytesOf("00 00 01 F4"));
    for (const auto& base : {std::hex, std::oct, std::dec}) {
        std::ostringstream os;
        os << base;
        record->writeCSVTimestampedData(os);
        EXPECT_EQ(os.str(), "1984-01-01 00:00:00.0,500\n");
        EXPECT_EQ(os.flags() & std::ios::basefield, std::ios::dec);
    }
}

TEST(Lines, noWriterSetsWidthFillOrPrecision) {
    const auto record = decoded(recordHead(12, {}) + bytesOf("12 34 00 00 FF FF 00 01"));
    std::ostringstream os;
    os << std::setfill('#') << std::setprecision(3);
    record->writeCSVHeader(os);
    record->writeCSVTimestampedData(os);
    DataRecord::writeCSVHeader(DataRecord::messageRecordId, os);
    EXPECT_EQ(os.fill(), '#');
    EXPECT_EQ(os.precision(), 3);
    EXPECT_EQ(os.width(), 0);
    EXPECT_EQ(os.flags(), std::ostringstream().flags());
}

/// A sink that notes what had been written at each flush.
class FlushNotes : public std::stringbuf {
public:
    std::vector<std::string> flushed;

protected:
    int sync() override {
        flushed.push_back(str());
        return 0;
    }
};

TEST(Lines, eachLineIsFlushedOnceBehindItsLineFeed) {
    OpenRecord record = sample();
    FlushNotes sink;
    std::ostream os(&sink);
    const std::string header = "Datestamp,A,B,C\n";
    const std::string line = "2019-03-03 08:05:09.5,1,2,3\n";
    record.writeCSVHeader(os);
    EXPECT_THAT(sink.flushed, ElementsAre(header));
    record.writeCSVTimestampedData(os);
    EXPECT_THAT(sink.flushed, ElementsAre(header, header + line));
}

TEST(Lines, theHeaderLineOfATypeIsFlushedOnce) {
    FlushNotes sink;
    std::ostream os(&sink);
    DataRecord::writeCSVHeader(DataRecord::measuredCurrentRecordId, os);
    EXPECT_THAT(sink.flushed, ElementsAre("Datestamp,measuredCurrent (mA)\n"));
}

TEST(Lines, piecesOfALineAreNotFlushed) {
    OpenRecord record = sample();
    FlushNotes sink;
    std::ostream os(&sink);
    DataRecord::writeCSVTimestampHeader(os);
    record.writeCSVHeaderText(os);
    DataRecord::writeCSVHeaderText(DataRecord::messageRecordId, os);
    record.writeCSVTimestamp(os);
    record.writeDatestamp(os);
    EXPECT_THAT(sink.flushed, IsEmpty());
}

// =================================================================================================
// Streams that have failed
// =================================================================================================

using LineWriter = void (*)(OpenRecord&, std::ostream&);

/// Every operation that writes a line or a piece of one.
const std::vector<LineWriter> lineWriters = {
    [](OpenRecord& record, std::ostream& os) { record.writeCSVHeader(os); },
    [](OpenRecord& record, std::ostream& os) { record.writeCSVHeaderText(os); },
    [](OpenRecord& /*record*/, std::ostream& os) { DataRecord::writeCSVTimestampHeader(os); },
    [](OpenRecord& record, std::ostream& os) { record.writeCSVTimestampedData(os); },
    [](OpenRecord& record, std::ostream& os) { record.writeCSVTimestamp(os); },
    [](OpenRecord& record, std::ostream& os) { record.writeCSVData(os); },
    [](OpenRecord& /*record*/, std::ostream& os) {
        DataRecord::writeCSVHeader(DataRecord::messageRecordId, os);
    },
    [](OpenRecord& /*record*/, std::ostream& os) {
        DataRecord::writeCSVHeaderText(DataRecord::messageRecordId, os);
    },
};

TEST(FailedStreams, noWriterWritesOrFlushesAnything) {
    for (const auto state : {std::ios::failbit, std::ios::badbit}) {
        for (size_t index = 0; index < lineWriters.size(); ++index) {
            OpenRecord record = sample();
            FlushNotes sink;
            std::ostream os(&sink);
            os.setstate(state);
            lineWriters[index](record, os);
            EXPECT_EQ(sink.str(), "") << index;
            EXPECT_THAT(sink.flushed, IsEmpty()) << index;
        }
    }
}

TEST(FailedStreams, writersThatTestTheStreamAskTheRecordForNothing) {
    for (const auto state : {std::ios::failbit, std::ios::badbit}) {
        OpenRecord record = sample();
        std::ostringstream os;
        os << std::hex;
        os.setstate(state);
        record.writeCSVHeader(os);
        record.writeCSVTimestampedData(os);
        record.writeCSVData(os);
        EXPECT_EQ(record.headersBuilt, 0);
        EXPECT_EQ(record.rowsWritten, 0);
        EXPECT_EQ(os.flags() & std::ios::basefield, std::ios::hex);
    }
}

TEST(FailedStreams, theFieldsAreNotAskedForOnceTheDatestampMeetsAStreamThatWasNeverOpened) {
    OpenRecord record = sample();
    std::ofstream os;
    ASSERT_TRUE(os.good()) << "a stream that was never opened has not failed yet";
    record.writeCSVTimestampedData(os);
    EXPECT_TRUE(os.fail());
    EXPECT_EQ(record.rowsWritten, 0);
    record.writeCSVTimestampedData(os);
    EXPECT_EQ(record.rowsWritten, 0);
}

TEST(FailedStreams, theFieldsAreNotAskedForOnceTheDatestampMeetsAClosedStream) {
    const TemporaryDirectory directory;
    OpenRecord record = sample();
    std::ofstream os(directory.path() / "rows.csv");
    record.writeCSVTimestampedData(os);
    os.close();
    record.writeCSVTimestampedData(os);
    EXPECT_EQ(record.rowsWritten, 1);
    EXPECT_EQ(directory.read("rows.csv"), "2019-03-03 08:05:09.5,1,2,3\n");
}

TEST(FailedStreams, noWriterMindsAStreamThatWasNeverOpened) {
    for (const LineWriter writer : lineWriters) {
        OpenRecord record = sample();
        std::ofstream os;
        writer(record, os);
        writer(record, os);
        EXPECT_TRUE(os.fail());
    }
}

// =================================================================================================
// Field writers
// =================================================================================================

template <typename T>
std::string scalar(T value) {
    OpenRecord record;
    return written([&](std::ostream& os) { record.writeScalar<T>(value, os); });
}

TEST(FieldWriters, aBooleanIsOneOrZero) {
    EXPECT_EQ(scalar<bool>(true), ",1");
    EXPECT_EQ(scalar<bool>(false), ",0");
}

TEST(FieldWriters, aFloatHasTheDefaultNotationWithSixSignificantDigits) {
    EXPECT_EQ(scalar<float>(3.14159265F), ",3.14159");
    EXPECT_EQ(scalar<float>(2500000.0F), ",2.5e+06");
    EXPECT_EQ(scalar<float>(999999.0F), ",999999");
    EXPECT_EQ(scalar<float>(1000000.0F), ",1e+06");
    EXPECT_EQ(scalar<float>(0.0001F), ",0.0001");
    EXPECT_EQ(scalar<float>(0.00001F), ",1e-05");
    EXPECT_EQ(scalar<float>(-40.5F), ",-40.5");
    EXPECT_EQ(scalar<float>(3.0F), ",3");
    EXPECT_EQ(scalar<float>(0.0F), ",0");
    EXPECT_EQ(scalar<float>(-0.0F), ",-0");
    EXPECT_EQ(scalar<float>(std::numeric_limits<float>::infinity()), ",inf");
}

/// The float as a stream shows it that nobody has set anything on.
std::string streamed(float value) {
    std::ostringstream os;
    os << ',' << value;
    return os.str();
}

TEST(FieldWriters, aFloatHasTheTextThatAStreamGivesIt) {
    std::mt19937 random(20190303);
    for (int count = 0; count < 200000; ++count) {
        const auto value = std::bit_cast<float>(static_cast<uint32_t>(random()));
        ASSERT_EQ(scalar<float>(value), streamed(value));
    }
}

TEST(FieldWriters, aFloatHasTheTextThatAStreamGivesItAroundEveryPowerOfTenAndEveryTie) {
    const float infinity = std::numeric_limits<float>::infinity();
    for (int exponent = -44; exponent <= 38; ++exponent) {
        const auto power = static_cast<float>(std::pow(10.0, exponent));
        for (const float middle : {power, power * 0.9999995F, power * 1.000005F}) {
            float value = middle;
            for (int step = 0; step < 10; ++step) {
                value = std::nextafter(value, 0.0F);
            }
            for (int step = 0; step < 20; ++step) {
                ASSERT_EQ(scalar<float>(value), streamed(value));
                ASSERT_EQ(scalar<float>(-value), streamed(-value));
                value = std::nextafter(value, infinity);
            }
        }
    }
    for (int half = 200001; half < 2000000; half += 62) { // a digit 5 after the sixth
        for (const float divisor : {2.0F, 4.0F, 8.0F, 16.0F, 64.0F, 1024.0F}) {
            const float value = static_cast<float>(half) / divisor;
            ASSERT_EQ(scalar<float>(value), streamed(value));
        }
    }
}

TEST(FieldWriters, everyMillivoltDeciampereAndDecikelvinHasTheTextThatAStreamGivesIt) {
    for (int raw = 0; raw <= 65535; ++raw) {
        for (const double value : {raw / 1000.0, -raw / 10.0, raw / 10.0 - 273.15, raw / 100.0}) {
            ASSERT_EQ(scalar<float>(static_cast<float>(value)),
                      streamed(static_cast<float>(value)));
        }
    }
}

TEST(FieldWriters, integersAreDecimal) {
    EXPECT_EQ(scalar<int>(-2147483647 - 1), ",-2147483648");
    EXPECT_EQ(scalar<int>(500), ",500");
    EXPECT_EQ(scalar<unsigned int>(4294967295), ",4294967295");
    EXPECT_EQ(scalar<short>(-32768), ",-32768");
    EXPECT_EQ(scalar<short>(32767), ",32767");
    EXPECT_EQ(scalar<unsigned short>(65535), ",65535");
}

TEST(FieldWriters, aValueThatIsGivenLeavesTheCursorAlone) {
    OpenRecord record(bytesOf("01 02 03 04"));
    std::ostringstream os;
    record.writeScalar<bool>(true, os);
    record.writeScalar<float>(1, os);
    record.writeScalar<int>(1, os);
    record.writeScalar<unsigned int>(1, os);
    record.writeScalar<short>(1, os);
    record.writeScalar<unsigned short>(1, os);
    EXPECT_EQ(record.position, 0U);
}

TEST(FieldWriters, anUnsignedShortIsReadWrittenAndReturned) {
    OpenRecord record(bytesOf("01 02 FF FF 07"));
    std::ostringstream os;
    EXPECT_EQ(record.writeScalar<unsigned short>(os), 258);
    EXPECT_EQ(record.position, 2U);
    EXPECT_EQ(record.writeScalar<unsigned short>(os), 65535);
    EXPECT_EQ(record.position, 4U);
    EXPECT_EQ(record.writeScalar<unsigned short>(os), 0x0700) << "the high half is there";
    EXPECT_EQ(record.writeScalar<unsigned short>(os), 0) << "nothing is there";
    EXPECT_EQ(record.position, 5U);
    EXPECT_EQ(os.str(), ",258,65535,1792,0");
}

TEST(FieldWriters, writeInt8WritesASignedNumberAndNeverACharacter) {
    OpenRecord record(bytesOf("FF 41 80"));
    std::ostringstream os;
    EXPECT_EQ(record.writeInt8(os), -1);
    EXPECT_EQ(record.position, 1U);
    EXPECT_EQ(record.writeInt8(os), 65);
    EXPECT_EQ(record.writeInt8(os), -128);
    EXPECT_EQ(record.writeInt8(os), 0) << "nothing is there";
    EXPECT_EQ(record.position, 3U);
    EXPECT_EQ(os.str(), ",-1,65,-128,0");
}

TEST(FieldWriters, writeUint8WritesAnUnsignedNumberAndNeverACharacter) {
    OpenRecord record(bytesOf("FF 41"));
    std::ostringstream os;
    EXPECT_EQ(record.writeUint8(os), 255);
    EXPECT_EQ(record.position, 1U);
    EXPECT_EQ(record.writeUint8(os), 65);
    EXPECT_EQ(record.writeUint8(os), 0) << "nothing is there";
    EXPECT_EQ(record.position, 2U);
    EXPECT_EQ(os.str(), ",255,65,0");
}

/// What writeString writes of the bytes, and where it leaves the cursor.
std::pair<std::string, size_t> stringOf(const std::string& bytes, unsigned short length) {
    OpenRecord record(bytesOf(bytes));
    const std::string text = written([&](std::ostream& os) { record.writeString(os, length); });
    return {text, record.position};
}

TEST(FieldWriters, writeStringStopsAtTheZeroByteAndMovesTheCursorByTheLength) {
    EXPECT_EQ(stringOf("41 42 00 43", 4), std::pair(std::string(",AB"), size_t{4}));
    EXPECT_EQ(stringOf("00 41 42 43 44", 4), std::pair(std::string(","), size_t{4}));
    EXPECT_EQ(stringOf("41 00", 0), std::pair(std::string(",A"), size_t{0}));
}

TEST(FieldWriters, writeStringRunsOnBehindTheLengthUntilAZeroByte) {
    EXPECT_EQ(stringOf("41 42 43 44 45 00", 4), std::pair(std::string(",ABCDE"), size_t{4}));
}

TEST(FieldWriters, writeStringEndsAtTheEndOfTheRecordIfNoZeroByteIsMet) {
    EXPECT_EQ(stringOf("41 42 43 44 45 46", 4), std::pair(std::string(",ABCDEF"), size_t{4}));
    EXPECT_EQ(stringOf("41 42", 4), std::pair(std::string(",AB"), size_t{2}));
    EXPECT_EQ(stringOf("", 65535), std::pair(std::string(","), size_t{0}));
}

TEST(FieldWriters, writeStringBeginsAtTheCursor) {
    OpenRecord record(bytesOf("41 42 00 43 44 00"));
    record.position = 3;
    EXPECT_EQ(written([&](std::ostream& os) { record.writeString(os, 2); }), ",CD");
    EXPECT_EQ(record.position, 5U);
}

// =================================================================================================
// UnknownDataRecord
// =================================================================================================

TEST(UnknownRecord, hasOneColumn) {
    UnknownDataRecord record;
    EXPECT_EQ(record.header().size(), 1U);
    EXPECT_EQ(written([&](std::ostream& os) { record.writeCSVHeaderText(os); }),
              "Unknown record type ...");
}

TEST(UnknownRecord, itsRowIsADumpOfAllItsBytesWithoutAComma) {
    // The three bytes 0AFF0000 of the time are 184,483,840 ms: 51 h 14 min 43 s and 840 ms.
    const std::shared_ptr<DataRecord> record = decoded(bytesOf("C8 0A FF"));
    EXPECT_EQ(lineOf(*record), "1984-01-01 51:14:43.840c8 0a ff \n");
    EXPECT_EQ(written([&](std::ostream& os) { record->writeBasicCSV(os); }), "c8 0a ff ");
}

TEST(UnknownRecord, itsDumpCoversTypeCodeTimestampAndPayload) {
    const auto record = decoded(bytesOf("C8 01 BC 2B 0D 32 2D 00 7F"));
    EXPECT_EQ(lineOf(*record), "2019-03-03 08:05:09.5c8 01 bc 2b 0d 32 2d 00 7f \n");
}

TEST(UnknownRecord, itsDumpShowsEveryByteAsTwoLowercaseDigits) {
    std::string bytes;
    std::string expected;
    for (unsigned byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
        expected += "0123456789abcdef"[byte / 16];
        expected += "0123456789abcdef"[byte % 16];
        expected += ' ';
    }
    const auto record = decoded(bytes);
    EXPECT_EQ(written([&](std::ostream& os) { record->writeBasicCSV(os); }), expected);
}

TEST(UnknownRecord, canBeWrittenAnyNumberOfTimes) {
    const auto record = decoded(bytesOf("C8 0A FF"));
    for (int times = 0; times < 3; ++times) {
        EXPECT_EQ(written([&](std::ostream& os) { record->writeBasicCSV(os); }), "c8 0a ff ");
        EXPECT_EQ(positionOf(*record), 3U) << "the end of the record";
    }
}

TEST(UnknownRecord, leavesTheStreamInHexadecimalWithFillZero) {
    const auto record = decoded(bytesOf("C8"));
    std::ostringstream os;
    record->writeCSVTimestampedData(os);
    EXPECT_EQ(os.flags() & std::ios::basefield, std::ios::hex);
    EXPECT_EQ(os.fill(), '0');
}

TEST(UnknownRecord, theNextRecordsIntegersAreDecimalAgain) {
    const auto unknown = decoded(bytesOf("C8"));
    const auto current = decoded(recordHead(8, {}) + bytesOf("00 00 01 F4"));
    std::ostringstream os;
    for (int times = 0; times < 2; ++times) {
        unknown->writeCSVTimestampedData(os);
        current->writeCSVTimestampedData(os);
    }
    EXPECT_EQ(os.str(), "1984-01-01 00:00:00.0c8 \n"
                        "1984-01-01 00:00:00.0,500\n"
                        "1984-01-01 00:00:00.0c8 \n"
                        "1984-01-01 00:00:00.0,500\n");
}

// =================================================================================================
// What holds for every type
// =================================================================================================

/// Longer than any type's payload.
constexpr size_t longPayload = 200;

/// Printable characters, none of them twice in a row, so that a byte which is read from a wrong
/// place shows.
std::string printablePayload() {
    std::string payload;
    for (size_t index = 0; index < longPayload; ++index) {
        payload += static_cast<char>('!' + index * 7 % 94);
    }
    return payload;
}

class EveryType : public testing::TestWithParam<TypeRow> {
protected:
    static DataRecord::Type code() { return GetParam().code(); }

    /// A record of the type, its first bytes only.
    static std::string record(const std::string& payload, size_t length = std::string::npos) {
        return (recordHead(code(), {12845, 29109005}) + payload).substr(0, length);
    }
};

TEST_P(EveryType, everyPrefixOfARecordIsDecodedWithoutHarmAndWritesOneLine) {
    for (const std::string& payload :
         {printablePayload(), std::string(longPayload, '\0'), std::string(longPayload, '\xFF')}) {
        for (size_t length = 1; length <= record(payload).size(); ++length) {
            const auto decodedRecord = decoded(record(payload, length));
            EXPECT_TRUE(decodedRecord->interpreted);
            EXPECT_EQ(decodedRecord->recordType(), code());
            std::string line;
            for (int times = 0; times < 3; ++times) {
                line = lineOf(*decodedRecord);
                ASSERT_TRUE(line.starts_with(std::string(decodedRecord->datestamp)));
                ASSERT_THAT(line, EndsWith("\n"));
                ASSERT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
            }
        }
    }
}

TEST_P(EveryType, aRecordThatIsTooShortReadsAsIfZerosFollowed) {
    const RecordType& type = *GetParam().type;
    // A dump and a message show their length. So does a sample, whose current has 16 bits if the
    // record has 35 bytes.
    const bool isText = type.name == "unknown" || type.name == "message";
    const bool isSample = type.name == "dynamic-info";
    const auto showsLength = [&](size_t length) { return isText || (isSample && length == 35); };
    for (const std::string& payload : {printablePayload(), std::string(longPayload, '\xFF')}) {
        for (size_t length = 1; length <= record(payload).size(); ++length) {
            const std::string bytes = record(payload, length);
            const std::string line = lineOf(*decoded(bytes));
            const std::string paddedLine = lineOf(*decoded(bytes + std::string(longPayload, '\0')));
            ASSERT_EQ(line != paddedLine, showsLength(length)) << length << " bytes\n"
                                                               << line << paddedLine;
        }
    }
}

TEST_P(EveryType, aRecordThatWasNeverInterpretedWritesALineWithoutDatestamp) {
    const std::shared_ptr<DataRecord> record = DataRecord::factory(code());
    const std::string line = lineOf(*record);
    EXPECT_THAT(line, EndsWith("\n"));
    EXPECT_FALSE(line.starts_with("1984"));
}

TEST_P(EveryType, theHeaderLineOfTheTypeIsThatOfItsRecords) {
    const auto decodedRecord = decoded(record(printablePayload()));
    const std::string header =
        written([&](std::ostream& os) { decodedRecord->writeCSVHeader(os); });
    EXPECT_EQ(written([](std::ostream& os) { DataRecord::writeCSVHeader(code(), os); }), header);
    EXPECT_TRUE(header.starts_with("Datestamp,"));
    EXPECT_EQ(header, "Datestamp," + written([](std::ostream& os) {
                          DataRecord::writeCSVHeaderText(code(), os);
                      }) + "\n");
    EXPECT_EQ(std::count(header.begin(), header.end(), ','),
              static_cast<std::ptrdiff_t>(decodedRecord->header().size()));
}

TEST_P(EveryType, aHeaderThatIsAskedForTwiceHasItsNamesOnce) {
    const std::shared_ptr<DataRecord> record = DataRecord::factory(code());
    Header once;
    record->initializeHeader(once);
    EXPECT_FALSE(once.empty());
    EXPECT_EQ(record->header().size(), once.size());
    EXPECT_EQ(record->header().size(), once.size());
}

TEST_P(EveryType, aCopyHasTheFieldsOfItsRecordAndOutlivesIt) {
    auto original = decoded(record(printablePayload()));
    const std::string line = lineOf(*decoded(record(printablePayload())));
    const std::shared_ptr<DataRecord> copy = GetParam().copy(*original);
    original.reset();
    EXPECT_TRUE(isOfClass(*copy, *GetParam().madeClass));
    EXPECT_TRUE(copy->interpreted);
    EXPECT_EQ(copy->datestamp, "2019-03-03 08:05:09.5");
    EXPECT_EQ(copy->recordType(), code());
    EXPECT_EQ(dataOf(*copy), record(printablePayload()));
    EXPECT_EQ(lineOf(*copy), line);
}

INSTANTIATE_TEST_SUITE_P(Types, EveryType, testing::ValuesIn(typeRows()),
                         [](const auto& test) { return test.param.type->className; });

} // namespace
