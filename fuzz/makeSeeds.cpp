// Makes the seed corpora: makeSeeds DIRECTORY writes DIRECTORY/records and DIRECTORY/run, and the
// type codes for the fuzzers' dictionaries, DIRECTORY/types.dict.

#include "LogBuilder.h"
#include "RecordCatalogue.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <string_view>

namespace {

using Seeds = std::map<std::string, std::string>; // bytes by file name

const Stamp morning = stamp(2019, 3, 3, 8, 5, 9, 5);
const Stamp noon = stamp(2019, 3, 3, 12);
const Stamp evening = stamp(2019, 3, 4, 16, 16, 16, 16); // DLE bytes in the time

DynamicInfo sample() {
    DynamicInfo info;
    info.millivolts = 25200;
    info.deciAmperes = -160; // 10 in hexadecimal, so that escapes occur
    info.soc = 80;
    info.dsoc = 16;
    info.status = 0x2400;
    info.cellMillivolts = {3600, 3601, 3602, 3603, 3604, 3600, 4112};
    info.deciKelvin = 2982;
    return info;
}

StaticInfo module() {
    StaticInfo info;
    info.cycleCount = 16;
    info.manufactureDate = 4660;
    info.serialNumber = 22136;
    info.seriesCells = cellsPerModule;
    info.deviceName = "BMU";
    info.firmwareVersion = "1.2.3 4";
    info.temperatureSensors = 1;
    info.chargeAs = 2500000;
    info.dischargeAs = 3.14159F;
    return info;
}

/// For each record type a log of its example, and logs with the values that decoders tell apart.
Seeds logsByType() {
    Seeds seeds;
    for (const RecordType& type : recordTypes()) {
        const std::string name = "type" + std::to_string(type.code) + "." + type.name;
        seeds[name] = LogBuilder().record(type.code, morning, type.payload).bytes();
    }
    seeds["staticInfo"] =
        LogBuilder().staticInfo(morning, module()).staticInfo(noon, 2, module()).bytes();
    seeds["dynamicInfo"] = LogBuilder()
                               .dynamicInfo(morning, sample(), false)
                               .dynamicInfo(noon, sample())
                               .dynamicInfo(evening, 3, sample())
                               .bytes();
    seeds["advancedSoc"] = LogBuilder()
                               .advancedSoc(morning, 1000, 2000, 98.5F, 80)
                               .advancedSoc(noon, 2, 0xFFFFFFF0, 32, 98.5F, 80)
                               .bytes();
    LogBuilder faults;
    for (const unsigned category : {1U, 2U, 4U, 8U, 16U, 32U, 128U}) {
        faults.fault(morning, category, 0xFFFF);
    }
    seeds["fault"] = faults.bytes();
    LogBuilder messages;
    for (const char* text :
         {"systemState=+5", "systemState=+ST_RUN", "systemState=+ST_CHARGE",
          "systemState=+ST_RESTART", "systemState=+1", "chargeSchedule.state = IDLE",
          "sbx_sense=+1", "hud_multifunc=+0", "ac_no_sense=+ 7", "interlock=+-5", "any, text\n"}) {
        messages.message(noon, text);
    }
    seeds["message"] = messages.bytes();
    LogBuilder modes;
    for (const unsigned mode : {17U, 34U, 51U, 255U}) {
        modes.powerMode(morning, mode);
    }
    seeds["powerMode"] = modes.bytes();
    LogBuilder events;
    for (unsigned state = 0; state <= 13; ++state) {
        events.warranty(morning, state);
    }
    seeds["warranty"] = events.bytes();
    seeds["unknown"] = LogBuilder()
                           .record(0, morning, "ab")
                           .record(unknownType().code, noon, unknownType().payload)
                           .bytes();
    return seeds;
}

std::string join(const Seeds& logs) {
    std::string all;
    for (const auto& [name, log] : logs) {
        all += log;
    }
    return all;
}

Seeds recordSeeds() {
    Seeds seeds = logsByType();
    const std::string all = join(seeds);
    seeds["all"] = all;
    seeds["cut"] = LogBuilder().append(all).truncate(all.size() / 2).bytes();
    seeds["lostTerminator"] =
        LogBuilder().dynamicInfo(morning, sample()).remove(40).message(noon, "x").bytes();
    seeds["garbage"] = LogBuilder()
                           .powerMode(morning, 17)
                           .append("\x10\x41\x10\x10\x10")
                           .powerMode(noon, 34)
                           .bytes();
    seeds["floats"] = LogBuilder() // in the middle of two texts, and where the notation changes
                          .advancedSoc(morning, 1, 1, 100000.5F, 100001.5F)
                          .advancedSoc(morning, 1, 1, 999999.4F, 999999.5F)
                          .advancedSoc(morning, 1, 1, 0.0001F, 0.00009999995F)
                          .advancedSoc(morning, 1, 1, -9.9999995F, 0)
                          .bytes();
    seeds["emptyFrame"] = "\x10\x03";
    seeds["loneDle"] = "\x05\x10";
    return seeds;
}

/// Command lines in the bytes that the run fuzzer makes them of (see there).
Seeds runSeeds() {
    using namespace std::string_literals;
    const std::string separator = "\x10|";
    const std::string all = join(logsByType());
    const std::string early = LogBuilder().powerMode(morning, 17).message(evening, "late").bytes();
    const std::string late = LogBuilder().shock(evening, 1, 2, 3).bytes();
    const std::string cut = early.substr(0, early.size() - 3);
    const std::string none = "\0\0"s;
    const std::string everything = "\1\0\0"s;
    // Rows that nothing but the sample and the record in front of it change.
    DynamicInfo info = sample();
    std::string rowAfterEach = LogBuilder().dynamicInfo(morning, info).bytes();
    for (const auto& [name, log] : logsByType()) {
        ++info.soc;
        rowAfterEach += log + LogBuilder().dynamicInfo(noon, info).bytes();
    }
    Seeds seeds;
    seeds["default"] = none + all;
    seeds["rowAfterEach"] = everything + rowAfterEach;
    seeds["all"] = everything + all;
    seeds["threeLogs"] = everything + early + separator + cut + separator + late;
    seeds["overlap"] = everything + late + separator + cut + separator + cut + separator + early;
    seeds["odd"] = "\1\0\3"s + early + separator + late;
    seeds["noLogs"] = "\1\0\4"s;
    seeds["range"] = "\4\1\2\5\6\0"s + early;
    seeds["bounds"] = "\5\0\1\x0a\5\x0e\0"s + early; // both equal the first datestamp
    seeds["single"] = "\2\x08\x0f\0"s + all;
    seeds["missing"] = "\2\x08\x13\0"s + all;
    for (const auto& [name, log] : logsByType()) {
        seeds["all." + name] = everything + log;
    }
    return seeds;
}

/// Each type code after the end of a frame, the one that is a DLE escaped.
std::string dictionaryOfTypes() {
    std::string dictionary;
    const auto add = [&dictionary](unsigned code) {
        char text[8];
        std::snprintf(text, sizeof text, "\\x%02x", code);
        dictionary += "\"\\x10\\x03";
        dictionary += code == 0x10 ? "\\x10" : "";
        dictionary += text;
        dictionary += "\"\n";
    };
    add(0);
    std::ranges::for_each(recordTypes(), add, &RecordType::code);
    add(unknownType().code);
    return dictionary;
}

void write(const std::filesystem::path& directory, const Seeds& seeds) {
    std::filesystem::create_directories(directory);
    for (const auto& [name, bytes] : seeds) {
        std::ofstream(directory / name, std::ios::binary) << bytes;
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::cerr << "Usage: makeSeeds DIRECTORY" << std::endl;
        return 1;
    }
    const std::filesystem::path directory = arguments[1];
    write(directory / "records", recordSeeds());
    write(directory / "run", runSeeds());
    std::ofstream(directory / "types.dict") << dictionaryOfTypes();
    return 0;
}
