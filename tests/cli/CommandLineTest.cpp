#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sorvik/Version.h"
#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

void expectWrongCall(const std::vector<std::string>& arguments, const std::string& message) {
  const ProcessResult result = runProgram(arguments);
  EXPECT_EQ(result.status, 2) << message;
  EXPECT_THAT(result.out, IsEmpty());
  EXPECT_THAT(result.err, StartsWith("sorvik: "));
  EXPECT_THAT(result.err, HasSubstr(message));
}

TEST(CommandLine, PrintsTheVersionOfTheLibrary) {
  EXPECT_EQ(outputOf({"--version"}), Sorvik::versionString() + "\n");
}

TEST(CommandLine, ExplainsItselfAndEachCommand) {
  EXPECT_THAT(outputOf({"--help"}),
              HasSubstr("Exit status: 0 done, 1 the work failed, 2 the call was wrong"));
  EXPECT_THAT(outputOf({"info", "--help"}), HasSubstr("--json"));
  const std::string points = outputOf({"points", "--help"});
  for (const char* const part : {"--box", "--oriented-rectangle CX,CY,HX,HY,ANGLE", "world coordinates",
                                 "radians", "--min-spacing", "--skip-unreadable", "--local", "--output"}) {
    EXPECT_THAT(points, HasSubstr(part));
  }
}

TEST(CommandLine, RefusesACallWithoutAKnownCommand) {
  expectWrongCall({}, "a command is missing");
  expectWrongCall({"dance"}, "dance");
}

TEST(CommandLine, RefusesUnknownAndMissingArguments) {
  expectWrongCall({"info"}, "LOCATION is required");
  expectWrongCall({"points"}, "LOCATION is required");
  expectWrongCall({"points", "a", "b"}, "b");
  expectWrongCall({"points", "a", "--fast"}, "--fast");
  expectWrongCall({"points", "a", "--sphere"}, "--sphere");
}

TEST(CommandLine, RefusesMoreThanOneShape) {
  expectWrongCall({"points", "a", "--circle", "1,2,3", "--sphere", "1,2,3,4"}, "at most 1");
  EXPECT_EQ(runProgram({"points", "a", "--circle", "1,2,3", "--circle", "4,5,6"}).status, 2);
}

TEST(CommandLine, RefusesAShapeThatIsNone) {
  expectWrongCall({"points", "a", "--sphere", "1,2,3"}, "--sphere: expected the 4 numbers X,Y,Z,R, found 3");
  expectWrongCall({"points", "a", "--box", "-1,-1,-1,1,1"}, "--box: expected the 6 numbers");
}

TEST(CommandLine, TakesShapesThatBeginWithAMinusSign) {
  const TempFolder folder;
  SmallCloud().write(folder.path() / "cloud");
  const std::string cloud = (folder.path() / "cloud").string();
  EXPECT_EQ(outputOf({"points", cloud, "--local", "--count", "--box", "-.5,-1,-1,1,1,1"}), "1\n");
  EXPECT_EQ(outputOf({"points", "--box=-5,-1,-1,1,1,1", "--local", "--count", cloud}), "1\n");
}

TEST(CommandLine, RefusesASpacingThatIsNone) {
  expectWrongCall({"points", "a", "--min-spacing", "-1"}, "--min-spacing: the spacing is negative");
  expectWrongCall({"points", "a", "--min-spacing", "nan"}, "--min-spacing: 'nan' is not a finite number");
  expectWrongCall({"points", "a", "--min-spacing", "1m"}, "--min-spacing: '1m' is not a number");
}

TEST(CommandLine, RefusesFilesThatItCannotWrite) {
  expectWrongCall({"points", "a", "-o", "a.E57"},
                  "-o: cannot write .E57 files: use .las, .laz, .ply or .csv");
  expectWrongCall({"points", "a", "-o", "a.txt"},
                  "-o: cannot write .txt files: use .las, .laz, .ply or .csv");
  expectWrongCall({"points", "a", "--las-version", "1.2"}, "--las-version: is for .las and .laz files");
  expectWrongCall({"points", "a", "-o", "a.csv", "--las-version", "1.2"}, "--las-version: is for .las");
  expectWrongCall({"points", "a", "-o", "a.las", "--las-version", "2"}, "--las-version: '2' is not written");
  expectWrongCall({"points", "a", "-o", "folder.csv/a"},
                  "'folder.csv/a' has no extension: use .las, .laz, .ply or .csv");
}

TEST(CommandLine, RefusesOtherSchemesThanHttps) {
  expectWrongCall({"info", "http://example.org/cloud"}, "cannot open http:// addresses");
  expectWrongCall({"points", "file:///cloud"}, "cannot open file:// addresses");
  expectWrongCall({"points", ""}, "LOCATION is empty");
}

TEST(CommandLine, FailsWhenTheCloudCannotBeOpened) {
  for (const char* const command : {"info", "points"}) {
    const ProcessResult result = runProgram({command, "/no/such/cloud"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("sorvik: cannot open /no/such/cloud: "));
  }
  EXPECT_EQ(runProgram({"info", "https://example.invalid/cloud"}).status, 1);
}

}  // namespace
}  // namespace Testing
