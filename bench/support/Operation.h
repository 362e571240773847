// An operation to measure: our forms of it by their names, and peers that do the same job, in one
// run, on the same buffers (Frames.h), each on one thread. `memcpy` of the same number of bytes is
// always among them.
//
// A file of bench/operations registers its operations:
//
//   void Register() {
//     bench::Add("two-row mean", {.read = 8, .written = 4})
//         .Forms(XFrameKernels::AvailableRowKernels(), XFrameKernels::SelectRowKernels,
//                [](const bench::Shape& shape, bench::Frames& frames) -> bench::Body {
//                  return [=, out = frames.Out()] { ... one whole frame ... };
//                })
//         .Peer("libyuv InterpolateRow", bench::Agreement::kExact, [](...) { ... });
//   }
//   const bench::Group group(Register);
//
// Calls into other libraries stand in bench/peers, one file a library and subject; files there
// named plain_*.cpp hold plain loops, compiled with -O3 for the machine at hand.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/support/Frames.h"

namespace bench {

/// Sizes in pixels. Times are stated per pixel of the result.
struct Shape {
  std::string name;  ///< "1920x1080", "1080p to 720p"
  int width = 0;     ///< of the result
  int height = 0;
  int sourceWidth = 0;  ///< of the source, where it is another size
  int sourceHeight = 0;

  static Shape Of(int width, int height);
  static Shape Resize(int sourceWidth, int sourceHeight, int width, int height);
  std::size_t pixels() const;        ///< of the result
  std::size_t sourcePixels() const;  ///< of the source
};

/// 640x480, 1920x1080 and 3840x2160.
const std::vector<Shape>& StandardShapes();

/// What the operation must move between memory and processor, whoever does it: bytes read per
/// source pixel, all sources together, and bytes written per pixel of the result.
struct Traffic {
  double read;
  double written;
};

/// How a peer's result in Out(0) compares with ours. Checked before it is measured.
enum class Agreement {
  kExact,        ///< the same bytes, else the benchmark fails
  kApproximate,  ///< the same job in other arithmetic: the greatest difference goes to the report
  kOther,        ///< another layout or no result to compare
};

using Body = std::function<void()>;                        ///< one frame's work, what is timed
using Setup = std::function<Body(const Shape&, Frames&)>;  ///< what may be prepared once

class Operation {
 public:
  Operation(std::string name, Traffic traffic);

  /// Instead of the standard sizes.
  Operation& At(std::vector<Shape> shapes);

  /// One form, selected by name before `setup`, for each of `forms`. The first one is our entry in
  /// the report; it and the last one are measured at every size, the others at 1920x1080 (or the
  /// first shape). All must give the bytes of the last one in Out(0), else the benchmark fails.
  template <typename FormList, typename Select>
  Operation& Forms(const FormList& forms, const Select& select, const Setup& setup) {
    for (const auto& form : forms) {
      const std::string name(form.name);
      forms_.push_back({name, Agreement::kExact, [=](const Shape& shape, Frames& frames) {
                          select(name);
                          return setup(shape, frames);
                        }});
    }
    return *this;
  }

  /// One more form, for what has no list of them.
  Operation& Form(std::string name, Setup setup);

  /// The operation shares its rows (RowThreads.h): our best form is measured with one thread, two,
  /// and as many as the machine has processors, by the wall clock.
  Operation& SharesRows();

  /// A library's name first: "libyuv InterpolatePlane".
  Operation& Peer(std::string name, Agreement agreement, Setup setup);

  struct Entry {
    std::string name;
    Agreement agreement;
    Setup setup;
  };
  const std::string& name() const { return name_; }
  void RegisterBenchmarks() const;

 private:
  void Register(const Entry& entry, const Shape& shape, const char* kind, bool checked) const;
  void RegisterThreads(const Shape& shape) const;
  double Bytes(const Shape& shape) const;

  std::string name_;
  Traffic traffic_;
  std::vector<Shape> shapes_;
  std::vector<Entry> forms_;
  std::vector<Entry> peers_;
  bool sharesRows_ = false;
};

/// A new operation, for the life of the program.
Operation& Add(std::string name, Traffic traffic);

/// A function that adds operations, called by main.
class Group {
 public:
  explicit Group(void (*add)());
};

}  // namespace bench
