#include "hosts/lumivane/HttpServer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>

#include "hosts/lumivane/HttpPage.h"
#include "hosts/lumivane/Progress.h"
#include "nlohmann/json.hpp"

namespace lumivane {
namespace {

constexpr char kBoundary[] = "lumivane-frame";
/// Connections besides the stream's readers: people who look at the page, and those still asking.
constexpr std::size_t kOtherConnections = 32;
/// What the system keeps of a stream for a slow reader: what lies there is old when it is read.
constexpr int kSendBufferBytes = 256 * 1024;
/// For a client to close after its answer, so that closing does not take the answer's end away.
constexpr double kLingerSeconds = 2;
constexpr double kSecondsWithoutDescriptors = 0.5;

}  // namespace

struct HttpServer::Client {
  enum Phase { kReading, kSending, kStreaming, kLingering };
  int descriptor = -1;
  Phase phase = kReading;
  double deadline = 0;  ///< of MonotonicSeconds()
  std::string request;
  // What is under way to it.
  std::string head;
  Bytes body;
  std::string tail;
  std::size_t sent = 0;
  std::uint64_t frame = 0;  ///< number of the last frame it was given
  bool ended = false;       ///< it says no more, but may still listen
  bool closed = false;

  std::size_t size() const { return head.size() + (body ? body->size() : 0) + tail.size(); }
};

std::unique_ptr<HttpServer> HttpServer::Start(const HttpOptions& options, std::string* error) {
  const Listener listener = Listen(options.listen, error);
  if (listener.descriptor < 0) return nullptr;
  const int wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (wake < 0) {
    *error = std::string("no event descriptor: ") + std::strerror(errno);
    close(listener.descriptor);
    return nullptr;
  }
  return std::unique_ptr<HttpServer>(new HttpServer(options, listener, wake));
}

HttpServer::HttpServer(const HttpOptions& options, const Listener& listener, int wake)
    : options_(options),
      listener_(listener),
      wake_(wake),
      url_("http://" + listener.authority + "/") {
  thread_ = std::thread([this] { Run(); });
}

HttpServer::~HttpServer() {
  Finish(0);
  close(listener_.descriptor);
  close(wake_);
}

void HttpServer::Finish(std::uint64_t) {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard<std::mutex> hold(lock_);
    stopping_ = true;
  }
  eventfd_write(wake_, 1);
  thread_.join();
}

void HttpServer::Offer(const StreamFrame& frame) {
  {
    const std::lock_guard<std::mutex> hold(lock_);
    newest_ = frame.picture;
    ++number_;
  }
  eventfd_write(wake_, 1);
}

void HttpServer::SetStatus(std::string json) {
  const std::lock_guard<std::mutex> hold(lock_);
  status_ = std::move(json);
}

SinkState HttpServer::state() const {
  const std::lock_guard<std::mutex> hold(lock_);
  return failed_ ? SinkState::kFailed : SinkState::kRunning;
}

std::string HttpServer::error() const {
  const std::lock_guard<std::mutex> hold(lock_);
  return error_;
}

SinkCounts HttpServer::counts() const {
  const std::lock_guard<std::mutex> hold(lock_);
  return counts_;
}

int HttpServer::clients() const {
  const std::lock_guard<std::mutex> hold(lock_);
  return streaming_;
}

int HttpServer::Streaming() const {
  int count = 0;
  for (const Client& client : clients_) count += client.phase == Client::kStreaming ? 1 : 0;
  return count;
}

void HttpServer::Run() {
  std::vector<pollfd> wait;
  for (;;) {
    const double now = MonotonicSeconds();
    double next = now + 60;
    wait.clear();
    wait.push_back({wake_, POLLIN, 0});
    wait.push_back({now < acceptAgain_ ? -1 : listener_.descriptor, POLLIN, 0});
    if (now < acceptAgain_) next = acceptAgain_;
    for (const Client& client : clients_) {
      const bool sends = client.sent < client.size();
      const int events = (client.ended ? 0 : POLLIN) | (sends ? POLLOUT : 0);
      wait.push_back({client.descriptor, static_cast<short>(events), 0});
      next = std::fmin(next, client.deadline);
    }
    const int milliseconds = static_cast<int>(std::ceil(1000 * std::fmax(0, next - now)));
    if (poll(wait.data(), wait.size(), milliseconds) < 0 && errno != EINTR) {
      const std::lock_guard<std::mutex> hold(lock_);
      failed_ = true;
      error_ = std::string("the server cannot wait: ") + std::strerror(errno);
      break;
    }
    eventfd_t events = 0;
    eventfd_read(wake_, &events);
    {
      const std::lock_guard<std::mutex> hold(lock_);
      if (stopping_) break;
      newestNumber_ = number_;
    }
    std::size_t at = 2;
    for (Client& client : clients_) {
      const short happened = wait[at++].revents;
      if ((happened & (POLLIN | POLLHUP | POLLERR)) != 0) Receive(client);
      Serve(client);
      if (!client.closed && MonotonicSeconds() >= client.deadline) {
        if (client.phase == Client::kReading && !client.request.empty()) {
          Refuse(client, 408, false);
          Send(client);
        } else {
          Close(client);
        }
      }
    }
    clients_.remove_if([](const Client& client) { return client.closed; });
    if (wait[1].revents != 0) Accept();
    const std::lock_guard<std::mutex> hold(lock_);
    streaming_ = Streaming();
  }
  for (Client& client : clients_) Close(client);
  clients_.clear();
}

