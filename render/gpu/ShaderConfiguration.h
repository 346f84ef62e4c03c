#pragma once

namespace Render
{
/// Bit flags that name shader stages; they may be or-ed together. The value 0, which has no name, means that
/// nothing is bound.
enum class ShaderConfiguration : unsigned int
{
    Vertex = 1,
    Geometry = 2,
    Pixel = 4,
    Compute = 8,
};

constexpr ShaderConfiguration operator|(ShaderConfiguration a, ShaderConfiguration b) noexcept
{
    return static_cast<ShaderConfiguration>(static_cast<unsigned int>(a) | static_cast<unsigned int>(b));
}

constexpr ShaderConfiguration operator&(ShaderConfiguration a, ShaderConfiguration b) noexcept
{
    return static_cast<ShaderConfiguration>(static_cast<unsigned int>(a) & static_cast<unsigned int>(b));
}
}  // namespace Render
