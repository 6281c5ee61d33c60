// Conversions of scan files that are damaged, or change under the reader's eyes.
#include <gmock/gmock.h>

#include <fstream>

#include "converter/ConversionError.h"
#include "converter/ConversionRun.h"
#include "converter/Converter.h"
#include "converter/LasScanReader.h"
#include "core/FileSystem.h"
#include "support/LasFile.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using Converter::ConversionError;
using Converter::Result;
using testing::HasSubstr;

constexpr std::size_t kHeaderSize = 375;
constexpr std::size_t kRecordSize = 36;

class DamagedScans : public testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path scan() const { return folder_.path() / "scan.las"; }
  [[nodiscard]] std::filesystem::path output() const { return folder_.path() / "out"; }

  void write(const std::string& bytes) const {
    std::ofstream file(scan(), std::ios::binary | std::ios::trunc);
    file << bytes;
  }

  /// Converts, and sees that what came of it is whole.
  void expectOctreeOrReason(const std::string& what) const {
    std::filesystem::remove_all(output());
    Converter::ConverterOptions options;
    options.syncToDisk = false;
    Converter::Converter job(scan(), output(), options);
    const Core::JobState state = job.run();
    const bool hasOctree = std::filesystem::exists(output() / "metadata.json");
    if (state == Core::JobState::Completed) {
      EXPECT_TRUE(hasOctree) << what;
      EXPECT_LE(job.report().numPoints, 20U) << what;
    } else {
      EXPECT_FALSE(std::filesystem::exists(output())) << what;
      EXPECT_NE(job.resultCode(), static_cast<int>(Result::ConvertInternalError)) << what;
      EXPECT_THAT(job.failedReason(), HasSubstr("scan.las")) << what;
    }
  }

  TempFolder folder_;
};

TEST_F(DamagedScans, GiveAWholeOctreeOrAReasonWhicheverByteOfTheHeaderIsWrong) {
  const std::string sound = LasFile(7).points(20).bytes();
  ASSERT_EQ(sound.size(), kHeaderSize + 20 * kRecordSize);
  for (std::size_t i = 0; i < kHeaderSize; ++i) {
    std::string damaged = sound;
    damaged[i] = static_cast<char>(~damaged[i]);
    write(damaged);
    expectOctreeOrReason("byte " + std::to_string(i));
  }
}

TEST_F(DamagedScans, GiveAWholeOctreeWhicheverByteOfAPointIsWrong) {
  const std::string sound = LasFile(7).points(20).bytes();
  for (std::size_t i = kHeaderSize; i < kHeaderSize + kRecordSize; ++i) {
    std::string damaged = sound;
    damaged[i] = static_cast<char>(~damaged[i]);
    write(damaged);
    expectOctreeOrReason("byte " + std::to_string(i));
    EXPECT_TRUE(std::filesystem::exists(output())) << "byte " << i;
  }
}

/// Does something to a file when all points begin to be read.
class WhenReading final : public Converter::Progress {
 public:
  explicit WhenReading(std::function<void()> work) : work_(std::move(work)) {}
  void begin(Converter::Stage stage, std::uint64_t /*total*/) override {
    if (stage == Converter::Stage::Distribute) work_();
  }
  void advance(std::uint64_t /*units*/) override {}

 private:
  std::function<void()> work_;
};

class ChangingScans : public DamagedScans {
 protected:
  /// The result and text of a conversion during which @p change is done to the file.
  std::pair<Result, std::string> convertWhile(const std::function<void()>& change) {
    write(LasFile(7).points(20).bytes());
    Core::DiskFileSystem disk(Core::DiskFileSystem::Sync::No);
    ListScans scans;
    scans.push_back(Converter::openLas(disk, scan(), {}));
    WhenReading progress(change);
    try {
      run_.convert(scans, smallSettings(), disk, progress);
    } catch (const ConversionError& error) {
      return {error.result(), error.what()};
    }
    return {Result::Success, ""};
  }

  ConversionRun run_;
};

TEST_F(ChangingScans, ThatBecomeShorterCannotBeRead) {
  const auto [result, text] = convertWhile([&] { std::filesystem::resize_file(scan(), kHeaderSize + 100); });
  EXPECT_EQ(result, Result::InputCannotRead);
  EXPECT_THAT(text, HasSubstr(scan().string()));
  EXPECT_FALSE(std::filesystem::exists(run_.output() / "metadata.json"));
}

TEST_F(ChangingScans, ThatBecomeLongerAreNoLongerWhatWasOpened) {
  const auto [result, text] = convertWhile([&] { std::filesystem::resize_file(scan(), 100'000); });
  EXPECT_EQ(result, Result::InputCannotRead);
  EXPECT_THAT(text, HasSubstr(scan().string()));
  EXPECT_FALSE(std::filesystem::exists(run_.output() / "metadata.json"));
}

}  // namespace
}  // namespace Testing
