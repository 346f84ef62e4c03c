#pragma once

#include <cstddef>
#include <cstdint>

namespace Render
{
/// Where the loading of a point cloud stands and what it holds, at one moment.
struct CloudStatus
{
    // What loading has to do, for a progress bar: residentNodes of residentNodes + pendingNodes.
    std::size_t residentNodes = 0;   ///< of this cloud, drawn yet or not
    std::size_t residentPoints = 0;  ///< of these nodes
    std::size_t pendingNodes = 0;  ///< known to the present pass and not looked at yet; more may follow them
    bool isComplete = false;       ///< loading in the background has come to its end for the present view

    // What the last frame drew.
    std::size_t drawnNodes = 0;   ///< of this cloud
    std::size_t drawnPoints = 0;  ///< of these nodes

    // What has been read from files since the cloud was made, to be drawn. A node that fails is tried again.
    std::uint64_t readNodes = 0;    ///< as often as they were read
    std::uint64_t failedNodes = 0;  ///< as often as they could not be

    // What is held, and its bounds.
    std::size_t budgetPoints = 0;      ///< most resident points of all clouds that share the budget
    std::size_t usedBudgetPoints = 0;  ///< resident points of these clouds
    std::uint64_t cachedPoints = 0;    ///< in the vertex cache, 20 bytes each; other clouds may share it
    std::uint64_t cacheCapacity = 0;   ///< most points in it
    std::size_t bytesInFlight = 0;     ///< read ahead and not yet resident
    std::size_t maxBytesInFlight = 0;  ///< see PointCloudRenderable::setMaxBytesInFlight
};

/// How much the caches hold that clouds of one data set share.
struct CacheCapacities
{
    std::uint64_t vertices = 30'000'000;    ///< points, 20 bytes each
    std::uint64_t queryPoints = 2'000'000;  ///< points, up to 48 bytes each
};
}  // namespace Render
