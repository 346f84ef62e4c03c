#include "samples/CopcWriter.h"

#include "octree/NodeCell.h"
#include "samples/LayeredChunkEncoder.h"
#include "samples/littleEndian.h"
#include "samples/octreeHierarchy.h"
#include "samples/placePoints.h"
#include "samples/writeFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Samples
{
namespace
{
using Octree::OctreeNodeId;

constexpr std::size_t kHeaderSize = 375;
constexpr std::size_t kRecordHead = 54;
constexpr std::size_t kInfoSize = 160;
constexpr std::size_t kEntrySize = 32;
constexpr std::size_t kExtendedHead = 60;
constexpr std::size_t kMaxRecord = 65535;

/// Smallest and largest value.
struct Range
{
    double min = std::numeric_limits<double>::infinity();
    double max = -std::numeric_limits<double>::infinity();

    void include(double value) noexcept
    {
        min = std::min(min, value);
        max = std::max(max, value);
    }

    /// 0 for no values, which a file cannot say otherwise.
    Range stated() const noexcept { return min <= max ? *this : Range{0.0, 0.0}; }
};

struct CloudRanges
{
    std::array<Range, 3> position;  // as stored
    Range time;
};

CopcWriterOptions completed(CopcWriterOptions options, std::span<const SamplePoint> points)
{
    if (options.span == 0)
    {
        throw std::invalid_argument("Span must be above 0");
    }
    if (options.coordinateSystem.size() > kMaxRecord)
    {
        throw std::invalid_argument("The text of the coordinate system must have at most 65535 bytes");
    }
    if (!options.cube)
    {
        options.cube = enclosingCube(points);
    }
    if (!options.offset)
    {
        const Math::Point<double, 3> center = options.cube->center();
        options.offset = {std::floor(center.x), std::floor(center.y), std::floor(center.z)};
    }
    return options;
}

CloudRanges rangesOf(std::span<const SamplePoint> points, const CopcWriterOptions& options)
{
    CloudRanges ranges;
    for (const SamplePoint& point : points)
    {
        const std::array<double, 3> position{point.x, point.y, point.z};
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            const double offset = (*options.offset)[axis];
            const double stored = std::floor((position[axis] - offset) / options.scale + 0.5);
            ranges.position[axis].include(stored * options.scale + offset);
        }
        ranges.time.include(1000.0 * point.scanIndex);
    }
    return ranges;
}

void appendText(std::string& bytes, std::string_view text, std::size_t size)
{
    bytes += text;
    bytes.append(size - text.size(), '\0');
}

/// The head of a variable length record.
std::string recordHead(std::string_view author, std::uint16_t number, std::size_t size)
{
    std::string head;
    appendLittleEndian(head, std::uint16_t{0});
    appendText(head, author, 16);
    appendLittleEndian(head, number);
    appendLittleEndian(head, static_cast<std::uint16_t>(size));
    appendText(head, "", 32);
    return head;
}

/// What the header says of places and numbers.
struct HeaderFacts
{
    std::uint64_t pointsBegin;
    std::uint32_t recordCount;
    std::size_t recordLength;
    std::uint64_t extendedRecord;  // where the one with the hierarchy begins
    std::uint64_t pointCount;
};

std::string lasHeader(const CopcWriterOptions& options, const HeaderFacts& facts, const CloudRanges& ranges)
{
    constexpr std::uint16_t kCoordinateSystemIsText = 16;
    std::string header = "LASF";
    appendLittleEndian(header, std::uint16_t{0});  // source
    appendLittleEndian(header, kCoordinateSystemIsText);
    appendText(header, "", 16);  // project
    header += {1, 4};
    appendText(header, "TARNEL", 32);
    appendText(header, "tarnel sample", 32);
    appendLittleEndian(header, std::uint16_t{1});  // day
    appendLittleEndian(header, std::uint16_t{2026});
    appendLittleEndian(header, static_cast<std::uint16_t>(kHeaderSize));
    appendLittleEndian(header, static_cast<std::uint32_t>(facts.pointsBegin));
    appendLittleEndian(header, facts.recordCount);
    appendLittleEndian(header, static_cast<std::uint8_t>(options.pointFormat | 0x80U));
    appendLittleEndian(header, static_cast<std::uint16_t>(facts.recordLength));
    appendText(header, "", 24);  // numbers of points for readers of older versions
    for (int axis = 0; axis < 3; ++axis)
    {
        appendLittleEndian(header, options.scale);
    }
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        appendLittleEndian(header, (*options.offset)[axis]);
    }
    for (const Range& range : ranges.position)
    {
        appendLittleEndian(header, range.stated().max);
        appendLittleEndian(header, range.stated().min);
    }
    appendLittleEndian(header, std::uint64_t{0});  // wave packets
    appendLittleEndian(header, facts.extendedRecord);
    appendLittleEndian(header, std::uint32_t{1});  // extended records
    appendLittleEndian(header, facts.pointCount);
    appendLittleEndian(header, facts.pointCount);  // of return 1
    appendText(header, "", 14 * sizeof(std::uint64_t));
    return header;
}

