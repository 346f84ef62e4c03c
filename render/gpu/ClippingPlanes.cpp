#include "render/gpu/ClippingPlanes.h"

#include "math/HalfSpace.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace Render
{
ClippingPlanes toClippingPlanes(const Math::ConvexPolytope<float, 3>& volume)
{
    ClippingPlanes rows{};
    if (volume.size() > rows.size())
    {
        throw std::runtime_error(
            "Error: volume contains too many clipping planes, plane count = " + std::to_string(volume.size())
        );
    }
    std::ranges::transform(
        volume.halfSpaces(),
        rows.begin(),
        [](const Math::HalfSpace<float, 3>& plane) {
            return std::array<float, 4>{plane.a, plane.b, plane.c, plane.d};
        }
    );
    return rows;
}
}  // namespace Render
