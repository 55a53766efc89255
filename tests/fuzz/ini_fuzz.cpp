// Both INI readers on any bytes. The text is divided by form feeds: the first part is the file, the others
// are the includes 0.ini, 1.ini and so on. What is checked: a written file reads back alike, and a flattened
// one answers alike.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "utils/ini_file.h"
#include "utils/mem_ini_file.h"
#include "utils/string_utils.h"

namespace {

using utils::IniFile;

void Require(bool holds) {
  if (!holds) std::abort();
}

std::string LinesOf(const velor_01::TStringList& list) {
  std::string text;
  for (const auto& item : list.Items()) text.append(item.text).append("\n");
  return text;
}

void RunIniFile(const std::vector<std::string>& parts) {
  const IniFile::Reader reader = [&](const std::string& name, std::string* text) {
    const std::size_t i = static_cast<std::size_t>(std::atoi(name.c_str())) + 1;
    if (i >= parts.size()) return false;
    *text = parts[i];
    return true;
  };
  const auto ini = IniFile::Parse(parts.front(), "fuzz.ini", reader);
  // Reading takes one byte-order mark and one line end at the end of the file away; repeated ones may go by
  // and by.
  const auto written = [](const IniFile& file) {
    const std::string text = file.ToText();
    return std::string(utils::StringUtils::Trim(text, "\xEF\xBB\xBF\r\n"));
  };
  Require(written(*IniFile::Parse(ini->ToText(), "fuzz.ini", reader)) == written(*ini));

  // Names for the look-ups come out of the text itself.
  auto words = utils::StringUtils::Split(parts.front(), '=');
  words.resize(std::min<std::size_t>(words.size(), 20));
  const auto flat = ini->FlattenFile();
  for (const std::string_view word : words) {
    const std::string_view key = utils::StringUtils::Trim(word.substr(0, 20));
    bool found = false;
    bool foundFlat = false;
    Require(ini->Get("s", key, "-", &found) == flat->Get("s", key, "-", &foundFlat) && found == foundFlat);
  }
  for (const std::string_view word : words) {
    const std::string_view key = utils::StringUtils::Trim(word.substr(0, 20));
    if (!ini->Put("s", key, ini->Get("s", key, "-") + "1")) continue;
    const std::string stored = ini->Get("s", key, "-");
    Require(IniFile::Parse(ini->ToText(), "fuzz.ini", reader)->Get("s", key, "-") == stored);
  }
  std::vector<std::string> lines;
  if (ini->GetSection("s", &lines)) Require(ini->PutSection("t", lines));
  ini->Merge(*flat, true);
}

void RunMemIniFile(const std::string& text) {
  velor_01::TStringList list;
  list.SetText(text);
  IniFiles::TMemIniFile ini;
  ini.SetStrings(list);
  velor_01::TStringList written;
  ini.GetStrings(&written);
  IniFiles::TMemIniFile again;
  again.SetStrings(written);
  velor_01::TStringList rewritten;
  again.GetStrings(&rewritten);
  Require(LinesOf(written) == LinesOf(rewritten));

  velor_01::TStringList sections;
  velor_01::TStringList keys;
  ini.ReadSections(&sections);
  for (int i = 0; i < sections.GetCount() && i < 20; ++i) {
    ini.ReadSection(sections.Get(i), &keys);
    for (int k = 0; k < keys.GetCount() && k < 20; ++k) {
      Require(ini.ValueExists(sections.Get(i), keys.Get(k)));
      ini.WriteInteger(sections.Get(i), keys.Get(k), i);
      Require(ini.ReadInteger(sections.Get(i), keys.Get(k), -1) == i);
      ini.DeleteKey(sections.Get(i), keys.Get(k));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  auto parts = utils::StringUtils::Split(text, '\f');
  if (parts.empty()) parts.emplace_back();
  RunIniFile(parts);
  RunMemIniFile(text);
  return 0;
}
