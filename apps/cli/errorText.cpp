#include "apps/cli/errorText.h"

#include "apps/cli/oneLine.h"

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
        text += ": " + errorText(nested);
    }
    return text;
}
}  // namespace Cli
