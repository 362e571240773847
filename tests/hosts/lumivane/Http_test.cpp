// The HTTP server of `lumivane stream`: what it answers, whom it refuses, and who cannot hold it.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/HttpServer.h"
#include "hosts/lumivane/Progress.h"
#include "nlohmann/json.hpp"
#include "platform/ImageIO/ImageData.h"
#include "tests/hosts/lumivane/PictureTools.h"
#include "tests/support/RunningProgram.h"

namespace {

using lumivane::HostRule;
using lumivane::HttpParse;
using lumivane::HttpServer;
using lumivane::ListenAddress;
using lumivane::ParseHttpRequest;
using lumivane::ParseListenAddress;
using lumivane::Picture;
using nlohmann::json;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

// ---- Requests

HttpParse Parse(const std::string& bytes, HostRule rule = HostRule::kThisMachine) {
  return ParseHttpRequest(bytes, rule);
}

int StatusOf(const std::string& bytes, HostRule rule = HostRule::kThisMachine) {
  const HttpParse parse = Parse(bytes, rule);
  if (parse.kind == HttpParse::kIncomplete) return 0;
  return parse.kind == HttpParse::kRequest ? 200 : parse.status;
}

TEST(HttpRequest, IsReadWithItsPath) {
  const HttpParse get = Parse("GET /stream.mjpg?17#x HTTP/1.1\r\nHost: localhost:8080\r\n\r\n");
  ASSERT_EQ(get.kind, HttpParse::kRequest);
  EXPECT_EQ(get.request.path, "/stream.mjpg");
  EXPECT_FALSE(get.request.headOnly);
  EXPECT_TRUE(Parse("HEAD / HTTP/1.1\r\nHost: localhost\r\n\r\n").request.headOnly);
  EXPECT_EQ(Parse("GET / HTTP/1.0\r\n\r\n").request.path, "/") << "no host was usual once";
  EXPECT_EQ(Parse("\r\nGET / HTTP/1.0\r\n\r\n").kind, HttpParse::kRequest);
  EXPECT_EQ(Parse("GET http://localhost/a?b HTTP/1.1\r\nHost: x\r\n\r\n").request.path, "/a");
  EXPECT_EQ(Parse("GET http://localhost HTTP/1.1\r\nHost: x\r\n\r\n").request.path, "/");
}

TEST(HttpRequest, IsWaitedForAsLongAsItMayBecomeOne) {
  const std::string whole = "GET /page.css HTTP/1.1\r\nHost: 127.0.0.1\r\nAccept: */*\r\n\r\n";
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(StatusOf(whole.substr(0, size)), 0) << size;
  }
  EXPECT_EQ(StatusOf(whole), 200);
  EXPECT_EQ(StatusOf(whole + "more"), 200);
}

TEST(HttpRequest, OthersAreRefused) {
  const std::string host = "Host: localhost\r\n";
  const std::string end = "\r\n\r\n";
  EXPECT_EQ(StatusOf("POST / HTTP/1.1\r\n" + host + end), 405);
  EXPECT_EQ(StatusOf("DELETE / HTTP/1.1\r\n" + host + "\r\n"), 405);
  EXPECT_EQ(StatusOf("GET / HTTP/2.0\r\n" + host + "\r\n"), 505);
  for (const char* line :
       {"GET /", "GET  / HTTP/1.1", "GET / HTTP/1.1 ", " GET / HTTP/1.1", "GET / http/1.1",
        "GET / HTTP/1", "GET /\x01 HTTP/1.1", "GET /\xFF HTTP/1.1", "G(T / HTTP/1.1", "GET",
        "GET x HTTP/1.1", "GET * HTTP/1.1", "", "\x16\x03\x01 tls"}) {
    EXPECT_EQ(StatusOf(line + ("\r\n" + host) + "\r\n"), 400) << line;
  }
  for (const char* field :
       {"Host: localhost\r\nHost: localhost\r\n", "", "Host : localhost\r\n", "Host\r\n",
        "Host: localhost\r\n folded: x\r\n", "Host: localhost\r\n: x\r\n",
        "Host: localhost\r\nA: \x01\r\n", "Host: localhost\r\nContent-Length: 5\r\n",
        "Host: localhost\r\nTransfer-Encoding: chunked\r\n"}) {
    EXPECT_EQ(StatusOf(std::string("GET / HTTP/1.1\r\n") + field + "\r\n"), 400) << field;
  }
  EXPECT_EQ(StatusOf(std::string("GET / HTTP/1.1\r\nHost: local") + '\0' + "host\r\n\r\n"), 400);
  EXPECT_EQ(StatusOf(std::string("\0\0\0\0", 4)), 400) << "no more need be waited for";
}

