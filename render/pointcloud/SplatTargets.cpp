#include "render/pointcloud/SplatTargets.h"

#include <utility>

namespace Render
{
namespace
{
constexpr std::size_t kBytesPerPixel = 4;
constexpr std::size_t kLargestBuffer = std::size_t{128} << 20U;
}  // namespace

SplatTargets::SplatTargets(CComPtr<ID3D11Device> device) : mDevice(std::move(device)) {}

bool SplatTargets::fits(std::size_t pixelCount) noexcept
{
    return pixelCount <= kLargestBuffer / kBytesPerPixel;
}

void SplatTargets::reserve(std::size_t pixelCount)
{
    if (pixelCount <= mPixelCount && pixelCount > mPixelCount / 4)
    {
        return;
    }
    mPixelCount = 0;
    mDepths = ShaderBuffer();
    mWinners = ShaderBuffer();
    mDepths = ShaderBuffer::writable(mDevice, pixelCount);
    mWinners = ShaderBuffer::writable(mDevice, pixelCount);
    mPixelCount = pixelCount;
}
}  // namespace Render
