#include "render/renderer/sampleThree.h"

#include <cassert>
#include <cstddef>

namespace Render
{
std::uint32_t drawBelow(std::mt19937& generator, std::uint32_t bound)
{
    assert(bound > 0);
    const auto scaled = [&]
    { return static_cast<std::uint64_t>(static_cast<std::uint32_t>(generator())) * bound; };

    std::uint64_t product = scaled();
    if (static_cast<std::uint32_t>(product) < bound)
    {
        const std::uint32_t surplus =
            (0U - bound) % bound;  // 2^32 modulo bound: so many draws would be unfair
        while (static_cast<std::uint32_t>(product) < surplus)
        {
            product = scaled();
        }
    }
    return static_cast<std::uint32_t>(product >> 32U);
}

std::array<std::uint32_t, 3> sampleThree(std::mt19937& generator, std::uint32_t count)
{
    assert(count >= 3);
    std::array<std::uint32_t, 3> sample{};
    std::size_t chosen = 0;
    for (std::uint32_t index = 0; chosen < sample.size(); ++index)
    {
        // Taken with the probability of those still needed among those still left, so the last ones are
        // certain.
        if (drawBelow(generator, count - index) < sample.size() - chosen)
        {
            sample[chosen] = index;
            ++chosen;
        }
    }
    return sample;
}
}  // namespace Render
