#include "Header.h"

#include <ostream>

Header::Header(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        addName(name);
    }
}

Header::ColumnNames& Header::ownColumnNames() {
    if (!columnNames) {
        columnNames = std::make_shared<ColumnNames>();
    } else if (columnNames.use_count() > 1) {
        columnNames = std::make_shared<ColumnNames>(*columnNames);
    }
    return *columnNames;
}

void Header::addName(const std::string& name) {
    ownColumnNames().push_back(name);
}

void Header::addAll(const Header& other) {
    if (other.empty()) {
        return;
    }
    if (empty()) {
        columnNames = other.columnNames;
        return;
    }
    // Holding the other list makes a header that is added to itself copy its own list first, so
    // that the range which is inserted stays valid.
    const std::shared_ptr<const ColumnNames> added = other.columnNames;
    ColumnNames& own = ownColumnNames();
    own.insert(own.end(), added->begin(), added->end());
}

size_t Header::size() const {
    return columnNames ? columnNames->size() : 0;
}

bool Header::empty() const {
    return size() == 0;
}

void Header::write(std::ostream& os) const {
    const char* separator = "";
    for (size_t each = 0; each < size(); ++each) {
        os << separator << (*columnNames)[each];
        separator = ",";
    }
}

void Header::writeColumnName(std::ostream& os, const std::string& name) const {
    os << name;
}
