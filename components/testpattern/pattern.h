// The test picture: what is where, and drawing it.
//
// From top to bottom, in parts of the height:
//   0.00-0.62  seven 75 % colour bars (grey, yellow, cyan, green, magenta, red, blue), on them a
//   disc
//              with a hand that goes round once in two seconds
//   0.62-0.68  the bars' complements in reverse order, black between them
//   0.68-0.80  a ramp from black to white and a ball that goes to and fro in four seconds
//   0.80-0.94  the frame counter in figures, and what the picture is
//   0.94-1.00  the frame counter for machines: see ReadCounter
//
// The hand, the ball and the counters follow from the frame number alone: equal numbers, equal
// pictures. 2vuy pictures are the same picture in video range, chroma averaged per pair: Rec. 601
// up to 576 rows, Rec. 709 above, as standard- and high-definition video are.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "components/testpattern/settings.h"

namespace testpattern {

struct Area {
  int left, top, right, bottom;  ///< right and bottom are outside
};

class Pattern {
 public:
  /// Renders all that does not move. Throws std::bad_alloc.
  explicit Pattern(const Settings& settings);

  /// Fills a buffer of `settings.DataSize()` bytes with the parts that do not move.
  void DrawBackground(std::uint8_t* pixels) const;
  /// Makes frame `number` of a buffer that holds the background or any earlier frame.
  void DrawFrame(std::uint32_t number, std::uint8_t* pixels);

  const Settings& settings() const { return settings_; }
  Area DiscArea() const { return disc_; }
  Area BallArea() const { return ballBand_; }

 private:
  struct Rgb {
    std::uint8_t r, g, b;
  };
  void RenderBars();
  void RenderDisc();
  void RenderRamp();
  void RenderPanel();
  void RenderText(const char* text, int left, int top, int scale, Rgb colour);
  void DrawDisc(std::uint32_t number, std::uint8_t* pixels);
  void DrawBall(std::uint32_t number, std::uint8_t* pixels);
  void DrawCounter(std::uint32_t number, std::uint8_t* pixels);
  void DrawStrip(std::uint32_t number, std::uint8_t* pixels);
  Rgb& Background(int x, int y);
  /// Stores pixels left..left + count - 1 of row y from row_; both even for 2vuy.
  void StoreRow(int y, int left, int count, const Rgb* source, std::uint8_t* pixels) const;
  static Rgb Mix(Rgb under, Rgb over, float cover);

  Settings settings_;
  std::vector<Rgb> background_;
  std::vector<Rgb> row_;  // one row under construction
  std::vector<std::uint16_t>
      turns_;  // per pixel of the disc's area: clockwise from 12, 65536 a turn
  Area disc_{};
  float discRadius_ = 0;
  Area ballBand_{};
  float ballRadius_ = 0;
  Area counter_{};
  int counterScale_ = 1;
  Area strip_{};
};

/// The machine-readable counter. The strip is the lowest 6 % of the rows; over the whole width it
/// has 40 equal cells, cell i from i * width / 40 to (i + 1) * width / 40, white for 1 and black
/// for 0:
///   cells 0-3    1 0 1 0, so that a reader knows the strip and its polarity
///   cells 4-35   the frame number, 32 bits, highest first
///   cells 36-39  the exclusive-or of the number's eight 4-bit digits, highest bit first
/// Sampled at the middle of each cell in the picture's row `height - height / 33 - 1`, which is
/// about the middle of the strip. Nothing when the picture shows no valid strip. `rowBytes` is the
/// buffer's stride.
std::optional<std::uint32_t> ReadCounter(PixelFormat format, int width, int height,
                                         std::uint32_t rowBytes, const std::uint8_t* pixels);

}  // namespace testpattern
