#include "hosts/lumivane/ByteOutput.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "hosts/lumivane/Progress.h"

namespace lumivane {
namespace {

constexpr double kSecondsBetweenLooksForAReader = 0.05;
/// Room for half a frame, so that a reader is woken a few times for each and not hundreds.
constexpr int kPipeBytes = 1 << 20;

bool IsKind(int descriptor, mode_t kind) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && (status.st_mode & S_IFMT) == kind;
}

}  // namespace

ByteOutput::~ByteOutput() {
  if (owned_) close(descriptor_);
  if (abandon_ >= 0) close(abandon_);
}

void ByteOutput::SetUp(int descriptor) {
  descriptor_ = descriptor;
  keeps_ = IsKind(descriptor, S_IFREG);
  if (IsKind(descriptor, S_IFSOCK)) {
    kind_ = Kind::kSocket;
  } else if (IsKind(descriptor, S_IFIFO)) {
    kind_ = Kind::kNonBlocking;
    fcntl(descriptor, F_SETPIPE_SZ, kPipeBytes);  // Refused by a low limit, it stays as it is.
  }
}

bool ByteOutput::MakeAbandon(std::string* error) {
  abandon_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (abandon_ < 0) *error = std::string("no event descriptor: ") + std::strerror(errno);
  return abandon_ >= 0;
}

bool ByteOutput::Adopt(int descriptor, std::unique_ptr<VideoOutputBuffers> buffers,
                       const std::string& name, std::string* error) {
  name_ = name;
  buffers_ = std::move(buffers);
  descriptor_ = descriptor;
  owned_ = true;
  kind_ = Kind::kNonBlocking;
  return MakeAbandon(error);
}

bool ByteOutput::Open(const std::string& path, StopSignals& stop, std::string* error) {
  if (!MakeAbandon(error)) return false;
  name_ = path == "-" ? "standard output" : path;
  if (path == "-") {
    SetUp(STDOUT_FILENO);
    if (kind_ != Kind::kNonBlocking) return true;
    // The mode belongs to all who hold the pipe, so this end is opened once more.
    const int own = open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (own >= 0) {
      descriptor_ = own;
      owned_ = true;
    } else {
      kind_ = Kind::kSharedPipe;
    }
    return true;
  }
  struct stat old {};
  if (stat(path.c_str(), &old) != 0 || S_ISREG(old.st_mode)) {
    std::string reason;
    if (!file_.Open(path, &reason)) {
      *error = name_ + " cannot be written: " + reason;
      return false;
    }
    SetUp(file_.descriptor());
    return true;
  }
  int opened = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  while (opened < 0 && errno == ENXIO && S_ISFIFO(old.st_mode)) {
    if (stop.WaitUntil(MonotonicSeconds() + kSecondsBetweenLooksForAReader)) {
      *error = name_ + " has no reader";
      return false;
    }
    opened = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  }
  if (opened < 0) {
    *error = name_ + " cannot be written: " + std::strerror(errno);
    return false;
  }
  SetUp(opened);
  owned_ = true;
  if (kind_ == Kind::kPlain) kind_ = Kind::kNonBlocking;
  return true;
}

ssize_t ByteOutput::WriteSome(std::span<const std::uint8_t> bytes) const {
  if (buffers_) return buffers_->Put(bytes);
  switch (kind_) {
    case Kind::kSocket:
      return send(descriptor_, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    case Kind::kSharedPipe: {
      pollfd room = {descriptor_, POLLOUT, 0};
      if (poll(&room, 1, 0) == 0) {
        errno = EAGAIN;
        return -1;
      }
      return write(descriptor_, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF));
    }
    default:
      return write(descriptor_, bytes.data(), bytes.size());
  }
}

bool ByteOutput::WaitForRoom() {
  for (;;) {
    int milliseconds = -1;
    if (deadline_ > 0) {
      const double rest = deadline_ - MonotonicSeconds();
      if (rest <= 0) return false;
      milliseconds = static_cast<int>(1000 * rest) + 1;
    }
    pollfd wait[] = {{descriptor_, POLLOUT, 0}, {deadline_ > 0 ? -1 : abandon_, POLLIN, 0}};
    if (poll(wait, 2, milliseconds) < 0 && errno != EINTR) return false;
    if (wait[1].revents != 0) {
      std::uint64_t grace = 0;
      if (read(abandon_, &grace, sizeof(grace)) == sizeof(grace)) {
        deadline_ = MonotonicSeconds() + static_cast<double>(grace) / 1000;
      }
    }
    if (wait[0].revents != 0) return true;
  }
}

ByteOutput::Result ByteOutput::Failed(int reason, std::string* error) const {
  if (reason == EPIPE || (kind_ == Kind::kSocket && reason == ECONNRESET)) {
    return Result::kNobodyReads;
  }
  *error = name_ + " cannot be written: " + std::strerror(reason);
  return Result::kFailed;
}

ByteOutput::Result ByteOutput::Write(std::span<const std::uint8_t> bytes, std::string* error) {
  while (!bytes.empty()) {
    const ssize_t n = WriteSome(bytes);
    if (n >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(n));
    } else if (errno == EAGAIN) {
      if (!WaitForRoom()) return Result::kAbandoned;
    } else if (errno != EINTR) {
      return Failed(errno, error);
    }
  }
  return Result::kOk;
}

ByteOutput::Result ByteOutput::Finish(std::string* error) {
  if (!file_.IsOpen()) return Result::kOk;
  std::string reason;
  if (file_.Commit(&reason)) return Result::kOk;
  *error = name_ + " cannot be written: " + reason;
  return Result::kFailed;
}

void ByteOutput::Abandon(std::chrono::milliseconds grace) {
  const std::uint64_t value = static_cast<std::uint64_t>(std::max<std::int64_t>(grace.count(), 1));
  // An event descriptor takes a small number at any time.
  if (write(abandon_, &value, sizeof(value)) != sizeof(value)) return;
}

}  // namespace lumivane
