// What drawing a point cloud costs the CPU, Direct3D's own work left out, and what a whole frame costs.
//
// Our own share is measured with a context that does nothing: what is left is finding out what is new and
// filling in constants.

#include "render/gpu/throwIfFailed.h"
#include "render/platform/direct3dLibrary.h"
#include "render/pointcloud/LoDPointCloud.h"
#include "render/renderer/Renderer.h"
#include "render/scene/Camera.h"
#include "render/scene/Renderable.h"
#include "tests/support/ForwardingContext.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace
{
using Render::Buffer;
using Render::LoDPointCloud;

constexpr std::size_t kPointsPerNode = 100;
constexpr std::size_t kLargestMap = std::size_t{8} << 20U;  // above the memory through which points go

/// Answers what LoDPointCloud calls without doing anything; mapped memory is scratch memory.
class IdleContext : public ForwardingContext
{
public:
    explicit IdleContext(std::size_t largestMap) : ForwardingContext(nullptr), mScratch(largestMap) {}

    std::size_t maps = 0;
    std::size_t calls = 0;  // that make the device work

    void STDMETHODCALLTYPE IASetInputLayout(ID3D11InputLayout*) override {}

    void STDMETHODCALLTYPE VSSetShader(ID3D11VertexShader*, ID3D11ClassInstance* const*, UINT) override {}

    void STDMETHODCALLTYPE PSSetShader(ID3D11PixelShader*, ID3D11ClassInstance* const*, UINT) override {}

    void STDMETHODCALLTYPE CSSetShader(ID3D11ComputeShader*, ID3D11ClassInstance* const*, UINT) override {}

    void STDMETHODCALLTYPE VSSetConstantBuffers(UINT, UINT, ID3D11Buffer* const*) override {}

    void STDMETHODCALLTYPE PSSetConstantBuffers(UINT, UINT, ID3D11Buffer* const*) override {}

    void STDMETHODCALLTYPE CSSetConstantBuffers(UINT, UINT, ID3D11Buffer* const*) override {}

    void STDMETHODCALLTYPE VSSetShaderResources(UINT, UINT, ID3D11ShaderResourceView* const*) override {}

    void STDMETHODCALLTYPE PSSetShaderResources(UINT, UINT, ID3D11ShaderResourceView* const*) override {}

    void STDMETHODCALLTYPE CSSetShaderResources(UINT, UINT, ID3D11ShaderResourceView* const*) override {}

    void STDMETHODCALLTYPE
    CSSetUnorderedAccessViews(UINT, UINT, ID3D11UnorderedAccessView* const*, const UINT*) override
    {
    }

    void STDMETHODCALLTYPE IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY) override {}

    void STDMETHODCALLTYPE IASetIndexBuffer(ID3D11Buffer*, DXGI_FORMAT, UINT) override {}

    void STDMETHODCALLTYPE OMGetDepthStencilState(ID3D11DepthStencilState** state, UINT*) override
    {
        *state = nullptr;
    }

    void STDMETHODCALLTYPE OMGetBlendState(ID3D11BlendState** state, FLOAT*, UINT*) override
    {
        *state = nullptr;
    }

    void STDMETHODCALLTYPE
    OMGetRenderTargets(UINT, ID3D11RenderTargetView**, ID3D11DepthStencilView** view) override
    {
        *view = nullptr;
    }

    void STDMETHODCALLTYPE RSGetState(ID3D11RasterizerState** state) override { *state = nullptr; }

    void STDMETHODCALLTYPE RSGetViewports(UINT* count, D3D11_VIEWPORT* viewports) override
    {
        *count = 1;
        *viewports = {0.0f, 0.0f, 640.0f, 480.0f, 0.0f, 1.0f};
    }

    void STDMETHODCALLTYPE ClearUnorderedAccessViewUint(ID3D11UnorderedAccessView*, const UINT*) override
    {
        ++calls;
    }

    void STDMETHODCALLTYPE Dispatch(UINT, UINT, UINT) override { ++calls; }

    void STDMETHODCALLTYPE Draw(UINT, UINT) override { ++calls; }

    void STDMETHODCALLTYPE DrawIndexedInstanced(UINT, UINT, UINT, INT, UINT) override { ++calls; }

    void STDMETHODCALLTYPE
    CopySubresourceRegion(ID3D11Resource*, UINT, UINT, UINT, UINT, ID3D11Resource*, UINT, const D3D11_BOX*)
        override
    {
        ++calls;
    }

    void STDMETHODCALLTYPE End(ID3D11Asynchronous*) override {}

    void STDMETHODCALLTYPE Flush() override {}

    HRESULT STDMETHODCALLTYPE GetData(ID3D11Asynchronous*, void*, UINT, UINT) override { return S_OK; }

    HRESULT STDMETHODCALLTYPE
    Map(ID3D11Resource*, UINT, D3D11_MAP, UINT, D3D11_MAPPED_SUBRESOURCE* mapped) override
    {
        ++maps;
        mapped->pData = mScratch.data();
        return S_OK;
    }

    void STDMETHODCALLTYPE Unmap(ID3D11Resource*, UINT) override {}

private:
    std::vector<std::byte> mScratch;
};

