// Micro benchmarks of the pieces that a conversion spends its time in.

#include "DataRecord.h"
#include "FieldText.h"
#include "LineStream.h"
#include "LogBuilder.h"
#include "RecordCatalogue.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <memory>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace {

constexpr size_t batch = 1000;

using Records = std::vector<std::shared_ptr<DataRecord>>;

/// A stream buffer that forgets what it holds at each flush, so that rows cost their formatting
/// only.
class Sink : public std::streambuf {
public:
    Sink() { sync(); }

protected:
    int sync() override {
        setp(buffer.data(), buffer.data() + buffer.size());
        return 0;
    }

    int_type overflow(int_type byte) override {
        sync();
        return sputc(traits_type::to_char_type(byte));
    }

private:
    std::array<char, 8192> buffer = {};
};

/// Values that differ from record to record as those of a log do.
DynamicInfo dynamicInfo(unsigned number) {
    DynamicInfo info;
    info.millivolts = 24'000 + number;
    info.deciAmperes = 500 - static_cast<int32_t>(number);
    info.soc = number % 100;
    info.dsoc = number % 100;
    info.deciKelvin = 2931 + number % 50;
    for (unsigned& millivolts : info.cellMillivolts) {
        millivolts = 3400 + number % 700;
    }
    return info;
}

/// Appends a record of the type: where the values of a row change in a log, they do so here, else
/// the catalogue's example. Throws if it knows no such type.
void append(LogBuilder& log, DataRecord::Type type, unsigned number) {
    const Stamp when = {static_cast<uint16_t>(12'055 + number / 100), 31'509'005 + 977 * number};
    const float percent = static_cast<float>(number) / 10.0F;
    StaticInfo info;
    info.cycleCount = number;
    info.deviceName = "Simulated BMU";
    info.firmwareVersion = "1.4.22 simulated";
    info.chargeAs = 1e6F * percent;
    switch (type) {
    case DataRecord::staticInfoRecordId:
        log.staticInfo(when, info);
        break;
    case DataRecord::dynamicInfoRecordId:
        log.dynamicInfo(when, dynamicInfo(number), false);
        break;
    case DataRecord::faultRecordId:
        log.fault(when, 1U << number % 5, number);
        break;
    case DataRecord::messageRecordId:
        log.message(when, "systemState=+" + std::to_string(number % 22));
        break;
    case DataRecord::advancedSocRecordId:
        log.advancedSoc(when, 41'000'000 + number, 40'000'000, 97.5F, percent);
        break;
    case DataRecord::measuredCurrentRecordId:
        log.measuredCurrent(when, -static_cast<int32_t>(number));
        break;
    case DataRecord::warrantyRecordId:
        log.warranty(when, number % 13);
        break;
    case DataRecord::staticInfoWithAddressRecordId:
        log.staticInfo(when, 1 + number % 2, info);
        break;
    case DataRecord::dynamicInfoWithAddressRecordId:
        log.dynamicInfo(when, 1 + number % 2, dynamicInfo(number));
        break;
    case DataRecord::advancedSocWithAddressRecordId:
        log.advancedSoc(when, 1 + number % 2, 41'000'000 + number, 40'000'000, 97.5F, percent);
        break;
    default:
        log.record(type, when, recordType(type).payload);
    }
}

/// A log with one batch of records of the type.
std::string logOf(DataRecord::Type type) {
    LogBuilder log;
    for (unsigned number = 0; number < batch; ++number) {
        append(log, type, number);
    }
    return log.bytes();
}

Records framed(const std::string& log) {
    std::istringstream stream(log);
    Records records(batch);
    for (std::shared_ptr<DataRecord>& record : records) {
        record = DataRecord::factory(stream);
    }
    return records;
}

Records interpreted(DataRecord::Type type) {
    Records records = framed(logOf(type));
    for (const std::shared_ptr<DataRecord>& record : records) {
        record->interpret();
    }
    return records;
}

void countRecords(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(batch));
}

/// Cuts a log into records.
void framing(benchmark::State& state, DataRecord::Type type) {
    const std::string log = logOf(type);
    for (auto _ : state) {
        benchmark::DoNotOptimize(framed(log));
    }
    countRecords(state);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(log.size()));
}

/// Decodes time stamp and payload. For an unknown record this is the time stamp alone.
void decode(benchmark::State& state, DataRecord::Type type) {
    const std::string log = logOf(type);
    for (auto _ : state) {
        state.PauseTiming(); // a record is decoded once only
        Records records = framed(log);
        state.ResumeTiming();
        for (const std::shared_ptr<DataRecord>& record : records) {
            record->interpret();
        }
        state.PauseTiming();
        records.clear();
        state.ResumeTiming();
    }
    countRecords(state);
}

