// The JPEG library reports errors by a long jump; see the PNG decoder for how that is kept safe.
#include <cstddef>
#include <cstdio>
// The library's header needs the two above.
#include <jpeglib.h>

#include <csetjmp>
#include <cstring>

#include "platform/CoreGraphics/RowKernels.h"
#include "platform/ImageIO/ExifOrientation.h"
#include "platform/ImageIO/PixelBuffer.h"

namespace imageio {
namespace {

// A coded block takes at least about a bit per component, so that no real file comes near this many
// pixels per byte. One that claims to would have the library lay out and clear memory for nothing.
constexpr std::uint64_t kMaxPixelsPerByte = 4096;
constexpr std::uint64_t kPixelsAlwaysAllowed = 1 << 20;
// Encoders make about ten scans; thousands are made to waste the reader's time.
constexpr int kMaxScans = 256;

struct Reader {
  jpeg_error_mgr errors{};
  jpeg_progress_mgr progress{};
  std::jmp_buf jump{};
  jpeg_decompress_struct jpeg{};
  bool created = false;
  char message[JMSG_LENGTH_MAX] = "";
  std::span<const std::uint8_t> bytes;
  DecodedFile* file = nullptr;
  std::vector<std::uint8_t> inks;  ///< one row of cyan, magenta, yellow, black

  ~Reader() {
    if (created) jpeg_destroy_decompress(&jpeg);
  }
};

Reader* ReaderOf(j_common_ptr jpeg) {
  return static_cast<Reader*>(jpeg->client_data);
}

[[noreturn]] void Fail(j_common_ptr jpeg) {
  Reader* reader = ReaderOf(jpeg);
  jpeg->err->format_message(jpeg, reader->message);
  std::longjmp(reader->jump, 1);
}

// Keeps the first warning, which says what broke; later ones follow from it.
void Note(j_common_ptr jpeg, int level) {
  if (level >= 0) return;
  Reader* reader = ReaderOf(jpeg);
  if (jpeg->err->num_warnings++ == 0) jpeg->err->format_message(jpeg, reader->message);
}

void NoOutput(j_common_ptr) {}

void CheckScans(j_common_ptr jpeg) {
  Reader* reader = ReaderOf(jpeg);
  if (reader->jpeg.input_scan_number <= kMaxScans) return;
  std::strncpy(reader->message, "too many scans", sizeof reader->message - 1);
  std::longjmp(reader->jump, 1);
}

bool Caught(Reader* reader, void (*step)(Reader*)) {
  if (setjmp(reader->jump) != 0) return false;
  step(reader);
  return true;
}

void ReadHeader(Reader* r) {
  jpeg_create_decompress(&r->jpeg);
  r->created = true;
  r->jpeg.progress = &r->progress;
  jpeg_mem_src(&r->jpeg, r->bytes.data(), static_cast<unsigned long>(r->bytes.size()));
  jpeg_save_markers(&r->jpeg, JPEG_APP0 + 1, 0xFFFF);
  jpeg_read_header(&r->jpeg, TRUE);
}

bool IsInk(const jpeg_decompress_struct& jpeg) {
  return jpeg.jpeg_color_space == JCS_CMYK || jpeg.jpeg_color_space == JCS_YCCK;
}

// Files with Adobe's marker store how much light an ink lets through; others how much ink there is.
void InksToColors(const std::uint8_t* inks, bool light, std::uint8_t* to, std::size_t count) {
  const unsigned flip = light ? 0 : 255;
  for (std::size_t i = 0; i < count; ++i, inks += 4, to += 4) {
    const unsigned black = inks[3] ^ flip;
    for (int c = 0; c < 3; ++c) {
      to[c] = static_cast<std::uint8_t>(raster::Div255((inks[c] ^ flip) * black));
    }
    to[3] = 255;
  }
}

void ReadRows(Reader* r) {
  const bool inks = IsInk(r->jpeg);
  r->jpeg.out_color_space = inks ? JCS_CMYK : JCS_EXT_RGBA;
  jpeg_start_decompress(&r->jpeg);
  while (r->jpeg.output_scanline < r->jpeg.output_height) {
    std::uint8_t* row = r->file->pixels.row(r->jpeg.output_scanline);
    JSAMPROW target = inks ? r->inks.data() : row;
    jpeg_read_scanlines(&r->jpeg, &target, 1);
    if (inks) {
      InksToColors(r->inks.data(), r->jpeg.saw_Adobe_marker != 0, row, r->jpeg.output_width);
    }
  }
}

void ReadEnd(Reader* r) {
  jpeg_finish_decompress(&r->jpeg);
}

}  // namespace

DecodedFile DecodeJPEG(std::span<const std::uint8_t> bytes) {
  DecodedFile file;
  Reader reader;
  reader.bytes = bytes;
  reader.file = &file;
  reader.jpeg.err = jpeg_std_error(&reader.errors);
  reader.jpeg.client_data = &reader;
  reader.errors.error_exit = Fail;
  reader.errors.emit_message = Note;
  reader.errors.output_message = NoOutput;
  reader.progress.progress_monitor = CheckScans;
  if (!Caught(&reader, ReadHeader)) {
    file.error = reader.message;
    return file;
  }
  const std::uint32_t width = reader.jpeg.image_width;
  const std::uint32_t height = reader.jpeg.image_height;
  if (!SizeAllowed(width, height, &file.error)) return file;
  const std::uint64_t area = std::uint64_t{width} * height;
  if (area > kPixelsAlwaysAllowed && area / kMaxPixelsPerByte > bytes.size()) {
    file.error = "the data are far too short for the picture's size";
    return file;
  }
  for (jpeg_saved_marker_ptr marker = reader.jpeg.marker_list; marker; marker = marker->next) {
    if (file.orientation == 1) {
      file.orientation = ExifSegmentOrientation({marker->data, marker->data_length});
    }
  }
  if (!file.pixels.allocate(width, height)) {
    file.error = "not enough memory";
    return file;
  }
  if (IsInk(reader.jpeg)) reader.inks.resize(std::size_t{4} * width);
  file.complete =
      Caught(&reader, ReadRows) && Caught(&reader, ReadEnd) && reader.errors.num_warnings == 0;
  if (!file.complete) file.error = reader.message;
  if (reader.jpeg.output_scanline == 0) file.pixels.bytes.reset();
  return file;
}

}  // namespace imageio
