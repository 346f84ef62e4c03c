#include "render/renderer/ownerOfPixel.h"

#include "math/Color.h"
#include "render/gpu/MappedResource.h"
#include "render/renderer/PassImages.h"
#include "render/renderer/ScenePass.h"
#include "render/renderer/View.h"
#include "render/scene/Camera.h"
#include "render/scene/DrawQueue.h"

#include <array>
#include <cstring>

namespace Render
{
namespace
{
/// One target at one pixel, which the CPU reads.
class Probe
{
public:
    Probe(ID3D11Device* device, const Texture2d& target) : mTarget(target.get())
    {
        D3D11_TEXTURE2D_DESC desc{};
        desc.MipLevels = 1;
        desc.ArraySize = 1;
        desc.Format = target.desc().Format;
        desc.SampleDesc.Count = 1;
        desc.Usage = D3D11_USAGE_STAGING;
        desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
        mTexel = Texture2d(device, desc, 1, 1);
    }

    /// Takes the pixel as it is drawn by now.
    void copy(ID3D11DeviceContext* context, std::uint32_t x, std::uint32_t y)
    {
        const D3D11_BOX box{x, y, 0, x + 1, y + 1, 1};
        context->CopySubresourceRegion(mTexel.get(), 0, 0, 0, 0, mTarget, 0, &box);
    }

    template <class Texel>
    Texel read(ID3D11DeviceContext* context) const
    {
        const MappedResource mapped(context, mTexel.get(), D3D11_MAP_READ);
        Texel texel;
        std::memcpy(&texel, mapped.data(), sizeof(Texel));
        return texel;
    }

private:
    ID3D11Texture2D* mTarget;
    Texture2d mTexel;
};

/// What renderables write at a pixel, bit by bit. Targets are cleared to zeros; who draws writes a position with
/// a w above 0.
struct Pixel
{
    std::uint32_t color = 0;
    std::array<std::uint32_t, 4> position{};
    std::array<std::uint32_t, 4> exactPosition{};

    friend bool operator==(const Pixel&, const Pixel&) = default;
};

class PixelProbe
{
public:
    PixelProbe(ID3D11Device* device, const RenderPass& pass)
        : mColor(device, pass.texture("color")),
          mPosition(device, pass.texture("worldPosition")),
          mExactPosition(device, pass.texture("exactWorldPosition"))
    {
    }

    Pixel read(ID3D11DeviceContext* context, std::uint32_t x, std::uint32_t y)
    {
        for (Probe* const probe : {&mColor, &mPosition, &mExactPosition})
        {
            probe->copy(context, x, y);
        }
        return {
            mColor.read<std::uint32_t>(context),
            mPosition.read<std::array<std::uint32_t, 4>>(context),
            mExactPosition.read<std::array<std::uint32_t, 4>>(context),
        };
    }

private:
    Probe mColor;
    Probe mPosition;
    Probe mExactPosition;
};
}  // namespace

std::shared_ptr<Renderable> ownerOfPixel(
    const CComPtr<ID3D11Device>& device,
    const FrameInput& input,
    std::uint64_t rendererId,
    std::uint32_t x,
    std::uint32_t y
)
{
    ScenePass aside(device, *input.view.camera(), rendererId);
    PixelProbe probe(device, aside.targets());
    const std::shared_ptr<DrawQueue> queue = DrawQueue::shared(rendererId);

    Pixel seen;
    std::shared_ptr<Renderable> owner;
    const DrawQueue::Watched watched(
        *queue,
        [&](const std::shared_ptr<Renderable>& drawn)
        {
            const Pixel now = probe.read(input.context, x, y);
            if (now != seen)
            {
                seen = now;
                owner = drawn;
            }
        }
    );
    const Math::Color nothing(0, 0, 0, 0);
    aside.draw({input.context, input.view, input.postProcess, nothing}, PassImages());
    return owner;
}
}  // namespace Render
