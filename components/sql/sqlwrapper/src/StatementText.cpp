#include "StatementText.h"

#include "NumberText.h"

namespace sql
{

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
