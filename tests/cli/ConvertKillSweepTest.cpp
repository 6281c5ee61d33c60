#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <thread>

#include "cli/Program.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr unsigned kSeed = 20'251;
constexpr int kKilled = 128 + SIGKILL;

/// How often a conversion is killed: SORVIK_KILLS, or 50.
int numKills() {
  const char* const text = std::getenv("SORVIK_KILLS");
  return text == nullptr ? 50 : std::max(1, std::atoi(text));
}

std::vector<std::string> namesIn(const fs::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

/// The files of a folder by their names; nothing where there is no folder.
std::map<std::string, std::string> contentOf(const fs::path& folder) {
  std::map<std::string, std::string> content;
  if (!fs::exists(folder)) return content;
  for (const auto& entry : fs::directory_iterator(folder)) {
    std::ifstream file(entry.path(), std::ios::binary);
    content[entry.path().filename().string()].assign(std::istreambuf_iterator<char>(file),
                                                     std::istreambuf_iterator<char>());
  }
  return content;
}

/// Two small scans, which take turns at one output.
class ConvertKillSweep : public testing::Test {
 protected:
  ConvertKillSweep() {
    fs::create_directory(path("work"));
    fs::create_directory(path("scratch"));
    for (std::size_t i = 0; i < scans_.size(); ++i) {
      scans_[i] = path(std::to_string(i) + ".las").string();
      (void)outputOf({"make-sample", scans_[i], "--points", "60000", "--seed", std::to_string(i)});
    }
  }

  [[nodiscard]] fs::path path(const fs::path& name) const { return folder_.path() / name; }

  [[nodiscard]] std::vector<std::string> conversion(const std::string& scan) const {
    return programCommand({"convert", scan, "-o", path("work/out").string(), "--overwrite", "--temp",
                           path("scratch").string()});
  }

  void expectNothingButTheOutput() const {
    EXPECT_THAT(namesIn(path("work")), testing::ElementsAre("out"));
    EXPECT_THAT(namesIn(path("scratch")), testing::IsEmpty());
  }

  std::array<std::string, 2> scans_;
  TempFolder folder_;
};

TEST_F(ConvertKillSweep, LeavesAWholeOctreeOrNoneAndTheNextRunCleansUp) {
  std::array<std::map<std::string, std::string>, 2> whole;
  Clock::duration duration{};
  for (std::size_t i = 0; i < scans_.size(); ++i) {
    const Clock::time_point start = Clock::now();
    ASSERT_EQ(runProcess(conversion(scans_[i])).status, 0);
    duration = std::max(duration, Clock::now() - start);
    whole[i] = contentOf(path("work/out"));
  }
  std::mt19937_64 random(kSeed);
  std::uniform_int_distribution<Clock::rep> moment(0, duration.count());
  int killed = 0;
  for (int i = 0; i < numKills(); ++i) {
    const bool overExisting = i % 2 == 1;
    const Clock::duration delay(moment(random));
    SCOPED_TRACE("seed " + std::to_string(kSeed) + ", run " + std::to_string(i));
    if (!overExisting) fs::remove_all(path("work/out"));
    const std::map<std::string, std::string> before = contentOf(path("work/out"));

    Process process(conversion(scans_[0]));
    std::this_thread::sleep_for(delay);
    process.signal(SIGKILL);
    killed += process.wait().status == kKilled;
    ASSERT_THAT(contentOf(path("work/out")), testing::AnyOf(before, whole[0]));

    ASSERT_EQ(runProcess(conversion(scans_[1])).status, 0);
    ASSERT_EQ(contentOf(path("work/out")), whole[1]);
    expectNothingButTheOutput();
  }
  EXPECT_GT(killed, numKills() / 4) << "so few runs were killed before their end";
}

}  // namespace
}  // namespace Testing
