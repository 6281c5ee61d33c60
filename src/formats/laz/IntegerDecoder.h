#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "formats/laz/RangeDecoder.h"

namespace Formats::Laz {

/// Decodes integers of some bits as their differences from predictions, modulo 2^Bits: first k, how many bits
/// a difference takes, then the difference. How likely each k is, is the caller's to know.
template <unsigned Bits>
class DifferenceDecoder {
 public:
  using SizeModel = DecodingModel<Bits + 1>;

  void reset() {
    zeroOrOne_.reset();
    for (auto& model : differences_) model.reset();
  }

  /// The next number, less than 2^Bits.
  std::uint32_t decode(RangeDecoder& decoder, std::uint32_t prediction, SizeModel& sizes) {
    k_ = static_cast<unsigned>(decoder.symbol(sizes));
    return (prediction + difference(decoder)) & kMask;
  }

  /// The k of the last number.
  [[nodiscard]] unsigned k() const { return k_; }

 private:
  static constexpr std::uint32_t kMask = Bits == 32 ? ~0U : (1U << Bits % 32U) - 1;
  static constexpr unsigned kModelledBits =
      8;  // of a difference, the upper ones; the others are stored as are
  // All k but 0, which has two differences, and 32, which has one.
  static constexpr unsigned kMostModelled = Bits == 32 ? 31 : Bits;

  using DifferenceModel = DecodingModel<std::size_t{1} << kModelledBits>;

  template <std::size_t... I>
  static std::array<DifferenceModel, sizeof...(I)> differenceModels(std::index_sequence<I...> /*of k - 1*/) {
    return {DifferenceModel(std::size_t{1} << std::min<std::size_t>(I + 1, kModelledBits))...};
  }

  std::uint32_t difference(RangeDecoder& decoder) {
    if (k_ == 0) return decoder.bit(zeroOrOne_);
    if (k_ > kMostModelled) return 1U << 31U;
    auto number = static_cast<std::uint32_t>(decoder.symbol(differences_[k_ - 1]));
    if (k_ > kModelledBits) {
      const unsigned rest = k_ - kModelledBits;
      number = number << rest | decoder.bits(rest);
    }
    // -(2^k - 1) to -2^(k - 1), then 2^(k - 1) + 1 to 2^k.
    return number >= 1U << (k_ - 1) ? number + 1 : number - ((1U << k_) - 1);
  }

  BitModel zeroOrOne_;
  std::array<DifferenceModel, kMostModelled> differences_ =
      differenceModels(std::make_index_sequence<kMostModelled>());
  unsigned k_ = 0;
};

/// The same, with a model of how likely each k is for every context.
template <unsigned Bits, std::size_t Contexts>
class IntegerDecoder {
 public:
  void reset() {
    for (auto& model : sizes_) model.reset();
    differences_.reset();
  }

  std::uint32_t decode(RangeDecoder& decoder, std::uint32_t prediction, std::size_t context = 0) {
    return differences_.decode(decoder, prediction, sizes_[context]);
  }

  [[nodiscard]] unsigned k() const { return differences_.k(); }

 private:
  std::array<DecodingModel<Bits + 1>, Contexts> sizes_;
  DifferenceDecoder<Bits> differences_;
};

/// A symbol model for each value that something may have had before, made when it is first used.
template <std::size_t Symbols, std::size_t Values>
class ModelPerValue {
 public:
  void reset() {
    for (auto& model : models_) {
      if (model) model->reset();
    }
  }

  DecodingModel<Symbols>& of(std::size_t value) {
    auto& model = models_[value];
    if (!model) [[unlikely]]
      model = std::make_unique<DecodingModel<Symbols>>();
    return *model;
  }

 private:
  std::array<std::unique_ptr<DecodingModel<Symbols>>, Values> models_;
};

}  // namespace Formats::Laz
