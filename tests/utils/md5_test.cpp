#include "utils/md5.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace {

TEST(Md5, SumsOfRfc1321) {
  EXPECT_EQ(utils::Md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(utils::Md5Hex("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
}

TEST(Md5, FileHasTheSumOfItsBytes) {
  const test::TempDir dir;
  const std::string data(200000, '\xFF');  // several pieces, the last one short
  EXPECT_EQ(utils::Md5HexOfFile(dir.Write("data", data)), utils::Md5Hex(data));
}

TEST(Md5, UnreadableFileHasNone) {
  const test::TempDir dir;
  EXPECT_EQ(utils::Md5HexOfFile(dir.File("missing")), "");
  EXPECT_EQ(utils::Md5HexOfFile(dir.Path()), "");
}

}  // namespace
