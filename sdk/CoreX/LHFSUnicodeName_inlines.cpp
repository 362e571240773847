// Constructors, lengths and guards.
#include <algorithm>
#include <cstring>

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/LHFSUnicodeName.h"

namespace {

constexpr UInt16 kMostUnits = 255;

}  // namespace

LHFSUnicodeName::LHFSUnicodeName() {
  Empty();
}

LHFSUnicodeName::LHFSUnicodeName(kSpecialName in_specialName) {
  VERIFY(Construct(in_specialName));
  VERIFY(IsValid());
}

LHFSUnicodeName::LHFSUnicodeName(const HFSUniStr255& copyOf) {
  VERIFY(Construct(copyOf));
  VERIFY(IsValid());
}

LHFSUnicodeName::LHFSUnicodeName(const LHFSUnicodeName& copyOf)
    : LHFSUnicodeName(static_cast<const HFSUniStr255&>(copyOf)) {}

LHFSUnicodeName::LHFSUnicodeName(const unsigned char* in_pstring, SInt16 forScriptCode) {
  VERIFY(Construct(in_pstring, forScriptCode));
  VERIFY(IsValid());
}

LHFSUnicodeName::LHFSUnicodeName(const unsigned char* in_mac_roman_file_name) {
  VERIFY(Construct(in_mac_roman_file_name));
  VERIFY(IsValid());
}

LHFSUnicodeName::LHFSUnicodeName(const char* in_file_name) {
  VERIFY(Construct(in_file_name));
  VERIFY(IsValid());
}

LHFSUnicodeName::LHFSUnicodeName(const std::string& in_file_name) {
  VERIFY(Construct(in_file_name));
  VERIFY(IsValid());
}

LHFSUnicodeName::LHFSUnicodeName(const wchar_t* in_file_name) {
  VERIFY(Construct(in_file_name));
  VERIFY(IsValid());
}

LHFSUnicodeName::LHFSUnicodeName(const unsigned short* in_file_name) {
  VERIFY(Construct(in_file_name));
  VERIFY(IsValid());
}

LHFSUnicodeName::~LHFSUnicodeName() {
  VERIFY(IsMarked());
}

LHFSUnicodeName& LHFSUnicodeName::operator=(const HFSUniStr255& copyOf) {
  Construct(copyOf);
  return *this;
}

LHFSUnicodeName& LHFSUnicodeName::operator=(const LHFSUnicodeName& copyOf) {
  return *this = static_cast<const HFSUniStr255&>(copyOf);
}

bool LHFSUnicodeName::Construct(const HFSUniStr255& given) {
  const HFSUniStr255 copyOf = given;  // It may be this name itself.
  Empty();
  if (copyOf.length == 0) return true;
  if (!VERIFY_TEXT(__LINE__, "copyOf.length<=kMaxLength", copyOf.length <= kMaxLength)) return true;
  set_length(std::min(copyOf.length, kMaxLength));
  std::memcpy(unicode, copyOf.unicode, length * sizeof(UniChar));
  ConstructPostfix();
  return true;
}

bool LHFSUnicodeName::Construct(const wchar_t* in_file_name) {
  return Constructor(in_file_name);
}

bool LHFSUnicodeName::Construct(const unsigned short* in_file_name) {
  return Constructor(in_file_name);
}

template <typename T>
bool LHFSUnicodeName::Constructor(const T* in_file_name) {
  Empty();
  if (!VERIFY_TEXT(__LINE__, "in_file_name!=__null", in_file_name != nullptr)) return false;
  std::size_t in_length = 0;
  while (in_file_name[in_length] != 0) ++in_length;
  if (in_length == 0) return false;
  if (!VERIFY_TEXT(__LINE__, "in_length<=kMaxLength", in_length <= kMaxLength)) return false;
  // NOLINTNEXTLINE(bugprone-signed-char-misuse): a char above 127 widens with its sign
  for (std::size_t i = 0; i < in_length; ++i) unicode[i] = static_cast<UniChar>(in_file_name[i]);
  unicode[in_length] = 0;
  set_length(static_cast<UInt16>(in_length));
  ConstructPostfix();
  return true;
}

void LHFSUnicodeName::Empty() {
  length = 0;
  std::fill(std::begin(unicode), std::end(unicode), UniChar{0});
  MarkOverflow();
}

void LHFSUnicodeName::set_length(UInt16 in_length) {
  VERIFY_TEXT(__LINE__, "in_length<kMaxLength", in_length < kMaxLength);
  length = in_length;
}

bool LHFSUnicodeName::NullTerminateIt() {
  bool fOk = false;
  if (VERIFY_TEXT(__LINE__, "fOk = (superclass_t::length<kMaxLength)",
                  fOk = (superclass_t::length < kMaxLength))) {
    unicode[length] = 0;
  }
  return fOk;
}

void LHFSUnicodeName::ConstructPostfix() {
  MarkOverflow();
  NullTerminateIt();
}

bool LHFSUnicodeName::IsMarked() const {
  return mFirstGuard == kFirstGuard && mSecondGuard == kSecondGuard;
}

void LHFSUnicodeName::MarkOverflow() {
  mFirstGuard = kFirstGuard;
  mSecondGuard = kSecondGuard;
}

bool LHFSUnicodeName::IsNullTerminated() const {
  return length < kMaxLength && unicode[length] == 0;
}

bool LHFSUnicodeName::Identical(const HFSUniStr255* a, const HFSUniStr255* b) {
  if (a == nullptr || b == nullptr || a->length != b->length) return false;
  const std::size_t units = std::min(a->length, kMostUnits);
  return std::equal(a->unicode, a->unicode + units, b->unicode);
}
