#include "ConvertFile.h"

#include <iostream>

bool ConvertFile::detailEnabled = false;
bool ConvertFile::socEnabled = false;
bool ConvertFile::dynamicInfoEnabled = false;
bool ConvertFile::wideEnabled = false;
std::string ConvertFile::startDatestamp = "2016-01-01";
std::string ConvertFile::endDatestamp = "2099-12-31";
std::string ConvertFile::globalDynamicInfoFilename;
std::string ConvertFile::globalSocFilename;
std::string ConvertFile::globalWideFilename;
std::string ConvertFile::globalDetailFilename;
std::ofstream ConvertFile::globalDynamicInfoStream;
std::ofstream ConvertFile::globalSocStream;
std::ofstream ConvertFile::globalWideStream;
std::ofstream ConvertFile::globalDetailStream;
WideDataRecord ConvertFile::wide;

void ConvertFile::enable(const std::string& word) {
    const bool all = word == "--all" || word == "-a";
    detailEnabled = detailEnabled || all || word == "--detail";
    socEnabled = socEnabled || all || word == "--soc" || word == "-s";
    dynamicInfoEnabled = dynamicInfoEnabled || all || word == "--dynamicInfo" || word == "-d";
    wideEnabled = wideEnabled || all || word == "--wide" || word == "-w";
}

void ConvertFile::enableDefault() {
    detailEnabled = false;
    socEnabled = false;
    dynamicInfoEnabled = false;
    wideEnabled = true;
}

bool ConvertFile::anyEnabled() {
    return detailEnabled || socEnabled || dynamicInfoEnabled || wideEnabled;
}

void ConvertFile::aggregate(const std::string& path) {
    openGlobalDynamicInfoStream(path);
    openGlobalSocStream(path);
    openGlobalWideStream(path);
    openGlobalDetailStream(path);
}

bool ConvertFile::exists(const std::string& filename) {
    return std::ifstream(filename).good();
}

void ConvertFile::openGlobalDynamicInfoStream(const std::string& path) {
    if (dynamicInfoEnabled && !globalDynamicInfoStream.is_open()) {
        globalDynamicInfoFilename = path + "/dynamicInfo.csv";
        globalDynamicInfoStream.open(globalDynamicInfoFilename, std::ios::out | std::ios::trunc);
        DataRecord::writeCSVHeader(DataRecord::dynamicInfoRecordId, globalDynamicInfoStream);
    }
}

void ConvertFile::openGlobalSocStream(const std::string& path) {
    if (socEnabled && !globalSocStream.is_open()) {
        globalSocFilename = path + "/soc.csv";
        globalSocStream.open(globalSocFilename, std::ios::out | std::ios::trunc);
        DataRecord::writeCSVHeader(DataRecord::advancedSocRecordId, globalSocStream);
    }
}

void ConvertFile::openGlobalWideStream(const std::string& path) {
    if (wideEnabled && !globalWideStream.is_open()) {
        globalWideFilename = path + "/wide.csv";
        globalWideStream.open(globalWideFilename, std::ios::out | std::ios::trunc);
        wide.writeCSVHeader(globalWideStream);
    }
}

void ConvertFile::openGlobalDetailStream(const std::string& path) {
    if (detailEnabled && !globalDetailStream.is_open()) {
        globalDetailFilename = path + "/detail.csv";
        // Looked at, yet without effect: a run always replaces the file of the run before.
        [[maybe_unused]] const bool existed = exists(globalDetailFilename);
        globalDetailStream.open(globalDetailFilename, std::ios::out | std::ios::trunc);
    }
}

bool ConvertFile::insideDateRange(const std::shared_ptr<DataRecord>& record) {
    return (startDatestamp.empty() || record->datestamp >= startDatestamp) &&
           (endDatestamp.empty() || record->datestamp <= endDatestamp);
}

ConvertFile::ConvertFile(const DataFile& file)
    : dataFile(file), detailFilename(file.name() + ".detail.csv") {
    if (!anyEnabled()) {
        enableDefault();
    }
}

