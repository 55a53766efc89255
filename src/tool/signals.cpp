#include "tool/signals.h"

#include <csignal>

#include "storage/process.h"

namespace tool {
namespace {

void Install(int signal) {
  struct sigaction action = {};  // empty mask, no flags: a blocking call comes back with EINTR
  action.sa_handler = SignalHandler;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

bool HasDefaultHandler(int signal) {
  struct sigaction current = {};
  return sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_DFL;
}

}  // namespace

void SignalHandler(int signal) {
  if (signal == SIGINT || signal == SIGUSR1 || signal == SIGTERM) app::StopProcess = 1;
}

void SetupSignals() {
  for (int signal : {SIGUSR1, SIGTERM, SIGINT}) Install(signal);
  // A write that the system refuses is told by its result.
  for (int signal : {SIGPIPE, SIGXFSZ})
    if (HasDefaultHandler(signal)) Install(signal);
}

}  // namespace tool
