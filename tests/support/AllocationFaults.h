#pragma once

/// Until the end of the scope one allocation of the program's C++ code, and with it of the libraries', throws
/// std::bad_alloc: operator new leads here.
///
/// Threads  one object at a time; only allocations of the thread that made it count.
class AllocationFaults
{
public:
    /// @param number  of the allocation that fails, from 1; 0 for none
    explicit AllocationFaults(long number);
    ~AllocationFaults();
    AllocationFaults(const AllocationFaults&) = delete;
    AllocationFaults& operator=(const AllocationFaults&) = delete;

    /// Allocations so far.
    long count() const;

    /// Whether the chosen one has come.
    bool hasFailed() const;
};
