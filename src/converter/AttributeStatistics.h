#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "converter/CloudRecords.h"

namespace Converter {

/// Interleaved records of one stride. Views them.
struct RecordView {
  const std::byte* data = nullptr;
  std::size_t stride = 0;
  std::size_t count = 0;
};

/// What the values of one attribute are like.
struct AttributeFacts {
  std::vector<double> min;  ///< one an element; infinite when there was no number
  std::vector<double> max;
  std::vector<std::uint64_t> histogram;  ///< counts by value, of "classification"; else empty
  bool exactAsDouble = true;             ///< whether every 64-bit integer is a double, too
};

/// Collects the facts of all attributes; NaN counts for nothing. Independent of the order of the points.
class AttributeStatistics {
 public:
  /// Views @p records, which must outlive it.
  explicit AttributeStatistics(const CloudRecords& records);

  void add(const RecordView& points);
  void add(const AttributeStatistics& other);
  /// Takes points out of the histograms, whose equals remain.
  void removeDuplicates(const AttributeStatistics& duplicates);

  /// By attribute number.
  [[nodiscard]] const std::vector<AttributeFacts>& facts() const { return facts_; }

 private:
  const CloudRecords* records_;
  std::vector<AttributeFacts> facts_;
};

}  // namespace Converter
