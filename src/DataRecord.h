#pragma once

#include "Header.h"
#include "LineStream.h"
#include "RecordBytes.h"
#include "Synopsis.h"

#include <algorithm>
#include <array>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

/// The process-wide synopsis that decoding and writing report to. It creates "synopsis.csv" before
/// main runs and finishes it at process exit.
extern Synopsis synopsis;

/// The text of a record's time stamp, for example "2019-03-03 08:05:09.5": the only form in which
/// time is compared (byte by byte) and written. It is used like a std::string, but holds its text
/// within itself: a heap block for each of a million records costs more than the text.
class Datestamp {
public:
    /// Length of the longest text, "2163-06-05 1193:02:47.295": the largest day number and the
    /// largest time of day that a record can hold. Whatever is longer is cut off.
    static constexpr size_t maximumLength = 10 + 1 + 14;

    /// The empty text.
    Datestamp() = default;

    /// Of anything that can be seen as a text.
    template <std::convertible_to<std::string_view> T>
    Datestamp(const T& other) {
        *this += other;
    }

    Datestamp& operator+=(std::string_view added) {
        length =
            static_cast<uint8_t>(length + added.copy(text.data() + length, text.size() - length));
        return *this;
    }

    size_t size() const { return length; }
    bool empty() const { return length == 0; }

    operator std::string_view() const { return {text.data(), length}; }
    operator std::string() const { return {text.data(), length}; }

    template <std::convertible_to<std::string_view> T>
    friend bool operator==(const Datestamp& a, const T& b) {
        return std::string_view(a) == std::string_view(b);
    }
    template <std::convertible_to<std::string_view> T>
    friend std::strong_ordering operator<=>(const Datestamp& a, const T& b) {
        return std::string_view(a) <=> std::string_view(b);
    }

private:
    std::array<char, maximumLength> text = {};
    uint8_t length = 0;
};

std::ostream& operator<<(std::ostream& os, const Datestamp& datestamp);

// =================================================================================================
// DataRecord: what all records share
// =================================================================================================

/// One record of a log: its unstuffed bytes, its datestamp and, in the derived classes, its decoded
/// fields.
///
/// A record is made empty by factory(Type), gets its bytes from factory(std::istream&), is
/// interpreted once and only read and written afterwards. Decoding checks no length and rejects
/// nothing: values are decoded and written as the log holds them, and every byte that a record is
/// too short to hold reads as 0.
///
/// Records know nothing of framing but for the stream factory, and nothing of files: they write to
/// the stream they are given.
///
/// The decoded fields of the derived classes are public data, meant to be read.
class DataRecord {
public:
    /// The record type code, the first byte of every record. A code that has no enumerator is valid
    /// and belongs to an UnknownDataRecord.
    enum Type : unsigned {
        garble = 0,
        staticInfoRecordId = 1,
        dynamicInfoRecordId = 2,
        faultRecordId = 3,
        shockRecordId = 4,
        messageRecordId = 5,
        bmcFirmwareVersionRecordId = 6,
        advancedSocRecordId = 7,
        measuredCurrentRecordId = 8,
        powerModeRecordId = 9,
        warrantyRecordId = 10,
        ambientTemperatureRecordId = 11,
        relativeHumidityRecordId = 12,
        staticInfoWithAddressRecordId = 13,
        dynamicInfoWithAddressRecordId = 14,
        advancedSocWithAddressRecordId = 15
    };

    enum Month : unsigned short {
        January = 1,
        February = 2,
        March = 3,
        April = 4,
        May = 5,
        June = 6,
        July = 7,
        August = 8,
        September = 9,
        October = 10,
        November = 11,
        December = 12
    };

    using Bytes = RecordBytes;

    static constexpr unsigned short seriesCells = 7;        // cells in series per battery module
    static constexpr unsigned short temperatureSensors = 1; // temperature sensors per module

    virtual ~DataRecord() = default;

    /// Reads one framed record: all data bytes up to the end of the frame or of the stream, which
    /// is left just after the frame. The record is not interpreted yet.
    ///
    /// The result is empty only if the stream was at end of file on entry. A frame without any data
    /// byte gives an UnknownDataRecord without bytes. A read that meets the end of the stream
    /// counts as a data byte 0xFF, but for one right after a DLE, which is dropped with it; a read
    /// that fails ends the stream in the same way and marks it bad.
    static std::shared_ptr<DataRecord> factory(std::istream& stream);

    /// An empty record of the class that belongs to the type code.
    static std::shared_ptr<DataRecord> factory(Type type);

