#pragma once

#include "core/LruCache.h"
#include "octree/ChildSummary.h"
#include "octree/NodeTable.h"
#include "octree/OctreeChildNodeIdRange.h"
#include "octree/OctreeNodeId.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>

namespace Octree
{
/// Which nodes exist, where the hierarchy lies in pages of which each lists a subtree.
///
/// A page is read when a lookup reaches it and kept in a cache.
/// Threads  all operations from any threads at once.
/// @tparam Entry  as for NodeTable
template <class Entry>
class PagedHierarchy
{
public:
    /// Shared with those who look something up in it, whatever the cache drops.
    using Page = std::shared_ptr<const NodeTable<Entry>>;

    /// Reads the page that begins with a node.
    /// @param link  what the page above says of that node; null for the root, which no page is above of
    /// @return null when a stop was requested
    using Load =
        std::function<Page(const OctreeNodeId& first, const Entry* link, const std::stop_token& stopToken)>;

    /// How a page is expected before it is read; none of it may wait or throw.
    struct Ahead
    {
        /// Has it on its way; false while reading it would wait for that.
        std::function<bool(const OctreeNodeId& first, const Entry* link)> expect;
        /// Takes that back.
        std::function<void(const OctreeNodeId& first, const Entry* link)> forget;
    };

    /// What is known of a node without its points.
    struct Node
    {
        Entry entry;             ///< with its own number of points
        unsigned childMask = 0;  ///< bit i: child i exists
    };

    /// @param load      called from any thread that looks a node up
    /// @param ahead     called from any thread that expects one
    /// @param capacity  number of nodes from which on pages are dropped from the cache
    PagedHierarchy(Load load, Ahead ahead, std::uint64_t capacity)
        : mLoad(std::move(load)), mAhead(std::move(ahead)), mPages(capacity, kExpectedPages)
    {
    }

    /// The node, or nothing when it does not exist or a stop was requested.
    /// @throws  what reading a page does
    std::optional<Node> find(const OctreeNodeId& id, const std::stop_token& stopToken) const
    {
        const Page page = pageWith(id, stopToken);
        return page ? std::optional(Node{*page->find(id), page->childMask(id)}) : std::nullopt;
    }

    /// The node's children, or nothing when it does not exist or a stop was requested.
    /// @throws  as find()
    std::optional<ChildSummary> childSummary(const OctreeNodeId& id, const std::stop_token& stopToken) const
    {
        const Page page = pageWith(id, stopToken);
        if (!page)
        {
            return std::nullopt;
        }
        ChildSummary summary;
        summary.mask = page->childMask(id);
        for (const OctreeNodeId& child : OctreeChildNodeIdRange(id, summary.mask))
        {
            std::int64_t count = page->find(child)->count;
            if (count == kPointsElsewhere)
            {
                const std::optional<Node> node = find(child, stopToken);
                if (!node)
                {
                    return std::nullopt;
                }
                count = node->entry.count;
            }
            summary.fewestPoints = std::min(summary.fewestPoints, static_cast<std::uint64_t>(count));
        }
        return summary;
    }

    /// The node as far as no page has to be read.
    std::optional<Node> findAtHand(const OctreeNodeId& id) const noexcept
    {
        const Page page =
            pageWith(id, [this](const OctreeNodeId& first, const Entry*) { return pageAtHand(first); });
        return page ? std::optional(Node{*page->find(id), page->childMask(id)}) : std::nullopt;
    }

    /// Says that a node will soon be looked up: reads the pages on the way to it that can be read without
    /// waiting, and expects the next one.
    /// @return false while looking the node up would wait for that one
    /// @throws  as find()
    bool expect(const OctreeNodeId& id) const
    {
        bool isOnItsWay = false;
        const auto step = [&](const OctreeNodeId& first, const Entry* link) -> Page
        {
            if (Page page = pageAtHand(first))
            {
                return page;
            }
            isOnItsWay = !mAhead.expect(first, link);
            return isOnItsWay ? nullptr : cachedPage(first, link, {});
        };
        pageWith(id, step);
        return !isOnItsWay;
    }

    /// Takes that back.
    void forget(const OctreeNodeId& id) const
    {
        const auto step = [&](const OctreeNodeId& first, const Entry* link)
        {
            Page page = pageAtHand(first);
            if (!page)
            {
                mAhead.forget(first, link);
            }
            return page;
        };
        pageWith(id, step);
    }

private:
    static constexpr std::size_t kExpectedPages = 256;

    struct NodeCount
    {
        std::uint64_t operator()(const Page& page) const noexcept { return page->size(); }
    };

    Page cachedPage(const OctreeNodeId& first, const Entry* link, const std::stop_token& stopToken) const
    {
        const auto load = [&](Page& out, const std::stop_token& token)
        {
            out = mLoad(first, link, token);
            return out != nullptr;
        };
        Page page;
        return mPages.getOrLoad(first, page, load, stopToken) ? page : nullptr;
    }

    Page pageAtHand(const OctreeNodeId& first) const
    {
        Page page;
        mPages.getOrLoad(first, page, [](Page&, const std::stop_token&) { return false; }, {});
        return page;
    }

    Page pageWith(const OctreeNodeId& id, const std::stop_token& stopToken) const
    {
        const auto step = [&](const OctreeNodeId& first, const Entry* link)
        { return cachedPage(first, link, stopToken); };
        return pageWith(id, step);
    }

    // The page that has the node's own count; null when there is none or a step gives none. Each step goes to
    // a page that begins deeper in the tree, so there are at most 22.
    template <class Step>
    Page pageWith(const OctreeNodeId& id, const Step& step)
        const requires std::is_invocable_r_v<Page, Step, const OctreeNodeId&, const Entry*>
    {
        OctreeNodeId first;
        Page above;  // keeps the link alive
        const Entry* link = nullptr;
        for (;;)
        {
            Page page = step(first, link);
            if (!page)
            {
                return nullptr;
            }
            OctreeNodeId listed = id;  // the deepest node on the way to the wanted one that this page has
            while (page->find(listed) == nullptr)
            {
                listed = listed.parent();
            }
            link = page->find(listed);
            if (link->count != kPointsElsewhere)
            {
                return listed == id ? page : nullptr;
            }
            first = listed;
            above = std::move(page);
        }
    }

    Load mLoad;
    Ahead mAhead;
    mutable Core::LruCache<OctreeNodeId, Page, NodeCount> mPages;
};
}  // namespace Octree
