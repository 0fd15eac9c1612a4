// How the library builds texts: without a temporary, and mostly without memory from the heap.
// Internal.

#ifndef SQLW_TEXT_BUFFER_H
#define SQLW_TEXT_BUFFER_H

#include <cstring>

#include "SqlCommon.h"

namespace sql
{

/// A text that is built from parts: a statement, a name, a literal. A short one is on the stack.
class SQLW_INTERNAL TextBuffer
{
public:
    TextBuffer() : _data(_short), _size(0), _capacity(sizeof(_short)) {}
    explicit TextBuffer(const char* start) : TextBuffer() { add(start); }
    ~TextBuffer() { release(); }
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;

    /// Takes the memory for `size` bytes, so that the text grows up to them without taking more.
    void reserve(string::size_type size);

    void add(const char* bytes, string::size_type count)
    {
        if (count >= _capacity - _size)
            grow(2 * _capacity + count);
        std::memcpy(_data + _size, bytes, count);
        _size += count;
    }
    void add(const char* text) { add(text, std::strlen(text)); }
    void add(const string& text) { add(text.data(), text.size()); }
    void addInteger(integer number);
    /// Adds `text` with every single quote doubled, and does not enclose it.
    void addEscaped(const string& text);
    /// Drops what was added after the first `size` bytes.
    void truncate(string::size_type size) { _size = size; }

    string::size_type size() const { return _size; }
    /// Always above the size, for the NUL that ends the text.
    string::size_type capacity() const { return _capacity; }
    string str() const { return string(_data, _size); }
    /// Valid until the text changes.
    const char* c_str()
    {
        _data[_size] = '\0';
        return _data;
    }

private:
    void grow(string::size_type capacity);
    void release();

    char* _data;
    string::size_type _size;
    string::size_type _capacity;
    char _short[256];
};

} // namespace sql

#endif
