#include "cli/Program.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Testing {

std::vector<std::string> programCommand(const std::vector<std::string>& arguments) {
  std::vector<std::string> command{SORVIK_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

ProcessResult runProgram(const std::vector<std::string>& arguments) {
  return runProcess(programCommand(arguments));
}

ProcessResult runShell(const std::string& command) {
  return runProcess({"/bin/sh", "-c", command, SORVIK_PROGRAM});
}

std::string outputOf(const std::vector<std::string>& arguments) {
  const ProcessResult result = runProgram(arguments);
  EXPECT_EQ(result.status, 0) << result.err;
  return result.out;
}

std::vector<std::vector<double>> csvRows(const std::string& text) {
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  std::vector<std::vector<double>> rows;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    std::string field;
    rows.emplace_back();
    while (std::getline(fields, field, ',')) rows.back().push_back(std::stod(field));
  }
  return rows;
}

std::vector<std::array<double, 3>> allPositions(const std::filesystem::path& cloud) {
  std::vector<std::array<double, 3>> positions;
  for (const std::vector<double>& row : csvRows(outputOf({"points", cloud.string()}))) {
    positions.push_back({row.at(0), row.at(1), row.at(2)});
  }
  return positions;
}

}  // namespace Testing
