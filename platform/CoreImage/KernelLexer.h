// Kernel source to tokens. Internal to CoreImage; the language is told in docs/kernel-language.md.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/CoreImage/CIKernel.h"

namespace lumivane::coreimage {

enum class TokenKind : UInt8 {
  kEnd,
  kIdentifier,
  kKeyword,  ///< a word of the language, types included
  kInteger,
  kReal,
  kOperator,  ///< operators and punctuation
};

struct Token {
  TokenKind kind = TokenKind::kEnd;
  int line = 1;
  std::string_view text;  ///< a part of the source

  bool Is(std::string_view word) const {
    return (kind == TokenKind::kKeyword || kind == TokenKind::kOperator) && text == word;
  }
};

/// The longest source that is compiled, in bytes of UTF-8.
inline constexpr std::size_t kMaxKernelSourceBytes = 1024 * 1024;

/// Splits `source` into tokens, the last of kind kEnd. False with `error` at the first thing that
/// is no token of the language. The tokens refer to the source's memory.
bool LexKernelSource(std::string_view source, std::vector<Token>& tokens, CIKernelError& error);

}  // namespace lumivane::coreimage
