// A program with a Direct3D 11 device of its own lets a renderer draw on it, and gets the picture into a
// texture of its own without a detour through the processor's memory: shared-device DATASET
#include <octree/Location.h>
#include <render/pointcloud/PointCloudRenderable.h>
#include <render/renderer/Renderer.h>

#include <d3d11.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

namespace
{
constexpr UINT kWidth = 640;
constexpr UINT kHeight = 480;

template <class T>
using ComPtr = Render::CComPtr<T>;

void check(HRESULT result, const char* what)
{
    if (FAILED(result))
    {
        throw std::runtime_error(std::string(what) + " has failed");
    }
}

ComPtr<ID3D11Texture2D> createTexture(ID3D11Device* device, D3D11_USAGE usage, UINT bindFlags, UINT cpuAccess)
{
    D3D11_TEXTURE2D_DESC desc{};
    desc.Width = kWidth;
    desc.Height = kHeight;
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
    desc.SampleDesc.Count = 1;
    desc.Usage = usage;
    desc.BindFlags = bindFlags;
    desc.CPUAccessFlags = cpuAccess;
    ComPtr<ID3D11Texture2D> texture;
    check(device->CreateTexture2D(&desc, nullptr, &texture), "creating a texture");
    return texture;
}

/// What this program does with the picture: counts the pixels that are not white.
std::size_t countPixels(ID3D11Device* device, ID3D11DeviceContext* context, ID3D11Texture2D* picture)
{
    const ComPtr<ID3D11Texture2D> copy = createTexture(device, D3D11_USAGE_STAGING, 0, D3D11_CPU_ACCESS_READ);
    context->CopyResource(copy, picture);
    D3D11_MAPPED_SUBRESOURCE mapped{};
    check(context->Map(copy, 0, D3D11_MAP_READ, 0, &mapped), "reading a texture");
    std::size_t count = 0;
    for (UINT y = 0; y < kHeight; ++y)
    {
        const auto* const row =
            static_cast<const std::uint8_t*>(mapped.pData) + std::size_t{mapped.RowPitch} * y;
        for (UINT x = 0; x < kWidth; ++x)
        {
            const std::uint8_t* const pixel = row + std::size_t{4} * x;
            count += pixel[0] != 255 || pixel[1] != 255 || pixel[2] != 255 ? 1 : 0;
        }
    }
    context->Unmap(copy, 0);
    return count;
}
}  // namespace

int main(int argc, char** argv)
try
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: shared-device DATASET\n");
        return 2;
    }
    ComPtr<ID3D11Device> device;
    ComPtr<ID3D11DeviceContext> context;
    check(
        D3D11CreateDevice(
            nullptr,
            D3D_DRIVER_TYPE_HARDWARE,
            nullptr,
            0,
            nullptr,
            0,
            D3D11_SDK_VERSION,
            &device,
            nullptr,
            &context
        ),
        "creating a device"
    );
    const ComPtr<ID3D11Texture2D> own =
        createTexture(device, D3D11_USAGE_DEFAULT, D3D11_BIND_SHADER_RESOURCE, 0);

    Render::Renderer renderer(Render::RendererOptions{.device = device});
    const auto cloud =
        Render::PointCloudRenderable::create(Octree::Location::fromPath(argv[1]), "cloud", 1'000'000, 1.0);
    renderer.setViewport(kWidth, kHeight);
    renderer.setScene(cloud);
    renderer.setAutoAdjustZRange(true);
    renderer.setPerspective(45.0F, 0.01F, 1000.0F, 0.0F, 0.0F);
    const Math::NBoundingBox<float, 3> box = renderer.boundingBox();
    const Math::Point<float, 3> center = box.center();
    const Math::Point<float, 3> eye(center.x, center.y, center.z + 1.5F * box.largestSize());
    renderer.setCameraPose(eye, center, Eigen::Vector3f(Eigen::Vector3f::UnitY()));
    cloud->reloadPoints(nullptr);

    renderer.render();
    renderer.copyOutputTo(own);  // or bind renderer.outputView() until the next change of size
    std::printf("%zu pixels show points\n", countPixels(device, context, own));
    return 0;
}

catch (const std::exception& error)
{
    std::fprintf(stderr, "shared-device: %s\n", error.what());
    return 1;
}