std::string infoRecord(
    const CopcWriterOptions& options, std::uint64_t page, std::uint64_t pageSize, const Range& time
)
{
    const Math::Point<double, 3> center = options.cube->center();
    std::string record = recordHead("copc", 1, kInfoSize);
    appendLittleEndian(record, center.x);
    appendLittleEndian(record, center.y);
    appendLittleEndian(record, center.z);
    appendLittleEndian(record, options.cube->edge / 2);
    appendLittleEndian(record, options.cube->edge / options.span);
    appendLittleEndian(record, page);
    appendLittleEndian(record, pageSize);
    appendLittleEndian(record, time.stated().min);
    appendLittleEndian(record, time.stated().max);
    appendText(record, "", 11 * sizeof(std::uint64_t));
    return record;
}

/// What a page says of a node.
struct PageEntry
{
    OctreeNodeId id;
    std::uint64_t place;
    std::uint64_t size;
    std::int32_t count;
};

void append(std::string& bytes, const PageEntry& entry)
{
    const Octree::NodeCell cell = Octree::nodeCell(entry.id);
    appendLittleEndian(bytes, cell.level);
    for (const std::uint32_t coordinate : cell.place)
    {
        appendLittleEndian(bytes, coordinate);
    }
    appendLittleEndian(bytes, entry.place);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(entry.size));
    appendLittleEndian(bytes, entry.count);
}

struct Pages
{
    std::string bytes;  // the root's first
    std::uint64_t firstSize = 0;
    std::size_t count = 0;
};

/// @param nodes  breadth first
/// @param begin  where in the file the pages lie
Pages encodePages(
    const std::vector<HierarchyNode>& nodes,
    const std::vector<WrittenChunk>& chunks,
    unsigned step,
    std::uint64_t begin
)
{
    const auto hasOwnPage = [&](const WrittenNode& node)
    { return node.id.isRoot() || (step != 0 && node.id.level() % step == 0 && node.childMask != 0); };
    std::vector<std::vector<PageEntry>> pages;
    std::map<OctreeNodeId, std::size_t> pageOf;
    std::map<OctreeNodeId, std::size_t> pageThatBegins;
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        const WrittenNode& node = nodes[i].node;
        const PageEntry own{
            node.id, chunks[i].offset, chunks[i].size, static_cast<std::int32_t>(chunks[i].pointCount)};
        if (hasOwnPage(node))
        {
            if (!node.id.isRoot())
            {
                pages[pageOf.at(node.id.parent())].push_back({node.id, 0, 0, -1});
            }
            pageOf[node.id] = pageThatBegins[node.id] = pages.size();
            pages.push_back({own});
        }
        else
        {
            pageOf[node.id] = pageOf.at(node.id.parent());
            pages[pageOf[node.id]].push_back(own);
        }
    }

    std::vector<std::uint64_t> places;
    std::uint64_t place = begin;
    for (const std::vector<PageEntry>& page : pages)
    {
        places.push_back(place);
        place += page.size() * kEntrySize;
    }
    Pages result{.bytes = {}, .firstSize = pages[0].size() * kEntrySize, .count = pages.size()};
    for (std::vector<PageEntry>& page : pages)
    {
        for (PageEntry& entry : page)
        {
            if (entry.count == -1)
            {
                const std::size_t below = pageThatBegins.at(entry.id);
                entry.place = places[below];
                entry.size = pages[below].size() * kEntrySize;
            }
            append(result.bytes, entry);
        }
    }
    return result;
}

