// Searches of a whole file of queries by the library, to be timed beside peers:
//   search_queries <path of the database files> <queries> <hits>
// A query is a line of terms that must all match: "T:WORD" is the term T=WORD, "T:WORD*" all that begin with
// it. The numbers of hits go to <hits>, one a line; the rate to the standard output.

#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "search/search18.h"
#include "storage/app_context.h"
#include "storage/master_file.h"
#include "storage/term_files.h"

namespace {

struct ContextCloser {
  void operator()(app::VelorAppContext* context) const { app::velor_app_close(context); }
};

std::string Expression(const std::string& line) {
  std::istringstream words(line);
  std::string expression;
  for (std::string word; words >> word;) {
    if (word.size() < 3) continue;
    word[1] = '=';
    if (word.back() == '*') word.back() = '$';
    expression += (expression.empty() ? "" : " * ") + word;
  }
  return expression;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: %s <path of the database files> <queries> <hits>\n", argv[0]);
    return 2;
  }
  std::vector<std::string> expressions;
  std::ifstream queries(argv[2]);
  for (std::string line; std::getline(queries, line);) expressions.push_back(Expression(line));

  const auto start = std::chrono::steady_clock::now();
  const std::unique_ptr<app::VelorAppContext, ContextCloser> context(app::velor_app_init());
  const velor_32::SpacePointer space(velor_32::Velorinit(context.get()));
  if (velor_32::Velorinitmst(space.get(), argv[1], 1) != 0 ||
      velor_32::Velorinitterm(space.get(), argv[1]) != 0) {
    std::fprintf(stderr, "cannot open %s\n", argv[1]);
    return 1;
  }
  std::vector<int> hits;
  velor_01::TIntList found;
  for (const std::string& expression : expressions) {
    if (Search18::FreeVelorSearchNew(space.get(), expression, &found) != 0) return 1;
    hits.push_back(found.GetCount());
  }
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;

  std::ofstream out(argv[3]);
  for (const int count : hits) out << count << '\n';
  std::printf("queries/s %.0f\n", static_cast<double>(hits.size()) / time.count());
  return 0;
}
