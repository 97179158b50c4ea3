#include "RecordCatalogue.h"

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace {

// The build puts the table in here.
constexpr std::string_view table =
#include "recordTypes.inc"
    ;

std::string bytesOf(const std::string& hexadecimal) {
    std::string bytes;
    for (size_t at = 0; at < hexadecimal.size(); at += 2) {
        bytes += static_cast<char>(std::stoi(hexadecimal.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

std::vector<RecordType> allTypes() {
    std::vector<RecordType> types;
    std::istringstream lines{std::string(table)};
    std::string line;
    std::getline(lines, line); // the names of the columns
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string code;
        RecordType type;
        std::string payload;
        std::getline(fields, code, '\t');
        std::getline(fields, type.name, '\t');
        std::getline(fields, type.className, '\t');
        std::getline(fields, type.header, '\t');
        std::getline(fields, payload, '\t');
        type.code = static_cast<unsigned>(std::stoul(code));
        type.payload = bytesOf(payload);
        types.push_back(type);
    }
    return types;
}

} // namespace

std::ostream& operator<<(std::ostream& os, const RecordType& type) {
    return os << "type " << type.code << " (" << type.name << ")";
}

const std::vector<RecordType>& recordTypes() {
    static const std::vector<RecordType> types = [] {
        std::vector<RecordType> known = allTypes();
        known.pop_back();
        return known;
    }();
    return types;
}

const RecordType& unknownType() {
    static const RecordType type = allTypes().back();
    return type;
}

const RecordType& recordType(unsigned code) {
    if (code == unknownType().code) {
        return unknownType();
    }
    const auto found = std::ranges::find(recordTypes(), code, &RecordType::code);
    if (found == recordTypes().end()) {
        throw std::out_of_range("tests/recordTypes.tsv has no type " + std::to_string(code));
    }
    return *found;
}

void appendMissingTypes(LogBuilder& log, Stamp when) {
    std::vector<unsigned> present;
    for (const LogBuilder::Frame& frame : log.frames()) {
        const bool isEscaped = log.bytes()[frame.begin] == '\x10';
        present.push_back(static_cast<uint8_t>(log.bytes()[frame.begin + (isEscaped ? 1 : 0)]));
    }
    std::vector<RecordType> types = recordTypes();
    types.push_back(unknownType());
    for (const RecordType& type : types) {
        if (std::ranges::find(present, type.code) == present.end()) {
            log.record(type.code, when, type.payload);
        }
    }
}
