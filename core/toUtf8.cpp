#include "core/toUtf8.h"

#include <system_error>

namespace Core
{
std::string toUtf8(const std::filesystem::path& path)
{
    try
    {
        const std::u8string text = path.u8string();
        return {text.begin(), text.end()};
    }
    catch (const std::system_error&)  // half a surrogate pair, which file systems allow in a name
    {
        constexpr std::filesystem::path::value_type kEndOfAscii = 0x7F;
        std::string text;
        for (const std::filesystem::path::value_type character : path.native())
        {
            text.push_back(character < kEndOfAscii ? static_cast<char>(character) : '?');
        }
        return text;
    }
}
}  // namespace Core
