#include "LogBuilder.h"

#include <bit>
#include <stdexcept>

namespace {

constexpr char dle = 0x10;
constexpr char etx = 0x03;

} // namespace

Payload& Payload::u8(unsigned value) {
    bytes += static_cast<char>(value & 0xFF);
    return *this;
}

Payload& Payload::u16(unsigned value) {
    return u8(value >> 8).u8(value);
}

Payload& Payload::u32(uint32_t value) {
    return u16(value >> 16).u16(value);
}

Payload& Payload::f32(float value) {
    return u32(std::bit_cast<uint32_t>(value));
}

Payload& Payload::zeros(size_t count) {
    bytes.append(count, '\0');
    return *this;
}

Payload& Payload::text(std::string_view value) {
    bytes += value;
    return *this;
}

Payload& Payload::text(std::string_view value, size_t width) {
    return text(value.substr(0, width)).zeros(width - value.substr(0, width).size());
}

Stamp stamp(unsigned year, unsigned month, unsigned day, unsigned hour, unsigned minute,
            unsigned second, unsigned millisecond) {
    static const unsigned daysBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const unsigned leapDaysBefore = (year - 1984 + 3) / 4 + (year % 4 == 0 && month > 2 ? 1 : 0);
    const unsigned days = (year - 1984) * 365 + leapDaysBefore + daysBefore[month - 1] + day - 1;
    const uint32_t milliseconds = ((hour * 60 + minute) * 60 + second) * 1000 + millisecond;
    return {static_cast<uint16_t>(days), milliseconds};
}

Payload dynamicInfoPayload(const DynamicInfo& info, bool longCurrent) {
    if (info.cellMillivolts.size() != cellsPerModule) {
        throw std::invalid_argument("a sample without the voltages of all cells");
    }
    Payload payload;
    payload.u16(0).u16(info.millivolts);
    if (longCurrent) {
        payload.u32(static_cast<uint32_t>(info.deciAmperes));
    } else {
        payload.u16(static_cast<unsigned>(info.deciAmperes));
    }
    payload.u16(info.soc).u16(info.dsoc).u16(info.status);
    for (const unsigned millivolts : info.cellMillivolts) {
        payload.u16(millivolts);
    }
    return payload.u16(info.deciKelvin);
}

Payload staticInfoPayload(const StaticInfo& info) {
    return Payload()
        .zeros(4)
        .u16(info.cycleCount)
        .zeros(6)
        .u16(info.manufactureDate)
        .u16(info.serialNumber)
        .u8(info.seriesCells)
        .zeros(32)
        .text(info.deviceName, 32)
        .zeros(32)
        .text(info.firmwareVersion, 32)
        .u8(info.temperatureSensors)
        .zeros(25)
        .f32(info.chargeAs)
        .f32(info.dischargeAs);
}

Payload advancedSocPayload(uint32_t chargeMAH, uint32_t dischargeMAH, float soh, float soc) {
    return Payload().u32(chargeMAH).u32(dischargeMAH).f32(soh).f32(soc);
}

Payload faultPayload(unsigned category, unsigned bits) {
    return Payload().u16(0).u8(category).zeros(3).u16(bits);
}

LogBuilder& LogBuilder::record(unsigned type, Stamp when, std::string_view payload) {
    const size_t begin = log.size();
    const Payload data = Payload().u8(type).u32(when.milliseconds).u16(when.day).text(payload);
    for (const char byte : data.bytes) {
        if (byte == dle) {
            log += dle;
        }
        log += byte;
    }
    log += dle;
    log += etx;
    framesSoFar.push_back({begin, log.size()});
    return *this;
}

LogBuilder& LogBuilder::record(unsigned type, Stamp when, const Payload& payload) {
    return record(type, when, payload.bytes);
}

LogBuilder& LogBuilder::dynamicInfo(Stamp when, const DynamicInfo& info, bool longCurrent) {
    return record(2, when, dynamicInfoPayload(info, longCurrent));
}

LogBuilder& LogBuilder::dynamicInfo(Stamp when, unsigned module, const DynamicInfo& info) {
    return record(14, when, Payload().u8(module).text(dynamicInfoPayload(info, true).bytes));
}

LogBuilder& LogBuilder::staticInfo(Stamp when, const StaticInfo& info) {
    return record(1, when, staticInfoPayload(info));
}

LogBuilder& LogBuilder::staticInfo(Stamp when, unsigned module, const StaticInfo& info) {
    return record(13, when, Payload().u8(module).text(staticInfoPayload(info).bytes));
}

LogBuilder& LogBuilder::advancedSoc(Stamp when, uint32_t chargeMAH, uint32_t dischargeMAH,
                                    float soh, float soc) {
    return record(7, when, advancedSocPayload(chargeMAH, dischargeMAH, soh, soc));
}

LogBuilder& LogBuilder::advancedSoc(Stamp when, unsigned module, uint32_t chargeMAH,
                                    uint32_t dischargeMAH, float soh, float soc) {
    return record(
        15, when,
        Payload().u8(module).text(advancedSocPayload(chargeMAH, dischargeMAH, soh, soc).bytes));
}

LogBuilder& LogBuilder::fault(Stamp when, unsigned category, unsigned bits) {
    return record(3, when, faultPayload(category, bits));
}

LogBuilder& LogBuilder::shock(Stamp when, int x, int y, int z) {
    return record(4, when,
                  Payload()
                      .u8(static_cast<unsigned>(x))
                      .u8(static_cast<unsigned>(y))
                      .u8(static_cast<unsigned>(z)));
}

LogBuilder& LogBuilder::message(Stamp when, std::string_view text) {
    return record(5, when, text);
}

LogBuilder& LogBuilder::firmwareVersion(Stamp when, std::string_view text) {
    return record(6, when, text);
}

LogBuilder& LogBuilder::measuredCurrent(Stamp when, int32_t milliamperes) {
    return record(8, when, Payload().u32(static_cast<uint32_t>(milliamperes)));
}

LogBuilder& LogBuilder::powerMode(Stamp when, unsigned mode) {
    return record(9, when, Payload().u8(mode));
}

LogBuilder& LogBuilder::warranty(Stamp when, unsigned state) {
    return record(10, when, Payload().u8(state));
}

LogBuilder& LogBuilder::ambientTemperature(Stamp when, unsigned minimum, unsigned maximum,
                                           unsigned average) {
    return record(11, when, Payload().u16(minimum).u16(maximum).u16(average));
}

LogBuilder& LogBuilder::humidity(Stamp when, unsigned now, unsigned low, unsigned high,
                                 unsigned average) {
    return record(12, when, Payload().u16(now).u16(low).u16(high).u16(average));
}

LogBuilder& LogBuilder::append(std::string_view raw) {
    log += raw;
    return *this;
}

LogBuilder& LogBuilder::truncate(size_t length) {
    log.resize(length);
    return *this;
}

LogBuilder& LogBuilder::flip(size_t offset, uint8_t mask) {
    return replace(offset, static_cast<uint8_t>(static_cast<uint8_t>(log.at(offset)) ^ mask));
}

LogBuilder& LogBuilder::replace(size_t offset, uint8_t byte) {
    log.at(offset) = static_cast<char>(byte);
    return *this;
}

LogBuilder& LogBuilder::insert(size_t offset, std::string_view raw) {
    log.insert(offset, raw);
    return *this;
}

LogBuilder& LogBuilder::remove(size_t offset, size_t count) {
    log.erase(offset, count);
    return *this;
}
