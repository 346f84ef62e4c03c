#include "render/renderer/Picking.h"

#include "render/renderer/Frame.h"
#include "render/renderer/ReadBack.h"
#include "render/renderer/SearchSquare.h"
#include "render/renderer/fitPlane.h"
#include "render/renderer/scanSquare.h"
#include "render/scene/Camera.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace Render
{
namespace
{
const std::string kTarget = "exactWorldPosition";

SearchSquare searchSquareIn(
    const Viewport& viewport, std::uint64_t x, std::uint64_t y, std::uint64_t tolerance
)
{
    return searchSquare(x, y, tolerance, viewport.width(), viewport.height());
}

Math::NPlane<float, 3> facing(const Math::NPlane<float, 3>& plane, const Math::Point<float, 3>& eye)
{
    const bool facesAway = plane.evaluate(eye) < 0.0F;
    return facesAway ? Math::NPlane<float, 3>(-plane.a, -plane.b, -plane.c, -plane.d) : plane;
}
}  // namespace

Picking::Picking(
    ID3D11DeviceContext* context, const Camera& camera, const Frame& frame, ReadBack& readBack
) noexcept
    : mContext(context), mCamera(camera), mFrame(frame), mReadBack(readBack)
{
}

bool Picking::pickPoint(std::uint64_t x, std::uint64_t y, Math::Point<float, 3>& point) const
{
    if (x >= mCamera.viewport().width() || y >= mCamera.viewport().height())
    {
        return false;
    }
    const ReadBack::Mapped mapped =
        mReadBack.exactWorldPosition(mContext, mFrame.scenePass().texture(kTarget));
    const auto texel = mapped.image().texel<std::array<float, 4>>(x, y);
    point = {texel[0], texel[1], texel[2]};
    return texel[3] > 0.0F;
}

bool Picking::pickClosestPointWithTolerance(
    std::uint64_t x, std::uint64_t y, std::uint64_t tolerance, Math::Point<float, 3>& point
) const
{
    const SearchSquare square = searchSquareIn(mCamera.viewport(), x, y, tolerance);
    if (square.isEmpty())
    {
        return false;
    }
    const ReadBack::Mapped mapped =
        mReadBack.exactWorldPosition(mContext, mFrame.scenePass().texture(kTarget));
    const std::optional<Math::Point<float, 3>> hit = closestHit(mapped.image(), square, mCamera.eye());
    point = hit.value_or(point);
    return hit.has_value();
}

bool Picking::pickPlane(
    std::uint64_t x,
    std::uint64_t y,
    std::uint64_t tolerance,
    Math::NPlane<float, 3>& plane,
    Math::Point<float, 3>& point,
    double threshold
) const
{
    const SearchSquare square = searchSquareIn(mCamera.viewport(), x, y, tolerance);
    if (square.isEmpty())
    {
        return false;
    }
    std::vector<Math::Point<float, 3>> hits;
    {
        const ReadBack::Mapped mapped =
            mReadBack.exactWorldPosition(mContext, mFrame.scenePass().texture(kTarget));
        hits = distinctHits(mapped.image(), square);
    }

    const std::vector<std::uint32_t> inliers = robustPlaneInliers(hits, threshold);
    const std::optional<Math::NPlane<float, 3>> fitted = leastSquaresPlane(hits, inliers);
    if (!fitted)
    {
        return false;
    }
    const Math::Point<float, 3> eye = mCamera.eye();
    plane = facing(*fitted, eye);
    const std::optional<Math::Point<float, 3>> met = intersection(plane, eye, mCamera.unProject(x, y, 0.0F));
    point = met.value_or(point);
    return met.has_value();
}
}  // namespace Render
