#pragma once

#include <string>
#include <string_view>

/// The bytes that hexadecimal digits stand for; blanks are skipped.
inline std::string fromHex(std::string_view digits)
{
    std::string bytes;
    std::string pair;
    for (const char digit : digits)
    {
        if (digit != ' ')
        {
            pair += digit;
        }
        if (pair.size() == 2)
        {
            bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
            pair.clear();
        }
    }
    return bytes;
}
