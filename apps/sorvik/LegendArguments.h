#pragma once

#include <optional>
#include <string>

#include "sorvik/LegendCommand.h"

namespace CLI {
class App;
}

namespace Program {

/// The command `legend` in the program's parser, and what it was called with. Must outlive the parsing.
class LegendArguments {
 public:
  explicit LegendArguments(CLI::App& app);
  LegendArguments(const LegendArguments&) = delete;
  LegendArguments& operator=(const LegendArguments&) = delete;

  /// After the parsing.
  /// @throws CallError naming the argument that is missing or means nothing.
  [[nodiscard]] LegendOptions options() const;

 private:
  std::string map_;
  std::string file_;
  std::optional<std::string> width_;
  std::optional<std::string> height_;
  bool vertical_ = false;
  bool list_ = false;
};

}  // namespace Program
