#include "hosts/lumivane/AsideFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace lumivane {

AsideFile::~AsideFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!aside_.empty()) unlink(aside_.c_str());
}

bool AsideFile::Open(const std::string& path, std::string* error) {
  target_ = path;
  struct stat old {};
  const bool exists = stat(path.c_str(), &old) == 0;
  if (exists) {
    if (char* real = realpath(path.c_str(), nullptr)) {
      target_ = real;
      std::free(real);
    }
  }
  std::string pattern = target_ + ".XXXXXX";
  descriptor_ = mkostemp(pattern.data(), O_CLOEXEC);
  if (descriptor_ < 0) {
    *error = std::strerror(errno);
    return false;
  }
  aside_ = pattern;
  const mode_t mask = umask(0);
  umask(mask);
  fchmod(descriptor_, exists ? old.st_mode & 07777 : 0666 & ~mask);
  return true;
}

bool AsideFile::Commit(std::string* error) {
  const bool ok = fsync(descriptor_) == 0 && rename(aside_.c_str(), target_.c_str()) == 0;
  if (ok) {
    aside_.clear();
  } else {
    *error = std::strerror(errno);
  }
  const int file = descriptor_;
  descriptor_ = -1;
  if (close(file) == 0 || !ok) return ok;
  *error = std::strerror(errno);
  return false;
}

}  // namespace lumivane
