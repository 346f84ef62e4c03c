#include "render/platform/linux/Vkd3dShader.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace
{
using Render::Vkd3dShader;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(Vkd3dShader, AMissingLibraryIsToldInOneLine)
{
    const std::string message =
        messageOf<std::runtime_error>([] { Vkd3dShader::load("libtarnel-has-no-such-library.so.1"); });

    EXPECT_THAT(
        message,
        AllOf(
            StartsWith("libtarnel-has-no-such-library.so.1 cannot be loaded: "),
            HasSubstr("version 1.14 or later"),
            Not(HasSubstr("\n"))
        )
    );
}

TEST(Vkd3dShader, AnotherLibraryIsRefused)
{
    EXPECT_THAT(
        messageOf<std::runtime_error>([] { Vkd3dShader::load("libm.so.6"); }),
        StartsWith("libm.so.6 is no vkd3d-shader; ")
    );
}

TEST(Vkd3dShader, TheInstanceHasAllFunctions)
{
    const Vkd3dShader& library = Vkd3dShader::instance();

    EXPECT_NE(library.compile, nullptr);
    EXPECT_NE(library.freeMessages, nullptr);
    EXPECT_NE(library.freeCode, nullptr);
}
}  // namespace
