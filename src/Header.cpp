#include "Header.h"

#include <ostream>
#include <utility>

Header::Header(std::initializer_list<const char*> names) : Header() {
    for (const char* name : names) {
        addName(name);
    }
}

Header::Header(const Header& other) : list(other.list) {
    if (list != nullptr) {
        ++list->users;
    }
}

Header::Header(Header&& other) noexcept : list(std::exchange(other.list, nullptr)) {}

Header& Header::operator=(Header other) noexcept {
    std::swap(list, other.list);
    return *this;
}

Header::~Header() {
    if (list != nullptr && --list->users == 0) {
        delete list;
    }
}

Header::List& Header::ownList() {
    if (list == nullptr) {
        list = new List;
    } else if (list->users > 1) {
        List* const copy = new List{list->names, list->text};
        --list->users;
        list = copy;
    }
    return *list;
}

void Header::addName(const std::string& name) {
    List& own = ownList();
    if (!own.names.empty()) {
        own.text += ',';
    }
    own.text += name;
    own.names.push_back(name);
}

void Header::addAll(const Header& other) {
    if (empty()) {
        *this = other;
        return;
    }
    const size_t count = other.size(); // of now: a header may be added to itself
    for (size_t index = 0; index < count; ++index) {
        addName(other.columnNames()[index]);
    }
}

const Header::ColumnNames& Header::columnNames() const {
    static const ColumnNames none;
    return list != nullptr ? list->names : none;
}

void Header::write(std::ostream& os) const {
    if (list != nullptr) {
        os << list->text;
    }
}

void Header::writeColumnName(std::ostream& os, const std::string& name) const {
    os << name;
}
