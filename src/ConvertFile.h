#pragma once

#include "DataFile.h"
#include "DataRecord.h"
#include "LineStream.h"

#include <fstream>
#include <memory>
#include <string>

/// The conversion of one log file into CSV text, and the choices and outputs that all conversions
/// of a run share: which outputs are wanted, the date range and the four files that collect the
/// rows of all logs of a directory.
///
/// An output that is not wanted, and one that could not be opened, is a stream that is not open:
/// what is written to it is lost silently, and the record writers write nothing to it once it has
/// failed. A failed opening is neither reported nor fatal.
class ConvertFile {
public:
    // The outputs that are wanted.
    static bool detailEnabled;      // "detail.csv" and a detail file beside each log
    static bool socEnabled;         // "soc.csv"
    static bool dynamicInfoEnabled; // "dynamicInfo.csv"
    static bool wideEnabled;        // "wide.csv"

    // The date range, compared as text with the records' datestamps; both ends belong to it. An
    // empty text is no bound. A date alone sorts before all times of its day: as the start it lets
    // the whole day in, as the end it keeps the whole day out.
    static std::string startDatestamp;
    static std::string endDatestamp;

    /// Sets the flags of an output option: "--detail" (which has no short form), "--soc" or "-s",
    /// "--dynamicInfo" or "-d", "--wide" or "-w", "--all" or "-a". Any other word sets nothing.
    static void enable(const std::string& word);

    /// Chooses "wide.csv" alone.
    static void enableDefault();

    /// True when at least one output is wanted.
    static bool anyEnabled();

    /// Opens the wanted global files in the directory, truncating them. Files that are open already
    /// are left as they are.
    static void aggregate(const std::string& path);

    /// True when the file can be opened for reading.
    static bool exists(const std::string& filename);

    // Each does nothing unless its output is wanted and not yet open.
    static void openGlobalDynamicInfoStream(const std::string& path);
    static void openGlobalSocStream(const std::string& path);
    static void openGlobalWideStream(const std::string& path);
    static void openGlobalDetailStream(const std::string& path);

    /// True when the record's datestamp lies within the date range.
    static bool insideDateRange(const std::shared_ptr<DataRecord>& record);

    /// Refers to the file, which must outlive this object. Chooses the default output if none has
    /// been chosen so far.
    explicit ConvertFile(const DataFile& dataFile);

    /// Writes the records inside the date range to the wanted outputs. Returns 0. Throws
    /// std::bad_cast if a record is not of the class that belongs to its type code.
    int convert();

    /// Writes the row of the combined state, once it has a datestamp. Opens the stream first if it
    /// is wanted and not open.
    void writeCSVWide(std::ofstream& ws, const std::string& filename);

private:
    /// Writes the row that line holds, whole and in one write; puts the record's row there if line
    /// is empty. Does nothing, and asks the record for nothing, unless the stream is open and
    /// works. So a message reports the start of a period once, however many files take its row: a
    /// second report of the same start would change nothing.
    void writeRow(DataRecord& record, std::ofstream& os);

    /// Writes the record's header line to the detail outputs, which it opens if they are wanted and
    /// not open.
    void writeDetailHeader(DataRecord& record, std::ofstream& detailStream);

    // These live from program start to process exit, which closes the streams.
    static std::string globalDynamicInfoFilename;
    static std::string globalSocFilename;
    static std::string globalWideFilename;
    static std::string globalDetailFilename;
    static std::ofstream globalDynamicInfoStream;
    static std::ofstream globalSocStream;
    static std::ofstream globalWideStream;
    static std::ofstream globalDetailStream;
    static WideDataRecord wide; // carried over from file to file

    const DataFile& dataFile;
    std::string detailFilename;
    std::string socFilename;         // stays empty
    std::string dynamicInfoFilename; // stays empty
    LineStream line;                 // the row that is being written, for all of its outputs
};
