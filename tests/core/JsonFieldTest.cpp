#include "core/JsonField.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>

namespace
{
using Core::JsonField;
using testing::ElementsAre;

class JsonFieldTest : public testing::Test
{
protected:
    const nlohmann::json document{
        {"text", "abc"},
        {"whole", 7.0},
        {"half", 0.5},
        {"numbers", {1, 2.5}},
        {"inner", {{"list", {1, "two"}}}},
    };
    const JsonField root{document, ""};

    template <class Read>
    static std::string errorOf(const Read& read)
    {
        return messageOf<std::runtime_error>(read);
    }
};

TEST_F(JsonFieldTest, ValuesAreThoseOfTheDocument)
{
    EXPECT_EQ(root.get("text").text(), "abc");
    EXPECT_EQ(root.get("whole").wholeNumber(0, 7), 7U);
    EXPECT_EQ(root.get("half").number(), 0.5);
    EXPECT_THAT(root.get("numbers").numbers(), ElementsAre(1.0, 2.5));
    EXPECT_EQ(root.get("inner").get("list").elements().size(), 2U);
    EXPECT_FALSE(root.find("other"));
}

TEST_F(JsonFieldTest, ErrorsNameTheFieldAndWhatWasExpected)
{
    EXPECT_EQ(errorOf([&] { root.get("other"); }), "field \"other\" is missing");
    EXPECT_EQ(errorOf([&] { root.get("inner").get("other"); }), "field \"inner.other\" is missing");
    EXPECT_EQ(errorOf([&] { root.get("half").text(); }), "bad field \"half\", expected a text");
    EXPECT_EQ(errorOf([&] { root.get("text").number(); }), "bad field \"text\", expected a finite number");
    EXPECT_EQ(errorOf([&] { root.get("text").elements(); }), "bad field \"text\", expected a list");
    EXPECT_EQ(errorOf([&] { root.get("text").find("x"); }), "bad field \"text\", expected an object");
    EXPECT_EQ(
        errorOf([&] { root.get("inner").get("list").numbers(); }),
        "bad field \"inner.list[1]\", expected a finite number"
    );
}

TEST_F(JsonFieldTest, WholeNumbersHaveLimits)
{
    const std::string expected = "expected a whole number from 1 to 6";
    EXPECT_EQ(errorOf([&] { root.get("whole").wholeNumber(1, 6); }), "bad field \"whole\", " + expected);
    EXPECT_EQ(errorOf([&] { root.get("half").wholeNumber(1, 6); }), "bad field \"half\", " + expected);
    EXPECT_EQ(errorOf([&] { root.get("text").wholeNumber(1, 6); }), "bad field \"text\", " + expected);
}

TEST_F(JsonFieldTest, TheWordingOfErrorsIsTheReaders)
{
    static constexpr Core::JsonWording kWording{
        [](const std::string& name) { return "no " + name; },
        [](const std::string& name, const std::string& expected) { return name + " <> " + expected; },
    };
    const JsonField own(document, "", kWording);

    EXPECT_EQ(errorOf([&] { own.get("other"); }), "no other");
    EXPECT_EQ(
        errorOf([&] { own.get("inner").get("list").elements()[1].number(); }),
        "inner.list[1] <> a finite number"
    );
}
}  // namespace
