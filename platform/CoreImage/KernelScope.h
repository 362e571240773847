// Names in a kernel source: variables by scope, functions by signature. Internal to CoreImage.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CoreImage/KernelTree.h"

namespace lumivane::coreimage {

/// A violation of the rules; leaves the checker at once.
struct KernelRuleError {
  int line;
  std::string message;
};

struct KernelVariable {
  CIKernelType type;  ///< decayed
  bool isConst;
  bool isConstant;  ///< its value is known when the source is compiled
};

/// Nested scopes, innermost last. The outermost holds the source's constants.
class KernelScopes {
 public:
  KernelScopes() : scopes_(1) {}
  void Open() { scopes_.emplace_back(); }
  void Close() { scopes_.pop_back(); }
  /// Throws when the innermost scope has the name already.
  void Declare(std::string_view name, int line, const KernelVariable& variable);
  const KernelVariable* Find(std::string_view name) const;
  bool IsGlobal(std::string_view name) const { return scopes_.front().contains(name); }

 private:
  std::vector<std::map<std::string_view, KernelVariable>> scopes_;
};

/// The functions of a source declared so far.
class KernelFunctions {
 public:
  struct Entry {
    const Function* function;  ///< its first declaration
    bool isDefined = false;
    std::vector<std::size_t> calls;  ///< entries that its body calls
    int firstCallLine = 0;           ///< 0: never called
  };

  /// Adds a declaration or definition; throws when it does not agree with an earlier one. Returns
  /// the entry's index.
  std::size_t Declare(const Function& function);
  bool Has(std::string_view name) const;
  /// The entry that a call with arguments of these types means; -1 when none takes them. Throws
  /// when several do, equally well.
  std::ptrdiff_t Find(std::string_view name, int line,
                      const std::vector<CIKernelType>& arguments) const;
  Entry& operator[](std::size_t index) { return entries_[index]; }
  /// Throws when a called function is defined nowhere or calls itself, directly or through others.
  void CheckCalls() const;

 private:
  std::vector<Entry> entries_;
  std::multimap<std::string_view, std::size_t> byName_;
};

}  // namespace lumivane::coreimage
