#include "samples/placePoints.h"

#include "samples/Random.h"
#include "samples/runInParallel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace Samples
{
namespace
{
using Position = Math::Point<double, 3>;

struct Candidate
{
    Position position;
    std::uint32_t index = 0;
};

/// Positions in a sparse grid of cubic cells as wide as their least distance, so that what is too near to a
/// position lies in its cell or in one of the 26 around it.
class SpacedPositions
{
public:
    SpacedPositions(const Position& origin, double spacing)
        : mOrigin(origin), mSpacing(spacing), mSlots(1024, Slot{})
    {
    }

    /// True when no position is nearer than the spacing.
    bool fits(const Position& position) const
    {
        const Cell cell = cellOf(position);
        for (const auto& [dx, dy, dz] : kNeighbours)
        {
            const Slot& slot = mSlots[find(key(cell[0] + dx, cell[1] + dy, cell[2] + dz))];
            for (std::uint32_t i = slot.first; i != kNone; i = mEntries[i].next)
            {
                if (squaredDistance(mEntries[i].position, position) < mSpacing * mSpacing)
                {
                    return false;
                }
            }
        }
        return true;
    }

    void add(const Position& position)
    {
        const Cell cell = cellOf(position);
        const std::uint64_t cellKey = key(cell[0], cell[1], cell[2]);
        std::size_t slot = find(cellKey);
        if (mSlots[slot].first == kNone)
        {
            if (++mUsed * 2 > mSlots.size())
            {
                grow();
                slot = find(cellKey);
            }
            mSlots[slot].key = cellKey;
        }
        mEntries.push_back({position, mSlots[slot].first});
        mSlots[slot].first = static_cast<std::uint32_t>(mEntries.size() - 1);
    }

private:
    static constexpr std::uint32_t kNone = 0xffffffffU;

    /// The cell itself, then its neighbours by face, edge and corner: where a near position is likeliest
    /// comes first.
    static constexpr auto kNeighbours = []
    {
        std::array<std::array<std::int64_t, 3>, 27> result{};
        std::size_t count = 0;
        for (int distance = 0; distance <= 3; ++distance)
        {
            for (int i = 0; i < 27; ++i)
            {
                const std::array<std::int64_t, 3> step{i % 3 - 1, i / 3 % 3 - 1, i / 9 - 1};
                if (step[0] * step[0] + step[1] * step[1] + step[2] * step[2] == distance)
                {
                    result[count++] = step;
                }
            }
        }
        return result;
    }();

    using Cell = std::array<std::int64_t, 3>;

    struct Slot
    {
        std::uint64_t key = 0;
        std::uint32_t first = kNone;
    };

    struct Entry
    {
        Position position;
        std::uint32_t next;
    };

    Cell cellOf(const Position& position) const
    {
        Cell cell{};
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            // the border keeps points far outside the cube within the key's 21 bits
            const double steps = std::floor((position[axis] - mOrigin[axis]) / mSpacing);
            cell[axis] = static_cast<std::int64_t>(std::clamp(steps, -1000.0, 2000000.0)) + 1024;
        }
        return cell;
    }

    static std::uint64_t key(std::int64_t x, std::int64_t y, std::int64_t z)
    {
        return static_cast<std::uint64_t>(x) << 42U | static_cast<std::uint64_t>(y) << 21U |
               static_cast<std::uint64_t>(z);
    }

    static double squaredDistance(const Position& a, const Position& b)
    {
        const double x = a.x - b.x;
        const double y = a.y - b.y;
        const double z = a.z - b.z;
        return x * x + y * y + z * z;
    }

    /// The cell's slot, or the free one where it belongs.
    std::size_t find(std::uint64_t cellKey) const
    {
        const std::size_t mask = mSlots.size() - 1;
        std::size_t slot = static_cast<std::size_t>(scrambled(cellKey)) & mask;
        while (mSlots[slot].first != kNone && mSlots[slot].key != cellKey)
        {
            slot = (slot + 1) & mask;
        }
        return slot;
    }

    void grow()
    {
        std::vector<Slot> old(mSlots.size() * 2);
        old.swap(mSlots);
        for (const Slot& slot : old)
        {
            if (slot.first != kNone)
            {
                mSlots[find(slot.key)] = slot;
            }
        }
    }

    Position mOrigin;
    double mSpacing;
    std::vector<Slot> mSlots;
    std::vector<Entry> mEntries;
    std::size_t mUsed = 0;
};

/// A node whose points are to be chosen.
struct Task
{
    Octree::OctreeNodeId id;
    Cube cube;
    std::vector<Candidate> candidates;
    std::vector<Position> inherited;  // what the ancestors hold within the cube
};

unsigned octant(const Position& position, const Position& center)
{
    return (position.x >= center.x ? 4U : 0U) | (position.y >= center.y ? 2U : 0U) |
           (position.z >= center.z ? 1U : 0U);
}

/// Moves the node's share into `node` and the rest into the children.
// NOLINTNEXTLINE(performance-unnecessary-value-param): what the task holds goes with it
std::array<Task, 8> split(Task task, double spacing, PlacedNode& node)
{
    const Position center = task.cube.center();
    std::array<Task, 8> children;
    SpacedPositions kept(task.cube.min, spacing);
    for (const Position& position : task.inherited)
    {
        kept.add(position);
        children[octant(position, center)].inherited.push_back(position);
    }
    for (const Candidate& candidate : task.candidates)
    {
        Task& child = children[octant(candidate.position, center)];
        if (kept.fits(candidate.position))
        {
            kept.add(candidate.position);
            child.inherited.push_back(candidate.position);
            node.points.push_back(candidate.index);
        }
        else
        {
            child.candidates.push_back(candidate);
        }
    }
    return children;
}

std::vector<Candidate> shuffledCandidates(std::span<const SamplePoint> points)
{
    std::vector<Candidate> candidates(points.size());
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        candidates[i] = {{points[i].x, points[i].y, points[i].z}, static_cast<std::uint32_t>(i)};
    }
    Random random(0);  // any fixed order without a pattern will do
    for (std::size_t i = candidates.size(); i > 1; --i)
    {
        std::swap(candidates[i - 1], candidates[random.below(static_cast<std::uint32_t>(i))]);
    }
    return candidates;
}
}  // namespace

