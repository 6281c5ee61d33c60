#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "sorvik/ProgressDisplay.h"

namespace Testing {
namespace {

using Program::ProgressDisplay;
using Program::ProgressFacts;
using Program::ProgressForm;
using Program::progressText;
using Sorvik::ConversionStage;
using testing::HasSubstr;
using testing::IsEmpty;

ProgressFacts facts(ConversionStage stage, double share, double elapsed) {
  ProgressFacts result;
  result.stage = stage;
  result.share = share;
  result.elapsed = elapsed;
  return result;
}

TEST(ProgressText, NamesStageShareRateAndTimeLeft) {
  ProgressFacts all = facts(ConversionStage::Index, 0.457, 10);
  all.pointsPerSecond = 12'340'000;
  all.secondsLeft = 82.4;
  EXPECT_EQ(progressText(all), "indexing, 45 %, 12.3 M points/s, 1:23 left");
}

TEST(ProgressText, LeavesOutWhatIsNotKnown) {
  EXPECT_EQ(progressText(facts(ConversionStage::Open, 0, 0)), "opening, 0 %");
}

TEST(ProgressText, FitsItsUnitsToTheSizeOfTheNumbers) {
  ProgressFacts small = facts(ConversionStage::Write, 1, 10);
  small.pointsPerSecond = 9;
  small.secondsLeft = 0;
  EXPECT_EQ(progressText(small), "writing, 100 %, 9 points/s, 0:00 left");
  small.pointsPerSecond = 9500;
  small.secondsLeft = 3661;
  EXPECT_EQ(progressText(small), "writing, 100 %, 9.5 k points/s, 1:01:01 left");
}

TEST(ProgressText, SurvivesAbsurdNumbers) {
  ProgressFacts absurd = facts(ConversionStage::Survey, 7, -1);
  absurd.pointsPerSecond = std::numeric_limits<double>::infinity();
  absurd.secondsLeft = -5;
  EXPECT_EQ(progressText(absurd), "surveying, 100 %, inf M points/s, 0:00 left");
  absurd.secondsLeft = 1e300;
  EXPECT_THAT(progressText(absurd), HasSubstr("277777:46:40 left"));
}

TEST(ProgressLines, AppearForANewStageOrForANewPercentASecondLater) {
  std::ostringstream out;
  ProgressDisplay display(ProgressForm::Lines, out);
  display.show(facts(ConversionStage::Open, 0, 0));
  display.show(facts(ConversionStage::Survey, 0.01, 0.1));
  display.show(facts(ConversionStage::Survey, 0.05, 0.9));  // too soon
  display.show(facts(ConversionStage::Survey, 0.015, 5));   // the same percent
  display.show(facts(ConversionStage::Survey, 0.06, 5.1));
  EXPECT_EQ(out.str(), "sorvik: opening, 0 %\nsorvik: surveying, 1 %\nsorvik: surveying, 6 %\n");
}

TEST(ProgressBar, IsDrawnOverItselfFiveTimesASecondAndTakenAwayInTheEnd) {
  std::ostringstream out;
  {
    ProgressDisplay display(ProgressForm::Bar, out);
    display.show(facts(ConversionStage::Index, 0.5, 1));
    display.show(facts(ConversionStage::Index, 0.6, 1.1));
    display.show(facts(ConversionStage::Index, 1, 1.25));
  }
  EXPECT_EQ(out.str(),
            "\r\x1b[K[##########..........] indexing, 50 %"
            "\r\x1b[K[####################] indexing, 100 %"
            "\r\x1b[K");
}

TEST(ProgressBar, FitsOnALineOfATerminal) {
  std::ostringstream out;
  ProgressFacts longest = facts(ConversionStage::Distribute, 1, 1);
  longest.pointsPerSecond = 999.9e6;
  longest.secondsLeft = 360'000;
  ProgressDisplay display(ProgressForm::Bar, out);
  display.show(longest);
  EXPECT_LT(out.str().size(), std::string("\r\x1b[K").size() + 80);
}

TEST(ProgressDisplays, OfNoFormSayNothing) {
  std::ostringstream out;
  { ProgressDisplay(ProgressForm::None, out).show(facts(ConversionStage::Index, 0.5, 1)); }
  { const ProgressDisplay unused(ProgressForm::Bar, out); }
  EXPECT_THAT(out.str(), IsEmpty());
}

}  // namespace
}  // namespace Testing
