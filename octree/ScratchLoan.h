#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace Octree
{
/// Memory that a thread reuses from node to node; what an exceptionally large one took is given up at the
/// end of the loan. One loan per thread at a time.
class ScratchLoan
{
public:
    ScratchLoan() = default;

    ~ScratchLoan()
    {
        for (std::vector<std::byte>* buffer : {&stored, &unpacked})
        {
            if (buffer->capacity() > kMaxKeptBuffer)
            {
                std::vector<std::byte>().swap(*buffer);
            }
        }
    }

    /// Makes room in `unpacked`, which loses its content. What it had is given up first, so that there are
    /// never two.
    void reserveUnpacked(std::size_t size) const
    {
        unpacked.clear();
        if (unpacked.capacity() < size)
        {
            std::vector<std::byte>().swap(unpacked);
            unpacked.reserve(size);
        }
    }

    ScratchLoan(const ScratchLoan&) = delete;
    ScratchLoan& operator=(const ScratchLoan&) = delete;

    /// As it lies on disk.
    std::vector<std::byte>& stored = buffers()[0];

    /// After decompression.
    std::vector<std::byte>& unpacked = buffers()[1];

private:
    static constexpr std::size_t kMaxKeptBuffer = 64U << 20U;

    static std::array<std::vector<std::byte>, 2>& buffers()
    {
        thread_local std::array<std::vector<std::byte>, 2> perThread;
        return perThread;
    }
};
}  // namespace Octree
