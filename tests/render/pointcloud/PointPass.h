#pragma once

#include "math/Color.h"
#include "render/gpu/RasterizerState.h"
#include "render/gpu/RenderPass.h"
#include "render/gpu/VertexContainer.h"
#include "render/pointcloud/Buffer.h"
#include "render/pointcloud/LoDPointCloud.h"
#include "render/pointcloud/NodeRecord.h"
#include "tests/support/DeviceFixture.h"

#include <functional>
#include <memory>
#include <vector>

/// What a draw has left in the targets of the scene pass.
struct PassPicture
{
    TexelGrid<Math::Color> color;
    TexelGrid<Float4> worldPosition;
    TexelGrid<Float4> exactWorldPosition;
    TexelGrid<float> depth;
};

/// Number of texels of exactly this colour.
std::size_t countOf(const TexelGrid<Math::Color>& grid, const Math::Color& color);

/// A point of the given colour and position; intensity, class and scan index are 0.
Render::VertexContainer::Vertex pointAt(float x, float y, float z, const Math::Color& color);

/// A node without points.
Render::NodeRecord record(std::uint64_t index, std::uint64_t level, const Math::Point<float, 3>& boxMin);

/// Base of the tests that draw into the targets of the renderer's scene pass, 64 x 64 texels, all cleared to
/// zero, the depth to 1, and look at each texel. Draws nearer than what is there pass; no face is culled.
class PointPassFixture : public DeviceFixture
{
protected:
    static constexpr unsigned kSize = 64;

    /// Runs `draw` with the targets bound.
    PassPicture drawn(const std::function<void()>& draw) const;

    PassPicture picture(Render::LoDPointCloud& cloud) const;

    /// Clip coordinates of the border before column or row i.
    static float clipX(float column) { return column * 2.0f / static_cast<float>(kSize) - 1.0f; }

    static float clipY(float row) { return -clipX(row); }

    /// A cloud over the whole target with identity matrices, so that model coordinates are those of clip
    /// space: x and y from -1 to 1, z from 0 to 1. One texel is 2 / 64 wide. Splats may be of any size, and
    /// at level 0 they are `pointSizeInTexels` wide.
    std::unique_ptr<Render::LoDPointCloud> cloudInClipSpace(
        float pointSizeInTexels, std::size_t budget = 1000, ID3D11DeviceContext* drawContext = nullptr
    ) const;

    /// Publishes points that all lie in the root, which is the only node drawn.
    static void publish(
        Render::LoDPointCloud& cloud, const std::vector<Render::VertexContainer::Vertex>& points
    );

    /// Publishes the points of several nodes with the octree texture of their tree.
    static void publish(
        Render::LoDPointCloud& cloud,
        const std::vector<Render::NodeRecord>& nodes,
        const std::vector<std::uint8_t>& octreeTexture,
        const std::vector<Render::VertexContainer::Vertex>& points
    );
};
