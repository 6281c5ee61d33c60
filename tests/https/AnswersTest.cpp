// Answers of a server that are right, or not what was asked for.
#include "https/HttpsTest.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class HttpsAnswers : public Testing::HttpsTest {};

TEST_F(HttpsAnswers, BringTheBytesOfARange) {
  EXPECT_EQ(fetch("plain"), data());
  ASSERT_THAT(requests(), SizeIs(1));
  EXPECT_EQ(requests()[0].range, "bytes=100-1099");
  EXPECT_EQ(requests()[0].acceptEncoding, "identity");
}

TEST_F(HttpsAnswers, BringAWholeFile) {
  Core::HttpClient client(url("plain"), nullptr, settings);
  EXPECT_EQ(client.fetchWhole("data.bin", {}).get(), data(0, 200'000));
  EXPECT_EQ(client.fetchWhole("empty.bin", {}).get(), "");
  EXPECT_EQ(requests()[0].range, "-");
}

TEST_F(HttpsAnswers, BringTheFileThatTheAddressNames) {
  Core::HttpClient client(url("plain/data.bin"), nullptr, settings);
  EXPECT_EQ(client.fetchRange("", 100, 1000, {}).get(), data());
}

TEST_F(HttpsAnswers, TellTheSizeOfAFileOnceForAllCalls) {
  Core::HttpClient client(url("plain"), nullptr, settings);
  EXPECT_EQ(client.fetchSize("data.bin", {}).get(), 200'000);
  EXPECT_EQ(client.fetchSize("data.bin", {}).get(), 200'000);
  EXPECT_THAT(requests(), SizeIs(1));
  EXPECT_EQ(client.fetchSize("empty.bin", {}).get(), 0);
}

TEST_F(HttpsAnswers, AreNotAskedForNoBytes) {
  EXPECT_EQ(fetch("plain", 5, 0), "");
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(HttpsAnswers, WithTheWholeFileInsteadOfARangeAreKeptAndCut) {
  Core::HttpClient client(url("ignore-range"), nullptr, settings);
  EXPECT_EQ(client.fetchRange("data.bin", 100, 1000, {}).get(), data());
  EXPECT_EQ(client.fetchRange("data.bin", 150'000, 50'000, {}).get(), data(150'000, 50'000));
  EXPECT_EQ(client.fetchSize("data.bin", {}).get(), 200'000);
  EXPECT_THAT(requests(), SizeIs(1));
}

TEST_F(HttpsAnswers, WithTheWholeFileServeRangesThatWereAskedForTogether) {
  settings.largestGap = 0;
  Core::HttpClient client(url("ignore-range"), nullptr, settings);
  std::vector<std::future<std::string>> ranges;
  for (std::uint64_t i = 0; i < 8; ++i) ranges.push_back(client.fetchRange("data.bin", 20'000 * i, 1000, {}));
  for (std::size_t i = 0; i < ranges.size(); ++i) EXPECT_EQ(ranges[i].get(), data(20'000 * i, 1000));
}

TEST_F(HttpsAnswers, WithAWholeFileThatIsTooLargeToKeepAreRefused) {
  settings.keptBytes = 100'000;
  EXPECT_EQ(
      failure("ignore-range"),
      ", byte 100: server ignores Range: it has no range support, and the whole file of 200000 bytes is "
      "larger than the 100000 that are left to keep such files in");
  EXPECT_THAT(failure("ignore-range-chunked"), HasSubstr("server ignores Range"));
}

TEST_F(HttpsAnswers, ThatAreTooLongAreRefused) {
  EXPECT_EQ(failure("long-chunked"), ", byte 100: the body is longer than the range (2 tries)");
  EXPECT_EQ(failure("long-length"), ", byte 100: Content-Length: expected 1000, found 1004 (2 tries)");
  EXPECT_EQ(fetch("long-chunked*5"), data()) << "four of the five requests were those before";
}

TEST_F(HttpsAnswers, OfAnotherRangeAreAskedForOnceMoreAndRefused) {
  EXPECT_EQ(failure("wrong-range=1:0:0"),
            ", byte 100: Content-Range: expected bytes 100-1099, found 'bytes 101-1099/200000' (2 tries)");
  EXPECT_EQ(failure("wrong-range=0:-1:0"),
            ", byte 100: Content-Range: expected bytes 100-1099, found 'bytes 100-1098/200000' (2 tries)");
  EXPECT_THAT(requests(), SizeIs(4));
  EXPECT_EQ(fetch("wrong-range=1:0:0*5"), data());
}

TEST_F(HttpsAnswers, OfAFileOfAnotherSizeAreRefused) {
  Core::HttpClient client(url("wrong-range=0:0:1*1"), nullptr, settings);
  EXPECT_EQ(client.fetchSize("data.bin", {}).get(), 200'001);
  EXPECT_THAT(Testing::thrownBy([&] { return client.fetchRange("data.bin", 0, 5, {}).get(); }),
              EndsWith("dataset changed while open"));
}

TEST_F(HttpsAnswers, OfSeveralPartsAreRefused) {
  EXPECT_EQ(failure("multipart"),
            ", byte 100: Content-Range: expected bytes 100-1099, found none, Content-Type "
            "'multipart/byteranges; boundary=cut' (2 tries)");
  EXPECT_THAT(failure("no-content-range"), HasSubstr("Content-Range: expected bytes 100-1099, found none"));
}

TEST_F(HttpsAnswers, WithAnEncodedRangeAreRefused) {
  EXPECT_EQ(failure("gzip"), ", byte 100: Content-Encoding of a range: expected none, found 'gzip'");
}

TEST_F(HttpsAnswers, WithAnEncodedWholeFileAreDecoded) {
  Core::HttpClient client(url("gzip"), nullptr, settings);
  EXPECT_EQ(client.fetchWhole("data.bin", {}).get(), data(0, 200'000));
}

TEST_F(HttpsAnswers, ThatTheRangeLeavesTheFileSayHowLongItIs) {
  EXPECT_EQ(failure("plain", 200'000, 1),
            ", byte 200000: HTTP status 416: the range leaves the file of 200000 bytes");
  EXPECT_EQ(failure("plain", 199'999, 2), ", byte 199999: the range leaves the file of 200000 bytes");
  EXPECT_EQ(failure("plain", UINT64_MAX, 2),
            ", byte 18446744073709551615: the range of 2 bytes leaves any file");
}

TEST_F(HttpsAnswers, ThatRefuseAreNotAskedForAgain) {
  EXPECT_EQ(failure("status=404"), ", byte 100: HTTP status 404: not found");
  EXPECT_EQ(failure("status=410"), ", byte 100: HTTP status 410: not found");
  EXPECT_EQ(failure("status=401"), ", byte 100: HTTP status 401: credentials needed or signed URL expired");
  EXPECT_EQ(failure("status=403"), ", byte 100: HTTP status 403: credentials needed or signed URL expired");
  EXPECT_EQ(failure("status=418"), ", byte 100: HTTP status 418");
  EXPECT_THAT(requests(), SizeIs(5));
}

TEST_F(HttpsAnswers, WithoutEndAreCutOff) {
  settings.largestWholeFile = 150'000;
  EXPECT_EQ(wholeFailure("plain"), ": size: expected at most 150000 bytes, found 200000");
  EXPECT_EQ(wholeFailure("endless"), ": the file is larger than 150000 bytes");
  EXPECT_EQ(wholeFailure("length=9223372036854775807"),
            ": size: expected at most 150000 bytes, found 9223372036854775807");
  EXPECT_THAT(wholeFailure("length=9223372036854775808"), Not(testing::StrEq("none")));
}

TEST_F(HttpsAnswers, OfAFileThatHasChangedAreAnError) {
  Core::HttpClient client(url("change"), nullptr, settings);
  EXPECT_EQ(client.fetchRange("data.bin", 0, 10, {}).get(), data(0, 10));
  EXPECT_THAT(Testing::thrownBy([&] { return client.fetchRange("data.bin", 100'000, 10, {}).get(); }),
              EndsWith("data.bin, byte 100000: dataset changed while open"));
  EXPECT_EQ(requests()[0].ifRange, "-");
  EXPECT_EQ(requests()[1].ifRange, "\"version-1\"");
}

TEST_F(HttpsAnswers, OfAFileWithoutVersionThatHasShrunkAreAnError) {
  Core::HttpClient client(url("shrink"), nullptr, settings);
  EXPECT_EQ(client.fetchRange("data.bin", 0, 10, {}).get(), data(0, 10));
  EXPECT_THAT(Testing::thrownBy([&] { return client.fetchRange("data.bin", 150'000, 10, {}).get(); }),
              EndsWith("dataset changed while open"));
}

TEST_F(HttpsAnswers, NameTheAddressWithoutItsSecrets) {
  const std::string address = "https://me:secret@" + url("status=404").substr(8) + "?token=secret";
  Core::HttpClient client(address, nullptr, settings);
  const std::string message = Testing::thrownBy([&] { return client.fetchWhole("data.bin", {}).get(); });
  EXPECT_EQ(message, url("status=404") + "/data.bin: HTTP status 404: not found");
  EXPECT_EQ(requests()[0].query, "token=secret");
  EXPECT_THAT(requests()[0].authorization, StartsWith("Basic_"));
}

}  // namespace
