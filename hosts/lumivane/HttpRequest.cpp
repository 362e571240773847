#include "hosts/lumivane/HttpRequest.h"

#include <arpa/inet.h>

#include <algorithm>
#include <optional>

namespace lumivane {
namespace {

constexpr int kMostHeaders = 100;

HttpParse Refused(int status) {
  HttpParse parse;
  parse.kind = HttpParse::kRefused;
  parse.status = status;
  return parse;
}

bool IsTokenCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
         (c != '\0' && std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos);
}

bool IsToken(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), IsTokenCharacter);
}

bool IsVisible(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7F'; });
}

/// No control characters; bytes above ASCII are left to whoever reads the value.
bool IsFieldValue(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    return c == '\t' || (static_cast<unsigned char>(c) >= ' ' && c != '\x7F');
  });
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// "localhost:8080", "127.0.0.1", "[::1]:80".
bool IsThisMachine(std::string_view authority) {
  std::string host = Lower(authority);
  const std::size_t colon = host.find_last_of(":]");
  if (colon != std::string::npos && host[colon] == ':') {
    const std::string port = host.substr(colon + 1);
    if (port.find_first_not_of("0123456789") != std::string::npos) return false;
    host.resize(colon);
  }
  if (host == "localhost" || host == "[::1]") return true;
  in_addr address{};
  return inet_pton(AF_INET, host.c_str(), &address) == 1 && (ntohl(address.s_addr) >> 24) == 127;
}

/// What the header lines say that matters here.
struct Fields {
  std::optional<std::string> host;
  bool hostTwice = false;
  bool hasBody = false;
  bool crossSite = false;
  bool navigates = false;
};

/// 0, or the status of a refusal.
int ReadFields(std::string_view lines, Fields* fields) {
  for (int count = 0; !lines.empty(); ++count) {
    if (count == kMostHeaders) return 431;
    const std::size_t end = lines.find("\r\n");
    const std::string_view line = lines.substr(0, end);
    lines = end == std::string_view::npos ? std::string_view() : lines.substr(end + 2);
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || !IsToken(line.substr(0, colon))) return 400;
    const std::string name = Lower(line.substr(0, colon));
    const std::string_view value = Trim(line.substr(colon + 1));
    if (!IsFieldValue(value)) return 400;
    if (name == "host") {
      fields->hostTwice = fields->host.has_value();
      fields->host = std::string(value);
    } else if (name == "transfer-encoding" || (name == "content-length" && value != "0")) {
      fields->hasBody = true;
    } else if (name == "sec-fetch-site") {
      fields->crossSite = Lower(value) == "cross-site";
    } else if (name == "sec-fetch-mode") {
      fields->navigates = Lower(value) == "navigate";
    }
  }
  return 0;
}

struct RequestLine {
  std::string_view method;
  std::string_view target;
  std::string_view version;
};

/// 0, or the status of a refusal.
int ReadRequestLine(std::string_view line, RequestLine* out) {
  const std::size_t first = line.find(' ');
  const std::size_t second = first == std::string_view::npos ? first : line.find(' ', first + 1);
  if (second == std::string_view::npos) return 400;
  *out = {line.substr(0, first), line.substr(first + 1, second - first - 1),
          line.substr(second + 1)};
  const std::string_view version = out->version;
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  if (!IsToken(out->method) || out->target.empty() || !IsVisible(out->target) ||
      version.size() != 8 || version.substr(0, 5) != "HTTP/" || !isDigit(version[5]) ||
      version[6] != '.' || !isDigit(version[7])) {
    return 400;
  }
  if (out->target.size() > kLongestTarget) return 414;
  if (version[5] != '1') return 505;
  return out->method == "GET" || out->method == "HEAD" ? 0 : 405;
}

/// The whole request without its last line end and the empty line.
HttpParse ReadRequest(std::string_view head, HostRule rule) {
  const std::size_t lineEnd = head.find("\r\n");
  RequestLine line;
  if (const int status = ReadRequestLine(head.substr(0, lineEnd), &line)) return Refused(status);
  Fields fields;
  if (lineEnd != std::string_view::npos) {
    if (const int status = ReadFields(head.substr(lineEnd + 2), &fields)) return Refused(status);
  }
  const bool needsHost = line.version != "HTTP/1.0";
  if (fields.hostTwice || (needsHost && !fields.host) || fields.hasBody) return Refused(400);

  std::string_view target = line.target;
  if (constexpr std::string_view kScheme = "http://"; Lower(target).rfind(kScheme, 0) == 0) {
    // The form a proxy is sent; its host counts.
    target.remove_prefix(kScheme.size());
    const std::size_t slash = std::min(target.find_first_of("/?"), target.size());
    fields.host = std::string(target.substr(0, slash));
    target.remove_prefix(slash);
    if (target.empty() || target[0] != '/') target = "/";
  }
  if (target[0] != '/') return Refused(400);
  if (rule == HostRule::kThisMachine) {
    if (fields.host && !IsThisMachine(*fields.host)) return Refused(421);
    if (fields.crossSite && !fields.navigates) return Refused(403);
  }
  HttpParse parse;
  parse.kind = HttpParse::kRequest;
  parse.request.headOnly = line.method == "HEAD";
  parse.request.path = std::string(target.substr(0, target.find_first_of("?#")));
  return parse;
}

HttpParse Parse(std::string_view bytes, HostRule rule) {
  const std::size_t end = bytes.find("\r\n\r\n");
  if (end != std::string_view::npos) return ReadRequest(bytes.substr(0, end), rule);
  // What can be nothing any more need not be waited for.
  const std::size_t lineEnd = bytes.find("\r\n");
  RequestLine line;
  if (lineEnd != std::string_view::npos) {
    if (const int status = ReadRequestLine(bytes.substr(0, lineEnd), &line)) return Refused(status);
  } else {
    const std::string_view method = bytes.substr(0, bytes.find_first_of(" \r"));
    if (!method.empty() && !IsToken(method)) return Refused(400);
    if (method.size() > kLongestTarget) return Refused(400);
    if (bytes.size() > method.size() + kLongestTarget + sizeof("  HTTP/1.1")) return Refused(414);
  }
  return bytes.size() < kLargestRequest ? HttpParse{} : Refused(431);
}

}  // namespace

HttpParse ParseHttpRequest(std::string_view bytes, HostRule rule) {
  // Some send an empty line first.
  if (bytes.substr(0, 2) == "\r\n") bytes.remove_prefix(2);
  HttpParse parse = Parse(bytes, rule);
  // Whatever is wrong with it, an answer to HEAD has no body.
  if (parse.kind == HttpParse::kRefused) parse.request.headOnly = bytes.rfind("HEAD ", 0) == 0;
  return parse;
}

const char* HttpReason(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 400:
      return "Bad Request";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 408:
      return "Request Timeout";
    case 414:
      return "URI Too Long";
    case 421:
      return "Misdirected Request";
    case 431:
      return "Request Header Fields Too Large";
    case 503:
      return "Service Unavailable";
    case 505:
      return "HTTP Version Not Supported";
    default:
      return "Error";
  }
}

}  // namespace lumivane
