#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "storage/codes.h"
#include "storage/term_read.h"
#include "storage/term_update.h"
#include "support/memory_space.h"
#include "support/temp_dir.h"
#include "support/test_base.h"
#include "support/verify.h"

namespace test {

using velor_01::TifpItemPosting;

struct PostingLess {
  bool operator()(const TifpItemPosting& a, const TifpItemPosting& b) const {
    return backup::ComparePostings(a, b) < 0;
  }
};
using Postings = std::set<TifpItemPosting, PostingLess>;
/// What a dictionary should hold.
using Model = std::map<std::string, Postings>;

/// An inverted file in a directory of its own, open for changes.
class Dictionary {
 public:
  explicit Dictionary(const std::string& copyOf = "") {
    TestBase().WriteTo(path());
    if (!copyOf.empty())
      for (const char* extension : {".n01", ".l01", ".ifp"}) {
        std::filesystem::remove(path() + extension);
        std::filesystem::copy_file(copyOf + extension, path() + extension);
        std::filesystem::permissions(path() + extension, std::filesystem::perms::owner_all);
      }
    Open();
  }
  void Open() { EXPECT_EQ(velor_32::Velorinitterm_write(space(), path().c_str()), 0); }
  void Close() { velor_32::Velorcloseterm(space()); }
  [[nodiscard]] velor_32::TVelorSpace* space() const { return memory_.space(); }
  [[nodiscard]] std::string path() const { return dir_.File("d"); }
  [[nodiscard]] const TempDir& dir() const { return dir_; }

  /// Turns the empty dictionary into one of a full-text database.
  void MakeFullText() {
    Close();
    TestBase().FullText().WriteTo(path());
    space()->isFullText = true;
    Open();
  }

  /// Puts ten empty indexes beside the main one, parted by `separators`.
  void MakeIndexes(const std::vector<std::string>& separators) {
    Close();
    std::string lines;
    for (const std::string& one : separators) lines += one + "\r\n";
    dir_.Write("d.inv", lines);
    for (int k = 1; k <= 10; ++k)
      for (const char* extension : {"n01", "l01", "ifp"})
        dir_.Write(std::string("d.") + extension + "_" + std::to_string(k), "");
    Open();
  }

  int Insert(const std::string& term, const TifpItemPosting& posting) const {
    return velor_32::InsertTerm(space(), term.c_str(), posting);
  }
  int Delete(const std::string& term, const TifpItemPosting& posting) const {
    return velor_32::DeleteTerm(space(), term.c_str(), posting);
  }

  /// Code and term of a search, as "0 TERM".
  [[nodiscard]] std::string Find(const std::string& text) const { return Run(text, velor_32::Velorfind); }
  [[nodiscard]] std::string Next() const { return Run("", velor_32::Velornxtterm); }
  [[nodiscard]] std::string Previous() const { return Run("", velor_32::Velorprevterm); }

  /// The postings of the current term that were not read yet.
  [[nodiscard]] Postings ReadPostings() const {
    Postings postings;
    while (velor_32::Velornxtpost(space()) == 0) {
      const auto field = [&](int n) { return velor_32::Velorposting(space(), n); };
      EXPECT_TRUE(
          postings.insert({field(1), field(2), field(3), field(4), field(5), field(6), field(7), field(8)})
              .second);
    }
    return postings;
  }

  /// All terms that have postings, by walking through the dictionary. `countsHold` says that the number
  /// kept with a term must be that of its postings.
  [[nodiscard]] Model Read(bool countsHold = true) const {
    Model model;
    char term[velor_01::kTermBufferSize] = "\x01";
    for (int rc = velor_32::Velorfind0(space(), term, true); rc == 0 || rc == -202 || rc == -204;) {
      if (*term == '\0') break;
      Postings postings = ReadPostings();
      if (countsHold) {
        EXPECT_EQ(static_cast<int>(postings.size()), velor_32::Velornposts(space())) << term;
      }
      EXPECT_FALSE(model.contains(term)) << term;
      if (!postings.empty()) model[term] = std::move(postings);
      rc = velor_32::Velornxtterm(space(), term);
    }
    return model;
  }

 private:
  static std::string Shown(int rc, const char* term) { return std::to_string(rc) + " " + term; }
  std::string Run(const std::string& text, int (*call)(velor_32::TVelorSpace*, char*)) const {
    char term[velor_01::kTermBufferSize] = {};
    text.copy(term, sizeof term - 1);
    const int rc = call(space(), term);
    return Shown(rc, term);
  }

  TempDir dir_;
  MemorySpace memory_;
};

/// Terms short and long, with common beginnings, in two alphabets.
inline std::vector<std::string> MakeTerms(std::mt19937& random, int count) {
  std::set<std::string> terms = {"A", std::string(255, 'Z'), std::string(254, 'Z') + "Y", "Я", "К=КНИГА"};
  while (static_cast<int>(terms.size()) < count) {
    std::string term = random() % 2 == 0 ? "PREFIX=" : "К=";
    for (auto n = random() % 12; n > 0; --n)
      term += random() % 2 == 0 ? std::string(1, static_cast<char>('A' + random() % 26)) : "Ж";
    if (random() % 20 == 0) term += std::string(random() % 200, 'L');
    terms.insert(term.substr(0, 255));
  }
  return {terms.begin(), terms.end()};
}

/// Applies random changes to the dictionary and to the model.
inline void Change(Dictionary& dictionary, Model& model, const std::vector<std::string>& terms,
                   std::mt19937& random, int count) {
  const bool isFullText = dictionary.space()->isFullText;
  for (int i = 0; i < count; ++i) {
    // Few terms get most of the postings.
    const std::string& term = terms[std::min(random() % terms.size(), random() % terms.size())];
    TifpItemPosting posting{static_cast<int>(random() % 3000), 200, 1, static_cast<int>(random() % 3)};
    if (isFullText) posting.page = static_cast<int>(random() % 3);
    if (random() % 4 != 0) {
      ASSERT_EQ(dictionary.Insert(term, posting), 0) << term;
      model[term].insert(posting);
    } else {
      const bool isThere = model.contains(term) && !model[term].empty();
      const TifpItemPosting gone = isThere && random() % 2 == 0 ? *model[term].begin() : posting;
      const int rc = dictionary.Delete(term, gone);
      ASSERT_TRUE(rc == 0 || (rc == -203 && !isThere)) << term << " " << rc;
      if (model.contains(term)) model[term].erase(gone);
    }
  }
}

inline Model WithoutEmpty(Model model) {
  std::erase_if(model, [](const auto& item) { return item.second.empty(); });
  return model;
}

/// What the independent verifier finds wrong in the main index.
inline std::string Findings(const Dictionary& dictionary) {
  return SharedData().empty() ? "" : Problems(Verify(dictionary.path()));
}

}  // namespace test
