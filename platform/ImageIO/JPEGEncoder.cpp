// The JPEG library reports errors by a long jump; see the PNG decoder for how that is kept safe.
#include <cstddef>
#include <cstdio>
// The library's header needs the two above.
#include <jpeglib.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdlib>
#include <new>

#include "platform/CoreGraphics/RowKernels.h"
#include "platform/ImageIO/EncoderRows.h"

namespace imageio {
namespace {

// From here on colour edges are worth more than the bytes they cost.
constexpr double kFullColorQuality = 0.9;

struct Writer {
  jpeg_error_mgr errors{};
  std::jmp_buf jump{};
  jpeg_compress_struct jpeg{};
  bool created = false;
  char message[JMSG_LENGTH_MAX] = "";
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  EncoderRows* rows = nullptr;
  double quality = 0;
  std::vector<std::uint8_t> row;

  ~Writer() {
    if (created) jpeg_destroy_compress(&jpeg);
    std::free(bytes);
  }
};

[[noreturn]] void Fail(j_common_ptr jpeg) {
  auto* writer = static_cast<Writer*>(jpeg->client_data);
  jpeg->err->format_message(jpeg, writer->message);
  std::longjmp(writer->jump, 1);
}

void NoOutput(j_common_ptr) {}

void PackRow(Writer* w, const std::uint8_t* pixel) {
  std::uint8_t* to = w->row.data();
  const int components = w->jpeg.input_components;
  for (std::uint32_t x = 0; x < w->rows->width(); ++x, pixel += 4) {
    for (int c = 1; c <= components; ++c) {
      const unsigned alpha = pixel[0];
      *to++ = static_cast<std::uint8_t>(raster::Div255(pixel[c] * alpha + 255 * (255 - alpha)));
    }
  }
}

void WriteAll(Writer* w) {
  jpeg_create_compress(&w->jpeg);
  w->created = true;
  jpeg_mem_dest(&w->jpeg, &w->bytes, &w->size);
  const bool gray = w->rows->isGray();
  w->jpeg.image_width = w->rows->width();
  w->jpeg.image_height = w->rows->height();
  w->jpeg.input_components = gray ? 1 : 3;
  w->jpeg.in_color_space = gray ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&w->jpeg);
  jpeg_set_quality(&w->jpeg, static_cast<int>(std::lround(w->quality * 100)), TRUE);
  if (!gray && w->quality >= kFullColorQuality) {
    w->jpeg.comp_info[0].h_samp_factor = 1;
    w->jpeg.comp_info[0].v_samp_factor = 1;
  }
  jpeg_start_compress(&w->jpeg, TRUE);
  for (std::uint32_t y = 0; y < w->rows->height(); ++y) {
    PackRow(w, w->rows->row(y));
    JSAMPROW row = w->row.data();
    jpeg_write_scanlines(&w->jpeg, &row, 1);
  }
  jpeg_finish_compress(&w->jpeg);
}

bool Caught(Writer* writer, void (*step)(Writer*)) {
  if (setjmp(writer->jump) != 0) return false;
  step(writer);
  return true;
}

}  // namespace
}  // namespace imageio

std::vector<std::uint8_t> ImageIOEncodeJPEG(CGImageRef image, double quality, std::string* error) {
  std::string reason;
  std::string* why = error ? error : &reason;
  try {
    if (!imageio::CanEncode(image, why)) return {};
    imageio::EncoderRows rows(image);
    imageio::Writer writer;
    writer.rows = &rows;
    writer.quality =
        std::isnan(quality) ? imageio::kFullColorQuality : std::clamp(quality, 0.0, 1.0);
    writer.row.resize(std::size_t{3} * rows.width());
    writer.jpeg.err = jpeg_std_error(&writer.errors);
    writer.jpeg.client_data = &writer;
    writer.errors.error_exit = imageio::Fail;
    writer.errors.output_message = imageio::NoOutput;
    if (!imageio::Caught(&writer, imageio::WriteAll)) {
      *why = writer.message;
      return {};
    }
    return {writer.bytes, writer.bytes + writer.size};
  } catch (const std::bad_alloc&) {
    *why = "not enough memory";
    return {};
  }
}
