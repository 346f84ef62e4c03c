#include "octree/entwine/Hierarchy.h"

#include "core/readAll.h"
#include "octree/OctreeChildNodeIdRange.h"
#include "octree/entwine/nodeKey.h"

#include <algorithm>
#include <utility>

namespace Entwine
{
namespace
{
using Octree::OctreeNodeId;

constexpr std::size_t kExpectedFiles = 256;
constexpr const char* kFolder = "ept-hierarchy";
}  // namespace

Hierarchy::Hierarchy(std::shared_ptr<const Core::ByteFolder> files)
    : mDataSet(std::move(files)), mFiles(kCacheCapacity, kExpectedFiles)
{
}

std::string Hierarchy::name() const
{
    return mDataSet->nameOf(kFolder);
}

Hierarchy::SharedFile Hierarchy::cachedFile(const OctreeNodeId& first, std::stop_token stopToken) const
{
    const auto load = [&](SharedFile& out, const std::stop_token& token)
    {
        const auto file = mDataSet->open(std::string(kFolder) + '/' + nodeKey(first) + ".json", token);
        const std::optional<std::string> text =
            file ? Core::readAll(*file, kMaxFileSize, token) : std::nullopt;
        if (!text)
        {
            return false;
        }
        out = std::make_shared<const HierarchyFile>(*text, first, file->name());
        return true;
    };
    SharedFile file;
    return mFiles.getOrLoad(first, file, load, std::move(stopToken)) ? file : nullptr;
}

// Each step goes to a file that begins deeper in the tree, so there are at most 22.
Hierarchy::SharedFile Hierarchy::fileWith(const OctreeNodeId& id, const std::stop_token& stopToken) const
{
    OctreeNodeId first;
    for (;;)
    {
        SharedFile file = cachedFile(first, stopToken);
        if (!file)
        {
            return nullptr;
        }
        OctreeNodeId listed = id;  // the deepest node on the way to the wanted one that this file has
        std::optional<std::int64_t> count = file->count(listed);
        while (!count)
        {
            listed = listed.parent();
            count = file->count(listed);
        }
        if (*count != HierarchyFile::kElsewhere)
        {
            return listed == id ? file : nullptr;
        }
        first = listed;
    }
}

std::optional<Hierarchy::Node> Hierarchy::find(const OctreeNodeId& id, std::stop_token stopToken) const
{
    const SharedFile file = fileWith(id, stopToken);
    return file ? std::optional(Node{static_cast<std::uint64_t>(*file->count(id)), file->childMask(id)})
                : std::nullopt;
}

std::optional<Octree::ChildSummary> Hierarchy::childSummary(const OctreeNodeId& id, std::stop_token stopToken)
    const
{
    const SharedFile file = fileWith(id, stopToken);
    if (!file)
    {
        return std::nullopt;
    }
    Octree::ChildSummary summary;
    summary.mask = file->childMask(id);
    for (const OctreeNodeId& child : Octree::OctreeChildNodeIdRange(id, summary.mask))
    {
        const std::int64_t listed = *file->count(child);
        std::uint64_t count = static_cast<std::uint64_t>(listed);
        if (listed == HierarchyFile::kElsewhere)
        {
            const std::optional<Node> node = find(child, stopToken);
            if (!node)
            {
                return std::nullopt;
            }
            count = node->pointCount;
        }
        summary.fewestPoints = std::min(summary.fewestPoints, count);
    }
    return summary;
}
}  // namespace Entwine
