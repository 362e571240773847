// Where a server listens.
#pragma once

#include <optional>
#include <string>

namespace lumivane {

struct ListenAddress {
  std::string host;  ///< a name or address; empty: every address of the machine
  int port = 0;      ///< 0: one that is free
};

/// "127.0.0.1:8080", "[::1]:8080", "localhost:0", "*:8080"; "8080" and ":8080" are on 127.0.0.1.
std::optional<ListenAddress> ParseListenAddress(const std::string& text);

struct Listener {
  int descriptor = -1;    ///< non-blocking; the caller closes it
  std::string authority;  ///< the bound address, "127.0.0.1:40123"
  bool loopback = false;  ///< only this machine reaches it
};

/// A descriptor of -1, with one sentence, on failure.
Listener Listen(const ListenAddress& address, std::string* error);

}  // namespace lumivane
