// Streams of uncompressed frames: YUV4MPEG2 ("Y4M") with 8-bit samples, and raw frames without any
// header. Nothing is held but the frame under way.
//
// Y4M is a text line "YUV4MPEG2 W720 H480 F30000:1001 It A10:11 C422", then for each frame a line
// "FRAME" and the planes Y, Cb, Cr (and alpha), rows without padding, chroma rounded up. C is 420
// (420jpeg, 420mpeg2, 420paldv: 4:2:0 that differs in where chroma lies), 411, 422, 444, 444alpha
// or mono; without it 420jpeg. I is p progressive, t or b interlaced with that field first, m mixed
// (each FRAME line says), ? unknown. X is for extensions, of which COLORRANGE=FULL is known here.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "hosts/lumivane/PlanarFrame.h"

namespace lumivane {

struct Ratio {
  std::int64_t number = 0;
  std::int64_t divisor = 0;
};

/// "25", "29.97", "30000/1001", "30000:1001": above 0 and at most 1000.
std::optional<Ratio> ParseRate(const std::string& text);

enum class StreamForm { kY4M, kRawUYVY, kRawARGB };

struct StreamFormat {
  StreamForm form = StreamForm::kY4M;
  FrameLayout layout;
  std::string chroma = "422";           ///< Y4M's C
  Ratio rate;                           ///< frames a second; 0:0 unknown
  char interlacing = '?';               ///< Y4M's I
  Ratio aspect;                         ///< of a pixel, width to height; 0:0 unknown
  std::vector<std::string> extensions;  ///< Y4M's X, each without its letter

  bool IsInterlaced() const;
};

/// The format of what an operation makes of frames of format `in`.
StreamFormat OutputFormat(const StreamFormat& in, const PlanarOperation& operation);

class VideoReader {
 public:
  /// "-" is standard input. False with one sentence.
  bool Open(const std::string& path, std::string* error);
  /// Reads a Y4M stream's header.
  bool ReadHeader(std::string* error);
  /// Raw frames, which have none.
  void SetFormat(const StreamFormat& format) { format_ = format; }
  ~VideoReader();
  VideoReader() = default;
  VideoReader(const VideoReader&) = delete;
  VideoReader& operator=(const VideoReader&) = delete;

  const StreamFormat& format() const { return format_; }
  const std::string& name() const { return name_; }

  enum class Next { kFrame, kEnd, kBroken };
  /// The next frame into `frame`, which has the format's layout, and what its FRAME line says after
  /// that word. kBroken with the reason; a frame that is not whole counts as broken.
  Next Read(PlanarFrame& frame, std::string* parameters, std::string* error);

 private:
  bool ReadLine(std::string* line, std::string* error);
  std::size_t ReadSome(std::uint8_t* bytes, std::size_t size);
  Next Cut(std::size_t done, std::uint64_t size, std::string* error) const;

  std::FILE* file_ = nullptr;
  std::string name_;
  StreamFormat format_;
  std::vector<std::uint8_t> row_;
};

class VideoWriter {
 public:
  enum class Result { kOk, kFailed, kNobodyReads };

  /// "-" is standard output. A file is written aside and takes its name in Finish.
  bool Open(const std::string& path, std::string* error);
  Result WriteHeader(const StreamFormat& format, std::string* error);
  Result Write(const PlanarFrame& frame, const std::string& parameters, std::string* error);
  /// Everything is out, and the file has its name.
  Result Finish(std::string* error);
  /// Without Finish a file that was written aside is removed.
  ~VideoWriter();
  VideoWriter() = default;
  VideoWriter(const VideoWriter&) = delete;
  VideoWriter& operator=(const VideoWriter&) = delete;

 private:
  Result Put(const void* bytes, std::size_t size, std::string* error);
  Result Failed(std::string* error) const;

  std::FILE* file_ = nullptr;
  std::string name_;
  std::string target_;  ///< what the file written aside will replace
  std::string aside_;   ///< empty: written in place
  StreamFormat format_;
  std::vector<std::uint8_t> row_;
};

}  // namespace lumivane
