#include "apps/cli/formatNumber.h"

#include <charconv>

namespace Cli
{
namespace
{
template <class T>
void append(std::string& out, T value)
{
    char buffer[32];  // the longest is -1.7976931348623157e+308
    const std::to_chars_result result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}
}  // namespace

std::string formatNumber(double value)
{
    std::string text;
    append(text, value);
    return text;
}

std::string formatNumber(float value)
{
    std::string text;
    append(text, value);
    return text;
}

void appendNumber(std::string& out, double value)
{
    append(out, value);
}
}  // namespace Cli
