// Writes a file of made-up catalogue records in ISO 2709 form, about 1 kB each, the same for the same
// arguments:
//   make_corpus <file> <records> [seed]
// A record has some 25 fields with subfields opened by 1F hex, Russian and English words drawn so that few
// are frequent and many are rare.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using Fields = std::vector<std::pair<int, std::string>>;

class Corpus {
 public:
  explicit Corpus(unsigned seed) : random_(seed) {}

  Fields Record(int number) {
    Fields fields = {{1, "RU/CAT/" + std::to_string(number)}, {5, "20261124120000.0"}, {100, Coded()}};
    Add(&fields, 101, {{'a', Pick({"rus", "eng", "fre", "ger"})}});
    Add(&fields, 200, {{'a', Words(4)}, {'e', Words(5)}, {'f', Name()}});
    Add(&fields, 210,
        {{'a', Pick({"Москва", "London", "Санкт-Петербург", "Казань"})}, {'c', Words(2)}, {'d', Year()}});
    Add(&fields, 215, {{'a', std::to_string(20 + Next(900)) + " с."}});
    Add(&fields, 300, {{'a', Words(7)}});
    for (int i = 2 + Next(3); i > 0; --i) Add(&fields, 606, {{'a', Words(2)}, {'x', Words(1)}});
    for (int i = 4 + Next(5); i > 0; --i) Add(&fields, 610, {{'a', Words(1)}});
    Add(&fields, 675, {{'a', std::to_string(Next(1000)) + "." + std::to_string(Next(100))}});
    Add(&fields, 700, {{'a', Name()}, {'b', Initials()}});
    for (int i = Next(3); i > 0; --i) Add(&fields, 702, {{'a', Name()}, {'b', Initials()}, {'4', "730"}});
    Add(&fields, 801, {{'a', "RU"}, {'b', "CAT"}, {'c', Year() + "1124"}});
    for (int i = 1 + Next(4); i > 0; --i)
      Add(&fields, 910, {{'a', "0"}, {'b', std::to_string(1000000 + Next(9000000))}, {'d', Words(1)}});
    return fields;
  }

 private:
  int Next(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
  std::string Pick(const std::vector<const char*>& from) {
    return from[static_cast<std::size_t>(Next(static_cast<int>(from.size())))];
  }
  std::string Coded() { return Year() + "1124d" + Year() + "    |||y0rusy01020304ca"; }
  std::string Year() { return std::to_string(1900 + Next(126)); }
  std::string Initials() { return Pick({"А. С.", "И. В.", "J. R.", "М. И.", "W."}); }
  std::string Name() { return Word() + Pick({"ов", "ский", "son", "ин"}); }

  /// Syllables by the digits of a number that is small for frequent words.
  std::string Word() {
    static constexpr const char* kSyllables[2][16] = {
        {"ка", "та", "ло", "ги", "би", "бли", "о", "те", "кни", "ра", "ре", "по", "че", "ста", "но", "вы"},
        {"li", "bra", "ry", "ca", "ta", "log", "book", "read", "er", "in", "dex", "no", "ti", "on", "ing",
         "th"}};
    const int bits = Next(19);
    unsigned word = static_cast<unsigned>(random_()) & ((1U << bits) - 1);
    const auto& syllables = kSyllables[word % 3 == 0];
    std::string text;
    do text += syllables[word & 15];
    while ((word >>= 4) != 0);
    return text;
  }
  std::string Words(int count) {
    std::string text = Word();
    for (int i = Next(count) + count / 2; i > 0; --i) text += " " + Word();
    return text;
  }

  void Add(Fields* fields, int tag, const std::vector<std::pair<char, std::string>>& subfields) {
    std::string text = "  ";
    for (const auto& [code, value] : subfields) text += std::string("\x1F") + code + value;
    fields->emplace_back(tag, text);
  }

  std::mt19937 random_;
};

void AppendNumber(std::string* to, int digits, std::size_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*zu", digits, value);
  *to += text;
}

std::string IsoForm(const Fields& fields) {
  std::string directory;
  std::string data;
  for (const auto& [tag, text] : fields) {
    AppendNumber(&directory, 3, static_cast<std::size_t>(tag));
    AppendNumber(&directory, 4, text.size() + 1);
    AppendNumber(&directory, 5, data.size());
    data += text + '\x1E';
  }
  directory += '\x1E';
  std::string record;
  AppendNumber(&record, 5, 24 + directory.size() + data.size() + 1);
  record += "nam  22";
  AppendNumber(&record, 5, 24 + directory.size());
  return record + "   450 " + directory + data + '\x1D';
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s <file> <records> [seed]\n", argv[0]);
    return 2;
  }
  FILE* file = std::fopen(argv[1], "wb");
  if (!file) {
    std::perror(argv[1]);
    return 1;
  }
  Corpus corpus(argc > 3 ? static_cast<unsigned>(std::atoi(argv[3])) : 1);
  for (int i = 1; i <= std::atoi(argv[2]); ++i) {
    const std::string record = IsoForm(corpus.Record(i));
    std::fwrite(record.data(), 1, record.size(), file);
  }
  return std::fclose(file) == 0 ? 0 : 1;
}
