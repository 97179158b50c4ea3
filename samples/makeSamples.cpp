// Writes the sample logs into the directory that the command line names. README.md beside this file
// tells their stories. Nothing here was measured: a simple model of a battery makes the numbers.
//
// Every run on every machine gives the same bytes: the model computes in integers, takes its chance
// from generators with fixed seeds, and rounds to floating point in single divisions only.
//
// A record that is added to one log leaves the others as they are: each log has generators of its
// own, and no record takes time or touches the generator that moves the battery.

#include "LogBuilder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace {

/// Numbers that look random (xorshift32).
class Chance {
public:
    /// Spreads the seed over all bits, since neighbouring states give neighbouring numbers. The
    /// state must never be 0.
    explicit Chance(uint32_t seed) : state(seed * 0x9E3779B9U | 1U) {}

    /// A number from the range, both ends included.
    int64_t between(int64_t low, int64_t high) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return low + static_cast<int64_t>(state % static_cast<uint32_t>(high - low + 1));
    }

private:
    uint32_t state;
};

// Units: seconds, milliamperes, millivolts, milliampere-seconds, micro-ohms, millikelvin,
// milliwatts.
constexpr int64_t minute = 60;
constexpr int64_t hour = 60 * minute;
constexpr int64_t day = 24 * hour;
constexpr int64_t amperes = 1000;
constexpr int64_t ampereHours = 1000 * hour;
constexpr int64_t freezing = 273150;
constexpr int64_t degrees = 1000;

constexpr int64_t wholeCharge = 1000000; // states of charge are computed in millionths

/// Open-circuit voltage of a cell at 0 %, 10 % ... 100 % state of charge.
constexpr std::array<int64_t, 11> openCircuit = {3180, 3460, 3550, 3595, 3630, 3670,
                                                 3740, 3830, 3930, 4040, 4160};
constexpr int64_t fullCell = 4160; // the charger holds the highest cell at this voltage
constexpr int64_t lowCell = 3250;  // below which the controller reports a low cell

struct Cell {
    int64_t capacity = 210 * ampereHours;
    int64_t charge = 0;
    int64_t resistance = 1150; // at 25 degrees Celsius
    int64_t voltage = 0;       // as measured last

    int64_t openCircuitVoltage() const {
        const int64_t soc = std::clamp<int64_t>(charge * 1000 / (capacity / 1000), 0, wholeCharge);
        const int64_t step = wholeCharge / 10;
        const auto below = static_cast<size_t>(std::min<int64_t>(soc / step, 9));
        const int64_t rest = soc - static_cast<int64_t>(below) * step;
        return openCircuit[below] + (openCircuit[below + 1] - openCircuit[below]) * rest / step;
    }
};

/// A module of cells in series with one temperature sensor.
struct Module {
    unsigned address = 1;
    unsigned serialNumber = 0;
    unsigned cycleCount = 0;
    std::array<Cell, cellsPerModule> cells;
    int64_t current = 0; // positive while charging
    int64_t temperature = freezing + 15 * degrees;
    int64_t charged = 0; // since the module was made
    int64_t discharged = 0;
    bool heating = false;
    bool balancing = false;

    /// Resistance grows in the cold.
    int64_t resistance(const Cell& cell) const {
        const int64_t cold = std::max<int64_t>(freezing + 25 * degrees - temperature, 0);
        return cell.resistance * (100 + 3 * cold / degrees) / 100;
    }

    void measure(Chance& chance) {
        for (Cell& cell : cells) {
            cell.voltage = cell.openCircuitVoltage() + current * resistance(cell) / 1000000 +
                           chance.between(-1, 1);
        }
    }

    int64_t lowest() const { return std::ranges::min(cells, {}, &Cell::voltage).voltage; }

    int64_t highest() const { return std::ranges::max(cells, {}, &Cell::voltage).voltage; }

    /// State of charge in hundredths of a percent.
    int64_t soc() const {
        int64_t charge = 0;
        int64_t capacity = 0;
        for (const Cell& cell : cells) {
            charge += cell.charge;
            capacity += cell.capacity;
        }
        return std::clamp<int64_t>(charge * 100 / (capacity / 100), 0, 10000);
    }

    /// The largest current that lifts no cell above its full voltage.
    int64_t acceptedCurrent(int64_t limit) const {
        int64_t result = limit;
        for (const Cell& cell : cells) {
            result = std::min(result,
                              (fullCell - cell.openCircuitVoltage()) * 1000000 / resistance(cell));
        }
        return std::max<int64_t>(result, 0);
    }

