#include "apps/cli/errorText.h"

#include "apps/cli/oneLine.h"

#include <string_view>

namespace Cli
{
std::string errorText(const std::exception& error)
{
    std::string text = oneLine(error.what());
    try
    {
        std::rethrow_if_nested(error);
    }
    catch (const std::exception& nested)
    {
        constexpr std::string_view kPrefix = "Error: ";  // the outer text has it, or needs none
        const std::string reason = errorText(nested);
        text += ": " + reason.substr(reason.starts_with(kPrefix) ? kPrefix.size() : 0);
    }
    return text;
}
}  // namespace Cli
