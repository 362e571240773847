// Tests of what may not be read or written, for the superuser too.
#pragma once

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace test {

/// For its life, modes of files and folders count for this thread although it is the superuser's.
class OrdinaryRights {
 public:
  OrdinaryRights() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    if (syscall(SYS_capget, &header, old_) != 0) return;
    __user_cap_data_struct fewer[2] = {old_[0], old_[1]};
    fewer[0].effective &= ~(1u << CAP_DAC_OVERRIDE | 1u << CAP_DAC_READ_SEARCH);
    effective_ = syscall(SYS_capset, &header, fewer) == 0;
  }
  ~OrdinaryRights() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    if (effective_) syscall(SYS_capset, &header, old_);
  }
  OrdinaryRights(const OrdinaryRights&) = delete;
  OrdinaryRights& operator=(const OrdinaryRights&) = delete;

  /// False where the system does not allow to give rights up.
  bool AreEffective() const { return effective_; }

 private:
  __user_cap_data_struct old_[2] = {};
  bool effective_ = false;
};

}  // namespace test
