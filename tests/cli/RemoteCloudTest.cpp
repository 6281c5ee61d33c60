// The program on clouds behind https addresses.
#include <gmock/gmock.h>

#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "support/HttpsServer.h"

namespace Testing {
namespace {

using testing::HasSubstr;

class RemoteCloud : public testing::Test {
 protected:
  RemoteCloud() { rowOfPoints(50).write(folder()); }

  [[nodiscard]] std::string folder() const { return (root_.path() / "cloud").string(); }
  [[nodiscard]] std::string url(const std::string& fault = "plain") const {
    return server_.url("case/" + fault + "/cloud");
  }
  [[nodiscard]] std::vector<LoggedRequest> requests() const { return server_.requests("case"); }

 private:
  TempFolder root_;
  TestAuthority authority_;
  HttpsServer server_{authority_, root_.path()};
};

TEST_F(RemoteCloud, IsDescribedByThreeSmallRequestsAtMost) {
  EXPECT_EQ(outputOf({"info", url(), "--json"}), outputOf({"info", folder(), "--json"}));
  EXPECT_LE(requests().size(), 3U);
  for (const LoggedRequest& request : requests()) EXPECT_NE(request.file, "cloud/octree.bin");
}

TEST_F(RemoteCloud, IsNamedByItsMetadataFileAsWell) {
  EXPECT_EQ(outputOf({"info", url() + "/metadata.json?token=1"}), outputOf({"info", folder()}));
  for (const LoggedRequest& request : requests()) EXPECT_EQ(request.query, "token=1");
}

TEST_F(RemoteCloud, GivesTheSamePointsAsTheFolder) {
  EXPECT_EQ(outputOf({"points", url()}), outputOf({"points", folder()}));
}

TEST_F(RemoteCloud, ThatIsNotThereEndsTheProgramWithTheReason) {
  const ProcessResult result = runProgram({"info", url("status=403") + "?token=secret"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("HTTP status 403: credentials needed or signed URL expired"));
  EXPECT_THAT(result.err, testing::Not(HasSubstr("secret")));
}

}  // namespace
}  // namespace Testing
