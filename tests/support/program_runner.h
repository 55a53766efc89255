#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace test {

/// What a run of the program left behind.
struct RunResult {
  int status = 0;  ///< exit status, or the negated number of the signal that ended the run
  std::string out;
  std::string err;
};

/// A temporary directory with the program in it, named "velora". The program looks for its INI file and
/// writes its log beside itself, so each test has its own.
class ProgramDir : public TempDir {
 public:
  ProgramDir() {
    std::error_code noLink;  // on another file system
    std::filesystem::create_hard_link(VELORA_PROGRAM, File("velora"), noLink);
    if (noLink) std::filesystem::copy_file(VELORA_PROGRAM, File("velora"));
  }

  /// Copies the starting installation: INI file, tables, databases.
  void CopyShare() const {
    std::filesystem::copy(VELORA_SOURCE_DIR "/share", Path(), std::filesystem::copy_options::recursive);
  }

  /// Runs the program in this directory. `words` are those behind the program name.
  RunResult Run(const std::vector<std::string>& words) const {
    const int status = Wait(Start(words));
    return {status, Read(".stdout"), Read(".stderr")};
  }

  /// The same in two halves. What it writes goes to the files .stdout and .stderr in this directory.
  pid_t Start(const std::vector<std::string>& words) const {
    unlink(File(".stdout").c_str());  // what is there later comes from this run
    const pid_t child = fork();
    if (child == 0) Execute(words, File(".stdout"), File(".stderr"));
    return child;
  }
  static int Wait(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  [[noreturn]] void Execute(const std::vector<std::string>& words, const std::string& out,
                            const std::string& err) const {
    std::vector<char*> argv = {const_cast<char*>("velora")};
    for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
    dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    if (chdir(Path().c_str()) == 0) execv(File("velora").c_str(), argv.data());
    _exit(126);
  }
};

}  // namespace test
