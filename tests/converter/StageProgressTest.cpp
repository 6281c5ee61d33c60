#include <gmock/gmock.h>

#include <numeric>
#include <thread>
#include <vector>

#include "converter/StageProgress.h"

namespace {

using Converter::Stage;
using Converter::StageProgress;
using Converter::StageWeights;
using std::chrono::seconds;
using testing::Optional;

constexpr StageWeights kWeights{0.25, 0.25, 0.25, 0.25};

TEST(StageProgress, BeginsWithNothingDone) {
  const StageProgress progress(kWeights);
  EXPECT_EQ(progress.share(), 0);
  EXPECT_EQ(progress.stage(), std::nullopt);
  EXPECT_EQ(progress.timeLeft(), std::nullopt);
}

TEST(StageProgress, MovesThroughEachStageByItsWeight) {
  StageProgress progress({0.125, 0.25, 0.5, 0.125});
  progress.begin(Stage::Survey, 10);
  progress.advance(10);
  EXPECT_DOUBLE_EQ(progress.share(), 0.125);
  progress.begin(Stage::Distribute, 1000);
  progress.advance(500);
  EXPECT_DOUBLE_EQ(progress.share(), 0.25);
  progress.begin(Stage::Index, 4);
  progress.advance(1);
  progress.advance(1);
  EXPECT_DOUBLE_EQ(progress.share(), 0.625);
  progress.begin(Stage::Write, 1);
  progress.advance(1);
  EXPECT_DOUBLE_EQ(progress.share(), 1);
}

TEST(StageProgress, TellsTheStage) {
  StageProgress progress(kWeights);
  progress.begin(Stage::Distribute, 1);
  EXPECT_THAT(progress.stage(), Optional(Stage::Distribute));
}

TEST(StageProgress, JumpsOverStagesThatDidNotTellOrWereLeftOut) {
  StageProgress progress(kWeights);
  progress.begin(Stage::Survey, 100);
  progress.begin(Stage::Index, 100);
  EXPECT_DOUBLE_EQ(progress.share(), 0.5);
}

TEST(StageProgress, StaysInsideAStageThatDoesMoreThanItTold) {
  StageProgress progress(kWeights);
  progress.begin(Stage::Survey, 10);
  progress.advance(25);
  EXPECT_DOUBLE_EQ(progress.share(), 0.25);
}

TEST(StageProgress, StandsStillInAStageWithoutWork) {
  StageProgress progress(kWeights);
  progress.begin(Stage::Index, 0);
  progress.advance(1);
  EXPECT_DOUBLE_EQ(progress.share(), 0.5);
}

TEST(StageProgress, NeverGoesBackWhenAStageBeginsAgain) {
  StageProgress progress(kWeights);
  progress.begin(Stage::Distribute, 100);
  progress.advance(50);
  progress.begin(Stage::Distribute, 100);
  EXPECT_DOUBLE_EQ(progress.share(), 0.375);
  progress.advance(50);
  EXPECT_DOUBLE_EQ(progress.share(), 0.4375);
  progress.advance(50);
  EXPECT_DOUBLE_EQ(progress.share(), 0.5);
}

TEST(StageProgress, NeverGoesBackWhenAnEarlierStageBeginsAgain) {
  StageProgress progress(kWeights);
  progress.begin(Stage::Index, 2);
  progress.advance(1);
  progress.begin(Stage::Survey, 2);
  progress.advance(2);
  EXPECT_DOUBLE_EQ(progress.share(), 0.625);
}

TEST(StageProgress, EstimatesTheRestFromThePaceSoFar) {
  StageProgress::TimePoint now{};
  StageProgress progress(kWeights, [&] { return now; });
  progress.begin(Stage::Survey, 100);
  now += seconds(10);
  progress.advance(3);
  EXPECT_EQ(progress.timeLeft(), std::nullopt);
  progress.advance(97);
  EXPECT_THAT(progress.timeLeft(), Optional(seconds(30)));
  now += seconds(10);
  EXPECT_THAT(progress.timeLeft(), Optional(seconds(60)));
}

TEST(StageProgress, CountsWhatManyThreadsDo) {
  StageProgress progress(kWeights);
  progress.begin(Stage::Survey, 4000);
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&] {
        for (int i = 0; i < 1000; ++i) progress.advance(1);
      });
    }
  }
  EXPECT_DOUBLE_EQ(progress.share(), 0.25);
}

TEST(StageProgress, HasWeightsThatMakeAWholeForEachEncoding) {
  for (const PoTree::Encoding encoding : {PoTree::Encoding::Brotli, PoTree::Encoding::Uncompressed}) {
    const StageWeights weights = Converter::stageWeights(encoding);
    EXPECT_DOUBLE_EQ(std::accumulate(weights.begin(), weights.end(), 0.0), 1);
    EXPECT_THAT(weights, testing::Each(testing::Gt(0)));
  }
}

}  // namespace
