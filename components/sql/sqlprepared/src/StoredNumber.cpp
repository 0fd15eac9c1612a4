#include "StoredNumber.h"

#include <cfloat>
#include <cmath>
#include <cstddef>

namespace sql
{

// SQLite writes at most fifteen digits, new versions seventeen, which take off the last ones where
// the number is plainly a shorter decimal. Between these bounds eight decimals make at most
// thirteen digits, and every version writes just those.
static const double tooLarge = 1e5;
static const double least = 1e-3;

StoredDouble::StoredDouble(double number) : _first(nullptr)
{
    const double magnitude = std::fabs(number);
    const bool isZero = magnitude == 0.0 && !std::signbit(number);
    if (FLT_EVAL_METHOD != 0 || !(isZero || (magnitude >= least && magnitude < tooLarge)))
        return;
    const bool isWritten = write(magnitude, 1e2, 2) || write(magnitude, 1e8, 8);
    if (isWritten && number < 0.0)
        *--_first = '-';
}

// What is added to it loses its fraction.
static const double withoutFraction = 4503599627370496.0; // 2^52

// Divides numbers of 32 bits, because many processors are slow with larger ones.
bool StoredDouble::write(double magnitude, double unit, int decimals)
{
    const int wholes = static_cast<int>(magnitude);
    const double parts = (magnitude - wholes) * unit + withoutFraction - withoutFraction;
    // Rounded once, so that equal means nearest, whichever way the parts were rounded.
    if ((wholes * unit + parts) / unit != magnitude)
        return false;

    // From the last digit to the first, without zeros after the first decimal.
    char* const end = _bytes + sizeof(_bytes) - 1;
    char* next = end;
    *end = '\0';
    unsigned rest = static_cast<unsigned>(static_cast<int>(parts));
    for (; decimals > 0; --decimals) {
        const unsigned tenth = rest / 10;
        const unsigned digit = rest - 10 * tenth;
        if (digit != 0 || next != end || decimals == 1)
            *--next = static_cast<char>('0' + digit);
        rest = tenth;
    }
    *--next = '.';
    rest = static_cast<unsigned>(wholes);
    do {
        *--next = static_cast<char>('0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    _first = next;
    return true;
}

// Up to fifteen digits are exact in a double, and so is a power of ten: their quotient is rounded
// once, as SQLite rounds. It has ways of its own beyond, for which it gets the text.
static const int mostWholes = 12;
static const int mostDecimals = 3;
static const int mostDigits = 18; // which fit into 64 bits
static const int fewDigits = 9;   // which fit into 32 bits, and are read quicker

static unsigned digitOf(char character) // 10 or more: it is none
{
    return static_cast<unsigned char>(character) - unsigned{'0'};
}

static bool isDigit(char character)
{
    return digitOf(character) < 10;
}

// Null when an exponent begins without a digit to follow.
static const char* skipExponent(const char* text)
{
    if (*text != 'e' && *text != 'E')
        return text;
    ++text;
    if (*text == '+' || *text == '-')
        ++text;
    if (!isDigit(*text))
        return nullptr;
    while (isDigit(*text))
        ++text;
    return text;
}

DecimalText::DecimalText(const string& text) : _form(no_number), _whole(0), _real(0.0)
{
    const char* const begin = text.c_str();
    const char* const end = begin + text.size();
    const bool isNegative = *begin == '-';
    const char* const first = isNegative || *begin == '+' ? begin + 1 : begin;
    const char* next = first;
    unsigned few = 0;
    for (; isDigit(*next) && next != first + fewDigits; ++next)
        few = few * 10 + digitOf(*next);
    unsigned long long whole = few; // wraps around when there are too many digits
    for (; isDigit(*next); ++next)
        whole = whole * 10 + digitOf(*next);
    const integer magnitude = static_cast<integer>(whole);
    const std::ptrdiff_t wholes = next - first;
    if (next == end && wholes > 0) {
        _form = as_text;
        if (wholes > mostDigits)
            return;
        _form = as_integer;
        _whole = isNegative ? -magnitude : magnitude;
        return;
    }

    std::ptrdiff_t decimals = 0;
    double unit = 1.0;
    unsigned parts = 0;
    bool hasMore = false; // than decimals that are kept, and zeros
    if (*next == '.') {
        const char* const point = ++next;
        for (; isDigit(*next) && next != point + mostDecimals; ++next) {
            parts = parts * 10 + digitOf(*next);
            unit *= 10.0;
        }
        while (*next == '0')
            ++next;
        for (; isDigit(*next); ++next)
            hasMore = true;
        decimals = next - point;
    }
    if (wholes + decimals == 0 || skipExponent(next) != end) // no NUL byte belongs to it either
        return;
    if (FLT_EVAL_METHOD != 0 || next != end || hasMore || wholes > mostWholes) {
        _form = as_text;
        return;
    }
    const double quotient = (static_cast<double>(magnitude) * unit + parts) / unit;
    _form = as_double;
    _real = isNegative ? -quotient : quotient;
}

} // namespace sql
