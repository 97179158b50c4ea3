#pragma once

#include <array>
#include <cstddef>
#include <iosfwd>
#include <string_view>

/// The fields of a row, each preceded by ",", on their way to a stream. They are put together in a
/// small buffer, which goes to the stream in one go when write() is called and whenever it is full.
///
/// Integers are in decimal, whatever the stream was set to. A float has the text that the
/// standard's default notation with 6 significant digits gives it, such as "3.14159" and "2.5e+06".
///
/// Why it is fast: a row of 16 numbers takes a third of the time that it takes if each goes to the
/// stream by itself ("fields" in bench/micro.cpp). Most of what is left are the floats (see
/// FieldText.cpp).
class FieldText {
public:
    /// Refers to the stream, which must outlive this object.
    explicit FieldText(std::ostream& os) : stream(os) {}

    FieldText(const FieldText&) = delete;
    FieldText& operator=(const FieldText&) = delete;

    void add(bool value);
    void add(float value);
    void add(int value);
    void add(unsigned int value);
    void add(short value) { add(int{value}); }
    void add(unsigned short value) { add(unsigned{value}); }

    /// Adds a text as it is, of any length. It goes to the stream at once.
    void add(std::string_view text);
    void add(const char* text) = delete; // would be taken for a bool

    /// Adds fields without a value.
    void addEmpty(size_t count);

    /// Hands what is in the buffer to the stream. To be called once the row is complete: what is
    /// still in the buffer when the object goes is lost.
    void write();

private:
    /// What the field of a number may touch: comma, sign, digits before the point, the point and
    /// the register that the other digits are in.
    static constexpr size_t maximumLength = 1 + 1 + 5 + 1 + 8;
    static constexpr size_t usualFields = 20; // for which the buffer has room

    /// Makes room for the field of a number and begins it. Returns where its text goes.
    char* begin();

    /// Takes the field that ends there into the text.
    void end(const char* position);

    std::array<char, usualFields * maximumLength> buffer;
    size_t length = 0;
    std::ostream& stream;
};
