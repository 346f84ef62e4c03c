#include "graphics/DeepZoomDescription.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>

using Graphics::DeepZoomDescription;
using Graphics::parseDeepZoomDescription;
using testing::HasSubstr;

namespace
{
const std::string kImage =
    "<Image TileSize='254' Overlap='1' Format='jpg'><Size Width='700' Height='350'/></Image>";

std::string errorOf(const std::string& text)
{
    return messageOf<std::runtime_error>([&] { parseDeepZoomDescription(text); });
}

/// kImage with one part exchanged.
std::string changed(const std::string& part, const std::string& by)
{
    std::string text = kImage;
    text.replace(text.find(part), part.size(), by);
    return text;
}
}  // namespace

TEST(DeepZoomDescription, IsReadFromTheTextOfOtherTools)
{
    const std::string text =
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<!-- made by a tool > than others -->\r\n"
        "<Image xmlns=\"http://schemas.microsoft.com/deepzoom/2008\"\r\n  Format=\"jpg\"\r\n  Overlap = "
        "'1'\r\n"
        "  TileSize=\"254\"\r\n  >\r\n  <Size \r\n    Height=\"350\"\r\n    Width=\"700\"\r\n  ></Size>\r\n"
        "  <DisplayRects/></Image >\r\n<!-- end -->\r\n";

    EXPECT_EQ(parseDeepZoomDescription(text), (DeepZoomDescription{700, 350, 254, 1, "jpg"}));
    EXPECT_EQ(parseDeepZoomDescription(kImage), (DeepZoomDescription{700, 350, 254, 1, "jpg"}));
}

TEST(DeepZoomDescription, LevelsAreHalvedAndRoundedUp)
{
    const DeepZoomDescription description{8191, 4095, 254, 1, "png"};

    EXPECT_EQ(description.lastLevel(), 13U);
    EXPECT_EQ(description.levelWidth(13), 8191U);
    EXPECT_EQ(description.levelWidth(12), 4096U);
    EXPECT_EQ(description.levelHeight(12), 2048U);
    EXPECT_EQ(description.levelWidth(0), 1U);
    EXPECT_EQ(description.levelHeight(0), 1U);
    EXPECT_EQ((DeepZoomDescription{1, 1, 1, 0, "png"}).lastLevel(), 0U);
    EXPECT_EQ((DeepZoomDescription{2, 1, 1, 0, "png"}).lastLevel(), 1U);
    EXPECT_EQ((DeepZoomDescription{4294967295U, 1, 1, 0, "png"}).lastLevel(), 32U);
    EXPECT_EQ((DeepZoomDescription{4294967295U, 1, 1, 0, "png"}).levelWidth(31), 2147483648U);
}

TEST(DeepZoomDescription, WhatIsWrittenCanBeRead)
{
    const DeepZoomDescription description{700, 351, 254, 2, "png"};

    EXPECT_EQ(parseDeepZoomDescription(deepZoomDescriptionText(description)), description);
}

TEST(DeepZoomDescription, WrongValuesAreErrors)
{
    EXPECT_EQ(errorOf(changed("'254'", "'0'")), "line 1: attribute TileSize must not be 0");
    EXPECT_EQ(errorOf(changed("'700'", "'0'")), "line 1: attribute Width must not be 0");
    EXPECT_EQ(
        errorOf(changed("'350'", "'-3'")), "line 1: attribute Height is \"-3\", not a whole number below 2^32"
    );
    for (const char* const number : {"''", "'4294967296'", "'1.5'", "' 7'", "'7x'", "'1e9'"})
    {
        EXPECT_THAT(errorOf(changed("'350'", number)), HasSubstr("not a whole number below 2^32")) << number;
    }
    EXPECT_EQ(errorOf(changed("jpg", "bmp")), "line 1: attribute Format is \"bmp\", not png, jpg or jpeg");
    EXPECT_THAT(errorOf(changed("jpg", "../png")), HasSubstr("not png, jpg or jpeg"));
    EXPECT_EQ(
        errorOf(changed("'1'", "'255'")),
        "line 1: the overlap of 255 pixels is larger than the tile size of 254"
    );
}

TEST(DeepZoomDescription, MissingPartsAreErrors)
{
    EXPECT_EQ(errorOf(changed(" Overlap='1'", "")), "line 1: attribute Overlap is missing");
    EXPECT_EQ(errorOf(changed(" Width='700'", "")), "line 1: attribute Width is missing");
    EXPECT_EQ(errorOf(changed("<Size Width='700' Height='350'/>", "")), "line 1: element Size is missing");
    EXPECT_EQ(errorOf("<Other/>"), "line 1: element Image is missing");
    EXPECT_EQ(
        errorOf(changed("<Size", "<Size Width='1' Height='1'/>\n<Size")),
        "line 2: element Size is given twice"
    );
}