    /// Decodes the time stamp and the payload. To be called once.
    void interpret();

    /// The type code; garble for a record without bytes.
    Type recordType() const;

    /// The record's CSV column names, built when first asked for.
    Header& header();

    /// Appends the record type's column names.
    virtual void initializeHeader(Header& names);

    /// Decodes the payload; position stands at its first byte.
    virtual void interpretPayload();

    // Time stamps: a time of day in milliseconds and a day number counted from 1 January 1984. The
    // stored values are shown as they are, without time zone or daylight-saving rules.

    /// The date text of the stored day number, such as "2019-03-03". The first day of each year
    /// after 1984 comes out as month 13, day 01 of the year before.
    std::string interpretDate();

    /// The time text of the stored milliseconds, such as "08:05:09.5": the milliseconds are not
    /// padded and hours may exceed 23. Leaves position at the payload.
    std::string interpretTime();

    static unsigned short daysPerYear(unsigned short year);

    /// Divisible by 4: the controller's calendar has no century rule.
    static bool isLeapYear(unsigned short year);

    /// Days of the month, 1 to 12; 31 for any other number.
    static unsigned short daysPerMonth(unsigned short month, unsigned short year);

    // CSV lines. Fields are separated by "," and neither quoted nor escaped; every line is flushed.
    // Lines begin with the datestamp column.

    /// The whole header line.
    virtual void writeCSVHeader(std::ostream& os);

    /// The column names only: no datestamp column, no line end.
    virtual void writeCSVHeaderText(std::ostream& os);

    /// The record's data fields, each preceded by ",".
    virtual void writeBasicCSV(std::ostream& os) = 0;

    /// "Datestamp,".
    static void writeCSVTimestampHeader(std::ostream& os);

    /// The whole data line, with integers in decimal whatever the stream was set to.
    void writeCSVTimestampedData(std::ostream& os);

    /// The datestamp, with no separator.
    void writeCSVTimestamp(std::ostream& os);

    /// The data fields and the line end.
    void writeCSVData(std::ostream& os);

    /// The datestamp as it is.
    void writeDatestamp(std::ostream& os);

    /// The header line of a record type.
    static void writeCSVHeader(Type type, std::ostream& os);

    /// The column names of a record type.
    static void writeCSVHeaderText(Type type, std::ostream& os);

protected:
    DataRecord() = default;
    DataRecord(const DataRecord&) = default;
    DataRecord(DataRecord&&) = default;
    DataRecord& operator=(const DataRecord&) = default;
    DataRecord& operator=(DataRecord&&) = default;

    /// Reads a big-endian number (IEEE 754 single precision for float) at position and moves
    /// position past it. Each byte past the record's end reads as 0, and position stops at the end.
    template <typename T>
    T fromBigEndian();

    /// Moves position by n times the size of T, to the record's end at most.
    template <typename T>
    void skip(unsigned long n);

    /// The bytes from position up to the first zero byte or the record's end; moves position by
    /// length, however long the text is: a field without a zero byte runs on into the bytes after
    /// it.
    std::string_view terminatedText(unsigned short length);

    /// Places position at an offset, or at the record's end if that comes first.
    void moveTo(size_t offset);

    /// The bytes from position on.
    std::span<const uint8_t> rest() const {
        return std::span(bytes).subspan(std::min(position, bytes.size()));
    }

    // Field writers: "," and the value.

    template <typename T>
    void writeScalar(T value, std::ostream& os);

    // These read the value at position first, and return it.

    template <typename T>
    T writeScalar(std::ostream& os);
    int8_t writeInt8(std::ostream& os);
    uint8_t writeUint8(std::ostream& os);

    /// Writes the text at position up to its zero byte; moves position by length.
    void writeString(std::ostream& os, unsigned short length);

    Header h;            // filled by header()
    Bytes bytes;         // unstuffed, the type code at offset 0
    size_t position = 0; // the read cursor: an offset into bytes, so that a copy reads its own

public:
    Datestamp datestamp; // empty until interpret() ran
    bool interpreted = false;
};

/// What the records of one battery module share.
class ModuleDataRecord : public DataRecord {
public:
    /// The low 8 bits of the module address, by which the combined state tells modules apart.
    virtual uint8_t moduleId() const;

    uint16_t moduleAddress = 1; // 1 unless the payload names another
};

// The record types, in the order of their codes; a class whose payload names the module follows the
// plain one. Each has its layout beside its decoder in DataRecord.cpp.

