#pragma once

#include <cstdint>
#include <fstream>
#include <iosfwd>
#include <string>
#include <string_view>

/// The summary of charge and discharge periods in "synopsis.csv": one line per period with its
/// first and last datestamp, its direction, the lowest and highest state of charge and the charge
/// transported in it.
///
/// Readings arrive while logs are decoded, starts while message rows are written. Since a run
/// decodes every log before it writes the first row, all readings of a run arrive before its first
/// start and the file holds its header line alone. Files of different
/// years are compared byte for byte, so the three places that report are not to be moved.
class Synopsis {
public:
    enum ChargeDirection { unknown = 0, discharge = 1, charge = 2 };

    /// Creates or truncates "synopsis.csv" in the current working directory and writes its header
    /// line. If the file can't be opened, every line written to it is lost silently.
    Synopsis();

    /// Writes the period under way, if it qualifies, and closes the file.
    ~Synopsis();

    Synopsis(const Synopsis&) = delete;
    Synopsis& operator=(const Synopsis&) = delete;

    /// Begins a period of the given direction without touching the dates.
    void initialize(ChargeDirection newDirection);

    /// Ends the period under way with a line, if it qualifies, and begins one in the given
    /// direction at the datestamp. A start in the direction under way changes nothing.
    void start(std::string_view datestamp, ChargeDirection newDirection);

    // Datestamps come as views: a std::string for each of a million readings would take a heap
    // block.

    /// Takes a state-of-charge reading (percent, DSOC first) into the period.
    void dynamicInfo(std::string_view datestamp, uint16_t dsoc, uint16_t soc);

    /// Takes a reading of the charge counters (mAh) into the period. A reading of 0 is ignored.
    void advancedSOC(std::string_view datestamp, uint32_t transportedCharge);

    /// Writes the line of the period under way, or nothing if no period was begun, no
    /// state-of-charge reading arrived in it or its direction is unknown.
    void write(std::ostream& os);

private:
    uint32_t count = 0; // periods begun since construction
    std::ofstream ws;
    std::string startDate;
    std::string endDate; // of the latest reading taken into the period
    ChargeDirection direction = unknown;
    uint16_t loDsoc = 0;
    uint16_t hiDsoc = 0;
    uint16_t loSoc = 0;
    uint16_t hiSoc = 0;
    uint32_t loTransportedCharge = 0;
    uint32_t hiTransportedCharge = 0;
};