void HttpServer::Accept() {
  for (;;) {
    const int descriptor =
        accept4(listener_.descriptor, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor < 0) {
      // Without descriptors a waiting connection would be reported over and over.
      if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
        acceptAgain_ = MonotonicSeconds() + kSecondsWithoutDescriptors;
      }
      if (errno == EINTR || errno == ECONNABORTED) continue;
      return;
    }
    if (clients_.size() >= static_cast<std::size_t>(options_.maxClients) + kOtherConnections) {
      close(descriptor);
      continue;
    }
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &kSendBufferBytes, sizeof(kSendBufferBytes));
    Client client;
    client.descriptor = descriptor;
    client.deadline = MonotonicSeconds() + options_.requestSeconds;
    clients_.push_back(std::move(client));
  }
}

void HttpServer::Serve(Client& client) {
  // Twice, since what is done with one piece is due the next at once: nothing would wake us for it.
  for (int i = 0; i < 2 && !client.closed; ++i) {
    if (client.phase == Client::kStreaming && client.sent == client.size()) NextPart(client);
    if (client.sent < client.size()) Send(client);
  }
}

void HttpServer::Close(Client& client) {
  if (!client.closed) close(client.descriptor);
  client.closed = true;
}

void HttpServer::Receive(Client& client) {
  char bytes[2048];
  const ssize_t n = recv(client.descriptor, bytes, sizeof(bytes), 0);
  if (n < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (n <= 0) {
    // Who asked for a picture and says no more still wants it; a stream nobody listens to ends.
    client.ended = n == 0 && client.phase == Client::kSending;
    if (client.ended) return;
    Close(client);
    return;
  }
  // What comes after the request is thrown away.
  if (client.phase != Client::kReading) return;
  client.request.append(
      bytes, std::min(static_cast<std::size_t>(n), kLargestRequest - client.request.size()));
  Answer(client);
}

void HttpServer::Answer(Client& client) {
  const HttpParse parse = ParseHttpRequest(
      client.request, listener_.loopback ? HostRule::kThisMachine : HostRule::kAny);
  if (parse.kind == HttpParse::kIncomplete) return;
  client.request.clear();
  if (parse.kind == HttpParse::kRefused) {
    Refuse(client, parse.status, parse.request.headOnly);
    return;
  }
  const HttpRequest& request = parse.request;
  if (request.path == "/stream.mjpg") {
    StartStream(client, request.headOnly);
  } else if (request.path == "/snapshot.jpg") {
    const Bytes jpeg = NewestJpeg();
    if (!jpeg) {
      Refuse(client, 503, request.headOnly);
    } else {
      Respond(client, 200, "image/jpeg", jpeg, request.headOnly);
    }
  } else if (request.path == "/status.json") {
    std::unique_lock<std::mutex> hold(lock_);
    nlohmann::ordered_json status = nlohmann::ordered_json::parse(status_);
    hold.unlock();
    status["clients"] = Streaming();
    Respond(client, 200, "application/json", std::make_shared<std::string>(status.dump(2) + "\n"),
            request.headOnly);
  } else if (const PageFile* file = FindPageFile(request.path)) {
    Respond(client, 200, file->type, std::make_shared<std::string>(file->bytes), request.headOnly);
  } else {
    Refuse(client, 404, request.headOnly);
  }
}

void HttpServer::Refuse(Client& client, int status, bool headOnly) {
  Respond(client, status, "text/plain; charset=utf-8",
          std::make_shared<std::string>(std::to_string(status) + " " + HttpReason(status) + "\n"),
          headOnly);
}

namespace {

std::string ResponseHead(int status, const std::string& type, bool loopback) {
  std::string head = "HTTP/1.1 " + std::to_string(status) + " " + HttpReason(status) +
                     "\r\nServer: lumivane\r\nConnection: close\r\nCache-Control: no-store\r\n"
                     "X-Content-Type-Options: nosniff\r\nReferrer-Policy: no-referrer\r\n"
                     "Content-Security-Policy: default-src 'none'; img-src 'self'; style-src "
                     "'self'; script-src 'self'; connect-src 'self'; frame-ancestors 'self'\r\n";
  // On this machine alone, pages of others are not to show the picture; a page of the network that
  // was let in may.
  if (loopback) head += "Cross-Origin-Resource-Policy: same-site\r\n";
  if (status == 405) head += "Allow: GET, HEAD\r\n";
  if (status == 503) head += "Retry-After: 2\r\n";
  return head + "Content-Type: " + type + "\r\n";
}

}  // namespace

void HttpServer::Respond(Client& client, int status, const char* type, Bytes body, bool headOnly) {
  client.phase = Client::kSending;
  client.deadline = MonotonicSeconds() + options_.progressSeconds;
  client.head = ResponseHead(status, type, listener_.loopback) +
                "Content-Length: " + std::to_string(body->size()) + "\r\n\r\n";
  client.body = headOnly ? nullptr : std::move(body);
  client.sent = 0;
}

void HttpServer::StartStream(Client& client, bool headOnly) {
  if (!headOnly && Streaming() >= options_.maxClients) {
    Refuse(client, 503, headOnly);
    return;
  }
  client.phase = headOnly ? Client::kSending : Client::kStreaming;
  client.deadline = MonotonicSeconds() + options_.progressSeconds;
  client.head = ResponseHead(200, std::string("multipart/x-mixed-replace; boundary=") + kBoundary,
                             listener_.loopback) +
                "\r\n";
  if (!headOnly) client.head += std::string("--") + kBoundary + "\r\n";
  client.sent = 0;
}

HttpServer::Bytes HttpServer::NewestJpeg() {
  std::shared_ptr<const Picture> picture;
  std::uint64_t number = 0;
  {
    const std::lock_guard<std::mutex> hold(lock_);
    picture = newest_;
    number = number_;
  }
  if (picture && (!jpeg_ || jpegNumber_ != number)) {
    std::string error;
    std::string bytes = encoder_.Encode(*picture, options_.quality, &error);
    if (bytes.empty()) {
      const std::lock_guard<std::mutex> hold(lock_);
      failed_ = true;
      error_ = "no JPEG: " + error;
      return nullptr;
    }
    jpeg_ = std::make_shared<std::string>(std::move(bytes));
    jpegNumber_ = number;
  }
  return jpeg_;
}

void HttpServer::NextPart(Client& client) {
  if (client.frame >= newestNumber_) {
    // It has everything there is: waiting for a frame is not its fault.
    client.deadline = MonotonicSeconds() + options_.progressSeconds;
    return;
  }
  const Bytes jpeg = NewestJpeg();
  if (!jpeg) return;
  client.head =
      "Content-Type: image/jpeg\r\nContent-Length: " + std::to_string(jpeg->size()) + "\r\n\r\n";
  client.body = jpeg;
  // With the next part's line at once: browsers show a part when they see its end.
  client.tail = std::string("\r\n--") + kBoundary + "\r\n";
  client.sent = 0;
  const std::lock_guard<std::mutex> hold(lock_);
  if (client.frame != 0) counts_.dropped += jpegNumber_ - client.frame - 1;
  ++counts_.written;
  client.frame = jpegNumber_;
}

void HttpServer::Send(Client& client) {
  const std::string_view pieces[] = {
      client.head, client.body ? std::string_view(*client.body) : std::string_view(), client.tail};
  iovec parts[3];
  int count = 0;
  std::size_t skip = client.sent;
  for (const std::string_view piece : pieces) {
    const std::size_t from = std::min(skip, piece.size());
    skip -= from;
    if (from < piece.size()) {
      parts[count++] = {const_cast<char*>(piece.data()) + from, piece.size() - from};
    }
  }
  msghdr message{};
  message.msg_iov = parts;
  message.msg_iovlen = static_cast<std::size_t>(count);
  const ssize_t n = sendmsg(client.descriptor, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
  if (n < 0) {
    if (errno != EAGAIN && errno != EINTR) Close(client);
    return;
  }
  client.sent += static_cast<std::size_t>(n);
  client.deadline = MonotonicSeconds() + options_.progressSeconds;
  if (client.sent == client.size() && client.phase == Client::kSending) SendDone(client);
}

void HttpServer::SendDone(Client& client) {
  client.phase = Client::kLingering;
  client.deadline = MonotonicSeconds() + kLingerSeconds;
  client.body.reset();
  client.head.clear();
  client.sent = 0;
  shutdown(client.descriptor, SHUT_WR);
}

}  // namespace lumivane
