#pragma once

#include "LogBuilder.h"

#include <iosfwd>
#include <string>
#include <vector>

/// A row of recordTypes.tsv, the catalogue of record types. Whatever outside of src/ goes through
/// the types takes them from there.
struct RecordType {
    unsigned code;
    std::string name;      // of its columns in docs/columns.tsv; a type with module address has
                           // the name of the plain one
    std::string className; // no other type has it
    std::string header;    // the column names after the datestamp, with a comma between two
    std::string payload;   // the bytes of an example, as many as the controller writes
};

/// Such as "type 4 (shock)".
std::ostream& operator<<(std::ostream& os, const RecordType& type);

/// The types that have a class of their own, in the order of their codes.
const std::vector<RecordType>& recordTypes();

/// The type that stands for all that have none.
const RecordType& unknownType();

/// The type with the code. Throws std::out_of_range if the catalogue has none.
const RecordType& recordType(unsigned code);

/// Appends an example of each type that the log, as it was built, holds no record of.
void appendMissingTypes(LogBuilder& log, Stamp when);
