#include "apps/cli/AttributeOptions.h"

#include "apps/cli/numberChecks.h"
#include "apps/cli/parseValue.h"
#include <render/pointcloud/filters/AttributeFilter.h>

#include <algorithm>
#include <bitset>
#include <limits>
#include <string_view>
#include <vector>

namespace Cli
{
namespace
{
constexpr std::uint64_t kLargestClass = 255;
constexpr std::uint64_t kLargestReturn = 15;
constexpr std::uint64_t kLargestIntensity = 65535;

std::bitset<256> parseSet(const std::string& option, std::string_view text, std::uint64_t largest)
{
    const auto count = static_cast<std::size_t>(std::ranges::count(text, ',')) + 1;
    std::bitset<256> numbers;
    for (const std::uint64_t number : parseWholeNumbers(option, text, count, largest))
    {
        numbers.set(static_cast<std::size_t>(number));
    }
    return numbers;
}

/// Numbers and words, separated by commas.
Render::ReturnChoice parseReturns(std::string_view text)
{
    Render::ReturnChoice choice;
    for (std::string_view rest = text; !rest.empty();)
    {
        const std::string_view part = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(part.size() + 1, rest.size()));
        if (part == "first")
        {
            choice.numbers.set(1);
        }
        else if (part == "last")
        {
            choice.last = true;
        }
        else if (part == "single")
        {
            choice.single = true;
        }
        else if (part == "intermediate")
        {
            choice.intermediate = true;
        }
        else if (!part.empty() && part.find_first_not_of("0123456789") == std::string_view::npos)
        {
            choice.numbers |= parseSet("--returns", part, kLargestReturn);
        }
        else
        {
            throw CLI::ValidationError(
                "--returns",
                "'" + std::string(text) +
                    "' is none of: numbers, first, last, single, intermediate, joined by commas"
            );
        }
    }
    return choice;
}
}  // namespace

void addAttributeOptions(CLI::App& verb, AttributeOptions& options)
{
    const std::string group =
        "Attributes (several mean what satisfies all; what a data set lacks counts as 0)";
    CLI::Option* const classification =
        verb.add_option("--classification", options.classifications, "Points of these classes only: N,...")
            ->group(group);
    verb.add_option("--classes", options.classifications, "The same, as it is called where classes are drawn")
        ->group(group)
        ->excludes(classification);
    verb.add_option(
            "--intensity", options.intensities, "Points with these intensities only: from,to, both included"
    )
        ->group(group);
    verb.add_option(
            "--returns",
            options.returns,
            "These returns of their pulses only: numbers, first, last, single, intermediate, joined by commas"
    )
        ->group(group);
    verb.add_option(
            "--every", options.every, "The first and then every so many-th of the points found (default: 1)"
    )
        ->transform(wholeNumber(1, std::numeric_limits<std::uint64_t>::max()))
        ->group(group);
}

std::unique_ptr<Render::IAttributeFilter> makeAttributeFilter(const AttributeOptions& options)
{
    if (options.classifications.empty() && options.intensities.empty() && options.returns.empty() &&
        !options.every)
    {
        return nullptr;
    }
    auto filter = std::make_unique<Render::AttributeFilter>();
    if (!options.classifications.empty())
    {
        filter->setClassifications(parseSet("--classification", options.classifications, kLargestClass));
    }
    if (!options.intensities.empty())
    {
        const std::vector<std::uint64_t> limits =
            parseWholeNumbers("--intensity", options.intensities, 2, kLargestIntensity);
        if (limits[0] > limits[1])
        {
            throw CLI::ValidationError("--intensity", "'" + options.intensities + "' is from more to less");
        }
        filter->setIntensities(static_cast<std::uint16_t>(limits[0]), static_cast<std::uint16_t>(limits[1]));
    }
    if (!options.returns.empty())
    {
        filter->setReturns(parseReturns(options.returns));
    }
    filter->setEvery(options.every.value_or(1));
    return filter;
}
}  // namespace Cli