    /// Lets the current flow and heat for the given time.
    void pass(int64_t seconds, int64_t ambient) {
        int64_t power = heating ? 300000 : 0;
        const int64_t lowestVoltage = lowest();
        for (Cell& cell : cells) {
            cell.charge += current * seconds;
            if (balancing && cell.voltage > lowestVoltage + 4) {
                cell.charge -= amperes * seconds / 2;
            }
            power += current / 1000 * (current / 1000) * resistance(cell) / 1000;
        }
        (current > 0 ? charged : discharged) += std::abs(current) * seconds;
        const int64_t cooling = 4;          // watts per kelvin
        const int64_t heatCapacity = 35000; // joules per kelvin
        temperature += (power - cooling * (temperature - ambient)) * seconds / heatCapacity;
    }
};

// Fault categories and bits, as the controller reports them.
constexpr unsigned generalFaults = 1;
constexpr unsigned lowSoc = 1U << 0;
constexpr unsigned currentFaults = 2;
constexpr unsigned dischargeCurrentWarning = 1U << 1;
constexpr unsigned voltageFaults = 4;
constexpr unsigned lowCellVoltage = 1U << 3;
constexpr unsigned temperatureFaults = 8;
constexpr unsigned tooColdToCharge = 1U << 4;
constexpr unsigned communicationFaults = 16;
constexpr unsigned lossOfCanRx = 1U << 0;
constexpr unsigned featureFaults = 128;
constexpr unsigned shockError = 1U << 4;
constexpr unsigned chargerError = 1U << 9;

enum State : unsigned {
    initialising = 0,
    restarting = 1,
    waitingForBmu = 3,
    running = 5,
    charging = 6,
    chargeDone = 7,
    stoppingCharge = 8,
    interlocked = 9,
    truckCommLost = 13,
    aboutToSleep = 17,
    sleeping = 18,
    updatingFirmware = 19
};

/// What firmware a truck's controller runs.
enum class Firmware {
    old, // one module, records without module address, 16-bit currents, states by name
    current
};

/// A truck whose controller writes a log from the moment it wakes up until it sleeps.
class Truck {
public:
    Truck(Firmware runs, std::vector<Module> carries)
        : firmware(runs), modules(std::move(carries)),
          bmcFirmware(runs == Firmware::old ? "BMC firmware 1.3.2 2017-05-30"
                                            : "BMC firmware 2.4.1 2021-11-08") {}

    /// The weather of the days to come: the night's low and the day's high, in degrees Celsius.
    void weather(int64_t low, int64_t high) {
        lowest = freezing + low * degrees;
        highest = freezing + high * degrees;
    }

    /// Leaves the truck alone, without records, until the given moment.
    void park(unsigned year, unsigned month, unsigned dayOfMonth, unsigned h, unsigned m) {
        const Stamp then = stamp(year, month, dayOfMonth, h, m);
        const int64_t until = then.day * day * 1000 + then.milliseconds;
        if (milliseconds == 0) {
            milliseconds = until;
        }
        while (milliseconds < until) {
            pass(std::min<int64_t>((until - milliseconds) / 1000, 10 * minute));
        }
    }

    /// Begins a new log, as waking up does.
    void wakeUp() {
        const auto today = static_cast<uint32_t>(milliseconds / 1000 / day);
        work = Chance(3 * today);
        readings = Chance(3 * today + 1);
        delays = Chance(3 * today + 2);
        samples = 0;
        log = LogBuilder();
        reported.clear();
        state(initialising);
        log.firmwareVersion(now(), bmcFirmware);
        state(waitingForBmu);
        for (const Module& module : modules) {
            describe(module);
        }
        log.powerMode(now(), 255);
        environment();
    }

    /// Ends the log, as falling asleep does.
    const LogBuilder& sleep() {
        state(aboutToSleep);
        state(sleeping);
        return log;
    }

    /// Drives, lifts and stands for the given time. A load of 100 is that of a usual shift.
    void drive(int64_t seconds, int64_t load = 100) {
        for (const int64_t end = milliseconds + seconds * 1000; milliseconds < end;) {
            const int64_t kind = work.between(0, 99);
            const int64_t total = kind < 10   ? work.between(5, 25) // braking
                                  : kind < 30 ? -work.between(2, 8) // standing
                                  : kind < 75 ? -work.between(40, 90) * load / 100
                                  : kind < 95 ? -work.between(90, 160) * load / 100
                                              : -work.between(180, 260) * load / 100;
            share(total * amperes);
            faultIf(currentFaults, dischargeCurrentWarning, total < -250);
            sample(2 * minute);
        }
        rest();
        faultIf(currentFaults, dischargeCurrentWarning, false);
    }

