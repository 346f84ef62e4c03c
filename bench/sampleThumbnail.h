#pragma once

#include "octree/OctreeNodeId.h"
#include "octree/potree/FileSystemLocation.h"
#include "render/pointcloud/PointCloudRenderable.h"
#include "render/renderer/Renderer.h"
#include "render/thumbnail/thumbnailEye.h"

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>

/// What createThumbnail() does, step by step, for the programs that time the steps.
namespace SampleThumbnail
{
inline constexpr std::size_t kBudget = 10'000'000;
inline constexpr std::uint64_t kWidth = 640;
inline constexpr std::uint64_t kHeight = 480;

inline std::shared_ptr<Render::PointCloudRenderable> open(const std::filesystem::path& folder)
{
    return Render::PointCloudRenderable::create(PoTree::FileSystemLocation(folder), "", kBudget, 1.0);
}

inline void show(Render::Renderer& renderer, const std::shared_ptr<Render::PointCloudRenderable>& cloud)
{
    renderer.setScene(cloud);
    renderer.setViewport(kWidth, kHeight);
    const Math::NBoundingBox<float, 3> box = cloud->boundingBoxWorld();
    const auto aspect = static_cast<float>(renderer.aspectRatio());
    renderer.setCameraPose(Render::thumbnailEye(box, aspect), box.center(), Eigen::Vector3f::UnitZ());
    renderer.setPerspective(Render::kThumbnailFovYDeg, 0.01F, 1000.0F, 0.0F, 0.0F);
    renderer.setZNearAndFarViaBoundingBox(box);
}

inline void load(Render::PointCloudRenderable& cloud, std::size_t maxLevel)
{
    cloud.reloadPoints(nullptr, maxLevel, {});
}

inline void load(Render::PointCloudRenderable& cloud)
{
    load(cloud, Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL);
}
}  // namespace SampleThumbnail
