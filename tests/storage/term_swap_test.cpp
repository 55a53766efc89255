// New dictionary files take the place of old ones at one moment: a swap that is cut off at any step reads as
// the new dictionary.

#include "storage/term_swap.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "storage/term_files.h"
#include "storage/term_read.h"
#include "storage/term_update.h"
#include "support/memory_space.h"
#include "support/temp_dir.h"

namespace {

constexpr const char* kExtensions[] = {".n01", ".l01", ".ifp"};

class Files {
 public:
  Files() { test::TestBase().WriteTo(path()); }

  /// Makes the three files of an index with one term.
  void Make(const std::string& suffix, const std::string& term) {
    test::TestBase().WriteTo(dir_.File("made"));
    EXPECT_EQ(velor_32::Velorinitterm_write(memory_.space(), dir_.File("made").c_str()), 0);
    EXPECT_EQ(velor_32::InsertTerm(memory_.space(), term.c_str(), {1, 1, 1, 1}), 0);
    velor_32::Velorcloseterm(memory_.space());
    for (const char* extension : kExtensions)
      std::filesystem::rename(dir_.File("made") + extension, path() + extension + suffix);
  }
  void MakeSplit(const std::string& end) {
    std::string separators;
    for (char c = 'A'; c <= 'J'; ++c) {
      Make("_" + std::to_string(c - 'A' + 1) + end, std::string(1, c));
      if (c < 'J') separators += std::string(1, c) + "\r\n";
    }
    dir_.Write("d.inv" + end, separators);
    for (const char* extension : kExtensions) dir_.Write(std::string("d") + extension + end, "");
  }

  /// All terms, one behind the other.
  std::string Terms() {
    if (int rc = velor_32::Velorinitterm(memory_.space(), path().c_str()); rc != 0) return std::to_string(rc);
    std::string terms;
    char term[velor_01::kTermBufferSize] = "\x01";
    for (int rc = velor_32::Velorfind0(memory_.space(), term, true); *term != '\0' && rc != -203;) {
      terms += term;
      rc = velor_32::Velornxtterm(memory_.space(), term);
    }
    return terms;
  }

  [[nodiscard]] std::string path() const { return dir_.File("d"); }
  [[nodiscard]] const test::TempDir& dir() const { return dir_; }

 private:
  test::TempDir dir_;
  test::MemorySpace memory_;
};

constexpr const char* kSplitTerms = "ABCDEFGHIJ";

TEST(TermSwap, ReadsAsNewFromTheMarkOn) {
  for (const bool wasSplit : {false, true}) {
    for (const bool isSplit : {false, true}) {
      for (int done = 0; done <= 3; ++done) {
        SCOPED_TRACE(testing::Message() << wasSplit << isSplit << done);
        Files files;
        wasSplit ? files.MakeSplit("") : files.Make("", "OLD");
        const std::string old = files.Terms();
        isSplit ? files.MakeSplit("_") : files.Make("_", "NEW");
        EXPECT_EQ(files.Terms(), old);

        files.dir().Write("d.new", isSplit ? "1" : "0");
        for (int i = 0; i < done; ++i)
          std::filesystem::rename(files.path() + kExtensions[i] + "_", files.path() + kExtensions[i]);
        EXPECT_EQ(files.Terms(), isSplit ? kSplitTerms : "NEW");

        EXPECT_EQ(velor_32::FinishTermSwap(files.path()), 0);
        EXPECT_EQ(files.Terms(), isSplit ? kSplitTerms : "NEW");
        EXPECT_EQ(velor_32::ReadTermSwap(files.path()), velor_32::TermSwap::kNone);
        EXPECT_EQ(std::filesystem::exists(files.path() + ".n01_1"), isSplit);
      }
    }
  }
}

TEST(TermSwap, SwapsAtOnce) {
  Files files;
  files.Make("", "OLD");
  files.Make("_", "NEW");
  EXPECT_EQ(velor_32::SwapTermFiles(files.path(), false), 0);
  EXPECT_EQ(files.Terms(), "NEW");
  EXPECT_EQ(velor_32::FinishTermSwap(files.path()), 0);
  EXPECT_EQ(velor_32::SwapTermFiles(files.dir().File("none/d"), false), -401);
}

}  // namespace
