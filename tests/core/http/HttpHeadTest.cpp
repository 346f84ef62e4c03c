#include "core/http/HttpHead.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace
{
using Core::HttpHead;

HttpHead headWith(const std::string& field)
{
    HttpHead head;
    head.add("HTTP/1.1 206 Partial Content\r\n");
    head.add(field + "\r\n");
    head.add("\r\n");
    return head;
}

TEST(HttpHead, FieldsAreFoundWhateverTheirCase)
{
    HttpHead head;
    head.add("HTTP/2 206\r\n");
    head.add("content-length: 12\r\n");
    head.add("ETAG:   \"abc\"  \r\n");
    head.add("Last-Modified: Sun, 01 Mar 2026 10:00:00 GMT\r\n");

    EXPECT_EQ(head.status(), 206);
    EXPECT_EQ(head.contentLength(), 12U);
    EXPECT_EQ(head.etag(), "\"abc\"");
    EXPECT_EQ(head.lastModified(), "Sun, 01 Mar 2026 10:00:00 GMT");
    EXPECT_FALSE(head.isContradictory());
}

TEST(HttpHead, AStatusLineBeginsAnewButBytesAddUp)
{
    HttpHead head;
    head.add("HTTP/1.1 103 Early Hints\r\n");
    head.add("ETag: \"old\"\r\n");
    const std::size_t before = head.numBytes();
    head.add("HTTP/1.1 200 OK\r\n");

    EXPECT_EQ(head.status(), 200);
    EXPECT_EQ(head.etag(), "");
    EXPECT_EQ(head.numBytes(), before + 17);
}

TEST(HttpHead, AFieldTwiceWithOtherValuesContradictsItself)
{
    HttpHead head = headWith("Content-Length: 5");
    head.add("Content-Length: 5\r\n");
    EXPECT_FALSE(head.isContradictory());

    head.add("Content-Length: 6\r\n");
    EXPECT_TRUE(head.isContradictory());
}

TEST(HttpHead, RangesAreReadAsTheyAreWritten)
{
    EXPECT_EQ(headWith("Content-Range: bytes 0-99/1000").contentRange(), (HttpHead::Range{0, 99, 1000}));
    EXPECT_EQ(headWith("Content-Range: Bytes 7-7/8").contentRange(), (HttpHead::Range{7, 7, 8}));
    EXPECT_EQ(headWith("Content-Range: bytes 3-4/*").contentRange(), (HttpHead::Range{3, 4, std::nullopt}));
    EXPECT_EQ(headWith("Content-Range: bytes */77").sizeWithoutRange(), 77U);
}

TEST(HttpHead, WhatIsNoRangeIsNone)
{
    for (const char* const text :
         {"",
          "bytes",
          "bytes 5-4/10",
          "bytes 0-10/10",
          "bytes 0-/10",
          "bytes -5/10",
          "bytes 0-5",
          "bytes 0-5/",
          "bytes 0-5/x",
          "bytes 1 - 5/10",
          "bytes +1-5/10",
          "bytes 0-5/99999999999999999999",
          "bytes 0-9223372036854775808/9223372036854775809",
          "items 0-5/10",
          "bytes */10"})
    {
        EXPECT_FALSE(headWith(std::string("Content-Range: ") + text).contentRange()) << text;
    }
}

TEST(HttpHead, NumbersAreWholeAndFitOrThereAreNone)
{
    EXPECT_EQ(headWith("Retry-After: 120").retryAfterSeconds(), 120U);
    EXPECT_FALSE(headWith("Retry-After: Sun, 01 Mar 2026 10:00:00 GMT").retryAfterSeconds());
    EXPECT_FALSE(headWith("Content-Length: -1").contentLength());
    EXPECT_FALSE(headWith("Content-Length: 9223372036854775808").contentLength());
    EXPECT_FALSE(headWith("Content-Length: 5, 5").contentLength());
}

TEST(HttpHead, EncodedIsWhatIsNotTheFileItself)
{
    EXPECT_TRUE(headWith("Content-Encoding: gzip").isEncoded());
    EXPECT_FALSE(headWith("Content-Encoding: identity").isEncoded());
    EXPECT_FALSE(headWith("X: y").isEncoded());
}

TEST(HttpHead, AStatusThatIsNoNumberIsNone)
{
    HttpHead head;
    head.add("HTTP/1.1 abc\r\n");
    EXPECT_EQ(head.status(), 0);
    head.add("HTTP/1.1\r\n");
    EXPECT_EQ(head.status(), 0);
}
}  // namespace
