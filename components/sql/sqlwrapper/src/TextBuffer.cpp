#include "TextBuffer.h"

#include "NumberText.h"

namespace sql
{

void TextBuffer::reserve(string::size_type size)
{
    if (size >= _capacity)
        grow(size + 1);
}

void TextBuffer::addInteger(integer number)
{
    const IntegerText digits(number);
    add(digits.data(), digits.size());
}

void TextBuffer::addEscaped(const string& text)
{
    const char* begin = text.data();
    const char* next = begin;
    const char* const end = begin + text.size();
    while (const void* quote = std::memchr(next, '\'', static_cast<size_t>(end - next))) {
        next = static_cast<const char*>(quote) + 1;
        add(begin, static_cast<size_t>(next - begin));
        begin = next - 1; // the quote is added again, as the first character of what follows
    }
    add(begin, static_cast<size_t>(end - begin));
}

void TextBuffer::grow(string::size_type capacity)
{
    char* const data = new char[capacity];
    std::memcpy(data, _data, _size);
    release();
    _data = data;
    _capacity = capacity;
}

void TextBuffer::release()
{
    if (_data != _short)
        delete[] _data;
}

} // namespace sql
