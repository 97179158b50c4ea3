#pragma once

#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <vector>

/// The ordered list of a record type's CSV column names, without the datestamp column.
///
/// Records are held by the million and each caches its header once asked for it, so copies share
/// one list of names: copying a Header, or adding a whole Header to an empty one, copies a pointer.
/// The list is copied only when a Header that shares it is changed.
class Header {
public:
    using ColumnNames = std::vector<std::string>;

    /// An empty list.
    Header() = default;

    /// The given names, in their order.
    Header(std::initializer_list<const char*> names);

    Header(const Header& other);
    Header(Header&& other) noexcept;
    Header& operator=(Header other) noexcept;
    ~Header();

    /// Appends one name; duplicates are kept.
    void addName(const std::string& name);

    /// Appends all names of the other header, in its order. Adding a header to itself doubles it.
    void addAll(const Header& other);

    /// The names in output order, valid until this header is changed. An operation, since a list in
    /// each of a million records would take a tenth more memory.
    const ColumnNames& columnNames() const;

    size_t size() const { return columnNames().size(); }
    bool empty() const { return columnNames().empty(); }

    /// Writes the names separated by commas: nothing before the first, nothing after the last, no
    /// line end. An empty list writes nothing.
    void write(std::ostream& os) const;

    /// Writes one name as it is.
    void writeColumnName(std::ostream& os, const std::string& name) const;

private:
    struct List {
        ColumnNames names;
        std::string text; // the names as write() writes them: header lines are frequent
        size_t users = 1;
    };

    /// The list, made sure to be this header's own.
    List& ownList();

    // Null while there are no names. The list counts its users itself: a shared pointer would be
    // twice as large.
    List* list = nullptr;
};
