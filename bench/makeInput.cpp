// Writes a directory of simulated logs for the benchmarks:
//
//   makeInput DIRECTORY BYTES typical|alternating
//
// The same arguments always give the same bytes. The logs, eight of about equal size, cover three
// years. "typical" is what a battery in use logs: mostly dynamic info records, from older firmware
// in every other log (plain records of 35 bytes) and from two modules in the others (addressed
// records of 38 bytes). "alternating" goes through the record types, so that no record has the type
// of the one before it.

#include "LogBuilder.h"
#include "RecordCatalogue.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr unsigned numberOfLogs = 8;

// The types up to this one have values that move. "typical" logs hold no others, so that its
// figures stay comparable; "alternating" ones hold every type.
constexpr unsigned lastOfBattery = 15;

constexpr uint64_t millisecondsPerDay = 24ULL * 60 * 60 * 1000;
constexpr uint64_t period = (3 * 365 - 1) * millisecondsPerDay;

/// A two-module battery whose state moves a little with every record that it logs.
class Battery {
public:
    /// A battery whose firmware is old logs plain records with currents of 16 bits.
    explicit Battery(bool oldFirmware) : isOld(oldFirmware) {}

    void dynamicInfo(LogBuilder& log, Stamp when) {
        if (isOld) {
            log.dynamicInfo(when, sample(modules[0]), false);
        } else {
            log.dynamicInfo(when, nextModule() + 1, sample(modules[turn]));
        }
    }

    void advancedSoc(LogBuilder& log, Stamp when) {
        const Module& module = modules[isOld ? 0 : turn];
        const float soc = static_cast<float>(module.permille) / 10.0F;
        const float soh = 98.0F - static_cast<float>(module.chargeMAH) / 1e8F;
        if (isOld) {
            log.advancedSoc(when, module.chargeMAH, module.dischargeMAH, soh, soc);
        } else {
            log.advancedSoc(when, turn + 1, module.chargeMAH, module.dischargeMAH, soh, soc);
        }
    }

    void staticInfo(LogBuilder& log, Stamp when) {
        StaticInfo info;
        info.cycleCount = modules[0].chargeMAH / 400'000;
        info.manufactureDate = 18'273;
        info.serialNumber = 4711 + turn;
        info.seriesCells = cellsPerModule;
        info.deviceName = "Simulated BMU";
        info.firmwareVersion = "1.4.22 simulated";
        info.temperatureSensors = 1;
        info.chargeAs = static_cast<float>(modules[turn].chargeMAH) * 3.6F;
        info.dischargeAs = static_cast<float>(modules[turn].dischargeMAH) * 3.6F;
        if (isOld) {
            log.staticInfo(when, info);
        } else {
            log.staticInfo(when, turn + 1, info);
        }
    }

    void fault(LogBuilder& log, Stamp when) {
        static constexpr std::array categories{1U, 2U, 4U, 8U, 16U, 128U};
        // Half of the reports say that a category's faults have gone.
        const unsigned bits = random(2) == 0 ? 0 : 1U << random(3);
        log.fault(when, categories.at(random(categories.size())), bits);
    }

    void message(LogBuilder& log, Stamp when) {
        static constexpr std::array<std::string_view, 10> texts{
            "systemState=+5",   "sbx_sense=+1",   "chargeSchedule.state = IDLE",
            "ac_no_sense=+0",   "interlock=+1",   "systemState=+6",
            "hud_multifunc=+0", "ac_no_sense=+1", "chargeSchedule.state = CHARGING",
            "interlock=+0"};
        log.message(when, texts.at(messages++ % texts.size()));
    }

    void firmwareVersion(LogBuilder& log, Stamp when) {
        log.firmwareVersion(when, "Simulated BMC 2.17.3");
    }

    void shock(LogBuilder& log, Stamp when) { log.shock(when, noise(40), noise(40), noise(40)); }

