#include "render/platform/linux/loadLibrary.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST(LoadLibrary, FindsTheFunctionsOfASystemLibrary)
{
    void* const library = Render::loadLibrary("libm.so.6", "");
    const auto cosine = Render::findFunction<double (*)(double)>(library, "cos");
    ASSERT_NE(cosine, nullptr);
    EXPECT_EQ(cosine(0.0), 1.0);
    EXPECT_EQ(Render::findSymbol(library, "noSuchFunction"), nullptr);
}

TEST(LoadLibrary, AMissingLibraryIsNamedInOneLineWithTheHint)
{
    const auto load = [] { Render::loadLibrary("libnosuch.so.7", "install the package nosuch"); };
    EXPECT_THAT(
        messageOf<std::runtime_error>(load),
        AllOf(
            HasSubstr("libnosuch.so.7 cannot be loaded"),
            HasSubstr("install the package nosuch"),
            Not(HasSubstr("\n"))
        )
    );
}
