#include "octree/entwine/Hierarchy.h"

#include "core/readAll.h"
#include "octree/entwine/nodeKey.h"

#include <utility>

namespace Entwine
{
namespace
{
using Octree::OctreeNodeId;
using Files = Octree::PagedHierarchy<HierarchyFile::Entry>;

constexpr const char* kFolder = "ept-hierarchy";

std::string fileOf(const OctreeNodeId& first)
{
    return std::string(kFolder) + '/' + nodeKey(first) + ".json";
}

Files::Page read(const Core::ByteFolder& dataSet, const OctreeNodeId& first, const std::stop_token& stopToken)
{
    const auto file = dataSet.openFor(Core::Extent::Whole, fileOf(first), stopToken);
    const std::optional<std::string> text =
        file ? Core::readAll(*file, Hierarchy::kMaxFileSize, stopToken) : std::nullopt;
    if (!text)
    {
        return nullptr;
    }
    const auto parsed = std::make_shared<const HierarchyFile>(*text, first, file->name());
    return {parsed, &parsed->nodes()};
}
}  // namespace

Hierarchy::Hierarchy(std::shared_ptr<const Core::ByteFolder> files)
    : mDataSet(std::move(files)),
      mFiles(
          [dataSet = mDataSet](
              const OctreeNodeId& first, const HierarchyFile::Entry*, const std::stop_token& stopToken
          ) { return read(*dataSet, first, stopToken); },
          {[dataSet = mDataSet](const OctreeNodeId& first, const HierarchyFile::Entry*)
           { return dataSet->expect(Core::Extent::Whole, fileOf(first), Core::Turn::First); },
           [dataSet = mDataSet](const OctreeNodeId& first, const HierarchyFile::Entry*)
           { dataSet->forget(fileOf(first)); }},
          kCacheCapacity
      )
{
    mDataSet->expect(Core::Extent::Whole, fileOf({}), Core::Turn::First);  // the root will be looked up soon
}

std::string Hierarchy::name() const
{
    return mDataSet->nameOf(kFolder);
}

std::optional<Hierarchy::Node> Hierarchy::find(const OctreeNodeId& id, std::stop_token stopToken) const
{
    const std::optional<Files::Node> node = mFiles.find(id, stopToken);
    return node ? std::optional(Node{static_cast<std::uint64_t>(node->entry.count), node->childMask})
                : std::nullopt;
}

bool Hierarchy::expect(const OctreeNodeId& id) const
{
    return mFiles.expect(id);
}

void Hierarchy::forget(const OctreeNodeId& id) const
{
    mFiles.forget(id);
}

bool Hierarchy::hasPointsAtHand(const OctreeNodeId& id) const noexcept
{
    const std::optional<Files::Node> node = mFiles.findAtHand(id);
    return node && node->entry.count > 0;
}

std::optional<Octree::ChildSummary> Hierarchy::childSummary(const OctreeNodeId& id, std::stop_token stopToken)
    const
{
    return mFiles.childSummary(id, stopToken);
}
}  // namespace Entwine
