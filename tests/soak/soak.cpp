// Runs a host that does everything at random, for minutes or hours, and looks at what the process uses:
// memory that grows, handles and threads that stay.
#include "tests/soak/ProcessUse.h"
#include "tests/soak/RandomHost.h"
#include "tests/soak/Scenery.h"
#include "tests/soak/slope.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <random>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;

constexpr int kMovesOfALap = 60;
constexpr std::size_t kFewestLaps = 6;
constexpr double kMegabyte = 1024.0 * 1024.0;
// What the heap may grow by over the laps that count, to the eye of the slope: less than one frame's targets
// would, leaked once.
constexpr double kHeapTolerance = 1.0 * kMegabyte;
// Pages come and go with the allocator, and drivers keep pools.
constexpr double kResidentTolerance = 48.0 * kMegabyte;
// Mesa 22.3's driver in software keeps 160 bytes of each submission, of which a frame with uploads and a
// read-back makes several.
constexpr double kDriverKeepsOfAFrame = 1600.0;
// Of the heaps of Windows, in which Direct3D's own objects lie too, some 50 bytes a frame are not given back.
[[maybe_unused]] constexpr double kHeapKeepsOfAFrame = 100.0;
constexpr std::uint64_t kSpareHandles = 2;
constexpr std::uint64_t kSpareThreads = 2;

template <class Value>
std::vector<double> column(const std::vector<ProcessUse>& uses, Value ProcessUse::*member)
{
    std::vector<double> values;
    for (const ProcessUse& use : uses)
    {
        values.push_back(static_cast<double>(use.*member));
    }
    return values;
}

/// Prints how a column has grown over the laps that count, and tells whether that is too much.
bool isFlat(
    const char* name, const std::vector<ProcessUse>& uses, std::uint64_t ProcessUse::*member, double tolerance
)
{
    const std::vector<double> values = column(uses, member);
    const double aLap = slope(values);
    const double growth = aLap * static_cast<double>(values.size() - 1);
    const bool isFine = growth <= tolerance;
    std::printf(
        "soak: %s %.1f MB, slope %+.3f KB a lap, %+.2f MB in %zu laps, at most %.0f: %s\n",
        name,
        values.back() / kMegabyte,
        aLap / 1024.0,
        growth / kMegabyte,
        values.size() - 1,
        tolerance / kMegabyte,
        isFine ? "flat" : "IT GROWS"
    );
    return isFine;
}

bool isKept(
    const char* name,
    const std::vector<ProcessUse>& uses,
    std::uint64_t ProcessUse::*member,
    std::uint64_t spare
)
{
    const std::uint64_t first = uses.front().*member;
    const std::uint64_t last = uses.back().*member;
    if (last == 0)
    {
        std::printf("soak: %s: the system does not tell how many\n", name);  // Wine does not count handles
        return true;
    }
    const bool isFine = last <= first + spare;
    std::printf(
        "soak: %s %llu, %llu at the end: %s\n",
        name,
        static_cast<unsigned long long>(first),
        static_cast<unsigned long long>(last),
        isFine ? "kept" : "THEY STAY"
    );
    return isFine;
}

int run(double minutes, std::uint64_t seed)
{
    std::printf("soak: %g minutes, seed %llu\n", minutes, static_cast<unsigned long long>(seed));
    std::fflush(stdout);
    const TemporaryFolder folder;
    RandomHost host(writeScenery(folder.path()), seed);
    const auto end =
        Clock::now() +
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double, std::ratio<60>>(minutes));
    std::vector<ProcessUse> uses;
    while (Clock::now() < end || uses.size() < kFewestLaps)
    {
        host.lap(kMovesOfALap);
        host.rest();
        uses.push_back(processUse());
    }
    std::printf("soak: %zu laps, %llu frames\n", uses.size(), static_cast<unsigned long long>(host.frames()));

    // Drivers compile and keep what they meet for the first time.
    uses.erase(uses.begin(), uses.begin() + static_cast<std::ptrdiff_t>(uses.size() / 2));
    const double framesThatCount = static_cast<double>(host.frames()) / 2.0;
    [[maybe_unused]] const double tolerance = kResidentTolerance + kDriverKeepsOfAFrame * framesThatCount;
#if defined(_WIN32)
    const double heapTolerance = kHeapTolerance + kHeapKeepsOfAFrame * framesThatCount;
#else
    const double heapTolerance = kHeapTolerance;
#endif
#if defined(__SANITIZE_ADDRESS__)
    const double residentTolerance = std::numeric_limits<double>::infinity();  // what is freed stays a while
#else
    const double residentTolerance = tolerance;
#endif
    const std::array<bool, 4> looks{// each says what it has seen
                                    isFlat("heap", uses, &ProcessUse::heapBytes, heapTolerance),
                                    isFlat("resident", uses, &ProcessUse::residentBytes, residentTolerance),
                                    isKept("handles", uses, &ProcessUse::handles, kSpareHandles),
                                    isKept("threads", uses, &ProcessUse::threads, kSpareThreads)};
    const bool isFine = std::ranges::all_of(looks, [](bool isGood) { return isGood; });
    std::printf("soak: %s\n", isFine ? "clean" : "NOT CLEAN");
    return isFine ? EXIT_SUCCESS : EXIT_FAILURE;
}
}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3)
    {
        std::fprintf(stderr, "usage: soak MINUTES [SEED]\n");
        return EXIT_FAILURE;
    }
    try
    {
        const double minutes = std::stod(argv[1]);
        const std::uint64_t seed = argc == 3 ? std::stoull(argv[2]) : std::random_device()();
        return run(minutes, seed);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "soak: FAILED: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
