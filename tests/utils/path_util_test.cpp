#include "utils/path_util.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/temp_dir.h"

namespace {

using utils::PathUtil;

TEST(CorPath, MakesRelativePathsAbsolute) {
  const struct {
    const char* why;
    const char* base;
    const char* path;
    const char* want;
  } cases[] = {
      {"a leading dot goes, and the base's slash", "/opt/sys/", ".\\DATAI\\", "/opt/sys/datai/"},
      {"the same with slashes", "/opt/sys/", "./Datai/", "/opt/sys/datai/"},
      {"no dot: behind the whole base", "/opt/sys/", "Datai/Deposit/", "/opt/sys/datai/deposit/"},
      {"the base is not folded", "/Opt/Sys/", "DATAI", "/Opt/Sys/datai"},
      {"Cyrillic is folded too", "/opt/", "БАЗА", "/opt/база"},
      {"two characters stay", "/opt/", "AB", "AB"},
      {"two characters with a dot stay", "/opt/", "./", "./"},
      {"three do not", "/opt/", "ABC", "/opt/abc"},
      {"rooted stays as written", "/opt/", "/Data/X", "/Data/X"},
      {"rooted by a backslash", "/opt/", "\\Data\\X", "\\Data\\X"},
      {"no base", "", "DATAI", "DATAI"},
      {"only the first dot goes", "/opt/", "../data", "/opt./data"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(backup::CorPath(c.base, c.path), c.want);
  }
}

TEST(PathUtil, Parts) {
  const struct {
    const char* path;
    const char* directory;
    const char* name;
    const char* stem;
    const char* extension;
  } cases[] = {
      {"/a/b.c.txt", "/a", "b.c.txt", "b.c", ".txt"},
      {"b", "", "b", "b", ""},
      {"/b", "/", "b", "b", ""},
      {"a\\b.pdf", "a", "b.pdf", "b", ".pdf"},
      {"/a.d/b", "/a.d", "b", "b", ""},
      {"a/", "a", "", "", ""},
      {"a//b", "a", "b", "b", ""},
      {".ini", "", ".ini", "", ".ini"},
      {"", "", "", "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(PathUtil::GetDirectoryName(c.path), c.directory);
    EXPECT_EQ(PathUtil::GetFileName(c.path), c.name);
    EXPECT_EQ(PathUtil::GetFileNameWithoutExtension(c.path), c.stem);
    EXPECT_EQ(PathUtil::GetExtension(c.path), c.extension);
  }
}

TEST(PathUtil, Combines) {
  EXPECT_EQ(PathUtil::Combine("/a", "b"), "/a/b");
  EXPECT_EQ(PathUtil::Combine("/a/", "b"), "/a/b");
  EXPECT_EQ(PathUtil::Combine("/a", "/b"), "/b");
  EXPECT_EQ(PathUtil::Combine("", "b"), "b");
  EXPECT_EQ(PathUtil::Combine("/a", ""), "/a");
}

TEST(PathUtil, KindsOfFiles) {
  const test::TempDir dir;
  const std::string file = dir.Write("f", "x");
  ASSERT_EQ(symlink(file.c_str(), dir.File("link").c_str()), 0);
  EXPECT_TRUE(PathUtil::IsFile(file));
  EXPECT_TRUE(PathUtil::IsFile(dir.File("link")));
  EXPECT_FALSE(PathUtil::IsFile(dir.Path()));
  EXPECT_TRUE(PathUtil::IsDirectory(dir.Path()));
  EXPECT_FALSE(PathUtil::IsDirectory(file));
  EXPECT_FALSE(PathUtil::IsFile(dir.File("missing")));
  EXPECT_TRUE(PathUtil::IsFile(PathUtil::GetExePathA()));
}

}  // namespace