int ConvertFile::convert() {
    std::ofstream detailStream;
    // A file whose first record has this type gets no header line before it.
    DataRecord::Type headerType = DataRecord::garble;
    std::cout << "Converting: " << dataFile.name() << std::endl;
    for (const std::shared_ptr<DataRecord>& record : dataFile) {
        if (!insideDateRange(record)) {
            continue;
        }
        const DataRecord::Type type = record->recordType();
        if (type != headerType) {
            writeDetailHeader(*record, detailStream);
            headerType = type;
        }
        line.restart();
        writeRow(*record, globalDetailStream);
        if (type == DataRecord::ambientTemperatureRecordId) {
            line.restart(); // it reads its fields while it is written, on from row to row
        }
        writeRow(*record, detailStream);
        switch (type) {
        case DataRecord::staticInfoRecordId:
        case DataRecord::staticInfoWithAddressRecordId:
            wide.updateStaticInfo(dynamic_cast<const StaticInfoDataRecord&>(*record));
            break;
        case DataRecord::dynamicInfoRecordId:
        case DataRecord::dynamicInfoWithAddressRecordId:
            writeRow(*record, globalDynamicInfoStream);
            wide.updateDynamicInfo(dynamic_cast<const DynamicInfoDataRecord&>(*record));
            writeCSVWide(globalWideStream, globalWideFilename);
            break;
        case DataRecord::faultRecordId:
            wide.updateFault(dynamic_cast<const FaultDataRecord&>(*record));
            break;
        case DataRecord::messageRecordId:
            wide.updateMessage(dynamic_cast<const MessageDataRecord&>(*record));
            writeCSVWide(globalWideStream, globalWideFilename);
            break;
        case DataRecord::bmcFirmwareVersionRecordId:
            wide.updateBMCFWVersion(dynamic_cast<const BMCFirmwareVersionDataRecord&>(*record));
            break;
        case DataRecord::advancedSocRecordId:
        case DataRecord::advancedSocWithAddressRecordId:
            writeRow(*record, globalSocStream);
            wide.updateSOC(dynamic_cast<const AdvancedSOCDataRecord&>(*record));
            break;
        case DataRecord::powerModeRecordId:
            wide.updatePowerMode(dynamic_cast<const PowerModeDataRecord&>(*record));
            break;
        case DataRecord::garble:
        case DataRecord::shockRecordId:
        case DataRecord::measuredCurrentRecordId:
        case DataRecord::warrantyRecordId:
        case DataRecord::ambientTemperatureRecordId:
        case DataRecord::relativeHumidityRecordId:
        default: // unknown types, like these, have a row in the detail outputs only
            break;
        }
    }
    return 0;
}

void ConvertFile::writeRow(DataRecord& record, std::ofstream& os) {
    if (os.fail() || !os.is_open()) {
        return;
    }
    if (line.text().empty()) {
        record.writeCSVTimestampedData(line);
    }
    put(line.text(), os);
    flush(os);
}

void ConvertFile::writeDetailHeader(DataRecord& record, std::ofstream& detailStream) {
    if (detailEnabled && !detailStream.is_open()) {
        detailStream.open(detailFilename, std::ios::out | std::ios::trunc);
    }
    record.writeCSVHeader(detailStream);
    if (detailEnabled && !globalDetailStream.is_open()) {
        globalDetailStream.open(globalDetailFilename, std::ios::out | std::ios::trunc);
    }
    record.writeCSVHeader(globalDetailStream);
}

void ConvertFile::writeCSVWide(std::ofstream& ws, const std::string& filename) {
    if (wideEnabled && !ws.is_open()) {
        ws.open(filename, std::ios::out | std::ios::trunc);
        wide.writeCSVHeader(ws);
    }
    if (!wide.datestamp.empty()) {
        line.restart();
        writeRow(wide, ws);
    }
}
