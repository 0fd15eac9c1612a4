// How the library builds texts: without a temporary, and mostly without memory from the heap. Not
// for its users.

#ifndef SQLW_STATEMENT_TEXT_H
#define SQLW_STATEMENT_TEXT_H

#include <cstring>

#include "SqlCommon.h"

namespace sql
{

/// A statement that is built from parts. Most are short, and stand on the stack.
class SQLW_INTERNAL StatementText
{
public:
    StatementText() : _first(_short), _size(0), _room(sizeof(_short)) {}
    template <size_t Size> explicit StatementText(const char (&start)[Size]) : StatementText()
    {
        add(start);
    }
    ~StatementText() { release(); }
    StatementText(const StatementText&) = delete;
    StatementText& operator=(const StatementText&) = delete;

    /// Takes the memory for `size` bytes, so that none is taken while the text grows up to them.
    void reserve(string::size_type size)
    {
        if (size >= _room)
            growTo(size + 1);
    }

    void add(const char* bytes, string::size_type count)
    {
        if (count >= _room - _size)
            growTo(2 * _room + count);
        std::memcpy(_first + _size, bytes, count);
        _size += count;
    }
    template <size_t Size> void add(const char (&literal)[Size]) { add(literal, Size - 1); }
    void add(const string& text) { add(text.data(), text.size()); }
    void addInteger(integer number);
    /// Adds `text` with every single quote doubled.
    void addQuoted(const string& text);
    /// Drops what was added behind the first `size` bytes.
    void cut(string::size_type size) { _size = size; }

    string::size_type size() const { return _size; }
    string str() const { return string(_first, _size); }
    /// Valid until the text changes.
    const char* c_str()
    {
        _first[_size] = '\0';
        return _first;
    }

private:
    void growTo(string::size_type room);
    void release();

    char* _first;
    string::size_type _size;
    string::size_type _room; // always for one byte more, which ends the text
    char _short[256];
};

/// As the `queryNumber` of a string.
SQLW_INTERNAL int queryNumber(sqlite3* db, StatementText& query);

} // namespace sql

#endif
