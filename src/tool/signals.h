#pragma once

namespace tool {

/// Makes SIGINT, SIGTERM and SIGUSR1 raise the stop flag, and keeps a broken pipe from ending the process
/// unless somebody has chosen what SIGPIPE does already.
void SetupSignals();

/// The handler: sets app::StopProcess for the three stop signals, does nothing for any other.
void SignalHandler(int signal);

}  // namespace tool