std::vector<PlacedNode> placePoints(std::span<const SamplePoint> points, const PlacementOptions& options)
{
    std::vector<PlacedNode> result;
    std::vector<Task> tasks;
    if (!points.empty())
    {
        tasks.push_back({{}, options.cube, shuffledCandidates(points), {}});
    }
    double spacing = options.spacing;
    for (unsigned level = 0; !tasks.empty(); ++level, spacing *= 0.5)
    {
        const std::size_t first = result.size();
        result.resize(first + tasks.size());
        std::vector<std::array<Task, 8>> children(tasks.size());
        const auto place = [&](std::size_t i)
        {
            PlacedNode& node = result[first + i];
            node.id = tasks[i].id;
            if (level < options.maxLevel && tasks[i].candidates.size() > options.leafCapacity)
            {
                const Cube cube = tasks[i].cube;
                children[i] = split(std::move(tasks[i]), spacing, node);
                for (unsigned index = 0; index < 8; ++index)
                {
                    children[i][index].id = node.id.child(index);
                    children[i][index].cube = cube.child(index);
                }
                return;
            }
            for (const Candidate& candidate : tasks[i].candidates)
            {
                node.points.push_back(candidate.index);
            }
            tasks[i] = {};
        };
        runInParallel(tasks.size(), options.threadCount, place);

        tasks.clear();
        for (std::array<Task, 8>& siblings : children)
        {
            for (Task& child : siblings)
            {
                if (!child.candidates.empty())
                {
                    tasks.push_back(std::move(child));
                }
            }
        }
    }
    return result;
}
}  // namespace Samples
