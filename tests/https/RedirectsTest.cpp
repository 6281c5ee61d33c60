// Where redirects may lead, and what goes along.
#include "https/HttpsTest.h"

namespace {

using testing::HasSubstr;
using testing::SizeIs;

class HttpsRedirects : public Testing::HttpsTest {};

TEST_F(HttpsRedirects, AreFollowed) {
  EXPECT_EQ(fetch("redirect=1"), data());
  for (const char* status : {"301", "303", "307", "308"}) {
    EXPECT_EQ(fetch("redirect=" + std::string(status) + ":1"), data()) << status;
  }
}

TEST_F(HttpsRedirects, AreFollowedFiveTimesAndNoMore) {
  EXPECT_EQ(fetch("redirect=5"), data());
  EXPECT_EQ(failure("redirect=6"), ", byte 100: more than 5 redirects");
}

TEST_F(HttpsRedirects, ToHttpAreRefused) {
  const std::string port = std::to_string(server().port());
  EXPECT_EQ(failure("redirect=http"), ", byte 100: redirect refused: http://127.0.0.1:" + port + '/' +
                                          testCase() + "/plain/data.bin: a downgrade from https to http");
}

TEST_F(HttpsRedirects, InALoopAreFound) {
  EXPECT_THAT(failure("redirect=loop"), HasSubstr("redirects in a loop"));
  EXPECT_THAT(requests(), SizeIs(1));
}

TEST_F(HttpsRedirects, TakeNoCredentialsToAnotherHost) {
  const auto credentials = std::make_shared<Core::HttpClientAuthentication>();
  credentials->bearerToken = "secret";
  Core::HttpClient client(url("redirect=other") + "?token=secret", credentials, settings);
  EXPECT_EQ(client.fetchRange("data.bin", 100, 1000, {}).get(), data());
  ASSERT_THAT(requests(), SizeIs(2));
  EXPECT_EQ(requests()[0].authorization, "Bearer_secret");
  EXPECT_EQ(requests()[0].query, "token=secret");
  EXPECT_EQ(requests()[1].authorization, "-");
}

TEST_F(HttpsRedirects, KeepTheCredentialsOnTheSameHost) {
  const auto credentials = std::make_shared<Core::HttpClientAuthentication>();
  credentials->user = "me";
  credentials->password = "secret";
  Core::HttpClient client(url("redirect=1"), credentials, settings);
  EXPECT_EQ(client.fetchRange("data.bin", 100, 1000, {}).get(), data());
  ASSERT_THAT(requests(), SizeIs(2));
  EXPECT_EQ(requests()[1].authorization, "Basic_bWU6c2VjcmV0");
}

class HttpsCertificates : public Testing::HttpsTest {
 protected:
  std::string failureWith(const std::string& certificate) {
    Core::HttpClient client(url("plain", certificate), nullptr, settings);
    return Testing::thrownBy([&] { return client.fetchWhole("data.bin", {}).get(); });
  }
};

TEST_F(HttpsCertificates, ThatHaveExpiredAreRefused) {
  EXPECT_THAT(failureWith("expired"), HasSubstr("certificate has expired"));
}

TEST_F(HttpsCertificates, OfAnotherHostAreRefused) {
  EXPECT_THAT(failureWith("wrong-host"), HasSubstr("127.0.0.1"));
  EXPECT_NE(failureWith("wrong-host"), "none");
}

TEST_F(HttpsCertificates, ThatNobodySignedAreRefusedNamingWhatIsTrusted) {
  const std::string trusted = (Testing::httpsWorld().authority.folder() / "authority.crt").string();
  const std::string message = failureWith("self-signed");
  EXPECT_THAT(message, HasSubstr("self-signed certificate"));
  EXPECT_THAT(message, testing::ContainsRegex("trusted from: .*" + trusted));
  EXPECT_THAT(requests(), SizeIs(0));
}

}  // namespace
