#include "core/isReservedName.h"

#include <gtest/gtest.h>

namespace
{
TEST(IsReservedName, DevicesOfWindowsAreInAnyCaseAndWithAnyExtension)
{
    for (const char* const name :
         {"CON",
          "con",
          "Prn",
          "AUX",
          "nul",
          "CON.dzi",
          "nul.tar.gz",
          "COM1",
          "com9.dzi",
          "COM0",
          "LPT1",
          "lpt5.txt",
          "COM\u00B9",
          "lpt\u00B3.dzi",
          "CONIN$",
          "conout$.x",
          "CON .dzi",
          "aux   .x"})
    {
        EXPECT_TRUE(Core::isReservedName(name)) << name;
    }
}

TEST(IsReservedName, StepsThatAreNoNamesAre)
{
    for (const char* const name : {".", "..", "...", "a.", "a ", " "})
    {
        EXPECT_TRUE(Core::isReservedName(name)) << name;
    }
}

TEST(IsReservedName, OtherNamesAreNot)
{
    for (const char* const name :
         {"color.dzi",
          "CONSOLE",
          "con_files",
          "COM",
          "COM10",
          "COMA",
          "LPT",
          "LPT12",
          "auxiliary.dzi",
          "xCON",
          "a.con",
          ".con",
          "COM\u2074"})
    {
        EXPECT_FALSE(Core::isReservedName(name)) << name;
    }
}
}  // namespace
