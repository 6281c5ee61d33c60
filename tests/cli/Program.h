#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "support/Process.h"

namespace Testing {

/// The program's path and the arguments, as Process takes them.
[[nodiscard]] std::vector<std::string> programCommand(const std::vector<std::string>& arguments);

/// Runs the program to its end.
[[nodiscard]] ProcessResult runProgram(const std::vector<std::string>& arguments);

/// Runs a shell command in which $0 is the program.
[[nodiscard]] ProcessResult runShell(const std::string& command);

/// What the program prints, also with --json. Fails the test when the status is not 0.
[[nodiscard]] std::string outputOf(const std::vector<std::string>& arguments);

/// The numbers of comma-separated values, line by line, without the header.
[[nodiscard]] std::vector<std::vector<double>> csvRows(const std::string& text);

/// The world coordinates of all points of a cloud, as the program writes them.
[[nodiscard]] std::vector<std::array<double, 3>> allPositions(const std::filesystem::path& cloud);

}  // namespace Testing
