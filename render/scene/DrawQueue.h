#pragma once

#include "core/NonCopyable.h"
#include "render/Export.h"
#include "render/Render.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Render
{
/// What neighbours in a scene have left to do together: renderables of one kind that are drawn one after the
/// other may share the last step of their drawing.
///
/// A frame opens the queue while it draws the scene. A renderable that could share leaves its step here
/// instead of doing it; whoever is going to draw something else finishes the queue first, see
/// Renderable::joinsNeighbours.
///
/// Threads  the rendering thread only, but for shared().
class RENDER_API DrawQueue : private Core::NonCopyable
{
public:
    /// The queue of a renderer; it lives as long as somebody holds it.
    static std::shared_ptr<DrawQueue> shared(std::uint64_t rendererId);

    /// Opens the queue; whatever is left at the end of its life is dropped.
    class [[nodiscard]] Opened : private Core::NonCopyable
    {
    public:
        /// Opens it until the end of this object's life.
        explicit Opened(DrawQueue& queue) noexcept : mQueue(queue) { mQueue.mIsOpen = true; }

        ~Opened()
        {
            mQueue.mIsOpen = false;
            mQueue.drop();
        }

    private:
        DrawQueue& mQueue;
    };

    /// Closes the queue for a while, for those whose parts must be drawn when they say so.
    class [[nodiscard]] Closed : private Core::NonCopyable
    {
    public:
        /// Closes it until the end of this object's life.
        explicit Closed(DrawQueue& queue) noexcept
            : mQueue(queue), mWasOpen(std::exchange(queue.mIsOpen, false))
        {
        }

        ~Closed() { mQueue.mIsOpen = mWasOpen; }

    private:
        DrawQueue& mQueue;
        bool mWasOpen;
    };

    /// Who is told of each renderable that has been drawn, those in a group before the group.
    using Watcher = std::function<void(const std::shared_ptr<Renderable>&)>;

    /// Has a watcher told of what is drawn, each wholly before the next: what draws the scene leaves the queue
    /// closed then.
    class [[nodiscard]] Watched : private Core::NonCopyable
    {
    public:
        /// Until the end of this object's life.
        Watched(DrawQueue& queue, Watcher watcher) : mQueue(queue) { mQueue.mWatcher = std::move(watcher); }

        ~Watched() { mQueue.mWatcher = nullptr; }

    private:
        DrawQueue& mQueue;
    };

    /// Whether somebody watches.
    bool isWatched() const noexcept { return mWatcher != nullptr; }

    /// Tells whoever watches that it has been drawn.
    void tellDrawn(const std::shared_ptr<Renderable>& renderable) const
    {
        if (mWatcher)
        {
            mWatcher(renderable);
        }
    }

    /// Whether steps may be left.
    bool isOpen() const noexcept { return mIsOpen; }

    /// Leaves a step, once for each owner.
    /// @param finish  does it
    /// @param drop    called instead when the frame fails; must not throw
    void add(const void* owner, std::function<void()> finish, std::function<void()> drop);

    /// Does what was left, in order.
    void finish();

private:
    struct Step
    {
        const void* owner;
        std::function<void()> finish;
        std::function<void()> drop;
    };

    void drop() noexcept;

    bool mIsOpen = false;
    Watcher mWatcher;
    std::vector<Step> mSteps;
};
}  // namespace Render
