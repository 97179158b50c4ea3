// Cuts any bytes into records, interprets each and writes it through every writer it has.
//
// What must hold besides the absence of a crash:
// - the records are the frames that the bytes hold, and each call of the factory leaves the stream
//   just after its frame, so that records and framing account for every byte;
// - the pieces in which the stream delivers its bytes change nothing, and no byte is fetched twice;
// - numbers have the text that the C library gives them;
// - a row begins with its datestamp, ends with a line feed and is no longer than a constant and
//   three characters per byte of the record (a dump takes that many);
// - a failed stream gets nothing and takes nothing from the record.
//
// Built without access control: the bytes of a record and the state of the synopsis are looked at.

#include "DataRecord.h"
#include "Require.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <istream>
#include <memory>
#include <span>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

/// Delivers bytes in pieces of the given size.
class PiecewiseBuffer : public std::streambuf {
public:
    PiecewiseBuffer(std::span<const uint8_t> source, size_t sizeOfPiece)
        : bytes(source.begin(), source.end()), pieceSize(sizeOfPiece) {}

    /// The number of bytes that the reader has taken.
    size_t taken() const { return delivered - static_cast<size_t>(egptr() - gptr()); }

protected:
    int_type underflow() override {
        const size_t count = std::min(pieceSize, bytes.size() - delivered);
        if (count == 0) {
            return traits_type::eof();
        }
        char* const piece = bytes.data() + delivered;
        setg(piece, piece, piece + count);
        delivered += count;
        return traits_type::to_int_type(*piece);
    }

private:
    std::vector<char> bytes;
    size_t pieceSize;
    size_t delivered = 0;
};

struct Frame {
    Bytes data;
    size_t end; // the offset after its last byte
};

/// The frames of a log, by the rules of the framing alone.
std::vector<Frame> framesOf(std::span<const uint8_t> log) {
    std::vector<Frame> frames;
    Bytes data;
    for (size_t at = 0; at < log.size(); ++at) {
        if (log[at] != 0x10) {
            data.push_back(log[at]);
            continue;
        }
        if (++at == log.size()) { // a lone DLE ends the last record without the byte 0xFF
            frames.push_back({data, log.size()});
            return frames;
        }
        if (log[at] == 0x10) {
            data.push_back(0x10);
        } else if (log[at] == 0x03) {
            frames.push_back({data, at + 1});
            data.clear();
        }
    }
    data.push_back(0xFF); // the read that met the end
    frames.push_back({data, log.size()});
    return frames;
}

std::string rowOf(DataRecord& record) {
    std::ostringstream os;
    record.writeCSVTimestampedData(os);
    return os.str();
}

void requireShapeOfRow(const DataRecord& record, const std::string& row) {
    require(row.starts_with(std::string_view(record.datestamp)), "a row begins with its datestamp");
    require(row.ends_with('\n'), "a row ends with a line feed");
    require(row.size() <= 512 + 3 * record.bytes.size(), "a row is no longer than its bounds");
}

void addNumber(std::string& row, uint32_t number) {
    row += ',' + std::to_string(number);
}

void addFloat(std::string& row, float number) {
    char text[32];
    std::snprintf(text, sizeof text, ",%.6g", static_cast<double>(number));
    row += text;
}

/// The tool puts numbers into text by means of its own. The C library's are slow and known.
void requireNumbers(const DataRecord& record, const std::string& row) {
    std::string expected(std::string_view(record.datestamp));
    if (const auto* sample = dynamic_cast<const DynamicInfoDataRecord*>(&record)) {
        addNumber(expected, sample->moduleAddress);
        addFloat(expected, sample->packVoltage);
        addFloat(expected, sample->current);
        addNumber(expected, sample->soc);
        addNumber(expected, sample->dsoc);
        for (const float voltage : sample->cellVoltage) {
            addFloat(expected, voltage);
        }
        addFloat(expected,
                 std::ranges::max(sample->cellVoltage) - std::ranges::min(sample->cellVoltage));
        addFloat(expected, sample->cellTemperature[0]);
        addNumber(expected, sample->heat ? 1U : 0U);
        addNumber(expected, sample->balance ? 1U : 0U);
    } else if (const auto* counters = dynamic_cast<const AdvancedSOCDataRecord*>(&record)) {
        addNumber(expected, counters->moduleAddress);
        addNumber(expected, counters->chargeMAH);
        addNumber(expected, counters->dischargeMAH);
        addFloat(expected, counters->soh);
        addFloat(expected, counters->soc);
    } else {
        return;
    }
    require(row == expected + '\n', "numbers have the text of the C library");
}

