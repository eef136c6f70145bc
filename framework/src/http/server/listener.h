#pragma once

#include <cstdint>
#include <string>

namespace fw::http {

/// A socket that listens on 127.0.0.1.
struct Listener {
  int socket = -1;         ///< the caller's; -1 when it could not be opened
  std::uint16_t port = 0;  ///< the one that it is bound to
  std::string error;       ///< why there is none, for people
};

/// Opens a listening socket; port 0 takes any free port.
Listener openListener(std::uint16_t port);

}  // namespace fw::http
