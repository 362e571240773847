#include "platform/QuickTime/Decompressors.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <unordered_map>

#include "platform/QuickDraw/PixelFormats.h"
#include "platform/QuickTime/DecompressorRegistry.h"
#include "platform/QuickTime/StandardDecompressors.h"

namespace {

using Registered = std::shared_ptr<RegisteredDecompressor>;

struct Registry {
  std::mutex mutex;
  std::unordered_map<CodecComponent, Registered> codecs;
  UInt64 nextOrder = 1;
};

bool IsComplete(const ImageDecompressorInfo& info) {
  const PixelFormatInfo* destination = FindPixelFormat(info.destinationFormat);
  if (info.convertRow == nullptr || info.sourceFormat == 0 || destination == nullptr) return false;
  const bool bytes = destination->unitPixels == 1 && destination->bitsPerPixel != 16 &&
                     destination->bitsPerPixel <= 32;
  return bytes && info.unitPixels >= 1 && info.unitPixels <= 16 && info.unitBytes >= 1 &&
         info.unitBytes <= 64;
}

CodecComponent Add(Registry& registry, const ImageDecompressorInfo& info) {
  if (!IsComplete(info)) return nullptr;
  try {
    auto entry = std::make_shared<RegisteredDecompressor>();
    entry->info = info;
    entry->name = info.name == nullptr ? "" : info.name;
    entry->info.name = entry->name.c_str();
    const auto codec = reinterpret_cast<CodecComponent>(entry.get());
    const std::lock_guard<std::mutex> guard(registry.mutex);
    entry->order = registry.nextOrder++;
    registry.codecs.emplace(codec, std::move(entry));
    return codec;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

/// Never destroyed: modules may withdraw their codecs at exit. Starts with the platform's own.
Registry& TheRegistry() {
  static Registry& registry = *[] {
    auto* fresh = new Registry;
    for (const ImageDecompressorInfo& info : StandardDecompressors()) Add(*fresh, info);
    return fresh;
  }();
  return registry;
}

/// Lower is better.
int Rank(const RegisteredDecompressor& codec, DecompressorQuality wanted) {
  return codec.info.quality == wanted ? 0 : 1;
}

bool ToolkitRuleIsWanted() {
  const char* value = std::getenv("LUMIVANE_DECOMPRESSOR");
  return value != nullptr && std::strcmp(value, "toolkit") == 0;
}

}  // namespace

CodecComponent RegisterImageDecompressor(const ImageDecompressorInfo& info) {
  return Add(TheRegistry(), info);
}

OSErr UnregisterImageDecompressor(CodecComponent codec) {
  Registry& registry = TheRegistry();
  Registered entry;
  {
    const std::lock_guard<std::mutex> guard(registry.mutex);
    const auto found = registry.codecs.find(codec);
    if (found == registry.codecs.end()) return paramErr;
    entry = std::move(found->second);
    registry.codecs.erase(found);
  }
  const std::unique_lock<std::shared_mutex> exclusive(entry->use);
  entry->alive = false;
  if (entry->info.close != nullptr) {
    for (void* instance : entry->instances) entry->info.close(instance);
  }
  entry->instances.clear();
  return noErr;
}

std::shared_ptr<RegisteredDecompressor> ChooseDecompressor(OSType sourceFormat,
                                                           OSType destinationFormat,
                                                           CodecComponent choice) {
  Registry& registry = TheRegistry();
  const bool speed =
      choice == bestSpeedCodec || (choice == bestFidelityCodec && ToolkitRuleIsWanted());
  const DecompressorQuality wanted =
      speed ? DecompressorQuality::bestSpeed : DecompressorQuality::bestFidelity;
  const bool isChoice = choice == anyCodec || choice == bestSpeedCodec ||
                        choice == bestFidelityCodec || choice == bestCompressionCodec;
  const std::lock_guard<std::mutex> guard(registry.mutex);
  Registered best;
  for (const auto& [codec, entry] : registry.codecs) {
    if (!isChoice && codec != choice) continue;
    if (entry->info.sourceFormat != sourceFormat) continue;
    if (entry->info.destinationFormat != destinationFormat) continue;
    const bool better = best == nullptr || Rank(*entry, wanted) < Rank(*best, wanted) ||
                        (Rank(*entry, wanted) == Rank(*best, wanted) && entry->order > best->order);
    if (better) best = entry;
  }
  return best;
}

CodecComponent FindImageDecompressor(OSType sourceFormat, OSType destinationFormat,
                                     CodecComponent choice) {
  const Registered found = ChooseDecompressor(sourceFormat, destinationFormat, choice);
  return reinterpret_cast<CodecComponent>(found.get());
}

Boolean GetImageDecompressorName(CodecComponent codec, char* name, ByteCount nameSize) {
  if (name == nullptr || nameSize == 0) return false;
  name[0] = '\0';
  Registry& registry = TheRegistry();
  const std::lock_guard<std::mutex> guard(registry.mutex);
  const auto found = registry.codecs.find(codec);
  if (found == registry.codecs.end()) return false;
  const std::size_t length = std::min<std::size_t>(found->second->name.size(), nameSize - 1);
  std::memcpy(name, found->second->name.data(), length);
  name[length] = '\0';
  return true;
}

OSErr OpenDecompressor::Open(const std::shared_ptr<RegisteredDecompressor>& decompressor,
                             ImageDescriptionHandle description,
                             std::unique_ptr<OpenDecompressor>* opened) {
  const std::unique_lock<std::shared_mutex> exclusive(decompressor->use);
  if (!decompressor->alive) return noCodecErr;
  const ImageDecompressorInfo& info = decompressor->info;
  void* instance = nullptr;
  try {
    decompressor->instances.reserve(decompressor->instances.size() + 1);
    const OSErr error = info.open == nullptr ? noErr : info.open(description, &instance);
    if (error != noErr) return error;
    decompressor->instances.push_back(instance);
    opened->reset(new OpenDecompressor(decompressor, instance));
    return noErr;
  } catch (const std::bad_alloc&) {
    return memFullErr;
  }
}

OpenDecompressor::~OpenDecompressor() {
  const std::unique_lock<std::shared_mutex> exclusive(decompressor_->use);
  if (!decompressor_->alive) return;
  auto& instances = decompressor_->instances;
  const auto found = std::find(instances.begin(), instances.end(), instance_);
  if (found != instances.end()) instances.erase(found);
  if (info().close != nullptr) info().close(instance_);
}
