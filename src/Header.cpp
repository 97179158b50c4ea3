#include "Header.h"

#include <ostream>

Header::Header(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        addName(name);
    }
}

Header::List& Header::ownList() {
    if (!list) {
        list = std::make_shared<List>();
    } else if (list.use_count() > 1) {
        list = std::make_shared<List>(*list);
    }
    return *list;
}

void Header::addName(const std::string& name) {
    List& own = ownList();
    if (!own.columnNames.empty()) {
        own.text += ',';
    }
    own.text += name;
    own.columnNames.push_back(name);
}

void Header::addAll(const Header& other) {
    if (empty()) {
        list = other.list;
        return;
    }
    // Held meanwhile: a header that is added to itself then changes a copy of its list.
    const std::shared_ptr<const List> added = other.list;
    if (added) {
        for (const std::string& name : added->columnNames) {
            addName(name);
        }
    }
}

size_t Header::size() const {
    return list ? list->columnNames.size() : 0;
}

bool Header::empty() const {
    return size() == 0;
}

void Header::write(std::ostream& os) const {
    if (list) {
        os << list->text;
    }
}

void Header::writeColumnName(std::ostream& os, const std::string& name) const {
    os << name;
}
