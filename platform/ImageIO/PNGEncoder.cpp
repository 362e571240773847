// The PNG library reports errors by a long jump; see the PNG decoder for how that is kept safe.
#include <png.h>

#include <csetjmp>
#include <cstring>
#include <new>

#include "platform/ImageIO/EncoderRows.h"

namespace imageio {
namespace {

struct Writer {
  png_structp png = nullptr;
  png_infop info = nullptr;
  char message[256] = "";
  std::vector<std::uint8_t> bytes;
  std::vector<png_text> texts;
  EncoderRows* rows = nullptr;
  int colorType = PNG_COLOR_TYPE_RGB;
  std::vector<std::uint8_t> row;

  ~Writer() { png_destroy_write_struct(&png, &info); }
};

void Fail(png_structp png, png_const_charp text) {
  auto* writer = static_cast<Writer*>(png_get_error_ptr(png));
  std::strncpy(writer->message, text, sizeof writer->message - 1);
  png_longjmp(png, 1);
}

void Ignore(png_structp, png_const_charp) {}

// No exception may cross the library, and no jump may leave a handler.
bool Append(Writer* writer, const std::uint8_t* from, std::size_t count) noexcept {
  try {
    writer->bytes.insert(writer->bytes.end(), from, from + count);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void WriteBytes(png_structp png, png_bytep from, std::size_t count) {
  if (!Append(static_cast<Writer*>(png_get_io_ptr(png)), from, count)) {
    png_error(png, "not enough memory");
  }
}

void Flush(png_structp) {}

void PackRow(Writer* w, const std::uint8_t* pixel) {
  std::uint8_t* to = w->row.data();
  for (std::uint32_t x = 0; x < w->rows->width(); ++x, pixel += 4) {
    *to++ = pixel[1];
    if (w->colorType == PNG_COLOR_TYPE_GRAY) continue;
    *to++ = pixel[2];
    *to++ = pixel[3];
    if (w->colorType == PNG_COLOR_TYPE_RGB_ALPHA) *to++ = pixel[0];
  }
}

void WriteAll(Writer* w) {
  png_set_write_fn(w->png, w, WriteBytes, Flush);
  png_set_IHDR(w->png, w->info, w->rows->width(), w->rows->height(), 8, w->colorType,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (!w->texts.empty()) {
    png_set_text(w->png, w->info, w->texts.data(), static_cast<int>(w->texts.size()));
  }
  png_write_info(w->png, w->info);
  for (std::uint32_t y = 0; y < w->rows->height(); ++y) {
    PackRow(w, w->rows->row(y));
    png_write_row(w->png, w->row.data());
  }
  png_write_end(w->png, nullptr);
}

bool Caught(Writer* writer, void (*step)(Writer*)) {
  if (setjmp(png_jmpbuf(writer->png)) != 0) return false;
  step(writer);
  return true;
}

// UTF-8 as Latin-1; false when it is not valid or has other characters.
bool ToLatin1(const std::string& utf8, std::string* latin1) {
  latin1->clear();
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    if (lead < 0x80) {
      *latin1 += utf8[i];
      continue;
    }
    if ((lead != 0xC2 && lead != 0xC3) || i + 1 == utf8.size()) return false;
    const auto next = static_cast<unsigned char>(utf8[++i]);
    if ((next & 0xC0) != 0x80) return false;
    *latin1 += static_cast<char>((lead & 3) << 6 | (next & 0x3F));
  }
  return true;
}

// The format's rule: 1 to 79 printable Latin-1 characters, single spaces and only inside.
bool IsKeyword(const std::string& latin1) {
  if (latin1.empty() || latin1.size() > 79) return false;
  if (latin1.front() == ' ' || latin1.back() == ' ') return false;
  if (latin1.find("  ") != std::string::npos) return false;
  for (const char c : latin1) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x20 || (code > 0x7E && code < 0xA1)) return false;
  }
  return true;
}

}  // namespace
}  // namespace imageio

std::vector<std::uint8_t> ImageIOEncodePNG(CGImageRef image, const ImageIOTexts& texts,
                                           std::string* error) {
  std::string reason;
  std::string* why = error ? error : &reason;
  try {
    if (!imageio::CanEncode(image, why)) return {};
    imageio::EncoderRows rows(image);
    imageio::Writer writer;
    writer.rows = &rows;
    if (rows.hasAlpha()) {
      writer.colorType = PNG_COLOR_TYPE_RGB_ALPHA;
    } else if (rows.isGray()) {
      writer.colorType = PNG_COLOR_TYPE_GRAY;
    }
    writer.row.resize(std::size_t{4} * rows.width());

    // The library is handed pointers into these, which must not move.
    std::vector<std::string> strings;
    strings.reserve(2 * texts.size());
    for (const auto& [key, text] : texts) {
      std::string keyword;
      if (!imageio::ToLatin1(key, &keyword) || !imageio::IsKeyword(keyword)) {
        *why = "not a PNG keyword: \"" + key + "\"";
        return {};
      }
      if (text.find('\0') != std::string::npos) {
        *why = "a PNG text cannot hold a zero byte: \"" + key + "\"";
        return {};
      }
      std::string latin1;
      const bool plain = imageio::ToLatin1(text, &latin1);
      png_text entry{};
      entry.compression = plain ? PNG_TEXT_COMPRESSION_NONE : PNG_ITXT_COMPRESSION_NONE;
      entry.key = strings.emplace_back(keyword).data();
      entry.text = strings.emplace_back(plain ? latin1 : text).data();
      (plain ? entry.text_length : entry.itxt_length) = strings.back().size();
      writer.texts.push_back(entry);
    }
    writer.png =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, &writer, imageio::Fail, imageio::Ignore);
    if (writer.png) writer.info = png_create_info_struct(writer.png);
    if (!writer.info) {
      *why = "not enough memory";
      return {};
    }
    if (!imageio::Caught(&writer, imageio::WriteAll)) {
      *why = writer.message;
      return {};
    }
    return std::move(writer.bytes);
  } catch (const std::bad_alloc&) {
    *why = "not enough memory";
    return {};
  }
}
