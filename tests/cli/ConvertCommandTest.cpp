#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/Program.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

void expectWrongCall(std::vector<std::string> arguments, const std::string& message) {
  arguments.insert(arguments.begin(), "convert");
  const ProcessResult result = runProgram(arguments);
  EXPECT_EQ(result.status, 2) << message;
  EXPECT_THAT(result.out, IsEmpty());
  EXPECT_THAT(result.err, HasSubstr(message));
}

/// A folder for inputs and output.
class ConvertCommand : public testing::Test {
 protected:
  [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }
  std::string write(const std::string& name) const { return folder_.write(name, "x").string(); }

  [[nodiscard]] ProcessResult convert(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "convert");
    arguments.insert(arguments.end(), {"-o", path("out")});
    return runProgram(arguments);
  }
  [[nodiscard]] bool hasOutput() const { return std::filesystem::exists(path("out")); }

 private:
  TempFolder folder_;
};

TEST(ConvertArguments, AreExplained) {
  const std::string help = outputOf({"convert", "--help"});
  for (const char* const part :
       {"INPUT", "-o,--output FOLDER", "--encoding", "--compression", "--sampling", "--scale", "--overwrite",
        "--memory", "--threads", "--temp", "--drop-duplicates", "--strict-crs",
        "--require-color-or-intensity", "--allow-truncated", "--allow-outside", "--apply-pose", "--json",
        "--progress", "Ctrl-C"}) {
    EXPECT_THAT(help, HasSubstr(part));
  }
}

TEST(ConvertArguments, AreInputsAndAnOutput) {
  expectWrongCall({}, "INPUT is required");
  expectWrongCall({"a.las"}, "--output is required");
  expectWrongCall({"", "-o", "out"}, "INPUT is empty");
  expectWrongCall({"a.las", "-o", ""}, "-o: the folder's name is empty");
  expectWrongCall({"a.las", "-o", "out", "--fast"}, "--fast");
}

TEST(ConvertArguments, AreRefusedWhenTheyNameNoChoice) {
  expectWrongCall({"a", "-o", "b", "--encoding", "zip"}, "--encoding: zip not in {brotli,uncompressed}");
  expectWrongCall({"a", "-o", "b", "--compression", "best"}, "--compression: best not in");
  expectWrongCall({"a", "-o", "b", "--sampling", "none"}, "--sampling: none not in");
  expectWrongCall({"a", "-o", "b", "--encoding", "uncompressed", "--compression", "fast"},
                  "--compression: is for brotli");
}

TEST(ConvertArguments, AreRefusedWhenTheyAreNoNumbers) {
  expectWrongCall({"a", "-o", "b", "--scale", "0"}, "--scale: the step is not above 0");
  expectWrongCall({"a", "-o", "b", "--scale=-0.1"}, "--scale: the step is not above 0");
  expectWrongCall({"a", "-o", "b", "--scale", "fine"}, "--scale: 'fine' is not a number");
  expectWrongCall({"a", "-o", "b", "--memory", "511M"}, "--memory: at least 512M is needed");
  expectWrongCall({"a", "-o", "b", "--memory", "lots"}, "--memory: ");
  expectWrongCall({"a", "-o", "b", "--threads", "0"}, "--threads: '0' is out of range");
  expectWrongCall({"a", "-o", "b", "--threads", "two"}, "--threads: 'two' is not a whole number");
}

