#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace app {
struct VelorAppContext;
}

namespace velora {

/// Reads one CSV record, which may span lines. The separator is ";", the quote a double quote; a quoted field
/// keeps its line ends without CR, and two quotes in it stand for one. False at the end of the input or on a
/// stop request.
bool CSVStringToStringList(app::VelorAppContext* ctx, std::ifstream& stream, std::vector<std::string>& out);

/// Turns a CSV file into the text form of text_record.h: field n of a record becomes the tag n. False when a
/// file cannot be opened, read or written.
bool CSVtoTXT(app::VelorAppContext* ctx, const std::string& csvFile, const std::string& textFile);

}  // namespace velora
