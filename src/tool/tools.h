#pragma once

// The run functions of the tools, in the order of the dispatcher. Each gets the whole command line: the
// tool's word is argv[1]. It reads its options, calls one procedure and gives the exit status: 0 once the
// command line was looked at, whatever the procedure reports.

namespace tool {

// index_tools.cpp
int main_actualif(int argc, char** argv);
int main_dict(int argc, char** argv);
int main_terms(int argc, char** argv);
int main_sort(int argc, char** argv);
int main_loaddict(int argc, char** argv);

// database_tools.cpp
int main_newdb(int argc, char** argv);
int main_dropdb(int argc, char** argv);
int main_webadddb(int argc, char** argv);
int main_webdeldb(int argc, char** argv);
int main_lockdb(int argc, char** argv);
int main_unlockdb(int argc, char** argv);
int main_unlockmfn(int argc, char** argv);
int main_emptydb(int argc, char** argv);
int main_emptyftdb(int argc, char** argv);

// record_tools.cpp
int main_import(int argc, char** argv);
int main_export(int argc, char** argv);
int main_global(int argc, char** argv);
int main_batch(int argc, char** argv);

// maintenance_tools.cpp
int main_diagrec(int argc, char** argv);
int main_diagrecft(int argc, char** argv);
int main_diagmfn(int argc, char** argv);
int main_diaglnk(int argc, char** argv);
int main_reorgif(int argc, char** argv);
int main_reorgmf(int argc, char** argv);
int main_reorgexmf(int argc, char** argv);

// format_tools.cpp
int main_format(int argc, char** argv);

// fulltext_tools.cpp
int main_ftinput(int argc, char** argv);
int main_ftcache(int argc, char** argv);

// index_tools.cpp
int main_delcells(int argc, char** argv);
int main_cells(int argc, char** argv);

// maintenance_tools.cpp
int main_exportif(int argc, char** argv);

// fulltext_tools.cpp
int main_pdfclean(int argc, char** argv);

// format_tools.cpp
int main_fmtprint(int argc, char** argv);
int main_fst2ifs(int argc, char** argv);

// record_tools.cpp
int main_recupdate(int argc, char** argv);

// maintenance_tools.cpp
int main_diagmstxrf(int argc, char** argv);
int main_mergedb(int argc, char** argv);

// index_tools.cpp; no user's tool: the bulk build of the dictionary starts it with the path of a job INI file
int main_multiload(int argc, char** argv);

// maintenance_tools.cpp
int main_cleanmtx(int argc, char** argv);

}  // namespace tool
