#include "octree/entwine/HierarchyFile.h"

#include "core/shownText.h"
#include "octree/entwine/nodeKey.h"
#include "octree/fileError.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace Entwine
{
namespace
{
using nlohmann::json;
using Octree::OctreeNodeId;

constexpr double kMaxCount = std::numeric_limits<std::uint32_t>::max();

/// Takes the entries while the text is parsed, so that nothing but them is ever kept.
class EntryReader final : public nlohmann::json_sax<json>
{
public:
    explicit EntryReader(std::vector<HierarchyFile::Entry>& entries) : mEntries(entries) {}

    bool start_object(std::size_t) override { return !mInside ? (mInside = true) : unexpected(); }

    bool key(string_t& name) override
    {
        const std::optional<OctreeNodeId> id = parseNodeKey(name);
        if (!id)
        {
            throw std::runtime_error(
                "bad node key \"" + Core::shownText(name) +
                "\", expected \"D-X-Y-Z\" with D from 0 to 21 and X, Y, Z from 0 to below 2^D"
            );
        }
        mEntries.push_back({*id, 0});
        return true;
    }

    bool number_integer(number_integer_t value) override { return number(static_cast<double>(value)); }

    bool number_unsigned(number_unsigned_t value) override { return number(static_cast<double>(value)); }

    bool number_float(number_float_t value, const string_t&) override { return number(value); }

    bool end_object() override { return true; }

    bool null() override { return unexpected(); }

    bool boolean(bool) override { return unexpected(); }

    bool string(string_t&) override { return unexpected(); }

    bool binary(binary_t&) override { return unexpected(); }

    bool start_array(std::size_t) override { return unexpected(); }

    bool end_array() override { return unexpected(); }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override
    {
        throw std::runtime_error(std::string("not readable as JSON: ") + error.what());
    }

private:
    bool number(double value)
    {
        if (!mInside)
        {
            return unexpected();
        }
        if (!(value >= -1.0 && value <= kMaxCount) || value != std::floor(value))
        {
            throw std::runtime_error(
                "bad number of points of node " + nodeKey(mEntries.back().id) +
                ", expected a whole number from 0 to 4294967295, or -1"
            );
        }
        mEntries.back().count = static_cast<std::int64_t>(value);
        return true;
    }

    [[noreturn]] bool unexpected() const
    {
        throw std::runtime_error(
            mEntries.empty()
                ? std::string("expected one object of node keys and numbers of points")
                : "bad number of points of node " + nodeKey(mEntries.back().id) + ", expected a number"
        );
    }

    std::vector<HierarchyFile::Entry>& mEntries;
    bool mInside = false;
};

std::vector<HierarchyFile::Entry>::const_iterator lowerBound(
    const std::vector<HierarchyFile::Entry>& entries, const OctreeNodeId& id
)
{
    return std::ranges::lower_bound(entries, id, {}, &HierarchyFile::Entry::id);
}
}  // namespace

HierarchyFile::HierarchyFile(std::string_view text, const OctreeNodeId& first, std::string_view file)
    : mFirst(first)
{
    try
    {
        EntryReader reader(mEntries);
        json::sax_parse(text.begin(), text.end(), &reader);
    }
    catch (const std::exception& error)
    {
        throw Octree::fileError(file, error.what());
    }
    mEntries.shrink_to_fit();
    std::ranges::sort(mEntries, {}, &Entry::id);
    check(file);
}

// With these rules no file can lead back to a node above its own, so a walk over all of them ends.
void HierarchyFile::check(std::string_view file) const
{
    if (count(mFirst).value_or(kElsewhere) == kElsewhere)
    {
        throw Octree::fileError(file, "node " + nodeKey(mFirst) + ", expected its own number of points here");
    }
    for (std::size_t i = 0; i < mEntries.size(); ++i)
    {
        const OctreeNodeId& id = mEntries[i].id;
        if (i > 0 && mEntries[i - 1].id == id)
        {
            throw Octree::fileError(file, "node " + nodeKey(id) + " is listed twice, expected once");
        }
        if (id != mFirst && (id.isRoot() || count(id.parent()).value_or(kElsewhere) == kElsewhere))
        {
            throw Octree::fileError(
                file,
                "node " + nodeKey(id) + " without its parent, expected only nodes of the subtree of " +
                    nodeKey(mFirst) + " whose parents are listed too"
            );
        }
    }
}

std::optional<std::int64_t> HierarchyFile::count(const OctreeNodeId& id) const noexcept
{
    const auto found = lowerBound(mEntries, id);
    return found != mEntries.end() && found->id == id ? std::optional(found->count) : std::nullopt;
}

unsigned HierarchyFile::childMask(const OctreeNodeId& id) const noexcept
{
    if (id.level() >= OctreeNodeId::MAX_REPRESENTABLE_LEVEL)
    {
        return 0;
    }
    unsigned mask = 0;
    const std::uint64_t firstChild = id.code() << 3U;
    for (auto entry = lowerBound(mEntries, id.child(0));
         entry != mEntries.end() && entry->id.code() - firstChild < 8;
         ++entry)
    {
        mask |= 1U << entry->id.childIndex();
    }
    return mask;
}
}  // namespace Entwine
