// Core Foundation objects of whatever type: type checks and conversions to native values.
#pragma once

#include <exception>
#include <string>
#include <type_traits>

#include "platform/CoreFoundation/CoreFoundation.h"

/// The native types a number object converts to.
template <typename T>
inline constexpr bool kIsCFNumberNative =
    std::is_same_v<T, short> || std::is_same_v<T, unsigned short> || std::is_same_v<T, int> ||
    std::is_same_v<T, unsigned int> || std::is_same_v<T, long> ||
    std::is_same_v<T, unsigned long> || std::is_same_v<T, float> || std::is_same_v<T, double>;

class CFTypeRefClass {
 public:
  /// An object is not of the type its holder is for.
  class TypeException : public std::exception {
   public:
    ~TypeException() override;
    const char* what() const noexcept override;
  };

  /// Returns when `ref` is an object of type `typeID`; 0, no particular type, accepts every object.
  /// Otherwise, and for null, throws TypeException.
  static void ThrowIfNotTypeMatch(CFTypeRef ref, CFTypeID typeID);

  /// TCFNumber::GetValue of the object, which is borrowed: false for null and for what is no
  /// number.
  template <typename T>
  requires kIsCFNumberNative<T>
  static bool ConvertTo(CFTypeRef ref, T& out);

  /// A string's text in UTF-8, or any other object's description. False, with `out` empty, when
  /// that text is empty or has no UTF-8 form; false, with `out` untouched, for null.
  static bool ConvertTo(CFTypeRef ref, std::string& out);

  /// The object's description in UTF-8. False, with `out` empty, for null.
  static bool GetDescription(CFTypeRef ref, std::string& out);
  /// The name of the type ("CFString") in UTF-8.
  static bool GetTypeDescription(CFTypeID typeID, std::string& out);
};
