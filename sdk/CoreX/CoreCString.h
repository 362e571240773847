// Owned, NUL-terminated byte strings with a 16-bit capacity.
//
// One error text: what finds no buffer or no text where it needs one, and what does not fit the
// capacity's 16 bits, throws CoreException "Nil exception pointer"; the string is then as it was.
// Nothing is logged. A text argument may lie in the string's own buffer. A string belongs to one
// thread.
#pragma once

#include <string>

#include "platform/CoreFoundation/CFBase.h"
#include "platform/CoreServices/MacTypes.h"

class CorePString;
struct FSSpec;

class CoreCString {
 public:
  /// An empty text.
  CoreCString();
  // A copy of the text, in `minimum` bytes of capacity at least. A null text, and a deleted string,
  // give an empty one; a null file spec throws. Of a file spec, its name.
  explicit CoreCString(const char* text, unsigned short minimum = 0);
  explicit CoreCString(const unsigned char* pascal, unsigned short minimum = 0);
  CoreCString(const CoreCString& other, unsigned short minimum = 0);
  explicit CoreCString(const CorePString& pascal, unsigned short minimum = 0);
  explicit CoreCString(const std::string& text, unsigned short minimum = 0);
  explicit CoreCString(const FSSpec& spec, unsigned short minimum = 0);
  explicit CoreCString(const FSSpec* spec, unsigned short minimum = 0);
  /// ConstructFourCharCode.
  explicit CoreCString(UInt32 code);
  virtual ~CoreCString();

  /// Replaces the text by a copy (by an empty text for null), in `minimum` bytes at least, the NUL
  /// included. The buffer stays when that fits into it.
  void Alloc(const char* text, unsigned short minimum);
  void Alloc(const unsigned char* pascal, unsigned short minimum);
  /// An empty text in `size` bytes at least.
  void Alloc(unsigned short size);
  /// Releases the buffer: no text, capacity 0.
  void Delete();
  /// An empty text; the capacity stays.
  void Empty();

  /// The buffer; null when deleted.
  const char* c_str() const { return mBuffer; }
  const char* Get_const_cstring() const { return mBuffer; }
  /// Bytes of the buffer, the NUL included; 0 when deleted.
  unsigned short capacity() const { return mCapacity; }

  /// Replaces the text by as much of `text` as the capacity holds; by none for null.
  void safe_strcpy(const char* text);
  /// The same with `n` bytes of `text` at most.
  void safe_strncpy(const char* text, unsigned short n);
  /// Appends as much of `text` as the capacity holds, with one exception that callers know: when
  /// both lengths and two more make exactly the capacity, nothing is appended.
  void safe_strcat(const char* text);
  /// Appends, growing as needed: both lengths together are 65,533 at most.
  void strcat(const char* text);

  // The matching Alloc without a minimum.
  CoreCString& operator=(const char* text);
  CoreCString& operator=(const unsigned char* pascal);
  CoreCString& operator=(const CoreCString& other);
  CoreCString& operator=(const CorePString& pascal);
  /// In Mac OS Roman; empty when a character has no form there. Null deletes the text.
  CoreCString& operator=(CFStringRef string);

  // The growing strcat.
  CoreCString& operator+=(const CoreCString& other);
  CoreCString& operator+=(const unsigned char* pascal);
  CoreCString& operator+=(const char* text);

  /// Replaces the text by a formatted one of 2,048 characters at most; a longer one throws. The
  /// arguments may be the string's own text.
  void printf(const char* format, ...) __attribute__((format(printf, 2, 3)));
  /// Formats into `buffer`, of 4 bytes at least, and takes over a result of 3 characters at most,
  /// whatever `size` is: the limit is that of a pointer's size less one on the first machines, and
  /// part of the interface since. A longer result throws, with its first `size` - 1 characters in
  /// the buffer.
  void sprintf(char* buffer, UInt32 size, const char* format, ...)
      __attribute__((format(printf, 4, 5)));

