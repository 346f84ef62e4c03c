#pragma once

#include <cstdint>

/// What this process uses at a moment.
struct ProcessUse
{
    /// What C++ code holds, that of drivers included, but not their C code; on Windows what all heaps hold.
    std::uint64_t heapBytes = 0;
    std::uint64_t residentBytes = 0;  ///< of all memory that lies in the machine's
    /// Open files, or handles of the system; 0 under Wine, which does not count them.
    std::uint64_t handles = 0;
    std::uint64_t threads = 0;
};

/// @throws std::runtime_error  when the system does not tell
ProcessUse processUse();