// =================================================================================================
// 0 and all codes without a class: UnknownDataRecord
// =================================================================================================

/// A record whose type code has no class. Its row is a dump of all its bytes.
class UnknownDataRecord : public DataRecord {
public:
    void initializeHeader(Header& names) override;
    void writeBasicCSV(std::ostream& os) override;
};

// =================================================================================================
// 1 and 13: StaticInfoDataRecord
// =================================================================================================

/// One battery module as the controller knows it.
class StaticInfoDataRecord : public ModuleDataRecord {
public:
    void initializeHeader(Header& names) override;
    void interpretPayload() override;
    void writeBasicCSV(std::ostream& os) override;

    /// The text at position up to its zero byte; moves position by length.
    std::string interpretString(unsigned short length);

    uint16_t cycleCount = 0;
    uint16_t manufactureDate = 0; // the controller's code, not decoded
    uint16_t serialNumber = 0;
    uint16_t seriesCells = 0; // as the log says, unlike the constant of the same name
    std::string deviceName;
    std::string firmwareVersion;
    uint16_t temperatureSensors = 0; // as the log says, unlike the constant of the same name
    float cumulativeChargeAs = 0;    // ampere-seconds
    float cumulativeDischargeAs = 0; // ampere-seconds
};

/// The same with a payload that begins with the module address.
class StaticInfoDataRecordWithModuleAddress : public StaticInfoDataRecord {
public:
    void interpretPayload() override;
};

// =================================================================================================
// 2 and 14: DynamicInfoDataRecord
// =================================================================================================

/// The periodic measurement of one battery module.
class DynamicInfoDataRecord : public ModuleDataRecord {
public:
    void initializeHeader(Header& names) override;

    /// Decodes the payload and reports a plausible sample to the synopsis.
    void interpretPayload() override;

    void writeBasicCSV(std::ostream& os) override;

    bool heat = false;     // heater active
    bool balance = false;  // cell balancing active
    float packVoltage = 0; // volts
    float current = 0;     // amperes, signed
    uint16_t soc = 0;      // state of charge, percent
    uint16_t dsoc = 0;     // the controller's second state-of-charge figure, percent

    // Of fixed length; a std::vector would take a heap block of each of a million records.
    std::array<float, DataRecord::seriesCells> cellVoltage = {};            // volts
    std::array<float, DataRecord::temperatureSensors> cellTemperature = {}; // degrees Celsius
};

/// The same with a payload that begins with the module address.
class DynamicInfoDataRecordWithModuleAddress : public DynamicInfoDataRecord {
public:
    void interpretPayload() override;
};

// =================================================================================================
// 3: FaultDataRecord
// =================================================================================================

/// The state of one category of faults.
class FaultDataRecord : public DataRecord {
public:
    void initializeHeader(Header& names) override;
    void interpretPayload() override;

    /// The row has a field for the name of each active fault after the two columns of its header.
    void writeBasicCSV(std::ostream& os) override;

    /// Writes "," and the name for each bit that is set, from bit 0. The names are in bit order and
    /// end with an empty text; bits past it have no name.
    void interpretFault(unsigned short bits, const char** names, std::ostream& out);
    void interpretGeneralFault(unsigned short bits, std::ostream& out);
    void interpretCurrentFault(unsigned short bits, std::ostream& out);
    void interpretVoltageFault(unsigned short bits, std::ostream& out);
    void interpretTemperatureFault(unsigned short bits, std::ostream& out);
    void interpretCommunicationFault(unsigned short bits, std::ostream& out);
    void interpretFeatureFault(unsigned short bits, std::ostream& out);

    // Named as the controller names them.
    uint16_t error_register = 0;          // the fault category
    uint16_t additional_information = 0;  // the active faults, a bit each
    std::map<uint8_t, uint16_t> faultMap; // once decoded, the one category and its faults
};

// =================================================================================================
// 4: ShockDataRecord
// =================================================================================================

/// A reading of the shock sensor.
class ShockDataRecord : public DataRecord {
public:
    void initializeHeader(Header& names) override;
    void interpretPayload() override;
    void writeBasicCSV(std::ostream& os) override;

    int16_t x = 0; // raw readings
    int16_t y = 0;
    int16_t z = 0;
};

// =================================================================================================
// 5: MessageDataRecord
// =================================================================================================

/// What a message says of a signal.
enum TriState : uint8_t {
    False = 0,        // the signal's value is 0
    True = 1,         // the signal's value is not 0
    Indeterminate = 2 // the message does not carry the signal
};

