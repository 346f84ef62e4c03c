#pragma once

#include "octree/Export.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace Octree
{
/// Memory for reading a node that is used again for others. A loan takes what an earlier one has left, of
/// whatever thread, or begins with none. What an exceptionally large node took is given up at the end of the
/// loan, and what more threads than the machine has cores would need. Loans of different threads do not wait
/// for each other.
///
/// The memory belongs to no thread: with MinGW's run time an object of a thread is freed before its destructor
/// is run, so that what it owns would be lost whenever a loader's thread ends.
class OCTREE_API ScratchLoan
{
public:
    ScratchLoan();
    ~ScratchLoan();

    /// Makes room in `unpacked`, which loses its content. What it had is given up first, so that there are
    /// never two.
    void reserveUnpacked(std::size_t size) const;

    ScratchLoan(const ScratchLoan&) = delete;
    ScratchLoan& operator=(const ScratchLoan&) = delete;

private:
    struct Buffers
    {
        std::vector<std::byte> stored;
        std::vector<std::byte> unpacked;
    };

    struct Idle;

    static Idle& idle();

    std::unique_ptr<Buffers> mBuffers;

public:
    /// As it lies on disk.
    std::vector<std::byte>& stored;

    /// After decompression.
    std::vector<std::byte>& unpacked;
};
}  // namespace Octree
