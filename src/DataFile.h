#pragma once

#include "DataRecord.h"

#include <memory>
#include <string>
#include <vector>

/// One log file, read into memory in full when it is constructed: its path and its decoded records
/// in file order. Read only afterwards.
///
/// The records are shared with anyone who copies a pointer out. Every element is non-empty and
/// interpreted.
class DataFile {
public:
    using Records = std::vector<std::shared_ptr<DataRecord>>;

    /// Reads the whole file. Prints "Reading: " and the path on standard output, before the outcome
    /// of the opening is known.
    ///
    /// A file that can't be opened gives an empty DataFile and one line on standard error. A file
    /// whose reading fails half way ends there as it would at its end, with one line on standard
    /// error; what was read is kept. Nothing is thrown for either.
    ///
    /// A file that was opened always has at least one record: end of file is noticed only by a read
    /// that fails, so the last record is the one in which that read happened. It is the cut-off
    /// frame if the file ends inside one, and an UnknownDataRecord of the single byte 0xFF if the
    /// file ends after a complete frame. This extra record is kept, since the order in which files
    /// are converted depends on its datestamp.
    explicit DataFile(const std::string& inputFilename);

    /// The first and the last record. The file must not be empty.
    std::shared_ptr<DataRecord>& front() { return records.front(); }
    const std::shared_ptr<DataRecord>& front() const { return records.front(); }
    std::shared_ptr<DataRecord>& back() { return records.back(); }
    const std::shared_ptr<DataRecord>& back() const { return records.back(); }

    Records::iterator begin() { return records.begin(); }
    Records::const_iterator begin() const { return records.begin(); }
    Records::iterator end() { return records.end(); }
    Records::const_iterator end() const { return records.end(); }

    /// The record at the index, which must be in range.
    std::shared_ptr<DataRecord>& operator[](unsigned long index) { return records[index]; }
    const std::shared_ptr<DataRecord>& operator[](unsigned long index) const {
        return records[index];
    }

    /// True when the file could not be opened.
    bool empty() const { return records.empty(); }

    /// The path as the constructor received it.
    std::string name() const { return inputFilename; }

private:
    std::string inputFilename;
    Records records;
};
