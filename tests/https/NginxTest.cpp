// Real clouds served by nginx over HTTP/2, against the same clouds on disk, by the public interface.
#include <gmock/gmock.h>

#include <array>
#include <cstdlib>

#include "Sorvik/Sorvik.h"
#include "api/Walks.h"
#include "support/NginxServer.h"
#include "support/SampleData.h"

namespace {

constexpr std::array kClouds{"andelskahora",  "autzen-trim-brotli", "autzen-trim-default",
                             "deep-a-brotli", "deep-a-default",     "start_cloud"};

/// Everything that a walk hands out, in its order, as bytes.
template <class Walk>
std::string handedOut(Walk walk) {
  std::string bytes;
  const auto append = [&](const auto& column) {
    if (!column.empty())
      bytes.append(reinterpret_cast<const char*>(column.data()), column.size() * sizeof(column[0]));
  };
  for (const Sorvik::PointChunk& chunk : walk) {
    bytes += std::to_string(chunk.size()) + ' ';
    append(chunk.positions());
    append(chunk.normals());
    append(chunk.colors());
    append(chunk.intensities());
    append(chunk.classIndices());
  }
  return bytes;
}

/// nginx, serving the sample data. Skips the test when one of the two is missing, fails it in CI.
class Nginx {
 public:
  explicit Nginx(const std::filesystem::path& root) : server_(authority_, root) {}

  [[nodiscard]] Sorvik::PointCloud open(const std::string& cloud) const {
    return Sorvik::PointCloud(Sorvik::HttpsLocation(server_.url(cloud)));
  }
  [[nodiscard]] std::string log() const { return server_.log(); }

 private:
  Testing::TestAuthority authority_;
  Testing::NginxServer server_;
};

std::unique_ptr<Nginx> startNginx() {
  const auto samples = Testing::sampleData();
  if (!samples || !Testing::NginxServer::isInstalled()) {
    const char* const ci = std::getenv("CI");
    if (ci != nullptr && std::string_view(ci) == "true")
      throw std::runtime_error("CI=true, and nginx is missing");
    return nullptr;
  }
  return std::make_unique<Nginx>(*samples / "potree");
}

Sorvik::PointCloud openOnDisk(const std::string& cloud) {
  return Sorvik::PointCloud(
      Sorvik::FileSystemLocation((*Testing::sampleData() / "potree" / cloud).wstring()));
}

class NginxClouds : public testing::Test {
 protected:
  static void SetUpTestSuite() { nginx_ = startNginx(); }
  static void TearDownTestSuite() { nginx_.reset(); }
  void SetUp() override {
    if (!nginx_) GTEST_SKIP() << "needs nginx and the sample data";
  }

  static std::unique_ptr<Nginx> nginx_;
};
std::unique_ptr<Nginx> NginxClouds::nginx_;

TEST_F(NginxClouds, AreWalkedAsOnDisk) {
  for (const char* name : kClouds) {
    const Sorvik::PointCloud remote = nginx_->open(name);
    const Sorvik::PointCloud local = openOnDisk(name);
    EXPECT_TRUE(handedOut(Sorvik::AllPointsIterator(remote, 0)) ==
                handedOut(Sorvik::AllPointsIterator(local, 0)))
        << name;
    EXPECT_TRUE(remote.unreadableNodes().empty());
    EXPECT_EQ(remote.classHistogram(), local.classHistogram());
  }
  EXPECT_THAT(nginx_->log(), testing::HasSubstr("HTTP/2.0 206"));
}

template <class Shape>
class NginxRegions : public NginxClouds {};
TYPED_TEST_SUITE(NginxRegions, Testing::WalkShapes);

TYPED_TEST(NginxRegions, AreWalkedAsOnDisk) {
  for (const char* name : {"andelskahora", "autzen-trim-brotli", "deep-a-default"}) {
    const Sorvik::PointCloud local = openOnDisk(name);
    const Sorvik::BoundingBox box = local.boundingBox();
    std::array<float, 3> center{};
    box.getCenter(center);
    const float reach = 0.2F * (box.maximum()[0] - box.minimum()[0]);
    const auto shape = Testing::shapeAround<TypeParam>(center, reach);
    const std::string expected = handedOut(Sorvik::allPointsInside(local, shape, 0));
    const Sorvik::PointCloud remote = this->nginx_->open(name);
    EXPECT_GT(expected.size(), 1000U);
    EXPECT_TRUE(handedOut(Sorvik::allPointsInside(remote, shape, 0)) == expected) << name;
  }
}

}  // namespace
