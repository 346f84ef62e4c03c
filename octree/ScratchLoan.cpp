#include "octree/ScratchLoan.h"

#include <algorithm>
#include <mutex>
#include <thread>

namespace Octree
{
namespace
{
constexpr std::size_t kMaxKeptBuffer = 64U << 20U;
}

struct ScratchLoan::Idle
{
    Idle() { buffers.reserve(std::max(1U, std::thread::hardware_concurrency())); }

    std::unique_ptr<Buffers> take()
    {
        {
            const std::lock_guard lock(mutex);
            if (!buffers.empty())
            {
                std::unique_ptr<Buffers> taken = std::move(buffers.back());
                buffers.pop_back();
                return taken;
            }
        }
        return std::make_unique<Buffers>();
    }

    /// Keeps what there is room for.
    void put(std::unique_ptr<Buffers>& returned)
    {
        const std::lock_guard lock(mutex);
        if (buffers.size() < buffers.capacity())
        {
            buffers.push_back(std::move(returned));
        }
    }

    std::mutex mutex;
    std::vector<std::unique_ptr<Buffers>> buffers;
};

ScratchLoan::Idle& ScratchLoan::idle()
{
    // Never destroyed: threads may still read while the process ends.
    static Idle& idle = *new Idle;
    return idle;
}

ScratchLoan::ScratchLoan() : mBuffers(idle().take()), stored(mBuffers->stored), unpacked(mBuffers->unpacked)
{
}

ScratchLoan::~ScratchLoan()
{
    for (std::vector<std::byte>* buffer : {&stored, &unpacked})
    {
        if (buffer->capacity() > kMaxKeptBuffer)
        {
            std::vector<std::byte>().swap(*buffer);
        }
    }
    idle().put(mBuffers);
}

void ScratchLoan::reserveUnpacked(std::size_t size) const
{
    unpacked.clear();
    if (unpacked.capacity() < size)
    {
        std::vector<std::byte>().swap(unpacked);
        unpacked.reserve(size);
    }
}
}  // namespace Octree
