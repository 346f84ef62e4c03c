#pragma once

#include "math/Color.h"
#include "math/Point.h"

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Render
{
/// A coloured point as the export of visible points hands it out. 16 bytes.
struct VertexPosColor
{
    VertexPosColor() = default;

    /// Of position and colour.
    VertexPosColor(const Math::Point<float, 3>& positionValue, const Math::Color& colorValue) noexcept
        : position(positionValue), color(colorValue)
    {
    }

    /// @param packedColor  0xAARRGGBB
    VertexPosColor(float x, float y, float z, unsigned int packedColor) noexcept
        : position(x, y, z), color(packedColor)
    {
    }

    /// Of coordinates and the colour's channels.
    VertexPosColor(
        float x, float y, float z, unsigned char r, unsigned char g, unsigned char b, unsigned char a
    ) noexcept
        : position(x, y, z), color(r, g, b, a)
    {
    }

    Math::Point<float, 3> position;  ///< where the point lies
    Math::Color color;               ///< of the point
};

/// A coloured point with a surface normal. 28 bytes.
struct VertexPosNormalColor
{
    VertexPosNormalColor() = default;

    /// Of position, normal and colour.
    VertexPosNormalColor(
        const Math::Point<float, 3>& positionValue,
        const Eigen::Vector3f& normalValue,
        const Math::Color& colorValue
    ) noexcept
        : position(positionValue),
          normal(normalValue.x(), normalValue.y(), normalValue.z()),
          color(colorValue)
    {
    }

    /// @param packedColor  0xAARRGGBB
    VertexPosNormalColor(
        float x, float y, float z, float nx, float ny, float nz, unsigned int packedColor
    ) noexcept
        : position(x, y, z), normal(nx, ny, nz), color(packedColor)
    {
    }

    /// Of coordinates and the colour's channels.
    VertexPosNormalColor(
        float x,
        float y,
        float z,
        float nx,
        float ny,
        float nz,
        unsigned char r,
        unsigned char g,
        unsigned char b,
        unsigned char a
    ) noexcept
        : position(x, y, z), normal(nx, ny, nz), color(r, g, b, a)
    {
    }

    Math::Point<float, 3> position;  ///< where the point lies
    Math::Point<float, 3> normal;    ///< of the surface, of unit length
    Math::Color color;               ///< of the point
};

/// A corner of a mesh triangle, read by the mesh shader. 36 bytes.
struct VertexPosNormalTexCoordColor
{
    VertexPosNormalTexCoordColor() = default;

    /// Of position, normal, texture coordinates and colour.
    VertexPosNormalTexCoordColor(
        const Math::Point<float, 3>& positionValue,
        const Eigen::Vector3f& normalValue,
        const Math::Point<float, 2>& texCoordValue,
        const Math::Color& colorValue
    ) noexcept
        : position(positionValue),
          normal(normalValue.x(), normalValue.y(), normalValue.z()),
          texCoord(texCoordValue),
          color(colorValue)
    {
    }

    /// @param packedColor  0xAARRGGBB
    VertexPosNormalTexCoordColor(
        float x, float y, float z, float nx, float ny, float nz, float u, float v, unsigned int packedColor
    ) noexcept
        : position(x, y, z), normal(nx, ny, nz), texCoord(u, v), color(packedColor)
    {
    }

    /// Of coordinates and the colour's channels.
    VertexPosNormalTexCoordColor(
        float x,
        float y,
        float z,
        float nx,
        float ny,
        float nz,
        float u,
        float v,
        unsigned char r,
        unsigned char g,
        unsigned char b,
        unsigned char a
    ) noexcept
        : position(x, y, z), normal(nx, ny, nz), texCoord(u, v), color(r, g, b, a)
    {
    }

    Math::Point<float, 3> position;  ///< where the corner lies
    Math::Point<float, 3> normal;    ///< of the surface, of unit length
    Math::Point<float, 2> texCoord;  ///< into a texture
    Math::Color color;               ///< of the corner
};

/// A point of a point cloud, read by the point shader as per-instance data. 20 bytes.
struct VertexPosColorIntensityClassIndexScanIndex
{
    VertexPosColorIntensityClassIndexScanIndex() = default;

    /// Of all its parts.
    VertexPosColorIntensityClassIndexScanIndex(
        const Math::Point<float, 3>& positionValue,
        const Math::Color& colorValue,
        unsigned char intensityValue,
        unsigned char classIndexValue,
        unsigned short scanIndexValue
    ) noexcept
        : position(positionValue),
          color(colorValue),
          intensity(intensityValue),
          classIndex(classIndexValue),
          scanIndex(scanIndexValue)
    {
    }

    Math::Point<float, 3> position;  ///< where the point lies
    Math::Color color;               ///< of the point
    std::uint8_t intensity = 0;      ///< the high byte of the 16-bit intensity; the GPU reads it as 0..1
    std::uint8_t classIndex = 0;     ///< classification
    std::uint16_t scanIndex = 0;     ///< which scan the point is from
};

/// A point of a point cloud with a surface normal. 32 bytes.
struct VertexPosNormalColorIntensityClassIndexScanIndex
{
    Math::Point<float, 3> position;  ///< where the point lies
    Math::Point<float, 3> normal;    ///< of the surface
    Math::Color color;               ///< of the point
    std::uint8_t intensity = 0;      ///< high byte of the intensity
    std::uint8_t classIndex = 0;     ///< classification
    std::uint16_t scanIndex = 0;     ///< which scan the point is from
};

// The layouts are GPU formats: the structures are uploaded byte for byte.
static_assert(sizeof(VertexPosColor) == 16 && std::is_trivially_copyable_v<VertexPosColor>);
static_assert(offsetof(VertexPosColor, color) == 12);

static_assert(sizeof(VertexPosNormalColor) == 28 && std::is_trivially_copyable_v<VertexPosNormalColor>);
static_assert(offsetof(VertexPosNormalColor, normal) == 12);
static_assert(offsetof(VertexPosNormalColor, color) == 24);

static_assert(sizeof(VertexPosNormalTexCoordColor) == 36 && std::is_trivially_copyable_v<VertexPosNormalTexCoordColor>);
static_assert(offsetof(VertexPosNormalTexCoordColor, normal) == 12);
static_assert(offsetof(VertexPosNormalTexCoordColor, texCoord) == 24);
static_assert(offsetof(VertexPosNormalTexCoordColor, color) == 32);

static_assert(sizeof(VertexPosColorIntensityClassIndexScanIndex) == 20 && std::is_trivially_copyable_v<VertexPosColorIntensityClassIndexScanIndex>);
static_assert(offsetof(VertexPosColorIntensityClassIndexScanIndex, color) == 12);
static_assert(offsetof(VertexPosColorIntensityClassIndexScanIndex, intensity) == 16);
static_assert(offsetof(VertexPosColorIntensityClassIndexScanIndex, classIndex) == 17);
static_assert(offsetof(VertexPosColorIntensityClassIndexScanIndex, scanIndex) == 18);

static_assert(sizeof(VertexPosNormalColorIntensityClassIndexScanIndex) == 32 && std::is_trivially_copyable_v<VertexPosNormalColorIntensityClassIndexScanIndex>);
static_assert(offsetof(VertexPosNormalColorIntensityClassIndexScanIndex, normal) == 12);
static_assert(offsetof(VertexPosNormalColorIntensityClassIndexScanIndex, color) == 24);
static_assert(offsetof(VertexPosNormalColorIntensityClassIndexScanIndex, intensity) == 28);
static_assert(offsetof(VertexPosNormalColorIntensityClassIndexScanIndex, classIndex) == 29);
static_assert(offsetof(VertexPosNormalColorIntensityClassIndexScanIndex, scanIndex) == 30);
}  // namespace Render
