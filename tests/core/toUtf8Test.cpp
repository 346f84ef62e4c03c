#include "core/toUtf8.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
TEST(ToUtf8, GivesTheNameInUtf8)
{
    EXPECT_EQ(
        Core::toUtf8(std::filesystem::path(u8"größe-点-🌲")),
        "gr\xC3\xB6\xC3\x9F"
        "e-\xE7\x82\xB9-\xF0\x9F\x8C\xB2"
    );
}

#if defined(_WIN32)
TEST(ToUtf8, ReplacesWhatIsNoText)
{
    EXPECT_EQ(Core::toUtf8(std::filesystem::path(std::wstring{L'a', wchar_t{0xD800}, L'b'})), "a?b");
}
#endif
}  // namespace
