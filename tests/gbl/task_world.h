#pragma once

#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "index/inv_context.h"
#include "storage/char_tables.h"
#include "storage/database_open.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/shelf.h"
#include "storage/term_update.h"
#include "support/format_installation.h"
#include "support/open_space.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"

namespace test {

/// The fields of a record on one line, "200 ^aOryx | 700 Roan"; "none" for a record without fields.
inline std::string ShowFields(const Fields& fields) {
  std::string shown;
  for (const auto& [tag, text] : fields) {
    std::string field = std::to_string(tag);
    if (!text.empty()) field += " " + text;
    utils::StringUtils::AppendList(shown, field, " | ");
  }
  return shown.empty() ? "none" : shown;
}

inline Fields ReadFields(const std::string& line) {
  Fields fields;
  if (line == "none") return fields;
  for (const std::string& field : utils::StringUtils::Split(line, " | ")) {
    const std::size_t blank = field.find(' ');
    fields.emplace_back(std::stoi(field), blank == std::string::npos ? "" : field.substr(blank + 1));
  }
  return fields;
}

/// A record of a space as "oryx.1: 200 ^aOryx", "oryx.1 deleted: ..." when it is.
inline std::string ShowRecord(const velor_01::TVelorSpace* space, int slot) {
  return utils::PathUtil::GetFileName(space->path) + "." + std::to_string(velor_32::Velormfn(space, slot)) +
         (velor_32::VelorIsDeleted(space, slot) ? " deleted: " : ": ") + ShowFields(FieldsOf(space, slot));
}

/// The databases that rows start from, as lines tell them, and the settings of the main ini:
///   oryx: 200 ^aOryx | 700 Roan   a record; the first one of "oryx" is corrected
///   oryx deleted: ...             the same, logically deleted; "oryx purged:" physically
///   version: ...                  a later version of the first record of "oryx"
///   term other ROAN 1.700.2       a term of the dictionary and its postings: mfn.tag.occurrence
///   ini MAXREPEAT=3
struct World {
  std::map<std::string, TestBase> bases = {{"oryx", {}}, {"other", {}}};
  struct Term {
    std::string database, text;
    std::vector<velor_01::TifpItemPosting> postings;
  };
  std::vector<Term> terms;
  std::string ini;
  std::uint32_t versions = 1;

  /// False when the line tells nothing of this.
  bool Take(const std::string& line) {
    const std::vector<std::string> words = utils::StringUtils::Split(line, ' ');
    if (line.starts_with("ini ")) {
      ini += line.substr(4) + "\n";
    } else if (words[0] == "term" && words.size() > 3) {
      TakeTerm(words);
    } else {
      return TakeRecord(line);
    }
    return true;
  }

 private:
  void TakeTerm(const std::vector<std::string>& words) {
    Term term = {words[1], words[2], {}};
    for (std::size_t i = 3; i < words.size(); ++i) {
      velor_01::TifpItemPosting posting{0, 0, 0, static_cast<int>(i)};
      if (std::sscanf(words[i].c_str(), "%d.%d.%d", &posting.mfn, &posting.tag, &posting.occ) == 3)
        term.postings.push_back(posting);
    }
    terms.push_back(term);
  }

  bool TakeRecord(const std::string& line) {
    const std::size_t colon = line.find(": ");
    const std::string head = line.substr(0, colon);
    const std::string name = head.substr(0, head.find(' '));
    if (head == "oryx purged:" || head == "other purged:") {
      bases[name].PhysicallyDeleted();
    } else if (colon == std::string::npos) {
      return false;
    } else if (head == "version") {
      bases["oryx"].Version(1, ReadFields(line.substr(colon + 2)), ++versions);
    } else if (head == "oryx" || head == "other") {
      bases[name].Record(ReadFields(line.substr(colon + 2)));
    } else if (head == "oryx deleted" || head == "other deleted") {
      bases[name].Record(ReadFields(line.substr(colon + 2)), 9, 41);
    } else {
      return false;
    }
    return true;
  }
};

/// An installation with the databases of a world, the first record of "oryx" waiting in a slot other than 0.
class WorldInstallation : public FormatInstallation {
 public:
  static constexpr int kSlot = 1;

  WorldInstallation(const World& world, bool isLazy) {
    indexing::InstallInvContext();
    Write("world.ini", "[MAIN]\nMULTILOAD=1\nDATAPATH=.\\DATAI\\\nLAZY_GLOBAL=" + std::to_string(isLazy) +
                           "\n" + world.ini);
    fmt_64::velor_MainIni_Init(ctx(), File("world.ini"));
    fmt_64::velor_uatab_init(ctx(), "", "", "", Path(), File("datai"));
    for (const auto& [name, base] : world.bases) WriteBase(name, base);
    for (const World::Term& term : world.terms) WriteTerm(term);
    std::ostringstream ignored;
    int result = 0;
    space_.reset(velor_server_proc::VelorOpenDb(ctx(), "oryx", ignored, &result));
    EXPECT_EQ(result, 0);
    result = velor_32::VelorRecord(space(), kSlot, 1);
    EXPECT_TRUE(result == 0 || result == -603) << result;
  }

  [[nodiscard]] velor_01::TVelorSpace* space() const { return space_.get(); }

 private:
  [[nodiscard]] std::string BasePath(const std::string& name) const {
    return File("datai/" + name + "/" + name);
  }
  void WriteBase(const std::string& name, const TestBase& base) const {
    std::string par;
    for (int n = 1; n <= 10; ++n) par += std::to_string(n) + "=.\\datai\\" + name + "\\\n";
    Write("datai/" + name + ".par", par);
    std::filesystem::create_directory(File("datai/" + name));
    base.WriteTo(BasePath(name));
  }
  void WriteTerm(const World::Term& term) const {
    const velor_32::SpacePointer base = OpenSpace(ctx(), BasePath(term.database));
    EXPECT_EQ(velor_32::Velorinitterm_write(base.get(), BasePath(term.database).c_str()), 0);
    for (const auto& posting : term.postings)
      EXPECT_EQ(velor_32::InsertTerm(base.get(), term.text.c_str(), posting), 0) << term.text;
  }

  velor_32::SpacePointer space_;
};

}  // namespace test
