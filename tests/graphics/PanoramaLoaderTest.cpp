#include "graphics/PanoramaLoader.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
/// One level of one tile.
class OneTile : public Graphics::PanoramaLoader
{
public:
    explicit OneTile(bool& isGone) : mIsGone(isGone) {}

    ~OneTile() override { mIsGone = true; }

    OneTile(const OneTile&) = delete;
    OneTile& operator=(const OneTile&) = delete;

    std::uint64_t numColorLevels() const override { return 1; }

    std::uint64_t numDepthLevels() const override { return 1; }

    std::uint64_t width(std::uint64_t) const override { return 4; }

    std::uint64_t height(std::uint64_t) const override { return 2; }

    std::uint64_t tileWidth(std::uint64_t) const override { return 4; }

    std::uint64_t tileHeight(std::uint64_t) const override { return 2; }

    std::vector<TileIndex> tileIndices(std::uint64_t level) const override
    {
        return {TileIndex{level, 0, 0}};
    }

    std::uint64_t tileOffsetX(const TileIndex&) const override { return 0; }

    std::uint64_t tileOffsetY(const TileIndex&) const override { return 0; }

    Graphics::ColorImage colorImageTile(const TileIndex&) override { return {4, 2}; }

    Graphics::DepthImage depthImageTile(const TileIndex&) override { return {4, 2}; }

private:
    bool& mIsGone;
};

TEST(PanoramaLoader, IsUsedAndDestroyedThroughItsInterface)
{
    bool isGone = false;
    std::unique_ptr<Graphics::PanoramaLoader> loader = std::make_unique<OneTile>(isGone);

    const std::vector<Graphics::PanoramaLoader::TileIndex> tiles = loader->tileIndices(0);
    ASSERT_EQ(tiles.size(), 1U);
    EXPECT_EQ(loader->colorImageTile(tiles.front()).width(), 4U);
    EXPECT_EQ(loader->depthImageTile(tiles.front()).height(), 2U);
    loader.reset();

    EXPECT_TRUE(isGone);
}
}  // namespace
