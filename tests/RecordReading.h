#pragma once

#include "DataRecord.h"
#include "LogBuilder.h"

#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

static_assert(cellsPerModule == DataRecord::seriesCells,
              "the tests' number of cells stands in LogBuilder.h");

/// The bytes that a text spells in hexadecimal, two digits each; blanks are passed over.
inline std::string bytesOf(std::string_view hexadecimal) {
    std::string bytes;
    std::string digits;
    for (const char character : hexadecimal) {
        if (character != ' ') {
            digits += character;
        }
        if (digits.size() == 2) {
            bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
            digits.clear();
        }
    }
    return bytes;
}

/// A frame around data bytes.
inline std::string framed(std::string_view bytes) {
    std::string frame;
    for (const char byte : bytes) {
        frame += byte == 0x10 ? std::string(2, byte) : std::string(1, byte);
    }
    return frame + bytesOf("10 03");
}

/// The first record of a log, interpreted as the log file reader does it.
inline std::shared_ptr<DataRecord> readRecord(const std::string& log) {
    std::istringstream stream(log);
    std::shared_ptr<DataRecord> record = DataRecord::factory(stream);
    record->interpret();
    return record;
}

/// The same for a log whose first record is of a known class. Throws if it is of another.
template <typename Record>
std::shared_ptr<Record> readRecord(const std::string& log) {
    std::shared_ptr<Record> record = std::dynamic_pointer_cast<Record>(readRecord(log));
    if (!record) {
        throw std::runtime_error("the log begins with a record of another class");
    }
    return record;
}

template <typename Record>
std::shared_ptr<Record> readRecord(const LogBuilder& log) {
    return readRecord<Record>(log.bytes());
}

/// The record's whole data line.
inline std::string lineOf(DataRecord& record) {
    std::ostringstream os;
    record.writeCSVTimestampedData(os);
    return os.str();
}

/// The record's data fields, each with its comma: the line without datestamp and line feed.
inline std::string fieldsOf(DataRecord& record) {
    std::ostringstream os;
    record.writeBasicCSV(os);
    return os.str();
}

/// The data fields of a record with the type code and payload.
inline std::string fieldsOf(unsigned type, std::string_view payload) {
    return fieldsOf(*readRecord(LogBuilder().record(type, {}, payload).bytes()));
}

inline std::string fieldsOf(unsigned type, const Payload& payload) {
    return fieldsOf(type, payload.bytes);
}
