#include "platform/CoreFoundation/SharedLibraryCheck.h"

#include <elf.h>
#include <link.h>

#include <bit>
#include <cstring>
#include <vector>

#include "platform/System/posix.h"

namespace {

using Header = ElfW(Ehdr);
using Segment = ElfW(Phdr);
using Section = ElfW(Shdr);

constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
constexpr unsigned char kByteOrder =
    std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

/// The machine this program runs on: that of its own file.
ElfW(Half) ThisMachine() {
#if defined(__x86_64__)
  return EM_X86_64;
#elif defined(__aarch64__)
  return EM_AARCH64;
#elif defined(__i386__)
  return EM_386;
#elif defined(__riscv)
  return EM_RISCV;
#else
  return EM_NONE;  // Left to the dynamic loader.
#endif
}

bool ReadAt(int file, void* to, std::size_t size, std::uint64_t offset) {
  return pread(file, to, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
}

/// Whether the section table, which linkers write last, is there. A file that was given its size
/// before its content, and then not all of it, has zeros there. Libraries may have no such table.
bool HasItsEnd(int file, std::uint64_t size, const Header& header) {
  const auto names = header.e_shstrndx;
  if (header.e_shoff == 0 || header.e_shentsize != sizeof(Section) || names == SHN_UNDEF ||
      names >= header.e_shnum) {
    return true;
  }
  const std::uint64_t tableSize = std::uint64_t{header.e_shnum} * sizeof(Section);
  if (header.e_shoff > size || tableSize > size - header.e_shoff) return false;
  Section section;
  return ReadAt(file, &section, sizeof section, header.e_shoff + names * sizeof section) &&
         section.sh_type == SHT_STRTAB;
}

/// What is wrong with the open file of `size` bytes, or null.
const char* Fault(int file, std::uint64_t size) {
  Header header;
  if (size < SELFMAG || !ReadAt(file, &header, SELFMAG, 0) ||
      std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
    return "not a shared library";
  }
  if (size < sizeof header || !ReadAt(file, &header, sizeof header, 0)) return "cut short";
  if (header.e_ident[EI_CLASS] != kClass || header.e_ident[EI_DATA] != kByteOrder ||
      (ThisMachine() != EM_NONE && header.e_machine != ThisMachine())) {
    return "a library for another machine";
  }
  if (header.e_type != ET_DYN || header.e_phentsize != sizeof(Segment) || header.e_phnum == 0) {
    return "not a shared library";
  }
  const std::uint64_t tableSize = std::uint64_t{header.e_phnum} * sizeof(Segment);
  if (header.e_phoff > size || tableSize > size - header.e_phoff) return "cut short";
  std::vector<Segment> segments(header.e_phnum);
  if (!ReadAt(file, segments.data(), tableSize, header.e_phoff)) return "cut short";
  for (const Segment& segment : segments) {
    if (segment.p_type != PT_LOAD && segment.p_type != PT_DYNAMIC) continue;
    if (segment.p_offset > size || segment.p_filesz > size - segment.p_offset) return "cut short";
  }
  return HasItsEnd(file, size, header) ? nullptr : "cut short";
}

}  // namespace

bool SharedLibraryCheck(const std::string& path, std::string& error) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) {
    error = path + ": " + std::strerror(errno);
    return false;
  }
  struct stat info;
  const char* fault = "not a regular file";
  if (fstat(file, &info) == 0 && S_ISREG(info.st_mode)) {
    fault = Fault(file, static_cast<std::uint64_t>(info.st_size));
  }
  close(file);
  if (fault != nullptr) error = path + ": " + fault;
  return fault == nullptr;
}
