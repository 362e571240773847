#include "components/gstreamer/source.h"

#include <algorithm>
#include <array>

#include "components/gstreamer/glib_text.h"

namespace gstcamera {
namespace {

bool StartsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool IsScheme(std::string_view text) {
  const auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  if (text.empty() || !letter(text[0])) return false;
  return std::all_of(text.begin(), text.end(), [&](char c) {
    return letter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
  });
}

std::string_view SchemeOf(std::string_view address) {
  return address.substr(0, std::min(address.find("://"), address.size()));
}

bool SchemeIs(std::string_view address, std::string_view scheme) {
  const std::string_view own = SchemeOf(address);
  return std::equal(own.begin(), own.end(), scheme.begin(), scheme.end(), [](char a, char b) {
    return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
  });
}

}  // namespace

bool ParseSource(std::string_view text, const std::string& home, Source& source,
                 std::string* wanted) {
  const std::size_t scheme = text.find("://");
  if (text.empty()) {
    *wanted = "auto, a camera's name or path, an address, a file, test or pipeline:...";
    return false;
  }
  if (std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
    *wanted = "a camera's name or stable path, since numbers change: `lumivane camera list`";
    return false;
  }
  if (text == "auto") {
    source = {Source::kAuto, ""};
  } else if (text == "test") {
    source = {Source::kTest, ""};
  } else if (StartsWith(text, "test:")) {
    source = {Source::kTest, std::string(text.substr(5))};
  } else if (StartsWith(text, "pipeline:")) {
    source = {Source::kPipeline, std::string(text.substr(9))};
    if (source.text.find_first_not_of(" \t") == std::string::npos) {
      *wanted = "a pipeline after pipeline:, such as pipeline:videotestsrc is-live=true";
      return false;
    }
  } else if (StartsWith(text, "camera:")) {
    source = {Source::kCamera, std::string(text.substr(7))};
    if (source.text.empty()) {
      *wanted = "a camera's name after camera:";
      return false;
    }
  } else if (scheme != std::string_view::npos && IsScheme(text.substr(0, scheme))) {
    source = {Source::kAddress, std::string(text)};
  } else if (StartsWith(text, "/dev/")) {
    source = {Source::kDevicePath, std::string(text)};
  } else if (text[0] == '/' || StartsWith(text, "~/")) {
    const std::string path =
        text[0] == '/' ? std::string(text) : home + std::string(text.substr(1));
    GlibText uri(g_filename_to_uri(path.c_str(), nullptr, nullptr));
    if (!uri) {
      *wanted = "a file's whole path";
      return false;
    }
    source = {Source::kAddress, uri.get()};
  } else if (StartsWith(text, "./") || StartsWith(text, "../")) {
    *wanted = "a file's whole path, since programs run in different folders";
    return false;
  } else {
    source = {Source::kCamera, std::string(text)};
  }
  return true;
}

std::string SourceText(const Source& source) {
  switch (source.kind) {
    case Source::kAuto:
      return "auto";
    case Source::kCamera:
      return "camera:" + source.text;
    case Source::kTest:
      return source.text.empty() ? "test" : "test:" + source.text;
    case Source::kPipeline:
      return "pipeline:" + source.text;
    case Source::kDevicePath:
    case Source::kAddress:
      break;
  }
  return source.text;
}

std::string WithoutSecrets(const std::string& address) {
  const std::size_t start = address.find("://");
  if (start == std::string::npos) return address;
  const std::size_t end = std::min(address.find_first_of("/?#", start + 3), address.size());
  const std::size_t at = address.rfind('@', end);
  if (at == std::string::npos || at < start + 3 || at >= end) return address;
  return address.substr(0, start + 3) + "***" + address.substr(at);
}

std::string DisplayName(const Source& source) {
  switch (source.kind) {
    case Source::kAuto:
      return "auto";
    case Source::kTest:
      return source.text.empty() ? "test picture" : "test picture " + source.text;
    case Source::kPipeline:
      return "own pipeline";
    case Source::kAddress:
      return WithoutSecrets(source.text);
    case Source::kCamera:
    case Source::kDevicePath:
      break;
  }
  return source.text;
}

bool IsLiveAddress(std::string_view address) {
  constexpr std::array kLive = {"rtsp", "rtsps", "rtspt", "rtspu", "rtsph", "rtp",
                                "udp",  "rtmp",  "srt",   "mms",   "rist"};
  return std::any_of(kLive.begin(), kLive.end(),
                     [&](const char* scheme) { return SchemeIs(address, scheme); });
}

bool IsFileAddress(std::string_view address) {
  return SchemeIs(address, "file");
}

}  // namespace gstcamera