TEST(HttpRequest, SizesAreBounded) {
  const std::string longPath(lumivane::kLongestTarget - 1, 'a');
  EXPECT_EQ(StatusOf("GET /" + longPath + " HTTP/1.0\r\n\r\n"), 200);
  EXPECT_EQ(StatusOf("GET /a" + longPath + " HTTP/1.0\r\n\r\n"), 414);
  EXPECT_EQ(StatusOf("GET /" + std::string(3000, 'a')), 414);
  EXPECT_EQ(StatusOf(std::string(3000, 'a')), 400);
  const std::string start = "GET / HTTP/1.1\r\nHost: localhost\r\nA: ";
  EXPECT_EQ(StatusOf(start + std::string(lumivane::kLargestRequest - start.size(), 'a')), 431);
  std::string many = "GET / HTTP/1.1\r\nHost: localhost\r\n";
  for (int i = 0; i < 99; ++i) many += "A: b\r\n";
  EXPECT_EQ(StatusOf(many + "\r\n"), 200);
  EXPECT_EQ(StatusOf(many + "A: b\r\n\r\n"), 431);
}

TEST(HttpRequest, OnlyThisMachinesNamesAreMeant) {
  const auto status = [](const std::string& host, HostRule rule = HostRule::kThisMachine) {
    return StatusOf("GET / HTTP/1.1\r\nHost: " + host + "\r\n\r\n", rule);
  };
  for (const char* host :
       {"localhost", "LOCALHOST:1", "127.0.0.1", "127.1.2.3:8080", "[::1]", "[::1]:8080"}) {
    EXPECT_EQ(status(host), 200) << host;
  }
  for (const char* host : {"example.com", "127.0.0.1.example.com", "localhost.example.com",
                           "10.0.0.1", "[::2]", "", "localhost:x", "127.0.0.256", "0.0.0.0"}) {
    EXPECT_EQ(status(host), 421) << host;
    EXPECT_EQ(status(host, HostRule::kAny), 200) << host;
  }
  EXPECT_EQ(StatusOf("GET http://example.com/ HTTP/1.1\r\nHost: localhost\r\n\r\n"), 421);
}

TEST(HttpRequest, PagesOfOtherSitesMayLinkHereButNotLook) {
  const std::string from = "Host: localhost\r\nSec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: ";
  EXPECT_EQ(StatusOf("GET / HTTP/1.1\r\n" + from + "no-cors\r\n\r\n"), 403);
  EXPECT_EQ(StatusOf("GET / HTTP/1.1\r\n" + from + "navigate\r\n\r\n"), 200);
  EXPECT_EQ(StatusOf("GET / HTTP/1.1\r\n" + from + "no-cors\r\n\r\n", HostRule::kAny), 200);
}