  // Whitespace is what `isspace` takes for it.

  /// Leaves a text that is nothing but whitespace as it is.
  void trim_leading_whitespace();
  void trim_trailing_whitespace();
  void trim_trailing_and_leading_whitespace();

  /// Byte by byte.
  bool operator==(const char* text) const;
  bool operator==(const unsigned char* pascal) const;

  /// The number the text begins with, in single precision ("%f"); 0 when there is none.
  double AsDouble() const;

  // Copies out; return the number of bytes copied, without length byte or NUL.

  /// A Pascal string of the first `max` bytes of text at most, and never more than 255: `pascal`
  /// has room for one byte more than that. Length 0 for a null text.
  static unsigned AssignTo(unsigned char* pascal, unsigned int max, const char* text);
  unsigned AssignTo(unsigned char* pascal, unsigned int max) const;
  /// A C string: `buffer` has room for text and NUL. An empty one without a text.
  unsigned AssignTo(char* buffer) const;

  /// The byte's two digits (capitals), then the separator if it is not 0 (a control character
  /// becomes a blank). In one buffer for the process: valid until the next call, and not
  /// thread-safe.
  static const char* HexDigitPairFromByte(const unsigned char* byte, char separator);
  /// Replaces the text by the digits of `length` bytes, or of the first `maxBytes` if that is less
  /// and not 0; the separator follows every byte, the last one too. 16,381 bytes at most.
  void EncodeHexString(const void* data, unsigned int length, unsigned int maxBytes,
                       char separator);
  /// The same with blanks.
  void HexData(const void* data, unsigned int length, unsigned int maxBytes);
  /// Replaces the text by its own bytes in hexadecimal, with blanks. An empty text stays.
  void AsHexString();
  /// Replaces the text by the bytes that the pairs of hexadecimal digits in `text` stand for, and a
  /// NUL; everything else in `text` is skipped, and so is an odd last digit. Returns the number of
  /// bytes, which may well be zeros themselves.
  unsigned DecodeHexString(const char* text);

  /// "0x32767579 '2vuy'": a code and its four characters, the most significant first. A zero among
  /// them ends the text. True.
  bool ConstructFourCharCode(UInt32 code);

 protected:
  [[noreturn]] static void ThrowNil();
  /// Throws without a buffer.
  char* Buffer() const;

 private:
  /// `text` may be null for an empty one; it has `length` bytes.
  void Assign(const char* text, std::size_t length, std::size_t minimum);

  char* mBuffer = nullptr;
  unsigned short mCapacity = 0;
};

/// The same with a capacity asked for, in which it can append without growing.
class CoreCStringSized : public CoreCString {
 public:
  /// An empty text in `size` bytes.
  explicit CoreCStringSized(unsigned short size);
  CoreCStringSized(const char* text, unsigned short size) : CoreCString(text, size) {}
  CoreCStringSized(const unsigned char* pascal, unsigned short size) : CoreCString(pascal, size) {}
  CoreCStringSized(const CoreCString& other, unsigned short size) : CoreCString(other, size) {}
  CoreCStringSized(const CorePString& pascal, unsigned short size) : CoreCString(pascal, size) {}
  CoreCStringSized(const std::string& text, unsigned short size) : CoreCString(text, size) {}
  CoreCStringSized(const FSSpec& spec, unsigned short size) : CoreCString(spec, size) {}
  CoreCStringSized(const FSSpec* spec, unsigned short size) : CoreCString(spec, size) {}
  /// A quote, the code's four bytes as they lie in memory, and a quote.
  CoreCStringSized(UInt32 code, unsigned short size);

  using CoreCString::operator=;

  /// Appends if both texts together are shorter than the capacity less one; else throws.
  void strcat(const char* text);
  /// Ends the text at `position`, which lies in the text or at its NUL; else throws.
  void truncate(const char* position);
};