    /// Stands with the controller awake.
    void idle(int64_t seconds) {
        for (const int64_t end = milliseconds + seconds * 1000; milliseconds < end;) {
            share(-work.between(700, 900));
            sample(15 * minute);
        }
        rest();
    }

    /// Heats the battery if it is too cold, then charges it, for the given time at most. The time
    /// has to suffice for heating.
    void charge(int64_t seconds) {
        const int64_t end = milliseconds + seconds * 1000;
        say("ac_no_sense=+1");
        say("chargeSchedule.state = WAIT");
        while (coldest() < freezing + 5 * degrees) {
            faultIf(temperatureFaults, tooColdToCharge, true);
            heat(true);
            sample(2 * minute);
        }
        faultIf(temperatureFaults, tooColdToCharge, false);
        state(charging);
        say("chargeSchedule.state = CHARGE");
        bool done = false;
        while (!done && milliseconds < end) {
            done = true;
            for (Module& module : modules) {
                module.heating = module.heating && module.temperature < freezing + 10 * degrees;
                module.current = module.acceptedCurrent(60 * amperes);
                module.measure(work);
                module.balancing =
                    module.current < 20 * amperes && module.highest() - module.lowest() > 6;
                done = done && module.current < 3 * amperes;
            }
            sample(5 * minute);
        }
        rest();
        state(done ? chargeDone : stoppingCharge);
        say(done ? "chargeSchedule.state = DONE" : "chargeSchedule.state = IDLE");
        say("ac_no_sense=+0");
    }

    /// Reports a system state.
    void state(State next) {
        static const std::map<State, std::string> names = {{initialising, "ST_INIT"},
                                                           {waitingForBmu, "ST_WAIT_FOR_BMU_COMM"},
                                                           {running, "ST_RUN"},
                                                           {charging, "ST_CHARGE"},
                                                           {chargeDone, "ST_CHARGE_DONE"},
                                                           {stoppingCharge, "ST_STOP_CHARGE"},
                                                           {aboutToSleep, "ST_ABOUT_TO_SLEEP"},
                                                           {sleeping, "ST_SLEEP"}};
        say("systemState=+" +
            (firmware == Firmware::old ? names.at(next) : std::to_string(unsigned{next})));
    }

    void say(const std::string& text) { log.message(now(), text); }

    /// Raises or clears a fault, and reports the category if that changed anything.
    void faultIf(unsigned category, unsigned bit, bool active) {
        const unsigned before = reported[category];
        const unsigned after = active ? before | bit : before & ~bit;
        if (after != before) {
            reported[category] = after;
            log.fault(now(), category, after);
        }
    }

    void shock(int x, int y, int z) { log.shock(now(), x, y, z); }
    void powerMode(unsigned mode) { log.powerMode(now(), mode); }
    void warranty(unsigned event) { log.warranty(now(), event); }

    /// The controller restarts and reports anew what it knows.
    void restart() {
        state(restarting);
        reported.clear();
        pass(20);
        state(initialising);
        log.firmwareVersion(now(), bmcFirmware);
    }

    void installFirmware(const std::string& version) {
        state(updatingFirmware);
        pass(4 * minute);
        bmcFirmware = version;
        restart();
    }

    /// Adds a record of any type.
    void record(unsigned type, const Payload& payload) { log.record(type, now(), payload); }

    /// Adds bytes that no controller writes.
    void garble(std::string_view bytes) { log.append(bytes); }

private:
    /// The time stamp of the next record, some milliseconds after that of the last.
    Stamp now() {
        writing += delays.between(3, 24);
        const int64_t time = milliseconds + writing;
        return {static_cast<uint16_t>(time / 1000 / day),
                static_cast<uint32_t>(time % (day * 1000))};
    }

    /// Coldest at 6, warmest at 15 o'clock.
    int64_t ambient() const {
        const int64_t time = milliseconds / 1000 % day;
        const int64_t sinceLow = (time + 18 * hour) % day;
        const int64_t rise = highest - lowest;
        return sinceLow < 9 * hour ? lowest + rise * sinceLow / (9 * hour)
                                   : highest - rise * (sinceLow - 9 * hour) / (15 * hour);
    }

    int64_t coldest() const {
        return std::ranges::min(modules, {}, &Module::temperature).temperature;
    }

