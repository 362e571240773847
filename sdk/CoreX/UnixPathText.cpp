#include "sdk/CoreX/UnixPathText.h"

#include <cstddef>
#include <cstring>
#include <utility>

namespace UnixPathText {
namespace {

using Position = std::ptrdiff_t;

/// Positions are signed, and nothing found is -1, so that "greater than 0" excludes it too.
Position LastOf(const std::string& text, char c) {
  return static_cast<Position>(text.rfind(c));
}

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// `path` without one trailing slash, and where its last slash is.
Position LastSeparator(const std::string& path, std::string& trimmed) {
  trimmed = path;
  RemoveTrailingSlash(trimmed);
  return LastOf(trimmed, '/');
}

}  // namespace

bool IsRoot(const char* text) {
  return text[0] != '\0' && text[1] == '/' && text[2] == '\0';
}

bool IsFullyQualified(const char* text) {
  return text[0] == '/';
}

bool IsPartiallyQualified(const char* text) {
  return text[0] != '\0' && text[0] != '/' && std::strchr(text, '/') != nullptr;
}

bool IsQualified(const char* text) {
  return IsFullyQualified(text) || IsPartiallyQualified(text);
}

bool AddTrailingSlash(std::string& path) {
  if (!path.empty() && path.back() == '/') return false;
  path += '/';
  return true;
}

bool RemoveTrailingSlash(std::string& path) {
  if (path.empty() || path.back() != '/') return false;
  path.pop_back();
  return true;
}

bool Parent(const std::string& path, std::string& out) {
  std::string trimmed;
  const Position slash = LastSeparator(path, trimmed);
  if (slash <= 0) return false;
  out.assign(trimmed, 0, static_cast<std::size_t>(slash));
  AddTrailingSlash(out);
  return true;
}

bool JustName(const std::string& path, std::string& out) {
  std::string trimmed;
  const Position slash = LastSeparator(path, trimmed);
  if (slash <= 0) return false;
  out.assign(trimmed, static_cast<std::size_t>(slash) + 1);
  return true;
}

bool Extension(const std::string& path, std::string& out) {
  const Position dot = LastOf(path, '.');
  if (dot <= 0) return false;
  out = path.substr(static_cast<std::size_t>(dot) + 1);
  return true;
}

ExtensionState StateOfExtension(const std::string& path) {
  const Position dot = LastOf(path, '.');
  if (dot <= 0) return ExtensionState::kNone;
  return dot > LastOf(path, '/') ? ExtensionState::kValid : ExtensionState::kInFolder;
}

void AddExtension(std::string& path, const char* extension) {
  if (extension[0] != '.') path += '.';
  path += extension;
}

std::string WithoutExtension(const std::string& path) {
  return path.substr(0, path.rfind('.'));
}

bool SameExtension(const std::string& extension, const char* wanted) {
  if (wanted[0] == '.') ++wanted;
  const std::size_t length = std::strlen(wanted);
  if (extension.size() != length) return false;
  for (std::size_t i = 0; i < length; ++i) {
    if (Lower(extension[i]) != Lower(wanted[i])) return false;
  }
  return true;
}

void SplitAtFirstSlash(const std::string& path, std::string& base, std::string& name) {
  const std::size_t slash = path.find('/');
  if (slash == std::string::npos) {
    base = path;
    return;
  }
  // Copied first: an output may be the path itself.
  const bool isSlash = path.size() == 1;
  std::string first = path.substr(0, slash + 1);
  std::string rest = path.substr(slash + 1);
  base = std::move(first);
  if (!isSlash) name = std::move(rest);
}

}  // namespace UnixPathText
