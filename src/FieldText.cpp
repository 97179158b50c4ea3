#include "FieldText.h"

#include "LineStream.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

// A float's text is written by std::to_chars, whose general format is the default notation, in 55
// ns. Two short cuts give the same text: digits that are put together in a register (25 ns), for
// the values that a battery has, and a table of the texts that were written before (13 ns), since
// the values of a log repeat ("floatText" in bench/micro.cpp). FloatTextSweep, a test, compares
// every one of the 2^32 floats with the C library's "%g".

namespace {

// The digits need arithmetic in exactly double precision, and a register whose lowest byte comes
// first in memory. Other machines take the general conversion. FIELDTEXT_GENERAL asks for it, for a
// test.
#ifdef FIELDTEXT_GENERAL
constexpr bool digitsInRegisters = false;
#else
constexpr bool digitsInRegisters =
    FLT_EVAL_METHOD == 0 && std::endian::native == std::endian::little;
#endif

/// The decimal digits of a number below 10^6, each in a byte of its own, the first one lowest.
uint64_t sixDigits(uint64_t number) {
    const uint64_t hundreds = number / 100;
    const uint64_t first = hundreds / 100;
    const uint64_t pairs = first | (hundreds - first * 100) << 16 | (number - hundreds * 100) << 32;
    const uint64_t tens =
        (pairs * 103 >> 10) & 0x000F000F000F; // x * 103 / 1024 is x / 10 below 100
    return tens | (pairs - tens * 10) << 8;
}

/// Writes the float with up to 6 significant digits in fixed notation, if that is the default
/// notation of its value; otherwise writes nothing and returns null. May touch 15 characters,
/// whatever the length of the text.
///
/// A float times a power of ten up to 10^9 is exact in double precision: 24 bits of the float and
/// 21 of the power, whose other factor is a power of two. So the rounding to an integer of 6 digits
/// is the only one, as it is in the standard's conversion: to the nearest, from the middle to the
/// even one.
char* writeFixed(char* to, float value) {
    constexpr int smallestExponent = -4;
    static constexpr double powers[] = {1e-4, 1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6};
    static constexpr double scales[] = {1e9, 1e8, 1e7, 1e6, 1e5, 1e4, 1e3, 1e2, 1e1, 1e0};

    const double magnitude = std::fabs(static_cast<double>(value));
    if (!(magnitude >= 1e-4 && magnitude < 999999.5)) {
        return nullptr;
    }
    // The decimal exponent is the binary one times log10(2), rounded down, or one more.
    const int binaryExponent = static_cast<int>(std::bit_cast<uint32_t>(value) >> 23 & 0xFF) - 127;
    int exponent = (binaryExponent * 1233) >> 12;
    exponent += magnitude >= powers[exponent + 1 - smallestExponent] ? 1 : 0;

    const double scaled = magnitude * scales[exponent - smallestExponent];
    // The sum has no room for a fraction: it is rounded, and its lowest bits are the integer.
    uint64_t number = std::bit_cast<uint64_t>(scaled + 0x1p52) & 0xFFFFFFFF;
    if (number == 1000000) { // rounded up to the next power of ten
        number = 100000;
        ++exponent;
    }
    const uint64_t digits = sixDigits(number);
    const int count = 8 - std::countl_zero(digits) / 8; // without the zeros at the end
    const uint64_t text = digits | 0x3030303030303030;

    *to = '-';
    to += std::signbit(value) ? 1 : 0;
    if (exponent < 0) {
        std::memcpy(to, "0.000", 5);
        to += 1 - exponent;
        std::memcpy(to, &text, sizeof text);
        return to + count;
    }
    const int whole = exponent + 1; // digits before the point
    std::memcpy(to, &text, sizeof text);
    if (count <= whole) {
        return to + whole;
    }
    to[whole] = '.';
    const uint64_t fraction = text >> (8 * whole);
    std::memcpy(to + whole + 1, &fraction, sizeof fraction);
    return to + count + 1;
}

char* writeFloat(char* to, char* end, float value) {
    char* const written = digitsInRegisters ? writeFixed(to, value) : nullptr;
    return written != nullptr ? written
                              : std::to_chars(to, end, value, std::chars_format::general, 6).ptr;
}

} // namespace

char* FieldText::begin() {
    if (buffer.size() - length < maximumLength) {
        write();
    }
    buffer[length++] = ',';
    return buffer.data() + length;
}

void FieldText::end(const char* position) {
    length = static_cast<size_t>(position - buffer.data());
}

void FieldText::add(bool value) {
    add(value ? 1U : 0U);
}

void FieldText::add(float value) {
    // A value goes where its bits lead, in place of whatever stood there.
    struct Known {
        uint32_t bits;
        uint8_t length; // 0 before the first value
        std::array<char, 11> text;
    };
    constexpr int indexBits = 10; // 16 KB, which stay in the processor's cache
    static std::array<Known, 1 << indexBits> table;

    char* const text = begin();
    const auto bits = std::bit_cast<uint32_t>(value);
    Known& known = table[bits * 0x9E3779B1U >> (32 - indexBits)];
    if (known.bits == bits && known.length != 0) {
        std::memcpy(text, known.text.data(), known.text.size());
        length += known.length;
        return;
    }
    end(writeFloat(text, buffer.end(), value));
    const auto size = static_cast<size_t>(buffer.data() + length - text);
    if (size <= known.text.size()) {
        known.bits = bits;
        known.length = static_cast<uint8_t>(size);
        std::copy_n(text, size, known.text.begin());
    }
}

void FieldText::add(int value) {
    char* const text = begin();
    end(std::to_chars(text, buffer.end(), value).ptr);
}

void FieldText::add(unsigned int value) {
    char* const text = begin();
    end(std::to_chars(text, buffer.end(), value).ptr);
}

void FieldText::add(std::string_view text) {
    begin();
    write();
    put(text, stream);
}

void FieldText::addEmpty(size_t count) {
    for (; count > 0; --count) {
        begin();
    }
}

void FieldText::write() {
    put({buffer.data(), length}, stream);
    length = 0;
}
