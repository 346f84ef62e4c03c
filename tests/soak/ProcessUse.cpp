#include "tests/soak/ProcessUse.h"

#include "tests/soak/countedNew.h"

#include <array>
#include <stdexcept>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
//
#include <psapi.h>
#include <tlhelp32.h>
#else
#include <filesystem>
#include <fstream>
#include <unistd.h>
#endif

#if defined(_WIN32)
namespace
{
/// What is allocated from all heaps of the process. (Wine does not count a process's private bytes.)
std::uint64_t heapBytes()
{
    std::array<HANDLE, 64> heaps{};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    if (count == 0 || count > heaps.size())
    {
        throw std::runtime_error("the system does not tell which heaps the process has");
    }
    std::uint64_t bytes = 0;
    for (DWORD i = 0; i < count; ++i)
    {
        HeapLock(heaps[i]);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heaps[i], &entry) != 0)
        {
            bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
        }
        HeapUnlock(heaps[i]);
    }
    return bytes;
}
}  // namespace

ProcessUse processUse()
{
    PROCESS_MEMORY_COUNTERS_EX memory{};
    DWORD handles = 0;
    if (GetProcessMemoryInfo(
            GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&memory), sizeof memory
        ) == 0 ||
        GetProcessHandleCount(GetCurrentProcess(), &handles) == 0)
    {
        throw std::runtime_error("the system does not tell what the process uses");
    }
    ProcessUse use{heapBytes(), memory.WorkingSetSize, handles, 0};
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL isThere = Thread32First(snapshot, &entry); isThere != 0;
         isThere = Thread32Next(snapshot, &entry))
    {
        use.threads += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    CloseHandle(snapshot);
    return use;
}
#else
namespace
{
std::uint64_t entriesOf(const char* folder)
{
    std::uint64_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder))
    {
        ++count;
    }
    return count;
}

std::uint64_t residentBytes()
{
    std::ifstream file("/proc/self/statm");
    std::uint64_t total = 0;
    std::uint64_t resident = 0;
    if (!(file >> total >> resident))
    {
        throw std::runtime_error("the system does not tell what the process uses");
    }
    return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

ProcessUse processUse()
{
    return {bytesOfNew(), residentBytes(), entriesOf("/proc/self/fd"), entriesOf("/proc/self/task")};
}
#endif
