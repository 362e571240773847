// The functions every kernel can call. Internal to CoreImage.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "platform/CoreImage/CIKernel.h"

namespace lumivane::coreimage {

/// Whether any built-in function has the name.
bool IsBuiltin(std::string_view name);

/// The type of `name` called with arguments of these (decayed) types; nothing when no built-in
/// function of the name takes them.
std::optional<CIKernelType> BuiltinResult(std::string_view name,
                                          std::span<const CIKernelType> arguments);

}  // namespace lumivane::coreimage
