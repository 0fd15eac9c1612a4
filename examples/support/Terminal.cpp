#include "Terminal.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <cwchar>

#include <langinfo.h>
#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace support
{

namespace
{

struct Character
{
    bool isValid;
    char32_t code;
    std::size_t size;
};

/// The character at a position of a text in UTF-8; a single byte where there is none.
Character characterAt(const std::string& text, std::size_t position)
{
    const auto byteAt = [&text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const unsigned int first = byteAt(position);
    if (first < 0x80)
        return {true, first, 1};

    // The least character of each size: a shorter form of it exists for those below.
    static const std::array<char32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
    const std::size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    char32_t code = first & (0x7fu >> size);
    for (std::size_t i = 1; i < size; ++i) {
        const unsigned int next = byteAt(position + i);
        if ((next & 0xc0) != 0x80)
            return {false, first, 1};
        code = code << 6 | (next & 0x3f);
    }
    const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
    if (first < 0xc2 || first > 0xf4 || code < least[size] || code > 0x10ffff || isSurrogate)
        return {false, first, 1};
    return {true, code, size};
}

bool disturbs(char32_t code)
{
    const auto isWithin = [code](char32_t from, char32_t to) { return code >= from && code <= to; };
    return isWithin(0, 0x1f) || isWithin(0x7f, 0x9f) ||                              // control
           code == 0x061c || isWithin(0x200e, 0x200f) || isWithin(0x2066, 0x206f) || // direction
           isWithin(0x2028, 0x202e); // ends of lines, and overrides of direction
}

std::string numberOf(const Character& character)
{
    char number[16];
    const char* const format = character.isValid && character.code > 0x7f ? "\\u%04x" : "\\x%02x";
    std::snprintf(number, sizeof(number), format, static_cast<unsigned int>(character.code));
    return number;
}

/// A locale whose characters are those of Unicode; null when the machine has none.
locale_t unicodeLocale()
{
    for (const char* const name : {"C.UTF-8", "", "en_US.UTF-8"}) {
        const locale_t locale = newlocale(LC_CTYPE_MASK, name, nullptr);
        if (!locale)
            continue;
        if (std::strcmp(nl_langinfo_l(CODESET, locale), "UTF-8") == 0)
            return locale;
        freelocale(locale);
    }
    return nullptr;
}

std::size_t widthOf(char32_t code)
{
    static const locale_t unicode = unicodeLocale();
    if (!unicode)
        return 1;
    const locale_t before = uselocale(unicode);
    const int width = ::wcwidth(static_cast<wchar_t>(code));
    uselocale(before);
    return width < 0 ? 1 : static_cast<std::size_t>(width);
}

} // namespace

std::string harmless(const std::string& text)
{
    std::string shown;
    for (std::size_t i = 0; i < text.size();) {
        const Character character = characterAt(text, i);
        if (character.isValid && !disturbs(character.code))
            shown.append(text, i, character.size);
        else
            shown += numberOf(character);
        i += character.size;
    }
    return shown;
}

std::string exact(const std::string& text)
{
    std::string doubled;
    for (const char character : text)
        doubled.append(character == '\\' ? 2 : 1, character);
    return harmless(doubled);
}

std::size_t widthOf(const std::string& text)
{
    std::size_t width = 0;
    for (std::size_t i = 0; i < text.size();) {
        const Character character = characterAt(text, i);
        width += widthOf(character.code);
        i += character.size;
    }
    return width;
}

std::string cutTo(std::size_t columns, const std::string& text)
{
    std::size_t width = 0;
    for (std::size_t i = 0; i < text.size();) {
        const Character character = characterAt(text, i);
        width += widthOf(character.code);
        if (width > columns)
            return text.substr(0, i);
        i += character.size;
    }
    return text;
}

std::size_t terminalWidth()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return 80;
    return size.ws_col;
}

} // namespace support
