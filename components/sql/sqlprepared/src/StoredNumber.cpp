#include "StoredNumber.h"

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "../../sqlwrapper/src/NumberText.h"

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

    const double unit = 1e8; // eight decimals
    const integer shifted =
        static_cast<integer>(magnitude * unit + 0.5); // NOLINT(bugprone-incorrect-roundings)
    // Rounded once, so that equal means nearest, whichever way the sum above was rounded.
    if (static_cast<double>(shifted) / unit != magnitude)
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

static bool isDigit(char character)
{
    return character >= '0' && character <= '9';
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
    unsigned long long digits = 0; // wraps around when there are too many
    for (; isDigit(*next); ++next)
        digits = digits * 10 + static_cast<unsigned long long>(*next - '0');
    const std::ptrdiff_t wholes = next - first;
    if (next == end && wholes > 0) {
        if (wholes > mostDigits) {
            _form = as_text;
            return;
        }
        _form = as_integer;
        _whole = isNegative ? -static_cast<integer>(digits) : static_cast<integer>(digits);
        return;
    }

    std::ptrdiff_t decimals = 0;
    bool hasMore = false; // than decimals that are kept, and zeros
    if (*next == '.') {
        const char* const point = next++;
        for (; isDigit(*next); ++next) {
            if (next - point <= mostDecimals)
                digits = digits * 10 + static_cast<unsigned long long>(*next - '0');
            else
                hasMore = hasMore || *next != '0';
        }
        decimals = next - point - 1;
    }
    if (wholes + decimals == 0 || skipExponent(next) != end) // no NUL byte belongs to it either
        return;
    if (FLT_EVAL_METHOD != 0 || next != end || hasMore || wholes > mostWholes) {
        _form = as_text;
        return;
    }
    static const double units[] = {1, 10, 100, 1000};
    const std::ptrdiff_t kept = decimals < mostDecimals ? decimals : mostDecimals;
    const double magnitude = static_cast<double>(static_cast<integer>(digits)) / units[kept];
    _form = as_double;
    _real = isNegative ? -magnitude : magnitude;
}

} // namespace sql
