#include <gmock/gmock.h>

#include "core/http/HttpHeaders.h"

namespace {

using Core::ContentRange;
using Core::parseContentRange;
using Core::parseRetryAfter;
using Core::parseStatusLine;
using std::chrono::seconds;
using testing::Eq;

TEST(ContentRange, IsReadWithAndWithoutTotal) {
  EXPECT_EQ(parseContentRange("bytes 0-9/100"), (ContentRange{ContentRange::Bytes{0, 9}, 100}));
  EXPECT_EQ(parseContentRange("Bytes 5-5/*"), (ContentRange{ContentRange::Bytes{5, 5}, std::nullopt}));
  EXPECT_EQ(parseContentRange("bytes */0"), (ContentRange{std::nullopt, 0}));
  EXPECT_EQ(parseContentRange("bytes 0-18446744073709551614/18446744073709551615")->total, UINT64_MAX);
}

TEST(ContentRange, IsRefusedWhenItCannotBe) {
  for (const char* text : {"", "bytes", "bytes ", "bytes 0-9", "bytes 9-0/100", "bytes 0-100/100",
                           "bytes -9/100", "bytes 0-/100", "bytes */*", "items 0-9/100",
                           "bytes 0-9/100, 20-29/100", "bytes 0x0-9/100", "bytes 0-9/-1", "bytes +0-9/100",
                           "bytes=0-9/100", "bytes 0-18446744073709551616/*", "bytes 0 - 9/100"}) {
    EXPECT_THAT(parseContentRange(text), Eq(std::nullopt)) << text;
  }
}

TEST(RetryAfter, IsReadAsSecondsOrAsADate) {
  // The date of RFC 9110, section 5.6.7: 784111777 seconds after 1970.
  const auto now = std::chrono::system_clock::from_time_t(784'111'770);
  EXPECT_EQ(parseRetryAfter("120", now), seconds(120));
  EXPECT_EQ(parseRetryAfter("Sun, 06 Nov 1994 08:49:37 GMT", now), seconds(7));
  EXPECT_EQ(parseRetryAfter("Sun, 06 Nov 1994 08:49:07 GMT", now), seconds(0)) << "has passed";
}

TEST(RetryAfter, IsRefusedWhenItIsNeither) {
  for (const char* text : {"", "-1", "1.5", "soon", "99999999999999999999"}) {
    EXPECT_THAT(parseRetryAfter(text, std::chrono::system_clock::now()), Eq(std::nullopt)) << text;
  }
}

TEST(RetryAfter, OfAFarYearIsLongAndNoMore) {
  const auto now = std::chrono::system_clock::from_time_t(784'111'770);
  EXPECT_EQ(parseRetryAfter("18446744073709551615", now), seconds(1'000'000'000));
  EXPECT_EQ(parseRetryAfter("06 Nov 2002000000", now), seconds(1'000'000'000));
}

TEST(StatusLine, IsReadOfAllVersions) {
  EXPECT_EQ(parseStatusLine("HTTP/1.1 206 Partial Content\r\n"), 206);
  EXPECT_EQ(parseStatusLine("HTTP/2 404"), 404);
  EXPECT_THAT(parseStatusLine("HTTP/1.1"), Eq(std::nullopt));
  EXPECT_THAT(parseStatusLine("HTTP/1.1 9999 x"), Eq(std::nullopt));
  EXPECT_THAT(parseStatusLine("Location: HTTP/1.1 200"), Eq(std::nullopt));
}

TEST(HttpHead, TakesFieldsWhateverTheirLetters) {
  Core::HttpHead head;
  for (const char* line : {"HTTP/1.1 206 Partial Content\r\n", "content-RANGE:  bytes 0-1/2 \r\n",
                           "ETag: \"a\"\r\n", "Content-Length: 2\r\n", "no field\r\n", "\r\n"}) {
    head.addLine(line);
  }
  EXPECT_EQ(head.status, 206);
  EXPECT_EQ(head.contentRange, "bytes 0-1/2");
  EXPECT_EQ(head.etag, "\"a\"");
  EXPECT_EQ(head.contentLength, 2U);
}

TEST(HttpHead, BeginsAnewWithEachStatusLine) {
  Core::HttpHead head;
  for (const char* line : {"HTTP/1.1 103 Early Hints", "ETag: \"a\"", "", "HTTP/1.1 200 OK"})
    head.addLine(line);
  EXPECT_EQ(head.status, 200);
  EXPECT_EQ(head.etag, "");
}

}  // namespace
