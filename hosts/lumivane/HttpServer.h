// The live picture over HTTP: a page, the stream as multipart JPEG, single pictures, the state.
//
//   /              a page that shows the stream and the state
//   /stream.mjpg   multipart/x-mixed-replace, a JPEG a part
//   /snapshot.jpg  the newest frame
//   /status.json   the state
//
// One thread serves everybody and waits for nobody: each reader of the stream gets the newest frame
// whenever it has taken the one before. Everything a client can use up is bounded: bytes and time
// of a request, time without progress, connections.
#pragma once

#include <list>
#include <memory>
#include <thread>

#include "hosts/lumivane/FrameSink.h"
#include "hosts/lumivane/HttpRequest.h"
#include "hosts/lumivane/JpegEncoder.h"
#include "hosts/lumivane/ListenAddress.h"

namespace lumivane {

struct HttpOptions {
  ListenAddress listen;
  int maxClients = 16;          ///< that read the stream at the same time
  int quality = 80;             ///< of the JPEGs, 1 to 100
  double requestSeconds = 10;   ///< for a request to be complete
  double progressSeconds = 20;  ///< until a client that takes nothing is let go
};

class HttpServer : public FrameSink {
 public:
  /// Listens and serves. Null with one sentence on failure.
  static std::unique_ptr<HttpServer> Start(const HttpOptions& options, std::string* error);
  ~HttpServer() override;

  /// "http://127.0.0.1:8080/".
  const std::string& url() const { return url_; }
  /// Readers of the stream.
  int clients() const;
  /// The members of /status.json, as a JSON object; "clients" is added.
  void SetStatus(std::string json);

  void Offer(const StreamFrame& frame) override;
  SinkState state() const override;
  std::string error() const override;
  /// Written: parts of the stream sent to anybody. Dropped: frames that a reader was too slow for.
  SinkCounts counts() const override;
  void Finish(std::uint64_t endTick) override;

 private:
  struct Client;
  using Bytes = std::shared_ptr<const std::string>;

  HttpServer(const HttpOptions& options, const Listener& listener, int wake);
  void Run();
  void Accept();
  void Receive(Client& client);
  void Answer(Client& client);
  void Respond(Client& client, int status, const char* type, Bytes body, bool headOnly);
  void Refuse(Client& client, int status, bool headOnly);
  void StartStream(Client& client, bool headOnly);
  void NextPart(Client& client);
  void Serve(Client& client);
  void Send(Client& client);
  void SendDone(Client& client);
  /// The newest frame's JPEG; null while there is none.
  Bytes NewestJpeg();
  void Close(Client& client);
  int Streaming() const;

  const HttpOptions options_;
  const Listener listener_;
  const int wake_;  ///< event descriptor: a frame came, or the end
  const std::string url_;
  std::list<Client> clients_;
  JpegEncoder encoder_;
  Bytes jpeg_;
  std::uint64_t jpegNumber_ = 0;
  std::uint64_t newestNumber_ = 0;  ///< of the frame known to the thread
  double acceptAgain_ = 0;

  mutable std::mutex lock_;  // guards what follows
  std::shared_ptr<const Picture> newest_;
  std::uint64_t number_ = 0;  ///< frames offered
  std::string status_ = "{}";
  std::string error_;
  SinkCounts counts_;
  int streaming_ = 0;
  bool stopping_ = false;
  bool failed_ = false;
  std::thread thread_;
};

}  // namespace lumivane
