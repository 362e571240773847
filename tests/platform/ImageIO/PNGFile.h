// PNG files of every kind, written byte by byte from the format's definition with stored (not
// compressed) data, so that the decoder is not tested against its own library.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace pngfile {

using Bytes = std::vector<std::uint8_t>;

inline void Append32(Bytes* to, std::uint32_t x) {
  for (int shift = 24; shift >= 0; shift -= 8) to->push_back(static_cast<std::uint8_t>(x >> shift));
}

inline std::uint32_t Crc(const std::uint8_t* data, std::size_t size) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (std::size_t i = 0; i < size; ++i) {
    crc ^= data[i];
    for (int k = 0; k < 8; ++k) crc = (crc & 1) ? 0xEDB88320 ^ (crc >> 1) : crc >> 1;
  }
  return ~crc;
}

inline void AppendChunk(Bytes* file, const char* type, const Bytes& data) {
  Append32(file, static_cast<std::uint32_t>(data.size()));
  const std::size_t start = file->size();
  file->insert(file->end(), type, type + 4);
  file->insert(file->end(), data.begin(), data.end());
  Append32(file, Crc(file->data() + start, file->size() - start));
}

inline Bytes Stored(const Bytes& data) {
  Bytes zlib{0x78, 0x01};
  std::size_t at = 0;
  do {
    const std::size_t size = std::min<std::size_t>(data.size() - at, 65535);
    zlib.push_back(at + size == data.size() ? 1 : 0);
    for (const std::size_t x : {size, ~size}) {
      zlib.push_back(static_cast<std::uint8_t>(x));
      zlib.push_back(static_cast<std::uint8_t>(x >> 8));
    }
    zlib.insert(zlib.end(), data.begin() + static_cast<std::ptrdiff_t>(at),
                data.begin() + static_cast<std::ptrdiff_t>(at + size));
    at += size;
  } while (at < data.size());
  std::uint32_t a = 1;
  std::uint32_t b = 0;
  for (const std::uint8_t x : data) {
    a = (a + x) % 65521;
    b = (b + a) % 65521;
  }
  Append32(&zlib, b << 16 | a);
  return zlib;
}

struct Description {
  std::uint32_t width = 1;
  std::uint32_t height = 1;
  int depth = 8;
  int colorType = 2;  ///< 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGBA
  bool interlaced = false;
  Bytes palette;                                      ///< PLTE
  Bytes transparency;                                 ///< tRNS
  std::vector<std::pair<std::string, Bytes>> chunks;  ///< before the pixels

  int channels() const { return colorType == 2 ? 3 : colorType == 4 ? 2 : colorType == 6 ? 4 : 1; }
};

/// `sample(x, y, channel)` gives each value, below 2^depth.
inline Bytes Write(const Description& d,
                   const std::function<unsigned(std::uint32_t, std::uint32_t, int)>& sample) {
  Bytes file{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  Bytes header;
  Append32(&header, d.width);
  Append32(&header, d.height);
  for (const int x : {d.depth, d.colorType, 0, 0, d.interlaced ? 1 : 0}) {
    header.push_back(static_cast<std::uint8_t>(x));
  }
  AppendChunk(&file, "IHDR", header);
  if (!d.palette.empty()) AppendChunk(&file, "PLTE", d.palette);
  if (!d.transparency.empty()) AppendChunk(&file, "tRNS", d.transparency);
  for (const auto& [type, data] : d.chunks) AppendChunk(&file, type.c_str(), data);
  struct Pass {
    std::uint32_t x, y, dx, dy;
  };
  std::vector<Pass> passes{{0, 0, 1, 1}};
  if (d.interlaced) {
    passes = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
              {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
  }
  Bytes rows;
  for (const Pass& pass : passes) {
    if (pass.x >= d.width) continue;
    for (std::uint32_t y = pass.y; y < d.height; y += pass.dy) {
      rows.push_back(0);  // no filter
      unsigned bits = 0;
      int count = 0;
      for (std::uint32_t x = pass.x; x < d.width; x += pass.dx) {
        for (int c = 0; c < d.channels(); ++c) {
          const unsigned value = sample(x, y, c);
          if (d.depth == 16) rows.push_back(static_cast<std::uint8_t>(value >> 8));
          if (d.depth >= 8) {
            rows.push_back(static_cast<std::uint8_t>(value));
            continue;
          }
          bits = bits << d.depth | value;
          count += d.depth;
          if (count == 8) {
            rows.push_back(static_cast<std::uint8_t>(bits));
            count = 0;
            bits = 0;
          }
        }
      }
      if (count > 0) rows.push_back(static_cast<std::uint8_t>(bits << (8 - count)));
    }
  }
  AppendChunk(&file, "IDAT", Stored(rows));
  AppendChunk(&file, "IEND", {});
  return file;
}

}  // namespace pngfile
