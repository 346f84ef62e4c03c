#include "apps/cli/parsePlanes.h"

#include "apps/cli/parseValue.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Cli
{
namespace
{
constexpr double kShortestNormal = 1e-15;  // what is shorter may vanish in single precision
}  // namespace

std::vector<Math::HalfSpace<double, 3>> parsePlanes(
    const std::string& option, const std::vector<std::string>& texts, const Math::Point<double, 3>& origin
)
{
    std::vector<Math::HalfSpace<double, 3>> planes;
    for (const std::string& text : texts)
    {
        const auto commas = static_cast<std::size_t>(std::count(text.begin(), text.end(), ','));
        const std::vector<double> numbers = parseNumbers(option, text, (commas / 4 + 1) * 4);
        for (std::size_t i = 0; i < numbers.size(); i += 4)
        {
            const double a = numbers[i];
            const double b = numbers[i + 1];
            const double c = numbers[i + 2];
            if (std::hypot(a, b, c) < kShortestNormal)
            {
                throw CLI::ValidationError(option, "'" + text + "' has a normal of length 0");
            }
            planes.emplace_back(a, b, c, numbers[i + 3] + a * origin.x + b * origin.y + c * origin.z);
        }
    }
    return planes;
}
}  // namespace Cli
