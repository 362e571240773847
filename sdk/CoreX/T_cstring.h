// Buffers of NUL-terminated text in units other than bytes.
#pragma once

#include <cstddef>

#include "platform/CoreServices/MacTypes.h"

/// A NUL-terminated text of units T in a buffer from `malloc`, which the holder frees.
template <typename T>
class T_cstring {
 public:
  T_cstring() = default;
  ~T_cstring() { clear(); }
  T_cstring(const T_cstring&) = delete;
  T_cstring& operator=(const T_cstring&) = delete;

  /// A new buffer for `n` units and a NUL, from `malloc`; null when there is no room for it or `n`
  /// is negative. The caller's.
  static T* alloc_string_length(SInt32 n);

  /// Makes room for `n` units: a new buffer, whose first unit is zero. An old buffer is not freed,
  /// since its text may have been handed out. False, with a log line, when there is no memory; then
  /// there is no buffer. For 0 nothing is allocated; true if there is a buffer already.
  bool set_length(SInt32 n);

  /// Frees the buffer.
  void clear();

  T* m_cstring = nullptr;
};

extern template class T_cstring<UniChar>;

namespace CoreUnicode {

/// A text of `Source` units, kept as one of `Target` units: each is converted as an integer, by
/// itself (32 to 16 bits cuts, 16 to 32 extends with zeros).
template <typename Source, typename Target>
class string_t {
 public:
  string_t() = default;
  explicit string_t(const Source* text) { assign(text); }
  ~string_t() { delete[] mText; }
  string_t(const string_t&) = delete;
  string_t& operator=(const string_t&) = delete;

  /// Replaces the text by a copy of the NUL-terminated `text`; by none for null.
  void assign(const Source* text) {
    delete[] mText;
    mText = nullptr;
    if (text == nullptr) return;
    std::size_t count = 0;
    while (text[count] != 0) ++count;
    mText = new Target[count + 1];
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): a char above 127 widens with its sign
    for (std::size_t i = 0; i <= count; ++i) mText[i] = static_cast<Target>(text[i]);
  }

  /// NUL-terminated; null without a text.
  const Target* c_str() const { return mText; }

 private:
  Target* mText = nullptr;
};

}  // namespace CoreUnicode
