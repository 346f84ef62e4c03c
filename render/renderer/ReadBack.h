#pragma once

#include "render/Render.h"
#include "render/gpu/ComPtr.h"
#include "render/gpu/Texture2d.h"
#include "render/renderer/MappedImage.h"

namespace Render
{
/// Brings the targets of a frame to the CPU, through four staging textures of the frame's size.
///
/// Threads  rendering thread only, not locked.
class ReadBack
{
public:
    /// @param viewport  the frame's size
    /// @throws ComException  when a texture cannot be made
    ReadBack(const CComPtr<ID3D11Device>& device, const Viewport& viewport);

    /// Makes the textures anew in another size.
    /// @throws ComException  when a texture cannot be made; a later call can still bring them in order
    void setViewport(ID3D11Device* device, unsigned int width, unsigned int height);

    /// A staging texture that the CPU reads; gives it back at the end of its life.
    class [[nodiscard]] Mapped
    {
    public:
        /// @throws ComException  when the texture cannot be mapped
        Mapped(ID3D11DeviceContext* context, Texture2d& staging);

        Mapped(const Mapped&) = delete;
        Mapped& operator=(const Mapped&) = delete;
        ~Mapped();

        MappedImage image() const noexcept;

    private:
        ID3D11DeviceContext* mContext;
        Texture2d& mStaging;
        D3D11_MAPPED_SUBRESOURCE mSubresource;
    };

    // Each copies the whole source, which has the frame's size and the format that the name tells, and waits
    // for that. Only one of the same name may live at a time.

    Mapped depth(ID3D11DeviceContext* context, const Texture2d& source);
    Mapped color(ID3D11DeviceContext* context, const Texture2d& source);
    Mapped worldPosition(ID3D11DeviceContext* context, const Texture2d& source);
    Mapped exactWorldPosition(ID3D11DeviceContext* context, const Texture2d& source);

private:
    Texture2d mDepth;
    Texture2d mColor;
    Texture2d mWorldPosition;
    Texture2d mExactWorldPosition;
};
}  // namespace Render