/// A status message, some of which report a state or a signal as name, "=", sign and value.
class MessageDataRecord : public DataRecord {
public:
    void initializeHeader(Header& names) override;
    void interpretPayload() override;

    /// The row has the state after the text, one field more than the header. Each call reports the
    /// start of a charge or discharge period to the synopsis, if the message says so.
    void writeBasicCSV(std::ostream& os) override;

    /// The text after "systemState=+", or the empty text.
    std::string systemState() const;

    /// The text after "chargeSchedule.state = ", or the empty text.
    std::string chargeScheduleState() const;

    TriState sbx() const;
    TriState button() const;

    /// True when the "ac_no_sense" report is not 0: name and report disagree in sense, and the
    /// value is deliberately not inverted.
    TriState acPresent() const;

    TriState interlock() const;

    /// The numbering of the controller's states, by message text. Filled when the first message
    /// record's header is asked for; it documents the numbers, nothing looks anything up in it.
    static std::map<std::string, std::string> systemStates;

    std::string message;
};

// =================================================================================================
// 6: BMCFirmwareVersionDataRecord
// =================================================================================================

/// The firmware version of the battery management controller.
class BMCFirmwareVersionDataRecord : public DataRecord {
public:
    void initializeHeader(Header& names) override;
    void interpretPayload() override;
    void writeBasicCSV(std::ostream& os) override;

    std::string firmwareVersion;
};

// =================================================================================================
// 7 and 15: AdvancedSOCDataRecord
// =================================================================================================

/// The charge counters of one battery module.
class AdvancedSOCDataRecord : public ModuleDataRecord {
public:
    void initializeHeader(Header& names) override;

    /// Decodes the payload and reports the sum of both counters to the synopsis.
    void interpretPayload() override;

    /// The column headed "dsoc" holds the state of health and the one headed "soh" the state of
    /// charge: the pairing is part of the output format.
    void writeBasicCSV(std::ostream& os) override;

    uint32_t chargeMAH = 0;
    uint32_t dischargeMAH = 0;
    uint32_t transportedCharge = 0; // never filled by decoding and never written
    float soh = 0;                  // state of health, as the controller reports it
    float soc = 0;                  // state of charge, as the controller reports it
};

/// The same with a payload that begins with the module address.
class AdvancedSOCDataRecordWithModuleAddress : public AdvancedSOCDataRecord {
public:
    void interpretPayload() override;
};

// =================================================================================================
// 8: MeasuredCurrentDataRecord
// =================================================================================================

/// A single current measurement.
class MeasuredCurrentDataRecord : public DataRecord {
public:
    void initializeHeader(Header& names) override;
    void interpretPayload() override;
    void writeBasicCSV(std::ostream& os) override;

    int32_t current = 0; // milliamperes
};

// =================================================================================================
// 9: PowerModeDataRecord
// =================================================================================================

/// The controller's power mode. Every value that is not one of the first three means normal.
class PowerModeDataRecord : public DataRecord {
public:
    enum eepromPowerModeFlag : uint8_t {
        EEPROM_POWER_FLAG_RESERVE_MODE = 17,
        EEPROM_POWER_FLAG_MANUAL_TRAVEL_MODE = 34,
        EEPROM_POWER_FLAG_DORMANT_MODE = 51,
        EEPROM_POWER_FLAG_NORMAL_MODE = 255
    };

    void initializeHeader(Header& names) override;
    void interpretPayload() override;
    void writeBasicCSV(std::ostream& os) override;

    eepromPowerModeFlag powerMode = {};
};

// =================================================================================================
// 10: WarrantyDataRecord
// =================================================================================================

/// A commissioning event. It is decoded each time its row is written.
class WarrantyDataRecord : public DataRecord {
public:
    enum CommissioningState : uint8_t {
        UNCOMMISSIONED = 0,
        COMMISSIONED = 1,
        DECOMMISSIONED_VOLT_LOW = 2,
        DECOMMISSIONED_VOLT_HIGH = 3,
        DECOMMISSIONED_HIGH_TEMPERATURE = 4,
        DECOMMISSIONED_DISCHARGE_OVERCURRENT = 5,
        DECOMMISSIONED_CHARGE_OVERCURRENT = 6,
        DECOMMISSIONED_EXCESSIVE_SHOCK = 7,
        DECOMMISSIONED_SOC = 8,
        DECOMMISSIONED_RESERVE_MODE = 9,
        DECOMMISSIONED_DORMANT_TOO_LONG = 10,
        DECOMMISSIONED_WARRANTY_EXPIRED = 11,
        DECOMMISSIONED_UNKNOWN = 12
    };

