#include "render/scene/Viewport.h"
#include "tests/support/DeviceFixture.h"

#include <array>

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
