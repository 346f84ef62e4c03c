#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace Graphics
{
/// Rows of pixels in one block of memory, top row first.
///
/// A row takes rowPitch() bytes, at least width() x sizeof(Pixel); the bytes after the last pixel of a row
/// mean nothing.
/// Threads  a plain value.
template <class Pixel>
class Image
{
    static_assert(std::is_trivially_copyable_v<Pixel>);

public:
    /// What a pixel is made of.
    using PixelType = Pixel;

    Image() = default;

    /// Rows without padding, all bytes 0.
    /// @throws std::length_error  when the size in bytes does not fit into memory's address range
    Image(std::uint64_t width, std::uint64_t height);

    /// Changes the size; pixels get no defined value. Storage is kept where it suffices.
    /// @throws std::length_error  as above, or for a row pitch below width x sizeof(Pixel)
    void resize(std::uint64_t width, std::uint64_t height, std::uint64_t rowPitch);

    /// The same with rows without padding.
    void resize(std::uint64_t width, std::uint64_t height);

    /// Sets every pixel.
    void fill(const Pixel& value);

    /// Pixels in a row.
    std::uint64_t width() const noexcept { return mWidth; }

    /// Number of rows.
    std::uint64_t height() const noexcept { return mHeight; }

    /// Bytes from one row to the next.
    std::uint64_t rowPitch() const noexcept { return mRowPitch; }

    /// rowPitch() x height().
    std::uint64_t sizeInBytes() const noexcept { return mRowPitch * mHeight; }

    /// Whether there is no pixel.
    bool empty() const noexcept { return sizeInBytes() == 0; }

    /// The first byte of the first row.
    char* data() noexcept { return mData.data(); }

    /// The same, to read only.
    const char* data() const noexcept { return mData.data(); }

    /// The pixel at column x of row y; not range checked.
    Pixel pixel(std::uint64_t x, std::uint64_t y) const noexcept;
    /// Replaces that pixel; not range checked.
    void setPixel(std::uint64_t x, std::uint64_t y, const Pixel& value) noexcept;

private:
    std::uint64_t mWidth = 0;
    std::uint64_t mHeight = 0;
    std::uint64_t mRowPitch = 0;
    std::vector<char> mData;
};

template <class Pixel>
Image<Pixel>::Image(std::uint64_t width, std::uint64_t height)
{
    resize(width, height);
}

template <class Pixel>
void Image<Pixel>::resize(std::uint64_t width, std::uint64_t height, std::uint64_t rowPitch)
{
    if (width > rowPitch / sizeof(Pixel))
    {
        throw std::length_error("Error: a row of the image does not fit into its row pitch");
    }
    if (rowPitch != 0 && height > mData.max_size() / rowPitch)
    {
        throw std::length_error("Error: the image is too large");
    }
    mData.resize(static_cast<std::size_t>(rowPitch * height));
    mWidth = width;
    mHeight = height;
    mRowPitch = rowPitch;
}

template <class Pixel>
void Image<Pixel>::resize(std::uint64_t width, std::uint64_t height)
{
    if (width > mData.max_size() / sizeof(Pixel))
    {
        throw std::length_error("Error: the image is too large");
    }
    resize(width, height, width * sizeof(Pixel));
}

template <class Pixel>
void Image<Pixel>::fill(const Pixel& value)
{
    if (mHeight == 0)
    {
        return;
    }
    for (std::uint64_t x = 0; x < mWidth; ++x)
    {
        setPixel(x, 0, value);
    }
    for (std::uint64_t y = 1; y < mHeight; ++y)
    {
        std::memcpy(
            mData.data() + y * mRowPitch, mData.data(), static_cast<std::size_t>(mWidth * sizeof(Pixel))
        );
    }
}

template <class Pixel>
Pixel Image<Pixel>::pixel(std::uint64_t x, std::uint64_t y) const noexcept
{
    Pixel value;
    std::memcpy(&value, mData.data() + y * mRowPitch + x * sizeof(Pixel), sizeof(Pixel));
    return value;
}

template <class Pixel>
void Image<Pixel>::setPixel(std::uint64_t x, std::uint64_t y, const Pixel& value) noexcept
{
    std::memcpy(mData.data() + y * mRowPitch + x * sizeof(Pixel), &value, sizeof(Pixel));
}
}  // namespace Graphics
