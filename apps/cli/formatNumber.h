#pragma once

#include <string>

namespace Cli
{
/// The shortest decimal text that reads back as exactly the same number; infinities and NaN as "inf", "-inf",
/// "nan".
std::string formatNumber(double value);
std::string formatNumber(float value);

/// Appends the same text without making a string.
void appendNumber(std::string& out, double value);
}  // namespace Cli