    void heat(bool on) {
        for (Module& module : modules) {
            module.heating = on;
        }
    }

    /// Splits a current among the modules, which never carry quite the same.
    void share(int64_t total) {
        int64_t left = total;
        for (size_t index = 0; index + 1 < modules.size(); ++index) {
            modules[index].current = total * work.between(503, 511) / 1000;
            left -= modules[index].current;
        }
        modules.back().current = left;
    }

    void rest() {
        heat(false);
        for (Module& module : modules) {
            module.current = 0;
            module.balancing = false;
        }
    }

    void pass(int64_t seconds) {
        for (Module& module : modules) {
            module.pass(seconds, ambient());
        }
        milliseconds += seconds * 1000;
        writing = 0;
    }

    /// Writes what is measured at intervals, reports what it changes, and lets the time pass.
    void sample(int64_t seconds) {
        int64_t total = 0;
        int64_t soc = 10000;
        int64_t lowestCell = fullCell;
        for (Module& module : modules) {
            module.current = module.current / 100 * 100; // what is logged is what flows
            module.measure(work);
            measured(module);
            total += module.current;
            soc = std::min(soc, module.soc());
            lowestCell = std::min(lowestCell, module.lowest());
        }
        if (samples % 5 == 0) {
            for (const Module& module : modules) {
                counters(module);
            }
            const int64_t reading = total + readings.between(-400, 400); // from another sensor
            log.measuredCurrent(now(), static_cast<int32_t>(reading));
        }
        if (samples % 30 == 29) {
            environment();
        }
        ++samples;
        faultIf(generalFaults, lowSoc, soc < (reported[generalFaults] & lowSoc ? 2000 : 1500));
        faultIf(voltageFaults, lowCellVoltage,
                lowestCell < lowCell + (reported[voltageFaults] & lowCellVoltage ? 200 : 0));
        pass(seconds);
    }

    void measured(const Module& module) {
        DynamicInfo info;
        info.cellMillivolts.clear();
        for (const Cell& cell : module.cells) {
            info.cellMillivolts.push_back(static_cast<unsigned>(cell.voltage));
            info.millivolts += static_cast<unsigned>(cell.voltage);
        }
        info.deciAmperes = static_cast<int32_t>(module.current / 100);
        info.soc = static_cast<unsigned>((module.soc() + 50) / 100);
        // The driver's display keeps the lowest tenth back.
        info.dsoc = static_cast<unsigned>(std::max<int64_t>(module.soc() - 1000, 0) / 90);
        info.status = (module.heating ? 0x0400U : 0U) | (module.balancing ? 0x2000U : 0U) |
                      (module.current > 0 ? 0x0002U : 0x0001U);
        info.deciKelvin = static_cast<unsigned>((module.temperature + 50) / 100);
        if (firmware == Firmware::old) {
            log.dynamicInfo(now(), info, false);
        } else {
            log.dynamicInfo(now(), module.address, info);
        }
    }

    void counters(const Module& module) {
        const auto charged = static_cast<uint32_t>(module.charged / hour);
        const auto discharged = static_cast<uint32_t>(module.discharged / hour);
        const float soh = 9740 / 100.0F;
        const float soc = static_cast<float>(module.soc()) / 100.0F;
        if (firmware == Firmware::old) {
            log.advancedSoc(now(), charged, discharged, soh, soc);
        } else {
            log.advancedSoc(now(), module.address, charged, discharged, soh, soc);
        }
    }

    void describe(const Module& module) {
        StaticInfo info;
        info.cycleCount = module.cycleCount;
        info.manufactureDate = 0x2A4B;
        info.serialNumber = module.serialNumber;
        info.seriesCells = cellsPerModule;
        info.deviceName = "BMU 7S 210Ah";
        info.firmwareVersion = firmware == Firmware::old ? "1.2.7" : "1.9.0 release";
        info.temperatureSensors = 1;
        const auto chargeAs = module.charged / 1000; // in whole ampere-seconds
        const auto dischargeAs = module.discharged / 1000;
        info.chargeAs = static_cast<float>(chargeAs);
        info.dischargeAs = static_cast<float>(dischargeAs);
        if (firmware == Firmware::old) {
            log.staticInfo(now(), info);
        } else {
            log.staticInfo(now(), module.address, info);
        }
    }

    /// What the air in the battery compartment is like.
    void environment() {
        const auto kelvin = static_cast<unsigned>((ambient() + 500) / 1000);
        log.ambientTemperature(now(), kelvin - 2, kelvin + 3, kelvin);
        const auto humidity = static_cast<unsigned>(readings.between(4200, 7600));
        log.humidity(now(), humidity, humidity - 850, humidity + 625, humidity - 40);
    }