/// A record's row with its line end, in text that is thrown away.
void row(benchmark::State& state, DataRecord::Type type) {
    const Records records = interpreted(type);
    Sink sink;
    std::ostream os(&sink);
    for (auto _ : state) {
        for (const std::shared_ptr<DataRecord>& record : records) {
            record->writeCSVTimestampedData(os);
        }
    }
    countRecords(state);
}

/// A row of the combined state for each new sample of two modules.
void wideRow(benchmark::State& state) {
    const Records records = interpreted(DataRecord::dynamicInfoWithAddressRecordId);
    Sink sink;
    std::ostream os(&sink);
    WideDataRecord wide;
    for (const auto& record : interpreted(DataRecord::advancedSocWithAddressRecordId)) {
        wide.updateSOC(dynamic_cast<const AdvancedSOCDataRecord&>(*record));
    }
    for (auto _ : state) {
        for (const std::shared_ptr<DataRecord>& record : records) {
            wide.updateDynamicInfo(dynamic_cast<const DynamicInfoDataRecord&>(*record));
            wide.writeCSVTimestampedData(os);
        }
    }
    countRecords(state);
}

/// Gives access to the field writers.
class Writer : public UnknownDataRecord {
public:
    void write(float value, std::ostream& os) { writeScalar<float>(value, os); }
};

/// Texts of values from the first one on. Few different ones are soon known, many are not.
void floatText(benchmark::State& state, float first, float step, size_t different) {
    std::vector<float> values(different, first);
    for (size_t number = 1; number < different; ++number) {
        values[number] = values[number - 1] + step;
    }
    Sink sink;
    std::ostream os(&sink);
    Writer writer;
    for (auto _ : state) {
        for (const float value : values) {
            writer.write(value, os);
        }
        os.flush();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(different));
}

/// The 16 numbers of a sample, handed to the stream in one go or each by itself.
void fields(benchmark::State& state, bool inOneGo) {
    Sink sink;
    std::ostream os(&sink);
    for (auto _ : state) {
        FieldText row(os);
        for (int number = 0; number < 8; ++number) {
            row.add(number);
            if (!inOneGo) {
                row.write();
            }
            row.add(3.6F + static_cast<float>(number) / 1000);
            if (!inOneGo) {
                row.write();
            }
        }
        row.write();
        os.flush();
    }
    state.SetItemsProcessed(state.iterations());
}

/// A line of 140 characters in three pieces, which goes straight to a stream or through memory.
void line(benchmark::State& state, bool throughMemory) {
    const std::string datestamp = "2019-03-03 08:05:09.50";
    const std::string text(117, 'x');
    Sink sink;
    std::ostream os(&sink);
    LineStream lineStream;
    const auto writePieces = [&](std::ostream& to) {
        put(datestamp, to);
        put(text, to);
        put("\n", to);
    };
    for (auto _ : state) {
        if (throughMemory) {
            lineStream.restart();
            writePieces(lineStream);
            put(lineStream.text(), os);
        } else {
            writePieces(os);
        }
        flush(os);
    }
    state.SetItemsProcessed(state.iterations());
}

} // namespace

int main(int argumentCount, char** arguments) {
    using benchmark::RegisterBenchmark;
    for (const auto type : {DataRecord::dynamicInfoRecordId, DataRecord::staticInfoRecordId}) {
        RegisterBenchmark(("framing/" + recordType(type).className).c_str(), framing, type);
    }
    const auto registerDecoding = [](const RecordType& type) {
        const auto code = DataRecord::Type(type.code);
        RegisterBenchmark(("decode/" + type.className).c_str(), decode, code);
    };
    std::ranges::for_each(recordTypes(), registerDecoding);
    registerDecoding(unknownType());
    constexpr size_t many = 100'000;
    RegisterBenchmark("floatText/knownVolts", floatText, 3.4F, 0.001F, 100);
    RegisterBenchmark("floatText/newVolts", floatText, 3.4F, 0.001F, many);
    RegisterBenchmark("floatText/newTiny", floatText, 1e-6F, 1e-10F, many);
    RegisterBenchmark("floatText/newHuge", floatText, 1e7F, 1e5F, many);
    RegisterBenchmark("fields/inOneGo", fields, true);
    RegisterBenchmark("fields/oneByOne", fields, false);
    RegisterBenchmark("line/straight", line, false);
    RegisterBenchmark("line/LineStream", line, true);
    RegisterBenchmark("row/DynamicInfoDataRecord", row, DataRecord::dynamicInfoRecordId);
    RegisterBenchmark("row/AdvancedSOCDataRecord", row, DataRecord::advancedSocRecordId);
    RegisterBenchmark("row/MessageDataRecord", row, DataRecord::messageRecordId);
    RegisterBenchmark("row/WideDataRecord", wideRow);

    benchmark::Initialize(&argumentCount, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
