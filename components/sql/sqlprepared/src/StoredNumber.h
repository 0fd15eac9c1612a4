// How SQLite writes the numbers that it has stored. Not for users.

#ifndef SQLW_STORED_NUMBER_H
#define SQLW_STORED_NUMBER_H

#include "Companion.h"

namespace sql
{

/// The text that SQLite returns for a stored double.
class SQLW_INTERNAL StoredDouble
{
public:
    explicit StoredDouble(double number);

    /// Null when SQLite has to be asked: the number is not one of up to eight decimals and thirteen
    /// digits.
    const char* text() const { return _first; }

private:
    bool write(double magnitude, double unit, int decimals);

    char _bytes[16]; // a sign, five digits, a point, eight digits, and the end
    char* _first;
};

/// A text that is to be stored in a number column: what to bind, so that the file gets the bytes
/// that the text gives as a literal of SQL.
class SQLW_INTERNAL DecimalText
{
public:
    enum Form {
        no_number,
        as_integer,
        as_double,
        as_text ///< SQLite converts numbers of many digits in a way of its own
    };

    explicit DecimalText(const string& text);

    Form form() const { return _form; }
    integer whole() const { return _whole; }
    double real() const { return _real; }

private:
    Form _form;
    integer _whole;
    double _real;
};

} // namespace sql

#endif
