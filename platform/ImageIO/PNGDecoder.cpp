// The PNG library reports errors by a long jump. Everything that owns memory lives in a Reader
// outside the function that jumps are caught in, and what runs below that function has no local
// objects to destroy.
#include <png.h>

#include <csetjmp>
#include <cstring>

#include "platform/ImageIO/ExifOrientation.h"
#include "platform/ImageIO/PixelBuffer.h"

namespace imageio {
namespace {

// Against small files whose compressed chunks unpack to enormous texts.
constexpr png_alloc_size_t kMaxChunkBytes = 8 << 20;
constexpr png_uint_32 kMaxAncillaryChunks = 256;

struct Reader {
  std::span<const std::uint8_t> bytes;
  std::size_t position = 0;
  png_structp png = nullptr;
  png_infop info = nullptr;
  char message[256] = "";
  DecodedFile* file = nullptr;
  bool anyRow = false;

  ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

void Fail(png_structp png, png_const_charp text) {
  auto* reader = static_cast<Reader*>(png_get_error_ptr(png));
  std::strncpy(reader->message, text, sizeof reader->message - 1);
  png_longjmp(png, 1);
}

void Ignore(png_structp, png_const_charp) {}

void ReadBytes(png_structp png, png_bytep to, std::size_t count) {
  auto* reader = static_cast<Reader*>(png_get_io_ptr(png));
  if (reader->bytes.size() - reader->position < count) png_error(png, "the data end early");
  std::memcpy(to, reader->bytes.data() + reader->position, count);
  reader->position += count;
}

bool Caught(Reader* reader, void (*step)(Reader*)) {
  if (setjmp(png_jmpbuf(reader->png)) != 0) return false;
  step(reader);
  return true;
}

void ReadHeader(Reader* r) {
  png_set_read_fn(r->png, r, ReadBytes);
  png_set_user_limits(r->png, kImageIOMaxDimension, kImageIOMaxDimension);
  png_set_chunk_malloc_max(r->png, kMaxChunkBytes);
  png_set_chunk_cache_max(r->png, kMaxAncillaryChunks);
  png_read_info(r->png, r->info);
}

void ReadRows(Reader* r) {
  png_set_expand(r->png);
  png_set_scale_16(r->png);
  png_set_gray_to_rgb(r->png);
  png_set_add_alpha(r->png, 0xFF, PNG_FILLER_AFTER);
  const int passes = png_set_interlace_handling(r->png);
  png_read_update_info(r->png, r->info);
  if (png_get_rowbytes(r->png, r->info) != r->file->pixels.rowBytes()) {
    png_error(r->png, "unexpected row size");
  }
  for (int pass = 0; pass < passes; ++pass) {
    for (std::uint32_t y = 0; y < r->file->pixels.height; ++y) {
      png_read_row(r->png, r->file->pixels.row(y), nullptr);
      r->anyRow = true;
    }
  }
}

void ReadEnd(Reader* r) {
  png_read_end(r->png, r->info);
}

std::string FromLatin1(const char* text, std::size_t size) {
  std::string utf8;
  for (std::size_t i = 0; i < size; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c < 0x80) {
      utf8 += text[i];
    } else {
      utf8 += static_cast<char>(0xC0 | c >> 6);
      utf8 += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return utf8;
}

void CollectTexts(const Reader& r) {
  png_textp texts = nullptr;
  int count = 0;
  png_get_text(r.png, r.info, &texts, &count);
  for (int i = 0; i < count; ++i) {
    const png_text& entry = texts[i];
    if (!entry.key || !entry.text) continue;
    const bool international = entry.compression >= PNG_ITXT_COMPRESSION_NONE;
    const std::size_t size = international ? entry.itxt_length : entry.text_length;
    r.file->texts.emplace_back(
        FromLatin1(entry.key, std::strlen(entry.key)),
        international ? std::string(entry.text, size) : FromLatin1(entry.text, size));
  }
}

void CollectOrientation(const Reader& r) {
  png_bytep exif = nullptr;
  png_uint_32 size = 0;
  if (png_get_eXIf_1(r.png, r.info, &size, &exif) != 0 && exif) {
    r.file->orientation = ExifOrientation({exif, size});
  }
}

}  // namespace

DecodedFile DecodePNG(std::span<const std::uint8_t> bytes) {
  DecodedFile file;
  Reader reader;
  reader.bytes = bytes;
  reader.file = &file;
  reader.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &reader, Fail, Ignore);
  if (reader.png) reader.info = png_create_info_struct(reader.png);
  if (!reader.info) {
    file.error = "not enough memory";
    return file;
  }
  if (!Caught(&reader, ReadHeader)) {
    file.error = reader.message;
    return file;
  }
  const std::uint32_t width = png_get_image_width(reader.png, reader.info);
  const std::uint32_t height = png_get_image_height(reader.png, reader.info);
  if (!SizeAllowed(width, height, &file.error)) return file;
  if (!file.pixels.allocate(width, height)) {
    file.error = "not enough memory";
    return file;
  }
  file.hasAlpha = (png_get_color_type(reader.png, reader.info) & PNG_COLOR_MASK_ALPHA) != 0 ||
                  png_get_valid(reader.png, reader.info, PNG_INFO_tRNS) != 0;
  file.complete = Caught(&reader, ReadRows) && Caught(&reader, ReadEnd);
  if (!file.complete) file.error = reader.message;
  if (!reader.anyRow) file.pixels.bytes.reset();
  CollectTexts(reader);
  CollectOrientation(reader);
  return file;
}

}  // namespace imageio
