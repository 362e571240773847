#include "hosts/lumivane/ListenAddress.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace lumivane {
namespace {

constexpr int kWaitingConnections = 64;

void Describe(const sockaddr_storage& bound, Listener* listener) {
  char text[INET6_ADDRSTRLEN] = "";
  if (bound.ss_family == AF_INET6) {
    const auto& address = reinterpret_cast<const sockaddr_in6&>(bound);
    inet_ntop(AF_INET6, &address.sin6_addr, text, sizeof(text));
    listener->loopback = IN6_IS_ADDR_LOOPBACK(&address.sin6_addr);
    listener->authority = "[" + std::string(text) + "]:" + std::to_string(ntohs(address.sin6_port));
    return;
  }
  const auto& address = reinterpret_cast<const sockaddr_in&>(bound);
  inet_ntop(AF_INET, &address.sin_addr, text, sizeof(text));
  listener->loopback = (ntohl(address.sin_addr.s_addr) >> 24) == 127;
  listener->authority = std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
}

}  // namespace

std::optional<ListenAddress> ParseListenAddress(const std::string& text) {
  ListenAddress address;
  const std::size_t colon = text.rfind(':');
  std::string host = colon == std::string::npos ? "" : text.substr(0, colon);
  const std::string port = colon == std::string::npos ? text : text.substr(colon + 1);
  if (port.empty() || port.size() > 5 ||
      port.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  address.port = std::stoi(port);
  if (address.port > 65535) return std::nullopt;
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
    host = host.substr(1, host.size() - 2);
  } else if (host.find_first_of(":[]") != std::string::npos) {
    return std::nullopt;
  }
  if (host.empty()) host = "127.0.0.1";
  if (host != "*") address.host = host;
  return address;
}

Listener Listen(const ListenAddress& address, std::string* error) {
  const std::string port = std::to_string(address.port);
  const std::string name = (address.host.empty() ? "*" : address.host) + ":" + port;
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const int status = getaddrinfo(address.host.empty() ? "0.0.0.0" : address.host.c_str(),
                                 port.c_str(), &hints, &found);
  if (status != 0) {
    *error = "--listen " + name + ": " + gai_strerror(status);
    return {};
  }
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> list(found, freeaddrinfo);
  int reason = 0;
  for (const addrinfo* place = found; place != nullptr; place = place->ai_next) {
    Listener listener;
    listener.descriptor = socket(place->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (listener.descriptor < 0) {
      reason = errno;
      continue;
    }
    const int on = 1;
    setsockopt(listener.descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    sockaddr_storage bound{};
    socklen_t size = sizeof(bound);
    if (bind(listener.descriptor, place->ai_addr, place->ai_addrlen) == 0 &&
        listen(listener.descriptor, kWaitingConnections) == 0 &&
        getsockname(listener.descriptor, reinterpret_cast<sockaddr*>(&bound), &size) == 0) {
      Describe(bound, &listener);
      return listener;
    }
    reason = errno;
    close(listener.descriptor);
  }
  *error = "--listen " + name + ": " + std::strerror(reason);
  if (reason == EADDRINUSE) *error += "; --listen 127.0.0.1:0 takes a free port";
  return {};
}

}  // namespace lumivane
