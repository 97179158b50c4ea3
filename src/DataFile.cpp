#include "DataFile.h"

#include <fstream>
#include <iostream>
#include <utility>

DataFile::DataFile(const std::string& path) : inputFilename(path) {
    std::ifstream stream(inputFilename, std::ios::in | std::ios::binary);
    std::cout << "Reading: " << inputFilename << std::endl;
    if (stream.fail()) {
        std::cerr << "Unable to open " << inputFilename << " for reading." << std::endl;
        return;
    }
    while (!stream.eof()) {
        std::shared_ptr<DataRecord> record = DataRecord::factory(stream);
        record->interpret();
        records.push_back(std::move(record));
    }
    // The factory turns a failing read into an end of file, so that the loop above ends, and marks
    // the stream bad.
    if (stream.bad()) {
        std::cerr << "Unable to read " << inputFilename << " to its end." << std::endl;
    }
}
