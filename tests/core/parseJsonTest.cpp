#include "core/parseJson.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <stdexcept>
#include <string>
#include <string_view>

namespace
{
using testing::HasSubstr;

std::string errorOf(std::string_view text)
{
    return messageOf<std::runtime_error>([&] { Core::parseJson(text); });
}

std::string repeated(std::size_t count, std::string_view text)
{
    std::string result;
    result.reserve(count * text.size());
    for (std::size_t i = 0; i < count; ++i)
    {
        result += text;
    }
    return result;
}

TEST(JsonTree, GivesItsTree)
{
    const Core::JsonTree tree(Core::parseJson(R"({"a": [1, {"b": [2, 3]}], "c": {}})"));

    EXPECT_EQ((*tree)["a"][1]["b"][1], 3);
}

TEST(ParseJson, GivesTheTree)
{
    const nlohmann::json tree = Core::parseJson(R"({"a": [1, 2.5, "x", null, true], "b": {}})");

    EXPECT_EQ(tree["a"][1], 2.5);
    EXPECT_EQ(tree["a"].size(), 5U);
    EXPECT_TRUE(tree["b"].is_object());
}

TEST(ParseJson, TheTimeDoesNotGrowWithTheSquareOfTheSiblings)
{
    const std::string text = "[" + repeated(400'000, "{},") + "{}]";  // 1.2 MB
    const std::clock_t begin = std::clock();

    const nlohmann::json tree = Core::parseJson(text);

    EXPECT_EQ(tree.size(), 400'001U);
    // Less than a second of processor time with sanitizers; ten minutes when each sibling looks at all
    // others.
    EXPECT_LT(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC, 20.0);
}

TEST(ParseJson, SixteenLevelsAreRead)
{
    EXPECT_NO_THROW(Core::parseJson(std::string(16, '[') + std::string(16, ']')));
    EXPECT_NO_THROW(Core::parseJson(repeated(100, "{\"a\":").substr(0, 80) + "1" + std::string(16, '}')));
}

TEST(ParseJson, MoreLevelsAreRefusedHoweverManyThereAre)
{
    for (const std::size_t depth : {17U, 1'000'000U})
    {
        EXPECT_EQ(
            errorOf(std::string(depth, '[') + std::string(depth, ']')), "it is nested more than 16 deep"
        );
        EXPECT_EQ(errorOf(repeated(depth, "{\"a\":")), "it is nested more than 16 deep");
    }
}

TEST(ParseJson, ManyMoreValuesThanDescriptionsHaveAreRefused)
{
    EXPECT_EQ(Core::parseJson("[" + repeated(499'998, "0,") + "0]").size(), 499'999U);
    EXPECT_EQ(errorOf("[" + repeated(499'999, "0,") + "0]"), "it has more than 500000 values");
    EXPECT_EQ(errorOf("[" + repeated(499'999, "[],") + "[]]"), "it has more than 500000 values");
}

TEST(ParseJson, ErrorsSayWhereWithoutTheNamesOfTheLibrary)
{
    EXPECT_THAT(errorOf("{\"a\": tru}"), HasSubstr("line 1, column 10"));
    EXPECT_THAT(errorOf("{\n\"a\": 1,\n}"), HasSubstr("line 3, column 1"));
    EXPECT_THAT(errorOf(""), testing::StartsWith("parse error"));
    EXPECT_NE(errorOf("[1e999]"), "(nothing was thrown)");
    EXPECT_NE(errorOf("[1] x"), "(nothing was thrown)");
}

TEST(ParseJson, ErrorsAreShortAndPrintableWhateverTheTextHolds)
{
    const std::string junk(std::size_t{1} << 20U, 'x');
    for (const std::string& text :
         {"\"" + junk,
          junk,
          "{\"" + junk + "\": \"\x1B[2J\n\"}",
          "{\"" + junk + "\" 1}",
          std::string("\"\xFF\xFE\""),
          std::string("\"\x01\"")})
    {
        const std::string error = errorOf(text);

        EXPECT_LE(error.size(), 203U);
        EXPECT_TRUE(std::ranges::all_of(error, [](char c) { return c >= ' ' && c <= '~'; })) << error;
    }
}
}  // namespace
