#pragma once

#include "math/ConvexPolytope.h"
#include "math/Frustum.h"
#include "math/NBoundingBox.h"
#include "render/pointcloud/NodePriority.h"
#include "render/scene/Viewport.h"

#include <numbers>

namespace Render
{
/// A rank with the given priority, in pixels, and distance, found through the perspective ranking of a
/// suitable box.
///
/// With a viewport 2 pixels high and a field of view of 90 degrees the priority is radius / distance, so a
/// flat box of half width priority x distance has it. Exact in the distance, within two roundings in the
/// priority.
inline NodePriority rankOf(float priority, float distance = 1.0F)
{
    const float radius = priority * distance;
    return NodePriority::perspective(
        {{-radius, 0.0F, -distance}, {radius, 0.0F, -distance}},
        Math::Frustum<float>(),
        Math::ConvexPolytope<float, 3>(),
        {0.0F, 0.0F, 0.0F},
        1.0F,
        Viewport(2, 2),
        std::numbers::pi_v<float> / 2.0F,
        0.0F
    );
}
}  // namespace Render
