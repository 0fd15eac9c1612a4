// What the programs made of documents compare their remarks with.

#ifndef SQLW_DOCS_SNIPPETS_H
#define SQLW_DOCS_SNIPPETS_H

#include <iomanip>
#include <iostream>
#include <limits>
#include <sstream>
#include <string>

#include <Sql.h>
#include <SqlPrepared.h>

static int failures = 0;

inline std::string shown(bool truth)
{
    return truth ? "true" : "false";
}

template <typename Number> std::string shown(Number number)
{
    std::ostringstream text;
    text << std::setprecision(15) << number;
    return text.str();
}

template <typename Object> std::string shown(Object* pointer)
{
    return pointer ? "a pointer" : "null";
}

inline std::string shown(const std::string& text)
{
    std::string escaped = "\"";
    for (const char character : text) {
        if (character == '\r')
            escaped += "\\r";
        else if (character == '\n')
            escaped += "\\n";
        else
            escaped += character;
    }
    return escaped + "\"";
}

inline std::string shown(const char* text)
{
    return shown(std::string(text));
}

// A word of a table, which has no quotes there.
struct Word
{
    const char* text;
};

inline std::string shown(const Word& word)
{
    return word.text;
}

template <typename Result> void check(int line, const Result& result, const char* remark)
{
    if (shown(result) == remark)
        return;
    std::cout << "line " << line << ": gives " << shown(result) << ", not " << remark << "\n";
    ++failures;
}

#endif
