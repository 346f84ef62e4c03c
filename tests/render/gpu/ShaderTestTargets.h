#pragma once

#include "render/gpu/ConstantBlock.h"
#include "render/gpu/RenderPass.h"
#include "tests/support/DeviceFixture.h"

#include <vector>

/// Base of the tests of one drawing shader: a pass with the scene's three targets, all of floats, and depth.
class ShaderTestTargets : public DeviceFixture
{
public:
    static constexpr unsigned int kSize = 8;

    /// Clears the targets to -1 and depth to 1, lets `drawInside` draw, and reads back.
    template <class DrawInside>
    void draw(DrawInside&& drawInside)
    {
        Render::RenderPass pass(device(), kSize, kSize);
        for (const char* const name : {"color", "worldPosition", "exactWorldPosition"})
        {
            pass.addRenderTarget(name, DXGI_FORMAT_R32G32B32A32_FLOAT);
            pass.setClearValue(name, -1.0f, -1.0f, -1.0f, -1.0f);
        }
        pass.addDepthBuffer(D3D11_CLEAR_DEPTH, 1.0f, 0);
        pass.begin(context());
        pass.clearAllRenderTargets(context(), true);
        setViewport(kSize, kSize);
        drawInside();
        pass.end(context());
        color = readBack<Float4>(pass.texture("color"));
        worldPosition = readBack<Float4>(pass.texture("worldPosition"));
        exactWorldPosition = readBack<Float4>(pass.texture("exactWorldPosition"));
        depth = readBack<float>(pass.depthTexture());
    }

    /// Centre of a pixel in normalized device coordinates.
    static float ndcX(unsigned int x) { return 2.0f * (static_cast<float>(x) + 0.5f) / kSize - 1.0f; }

    static float ndcY(unsigned int y) { return 1.0f - 2.0f * (static_cast<float>(y) + 0.5f) / kSize; }

    TexelGrid<Float4> color;
    TexelGrid<Float4> worldPosition;
    TexelGrid<Float4> exactWorldPosition;
    TexelGrid<float> depth;
};
