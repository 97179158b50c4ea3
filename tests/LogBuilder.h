#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The bytes of a payload, put together as the controller writes them: big-endian.
class Payload {
public:
    Payload& u8(unsigned value);
    Payload& u16(unsigned value);
    Payload& u32(uint32_t value);
    Payload& f32(float value);
    Payload& zeros(size_t count);
    Payload& text(std::string_view value);

    /// The text, followed by zero bytes up to the width.
    Payload& text(std::string_view value, size_t width);

    std::string bytes;
};

/// A log's time stamp: day number (0 is 1 January 1984) and milliseconds since midnight.
struct Stamp {
    uint16_t day = 0;
    uint32_t milliseconds = 0;
};

/// The stamp for which the controller's calendar shows the given date and time. Not for 1 January.
Stamp stamp(unsigned year, unsigned month, unsigned day, unsigned hour = 0, unsigned minute = 0,
            unsigned second = 0, unsigned millisecond = 0);

/// Cells in series. All that makes logs or knows their layout takes the number from here.
constexpr size_t cellsPerModule = 7;

/// What a dynamic info record holds, in the units of the log.
struct DynamicInfo {
    unsigned millivolts = 0;
    int32_t deciAmperes = 0;
    unsigned soc = 0;
    unsigned dsoc = 0;
    unsigned status = 0;
    std::vector<unsigned> cellMillivolts = std::vector<unsigned>(cellsPerModule, 0);
    unsigned deciKelvin = 0;
};

/// What a static info record holds.
struct StaticInfo {
    unsigned cycleCount = 0;
    unsigned manufactureDate = 0;
    unsigned serialNumber = 0;
    unsigned seriesCells = 0;
    std::string deviceName;
    std::string firmwareVersion;
    unsigned temperatureSensors = 0;
    float chargeAs = 0;
    float dischargeAs = 0;
};

/// The payloads of the plain record types; a record with module address has one byte in front.
Payload dynamicInfoPayload(const DynamicInfo& info, bool longCurrent);
Payload staticInfoPayload(const StaticInfo& info);
Payload advancedSocPayload(uint32_t chargeMAH, uint32_t dischargeMAH, float soh, float soc);
Payload faultPayload(unsigned category, unsigned bits);

/// A log as the controller writes it, frame by frame, and the damage that can befall it.
class LogBuilder {
public:
    /// Where a frame lies in the log: [begin, end), the DLE ETX included.
    struct Frame {
        size_t begin;
        size_t end;
    };

    /// Appends a frame: type code, time stamp and payload, stuffed, and DLE ETX.
    LogBuilder& record(unsigned type, Stamp when, std::string_view payload);
    LogBuilder& record(unsigned type, Stamp when, const Payload& payload);

    // The record types, module address in front where there is one.
    LogBuilder& dynamicInfo(Stamp when, const DynamicInfo& info, bool longCurrent = true);
    LogBuilder& dynamicInfo(Stamp when, unsigned module, const DynamicInfo& info);
    LogBuilder& staticInfo(Stamp when, const StaticInfo& info);
    LogBuilder& staticInfo(Stamp when, unsigned module, const StaticInfo& info);
    LogBuilder& advancedSoc(Stamp when, uint32_t chargeMAH, uint32_t dischargeMAH, float soh,
                            float soc);
    LogBuilder& advancedSoc(Stamp when, unsigned module, uint32_t chargeMAH, uint32_t dischargeMAH,
                            float soh, float soc);
    LogBuilder& fault(Stamp when, unsigned category, unsigned bits);
    LogBuilder& shock(Stamp when, int x, int y, int z);
    LogBuilder& message(Stamp when, std::string_view text);
    LogBuilder& firmwareVersion(Stamp when, std::string_view text);
    LogBuilder& measuredCurrent(Stamp when, int32_t milliamperes);
    LogBuilder& powerMode(Stamp when, unsigned mode);
    LogBuilder& warranty(Stamp when, unsigned state);
    LogBuilder& ambientTemperature(Stamp when, unsigned minimum, unsigned maximum,
                                   unsigned average);
    LogBuilder& humidity(Stamp when, unsigned now, unsigned low, unsigned high, unsigned average);

    // Damage. Frames no longer tell where a record lies once bytes have moved.

    /// Appends bytes as they are.
    LogBuilder& append(std::string_view raw);

    /// Cuts the log off after its first bytes.
    LogBuilder& truncate(size_t length);

    /// Flips the bits of the mask in the byte at the offset.
    LogBuilder& flip(size_t offset, uint8_t mask);

    LogBuilder& replace(size_t offset, uint8_t byte);
    LogBuilder& insert(size_t offset, std::string_view raw);
    LogBuilder& remove(size_t offset, size_t count = 1);

    const std::string& bytes() const { return log; }
    const std::vector<Frame>& frames() const { return framesSoFar; }

private:
    std::string log;
    std::vector<Frame> framesSoFar;
};
