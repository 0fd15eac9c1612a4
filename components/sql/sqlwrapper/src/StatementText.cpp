#include "StatementText.h"

#include <cstdint>

namespace sql
{

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
    while (rest != 0 || first > padded) {
        const std::uint32_t tenth = rest / 10;
        *--first = static_cast<char>('0' + (rest - 10 * tenth));
        rest = tenth;
    }
    if (number < 0)
        *--first = '-';
    _first = first;
}

void StatementText::addInteger(integer number)
{
    const IntegerText digits(number);
    add(digits.data(), digits.size());
}

void StatementText::addQuoted(const string& text)
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

void StatementText::growTo(string::size_type room)
{
    char* const longer = new char[room];
    std::memcpy(longer, _first, _size);
    release();
    _first = longer;
    _room = room;
}

void StatementText::release()
{
    if (_first != _short)
        delete[] _first;
}

} // namespace sql
