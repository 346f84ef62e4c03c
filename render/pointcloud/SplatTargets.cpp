#include "render/pointcloud/SplatTargets.h"

#include "core/SharedResources.h"
#include "core/fnv1a.h"

#include <utility>

namespace
{
struct SplatTargetsKey
{
    std::uint64_t group = 0;
    ID3D11Device* device = nullptr;

    friend bool operator==(const SplatTargetsKey&, const SplatTargetsKey&) = default;
};
}  // namespace

template <>
struct std::hash<SplatTargetsKey>
{
    std::size_t operator()(const SplatTargetsKey& key) const noexcept
    {
        return static_cast<std::size_t>(
            Core::fnv1a(key.group) ^ static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(key.device))
        );
    }
};

namespace Render
{
namespace
{
constexpr std::size_t kBytesPerPixel = 4;
constexpr std::size_t kLargestBuffer = std::size_t{128} << 20U;
}  // namespace

SplatTargets::SplatTargets(CComPtr<ID3D11Device> device) : mDevice(std::move(device)) {}

std::shared_ptr<SplatTargets> SplatTargets::shared(
    std::uint64_t groupKey, const CComPtr<ID3D11Device>& device
)
{
    static Core::SharedResources<SplatTargetsKey, SplatTargets> registry;
    return registry.createOrGet(
        SplatTargetsKey{groupKey, device.get()}, [&device] { return std::make_shared<SplatTargets>(device); }
    );
}

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
