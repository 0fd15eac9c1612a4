#include "NumberText.h"

#include <algorithm>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace sql
{

static const char pairs[] = "00010203040506070809101112131415161718192021222324"
                            "25262728293031323334353637383940414243444546474849"
                            "50515253545556575859606162636465666768697071727374"
                            "75767778798081828384858687888990919293949596979899";

IntegerText::IntegerText(integer number, string::size_type fewestDigits)
{
    char* first = _bytes + sizeof(_bytes);
    const char* const padded = first - fewestDigits;
    unsigned long long magnitude = static_cast<unsigned long long>(number);
    if (number < 0)
        magnitude = 0 - magnitude;
    while (magnitude > UINT32_MAX) {
        const unsigned long long tenth = magnitude / 10;
        *--first = static_cast<char>('0' + (magnitude - 10 * tenth));
        magnitude = tenth;
    }
    std::uint32_t rest = static_cast<std::uint32_t>(magnitude); // quicker on 32-bit processors
    while (rest >= 100) {
        const std::uint32_t hundredth = rest / 100;
        const size_t pair = rest - 100 * hundredth;
        first -= 2;
        std::memcpy(first, pairs + 2 * pair, 2);
        rest = hundredth;
    }
    while (rest != 0 || first > padded) {
        const std::uint32_t tenth = rest / 10;
        *--first = static_cast<char>('0' + (rest - 10 * tenth));
        rest = tenth;
    }
    if (number < 0)
        *--first = '-';
    _first = first;
}

// Doubles are written and read as in the C locale, because another program may read the file in
// another locale. snprintf and strtod follow the current locale, whose decimal point may be any
// text.

static bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

static const string::size_type decimalsWritten = 8;

// The fast path: whole-number arithmetic that gives the digits of snprintf. The binary fraction is
// multiplied out exactly, and what is beyond eight decimals rounds to the nearest, halves to even.
static bool fastDoubleToText(double number, string& text)
{
    using bits = unsigned long long;
    const double magnitude = number < 0.0 ? -number : number;
    if (!(magnitude >= 1.0 / 4096 && magnitude < 1e10)) // ends within 64 bits after the point
        return false;

    const integer unit = 100000000; // 1, shifted by the decimals
    const integer wholes = static_cast<integer>(magnitude);
    const double remainder = magnitude - static_cast<double>(wholes);
    const bits fraction = static_cast<bits>(remainder * 18446744073709551616.0); // 2^64
    const bits low = (fraction & UINT32_MAX) * unit;
    const bits high = (fraction >> 32) * unit + (low >> 32);
    const bits beyond = (high << 32) | (low & UINT32_MAX);
    const bits half = bits(1) << 63;
    integer shifted = wholes * unit + static_cast<integer>(high >> 32);
    if (beyond > half || (beyond == half && shifted % 2 == 1))
        ++shifted;

    // Copied in pieces of a fixed size: a copy of any other costs as much as its digits.
    const IntegerText digits(number < 0.0 ? -shifted : shifted, decimalsWritten + 1);
    const char* const end = digits.data() + digits.size();
    const string::size_type before = IntegerText::mostSize - decimalsWritten;
    char bytes[IntegerText::mostSize + 1];
    std::memcpy(bytes, end - IntegerText::mostSize, before);
    bytes[before] = '.';
    std::memcpy(bytes + before + 1, end - decimalsWritten, decimalsWritten);
    text.assign(bytes + sizeof(bytes) - digits.size() - 1, digits.size() + 1);
    return true;
}

static void printDouble(double number, string& text)
{
    char buffer[DBL_MAX_10_EXP + 64]; // sign, digits, a point of some bytes, decimals
    char* end = buffer + std::snprintf(buffer, sizeof(buffer), "%0.8f", number);
    if (isDigit(end[-1])) { // neither "inf" nor "nan"
        const char* const decimals = end - decimalsWritten;
        char* point = end - decimalsWritten;
        while (!isDigit(point[-1]))
            --point;
        *point = '.';
        std::memmove(point + 1, decimals, decimalsWritten);
        end = point + 1 + decimalsWritten;
    }
    // Deliberate: Doubles keep eight decimals and 127 characters
    const std::ptrdiff_t longest = 127;
    text.assign(buffer, static_cast<size_t>(std::min(end - buffer, longest)));
}

void doubleToText(double number, string& text)
{
    if (!fastDoubleToText(number, text))
        printDouble(number, text);
}

// The fast path back: a decimal number of up to fifteen digits, as SQLite writes most numbers.
struct ShortDecimal
{
    bool negative;
    integer digits;
    int decimals;
};

static const char* readDigits(const char* text, unsigned long long& digits)
{
    for (unsigned digit; (digit = static_cast<unsigned char>(*text) - unsigned{'0'}) <= 9; ++text)
        digits = digits * 10 + digit;
    return text;
}

static bool readShortDecimal(const char* text, ShortDecimal& number)
{
    number.negative = *text == '-';
    if (number.negative)
        ++text;
    unsigned long long digits = 0; // wraps around when there are too many
    const char* const point = readDigits(text, digits);
    const char* const end = *point == '.' ? readDigits(point + 1, digits) : point;
    number.digits = static_cast<integer>(digits);
    number.decimals = end > point ? static_cast<int>(end - point - 1) : 0;
    const std::ptrdiff_t count = point - text + number.decimals;
    return *end == '\0' && count > 0 && count <= 15;
}

integer textToInteger(const char* text)
{
    ShortDecimal number;
    if (readShortDecimal(text, number) && number.decimals == 0)
        return number.negative ? -number.digits : number.digits;
    return std::strtoll(text, nullptr, 10);
}

// The digits and their power of ten are exact in a double: the quotient is rounded once, as strtod
// rounds.
static double shortDecimalToDouble(const ShortDecimal& number)
{
    static const double powersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const double magnitude = static_cast<double>(number.digits) / powersOfTen[number.decimals];
    return number.negative ? -magnitude : magnitude;
}

static double scanDouble(const string& text)
{
    char half[16];
    half[std::snprintf(half, sizeof(half), "%.1f", 0.5) - 1] = '\0';
    const char* const point = half + 1;
    if (std::strcmp(point, ".") == 0)
        return std::strtod(text.c_str(), nullptr);

    // In the C locale a full stop is the point, and the local point ends the number.
    string local;
    const char* const localPoint = std::strstr(text.c_str(), point);
    const char* const end = localPoint ? localPoint : text.c_str() + text.size();
    for (const char* next = text.c_str(); next != end; ++next) {
        if (*next == '.')
            local += point;
        else
            local += *next;
    }
    return std::strtod(local.c_str(), nullptr);
}

double textToDouble(const string& text)
{
    ShortDecimal number;
    if (FLT_EVAL_METHOD == 0 && readShortDecimal(text.c_str(), number))
        return shortDecimalToDouble(number);
    return scanDouble(text);
}

} // namespace sql
