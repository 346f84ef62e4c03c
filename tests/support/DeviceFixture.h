#pragma once

#include "render/gpu/Texture1d.h"
#include "render/gpu/Texture2d.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"
#include "tests/support/StrictDevice.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

/// A red, green, blue, alpha texel of DXGI_FORMAT_R32G32B32A32_FLOAT.
using Float4 = std::array<float, 4>;

/// The texels of mip level 0, read back to the CPU.
template <class Texel>
struct TexelGrid
{
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<Texel> texels;  ///< row by row, top row first

    /// Range checked.
    const Texel& at(std::size_t x, std::size_t y) const
    {
        return x < width ? texels.at(y * width + x) : texels.at(texels.size());
    }
};

/// Base of the tests that need Direct3D. Without a device they are skipped with the reason, or fail where the
/// environment variable TARNEL_REQUIRE_DEVICE is 1. Each test starts and ends with an empty context.
///
/// The device, and that of every renderer, is a StrictDevice: a call that Direct3D 11 does not allow fails
/// the test.
class DeviceFixture : public testing::Test
{
public:
    static void SetUpTestSuite();
    static void TearDownTestSuite();

    /// Bytes of each row of a texture's mip level 0, without the spare ones.
    static std::vector<std::vector<std::byte>> rowsOf(ID3D11Texture2D* texture);

    /// Reads back mip level 0 of a texture whose texels are as large as Texel: Math::Color or std::uint32_t
    /// for DXGI_FORMAT_B8G8R8A8_UNORM, float for a depth buffer or R32_FLOAT, Float4 for R32G32B32A32_FLOAT.
    template <class Texel>
    static TexelGrid<Texel> readBack(ID3D11Texture2D* texture);

    template <class Texel>
    static TexelGrid<Texel> readBack(const Render::Texture2d& texture)
    {
        return readBack<Texel>(texture.get());
    }

    /// The same of a one-dimensional texture of 4-byte texels.
    static std::vector<std::uint32_t> readBack(const Render::Texture1d& texture);

    /// The bytes of a buffer.
    static std::vector<std::byte> readBack(ID3D11Buffer* buffer);

    /// One mip level, one slice, no CPU access.
    static D3D11_TEXTURE2D_DESC textureDesc(
        unsigned int width, unsigned int height, DXGI_FORMAT format, unsigned int bindFlags
    );

    /// The same that the CPU can write while the GPU can read it.
    static D3D11_TEXTURE2D_DESC dynamicTextureDesc(
        unsigned int width, unsigned int height, DXGI_FORMAT format
    );

    /// The same that only the CPU reads and writes.
    static D3D11_TEXTURE2D_DESC stagingTextureDesc(
        unsigned int width, unsigned int height, DXGI_FORMAT format
    );

protected:
    void SetUp() override;
    void TearDown() override;

    static const Render::CComPtr<ID3D11Device>& device() { return sPlainDevice; }

    static const Render::CComPtr<ID3D11DeviceContext>& context() { return sContext; }

    /// Which calls of the fixture's device fail.
    static CallFaults& faults() { return sDevice->faults(); }

    /// The same of another device that createDevice has made.
    static CallFaults& faultsOf(ID3D11Device* device)
    {
        return dynamic_cast<StrictDevice&>(*device).faults();
    }

    /// Lets a call fail of the device that createDevice makes next.
    static void failNextDevice(int number, CallFaults::Kind kind) { sNextFault = {number, kind}; }

    /// How many references there are to a device, which every object that was made with it holds one of.
    static ULONG objectsOf(ID3D11Device* device)
    {
        ID3D11Device* const inner = dynamic_cast<StrictDevice&>(*device).inner();
        inner->AddRef();
        return inner->Release();
    }

    /// Makes the whole of a target of this size the drawing area.
    static void setViewport(unsigned int width, unsigned int height);

private:
    static inline StrictDevice* sDevice = nullptr;  // kept by the next
    static inline Render::CComPtr<ID3D11Device> sPlainDevice;
    static inline Render::CComPtr<ID3D11DeviceContext> sContext;
    static inline std::pair<int, CallFaults::Kind> sNextFault{0, CallFaults::Kind::OutOfMemory};
    static inline HRESULT sDeviceResult = S_OK;
};

template <class Texel>
TexelGrid<Texel> DeviceFixture::readBack(ID3D11Texture2D* texture)
{
    TexelGrid<Texel> grid;
    for (const std::vector<std::byte>& row : rowsOf(texture))
    {
        grid.width = row.size() / sizeof(Texel);
        ++grid.height;
        grid.texels.resize(grid.width * grid.height);
        std::memcpy(&grid.texels[grid.width * (grid.height - 1)], row.data(), row.size());
    }
    return grid;
}
