#pragma once

namespace tool {

/// Makes SIGINT, SIGTERM and SIGUSR1 raise the stop flag, and keeps a broken pipe or a limit on file sizes
/// from ending the process, unless somebody has chosen what SIGPIPE or SIGXFSZ does already.
void SetupSignals();

/// The handler: sets app::StopProcess for the three stop signals, does nothing for any other.
void SignalHandler(int signal);

}  // namespace tool
