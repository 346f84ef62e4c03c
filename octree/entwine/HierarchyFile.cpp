#include "octree/entwine/HierarchyFile.h"

#include "core/shownText.h"
#include "octree/entwine/nodeKey.h"
#include "octree/fileError.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

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

}  // namespace

HierarchyFile::HierarchyFile(std::string_view text, const OctreeNodeId& first, std::string_view file)
    : mFirst(first)
{
    try
    {
        std::vector<Entry> entries;
        EntryReader reader(entries);
        json::sax_parse(text.begin(), text.end(), &reader);
        mNodes = Octree::NodeTable<Entry>(std::move(entries), first);
    }
    catch (const std::exception& error)
    {
        throw Octree::fileError(file, error.what());
    }
}

std::optional<std::int64_t> HierarchyFile::count(const OctreeNodeId& id) const noexcept
{
    const Entry* const entry = mNodes.find(id);
    return entry != nullptr ? std::optional(entry->count) : std::nullopt;
}

unsigned HierarchyFile::childMask(const OctreeNodeId& id) const noexcept
{
    return mNodes.childMask(id);
}
}  // namespace Entwine
