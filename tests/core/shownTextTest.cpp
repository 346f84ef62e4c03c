#include "core/errorReason.h"
#include "core/shownText.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace
{
using Core::errorReason;
using Core::shownText;

/// So many of the letter, and the dots.
std::string cutAfter(std::size_t count)
{
    std::string text(count, 'x');
    text.append("...");
    return text;
}

TEST(ShownText, OrdinaryTextIsShownAsItIs)
{
    EXPECT_EQ(shownText(""), "");
    EXPECT_EQ(shownText("gps-time [s] \"x\""), "gps-time [s] \"x\"");
    EXPECT_EQ(shownText("\u00E4\u20AC\U0001F30D"), "\u00E4\u20AC\U0001F30D");  // 2, 3 and 4 bytes
}

TEST(ShownText, ControlCharactersAndSeparatorsAreReplaced)
{
    EXPECT_EQ(shownText(std::string("a\0b\x1B[2Jc\r\nd\x7F", 12)), "a?b?[2Jc??d?");
    EXPECT_EQ(shownText("a\u0085b\u009Fc\u2028d\u2029e"), "a?b?c?d?e");
    EXPECT_EQ(shownText("a\u202Eb\u2066c\u200Fd\u061Ce"), "a?b?c?d?e");  // they turn the direction of writing
}

TEST(ShownText, BytesThatAreNoUtf8AreReplacedOneByOne)
{
    EXPECT_EQ(shownText("a\x80z"), "a?z");
    EXPECT_EQ(shownText("a\xC3"), "a?");
    EXPECT_EQ(shownText("a\xC0\xAFz"), "a??z");            // an overlong slash
    EXPECT_EQ(shownText("a\xE0\x80\xAFz"), "a???z");       // another
    EXPECT_EQ(shownText("a\xED\xA0\x80z"), "a???z");       // half a surrogate pair
    EXPECT_EQ(shownText("a\xF4\x90\x80\x80z"), "a????z");  // beyond the last code
    EXPECT_EQ(shownText("a\xFF\xFEz"), "a??z");
    EXPECT_EQ(shownText("a\xC3(z"), "a?(z");
}

TEST(ShownText, LongTextIsCutBetweenCharacters)
{
    EXPECT_EQ(shownText(std::string(60, 'x')), std::string(60, 'x'));
    EXPECT_EQ(shownText(std::string(61, 'x')), cutAfter(60));
    EXPECT_EQ(shownText("ab\u20AC", 5), "ab\u20AC");
    EXPECT_EQ(shownText("ab\u20AC", 4), "ab...");
    EXPECT_EQ(shownText("ab\u20AC", 0), "...");
}

TEST(ShownText, MegabytesAreNotLookedAt)
{
    EXPECT_EQ(shownText(std::string(std::size_t{64} << 20U, '\xFF'), 3), "???...");
}

TEST(ErrorReason, LosesThePrefixThatTheNextMessageHas)
{
    EXPECT_EQ(errorReason("Error: broken"), "broken");
    EXPECT_EQ(errorReason("Error: Error: broken"), "broken");
    EXPECT_EQ(errorReason("broken, Error: no"), "broken, Error: no");
}

TEST(ErrorReason, IsBounded)
{
    EXPECT_EQ(errorReason("Error: " + std::string(100'000, 'x')), cutAfter(300));
    EXPECT_EQ(errorReason("a\nb"), "a?b");
}
}  // namespace
