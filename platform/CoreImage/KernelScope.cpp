#include "platform/CoreImage/KernelScope.h"

#include <algorithm>
#include <cstddef>

#include "platform/CoreImage/KernelTypes.h"

namespace lumivane::coreimage {

void KernelScopes::Declare(std::string_view name, int line, const KernelVariable& variable) {
  if (!scopes_.back().try_emplace(name, variable).second) {
    throw KernelRuleError{line, "'" + std::string(name) + "' is declared twice"};
  }
}

const KernelVariable* KernelScopes::Find(std::string_view name) const {
  for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
    const auto found = scope->find(name);
    if (found != scope->end()) return &found->second;
  }
  return nullptr;
}

namespace {

bool SameParameters(const Function& a, const Function& b) {
  return std::equal(
      a.parameters.begin(), a.parameters.end(), b.parameters.begin(), b.parameters.end(),
      [](const Parameter& x, const Parameter& y) { return Decay(x.type) == Decay(y.type); });
}

bool SamePassing(const Function& a, const Function& b) {
  return std::equal(a.parameters.begin(), a.parameters.end(), b.parameters.begin(),
                    [](const Parameter& x, const Parameter& y) { return x.passing == y.passing; });
}

bool Takes(const Function& function, const std::vector<CIKernelType>& arguments, bool exactly) {
  return std::equal(function.parameters.begin(), function.parameters.end(), arguments.begin(),
                    arguments.end(), [&](const Parameter& parameter, CIKernelType argument) {
                      const CIKernelType type = Decay(parameter.type);
                      return exactly ? type == argument : Converts(argument, type);
                    });
}

}  // namespace

std::size_t KernelFunctions::Declare(const Function& function) {
  const auto [first, last] = byName_.equal_range(function.name);
  const std::string name = "'" + std::string(function.name) + "'";
  for (auto it = first; it != last; ++it) {
    Entry& entry = entries_[it->second];
    if (entry.function->isKernel || function.isKernel) {
      throw KernelRuleError{function.line, "a kernel must be the only function called " + name};
    }
    if (!SameParameters(*entry.function, function)) continue;
    if (entry.function->result != function.result || !SamePassing(*entry.function, function)) {
      throw KernelRuleError{function.line, name + " was declared differently before"};
    }
    if (function.body != nullptr) {
      if (entry.isDefined) throw KernelRuleError{function.line, name + " is defined twice"};
      entry.isDefined = true;
    }
    return it->second;
  }
  entries_.push_back({&function, function.body != nullptr, {}, 0});
  byName_.emplace(function.name, entries_.size() - 1);
  return entries_.size() - 1;
}

bool KernelFunctions::Has(std::string_view name) const {
  return byName_.contains(name);
}

std::ptrdiff_t KernelFunctions::Find(std::string_view name, int line,
                                     const std::vector<CIKernelType>& arguments) const {
  const auto [first, last] = byName_.equal_range(name);
  std::ptrdiff_t found = -1;
  bool several = false;
  for (auto it = first; it != last; ++it) {
    const Function& function = *entries_[it->second].function;
    if (Takes(function, arguments, true)) return static_cast<std::ptrdiff_t>(it->second);
    if (!Takes(function, arguments, false)) continue;
    several = found >= 0;
    found = static_cast<std::ptrdiff_t>(it->second);
  }
  if (several) {
    throw KernelRuleError{line, "more than one '" + std::string(name) + "' takes these arguments"};
  }
  return found;
}

void KernelFunctions::CheckCalls() const {
  enum class Mark : UInt8 { kNew, kOpen, kDone };
  std::vector<Mark> marks(entries_.size(), Mark::kNew);
  struct Step {
    std::size_t entry;
    std::size_t nextCall;
  };
  // An explicit stack: a source may hold as many functions in a chain as it has bytes for.
  for (std::size_t start = 0; start < entries_.size(); ++start) {
    const Entry& root = entries_[start];
    if (root.firstCallLine != 0 && !root.isDefined) {
      throw KernelRuleError{root.firstCallLine,
                            "'" + std::string(root.function->name) + "' is not defined"};
    }
    if (marks[start] != Mark::kNew) continue;
    std::vector<Step> path{{start, 0}};
    marks[start] = Mark::kOpen;
    while (!path.empty()) {
      Step& step = path.back();
      const Entry& entry = entries_[step.entry];
      if (step.nextCall == entry.calls.size()) {
        marks[step.entry] = Mark::kDone;
        path.pop_back();
        continue;
      }
      const std::size_t callee = entry.calls[step.nextCall++];
      if (marks[callee] == Mark::kOpen) {
        const Function& function = *entries_[callee].function;
        throw KernelRuleError{function.line,
                              "'" + std::string(function.name) + "' calls itself; no recursion"};
      }
      if (marks[callee] == Mark::kNew) {
        marks[callee] = Mark::kOpen;
        path.push_back({callee, 0});
      }
    }
  }
}

}  // namespace lumivane::coreimage