TEST(DeepZoomDescription, BrokenXmlIsAnError)
{
    for (std::size_t size = 0; size < kImage.size(); ++size)
    {
        EXPECT_THAT(errorOf(kImage.substr(0, size)), HasSubstr("line 1: ")) << size;
    }
    EXPECT_THAT(errorOf(kImage + kImage), HasSubstr("second root"));
    EXPECT_THAT(errorOf(kImage + "text"), HasSubstr("\"<\" is expected"));
    EXPECT_THAT(errorOf("</Image>"), HasSubstr("has no begin"));
    EXPECT_THAT(errorOf(changed("</Image>", "</Size>")), HasSubstr("has no begin"));
    EXPECT_THAT(errorOf(changed("Overlap='1'", "TileSize='1'")), HasSubstr("given twice"));
    EXPECT_THAT(errorOf(changed("'1'", "1")), HasSubstr("in quotes"));
    std::string deep;
    for (int i = 0; i < 1000; ++i)
    {
        deep += "<a>";
    }
    EXPECT_THAT(errorOf(deep), HasSubstr("too deeply"));
}

TEST(DeepZoomDescription, EntitiesAndDocumentTypesAreRefused)
{
    EXPECT_THAT(
        errorOf("<?xml version='1.0'?>\n<!DOCTYPE a [<!ENTITY b \"c\">]>\n" + kImage),
        HasSubstr("line 2: document types")
    );
    EXPECT_THAT(errorOf(changed("jpg", "&jpg;")), HasSubstr("entities are not supported"));
    EXPECT_THAT(errorOf(changed("<Size", "<![CDATA[x]]><Size")), HasSubstr("CDATA"));
    EXPECT_THAT(errorOf(changed("<Size", "<?style x?><Size")), HasSubstr("instructions are not supported"));
    EXPECT_THAT(errorOf(kImage + "<?xml version='1.0'?>"), HasSubstr("instructions are not supported"));
}

// What XML parsers commonly step over.
TEST(DeepZoomDescription, NothingButElementsCommentsAndOneDeclarationIsAccepted)
{
    EXPECT_EQ(errorOf(changed("<Size", "text<Size")), "line 1: \"<\" is expected");
    EXPECT_EQ(errorOf("text" + kImage), "line 1: \"<\" is expected");
    EXPECT_EQ(errorOf(kImage + std::string("\n\0<b", 4)), "line 2: there is a byte 0");
    EXPECT_EQ(errorOf(changed("Format='jpg'", "Format='<'")), "line 1: entities are not supported");
    EXPECT_EQ(errorOf(""), "line 1: an element is expected");
}

TEST(DeepZoomDescription, BrokenTagsAreErrorsOnTheirLine)
{
    EXPECT_EQ(errorOf("<Image>\n</Bild>"), "line 2: the end of \"Bild\" has no begin");
    EXPECT_EQ(errorOf("<Image\nTileSize>"), "line 2: a value in quotes is expected");
    EXPECT_EQ(errorOf("<Image\nTileSize='2"), "line 2: the quote is not closed");
    EXPECT_EQ(errorOf("<Image>\n< Size/></Image>"), "line 2: a name is expected");
    EXPECT_EQ(errorOf("<Image>\n</>"), "line 2: a name is expected");
    EXPECT_EQ(errorOf("<Image>\n<!-- open"), "line 2: \"-->\" is missing");
    EXPECT_EQ(errorOf("<Image>\n\n"), "line 3: the text ends too early");
    EXPECT_EQ(errorOf("<Image\n TileSize='0'\n/>"), "line 3: attribute TileSize must not be 0");
}

TEST(DeepZoomDescription, ErrorsNameTheFile)
{
    const TemporaryFolder folder;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&]
                                      { Graphics::readDeepZoomDescription(folder.write("a.dzi", "<Image")); }
        ),
        testing::AllOf(
            HasSubstr("a.dzi as a Deep Zoom description: line 1: "), HasSubstr("Error: cannot read")
        )
    );
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Graphics::readDeepZoomDescription(folder.path() / "b.dzi"); }),
        HasSubstr("b.dzi")
    );
    EXPECT_THAT(
        messageOf<std::runtime_error>(
            [&] { Graphics::readDeepZoomDescription(folder.write("c.dzi", std::string(70000, ' '))); }
        ),
        HasSubstr("c.dzi")
    );
}

TEST(DeepZoomDescription, TilesHaveAtMost4096PixelsOnASideWithTheirOverlap)
{
    EXPECT_EQ(errorOf(changed("'254'", "'4094'")), "(nothing was thrown)");
    EXPECT_EQ(
        errorOf(changed("'254'", "'4095'")),
        "line 1: tiles have 4097 pixels on a side with their overlap, more than 4096"
    );
    EXPECT_EQ(
        errorOf(changed("TileSize='254' Overlap='1'", "TileSize='4294967295' Overlap='4294967295'")),
        "line 1: tiles have 12884901885 pixels on a side with their overlap, more than 4096"
    );
}

TEST(DeepZoomDescription, ErrorsAreShortAndPrintableWhateverTheFileHolds)
{
    const std::string junk(60'000, 'x');
    for (const std::string& text :
         {changed("jpg", junk),
          changed("jpg", "\x1B[2J\n"),
          changed("'350'", "'" + junk + "'"),
          changed("</Image>", "</" + junk + ">")})
    {
        const std::string error = errorOf(text);

        EXPECT_LT(error.size(), 200U);
        EXPECT_TRUE(std::ranges::all_of(error, [](char c) { return c >= ' ' && c <= '~'; })) << error;
    }
}
