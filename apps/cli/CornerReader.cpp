#include "apps/cli/CornerReader.h"

#include "apps/cli/formatNumber.h"
#include "apps/cli/parseValue.h"

#include <cmath>
#include <stdexcept>
#include <string>

namespace Cli
{
void CornerReader::add(PolygonWithHoles::Ring& ring, double x, double y)
{
    if (!(std::abs(x) <= kLargestNumber && std::abs(y) <= kLargestNumber))
    {
        throw std::runtime_error(
            "bad corner " + formatNumber(x) + " " + formatNumber(y) + ", expected two numbers within " +
            formatNumber(kLargestNumber)
        );
    }
    if (++mCount > kMostCorners)
    {
        throw std::runtime_error("there are more than " + std::to_string(kMostCorners) + " corners");
    }
    ring.emplace_back(static_cast<float>(x - mOrigin.x), static_cast<float>(y - mOrigin.y));
}
}  // namespace Cli
