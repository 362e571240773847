// Pascal strings that can be handed on as C strings too.
#pragma once

#include <cstddef>

/// A length byte and up to 255 bytes of text, with a NUL kept right after the text. All in the
/// object: 257 bytes, no heap memory. Nothing throws; a null text counts as an empty one.
class CorePString {
 public:
  CorePString() = default;
  CorePString(const CorePString& other) { *this = other; }
  explicit CorePString(const unsigned char* pascal) { *this = pascal; }
  /// Keeps 255 characters at most.
  explicit CorePString(const char* text) { *this = text; }

  /// Bytes of text: the length byte.
  unsigned strlen() const { return mBytes[0]; }
  /// Bytes of the Pascal string: the length byte and the text.
  unsigned string_size() const { return strlen() + 1; }

  /// The text as a C string; what a NUL in the text cuts off is still in the Pascal string.
  const char* c_str() const { return reinterpret_cast<const char*>(mBytes + 1); }
  /// The Pascal string.
  const unsigned char* p_str() const { return mBytes; }

  /// A block copy of length and text, whatever the text's length.
  CorePString& operator=(const CorePString& other);
  CorePString& operator=(const unsigned char* pascal);
  /// Keeps 255 characters at most.
  CorePString& operator=(const char* text);

  /// Copies the text and its NUL: `buffer` has room for `string_size()` bytes. Returns `buffer`.
  char* AssignTo(char* buffer) const;
  /// Copies the first `max` bytes of text at most: `pascal` has room for one byte more than that.
  /// Returns `pascal`.
  unsigned char* AssignTo(unsigned char* pascal, unsigned short max) const;
  /// The same; returns the length of the copy.
  unsigned strcpy(unsigned char* pascal, unsigned short max) const;

  /// Appends a text of one byte or none. A longer one is put at the index that is the sum of both
  /// lengths, which becomes the length, and a NUL after its first byte: callers have come to rely
  /// on the length being right and on a one-letter suffix, and on nothing else. The sum is kept in
  /// 8 bits, and what would lie behind the text's 255 bytes is dropped. Two empty texts are one log
  /// line. Returns the text.
  char* strcat(const unsigned char* pascal);
  /// Appends one character; nothing to a text of 255 bytes. Returns the text.
  char* strcatc(char c);

  /// Byte by byte, as C strings. A null text is equal to nothing.
  bool operator==(const char* text) const;
  bool operator==(const unsigned char* pascal) const;

 private:
  static constexpr std::size_t kMaxLength = 255;

  // Length byte, text, and a last byte that is never anything but NUL, so that the text ends.
  unsigned char mBytes[kMaxLength + 2] = {};
};
