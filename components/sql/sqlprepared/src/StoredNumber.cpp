#include "StoredNumber.h"

#include <cfloat>
#include <cmath>
#include <cstring>

#include "../../sqlwrapper/src/NumberText.h"

namespace sql
{

// A number below this has at most seven digits before the point, so that eight decimals make at
// most fifteen digits: as many as SQLite writes, and as many as a double keeps. Below the least,
// SQLite writes an exponent.
static const double tooLarge = 1e7;
static const double least = 1e-4;

StoredDouble::StoredDouble(double number) : _first(nullptr)
{
    const double magnitude = std::fabs(number);
    const bool isZero = magnitude == 0.0 && !std::signbit(number);
    if (FLT_EVAL_METHOD != 0 || !(isZero || (magnitude >= least && magnitude < tooLarge)))
        return;

    const double unit = 1e8; // eight decimals
    const integer shifted = static_cast<integer>(magnitude * unit + 0.5);
    if (static_cast<double>(shifted) / unit !=
        magnitude) // rounded once, so that equal means nearest
        return;

    const int decimals = 8;
    const IntegerText digits(shifted, decimals + 1);
    const char* end = digits.data() + digits.size();
    const char* const point = end - decimals;
    while (end > point + 1 && end[-1] == '0')
        --end;

    char* next = _bytes;
    if (number < 0.0)
        *next++ = '-';
    const size_t wholes = static_cast<size_t>(point - digits.data());
    std::memcpy(next, digits.data(), wholes);
    next += wholes;
    *next++ = '.';
    const size_t kept = static_cast<size_t>(end - point);
    std::memcpy(next, point, kept);
    next[kept] = '\0';
    _first = _bytes;
}

// Up to fifteen digits are exact in a double, and so is a power of ten: their quotient is rounded
// once, as SQLite rounds. It has ways of its own beyond, for which it gets the text.
static const int mostWholes = 12;
static const int mostDecimals = 3;
static const int mostDigits = 18; // which fit into 64 bits

static const char* skipDigits(const char* text)
{
    while (*text >= '0' && *text <= '9')
        ++text;
    return text;
}

// Null when an exponent begins without a digit to follow.
static const char* skipExponent(const char* text)
{
    if (*text != 'e' && *text != 'E')
        return text;
    ++text;
    if (*text == '+' || *text == '-')
        ++text;
    const char* const end = skipDigits(text);
    return end > text ? end : nullptr;
}

static integer readDigits(const char* text, const char* end, integer digits)
{
    for (; text != end; ++text)
        digits = digits * 10 + (*text - '0');
    return digits;
}

DecimalText::DecimalText(const string& text) : _form(no_number), _whole(0), _real(0.0)
{
    const char* const begin = text.c_str();
    const bool isNegative = *begin == '-';
    const char* const first = isNegative || *begin == '+' ? begin + 1 : begin;
    const char* const point = skipDigits(first);
    const char* const decimals = *point == '.' ? point + 1 : point;
    const char* end = skipDigits(decimals);
    const bool hasDigits = point > first || end > decimals;
    if (!hasDigits || skipExponent(end) != begin + text.size()) // nor does a NUL byte belong to it
        return;

    _form = as_text;
    if (*end != '\0')
        return;
    if (end == point) {
        if (point - first > mostDigits)
            return;
        _form = as_integer;
        _whole = readDigits(first, point, 0);
        if (isNegative)
            _whole = -_whole;
        return;
    }
    while (end > decimals && end[-1] == '0')
        --end;
    if (FLT_EVAL_METHOD != 0 || point - first > mostWholes || end - decimals > mostDecimals)
        return;
    static const double units[] = {1, 10, 100, 1000};
    const integer digits = readDigits(decimals, end, readDigits(first, point, 0));
    const double magnitude = static_cast<double>(digits) / units[end - decimals];
    _form = as_double;
    _real = isNegative ? -magnitude : magnitude;
}

integer wholeOf(double number)
{
    const double beyond = 9223372036854775808.0; // 2^63
    return number >= -beyond && number < beyond ? static_cast<integer>(number) : 0;
}

integer wholeOf(const string& text)
{
    const bool isWhole = text.find_first_of(".eE") == string::npos;
    return isWhole ? textToInteger(text.c_str()) : wholeOf(textToDouble(text));
}

} // namespace sql
