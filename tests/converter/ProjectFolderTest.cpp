#include <gmock/gmock.h>

#include "converter/ProjectFolder.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

namespace fs = std::filesystem;
using Converter::ProjectFolder;
using testing::Optional;

/// A project's folder, and what lies beside it.
class FindInProjectFolder : public testing::Test {
 protected:
  [[nodiscard]] fs::path project() const { return folder_.path() / "p"; }
  fs::path write(const fs::path& relative) const { return folder_.write(relative, "x"); }

  [[nodiscard]] ProjectFolder::Place find(const std::string& name) const {
    return ProjectFolder(project(), ProjectFolder::Outside::Refuse).find(name);
  }
  [[nodiscard]] ProjectFolder::Place findAnywhere(const std::string& name) const {
    return ProjectFolder(project(), ProjectFolder::Outside::Allow).find(name);
  }

  void expectRefused(const std::string& name) const {
    EXPECT_TRUE(find(name).isOutside) << name;
    EXPECT_EQ(find(name).file, std::nullopt) << name;
  }

 private:
  TempFolder folder_;

 protected:
  const fs::path inside = write("p/SCANS/a.las");
  const fs::path outside = write("q/b.las");
};

TEST_F(FindInProjectFolder, TakesTheExactName) {
  EXPECT_THAT(find("SCANS/a.las").file, Optional(inside));
  EXPECT_THAT(find("./SCANS//a.las").file, Optional(inside));
  EXPECT_FALSE(find("SCANS/a.las").isOutside);
}

TEST_F(FindInProjectFolder, TakesLettersOfTheOtherCaseWhereTheExactNameIsMissing) {
  EXPECT_THAT(find("scans/A.LAS").file, Optional(inside));
  const fs::path exact = write("p/scans/A.LAS");
  EXPECT_THAT(find("scans/A.LAS").file, Optional(exact));
  EXPECT_THAT(find("scans/a.las").file, Optional(exact));
}

TEST_F(FindInProjectFolder, TakesTheFirstOfSeveralThatDifferInCase) {
  const fs::path first = write("p/B.LAS");
  write("p/B.las");
  write("p/b.LAS");
  EXPECT_THAT(find("b.las").file, Optional(first));
}

TEST_F(FindInProjectFolder, FindsNoFoldersAndNothingThatIsMissing) {
  for (const char* const name : {"SCANS", "SCANS/none.las", "NONE/a.las", "SCANS/a.las/b", ""}) {
    EXPECT_EQ(find(name).file, std::nullopt) << name;
    EXPECT_FALSE(find(name).isOutside) << name;
  }
  EXPECT_EQ(find(std::string("SCANS/a.las\0.las", 16)).file, std::nullopt);
}

TEST_F(FindInProjectFolder, RefusesNamesThatLeadOut) {
  for (const std::string& name :
       {std::string("../q/b.las"), std::string("SCANS/../../q/b.las"), std::string("../p/SCANS/a.las"),
        outside.string(), inside.string(), std::string("C:/q/b.las"), std::string("c:b.las")}) {
    expectRefused(name);
  }
}

TEST_F(FindInProjectFolder, RefusesLinksThatLeadOut) {
  fs::create_symlink(outside, project() / "link.las");
  fs::create_directory_symlink(outside.parent_path(), project() / "folder");
  expectRefused("link.las");
  expectRefused("folder/b.las");
  expectRefused("folder/none.las");
}

TEST_F(FindInProjectFolder, FollowsLinksThatStayInside) {
  fs::create_symlink(inside, project() / "link.las");
  EXPECT_THAT(find("link.las").file, Optional(project() / "link.las"));
}

TEST_F(FindInProjectFolder, MayItselfBeReachedOverALink) {
  fs::create_directory_symlink(project(), outside.parent_path() / "link");
  ProjectFolder folder(outside.parent_path() / "link", ProjectFolder::Outside::Refuse);
  EXPECT_THAT(folder.find("SCANS/a.las").file, Optional(outside.parent_path() / "link/SCANS/a.las"));
}

TEST_F(FindInProjectFolder, FindsFilesAnywhereWhereThatIsAllowed) {
  fs::create_symlink(outside, project() / "link.las");
  for (const std::string& name : {std::string("../q/b.las"), outside.string(), std::string("link.las")}) {
    ASSERT_TRUE(findAnywhere(name).file) << name;
    EXPECT_TRUE(fs::equivalent(*findAnywhere(name).file, outside)) << name;
    EXPECT_TRUE(findAnywhere(name).isOutside) << name;
  }
  EXPECT_EQ(findAnywhere("C:/q/b.las").file, std::nullopt);
  EXPECT_THAT(findAnywhere("SCANS/a.las").file, Optional(inside));
}

}  // namespace
}  // namespace Testing
