// The one filter behind all modules of a process.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "hosts/source/lumivane_source.h"

class CIFilter;
class CIImage;

namespace lumivane::source {

/// Guards what the filter leaves unguarded: one caller at a time asks for a picture and renders it.
/// The picture reads the camera's memory, or the filter's raster, until it is rendered.
class SharedSource {
 public:
  using Clock = std::chrono::steady_clock;

  /// The process's own. Never destroyed; after the process has begun to exit it draws black.
  static SharedSource& Shared();

  void Acquire();
  void Release();
  std::int32_t Draw(const LumivaneSourceBitmap& bitmap);
  bool GetSize(std::uint32_t* width, std::uint32_t* height);
  std::string Error();

 private:
  struct ImageRelease {
    void operator()(CIImage* image) const;
  };
  using ImageHolder = std::unique_ptr<CIImage, ImageRelease>;
  struct Answer {
    ImageHolder image;
    bool live = false;
  };

  SharedSource() = default;
  bool Open();
  void Close();
  void Exit();
  /// Exit functions run in the opposite order of their registration, and what a picture uses is in
  /// part made, and its destruction registered, with the first picture that needs it. Registered
  /// again after such pictures, ours comes first: when others destroy, no thread is drawing.
  void StayFirstAtExit(const LumivaneSourceBitmap& bitmap);
  void SetClock(double clock);
  bool IsTimeToAsk() const;
  Answer Ask();
  /// Lets the first picture wait for a camera that is being opened; a program that takes one
  /// picture wants the camera's. `guard` holds the lock, which others may take meanwhile: what it
  /// guards may be another afterwards.
  void AwaitCamera(std::unique_lock<std::mutex>& guard);

  std::mutex lock_;
  int users_ = 0;
  bool exiting_ = false;
  std::uint64_t draws_ = 0;
  std::uint32_t lastWidth_ = 0;
  std::uint32_t lastHeight_ = 0;
  int exitFunctions_ = 0;
  CIFilter* filter_ = nullptr;  ///< retained
  std::string plugIn_;          ///< path of the plug-in it comes from
  std::string error_;
  Clock::time_point lastOpening_;
  bool awaited_ = false;  ///< since the filter was made
  double clock_ = 0;
  ImageHolder noCamera_;  ///< the last answer, while that was the no-camera picture
  Clock::time_point lastAsked_;
};

}  // namespace lumivane::source
