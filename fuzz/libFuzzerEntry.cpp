// The entry point that libFuzzer calls, for one target of fuzz/targets.h, named by TARNEL_FUZZ_TARGET.
#include "fuzz/FuzzInput.h"
#include "fuzz/targets.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try
    {
        Fuzz::TARNEL_FUZZ_TARGET({reinterpret_cast<const char*>(data), size});
    }
    catch (const Fuzz::BrokenPromise& broken)
    {
        std::fprintf(stderr, "Broken promise: %s\n", broken.what().c_str());
        std::abort();
    }
    return 0;
}
