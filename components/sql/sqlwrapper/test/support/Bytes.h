// Texts of many bytes.

#ifndef SQLW_TEST_BYTES_H
#define SQLW_TEST_BYTES_H

#include <string>

namespace sqltest
{

/// The bytes 1 to 255, but for the single quote.
inline std::string allBytesButQuote()
{
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        if (byte != '\'')
            bytes += static_cast<char>(byte);
    return bytes;
}

} // namespace sqltest

#endif
