#include "apps/cli/errorText.h"

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>

namespace Cli
{
namespace
{
/// The text of an error within another one.
std::string textOf(const char* outer, const char* inner)
{
    try
    {
        try
        {
            throw std::runtime_error(inner);
        }
        catch (const std::exception&)
        {
            std::throw_with_nested(std::runtime_error(outer));
        }
    }
    catch (const std::exception& error)
    {
        return errorText(error);
    }
    return {};
}
}  // namespace

TEST(ErrorText, SaysErrorOnce)
{
    EXPECT_EQ(
        textOf("Error loading point data", "Error: octree.bin: broken"),
        "Error loading point data: octree.bin: broken"
    );
    EXPECT_EQ(textOf("Error: no node", "not Error: at the front"), "Error: no node: not Error: at the front");
}

TEST(ErrorText, IsOneLine)
{
    EXPECT_EQ(textOf("first\nline", "second\tline\n"), "first line: second line");
}
}  // namespace Cli
