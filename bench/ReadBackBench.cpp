// What Renderer::getColorImage costs beyond a memcpy of the mapped image, the first time after a frame.
//
// Each round draws a frame, waits for it, and reads its picture twice: through the renderer, and by hand into
// memory that is ready, from textures of the same kind on the same device. `byHand` is the median of the
// renderer's time over that of copy, map and memcpy by hand; `byMemcpy` leaves the GPU's copy and the wait
// for it out on both sides: the renderer's time less that of copy and map by hand, over the memcpy alone.
#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "render/gpu/Texture2d.h"
#include "render/platform/Direct3D.h"
#include "render/renderer/Renderer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;

double secondsBetween(Clock::time_point start, Clock::time_point end)
{
    return std::chrono::duration<double>(end - start).count();
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

D3D11_TEXTURE2D_DESC pictureDesc(std::uint64_t width, std::uint64_t height)
{
    D3D11_TEXTURE2D_DESC desc{};
    desc.Width = static_cast<UINT>(width);
    desc.Height = static_cast<UINT>(height);
    desc.MipLevels = 1;  // as the renderer's targets have them
    desc.ArraySize = 1;
    desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
    desc.SampleDesc.Count = 1;
    return desc;
}

/// The renderer's textures made again, and the steps of a read-back.
class ReadBackByHand
{
public:
    ReadBackByHand(const Render::Renderer& renderer, std::uint64_t width, std::uint64_t height)
        : mContext(renderer.deviceContext())
    {
        D3D11_TEXTURE2D_DESC desc = pictureDesc(width, height);
        desc.BindFlags = D3D11_BIND_RENDER_TARGET | D3D11_BIND_SHADER_RESOURCE;
        mTarget = Render::Texture2d(renderer.device(), desc);
        desc.BindFlags = 0;
        desc.Usage = D3D11_USAGE_STAGING;
        desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
        mStaging = Render::Texture2d(renderer.device(), desc);
    }

    void run()
    {
        const Clock::time_point start = Clock::now();
        mStaging.copy(mContext, mTarget);
        const D3D11_MAPPED_SUBRESOURCE mapped = mStaging.map(mContext, D3D11_MAP_READ);
        mCopy.resize(mapped.DepthPitch);

        const Clock::time_point copyStart = Clock::now();
        std::memcpy(mCopy.data(), mapped.pData, mapped.DepthPitch);
        benchmark::DoNotOptimize(mCopy.data());
        benchmark::ClobberMemory();
        const Clock::time_point copyEnd = Clock::now();

        mStaging.unMap(mContext);
        memcpySeconds = secondsBetween(copyStart, copyEnd);
        wholeSeconds = secondsBetween(start, Clock::now());
    }

    double memcpySeconds = 0.0;
    double wholeSeconds = 0.0;

private:
    Render::CComPtr<ID3D11DeviceContext> mContext;
    Render::Texture2d mTarget;
    Render::Texture2d mStaging;
    std::vector<std::byte> mCopy;
};

void getColorImage(benchmark::State& state)
{
    const auto width = static_cast<std::uint64_t>(state.range(0));
    const auto height = static_cast<std::uint64_t>(state.range(1));
    Render::Renderer renderer;
    renderer.setViewport(width, height);
    renderer.render();
    Graphics::ColorImage image;
    Graphics::DepthImage depth;
    ReadBackByHand byHand(renderer, width, height);
    renderer.getColorImage(image);
    byHand.run();

    std::vector<double> ofByHand;
    std::vector<double> ofMemcpy;
    for (const auto round : state)
    {
        renderer.render();
        renderer.getDepthImage(depth);  // waits for the frame
        const Clock::time_point start = Clock::now();
        renderer.getColorImage(image);
        const double seconds = secondsBetween(start, Clock::now());
        state.SetIterationTime(seconds);

        byHand.run();
        ofByHand.push_back(seconds / byHand.wholeSeconds);
        ofMemcpy.push_back((seconds - byHand.wholeSeconds + byHand.memcpySeconds) / byHand.memcpySeconds);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(image.sizeInBytes()) * state.iterations());
    state.counters["byHand"] = median(std::move(ofByHand));
    state.counters["byMemcpy"] = median(std::move(ofMemcpy));
}

BENCHMARK(getColorImage)
    ->Args({1280, 720})
    ->Args({3840, 2160})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
}  // namespace