TEST_F(ConvertCommand, FailsWithAReasonForAnInputThatDoesNotExist) {
  const ProcessResult result = convert({path("none.las")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.out, IsEmpty());
  EXPECT_EQ(result.err, "sorvik: " + path("none.las") + ": does not exist\n");
  EXPECT_FALSE(hasOutput());
}

TEST_F(ConvertCommand, TellsAFailureAsJson) {
  const ProcessResult result = convert({path("none.las"), "--json"});
  EXPECT_EQ(result.status, 1);
  const json answer = json::parse(result.out);
  EXPECT_EQ(answer.size(), 4U);
  EXPECT_EQ(answer.at("result"), "InputFileNotFound");
  EXPECT_EQ(answer.at("numPoints"), 0);
  EXPECT_GE(answer.at("seconds"), 0);
  EXPECT_EQ(answer.at("failedReason"), path("none.las") + ": does not exist");
}

TEST_F(ConvertCommand, SaysWhatToDoWithFormatsThatItCannotRead) {
  const ProcessResult result = convert({write("scan.zfs")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err,
              HasSubstr("is a Zoller+Froehlich scan (.zfs), whose format its vendor has not published"));
  EXPECT_FALSE(hasOutput());
}

TEST_F(ConvertCommand, LooksAtEveryInput) {
  write("first/a.e57");
  const ProcessResult result = convert({path("first"), path("second.las")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("second.las: does not exist"));
}

TEST_F(ConvertCommand, ShowsNamesThatWouldSteerATerminalWithoutTheirBytes) {
  const ProcessResult result = convert({path("\x1b[2J.las")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("?[2J.las: does not exist"));
}

TEST_F(ConvertCommand, NamesFilesThatAreNoUtf8InValidJson) {
  const ProcessResult result = convert({path("\xFF.las"), "--json"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(json::parse(result.out).at("failedReason"), path("\xEF\xBF\xBD.las") + ": does not exist");
}

TEST_F(ConvertCommand, IsCancelledByAnInterrupt) {
  const auto call = programCommand({"convert", write("a.las"), "-o", path("out"), "--json"});
  const ProcessResult result = Process(call, {.pendingInterrupt = true}).wait();
  EXPECT_EQ(result.status, 130);
  EXPECT_EQ(result.err, "sorvik: interrupted\n");
  EXPECT_EQ(json::parse(result.out).at("result"), "Cancelled");
  EXPECT_EQ(json::parse(result.out).at("failedReason"), "");
  EXPECT_FALSE(hasOutput());
}

TEST_F(ConvertCommand, ShowsNoProgressWhereItWasNotAskedForAndNobodyWatches) {
  EXPECT_THAT(convert({path("none.las")}).err, testing::Not(HasSubstr("opening")));
}

TEST_F(ConvertCommand, WritesAnOctreeOfEveryPoint) {
  SORVIK_SAMPLE_OR_SKIP(scan, "las/lazperf-point10.las");
  const ProcessResult result = convert({scan.string()});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, testing::StartsWith("1065 points in "));
  EXPECT_EQ(outputOf({"points", path("out"), "--count"}), "1065\n");
}

TEST_F(ConvertCommand, TellsSuccessAsJson) {
  SORVIK_SAMPLE_OR_SKIP(scan, "las/lazperf-point10.las");
  const ProcessResult result = convert({scan.string(), "--json", "--encoding", "uncompressed"});
  EXPECT_EQ(result.status, 0) << result.err;
  const json answer = json::parse(result.out);
  EXPECT_EQ(answer.at("result"), "Success");
  EXPECT_EQ(answer.at("numPoints"), 1065);
  EXPECT_GT(answer.at("seconds"), 0);
  EXPECT_EQ(answer.at("failedReason"), "");
}

TEST_F(ConvertCommand, ReplacesAnOctreeOnlyWhenTold) {
  SORVIK_SAMPLE_OR_SKIP(one, "las/lasrs-one-point.las");
  SORVIK_SAMPLE_OR_SKIP(many, "las/lazperf-point10.las");
  EXPECT_EQ(convert({one.string()}).status, 0);
  const ProcessResult refused = convert({many.string(), "--json"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(json::parse(refused.out).at("result"), "OutputPathExists");
  EXPECT_EQ(outputOf({"points", path("out"), "--count"}), "1\n");
  EXPECT_EQ(convert({many.string(), "--overwrite"}).status, 0);
  EXPECT_EQ(outputOf({"points", path("out"), "--count"}), "1065\n");
}

TEST_F(ConvertCommand, ShowsLinesOfProgressWhenAsked) {
  SORVIK_SAMPLE_OR_SKIP(scan, "las/lazperf-point10.las");
  EXPECT_THAT(convert({scan.string(), "--progress"}).err, HasSubstr("sorvik: opening, "));
}

}  // namespace
}  // namespace Testing
