#include "render/gpu/VertexFormats.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace Render
{
namespace
{
template <class Vertex>
std::array<unsigned char, sizeof(Vertex)> bytesOf(const Vertex& vertex)
{
    std::array<unsigned char, sizeof(Vertex)> bytes{};
    std::memcpy(bytes.data(), &vertex, sizeof(Vertex));
    return bytes;
}

template <class Vertex>
float floatAt(const Vertex& vertex, std::size_t offset)
{
    float value = 0.0F;
    std::memcpy(&value, bytesOf(vertex).data() + offset, sizeof value);
    return value;
}
}  // namespace

TEST(VertexFormats, PositionAndColorArePacked)
{
    const VertexPosColor vertex(1.0F, 2.0F, 3.0F, 10, 20, 30, 40);

    EXPECT_EQ(floatAt(vertex, 0), 1.0F);
    EXPECT_EQ(floatAt(vertex, 4), 2.0F);
    EXPECT_EQ(floatAt(vertex, 8), 3.0F);
    EXPECT_EQ(bytesOf(vertex)[12], 30);  // blue first
    EXPECT_EQ(bytesOf(vertex)[13], 20);
    EXPECT_EQ(bytesOf(vertex)[14], 10);
    EXPECT_EQ(bytesOf(vertex)[15], 40);
}

TEST(VertexFormats, ConstructorsOfPositionAndColorAgree)
{
    const VertexPosColor byChannels(1.0F, 2.0F, 3.0F, 10, 20, 30, 40);
    const VertexPosColor byNumber(1.0F, 2.0F, 3.0F, 0x280A141EU);
    const VertexPosColor byObjects(Math::Point<float, 3>(1.0F, 2.0F, 3.0F), Math::Color(10, 20, 30, 40));

    EXPECT_EQ(bytesOf(byNumber), bytesOf(byChannels));
    EXPECT_EQ(bytesOf(byObjects), bytesOf(byChannels));
}

TEST(VertexFormats, NormalLiesBetweenPositionAndColor)
{
    const VertexPosNormalColor byChannels(1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F, 10, 20, 30, 40);
    const VertexPosNormalColor byNumber(1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F, 0x280A141EU);
    const VertexPosNormalColor byObjects(
        Math::Point<float, 3>(1.0F, 2.0F, 3.0F),
        Eigen::Vector3f(4.0F, 5.0F, 6.0F),
        Math::Color(10, 20, 30, 40)
    );

    EXPECT_EQ(floatAt(byChannels, 12), 4.0F);
    EXPECT_EQ(floatAt(byChannels, 20), 6.0F);
    EXPECT_EQ(bytesOf(byChannels)[24], 30);
    EXPECT_EQ(bytesOf(byNumber), bytesOf(byChannels));
    EXPECT_EQ(bytesOf(byObjects), bytesOf(byChannels));
}

TEST(VertexFormats, MeshVertexHoldsTextureCoordinates)
{
    const VertexPosNormalTexCoordColor byChannels(
        1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F, 7.0F, 8.0F, 10, 20, 30, 40
    );
    const VertexPosNormalTexCoordColor byNumber(1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F, 7.0F, 8.0F, 0x280A141EU);
    const VertexPosNormalTexCoordColor byObjects(
        Math::Point<float, 3>(1.0F, 2.0F, 3.0F),
        Eigen::Vector3f(4.0F, 5.0F, 6.0F),
        Math::Point<float, 2>(7.0F, 8.0F),
        Math::Color(10, 20, 30, 40)
    );

    EXPECT_EQ(floatAt(byChannels, 24), 7.0F);
    EXPECT_EQ(floatAt(byChannels, 28), 8.0F);
    EXPECT_EQ(bytesOf(byChannels)[32], 30);
    EXPECT_EQ(bytesOf(byNumber), bytesOf(byChannels));
    EXPECT_EQ(bytesOf(byObjects), bytesOf(byChannels));
}

TEST(VertexFormats, PointVertexEndsWithIntensityClassAndScan)
{
    const VertexPosColorIntensityClassIndexScanIndex vertex(
        Math::Point<float, 3>(1.0F, 2.0F, 3.0F), Math::Color(10, 20, 30, 40), 50, 60, 0x0102
    );

    EXPECT_EQ(floatAt(vertex, 8), 3.0F);
    EXPECT_EQ(bytesOf(vertex)[12], 30);
    EXPECT_EQ(bytesOf(vertex)[16], 50);
    EXPECT_EQ(bytesOf(vertex)[17], 60);
    EXPECT_EQ(bytesOf(vertex)[18], 0x02);
    EXPECT_EQ(bytesOf(vertex)[19], 0x01);
}

TEST(VertexFormats, DefaultPointVertexHasNoColorIntensityClassOrScan)
{
    const VertexPosColorIntensityClassIndexScanIndex plain;
    const VertexPosNormalColorIntensityClassIndexScanIndex withNormal;

    EXPECT_EQ(plain.color, Math::Color());
    EXPECT_EQ(plain.intensity, 0);
    EXPECT_EQ(plain.classIndex, 0);
    EXPECT_EQ(plain.scanIndex, 0);
    EXPECT_EQ(withNormal.color, Math::Color());
    EXPECT_EQ(withNormal.intensity, 0);
    EXPECT_EQ(withNormal.classIndex, 0);
    EXPECT_EQ(withNormal.scanIndex, 0);
}
}  // namespace Render