    Firmware firmware;
    std::vector<Module> modules;
    Chance work = Chance(0);     // moves the battery
    Chance readings = Chance(0); // of what doesn't
    Chance delays = Chance(0);   // between records that are written at once
    std::string bmcFirmware;
    LogBuilder log;
    std::map<unsigned, unsigned> reported; // active faults by category
    int64_t milliseconds = 0;              // since 1 January 1984
    int64_t writing = 0;                   // milliseconds that records took since then
    int64_t lowest = freezing;
    int64_t highest = freezing;
    unsigned samples = 0;
};

/// A module whose cells are nearly alike, at a state of charge in percent.
Module newModule(unsigned address, unsigned serialNumber, int64_t soc, Chance& chance) {
    Module module;
    module.address = address;
    module.serialNumber = serialNumber;
    module.cycleCount = 310 + address;
    module.charged = 64310 * ampereHours + address * 17 * ampereHours;
    module.discharged = 62850 * ampereHours + address * 16 * ampereHours;
    for (Cell& cell : module.cells) {
        cell.capacity += chance.between(-900, 900) * ampereHours / 1000;
        cell.resistance += chance.between(-40, 40);
        cell.charge = cell.capacity / 1000 * (soc * 10 + chance.between(-3, 3));
    }
    return module;
}

/// A cell that holds less than the others and sags more under load.
void weaken(Cell& cell) {
    cell.capacity = cell.capacity / 100 * 93;
    cell.charge = cell.charge / 100 * 93;
    cell.resistance = cell.resistance / 100 * 180;
}

void save(const std::filesystem::path& directory, const std::string& name, const LogBuilder& log) {
    std::filesystem::create_directories(directory);
    std::ofstream(directory / name, std::ios::binary) << log.bytes();
}

// The stories: see README.md.

void twoModuleTruck(const std::filesystem::path& directory) {
    Chance chance(20220228);
    std::vector<Module> modules = {newModule(1, 20871, 82, chance),
                                   newModule(2, 20872, 82, chance)};
    weaken(modules[1].cells[4]);
    Truck truck(Firmware::current, modules);

    truck.weather(6, 14);
    truck.park(2022, 2, 28, 6, 30);
    truck.wakeUp();
    truck.warranty(1);
    truck.state(running);
    truck.say("interlock=+1");
    truck.drive(90 * minute, 115);
    truck.idle(45 * minute);
    truck.charge(3 * hour);
    save(directory, "20220228.LOG", truck.sleep());

    truck.weather(8, 17);
    truck.park(2022, 3, 4, 7, 0);
    truck.wakeUp();
    truck.state(running);
    truck.say("interlock=+1");
    truck.say("sbx_sense=+1");
    truck.drive(100 * minute);
    truck.shock(14, -62, 9);
    truck.faultIf(featureFaults, shockError, true);
    truck.say("interlock=+0");
    truck.state(interlocked);
    truck.idle(30 * minute);
    truck.say("hud_multifunc=+1");
    truck.say("hud_multifunc=+0");
    truck.faultIf(featureFaults, shockError, false);
    truck.say("interlock=+1");
    truck.state(running);
    truck.drive(60 * minute);
    truck.charge(4 * hour);
    save(directory, "20220304.LOG", truck.sleep());

    truck.weather(7, 19);
    truck.park(2022, 3, 9, 6, 0);
    truck.wakeUp();
    truck.state(running);
    truck.say("interlock=+1");
    truck.drive(3 * hour, 130);
    truck.idle(30 * minute);
    truck.drive(2 * hour, 125);
    truck.powerMode(17);
    truck.drive(20 * minute, 60);
    truck.powerMode(255);
    truck.charge(110 * minute);
    save(directory, "20220309.LOG", truck.sleep());

    truck.weather(-8, 3);
    truck.park(2022, 3, 14, 5, 30);
    truck.wakeUp();
    truck.charge(2 * hour);
    truck.state(running);
    truck.say("interlock=+1");
    truck.drive(100 * minute);
    truck.idle(30 * minute);
    truck.charge(4 * hour);
    save(directory, "20220314.LOG", truck.sleep());

    truck.weather(4, 12);
    truck.park(2022, 3, 22, 7, 0);
    truck.wakeUp();
    truck.state(running);
    truck.say("interlock=+1");
    truck.drive(50 * minute);
    truck.faultIf(communicationFaults, lossOfCanRx, true);
    truck.state(truckCommLost);
    truck.idle(15 * minute);
    truck.restart();
    truck.state(waitingForBmu);
    truck.state(running);
    truck.say("interlock=+1");
    truck.drive(50 * minute);
    truck.faultIf(communicationFaults, lossOfCanRx, true);
    truck.idle(15 * minute);
    truck.faultIf(communicationFaults, lossOfCanRx, false);
    truck.drive(30 * minute);
    save(directory, "20220322.LOG", truck.sleep());

    truck.weather(9, 18);
    truck.park(2022, 3, 30, 20, 0);
    truck.wakeUp();
    truck.installFirmware("BMC firmware 2.5.0 2022-03-18");
    truck.state(running);
    truck.say("interlock=+1");
    truck.drive(2 * hour);
    truck.charge(6 * hour); // past midnight
    save(directory, "20220330.LOG", truck.sleep());

    truck.park(2022, 4, 1, 7, 0);
    truck.wakeUp();
    truck.state(running);
    truck.say("interlock=+1");
    truck.drive(40 * minute);
    truck.faultIf(featureFaults, chargerError, true);
    truck.idle(30 * minute);
    truck.faultIf(featureFaults, chargerError, false);
    truck.charge(90 * minute);
    save(directory, "20220401.LOG", truck.sleep());
}

