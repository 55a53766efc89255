#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "storage/velor_space.h"

/// Opening a database by its name. The parameter file <data path><name>.par says in which directory each kind
/// of file lives: lines "n=path" with n from 1, relative paths counting from the system directory.
namespace backup {

/// Directories of a database by kind of file; [0] record files, [1] term files, [9] field selection tables
/// and stop words, [10] texts where the parameter file names them. Each ends in "/".
constexpr std::size_t kRecordDirectory = 0;
constexpr std::size_t kTermDirectory = 1;
constexpr std::size_t kTableDirectory = 9;
constexpr std::size_t kTextDirectory = 10;

/// Reads the parameter file of `database`, which is folded to lower case. For a name of the form
/// "<name>--text" it becomes "text", and the directories become those of the companion. Result 0, or -5555
/// without a parameter file.
int OpenDb(std::string_view execDir, std::string_view dataPath, std::string* database,
           std::vector<std::string>* directories);

}  // namespace backup

namespace velor_32 {

/// Sets the alphabet and upper-case tables of a space from 256 bytes each; null leaves a table as it is.
void VelorInitUACTAB(TVelorSpace* space, const unsigned char* alphabet, const unsigned char* upcase);

}  // namespace velor_32

namespace velor_server_proc {

/// Opens a database with five shelves and its inverted file. Says so on `out` ("OpenDB <name> - Done") and in
/// the log. Null on failure, with the code in `result`: -5555 without main ini or parameter file, -100, -400,
/// -401. The caller closes the space with Velorclose.
[[nodiscard]] velor_01::TVelorSpace* VelorOpenDb(app::VelorAppContext* ctx, const std::string& database,
                                                 std::ostream& out, int* result);

/// A line in the log of the tools, whose name bears the application prefix.
void LogTool(std::string_view message);

}  // namespace velor_server_proc
