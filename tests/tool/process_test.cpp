// What main sets up before a tool runs: the locale and the signals. Each test runs in a child of its own,
// since both belong to the process.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <filesystem>
#include <functional>

#include "storage/process.h"
#include "support/program_runner.h"
#include "tool/signals.h"
#include "tool/tool_locale.h"

namespace {

// Runs `check` in a child process; true when it gave true.
bool HoldsInChild(const std::function<bool()>& check) {
  const pid_t child = fork();
  if (child == 0) _exit(check() ? 0 : 1);
  return app::WaitProcess(child) == 0;
}

bool CyrillicLettersAreLetters() {
  return iswalpha(L'ж') && iswalpha(L'Ё') && !iswalpha(L'№') && iswalpha(L'z');
}

TEST(SetupLocale, FallsBackWhereTheMachineLacksEnglish) {
  EXPECT_TRUE(HoldsInChild([] {
    setenv("LOCPATH", "/nonexistent", 1);
    const char* name = tool::SetupLocale();
    return name == nullptr || (std::strcmp(name, "C.UTF-8") == 0 && CyrillicLettersAreLetters());
  }));
}

TEST(SetupLocale, TakesEnglishWhereItIsThere) {
  const test::ProgramDir dir;
  const std::string target = dir.File("en_US.UTF-8");
  const std::string command = "localedef -i en_US -f UTF-8 " + target + " >/dev/null 2>&1";
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "localedef cannot make en_US.UTF-8 here";
  EXPECT_TRUE(HoldsInChild([&] {
    setenv("LOCPATH", dir.Path().c_str(), 1);
    const char* name = tool::SetupLocale();
    return name != nullptr && std::strcmp(name, "en_US.UTF-8") == 0 && CyrillicLettersAreLetters();
  }));
}

TEST(SetupSignals, StopSignalsRaiseTheFlag) {
  for (int signal : {SIGINT, SIGTERM, SIGUSR1}) {
    SCOPED_TRACE(signal);
    EXPECT_TRUE(HoldsInChild([signal] {
      tool::SetupSignals();
      if (app::StopProcess != 0) return false;
      raise(signal);
      return app::StopProcess == 1;
    }));
  }
}

TEST(SetupSignals, ABrokenPipeChangesNothing) {
  EXPECT_TRUE(HoldsInChild([] {
    tool::SetupSignals();
    raise(SIGPIPE);
    return app::StopProcess == 0;
  }));
}

TEST(SetupSignals, KeepsAChoiceForTheBrokenPipe) {
  EXPECT_TRUE(HoldsInChild([] {
    std::signal(SIGPIPE, SIG_IGN);
    tool::SetupSignals();
    return std::signal(SIGPIPE, SIG_DFL) == SIG_IGN;
  }));
}

// A reader that goes away, as in "velora ... | head -1", does not end the tool by a signal.
TEST(Program, OutlivesItsReader) {
  const test::ProgramDir dir;
  const std::string program = dir.File("velora");
  int pipeEnds[2];
  ASSERT_EQ(pipe(pipeEnds), 0);
  close(pipeEnds[0]);
  const pid_t child = fork();
  if (child == 0) {
    dup2(pipeEnds[1], STDOUT_FILENO);
    execl(program.c_str(), "velora", "cells", static_cast<char*>(nullptr));
    _exit(126);
  }
  close(pipeEnds[1]);
  EXPECT_EQ(app::WaitProcess(child), 0);
}

TEST(WaitProcess, TellsHowTheChildEnded) {
  const pid_t quitting = fork();
  if (quitting == 0) _exit(200);
  EXPECT_EQ(app::WaitProcess(quitting), 200);

  const pid_t killed = fork();
  if (killed == 0) {
    pause();
    _exit(0);
  }
  kill(killed, SIGKILL);
  EXPECT_EQ(app::WaitProcess(killed), -SIGKILL);

  EXPECT_EQ(app::WaitProcess(killed), 127) << "there is no such child any more";
}

// The waiting parent gets a stop signal: it passes SIGINT on and still waits for the end.
TEST(WaitProcess, AFailedForkIsNoChild) {
  const pid_t other = fork();
  if (other == 0) _exit(3);
  EXPECT_EQ(app::WaitProcess(-1), 127);
  EXPECT_EQ(app::WaitProcess(0), 127);
  EXPECT_EQ(app::WaitProcess(other), 3) << "no other child was waited for";
}

TEST(WaitProcess, PassesAStopOnToTheChild) {
  EXPECT_TRUE(HoldsInChild([] {
    tool::SetupSignals();
    const pid_t parent = getpid();
    const pid_t worker = fork();
    if (worker == 0) {
      while (app::StopProcess == 0) {
        usleep(20000);
        kill(parent, SIGTERM);
      }
      _exit(42);
    }
    return app::WaitProcess(worker) == 42;
  }));
}

}  // namespace
