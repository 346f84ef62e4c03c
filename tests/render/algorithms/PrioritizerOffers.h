#pragma once

#include "render/pointcloud/NodePrioritizer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stop_token>
#include <string>
#include <vector>

// Nodes that tests offer to a prioritizer, and what comes of it.
namespace Render
{
using Octree::OctreeNodeId;
using Box = Math::NBoundingBox<float, 3>;

inline constexpr std::size_t kCloud = 7;
inline constexpr std::size_t kOtherCloud = 8;
inline constexpr std::size_t kLargeBudget = 1000000;

inline OctreeNodeId node(const char* name)
{
    return OctreeNodeId::fromName(name);
}

/// A source of n vertices whose scan indices count from `first`.
inline VertexSource points(std::size_t n, unsigned short first = 0)
{
    return [n, first](const OctreeNodeId&, VertexContainer& vertices, std::stop_token)
    {
        vertices.resize(n);
        for (std::size_t i = 0; i < n; ++i)
        {
            vertices.setScanIndex(i, static_cast<unsigned short>(first + i));
        }
        return true;
    };
}

inline const VertexSource kMustNotBeAsked = [](const OctreeNodeId&, VertexContainer&, std::stop_token) -> bool
{
    ADD_FAILURE() << "the vertices must not be fetched";
    return false;
};

inline const VertexSource kFails = [](const OctreeNodeId&, VertexContainer&, std::stop_token)
{ return false; };

struct Offer
{
    const char* name = "r";
    NodePriority priority = NodePriority::keep();
    std::size_t cloudId = kCloud;
    Box box = Box({0.0F, 0.0F, 0.0F}, {8.0F, 8.0F, 8.0F});
    std::stop_token stopToken = {};
};

struct Answer
{
    bool added = false;
    bool resident = false;

    friend bool operator==(const Answer&, const Answer&) = default;
};

inline constexpr Answer kAdded{true, true};
inline constexpr Answer kAlreadyThere{false, true};
inline constexpr Answer kRefused{false, false};

inline Answer offer(NodePrioritizer& prioritizer, const Offer& what, const VertexSource& source)
{
    Answer answer;
    answer.added = prioritizer.addNode(
        {what.cloudId, node(what.name)}, what.box, what.priority, source, answer.resident, what.stopToken
    );
    return answer;
}

inline bool contains(const NodePrioritizer& prioritizer, const char* name, std::size_t cloudId = kCloud)
{
    return prioritizer.contains({cloudId, node(name)});
}

inline std::stop_token stoppedToken()
{
    std::stop_source source;
    source.request_stop();
    return source.get_token();
}

/// What updateBuffers() publishes.
inline Buffer published(
    NodePrioritizer& prioritizer, std::size_t cloudId = kCloud, bool dropDeepestLevel = false
)
{
    Core::TripleBuffer<Buffer> buffers;
    prioritizer.updateBuffers(cloudId, dropDeepestLevel, buffers);
    EXPECT_TRUE(buffers.update());
    return buffers.front();
}

inline std::vector<std::string> namesOf(const Buffer& buffer)
{
    std::vector<std::string> names;
    for (const NodeRecord& record : buffer.nodes)
    {
        names.push_back(record.octreeNodeId.name());
    }
    return names;
}

using Names = std::vector<std::string>;
}  // namespace Render