/// Hands the record to what combines records, through the accessors it reads.
void combine(WideDataRecord& wide, const DataRecord& record) {
    if (const auto* info = dynamic_cast<const StaticInfoDataRecord*>(&record)) {
        wide.updateStaticInfo(*info);
    } else if (const auto* sample = dynamic_cast<const DynamicInfoDataRecord*>(&record)) {
        wide.updateDynamicInfo(*sample);
    } else if (const auto* counters = dynamic_cast<const AdvancedSOCDataRecord*>(&record)) {
        wide.updateSOC(*counters);
    } else if (const auto* fault = dynamic_cast<const FaultDataRecord*>(&record)) {
        wide.updateFault(*fault);
    } else if (const auto* message = dynamic_cast<const MessageDataRecord*>(&record)) {
        wide.updateMessage(*message);
    } else if (const auto* mode = dynamic_cast<const PowerModeDataRecord*>(&record)) {
        wide.updatePowerMode(*mode);
    } else if (const auto* version = dynamic_cast<const BMCFirmwareVersionDataRecord*>(&record)) {
        wide.updateBMCFWVersion(*version);
    }
}

/// Reads the log in pieces of the given size and returns the rows of its records.
std::vector<std::string> rowsOf(std::span<const uint8_t> log, size_t pieceSize,
                                const std::vector<Frame>& frames) {
    std::vector<std::string> rows;
    PiecewiseBuffer buffer(log, pieceSize);
    std::istream stream(&buffer);
    for (const Frame& frame : frames) {
        const std::shared_ptr<DataRecord> record = DataRecord::factory(stream);
        require(record != nullptr, "there is a record for each frame");
        require(std::ranges::equal(record->bytes, frame.data),
                "a record holds the data bytes of its frame");
        require(buffer.taken() == frame.end, "the stream is left just after the frame");
        require(record->recordType() == (frame.data.empty() ? 0 : frame.data.front()),
                "the first data byte is the type code");
        record->interpret();
        require(record->interpreted && !record->datestamp.empty(), "a record has a datestamp");
        rows.push_back(rowOf(*record));
        requireShapeOfRow(*record, rows.back());
        requireNumbers(*record, rows.back());
    }
    require(stream.eof() && !stream.bad(), "the last record is the one that meets the end");
    require(DataRecord::factory(stream) == nullptr, "there is no record after the end");
    return rows;
}

/// Writes the records through everything else that writes them.
void writeInEveryWay(std::span<const uint8_t> log, const std::vector<std::string>& rows) {
    PiecewiseBuffer buffer(log, log.size());
    std::istream stream(&buffer);
    WideDataRecord wide;
    for (const std::string& row : rows) {
        const std::shared_ptr<DataRecord> record = DataRecord::factory(stream);
        requireShapeOfRow(*record, rowOf(*record)); // before it is interpreted
        record->interpret();

        std::ostringstream failed;
        failed.setstate(std::ios::failbit);
        record->writeCSVTimestampedData(failed);
        record->writeCSVHeader(failed);
        require(failed.str().empty(), "a failed stream gets nothing");

        std::ostringstream header;
        record->writeCSVHeader(header);
        std::ostringstream typeHeader;
        DataRecord::writeCSVHeader(record->recordType(), typeHeader);
        require(header.str() == typeHeader.str(), "a type has one header");

        std::ostringstream whole;
        whole << std::hex; // as an unknown record would have left it
        record->writeCSVTimestampedData(whole);
        require(whole.str() == row, "a row depends on its record alone");

        // Ambient temperature gives its readings to the first row only.
        const std::string second = rowOf(*record);
        requireShapeOfRow(*record, second);
        require(second == row || record->recordType() == DataRecord::ambientTemperatureRecordId,
                "a second row equals the first");

        combine(wide, *record);
    }
    const std::string wideRow = rowOf(wide);
    require(wideRow.size() <= 1024 + 300 * (rows.size() + 2) + 2 * log.size(),
            "a combined row is no longer than its bounds");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const uint8_t> log(data, size);
    synopsis.ws.close(); // the lines of millions of inputs would fill the disk
    synopsis.initialize(Synopsis::unknown);
    synopsis.count = 0;

    const std::vector<Frame> frames = framesOf(log);
    const std::vector<std::string> rows = rowsOf(log, std::max<size_t>(size, 1), frames);
    require(rowsOf(log, 1, frames) == rows && rowsOf(log, 7, frames) == rows,
            "the pieces in which the bytes arrive change nothing");
    writeInEveryWay(log, rows);

    std::ostringstream period;
    synopsis.write(period);
    require(period.str().size() <= 128, "a period's line is no longer than its bounds");
    return 0;
}
