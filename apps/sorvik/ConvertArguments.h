#pragma once

#include <string>
#include <vector>

#include "sorvik/ConvertCommand.h"

namespace CLI {
class App;
}

namespace Program {

/// The command `convert` in the program's parser, and what it was called with. Must outlive the parsing.
class ConvertArguments {
 public:
  explicit ConvertArguments(CLI::App& app);
  ConvertArguments(const ConvertArguments&) = delete;
  ConvertArguments& operator=(const ConvertArguments&) = delete;

  /// After the parsing.
  /// @throws CallError naming the argument that means nothing.
  [[nodiscard]] ConvertOptions options() const;

 private:
  void addConversion(CLI::App& convert);
  void addMachine(CLI::App& convert);

  std::vector<std::string> inputs_;
  std::string output_;
  std::string encoding_;
  std::string compression_;
  std::string sampling_;
  std::string scale_;
  std::string memory_;
  std::string threads_;
  std::string temporaryFolder_;
  ConvertOptions options_;  // the flags
};

}  // namespace Program
