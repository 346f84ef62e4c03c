#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>

namespace Cli
{
/// Lets an option take decimal digits alone that make a number of a range. The parser's own reading of
/// numbers would let "-1" wrap around, take "010" for eight and cut what is too large; to be added by
/// Option::transform, so that the parser gets the number without leading zeros.
/// @param least, most  both included
CLI::Validator wholeNumber(std::uint64_t least, std::uint64_t most);

/// Lets an option take finite decimal numbers of a range; to be added by Option::check.
/// @param least, most  both included
CLI::Validator numberFrom(double least, double most);
}  // namespace Cli