    void initializeHeader(Header& names) override;

    /// The text follows the datestamp directly, without a comma.
    void writeBasicCSV(std::ostream& os) override;
};

// =================================================================================================
// 11: AmbientTemperatureDataRecord
// =================================================================================================

/// The ambient temperature. It is decoded while its row is written.
class AmbientTemperatureDataRecord : public DataRecord {
public:
    void initializeHeader(Header& names) override;

    /// Each call reads on after the values of the call before: only the first writes the record's
    /// readings.
    void writeBasicCSV(std::ostream& os) override;
};

// =================================================================================================
// 12: HumidityDataRecord
// =================================================================================================

/// The relative humidity, percent.
class HumidityDataRecord : public DataRecord {
public:
    void initializeHeader(Header& names) override;
    void interpretPayload() override;
    void writeBasicCSV(std::ostream& os) override;

    float relativeHumidity = 0;
    float relativeHumidityLow = 0;
    float relativeHumidityHigh = 0;
    float relativeHumidityAverage = 0;
};

// =================================================================================================
// WideDataRecord: no record of a log
// =================================================================================================

/// The battery's latest known state, combined from many records into one row of "wide.csv". It
/// holds copies of the records it is given, so that no log needs to be kept for it.
///
/// Its header describes modules 1 and 2. A further module adds its fields to every row from its
/// first record on, in the order of module numbers, while the header stays as it was written.
class WideDataRecord : public DataRecord {
public:
    /// Knows modules 1 and 2, whose fields stay empty until a record of theirs arrives.
    WideDataRecord();

    void initializeHeader(Header& names) override;
    void writeBasicCSV(std::ostream& os) override;

    // Each takes over what the record says; all but the static info, the firmware version and a
    // message without a state also take over the record's datestamp.

    /// Takes the first word of the firmware version, if there is one, whatever the module.
    void updateStaticInfo(const StaticInfoDataRecord& record);

    void updateDynamicInfo(const DynamicInfoDataRecord& record);
    void updateSOC(const AdvancedSOCDataRecord& record);
    void updatePowerMode(const PowerModeDataRecord& record);
    void updateFault(const FaultDataRecord& record);

    /// A system state "1" forgets all faults, signals and the charge schedule state. A message
    /// without a state leaves the datestamp alone, so that the row which follows a mere signal
    /// carries the datestamp of the record before.
    void updateMessage(const MessageDataRecord& message);

    /// Takes the third word of the version text, if there is one.
    void updateBMCFWVersion(const BMCFirmwareVersionDataRecord& record);

    /// "," and 0 or 1, or "," alone for Indeterminate.
    void writeTriState(TriState value, std::ostream& os) const;

    /// "," and the fault's bit set in decimal.
    void writeFault(const FaultDataRecord& fault, std::ostream& os) const;

private:
    /// A part of the state with the text of its fields. A row repeats most of the row before, so
    /// the text is kept until the part is changed.
    template <typename Part>
    class Kept {
    public:
        /// The part, to be changed: its text is put together anew when it is asked for next.
        Part& change() {
            isKnown = false;
            return part;
        }

        /// The text of the part's fields, from the operation that writes them.
        template <typename Write>
        std::string_view text(Write write) {
            if (!isKnown) {
                fields.restart();
                write(part, fields);
                isKnown = true;
            }
            return fields.text();
        }

    private:
        Part part;
        LineStream fields;
        bool isKnown = false;
    };

    /// What is known of the battery as a whole.
    struct Battery {
        PowerModeDataRecord powerMode;
        std::map<uint8_t, FaultDataRecord> faults; // by category
        std::string systemState;
        std::string chargeScheduleState;
        TriState sbxSense = Indeterminate;
        TriState acPresent = Indeterminate;
        TriState multifunctionButton = Indeterminate;
        TriState interlock = Indeterminate;
        std::string bmcFWVersion;
        std::string bmuFWVersion;
    };

    std::map<uint8_t, StaticInfoDataRecord> staticInfo; // nothing fills it
    std::map<uint8_t, Kept<DynamicInfoDataRecord>> dynamicInfo;
    std::map<uint8_t, Kept<AdvancedSOCDataRecord>> advancedSOC;
    Kept<Battery> battery;

    void writeBattery(Battery& state, std::ostream& os) const;
};
