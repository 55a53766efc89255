#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace testing_support {

/// What a run of the program left behind.
struct RunResult {
  int status = 0;  ///< exit status, or the negated number of the signal that ended the run
  std::string out;
  std::string err;
};

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

/// A temporary directory with the program in it, named "velora". The program looks for its INI file and
/// writes its log beside itself, so each test has its own. Removed with everything in it at the end of the
/// scope.
class ProgramDir {
 public:
  ProgramDir() {
    std::string name = std::filesystem::temp_directory_path() / "velora-test-XXXXXX";
    path_ = mkdtemp(name.data());
    std::error_code noLink;  // on another file system
    std::filesystem::create_hard_link(VELORA_PROGRAM, Path("velora"), noLink);
    if (noLink) std::filesystem::copy_file(VELORA_PROGRAM, Path("velora"));
  }
  ~ProgramDir() { std::filesystem::remove_all(path_); }
  ProgramDir(const ProgramDir&) = delete;
  ProgramDir& operator=(const ProgramDir&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string Path(const std::string& name) const { return path_ + "/" + name; }

  /// Writes a file, making the directories above it.
  void Write(const std::string& name, const std::string& content) const {
    std::filesystem::create_directories(std::filesystem::path(Path(name)).parent_path());
    std::ofstream(Path(name), std::ios::binary) << content;
  }
  [[nodiscard]] std::string Read(const std::string& name) const { return ReadFile(Path(name)); }
  [[nodiscard]] bool Exists(const std::string& name) const { return std::filesystem::exists(Path(name)); }

  /// Copies the starting installation: INI file, tables, databases.
  void CopyShare() const {
    std::filesystem::copy(VELORA_SOURCE_DIR "/share", path_, std::filesystem::copy_options::recursive);
  }

  /// Runs the program in this directory. `words` are those behind the program name.
  [[nodiscard]] RunResult Run(const std::vector<std::string>& words) const {
    const std::string out = Path(".stdout");
    const std::string err = Path(".stderr");
    const pid_t child = fork();
    if (child == 0) Execute(words, out, err);
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), ReadFile(out), ReadFile(err)};
  }

 private:
  [[noreturn]] void Execute(const std::vector<std::string>& words, const std::string& out,
                            const std::string& err) const {
    std::vector<char*> argv = {const_cast<char*>("velora")};
    for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
    dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    if (chdir(path_.c_str()) == 0) execv(Path("velora").c_str(), argv.data());
    _exit(126);
  }

  std::string path_;
};

}  // namespace testing_support
