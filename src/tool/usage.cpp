#include "tool/usage.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <string>

#include "utils/path_util.h"

namespace tool {
namespace {

struct ToolTitle {
  std::string_view word;
  std::string_view title;
};

// In the order of the overview, which is not quite that of the dispatcher.
constexpr ToolTitle kTitles[] = {
    {"actualif", "actualize database dictionary"},
    {"dict", "create database dictionary"},
    {"terms", "record terms only"},
    {"sort", "sort terms only"},
    {"loaddict", "load database dictionary only"},
    {"newdb", "create new database"},
    {"dropdb", "drop database"},
    {"webadddb", "make database available for web"},
    {"webdeldb", "make database unavailable for web"},
    {"lockdb", "lock database"},
    {"unlockdb", "unlock database"},
    {"unlockmfn", "unlock records by mfn range or list"},
    {"emptydb", "empty database fully"},
    {"emptyftdb", "empty fulltext database only"},
    {"import", "import records to database"},
    {"export", "export records from database"},
    {"global", "global correction"},
    {"batch", "batch command execution"},
    {"diagrec", "diagnose records"},
    {"diagrecft", "diagnose full text records"},
    {"diagmfn", "diagnose mst and xrf"},
    {"diaglnk", "diagnose dictionary"},
    {"reorgif", "reorganize inverted file"},
    {"reorgmf", "reorganize master file"},
    {"reorgexmf", "reorganize master file excluding deleted records (export / import)"},
    {"format", "compile and run formats for error checking"},
    {"ftcache", "build fulltext cache"},
    {"ftinput", "input full texts"},
    {"delcells", "clear facet cache"},
    {"cells", "build facet cache"},
    {"exportif", "export inverted file"},
    {"pdfclean", "clean pdf files"},
    {"fmtprint", "convert format file to minimized single line or pretty look with indentation"},
    {"fst2ifs", "fst file convertion from old fst format to new ifs"},
    {"diagmstxrf", "diagnose mst and xrf coincidence"},
    {"mergedb", "merge multiple databases into one without indexing"},
    {"cleanmtx", "clean record mutexes"},
};

constexpr std::string_view kIniAndDb = R"~(-i "ini file path" -d "database name")~";

constexpr std::string_view kIfRange =
    R"~(-i "ini file path" -d "database name" [-r mfn range from-to (or -mf mfn from and -mt mfn to) or )~"
    R"~(-l mfn list from file])~";

constexpr std::string_view kDictionary =
    R"~(-i "ini file path" -d "database name" [-c "catalog only" (2018+) or -f "full text only" (2018+)])~";

constexpr std::string_view kDiagRange =
    R"~(-i "ini file path" -d "database name" [-mf "mfn from, default 1" -mt "mfn to default last db mfn"])~";

struct ToolUsage {
  std::string_view word;
  std::string_view parameters;
  std::array<std::string_view, 4> examples;  // the first empty one ends them
};

constexpr ToolUsage kUsages[] = {
    {"actualif",
     kIfRange,
     {"actualif -i velora.ini -d oryx", "actualif -i velora.ini -d oryx -mf 1 -mt 100",
      "actualif -i velora.ini -d oryx -r 1-100", "actualif -i velora.ini -d oryx -l mfn_list.txt"}},
    {"batch", R"~(-i "ini file path" -f "batch scripting file")~", {"batch -i velora.ini -f script.ibf"}},
    {"cells", kIniAndDb, {"cells -i velora.ini -d oryx"}},
    {"cleanmtx", kIniAndDb, {"cleanmtx -i velora.ini -d oryx"}},
    {"delcells", kIniAndDb, {"delcells -i velora.ini -d oryx"}},
    {"diaglnk", kIniAndDb, {"diaglnk -i velora.ini -d oryx"}},
    {"diagmfn", kDiagRange, {"diagmfn -i velora.ini -d oryx", "diagmfn -i velora.ini -d oryx -mf 1 -mt 100"}},
    {"diagmstxrf",
     R"~(-i "ini file path" -d "database name" [-r "rebuild xrf if needed"])~",
     {"diagmstxrf -i velora.ini -d oryx", "diagmstxrf -i velora.ini -d oryx -r"}},
    {"diagrec",
     R"~(-i "ini file path" -d "database name" [-mf "mfn from, default 1" -mt "mfn to default last db mfn" )~"
     R"~(-k "check field encoding" -c "invalid character replacement" -r "remove invalid records" )~"
     R"~(-e "export invalid records" -v "export valid records"])~",
     {"diagrec -i velora.ini -d oryx", "diagrec -i velora.ini -d oryx -mf 1 -mt 100 -k -c -r -e -v"}},
    {"diagrecft",
     kDiagRange,
     {"diagrecft -i velora.ini -d oryx", "diagrecft -i velora.ini -d oryx -mf 1 -mt 100"}},
    {"dict", kDictionary, {"dict -i velora.ini -d oryx", "dict -i velora.ini -c -d oryx"}},
    {"dropdb", kIniAndDb, {"dropdb -i velora.ini -d dbtest"}},
    {"emptydb", kIniAndDb, {"emptydb -i velora.ini -d dbtest"}},
    {"emptyftdb", kIniAndDb, {"emptyftdb -i velora.ini -d dbtest"}},
    {"export",
     R"~(-i "ini file path" -d "database name" -f "output file with records" [-r mfn range from-to )~"
     R"~((or -mf mfn from, default 1 and -mt mfn to default last db mfn) or -l mfn list from file or )~"
     R"~(-se "search expr" or -sc "sequential search expr" -t "fst name or file path" -iso "output iso format" )~"
     R"~(-win "output windows encoding (default utf8)" -guid "export guid tags" -hdr "record header" )~"
     R"~(-flt "filter format"])~",
     {"export -i velora.ini -d dbtest -f test.txt -r 1-100",
      "export -i velora.ini -d dbtest -f test.iso -t umarciw -win -iso -mf 1 -mt 100",
      R"~(export -i velora.ini -d dbtest -f test.txt -l mfn_list.txt -sc "a(v955)")~"}},
    {"exportif", kIniAndDb, {"exportif -i velora.ini -d oryx"}},
    {"fmtprint",
     R"~(-if "input format path" -of "output format path" [-p "pretty print, default is single line printing"])~",
     {"fmtprint -if brief.pft -of brief_line.pft", "fmtprint -if brief.pft -of brief_pretty.pft -p"}},
    {"format",
     R"~(-i "ini file path" -d "database name" -src "directory with formats or file mask" )~"
     R"~([-rpt "generate report in csv format" -rptjson "generate report in json format" )~"
     R"~(-r mfn range from-to (or -mf mfn from, default 1 and -mt mfn to default last db mfn) or )~"
     R"~(-l mfn list from file or -se "search expr" or -sc "sequential search expr"])~",
     {"format -i velora.ini -d oryx -src *.pft -mf 1 -mt 10",
      "format -i velora.ini -d * -rpt -src *.pft -mf 1 -mt 10"}},
    {"fst2ifs",
     R"~(-i "ini file path" -d "database name" -if "input fst path" -of "output fst path")~",
     {"fstpath -i velora.ini -d oryx -if oryx.fst -of oryx.ifs"}},  // not this tool's word: kept
    {"ftcache",
     R"~(-i "ini file path" -d "database name" [-del "delete cache" -r mfn range from-to )~"
     R"~((or -mf mfn from, default 1 and -mt mfn to default last db mfn) or -l mfn list from file or )~"
     R"~(-se "search expr" or -sc "sequential search expr"])~",
     {"ftcache -i velora.ini -d oryx -r 1-100", "ftcache -i velora.ini -d oryx -del -l mfn_list.txt"}},
    {"ftinput",
     R"~(-i "ini file path" -d "database name" -src "directory with pdf files or file mask"])~",  // kept: the
                                                                                                  // "]"
     {"ftinput -i velora.ini -d dbtest -src *.pdf"}},
    {"global",
     R"~(-i "ini file path" -d "database name" -f "global correction file" [-c "formal logic control" -a "autoin" )~"
     R"~(-u "update inverted file" -lf "log file name" -r mfn range from-to )~"
     R"~((or -mf mfn from, default 1 and -mt mfn to default last db mfn) or -l mfn list from file or )~"
     R"~(-se "search expr" or -sc "sequential search expr"])~",
     {"global -i velora.ini -d dbtest -f test.gbl -u -mf 1 -mt 100",
      R"~(global -i velora.ini -d dbtest -f test.gbl -lf gbllog.txt -l mfn_list.txt -sc "a(v955)")~"}},
    {"import",
     R"~(-i "ini file path" -d "database name" -f "input file with records" [-t "fst name or file path" )~"
     R"~(-p "merge by pft" -g "merge by global correction" -iso "input iso format" -csv "input csv format" )~"
     R"~(-win "input windows encoding (default utf8)" -c "formal logic control" -a "autoin" )~"
     R"~(-k "check field encoding " -guid "import guid tags" -hdr "import header" )~"
     R"~(-pdel "reuse physically deleted mfns" -flt "filter format"])~",
     {"import -i velora.ini -d dbtest -f test.txt",
      "import -i velora.ini -d dbtest -f test.iso -t umarciw -p impsvk -win -guid -iso -c -a -k -pdel"}},
    {"loaddict", kDictionary, {"loaddict -i velora.ini -d oryx", "loaddict -i velora.ini -c -d oryx"}},
    {"lockdb", kIniAndDb, {"lockdb -i velora.ini -d oryx"}},
    {"mergedb",
     R"~(-i "ini file path" -src "source database name,source database name...." -dst "destination database name")~",
     {"mergedb -i velora.ini -src oryx,rdr -dst merge"}},
    {"newdb",
     R"~(-i "ini file path" -d "database name" [-f "database full name" -t template database name )~"
     R"~(-fr free db (no files from ORYX) -r for reader -w for reader web])~",
     {R"~(newdb -i velora.ini -d dbtest -f "Test database")~", "newdb -i velora.ini -d dbtest -fr"}},
    {"pdfclean",
     R"~(-i "ini file path" -src "source directory (or file name or mask) with pdf files" )~"
     R"~(-dst "target directory for saving pdf files")~",
     {"pdfclean -i velora.ini -src *.pdf -dst clean"}},
    {"recupdate",
     R"~(-i "ini file path" -d "database name" -if "input record path" -of "output report path" )~"
     R"~(-mstupdate "update master file" -ifupdate "update inverted file")~",
     {"recupdate -i velora.ini -d dbtest -if record.txt -of report.txt -mstupdate -updif"}},  // kept: no such
                                                                                              // option
    {"reorgexmf", kIniAndDb, {"reorgexmf -i velora.ini -d oryx"}},
    {"reorgif", kIniAndDb, {"reorgif -i velora.ini -d oryx"}},
    {"reorgmf", kIniAndDb, {"reorgmf -i velora.ini -d oryx"}},
    {"sort", kDictionary, {"sort -i velora.ini -d oryx", "sort -i velora.ini -c -d oryx"}},
    {"terms", kDictionary, {"terms -i velora.ini -d oryx", "terms -i velora.ini -c -d oryx"}},
    {"unlockdb", kIniAndDb, {"unlockdb -i velora.ini -d oryx"}},
    {"unlockmfn",
     kIfRange,
     {"unlockmfn -i velora.ini -d oryx", "unlockmfn -i velora.ini -d oryx -mf 1 -mt 100",
      "unlockmfn -i velora.ini -d oryx -r 1-100", "unlockmfn -i velora.ini -d oryx -l mfn_list.txt"}},
    {"webadddb",
     R"~(-i "ini file path" -d "database name" [-f "database full name"])~",
     {R"~(webadddb -i velora.ini -d dbtest -f "Test database")~"}},
    {"webdeldb", kIniAndDb, {"webdeldb -i velora.ini -d dbtest"}},
};
static_assert(std::ranges::adjacent_find(kUsages, std::ranges::greater_equal{}, &ToolUsage::word) ==
                  std::ranges::end(kUsages),
              "rows ascend, no word stands twice");

std::string ProgramName() {
  return utils::PathUtil::GetFileName(utils::PathUtil::GetExePathA());
}

}  // namespace

void usage(std::ostream& out) {
  out << "Usage:\n" << ProgramName() << " tool name, parameters\navailable tools: \n";
  for (const ToolTitle& row : kTitles) out << row.word << " - " << row.title << '\n';
}

void usage_tool(std::string_view word, std::ostream& out) {
  const auto row = std::ranges::lower_bound(kUsages, word, {}, &ToolUsage::word);
  if (row == std::ranges::end(kUsages) || row->word != word) return;

  const std::string program = ProgramName();
  out << "Usage:\n" << program << ' ' << row->word << ' ' << row->parameters << "\nExample: \n";
  for (std::string_view example : row->examples) {
    if (example.empty()) break;
    out << program << ' ' << example << '\n';
  }
}

}  // namespace tool
