#pragma once

#include <cstdint>

namespace Converter {

/// The stages of a conversion, in order.
enum class Stage { Survey, Distribute, Index, Write };

/// How far a conversion is. The engine tells it, whoever watches asks. Threads: all calls are safe together.
class Progress {
 public:
  virtual ~Progress() = default;

  /// A stage begins, which will take @p total units of work (points, or bytes: the stage's own choice).
  /// A stage that has to be done again begins again.
  virtual void begin(Stage stage, std::uint64_t total) = 0;
  /// Units of the present stage that were done since the last call.
  virtual void advance(std::uint64_t units) = 0;
};

}  // namespace Converter