/// Nodes that all lie in the root's cube, their points spread over it.
void fill(Buffer& buffer, std::size_t nodeCount)
{
    buffer.nodes.resize(nodeCount);
    buffer.octreeTextureData.assign(nodeCount * 4, 0);
    buffer.boundingBoxes.resize(nodeCount);
    buffer.vertices.resize(nodeCount * kPointsPerNode);
    for (std::size_t i = 0; i < nodeCount; ++i)
    {
        buffer.nodes[i].index = i;
        buffer.nodes[i].firstPoint = i * kPointsPerNode;
        buffer.nodes[i].pointCount = kPointsPerNode;
    }
    for (std::size_t i = 0; i < buffer.vertices.size(); ++i)
    {
        const auto x = static_cast<float>(i % 997) / 498.5f - 1.0f;
        const auto y = static_cast<float>(i % 1009) / 504.5f - 1.0f;
        buffer.vertices[i] = {{x, y, 0.5f}, Math::Color(100, 150, 200, 255), 0, 0, 0};
    }
}

Render::CComPtr<ID3D11Device> makeDevice()
{
    Render::CComPtr<ID3D11Device> device;
    Render::CComPtr<ID3D11DeviceContext> context;
    Render::throwIfFailed(Render::Direct3DLibrary::createDevice(nullptr, 0, device.put(), context.put()));
    return device;
}

/// A frame with nothing new, without Direct3D.
void renderOutsideDirect3D(benchmark::State& state)
{
    const auto nodeCount = static_cast<std::size_t>(state.range(0));
    const auto device = makeDevice();
    IdleContext context(kLargestMap);
    LoDPointCloud cloud(1, device, &context, 1, nodeCount * kPointsPerNode);
    fill(cloud.buffers().back(), nodeCount);
    cloud.buffers().publish();
    cloud.render();

    context.maps = 0;
    context.calls = 0;
    for (auto _ : state)
    {
        cloud.render();
    }
    const auto frames = static_cast<double>(state.iterations());
    state.counters["maps"] = static_cast<double>(context.maps) / frames;
    state.counters["calls"] = static_cast<double>(context.calls) / frames;
}

/// A frame that uploads new nodes, without Direct3D: one copy of every vertex.
void uploadOutsideDirect3D(benchmark::State& state)
{
    const auto nodeCount = static_cast<std::size_t>(state.range(0));
    const auto device = makeDevice();
    IdleContext context(kLargestMap);
    LoDPointCloud cloud(1, device, &context, 1, nodeCount * kPointsPerNode);
    for (int slot = 0; slot < 3; ++slot)
    {
        fill(cloud.buffers().back(), nodeCount);
        cloud.buffers().publish();
        cloud.render();
    }
    for (auto _ : state)
    {
        cloud.buffers().publish();
        cloud.render();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(nodeCount * kPointsPerNode * 20));
}

/// Draws published nodes in a scene.
class PublishedNodes : public Render::Renderable
{
public:
    explicit PublishedNodes(std::size_t nodeCount) : Renderable("nodes"), mNodeCount(nodeCount) {}

    void init(
        unsigned long long rendererId,
        std::shared_ptr<Render::Camera> camera,
        Render::CComPtr<ID3D11Device> device,
        Render::CComPtr<ID3D11DeviceContext> deviceContext
    ) override
    {
        mCloud = std::make_unique<LoDPointCloud>(
            rendererId, device, deviceContext, id(), mNodeCount * kPointsPerNode
        );
        mCloud->setViewport(camera->viewport());
        mCloud->setPointSize(0.0f);
        fill(mCloud->buffers().back(), mNodeCount);
        mCloud->buffers().publish();
    }

    void deinit() override { mCloud.reset(); }

    void render() override
    {
        mCloud->render();
        Renderable::render();
    }

    Math::NBoundingBox<float, 3> boundingBox() override { return {{-1, -1, 0}, {1, 1, 1}}; }

private:
    std::size_t mNodeCount;
    std::unique_ptr<LoDPointCloud> mCloud;
};

/// A whole frame of 640 x 480 pixels until its picture has been read back; on a software renderer that is its
/// time, not ours.
void wholeFrame(benchmark::State& state)
{
    const auto nodeCount = static_cast<std::size_t>(state.range(0));
    Render::Renderer renderer;
    renderer.setScene(std::make_shared<PublishedNodes>(nodeCount));
    std::vector<std::byte> picture(640 * 480 * 4);
    for (auto _ : state)
    {
        renderer.render();
        renderer.getColorImage(picture, 640 * 4, 480);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nodeCount * kPointsPerNode));
}
}  // namespace

BENCHMARK(renderOutsideDirect3D)->Arg(100)->Arg(1000)->Arg(4096)->Unit(benchmark::kMicrosecond);
BENCHMARK(uploadOutsideDirect3D)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(wholeFrame)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();
