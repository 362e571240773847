// Tokens to syntax tree. Internal to CoreImage.
#pragma once

#include <vector>

#include "platform/CoreImage/KernelLexer.h"
#include "platform/CoreImage/KernelTree.h"

namespace lumivane::coreimage {

/// Parses the tokens of a whole source (kEnd last). False with `error` at the first token that
/// does not fit the grammar. The tree refers to the source's memory.
bool ParseKernelSource(const std::vector<Token>& tokens, KernelTree& tree, CIKernelError& error);

}  // namespace lumivane::coreimage