    void measuredCurrent(LogBuilder& log, Stamp when) { log.measuredCurrent(when, noise(250'000)); }

    void powerMode(LogBuilder& log, Stamp when) {
        static constexpr std::array modes{255U, 17U, 34U, 51U};
        log.powerMode(when, modes.at(random(modes.size())));
    }

    void warranty(LogBuilder& log, Stamp when) { log.warranty(when, random(13)); }

    void ambientTemperature(LogBuilder& log, Stamp when) {
        const unsigned average = 290 + random(10);
        log.ambientTemperature(when, average - random(5), average + random(5), average);
    }

    void humidity(LogBuilder& log, Stamp when) {
        const unsigned now = 400 + random(300);
        log.humidity(when, now, now - random(50), now + random(50), now);
    }

    /// A log's controller has either old or new firmware: to go through all types, the alternating
    /// logs change it.
    void changeFirmware() { isOld = !isOld; }

private:
    struct Module {
        unsigned permille = 920; // state of charge
        unsigned deciKelvin = 2895;
        uint32_t chargeMAH = 41'000'000;
        uint32_t dischargeMAH = 40'000'000;
        bool charging = false;
    };

    /// A number below the limit. Distributions of the standard library differ between its
    /// implementations, the engine doesn't.
    unsigned random(size_t limit) { return static_cast<unsigned>(engine() % limit); }

    /// A number from -limit to limit.
    int noise(int limit) {
        return static_cast<int>(random(2 * static_cast<size_t>(limit) + 1)) - limit;
    }

    unsigned nextModule() { return turn = 1 - turn; }

    DynamicInfo sample(Module& module) {
        DynamicInfo info;
        if (module.charging) {
            info.deciAmperes = 600 + noise(50);
            module.permille += random(2);
            module.chargeMAH += 1300;
            module.charging = module.permille < 980;
        } else {
            info.deciAmperes = -1000 + noise(900);
            module.permille -= random(2);
            module.dischargeMAH += 1300;
            module.charging = module.permille < 150;
        }
        module.deciKelvin = 2881 + (module.deciKelvin - 2881 + 100 + random(3) - 1) % 100;
        for (unsigned& millivolts : info.cellMillivolts) {
            millivolts = 3300 + module.permille * 4 / 5 + random(15);
            info.millivolts += millivolts;
        }
        info.soc = module.permille / 10;
        info.dsoc = info.soc;
        info.status = (module.deciKelvin < 2891 ? 1U << 10 : 0) | (info.soc > 90 ? 1U << 13 : 0);
        info.deciKelvin = module.deciKelvin;
        return info;
    }

    bool isOld;
    unsigned turn = 0; // the module that reported last, from 0
    unsigned messages = 0;
    std::array<Module, 2> modules;
    std::mt19937 engine;
};

using Write = void (Battery::*)(LogBuilder&, Stamp);

/// Appends dynamic info record number "count" (from 1) and what follows it.
void appendTypical(LogBuilder& log, Battery& battery, uint64_t count, Stamp when) {
    static constexpr std::array<Write, 7> others{
        &Battery::powerMode, &Battery::ambientTemperature, &Battery::humidity,
        &Battery::shock,     &Battery::measuredCurrent,    &Battery::firmwareVersion,
        &Battery::warranty};
    battery.dynamicInfo(log, when);
    if (count % 4 == 0) {
        battery.advancedSoc(log, when);
    }
    if (count % 20 == 0) {
        battery.message(log, when);
    }
    if (count % 200 == 0) {
        battery.fault(log, when);
    }
    if (count % 500 == 0) {
        battery.staticInfo(log, when);
    }
    if (count % 1000 == 0) {
        (battery.*others.at(count / 1000 % others.size()))(log, when);
    }
}

/// Appends a record of the type that follows the one before, record number "count" (from 1).
void appendAlternating(LogBuilder& log, Battery& battery, uint64_t count, Stamp when) {
    static constexpr std::array<Write, 12> all{&Battery::staticInfo,
                                               &Battery::dynamicInfo,
                                               &Battery::fault,
                                               &Battery::shock,
                                               &Battery::message,
                                               &Battery::firmwareVersion,
                                               &Battery::advancedSoc,
                                               &Battery::measuredCurrent,
                                               &Battery::powerMode,
                                               &Battery::warranty,
                                               &Battery::ambientTemperature,
                                               &Battery::humidity};
    // Examples of the types that the battery makes no records of.
    static const std::vector<RecordType> others = [] {
        std::vector<RecordType> types = recordTypes();
        std::erase_if(types, [](const RecordType& type) { return type.code <= lastOfBattery; });
        return types;
    }();
    const size_t index = (count - 1) % (all.size() + others.size());
    if (index == 0) {
        battery.changeFirmware();
    }
    if (index < all.size()) {
        (battery.*all.at(index))(log, when);
    } else {
        const RecordType& type = others[index - all.size()];
        log.record(type.code, when, type.payload);
    }
}

int fail(const std::string& text) {
    std::cerr << text << '\n';
    return 1;
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 4) {
        return fail("usage: makeInput DIRECTORY BYTES typical|alternating");
    }
    const std::filesystem::path directory = arguments[1];
    const uint64_t size = std::strtoull(arguments[2], nullptr, 10);
    const std::string_view shape = arguments[3];
    if (size == 0 || (shape != "typical" && shape != "alternating")) {
        return fail("usage: makeInput DIRECTORY BYTES typical|alternating");
    }
    const auto append = shape == "typical" ? appendTypical : appendAlternating;

    std::filesystem::create_directories(directory);
    uint64_t written = 0;
    uint64_t count = 0;
    for (unsigned number = 1; number <= numberOfLogs; ++number) {
        const std::filesystem::path path = directory / ("000" + std::to_string(number) + ".LOG");
        std::ofstream file(path, std::ios::binary);
        Battery battery(number % 2 == 1);
        const uint64_t end = size * number / numberOfLogs;
        while (written < end) {
            LogBuilder log; // a piece of the file, so that the memory needed stays small
            const uint64_t pieceEnd = std::min<uint64_t>(end - written, 1'000'000);
            while (log.bytes().size() < pieceEnd) {
                // 2 January 2017 and the share of the three years that has been logged so far.
                const uint64_t time = static_cast<uint64_t>(
                    static_cast<double>(period) *
                    static_cast<double>(written + log.bytes().size()) / static_cast<double>(size));
                Stamp when = stamp(2017, 1, 2);
                when.day = static_cast<uint16_t>(when.day + time / millisecondsPerDay);
                when.milliseconds = static_cast<uint32_t>(time % millisecondsPerDay);
                append(log, battery, ++count, when);
            }
            file << log.bytes();
            written += log.bytes().size();
        }
        if (!file.flush()) {
            return fail("Unable to write " + path.string());
        }
    }
    return 0;
}
