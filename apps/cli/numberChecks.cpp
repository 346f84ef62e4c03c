#include "apps/cli/numberChecks.h"

#include "apps/cli/formatNumber.h"
#include "apps/cli/readNumber.h"

#include <limits>
#include <string>

namespace Cli
{
CLI::Validator wholeNumber(std::uint64_t least, std::uint64_t most)
{
    const std::string range = std::to_string(least) + " to " + std::to_string(most);
    const auto check = [least, most, range](std::string& text) -> std::string
    {
        std::uint64_t value = 0;
        if (!readNumber(text, value) || value < least || value > most)
        {
            return "'" + text + "' is not a whole number from " + range;
        }
        text = std::to_string(value);
        return {};
    };
    // The help names ranges that somebody has chosen.
    return {check, most < std::numeric_limits<std::uint64_t>::max() ? range : std::string()};
}

CLI::Validator numberFrom(double least, double most)
{
    const std::string range = formatNumber(least) + " to " + formatNumber(most);
    const auto check = [least, most, range](const std::string& text) -> std::string
    {
        double value = 0.0;
        const bool isGood = readNumber(text, value) && value >= least && value <= most;
        return isGood ? std::string() : "'" + text + "' is not a number from " + range;
    };
    return {check, range};
}
}  // namespace Cli
