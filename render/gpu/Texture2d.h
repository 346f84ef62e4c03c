#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

namespace Math
{
class Color;
}

namespace Graphics
{
class ColorImage;
class DepthImage;
}  // namespace Graphics

namespace Render
{
/// Owns a two-dimensional texture, which can be made anew in another size.
///
/// Where initial data are given the descriptor must ask for one mip level and one array slice, since the data
/// fill no more than that; otherwise creation fails with E_INVALIDARG.
/// Threads  the thread of the immediate context; not locked.
class RENDER_API Texture2d
{
public:
    /// Empty: get() is null.
    Texture2d() = default;

    /// Without initial data. Stays empty, without an error, when a side of the size is 0.
    /// @throws ComException  when the texture cannot be created
    Texture2d(ID3D11Device* device, const D3D11_TEXTURE2D_DESC& desc);

    /// The same in another size than the descriptor's, in texels.
    Texture2d(
        ID3D11Device* device, const D3D11_TEXTURE2D_DESC& desc, unsigned int width, unsigned int height
    );

    /// The same, each texel of four bytes starting as the colour. Other texels are an E_INVALIDARG.
    Texture2d(
        ID3D11Device* device,
        const D3D11_TEXTURE2D_DESC& desc,
        unsigned int width,
        unsigned int height,
        const Math::Color& value
    );

    /// The same as without the value: on purpose the value does not reach the texels, which start undefined
    /// or zero as the usage has it. Use load with a filled Graphics::DepthImage to give a float texture its
    /// first values.
    Texture2d(
        ID3D11Device* device,
        const D3D11_TEXTURE2D_DESC& desc,
        unsigned int width,
        unsigned int height,
        float value
    );

    Texture2d(const Texture2d&) = delete;
    Texture2d& operator=(const Texture2d&) = delete;
    Texture2d(Texture2d&&) noexcept = default;
    Texture2d& operator=(Texture2d&&) noexcept = default;
    ~Texture2d() = default;

    /// Makes the texture anew without initial data. The old texture goes first: after a failure, which a side
    /// of 0 is here, the wrapper is empty and keeps the new size.
    /// @throws ComException  when the texture cannot be created
    void resize(ID3D11Device* device, unsigned int width, unsigned int height);

    /// Makes the texture anew with initial data; fails as resize does.
    /// An image needs a format of four bytes a texel; others are an E_INVALIDARG that changes nothing.
    /// @param rowPitch  bytes from one row of data to the next
    /// @param data      height rows of at least width texels each
    void load(
        ID3D11Device* device, unsigned int width, unsigned int height, unsigned int rowPitch, const char* data
    );
    void load(ID3D11Device* device, const Graphics::ColorImage& image);
    void load(ID3D11Device* device, const Graphics::DepthImage& image);

    /// Copies the whole of source, which must have the same size, format and number of mip levels.
    void copy(ID3D11DeviceContext* context, const Texture2d& source);

    /// Copies mip level 0 of source, with its upper left texel to (x, y, z). What would lie beyond the right
    /// or lower border of this texture is left out.
    void copySubRegion(
        ID3D11DeviceContext* context, const Texture2d& source, unsigned int x, unsigned int y, unsigned int z
    );

    /// Writes the image's rows into mip level 0, at the upper left corner.
    /// @param type  a type of writing that the usage allows; D3D11_MAP_WRITE_DISCARD leaves the other texels
    ///              undefined
    /// @throws std::invalid_argument  when the image does not lie inside the texture, or a texel does not
    ///                                take four bytes; nothing is written then
    /// @throws ComException           when the texture cannot be mapped
    void drawImageTile(ID3D11DeviceContext* context, const Graphics::ColorImage& image, D3D11_MAP type);
    void drawImageTile(ID3D11DeviceContext* context, const Graphics::DepthImage& image, D3D11_MAP type);

    /// The same with the image's upper left texel at column x of row y.
    void drawImageTile(
        ID3D11DeviceContext* context,
        unsigned int x,
        unsigned int y,
        const Graphics::ColorImage& image,
        D3D11_MAP type
    );
    void drawImageTile(
        ID3D11DeviceContext* context,
        unsigned int x,
        unsigned int y,
        const Graphics::DepthImage& image,
        D3D11_MAP type
    );

    /// Gives access to mip level 0 until unMap. Rows are RowPitch bytes apart, which may be more than they
    /// fill.
    /// @throws ComException  when the texture's usage does not allow this type
    D3D11_MAPPED_SUBRESOURCE map(ID3D11DeviceContext* context, D3D11_MAP type);
    void unMap(ID3D11DeviceContext* context);

    /// The object of Direct3D; null when there is none.
    ID3D11Texture2D* get() const noexcept { return mTexture; }

    /// What the texture is made from; width and height are the current ones.
    const D3D11_TEXTURE2D_DESC& desc() const noexcept { return mDesc; }

private:
    void create(ID3D11Device* device, const D3D11_SUBRESOURCE_DATA* initialData);

    D3D11_TEXTURE2D_DESC mDesc{};
    CComPtr<ID3D11Texture2D> mTexture;
};
}  // namespace Render
