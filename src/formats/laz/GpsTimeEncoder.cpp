#include "formats/laz/GpsTimeEncoder.h"

#include <cmath>

namespace Formats::Laz {
namespace {

// Codes in a sequence with a usual difference say how many times it is to be taken: 0 to 500, then -1 to -10.
constexpr std::int32_t kMostTimes = 500;
constexpr std::int32_t kLeastTimes = -10;
constexpr std::uint32_t kCodesOfMultiples = 511;
constexpr int kFewTimes = 10;
constexpr int kOutliersAllowed = 3;

enum Context : std::size_t {
  kFirstDifference,
  kOnce,
  kSomeTimes,
  kManyTimes,
  kTooManyTimes,
  kBackwards,
  kTooFarBackwards,
  kHardly,
  kHighWord,
  kContexts
};

std::int32_t wrappedProduct(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

std::int32_t highWord(std::uint64_t time) { return static_cast<std::int32_t>(time >> 32U); }

/// How many times @p usual goes into @p difference, as nearly as codes can say it.
std::int32_t timesOf(std::int32_t difference, std::int32_t usual) {
  const float ratio = static_cast<float>(difference) / static_cast<float>(usual);
  if (ratio >= static_cast<float>(kMostTimes)) return kMostTimes;
  if (ratio <= static_cast<float>(kLeastTimes)) return kLeastTimes;
  return static_cast<std::int32_t>(ratio + (ratio < 0 ? -0.5F : 0.5F));
}

Context contextOf(std::int32_t times) {
  if (times == 1) return kOnce;
  if (times == 0) return kHardly;
  if (times < 0) return times > kLeastTimes ? kBackwards : kTooFarBackwards;
  if (times < kFewTimes) return kSomeTimes;
  return times < kMostTimes ? kManyTimes : kTooManyTimes;
}

}  // namespace

GpsTimeEncoder::GpsTimeEncoder(Unchanged unchanged, std::uint64_t firstTime)
    : codesForUnchanged_(unchanged == Unchanged::Coded ? 1 : 0),
      first_(1 + codesForUnchanged_ + kSequences),
      multiple_(kCodesOfMultiples + codesForUnchanged_ + kSequences),
      numbers_(32, kContexts) {
  sequences_[0].time = firstTime;
}

void GpsTimeEncoder::encode(std::uint64_t time, RangeEncoder& stream) {
  stream.makeRoom(kWrites);
  const std::uint32_t steps = stepsToReaching(time);
  if (steps == kSequences) return encodeNewTime(time, stream);
  if (steps != 0) {
    encodeSwitch(steps, stream);
    current_ = (current_ + steps) % kSequences;
  }
  Sequence& sequence = sequences_[current_];
  if (codesForUnchanged_ != 0 && time == sequence.time) {
    if (sequence.difference == 0) {
      stream.encode(first_, 0);
    } else {
      stream.encode(multiple_, kCodesOfMultiples);
    }
    return;
  }
  const auto difference = static_cast<std::int32_t>(static_cast<std::uint32_t>(time - sequence.time));
  encodeDifference(sequence, difference, stream);
  sequence.time = time;
}

bool GpsTimeEncoder::reaches(const Sequence& sequence, std::uint64_t time) {
  const auto difference = static_cast<std::int64_t>(time - sequence.time);
  return difference == static_cast<std::int32_t>(difference);
}

/// From the current sequence on to one that reaches @p time; kSequences when none does.
std::uint32_t GpsTimeEncoder::stepsToReaching(std::uint64_t time) const {
  std::uint32_t steps = 0;
  while (steps < kSequences && !reaches(sequences_[(current_ + steps) % kSequences], time)) ++steps;
  return steps;
}

/// That the sequence so many steps from here is the current one from now on; 0: a new one.
void GpsTimeEncoder::encodeSwitch(std::uint32_t steps, RangeEncoder& stream) {
  if (sequences_[current_].difference == 0) {
    stream.encode(first_, 1 + codesForUnchanged_ + steps);
  } else {
    stream.encode(multiple_, kCodesOfMultiples + codesForUnchanged_ + steps);
  }
}

void GpsTimeEncoder::encodeNewTime(std::uint64_t time, RangeEncoder& stream) {
  encodeSwitch(0, stream);
  numbers_.encode(highWord(sequences_[current_].time), highWord(time), kHighWord, stream);
  stream.encodeBits(32, static_cast<std::uint32_t>(time));
  newest_ = (newest_ + 1) % kSequences;
  sequences_[newest_] = {time, 0, 0};
  current_ = newest_;
}

void GpsTimeEncoder::encodeDifference(Sequence& sequence, std::int32_t difference, RangeEncoder& stream) {
  if (sequence.difference != 0) return encodeMultiple(sequence, difference, stream);
  stream.encode(first_, codesForUnchanged_);
  numbers_.encode(0, difference, kFirstDifference, stream);
  sequence.difference = difference;
  sequence.outliers = 0;
}

void GpsTimeEncoder::encodeMultiple(Sequence& sequence, std::int32_t difference, RangeEncoder& stream) {
  const std::int32_t times = timesOf(difference, sequence.difference);
  const std::int32_t code = times >= 0 ? times : kMostTimes - times;
  stream.encode(multiple_, static_cast<std::size_t>(code));
  const Context context = contextOf(times);
  numbers_.encode(wrappedProduct(times, sequence.difference), difference, context, stream);
  if (times == 1) sequence.outliers = 0;
  if (times != 0 && times != kMostTimes && times != kLeastTimes) return;
  if (++sequence.outliers <= kOutliersAllowed) return;
  sequence.difference = difference;
  sequence.outliers = 0;
}

}  // namespace Formats::Laz
