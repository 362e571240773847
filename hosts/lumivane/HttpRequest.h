// What a request asks for, and whether it may (RFC 9110, RFC 9112).
#pragma once

#include <string>
#include <string_view>

namespace lumivane {

/// Bytes of a request's lines together, and of the path alone. More is refused.
inline constexpr std::size_t kLargestRequest = 8192;
inline constexpr std::size_t kLongestTarget = 1024;

/// Who may be meant by a request.
enum class HostRule {
  /// This machine by one of its own names alone (localhost, 127.0.0.0/8, ::1), and not from a page
  /// of another site: a name that leads here may be anybody's, and its pages would see the camera.
  kThisMachine,
  kAny,
};

struct HttpRequest {
  bool headOnly = false;  ///< HEAD
  std::string path;       ///< from "/" on, without a query
};

struct HttpParse {
  enum Kind { kIncomplete, kRequest, kRefused } kind = kIncomplete;
  HttpRequest request;  ///< of a refused one, headOnly alone
  int status = 0;       ///< of a refusal: 400, 403, 405, 414, 421, 431, 505
};

/// `bytes`: all that came so far, at most kLargestRequest of them. Whatever they are, it is either
/// a whole request, refused, or may still become one with more bytes.
HttpParse ParseHttpRequest(std::string_view bytes, HostRule rule);

/// "Not Found" and the like.
const char* HttpReason(int status);

}  // namespace lumivane
