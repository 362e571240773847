// Whole files, replaced in one step.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/ImageIO/ImageData.h"

namespace {

constexpr mode_t kNewFileMode = 0666;  // less the process's mask

bool WriteAll(int file, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return true;
}

bool Fail(std::string* error) {
  if (error) *error = std::strerror(errno);
  return false;
}

// A device or pipe has no old contents to keep and cannot be replaced by a file.
bool WriteInto(const std::string& path, std::span<const std::uint8_t> bytes, std::string* error) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (file < 0) return Fail(error);
  bool ok = WriteAll(file, bytes) || Fail(error);
  if (::close(file) != 0 && ok) ok = Fail(error);
  return ok;
}

int OpenAside(const std::string& path, std::string* aside) {
  static std::atomic<unsigned> number{0};
  for (int attempt = 0; attempt < 100; ++attempt) {
    *aside = path + "." + std::to_string(::getpid()) + "-" + std::to_string(number++) + ".new";
    const int file = ::open(aside->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kNewFileMode);
    if (file >= 0 || errno != EEXIST) return file;
  }
  return -1;
}

// So that the new name is on disk too. The file itself is whole by then: a folder that cannot be
// synced is no failure.
void SyncFolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const int handle = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle < 0) return;
  ::fsync(handle);
  ::close(handle);
}

}  // namespace

bool ImageIOWriteFile(const std::string& path, std::span<const std::uint8_t> bytes,
                      std::string* error) {
  std::string target = path;
  struct stat old {};
  const bool exists = ::stat(path.c_str(), &old) == 0;
  if (exists && !S_ISREG(old.st_mode)) return WriteInto(path, bytes, error);
  if (exists) {
    // Behind a symbolic link the file it leads to is replaced, not the link.
    if (char* real = ::realpath(path.c_str(), nullptr)) {
      target = real;
      std::free(real);
    }
  }
  std::string aside;
  const int file = OpenAside(target, &aside);
  if (file < 0) return Fail(error);
  bool ok = WriteAll(file, bytes) && ::fsync(file) == 0;
  if (ok && exists) ok = ::fchmod(file, old.st_mode & 07777) == 0;
  int failure = errno;
  if (::close(file) != 0 && ok) {
    ok = false;
    failure = errno;
  }
  if (ok && ::rename(aside.c_str(), target.c_str()) != 0) {
    ok = false;
    failure = errno;
  }
  if (!ok) {
    ::unlink(aside.c_str());
    errno = failure;
    return Fail(error);
  }
  SyncFolderOf(target);
  return true;
}

bool ImageIOWritePNG(CGImageRef image, const std::string& path, const ImageIOTexts& texts,
                     std::string* error) {
  const std::vector<std::uint8_t> bytes = ImageIOEncodePNG(image, texts, error);
  return !bytes.empty() && ImageIOWriteFile(path, bytes, error);
}
