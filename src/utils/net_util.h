#pragma once

namespace utils {

/// The socket layer. Sockets need no set-up on this platform; the two calls frame a tool's run all the same,
/// so that the frame does not depend on that.
struct NetUtil {
  static void Init() {}
  static void Close() {}
};

}  // namespace utils
