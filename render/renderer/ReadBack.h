#pragma once

#include "render/Render.h"
#include "render/gpu/MappedResource.h"
#include "render/gpu/Texture2d.h"
#include "render/platform/ComPtr.h"
#include "render/renderer/MappedImage.h"

namespace Render
{
/// Brings the targets of a frame to the CPU, through four staging textures of the frame's size.
///
/// A target is copied when it is asked for first after a frame; what follows reads the copy.
/// Threads  rendering thread only, not locked.
class ReadBack
{
    /// A staging texture of one mip level.
    struct Copy
    {
        Texture2d texture;
        bool isCurrent = false;
    };

public:
    /// @param width, height  the frame's size, in pixels
    /// @throws ComException  when a texture cannot be made
    ReadBack(ID3D11Device* device, unsigned int width, unsigned int height);

    ReadBack(const ReadBack&) = delete;
    ReadBack& operator=(const ReadBack&) = delete;
    ReadBack(ReadBack&&) noexcept = default;
    ReadBack& operator=(ReadBack&&) noexcept = default;
    ~ReadBack() = default;

    /// The targets are about to change: the next of each kind that is asked for is copied anew.
    void forget() noexcept;

    /// A staging texture that the CPU reads; gives it back at the end of its life.
    class [[nodiscard]] Mapped
    {
    public:
        /// @throws ComException  when the texture cannot be mapped
        Mapped(ID3D11DeviceContext* context, Texture2d& staging);

        MappedImage image() const noexcept;

    private:
        const Texture2d& mStaging;
        MappedResource mResource;
    };

    // Each has mip level 0 of the source, which has the frame's size and the format that the name tells, and
    // waits for its copy. Only one of the same name may live at a time.

    Mapped depth(ID3D11DeviceContext* context, const Texture2d& source);
    Mapped color(ID3D11DeviceContext* context, const Texture2d& source);
    Mapped worldPosition(ID3D11DeviceContext* context, const Texture2d& source);
    Mapped exactWorldPosition(ID3D11DeviceContext* context, const Texture2d& source);

private:
    static Mapped mapped(ID3D11DeviceContext* context, const Texture2d& source, Copy& copy);

    Copy mDepth;
    Copy mColor;
    Copy mWorldPosition;
    Copy mExactWorldPosition;
};
}  // namespace Render
