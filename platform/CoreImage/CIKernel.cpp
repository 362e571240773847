#include "platform/CoreImage/CIKernel.h"

#include <algorithm>
#include <utility>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/KernelChecker.h"
#include "platform/CoreImage/KernelParser.h"
#include "platform/Foundation/NSValues.h"
#include "platform/Foundation/Text.h"

using namespace lumivane::coreimage;
using lumivane::foundation::CreateString;
using lumivane::foundation::Utf8;

CFTypeID CIKernelGetTypeID() {
  static const CFTypeID type = CFRuntimeRegisterType("CIKernel");
  return type;
}

CIKernel::CIKernel(NSString* name, CIKernelType resultType, std::vector<CIKernelArgument> arguments)
    : NSObject(CIKernelGetTypeID()),
      name_(NSRetain(name)),
      resultType_(resultType),
      arguments_(std::move(arguments)) {}

void CIKernel::dealloc() {
  NSRelease(name_);
  name_ = nullptr;
  NSObject::dealloc();
}

NSArray* CIKernel::kernelsWithString(NSString* source) {
  return kernelsWithStringerror(source, nullptr);
}

NSArray* CIKernel::kernelsWithStringerror(NSString* source, CIKernelError* error) {
  CIKernelError own;
  CIKernelError& problem = error != nullptr ? *error : own;
  problem = {};
  if (source == nullptr) {
    problem = {1, "there is no source"};
    return nullptr;
  }
  if (CFStringGetLength(source) > static_cast<CFIndex>(kMaxKernelSourceBytes)) {
    problem = {1, "the source is longer than 1 MiB"};
    return nullptr;
  }
  const std::string text = Utf8(source);
  std::vector<Token> tokens;
  KernelTree tree;
  if (!LexKernelSource(text, tokens, problem) || !ParseKernelSource(tokens, tree, problem) ||
      !CheckKernelSource(tree, problem)) {
    return nullptr;
  }

  std::vector<CFTypeRef> kernels;
  for (const TopLevel& top : tree) {
    if (top.function == nullptr || !top.function->isKernel) continue;
    std::vector<CIKernelArgument> arguments;
    for (const Parameter& parameter : top.function->parameters) {
      arguments.push_back({std::string(parameter.name), parameter.type, parameter.isTable});
    }
    NSString* const name = NSAutorelease(CreateString(top.function->name));
    const CIKernel* const kernel = new CIKernel(name, top.function->result, std::move(arguments));
    kernels.push_back(NSAutorelease(static_cast<const CFRuntimeObject*>(kernel)));
  }
  if (kernels.empty()) {
    problem = {tokens.back().line, "the source has no kernel"};
    return nullptr;
  }
  return NSArray_arrayWithObjectscount(kernels.data(), static_cast<CFIndex>(kernels.size()));
}