void singleModuleTruck(const std::filesystem::path& directory) {
    Chance chance(20190311);
    std::vector<Module> modules = {newModule(1, 11402, 96, chance)};
    weaken(modules[0].cells[1]);
    Truck truck(Firmware::old, modules);

    truck.weather(5, 13);
    truck.park(2019, 3, 11, 6, 0);
    truck.wakeUp();
    truck.warranty(1);
    truck.state(running);
    truck.say("interlock=+1");
    truck.drive(2 * hour, 50);
    truck.idle(30 * minute);
    truck.drive(1 * hour, 50);
    truck.charge(3 * hour);
    save(directory, "20190311.LOG", truck.sleep());

    truck.weather(3, 9);
    truck.park(2019, 3, 12, 6, 0);
    truck.wakeUp();
    truck.state(running);
    truck.say("interlock=+1");
    truck.drive(3 * hour, 60);
    truck.shock(-7, 31, -4);
    truck.drive(90 * minute, 60);
    truck.charge(5 * hour);
    save(directory, "20190312.LOG", truck.sleep());
}

/// A truck that has just been woken up and driven a bit, for logs that come to harm.
Truck wokenTruck(unsigned dayOfMonth) {
    Chance chance(20230500 + dayOfMonth);
    Truck truck(Firmware::current,
                {newModule(1, 31001, 70, chance), newModule(2, 31002, 70, chance)});
    truck.weather(12, 22);
    truck.park(2023, 5, dayOfMonth, 8, 0);
    truck.wakeUp();
    truck.state(running);
    truck.drive(10 * minute);
    return truck;
}

void damagedLogs(const std::filesystem::path& directory) {
    // Power was lost while a sample was written: its last third is missing.
    LogBuilder cutOff = wokenTruck(9).sleep();
    const LogBuilder::Frame last = *(cutOff.frames().end() - 8);
    save(directory, "cutOff.LOG", cutOff.truncate(last.begin + (last.end - last.begin) * 2 / 3));

    Truck garbled = wokenTruck(10);
    Chance chance(7);
    std::string garbage;
    for (int count = 0; count < 300; ++count) {
        garbage += static_cast<char>(chance.between(0, 255));
    }
    garbled.garble(garbage);
    garbled.drive(10 * minute);
    save(directory, "garbage.LOG", garbled.sleep());

    Truck strange = wokenTruck(11);
    strange.record(200, Payload().u16(0x1003).u16(500).text("a newer controller's record"));
    strange.record(0, Payload().u8(1));
    strange.record(14, Payload().u8(1).u16(0).u16(25400)); // a sample without its end
    strange.say("BMU 2: reply late, repeated\nonce");
    strange.faultIf(64, 5, true); // a category without a name
    strange.drive(6 * minute);
    save(directory, "unknownTypes.LOG", strange.sleep());
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::cerr << "Usage: makeSamples <directory>\n";
        return 1;
    }
    const std::filesystem::path directory = arguments[1];
    twoModuleTruck(directory / "two-module-truck");
    singleModuleTruck(directory / "single-module-truck");
    damagedLogs(directory / "damaged");
}
