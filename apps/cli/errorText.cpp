#include "apps/cli/errorText.h"

namespace Cli
{
std::string errorText(const std::exception& error)
{
    std::string text = error.what();
    for (char& c : text)
    {
        c = (c == '\n' || c == '\r') ? ' ' : c;
    }
    while (!text.empty() && text.back() == ' ')
    {
        text.pop_back();
    }
    try
    {
        std::rethrow_if_nested(error);
    }
    catch (const std::exception& nested)
    {
        text += ": " + errorText(nested);
    }
    return text;
}
}  // namespace Cli
