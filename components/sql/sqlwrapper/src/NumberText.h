// Numbers as texts, and texts as numbers: the same in every locale. Not for users.

#ifndef SQLW_NUMBER_TEXT_H
#define SQLW_NUMBER_TEXT_H

#include "SqlCommon.h"

namespace sql
{

/// The digits of a number in decimal, with its sign.
class SQLW_INTERNAL IntegerText
{
public:
    static const string::size_type mostSize = sizeof("-9223372036854775808") - 1;

    /// Pads a number of fewer digits with zeros in front.
    explicit IntegerText(integer number, string::size_type fewestDigits = 1);

    const char* data() const { return _first; }
    string::size_type size() const
    {
        return static_cast<string::size_type>(_bytes + sizeof(_bytes) - _first);
    }

private:
    char _bytes[mostSize]; // the digits are at the end
    const char* _first;
};

/// Replaces `text` with the number as "%0.8f" prints it in the C locale, cut to 127 characters.
SQLW_INTERNAL void doubleToText(double number, string& text);

/// As `strtoll` reads decimal.
SQLW_INTERNAL integer textToInteger(const char* text);

/// As `strtod` reads in the C locale.
SQLW_INTERNAL double textToDouble(const string& text);

} // namespace sql

#endif
