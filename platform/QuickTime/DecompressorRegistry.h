// The registry's side towards the sequences. Not for users of decompressors.
#pragma once

#include <memory>
#include <shared_mutex>
#include <string>
#include <vector>

#include "platform/QuickTime/Decompressors.h"

/// One registered decompressor. Its functions are called only while `alive`, under `use`.
struct RegisteredDecompressor {
  ImageDecompressorInfo info;
  std::string name;
  UInt64 order = 0;  ///< newer ones have larger numbers
  std::shared_mutex use;
  bool alive = true;
  std::vector<void*> instances;
};

/// The decompressor that a choice stands for; null for nobody.
std::shared_ptr<RegisteredDecompressor> ChooseDecompressor(OSType sourceFormat,
                                                           OSType destinationFormat,
                                                           CodecComponent choice);

/// One opened decompressor, closed with the object unless it was withdrawn before.
class OpenDecompressor {
 public:
  /// noCodecErr when it was withdrawn meanwhile, memFullErr, or what the codec's own open answers;
  /// null then.
  static OSErr Open(const std::shared_ptr<RegisteredDecompressor>& decompressor,
                    ImageDescriptionHandle description, std::unique_ptr<OpenDecompressor>* opened);
  ~OpenDecompressor();
  OpenDecompressor(const OpenDecompressor&) = delete;
  OpenDecompressor& operator=(const OpenDecompressor&) = delete;

  const ImageDecompressorInfo& info() const { return decompressor_->info; }

  /// Keeps the decompressor from being withdrawn for as long as it lives. Converts only when
  /// `held`.
  class Use {
   public:
    explicit Use(const OpenDecompressor& opened)
        : lock_(opened.decompressor_->use), opened_(opened) {}
    bool held() const { return opened_.decompressor_->alive; }
    void ConvertRow(const UInt8* source, UInt8* destination, UInt32 width) const {
      opened_.info().convertRow(opened_.instance_, source, destination, width);
    }
    /// Rows of whole units.
    void ConvertRows(const PackedRows& rows) const {
      const ImageDecompressorInfo& info = opened_.info();
      if (info.convertRows != nullptr) {
        info.convertRows(opened_.instance_, rows);
        return;
      }
      for (int y = 0; y < rows.height; ++y) {
        ConvertRow(rows.src + y * rows.srcRowBytes, rows.dst + y * rows.dstRowBytes,
                   static_cast<UInt32>(rows.width));
      }
    }

   private:
    std::shared_lock<std::shared_mutex> lock_;
    const OpenDecompressor& opened_;
  };

 private:
  OpenDecompressor(std::shared_ptr<RegisteredDecompressor> decompressor, void* instance)
      : decompressor_(std::move(decompressor)), instance_(instance) {}

  std::shared_ptr<RegisteredDecompressor> decompressor_;
  void* instance_;
};
