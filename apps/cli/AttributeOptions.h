#pragma once

#include <render/pointcloud/IAttributeFilter.h>

#include <CLI/CLI.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Cli
{
/// The options that choose points by what is known of them; several together mean what satisfies all.
struct AttributeOptions
{
    std::string classifications;
    std::string intensities;
    std::string returns;
    std::optional<std::uint64_t> every;
};

/// Adds the options to a verb.
void addAttributeOptions(CLI::App& verb, AttributeOptions& options);

/// The filter, or null where all points are wanted.
/// @throws CLI::ValidationError  when a value makes no sense
std::unique_ptr<Render::IAttributeFilter> makeAttributeFilter(const AttributeOptions& options);
}  // namespace Cli