TEST(ListenAddress, HasAHostAndAPort) {
  const auto text = [](const std::string& given) {
    const auto address = ParseListenAddress(given);
    return address ? address->host + "|" + std::to_string(address->port) : "bad";
  };
  EXPECT_EQ(text("127.0.0.1:8080"), "127.0.0.1|8080");
  EXPECT_EQ(text("[::1]:0"), "::1|0");
  EXPECT_EQ(text("localhost:65535"), "localhost|65535");
  EXPECT_EQ(text("*:80"), "|80");
  EXPECT_EQ(text(":80"), "127.0.0.1|80");
  EXPECT_EQ(text("80"), "127.0.0.1|80");
  for (const char* bad :
       {"", ":", "host", "host:", "host:x", "host:65536", "::1:80", "a:-1", "a:123456", "[::1]"}) {
    EXPECT_EQ(text(bad), "bad") << bad;
  }
}

// ---- A server in this process

/// One connection. Reads wait for at most a minute, so that a fault is a failure and not a hang.
class Connection {
 public:
  explicit Connection(const std::string& url, int receiveBuffer = 0) {
    const std::size_t colon = url.rfind(':');
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<std::uint16_t>(std::stoi(url.substr(colon + 1))));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (receiveBuffer > 0) {
      setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof(receiveBuffer));
    }
    const timeval minute = {60, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &minute, sizeof(minute));
    EXPECT_EQ(connect(socket_, reinterpret_cast<const sockaddr*>(&to), sizeof(to)), 0);
  }
  ~Connection() { close(socket_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// False when the server does not take it.
  bool Say(const std::string& bytes) {
    return send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
  }
  void Ask(const std::string& path) { Say("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n"); }
  void SayNoMore() { shutdown(socket_, SHUT_WR); }

  /// Up to and with `end`; what came when the connection ends before.
  std::string ReadTo(const std::string& end) {
    std::size_t at = 0;
    while ((at = read_.find(end)) == std::string::npos) {
      if (!More()) return std::exchange(read_, {});
    }
    std::string text = read_.substr(0, at + end.size());
    read_.erase(0, at + end.size());
    return text;
  }
  std::string ReadBytes(std::size_t count) {
    while (read_.size() < count && More()) continue;
    std::string text = read_.substr(0, count);
    read_.erase(0, count);
    return text;
  }
  std::string ReadAll() {
    while (More()) continue;
    return std::exchange(read_, {});
  }
  /// A part of the stream: its JPEG.
  std::string ReadPart() {
    const std::string head = ReadTo("\r\n\r\n");
    EXPECT_THAT(head, StartsWith("Content-Type: image/jpeg\r\nContent-Length: "));
    const std::size_t size = std::stoul("0" + head.substr(head.rfind(' ') + 1));
    std::string jpeg = ReadBytes(size);
    EXPECT_EQ(ReadTo("--lumivane-frame\r\n"), "\r\n--lumivane-frame\r\n");
    return jpeg;
  }

 private:
  bool More() {
    char bytes[65536];
    const ssize_t n = recv(socket_, bytes, sizeof(bytes), 0);
    if (n > 0) read_.append(bytes, static_cast<std::size_t>(n));
    return n > 0;
  }

  int socket_;
  std::string read_;
};

bool IsJpeg(const std::string& bytes, std::size_t width, std::size_t height) {
  const ImageIODecoded decoded =
      ImageIODecode({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
  if (decoded.image == nullptr) return false;
  const bool ok = decoded.complete && decoded.format == ImageIOFormat::kJPEG &&
                  CGImageGetWidth(decoded.image) == width &&
                  CGImageGetHeight(decoded.image) == height;
  CGImageRelease(decoded.image);
  return ok;
}

class Server : public ::testing::Test {
 protected:
  void Start(lumivane::HttpOptions options = {}) {
    options.listen = {"127.0.0.1", 0};
    std::string error;
    server_ = HttpServer::Start(options, &error);
    ASSERT_TRUE(server_) << error;
    server_->SetStatus(R"({"state":"LIVE"})");
  }

  /// Noise, which JPEG cannot make small.
  void Offer(int width = 64, int height = 48) {
    Picture picture{width, height, {}};
    picture.rgba.resize(4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (std::uint8_t& byte : picture.rgba) byte = static_cast<std::uint8_t>(random_());
    server_->Offer({tick_++, std::make_shared<Picture>(std::move(picture))});
  }

  std::string Get(const std::string& path) {
    Connection connection(server_->url());
    connection.Ask(path);
    return connection.ReadAll();
  }

  std::unique_ptr<HttpServer> server_;
  std::mt19937 random_{1};
  std::uint64_t tick_ = 0;
};

TEST_F(Server, AnswersWithThePageTheStateAndPictures) {
  Start();
  EXPECT_THAT(server_->url(), StartsWith("http://127.0.0.1:"));
  EXPECT_THAT(Get("/snapshot.jpg"), StartsWith("HTTP/1.1 503 ")) << "there is no frame yet";
  Offer();
  const std::string page = Get("/");
  EXPECT_THAT(page, StartsWith("HTTP/1.1 200 OK\r\n"));
  EXPECT_THAT(page, HasSubstr("Content-Type: text/html; charset=utf-8\r\n"));
  EXPECT_THAT(page, HasSubstr("src=\"stream.mjpg\""));
  EXPECT_THAT(page, Not(HasSubstr("http://"))) << "nothing from elsewhere";
  EXPECT_THAT(page, Not(HasSubstr("https://")));
  EXPECT_THAT(page, HasSubstr("Cross-Origin-Resource-Policy: same-site\r\n"));
  for (const char* path : {"/page.css", "/page.js", "/icon.svg"}) {
    EXPECT_THAT(Get(path), StartsWith("HTTP/1.1 200 OK\r\n")) << path;
  }
  const std::string status = Get("/status.json");
  const json state = json::parse(status.substr(status.find("\r\n\r\n")));
  EXPECT_EQ(state["state"], "LIVE");
  EXPECT_EQ(state["clients"], 0);
  const std::string snapshot = Get("/snapshot.jpg?1");
  EXPECT_TRUE(IsJpeg(snapshot.substr(snapshot.find("\r\n\r\n") + 4), 64, 48));
  EXPECT_THAT(Get("/../etc/passwd"), StartsWith("HTTP/1.1 404 "));
}

TEST_F(Server, AnswersHeadWithoutABody) {
  Start();
  Offer();
  for (const char* path : {"/", "/stream.mjpg", "/snapshot.jpg"}) {
    Connection connection(server_->url());
    connection.Say(std::string("HEAD ") + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
    const std::string answer = connection.ReadAll();
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_EQ(answer.find("\r\n\r\n"), answer.size() - 4) << path;
  }
  // A refusal has none either; its length is that of the one to GET.
  for (const char* request :
       {"HEAD /nowhere HTTP/1.1\r\nHost: localhost\r\n\r\n",
        "HEAD / HTTP/1.1\r\nHost: evil.example\r\n\r\n", "HEAD / HTTP/1.1\r\n\r\n"}) {
    Connection connection(server_->url());
    connection.Say(request);
    const std::string answer = connection.ReadAll();
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 4")) << request;
    EXPECT_EQ(answer.find("\r\n\r\n"), answer.size() - 4) << request;
  }
}

TEST_F(Server, GivesEachReaderWholeNewFrames) {
  Start();
  Offer();
  std::vector<std::unique_ptr<Connection>> readers;
  for (int i = 0; i < 3; ++i) {
    readers.push_back(std::make_unique<Connection>(server_->url()));
    readers.back()->Ask("/stream.mjpg");
    EXPECT_THAT(readers.back()->ReadTo("\r\n\r\n"),
                HasSubstr("multipart/x-mixed-replace; boundary=lumivane-frame"));
    EXPECT_EQ(readers.back()->ReadTo("\r\n"), "--lumivane-frame\r\n");
  }
  std::string last;
  for (int frame = 0; frame < 5; ++frame) {
    std::string jpeg;
    for (const auto& reader : readers) {
      const std::string part = reader->ReadPart();
      EXPECT_TRUE(IsJpeg(part, 64, 48));
      EXPECT_TRUE(jpeg.empty() || part == jpeg) << "the same for all";
      jpeg = part;
    }
    EXPECT_NE(jpeg, last) << "and new";
    last = jpeg;
    Offer();
  }
  EXPECT_EQ(server_->counts().dropped, 0u);
}

TEST_F(Server, ASlowReaderHoldsNobody) {
  Start();
  Connection slow(server_->url(), 4096);
  slow.Ask("/stream.mjpg");
  slow.ReadTo("--lumivane-frame\r\n");
  Connection quick(server_->url());
  quick.Ask("/stream.mjpg");
  quick.ReadTo("--lumivane-frame\r\n");
  // Far more than the system keeps for one that does not read.
  constexpr int kFrames = 40;
  for (int frame = 0; frame < kFrames; ++frame) {
    Offer(320, 240);
    EXPECT_TRUE(IsJpeg(quick.ReadPart(), 320, 240));
  }
  EXPECT_GT(server_->counts().written, 40u);
  // What it gets at last is whole, and soon it is the newest.
  std::string part = slow.ReadPart();
  EXPECT_TRUE(IsJpeg(part, 320, 240));
  Offer(64, 48);
  int behind = 0;
  while (!IsJpeg(part, 64, 48) && behind < kFrames) {
    part = slow.ReadPart();
    ++behind;
  }
  EXPECT_LT(behind, kFrames / 2) << "the frames it was too slow for are left out";
  EXPECT_GT(server_->counts().dropped, 0u);
}

TEST_F(Server, ReadersThatLeaveAreForgotten) {
  Start();
  Offer();
  {
    Connection one(server_->url());
    Connection two(server_->url());
    one.Ask("/stream.mjpg");
    two.Ask("/stream.mjpg");
    one.ReadTo("--lumivane-frame\r\n");
    two.ReadTo("--lumivane-frame\r\n");
    while (server_->clients() != 2) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  while (server_->clients() != 0) {
    Offer();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_THAT(Get("/"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(Server, TakesNoMoreReadersThanItIsTold) {
  lumivane::HttpOptions options;
  options.maxClients = 1;
  Start(options);
  Offer();
  Connection one(server_->url());
  one.Ask("/stream.mjpg");
  one.ReadTo("--lumivane-frame\r\n");
  EXPECT_THAT(Get("/stream.mjpg"), StartsWith("HTTP/1.1 503 "));
  EXPECT_THAT(Get("/snapshot.jpg"), StartsWith("HTTP/1.1 200 ")) << "single pictures go on";
}

TEST_F(Server, TakesNoMoreConnectionsThanItCanHold) {
  lumivane::HttpOptions options;
  options.maxClients = 1;
  Start(options);
  Offer();
  std::vector<std::unique_ptr<Connection>> idle;
  for (int i = 0; i < 100; ++i) idle.push_back(std::make_unique<Connection>(server_->url()));
  EXPECT_EQ(idle.back()->ReadAll(), "") << "closed at once";
  idle.front()->Ask("/");
  EXPECT_THAT(idle.front()->ReadAll(), StartsWith("HTTP/1.1 200 ")) << "those it has are served";
  idle.clear();
  std::string answer;
  while (answer.empty()) answer = Get("/");
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 "));
}

TEST_F(Server, RefusesBadRequestsAndGoesOn) {
  Start();
  Offer();
  const auto say = [this](const std::string& bytes) {
    Connection connection(server_->url());
    connection.Say(bytes);
    return connection.ReadAll();
  };
  EXPECT_THAT(say("nonsense\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
  EXPECT_THAT(say(std::string(1 << 20, 'x')), AnyOf(StartsWith("HTTP/1.1 400 "), IsEmpty()));
  EXPECT_THAT(say("GET / HTTP/1.1\r\nA: " + std::string(9000, 'x')),
              AnyOf(StartsWith("HTTP/1.1 431 "), IsEmpty()));
  EXPECT_THAT(say("GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n"), StartsWith("HTTP/1.1 421 "));
  const std::string post =
      say("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3\r\n\r\nabc");
  EXPECT_THAT(post, AnyOf(StartsWith("HTTP/1.1 405 "), StartsWith("HTTP/1.1 400 ")));
  std::mt19937 random(7);
  for (int i = 0; i < 50; ++i) {
    std::string noise(200, ' ');
    for (char& c : noise) c = static_cast<char>(random());
    Connection connection(server_->url());
    connection.Say(noise);
    connection.SayNoMore();
    connection.ReadAll();
  }
  EXPECT_THAT(Get("/"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(Server, LetsGoOfThoseWhoTakeTheirTimeToAsk) {
  lumivane::HttpOptions options;
  options.requestSeconds = 0.3;
  Start(options);
  Offer();
  Connection silent(server_->url());
  Connection slow(server_->url());
  const double start = lumivane::MonotonicSeconds();
  slow.Say("GET / HT");
  // A byte now and then does not win more time.
  std::thread drip([&slow] {
    for (int i = 0; i < 100 && slow.Say("T"); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  });
  EXPECT_EQ(silent.ReadAll(), "");
  EXPECT_THAT(slow.ReadAll(),
              AnyOf(StartsWith("HTTP/1.1 408 "), StartsWith("HTTP/1.1 400 "), IsEmpty()));
  EXPECT_GE(lumivane::MonotonicSeconds() - start, 0.25);
  drip.join();
  EXPECT_THAT(Get("/"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(Server, LetsGoOfAReaderThatTakesNothing) {
  lumivane::HttpOptions options;
  options.progressSeconds = 0.3;
  Start(options);
  Connection stuck(server_->url(), 4096);
  stuck.Ask("/stream.mjpg");
  stuck.ReadTo("--lumivane-frame\r\n");
  while (server_->clients() == 0) {
    Offer(320, 240);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  while (server_->clients() != 0) {
    Offer(320, 240);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

TEST_F(Server, AnswersOneThatSaysNoMore) {
  Start();
  Offer();
  Connection connection(server_->url());
  connection.Ask("/snapshot.jpg");
  connection.SayNoMore();
  const std::string answer = connection.ReadAll();
  EXPECT_TRUE(IsJpeg(answer.substr(answer.find("\r\n\r\n") + 4), 64, 48));
}

TEST_F(Server, WaitsWhenThereAreNoDescriptors) {
  Start();
  Offer();
  Connection reader(server_->url());
  reader.Ask("/stream.mjpg");
  reader.ReadTo("--lumivane-frame\r\n");
  EXPECT_TRUE(IsJpeg(reader.ReadPart(), 64, 48));
  rlimit old{};
  getrlimit(RLIMIT_NOFILE, &old);
  const int lowest = dup(0);
  close(lowest);
  const rlimit one = {static_cast<rlim_t>(lowest + 1), old.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &one), 0);
  // The last descriptor is this end's: there is none for the server's.
  Connection unserved(server_->url());
  unserved.Ask("/");
  for (int i = 0; i < 3; ++i) {
    Offer();
    EXPECT_TRUE(IsJpeg(reader.ReadPart(), 64, 48)) << "the others are served";
  }
  setrlimit(RLIMIT_NOFILE, &old);
  EXPECT_THAT(unserved.ReadAll(), StartsWith("HTTP/1.1 200 ")) << "it is its turn later";
}

TEST(HttpServer, SaysWhenItCannotListen) {
  std::string error;
  lumivane::HttpOptions options;
  options.listen = {"127.0.0.1", 0};
  const auto first = HttpServer::Start(options, &error);
  ASSERT_TRUE(first);
  const std::string url = first->url();
  options.listen.port = std::stoi(url.substr(url.rfind(':') + 1));
  EXPECT_FALSE(HttpServer::Start(options, &error));
  EXPECT_THAT(error, HasSubstr("Address already in use; --listen 127.0.0.1:0"));
  options.listen = {"no.such.host.invalid", 1};
  EXPECT_FALSE(HttpServer::Start(options, &error));
  EXPECT_THAT(error, StartsWith("--listen no.such.host.invalid:1: "));
  options.listen = {"::1", 0};
  if (const auto six = HttpServer::Start(options, &error)) {
    EXPECT_THAT(six->url(), StartsWith("http://[::1]:"));
  }
}

// ---- The program

TEST(StreamOverHttp, ServesUntilItIsStopped) {
  test::RunningProgram run({picture_tools::Program(), "stream", "--listen", "127.0.0.1:0"});
  const std::string url = run.ReadLine();
  ASSERT_THAT(url, StartsWith("http://127.0.0.1:")) << run.Errors();
  Connection reader(url);
  reader.Ask("/stream.mjpg");
  reader.ReadTo("--lumivane-frame\r\n");
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(IsJpeg(reader.ReadPart(), 640, 480));
  Connection asking(url);
  asking.Ask("/status.json");
  const std::string answer = asking.ReadAll();
  const json status = json::parse(answer.substr(answer.find("\r\n\r\n")));
  EXPECT_EQ(status["state"], "NONE");
  EXPECT_EQ(status["width"], 640);
  EXPECT_EQ(status["clients"], 1);
  EXPECT_TRUE(status["ageMilliseconds"].is_null());
  run.Signal(SIGTERM);
  EXPECT_EQ(run.Wait(), lumivane::kExitNoCamera);
  EXPECT_THAT(run.ReadLine(), StartsWith(url + ": "));
}

TEST(StreamOverHttp, ABrowserShowsThePage) {
  if (test::RunProgram({"bash", "-c", "command -v chromium"}).exitCode != 0) {
    GTEST_SKIP() << "chromium is not installed";
  }
  const test::TempFolder folder;
  test::RunningProgram run({picture_tools::Program(), "stream", "--listen", "127.0.0.1:0"});
  const std::string url = run.ReadLine();
  ASSERT_THAT(url, StartsWith("http://127.0.0.1:")) << run.Errors();
  const auto browse = [&](const std::string& what, const std::string& profile) {
    // The stream never ends, so the browser is told how long to look.
    return test::RunProgram({"timeout", "60", "chromium", "--headless", "--no-sandbox",
                             "--disable-gpu", "--no-first-run", "--disable-background-networking",
                             "--disable-component-update", "--disable-sync",
                             "--disable-dev-shm-usage", "--window-size=800,800",
                             "--virtual-time-budget=3000", "--timeout=20000",
                             "--user-data-dir=" + (folder / profile).string(), what, url});
  };
  test::ProgramResult dom = browse("--dump-dom", "a");
  // On a busy machine the browser may give up looking before its script has run.
  for (const char* again : {"b", "c"}) {
    if (dom.out.find("data-state=\"WAIT\"") != std::string::npos) dom = browse("--dump-dom", again);
  }
  EXPECT_THAT(dom.out, HasSubstr("data-state=\"NONE\"")) << "its script has asked for the state";
  EXPECT_THAT(dom.out, HasSubstr("NO CAMERA"));
  EXPECT_THAT(dom.out, HasSubstr("640 × 480"));
  const std::string file = (folder / "page.png").string();
  browse("--screenshot=" + file, "d");
  std::string error;
  const lumivane::ArgbPicture page = lumivane::ReadPicture(file, &error);
  ASSERT_FALSE(page.empty()) << error;
  // The no-camera picture stands in the page: far more colours than a page without it has.
  std::set<std::uint32_t> colours;
  for (int y = page.height / 4; y < page.height / 2; ++y) {
    for (int x = 0; x < page.width; ++x) {
      const std::uint8_t* const p = page.Row(y) + 4 * x;
      colours.insert(std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3]);
    }
  }
  EXPECT_GT(colours.size(), 50u);
}

}  // namespace
