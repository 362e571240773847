#include "hosts/lumivane/VideoStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <sstream>

#include "hosts/lumivane/PictureFile.h"

namespace lumivane {
namespace {

constexpr std::size_t kLongestLine = 1024;
constexpr std::size_t kBufferBytes = 1 << 16;
constexpr int kLargestSide = 16384;
constexpr std::uint64_t kLargestFrame = std::uint64_t{1} << 29;

struct ChromaKind {
  const char* name;
  int planes;
  int x;
  int y;
};
constexpr ChromaKind kChromaKinds[] = {
    {"420", 3, 2, 2},      {"420jpeg", 3, 2, 2},  {"420mpeg2", 3, 2, 2},
    {"420paldv", 3, 2, 2}, {"411", 3, 4, 1},      {"422", 3, 2, 1},
    {"444", 3, 1, 1},      {"444alpha", 4, 1, 1}, {"mono", 1, 1, 1},
};

std::optional<std::int64_t> ParseWhole(const std::string& text) {
  if (text.empty() || text.size() > 10 ||
      text.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  return std::atoll(text.c_str());
}

std::optional<Ratio> ParseRatio(const std::string& text) {
  const std::size_t colon = text.find_first_of(":/");
  if (colon == std::string::npos) return std::nullopt;
  const auto number = ParseWhole(text.substr(0, colon));
  const auto divisor = ParseWhole(text.substr(colon + 1));
  if (!number || !divisor) return std::nullopt;
  return Ratio{*number, *divisor};
}

bool SetChroma(const std::string& name, StreamFormat* format) {
  for (const ChromaKind& kind : kChromaKinds) {
    if (name != kind.name) continue;
    format->chroma = name;
    format->layout.planes = kind.planes;
    format->layout.chromaX = kind.x;
    format->layout.chromaY = kind.y;
    return true;
  }
  return false;
}

/// One parameter of the header; false when its value is none.
bool SetParameter(const std::string& word, StreamFormat* format, std::string* error) {
  const std::string value = word.substr(1);
  const auto side = [&value]() -> int {
    const auto number = ParseWhole(value);
    return number && *number >= 1 && *number <= kLargestSide ? static_cast<int>(*number) : 0;
  };
  bool ok = true;
  switch (word[0]) {
    case 'W':
      format->layout.width = side();
      ok = format->layout.width > 0;
      break;
    case 'H':
      format->layout.height = side();
      ok = format->layout.height > 0;
      break;
    case 'F':
    case 'A': {
      const auto ratio = ParseRatio(value);
      ok = ratio.has_value();
      if (ok) (word[0] == 'F' ? format->rate : format->aspect) = *ratio;
      break;
    }
    case 'I':
      ok = value.size() == 1 && std::strchr("ptbm?", value[0]) != nullptr;
      if (ok) format->interlacing = value[0];
      break;
    case 'C':
      ok = SetChroma(value, format);
      if (!ok) {
        *error = "its samples are C" + value +
                 "; 8-bit 420, 411, 422, 444, 444alpha and mono can be read (ffmpeg: -pix_fmt "
                 "yuv422p)";
        return false;
      }
      break;
    case 'X':
      format->extensions.push_back(value);
      if (value == "COLORRANGE=FULL") format->layout.fullRange = true;
      break;
    default:
      break;  // To be ignored, as the format has it.
  }
  if (!ok) {
    *error = "its header says " + word;
    if (word[0] == 'W' || word[0] == 'H') {
      *error += "; sides are from 1 to " + std::to_string(kLargestSide);
    }
  }
  return ok;
}

void Reduce(Ratio* ratio) {
  const std::int64_t common = std::gcd(ratio->number, ratio->divisor);
  if (common > 1) {
    ratio->number /= common;
    ratio->divisor /= common;
  }
}

std::string RatioText(const Ratio& ratio) {
  return std::to_string(ratio.number) + ":" + std::to_string(ratio.divisor);
}

std::size_t RawRowBytes(const StreamFormat& format) {
  return static_cast<std::size_t>(format.layout.width) *
         (format.form == StreamForm::kRawARGB ? 4 : 2);
}

/// The file under way, for the signal that ends the program before it has its name.
char gAsidePath[4096];

void RemoveAside(int signal) {
  unlink(gAsidePath);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void RemoveAtSignal(const std::string& path) {
  if (path.size() >= sizeof(gAsidePath)) return;
  std::memcpy(gAsidePath, path.c_str(), path.size() + 1);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (std::signal(signal, RemoveAside) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

}  // namespace

std::optional<Ratio> ParseRate(const std::string& text) {
  Ratio rate;
  if (const auto ratio = ParseRatio(text)) {
    rate = *ratio;
  } else {
    const std::size_t point = text.find('.');
    const std::string digits = point == std::string::npos ? "" : text.substr(point + 1);
    const auto whole = ParseWhole(text.substr(0, point));
    const auto fraction = digits.empty() ? std::optional<std::int64_t>(0) : ParseWhole(digits);
    if (!whole || !fraction || digits.size() > 6) return std::nullopt;
    rate.divisor = 1;
    for (std::size_t i = 0; i < digits.size(); ++i) rate.divisor *= 10;
    rate.number = *whole * rate.divisor + *fraction;
  }
  if (rate.divisor < 1) return std::nullopt;
  // The decimals by which 24, 30 and 60 over 1.001 go.
  for (const std::int64_t whole : {24, 30, 60}) {
    const double exact = static_cast<double>(whole) / 1.001;
    const double asked = static_cast<double>(rate.number) / static_cast<double>(rate.divisor);
    if (std::abs(asked - exact) < 0.005) return Ratio{whole * 1000, 1001};
  }
  if (rate.number < 1 || rate.number > 1000 * rate.divisor) return std::nullopt;
  Reduce(&rate);
  return rate;
}

bool StreamFormat::IsInterlaced() const {
  return interlacing == 't' || interlacing == 'b';
}

StreamFormat OutputFormat(const StreamFormat& in, const PlanarOperation& operation) {
  StreamFormat out = in;
  out.layout = operation.outputLayout();
  const FrameVerb verb = operation.operation().verb;
  if (verb == FrameVerb::kDeinterlace || verb == FrameVerb::kField) out.interlacing = 'p';
  // Above an odd row of the frame, the other field has the first row.
  if (verb == FrameVerb::kCrop && operation.operation().edges.top % 2 != 0 && in.IsInterlaced()) {
    out.interlacing = in.interlacing == 't' ? 'b' : 't';
  }
  if (in.aspect.number > 0 && in.aspect.divisor > 0) {
    // The picture keeps its shape, so that the pixels change theirs.
    if (verb == FrameVerb::kField) out.aspect.divisor *= 2;
    if (verb == FrameVerb::kResize) {
      Ratio size = {std::int64_t{in.layout.width} * out.layout.height,
                    std::int64_t{in.layout.height} * out.layout.width};
      Reduce(&size);
      Reduce(&out.aspect);
      out.aspect.number *= size.number;
      out.aspect.divisor *= size.divisor;
    }
    Reduce(&out.aspect);
    // Too fine to be written: rounded, which nobody sees.
    while (out.aspect.number > 1000000 || out.aspect.divisor > 1000000) {
      out.aspect.number = (out.aspect.number + 1) / 2;
      out.aspect.divisor = (out.aspect.divisor + 1) / 2;
    }
  }
  return out;
}

// ---- Reading

VideoReader::~VideoReader() {
  if (file_ != nullptr && file_ != stdin) std::fclose(file_);
}

bool VideoReader::Open(const std::string& path, std::string* error) {
  name_ = path == "-" ? "standard input" : path;
  file_ = path == "-" ? stdin : std::fopen(path.c_str(), "rbe");
  if (file_ != nullptr) {
    std::setvbuf(file_, nullptr, _IOFBF, kBufferBytes);
    return true;
  }
  *error = name_ + " cannot be read: " + std::strerror(errno);
  return false;
}

std::size_t VideoReader::ReadSome(std::uint8_t* bytes, std::size_t size) {
  return std::fread(bytes, 1, size, file_);
}

bool VideoReader::ReadLine(std::string* line, std::string* error) {
  line->clear();
  for (int byte; (byte = std::getc(file_)) != EOF;) {
    if (byte == '\n') return true;
    if (line->size() == kLongestLine) {
      *error = "a header line does not end";
      return false;
    }
    line->push_back(static_cast<char>(byte));
  }
  *error = std::ferror(file_) != 0 ? std::strerror(errno) : "it ends inside a header line";
  return false;
}

bool VideoReader::ReadHeader(std::string* error) {
  std::string line;
  std::string reason;
  const bool whole = ReadLine(&line, &reason);
  std::istringstream words(line);
  std::string word;
  words >> word;
  if (word != "YUV4MPEG2") {
    *error = name_ +
             " is not a Y4M stream (ffmpeg: -f yuv4mpegpipe); frames without headers need --raw "
             "and --size";
    return false;
  }
  if (!whole) {
    *error = name_ + " is broken: " + reason;
    return false;
  }
  SetChroma("420jpeg", &format_);
  while (words >> word) {
    if (!SetParameter(word, &format_, &reason)) {
      *error = name_ + " cannot be read: " + reason;
      return false;
    }
  }
  if (format_.layout.width == 0 || format_.layout.height == 0) {
    *error = name_ + " cannot be read: its header lacks the size";
    return false;
  }
  if (FrameBytes(format_.layout) > kLargestFrame) {
    *error = name_ + " cannot be read: its frames are too large, " +
             SizeText(format_.layout.width, format_.layout.height);
    return false;
  }
  return true;
}

VideoReader::Next VideoReader::Cut(std::size_t done, std::uint64_t size, std::string* error) const {
  *error = std::ferror(file_) != 0
               ? std::string(std::strerror(errno))
               : "it ends after " + std::to_string(done) + " of " + std::to_string(size) + " bytes";
  return Next::kBroken;
}

VideoReader::Next VideoReader::Read(PlanarFrame& frame, std::string* parameters,
                                    std::string* error) {
  const int first = std::getc(file_);
  if (first == EOF) {
    if (std::ferror(file_) == 0) return Next::kEnd;
    *error = std::strerror(errno);
    return Next::kBroken;
  }
  std::ungetc(first, file_);
  parameters->clear();

  if (format_.form == StreamForm::kY4M) {
    std::string line;
    const bool whole = ReadLine(&line, error);
    if (line.rfind("FRAME", 0) != 0 || (line.size() > 5 && line[5] != ' ')) {
      if (whole || std::feof(file_) == 0) *error = "it does not begin with FRAME";
      return Next::kBroken;
    }
    if (!whole) return Next::kBroken;
    *parameters = line.substr(5);
  }

  const std::uint64_t size = FrameBytes(format_.layout);
  std::size_t done = 0;
  if (format_.form == StreamForm::kRawUYVY) {
    row_.resize(RawRowBytes(format_));
    for (int y = 0; y < format_.layout.height; ++y) {
      const std::size_t n = ReadSome(row_.data(), row_.size());
      done += n;
      if (n != row_.size()) return Cut(done, size, error);
      const std::uint8_t* from = row_.data();
      std::uint8_t* luma = frame.planes[0].Row(y);
      std::uint8_t* cb = frame.planes[1].Row(y);
      std::uint8_t* cr = frame.planes[2].Row(y);
      for (int x = 0; x < format_.layout.width; x += 2, from += 4) {
        *cb++ = from[0];
        *luma++ = from[1];
        *cr++ = from[2];
        *luma++ = from[3];
      }
    }
    return Next::kFrame;
  }
  for (FramePlane& plane : frame.planes) {
    const std::size_t rowBytes =
        static_cast<std::size_t>(plane.width) * static_cast<std::size_t>(plane.pelBytes);
    for (int y = 0; y < plane.height; ++y) {
      const std::size_t n = ReadSome(plane.Row(y), rowBytes);
      done += n;
      if (n != rowBytes) return Cut(done, size, error);
    }
  }
  return Next::kFrame;
}

// ---- Writing

VideoWriter::~VideoWriter() {
  if (file_ != nullptr && file_ != stdout) std::fclose(file_);
  if (!aside_.empty()) unlink(aside_.c_str());
}

bool VideoWriter::Open(const std::string& path, std::string* error) {
  name_ = path == "-" ? "standard output" : path;
  if (path == "-") {
    file_ = stdout;
    std::setvbuf(file_, nullptr, _IOFBF, kBufferBytes);
    return true;
  }
  target_ = path;
  struct stat old {};
  const bool exists = stat(path.c_str(), &old) == 0;
  if (exists && !S_ISREG(old.st_mode)) {
    // A pipe or a device: there is nothing to keep.
    file_ = std::fopen(path.c_str(), "wbe");
  } else {
    if (exists) {
      if (char* real = realpath(path.c_str(), nullptr)) {
        target_ = real;
        std::free(real);
      }
    }
    std::string pattern = target_ + ".XXXXXX";
    const int aside = mkostemp(pattern.data(), O_CLOEXEC);
    if (aside >= 0) {
      aside_ = pattern;
      RemoveAtSignal(aside_);
      const mode_t mask = umask(0);
      umask(mask);
      fchmod(aside, exists ? old.st_mode & 07777 : 0666 & ~mask);
      file_ = fdopen(aside, "wb");
    }
  }
  if (file_ != nullptr) return true;
  *error = name_ + " cannot be written: " + std::strerror(errno);
  return false;
}

VideoWriter::Result VideoWriter::Failed(std::string* error) const {
  if (errno == EPIPE) return Result::kNobodyReads;
  *error = name_ + " cannot be written: " + std::strerror(errno);
  return Result::kFailed;
}

VideoWriter::Result VideoWriter::Put(const void* bytes, std::size_t size, std::string* error) {
  return std::fwrite(bytes, 1, size, file_) == size ? Result::kOk : Failed(error);
}

VideoWriter::Result VideoWriter::WriteHeader(const StreamFormat& format, std::string* error) {
  format_ = format;
  if (format.form != StreamForm::kY4M) return Result::kOk;
  std::string line = "YUV4MPEG2 W" + std::to_string(format.layout.width) + " H" +
                     std::to_string(format.layout.height);
  if (format.rate.divisor > 0) line += " F" + RatioText(format.rate);
  line += std::string(" I") + format.interlacing + " A" + RatioText(format.aspect) + " C" +
          format.chroma;
  for (const std::string& extension : format.extensions) line += " X" + extension;
  line += "\n";
  return Put(line.data(), line.size(), error);
}

VideoWriter::Result VideoWriter::Write(const PlanarFrame& frame, const std::string& parameters,
                                       std::string* error) {
  if (format_.form == StreamForm::kRawUYVY) {
    row_.resize(RawRowBytes(format_));
    for (int y = 0; y < format_.layout.height; ++y) {
      const std::uint8_t* luma = frame.planes[0].Row(y);
      const std::uint8_t* cb = frame.planes[1].Row(y);
      const std::uint8_t* cr = frame.planes[2].Row(y);
      std::uint8_t* to = row_.data();
      for (int x = 0; x < format_.layout.width; x += 2, to += 4) {
        to[0] = *cb++;
        to[1] = *luma++;
        to[2] = *cr++;
        to[3] = *luma++;
      }
      const Result result = Put(row_.data(), row_.size(), error);
      if (result != Result::kOk) return result;
    }
    return Result::kOk;
  }
  if (format_.form == StreamForm::kY4M) {
    const std::string line = "FRAME" + parameters + "\n";
    const Result result = Put(line.data(), line.size(), error);
    if (result != Result::kOk) return result;
  }
  for (const FramePlane& plane : frame.planes) {
    const std::size_t rowBytes =
        static_cast<std::size_t>(plane.width) * static_cast<std::size_t>(plane.pelBytes);
    for (int y = 0; y < plane.height; ++y) {
      const Result result = Put(plane.Row(y), rowBytes, error);
      if (result != Result::kOk) return result;
    }
  }
  return Result::kOk;
}

VideoWriter::Result VideoWriter::Finish(std::string* error) {
  if (std::fflush(file_) != 0) return Failed(error);
  if (!aside_.empty()) {
    if (fsync(fileno(file_)) != 0 || rename(aside_.c_str(), target_.c_str()) != 0) {
      return Failed(error);
    }
    aside_.clear();
  }
  if (file_ != stdout) {
    std::FILE* const file = file_;
    file_ = nullptr;
    if (std::fclose(file) != 0) return Failed(error);
  }
  return Result::kOk;
}

}  // namespace lumivane
