#include "tests/render/pointcloud/PointPass.h"

#include "render/scene/Viewport.h"

#include <algorithm>
#include <atomic>

namespace
{
constexpr float kClearDepth = 1.0f;

Render::RasterizerState noCulling(ID3D11Device* device)
{
    D3D11_RASTERIZER_DESC desc{};
    desc.FillMode = D3D11_FILL_SOLID;
    desc.CullMode = D3D11_CULL_NONE;
    desc.DepthClipEnable = TRUE;
    return Render::RasterizerState(device, desc);
}

/// Prioritizers are shared by key, so every cloud of the tests gets a key of its own.
std::uint64_t freshGroupKey()
{
    static std::atomic<std::uint64_t> next{1'000'000};
    return next++;
}
}  // namespace

std::size_t countOf(const TexelGrid<Math::Color>& grid, const Math::Color& color)
{
    return static_cast<std::size_t>(std::count(grid.texels.begin(), grid.texels.end(), color));
}

Render::VertexContainer::Vertex pointAt(float x, float y, float z, const Math::Color& color)
{
    return {Math::Point<float, 3>(x, y, z), color, 0, 0, 0};
}

Render::NodeRecord record(std::uint64_t index, std::uint64_t level, const Math::Point<float, 3>& boxMin)
{
    Render::NodeRecord result;
    result.index = index;
    result.level = level;
    result.boxMin = boxMin;
    return result;
}

PassPicture PointPassFixture::picture(Render::LoDPointCloud& cloud) const
{
    return drawn([&cloud] { cloud.render(); });
}

PassPicture PointPassFixture::drawn(const std::function<void()>& draw) const
{
    Render::RenderPass pass(device(), kSize, kSize);
    pass.addRenderTarget("color", DXGI_FORMAT_B8G8R8A8_UNORM);
    pass.addRenderTarget("worldPosition", DXGI_FORMAT_R32G32B32A32_FLOAT);
    pass.addRenderTarget("exactWorldPosition", DXGI_FORMAT_R32G32B32A32_FLOAT);
    pass.addDepthBuffer(D3D11_CLEAR_DEPTH, kClearDepth, 0);
    const Render::RasterizerState rasterizer = noCulling(device());

    setViewport(kSize, kSize);
    rasterizer.set(context());
    pass.begin(context());
    pass.clearAllRenderTargets(context(), true);
    draw();
    pass.end(context());
    return {
        readBack<Math::Color>(pass.texture("color")),
        readBack<Float4>(pass.texture("worldPosition")),
        readBack<Float4>(pass.texture("exactWorldPosition")),
        readBack<float>(pass.depthTexture()),
    };
}

std::unique_ptr<Render::LoDPointCloud> PointPassFixture::cloudInClipSpace(
    float pointSizeInTexels, std::size_t budget, ID3D11DeviceContext* drawContext
) const
{
    auto cloud = std::make_unique<Render::LoDPointCloud>(
        freshGroupKey(), device(), drawContext != nullptr ? drawContext : context().get(), 5, budget
    );
    cloud->setViewport(Render::Viewport(kSize, kSize));
    cloud->setMaxPointSize(static_cast<float>(kSize));
    cloud->setPointSize(pointSizeInTexels / static_cast<float>(kSize));
    cloud->setRootNodeSize(2.0f);
    return cloud;
}

void PointPassFixture::publish(
    Render::LoDPointCloud& cloud, const std::vector<Render::VertexContainer::Vertex>& points
)
{
    Render::NodeRecord root;
    root.pointCount = points.size();
    root.boxMin = {-1, -1, -1};
    publish(cloud, {root}, {0, 0, 0, 0}, points);
}

void PointPassFixture::publish(
    Render::LoDPointCloud& cloud,
    const std::vector<Render::NodeRecord>& nodes,
    const std::vector<std::uint8_t>& octreeTexture,
    const std::vector<Render::VertexContainer::Vertex>& points
)
{
    Render::Buffer& buffer = cloud.buffers().back();
    buffer.nodes = nodes;
    buffer.octreeTextureData = octreeTexture;
    buffer.vertices = points;
    buffer.boundingBoxes.clear();
    cloud.buffers().publish();
}