CopcSummary write(
    const std::filesystem::path& file,
    std::span<const SamplePoint> points,
    std::vector<PlacedNode> placed,
    const CopcWriterOptions& options
)
{
    std::vector<HierarchyNode> nodes;
    std::map<OctreeNodeId, PlacedNode*> placedById;
    for (PlacedNode& node : placed)
    {
        nodes.push_back({{.id = node.id}, 0});
        placedById[node.id] = &node;
    }
    completeTree(nodes);

    CopcSummary summary;
    summary.cube = *options.cube;
    const std::string& coordinateSystem = options.coordinateSystem;
    const std::string compression = LayeredChunkEncoder(options, *options.offset, 0).record();
    std::string records = recordHead("laszip encoded", 22204, compression.size()) + compression;
    if (!coordinateSystem.empty())
    {
        records += recordHead("LASF_Projection", 2112, coordinateSystem.size()) + coordinateSystem;
    }
    summary.pointsBegin = kHeaderSize + kRecordHead + kInfoSize + records.size();

    LayeredChunkEncoder encoder(options, *options.offset, summary.pointsBegin);
    for (const HierarchyNode& node : nodes)
    {
        WrittenChunk& chunk = summary.nodes.emplace_back();
        chunk.id = node.node.id;
        const auto found = placedById.find(chunk.id);
        if (found != placedById.end() && !found->second->points.empty())
        {
            std::vector<std::uint32_t>& indices = found->second->points;
            std::ranges::sort(indices);
            chunk.pointCount = indices.size();
            chunk.offset = encoder.position();
            chunk.size = encoder.add(points, indices);
            summary.pointCount += chunk.pointCount;
        }
    }
    const std::string chunks = encoder.finish();

    const std::uint64_t extendedRecord = summary.pointsBegin + chunks.size();
    const std::uint64_t pagesBegin = extendedRecord + kExtendedHead;
    const Pages pages = encodePages(nodes, summary.nodes, options.hierarchyStep, pagesBegin);
    summary.pageCount = pages.count;
    std::string extendedHead;
    appendLittleEndian(extendedHead, std::uint16_t{0});
    appendText(extendedHead, "copc", 16);
    appendLittleEndian(extendedHead, std::uint16_t{1000});
    appendLittleEndian(extendedHead, std::uint64_t{pages.bytes.size()});
    appendText(extendedHead, "", 32);

    const CloudRanges ranges = rangesOf(points, options);
    const HeaderFacts facts{
        .pointsBegin = summary.pointsBegin,
        .recordCount = coordinateSystem.empty() ? 2U : 3U,
        .recordLength = encoder.recordLength(),
        .extendedRecord = extendedRecord,
        .pointCount = summary.pointCount,
    };
    const std::string begin = lasHeader(options, facts, ranges) +
                              infoRecord(options, pagesBegin, pages.firstSize, ranges.time) + records;
    const std::array<std::string_view, 4> pieces{begin, chunks, extendedHead, pages.bytes};
    writeFile(file, pieces);
    return summary;
}
}  // namespace

CopcSummary writeCopc(
    const std::filesystem::path& file, std::span<const SamplePoint> points, const CopcWriterOptions& options
)
{
    const CopcWriterOptions all = completed(options, points);
    return write(file, points, placePoints(points, placementOf(all)), all);
}

CopcSummary writeCopcNodes(
    const std::filesystem::path& file, std::span<const SampleNode> nodes, const CopcWriterOptions& options
)
{
    PlacedCloud cloud = joinNodes(nodes);
    return write(file, cloud.points, std::move(cloud.nodes), completed(options, cloud.points));
}
}  // namespace Samples
