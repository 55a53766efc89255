#include "exchange/csv.h"

#include "exchange/exchange_files.h"
#include "storage/app_context.h"

namespace velora {

namespace {

constexpr char kSeparator = ';';
constexpr char kQuote = '"';

/// Reads a quoted field up to its closing quote, over several lines if needed; `at` is behind the opening
/// quote, and is behind the closing one afterwards.
std::string ReadQuoted(std::ifstream& stream, std::string& line, std::size_t* at) {
  std::string field;
  while (true) {
    const std::size_t quote = line.find(kQuote, *at);
    field.append(line, *at, quote - *at);
    if (quote == std::string::npos) {
      *at = 0;
      if (!std::getline(stream, line)) {
        line.clear();
        break;
      }
      field.push_back('\n');
      continue;
    }
    *at = quote + 1;
    if (*at >= line.size() || line[*at] != kQuote) break;
    field.push_back(kQuote);
    ++*at;
  }
  std::erase(field, '\r');
  return field;
}

std::string ReadField(std::ifstream& stream, std::string& line, std::size_t* at) {
  std::string field;
  if (*at < line.size() && line[*at] == kQuote) {
    ++*at;
    field = ReadQuoted(stream, line, at);
  }
  const std::size_t end = line.find(kSeparator, *at);
  field.append(line, *at, end - *at);
  *at = end == std::string::npos ? line.size() : end;
  return field;
}

void RemoveLineEnd(std::string& line) {
  if (!line.empty() && line.back() == '\r') line.pop_back();
}

}  // namespace

bool CSVStringToStringList(app::VelorAppContext* ctx, std::ifstream& stream, std::vector<std::string>& out) {
  out.clear();
  std::string line;
  if (app::CheckStopProcess(ctx) || !std::getline(stream, line)) return false;
  std::size_t at = 0;
  while (true) {
    out.push_back(ReadField(stream, line, &at));
    if (at >= line.size()) break;
    ++at;  // the separator
  }
  RemoveLineEnd(out.back());
  return true;
}

bool CSVtoTXT(app::VelorAppContext* ctx, const std::string& csvFile, const std::string& textFile) {
  std::ifstream in(csvFile, std::ios::binary);
  std::ofstream out(textFile, std::ios::binary);
  if (!in || !out) return false;
  SkipByteOrderMark(in);
  std::vector<std::string> fields;
  while (CSVStringToStringList(ctx, in, fields)) {
    for (std::size_t n = 0; n < fields.size(); ++n) {
      for (char& c : fields[n])
        if (c == '\n') c = ' ';  // a line of the text form ends a field
      out << '#' << n + 1 << ": " << fields[n] << "\r\n";
    }
    out << "*****\r\n";
  }
  out.flush();
  return out.good() && !in.bad();
}

}  // namespace velora
