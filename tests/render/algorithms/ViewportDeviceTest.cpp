#include "render/scene/Viewport.h"
#include "tests/support/DeviceFixture.h"

#include <array>
#include <limits>
#include <utility>

namespace Render
{
namespace
{
class ViewportDevice : public DeviceFixture
{
protected:
    /// The viewports that are set; entries beyond them are zero.
    static std::array<D3D11_VIEWPORT, 4> currentViewports(UINT& count)
    {
        std::array<D3D11_VIEWPORT, 4> viewports{};
        count = static_cast<UINT>(viewports.size());
        context()->RSGetViewports(&count, viewports.data());
        return viewports;
    }
};
}  // namespace

TEST_F(ViewportDevice, SetGivesTheRasterizerPositionSizeAndDepthRange)
{
    Viewport viewport(3, 4, 50, 60);
    viewport.setDepthRange(0.25F, 0.75F);
    UINT count = 0;

    viewport.set(context());

    const D3D11_VIEWPORT current = currentViewports(count)[0];
    EXPECT_EQ(current.TopLeftX, 3.0F);
    EXPECT_EQ(current.TopLeftY, 4.0F);
    EXPECT_EQ(current.Width, 50.0F);
    EXPECT_EQ(current.Height, 60.0F);
    EXPECT_EQ(current.MinDepth, 0.25F);
    EXPECT_EQ(current.MaxDepth, 0.75F);
}

TEST_F(ViewportDevice, SetCutsTheDepthRangeToWhatDirect3DAllows)
{
    const auto rangeOf = [](float low, float high)
    {
        Viewport viewport(5, 5);
        viewport.setDepthRange(low, high);
        viewport.set(context());
        UINT count = 0;
        const D3D11_VIEWPORT current = currentViewports(count)[0];
        return std::pair(current.MinDepth, current.MaxDepth);
    };
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

    EXPECT_EQ(rangeOf(-1.0F, 2.0F), std::pair(0.0F, 1.0F));
    EXPECT_EQ(rangeOf(0.75F, 0.25F), std::pair(0.75F, 0.75F));
    EXPECT_EQ(rangeOf(3.0F, 4.0F), std::pair(1.0F, 1.0F));
    EXPECT_EQ(rangeOf(kNaN, kNaN), std::pair(0.0F, 0.0F));
}

TEST_F(ViewportDevice, SetReplacesAllOtherViewports)
{
    const std::array<D3D11_VIEWPORT, 2> two{{{0, 0, 10, 10, 0, 1}, {5, 5, 10, 10, 0, 1}}};
    context()->RSSetViewports(static_cast<UINT>(two.size()), two.data());
    UINT count = 0;

    Viewport(20, 30).set(context());

    const std::array<D3D11_VIEWPORT, 4> current = currentViewports(count);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(current[0].Width, 20.0F);
}
}  // namespace Render
