#include "components/gstreamer/format_choice.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <tuple>

namespace gstcamera {
namespace {

constexpr int kLargestAutoArea = 1920 * 1080;

struct Rate {
  int numerator = 0;
  int denominator = 1;
  double value() const { return static_cast<double>(numerator) / denominator; }
};

Rate RateOf(const GValue* fraction) {
  return {gst_value_get_fraction_numerator(fraction),
          std::max(gst_value_get_fraction_denominator(fraction), 1)};
}

// The numbers a field can have; of a range, its ends and what lies nearest to `wanted`.
std::vector<int> Numbers(const GValue* value, int wanted) {
  std::vector<int> numbers;
  if (value == nullptr) return numbers;
  if (G_VALUE_HOLDS_INT(value)) {
    numbers.push_back(g_value_get_int(value));
  } else if (GST_VALUE_HOLDS_INT_RANGE(value)) {
    const int least = gst_value_get_int_range_min(value);
    const int most = gst_value_get_int_range_max(value);
    const int step = std::max(gst_value_get_int_range_step(value), 1);
    numbers = {least, most};
    if (wanted > least && wanted < most) {
      const int up = least + (wanted - least + step - 1) / step * step;
      numbers.push_back(std::min(up, most));
    }
  } else if (GST_VALUE_HOLDS_LIST(value)) {
    for (guint i = 0; i < gst_value_list_get_size(value); ++i) {
      for (const int number : Numbers(gst_value_list_get_value(value, i), wanted))
        numbers.push_back(number);
    }
  }
  return numbers;
}

std::vector<Rate> Rates(const GValue* value, double wanted) {
  std::vector<Rate> rates;
  if (value == nullptr) return rates;
  if (GST_VALUE_HOLDS_FRACTION(value)) {
    rates.push_back(RateOf(value));
  } else if (GST_VALUE_HOLDS_FRACTION_RANGE(value)) {
    const Rate least = RateOf(gst_value_get_fraction_range_min(value));
    const Rate most = RateOf(gst_value_get_fraction_range_max(value));
    if (least.numerator > 0) rates.push_back(least);
    rates.push_back(most);
    if (wanted > least.value() && wanted < most.value()) {
      Rate exact;
      gst_util_double_to_fraction(wanted, &exact.numerator, &exact.denominator);
      rates.push_back(exact);
    }
  } else if (GST_VALUE_HOLDS_LIST(value)) {
    for (guint i = 0; i < gst_value_list_get_size(value); ++i) {
      for (const Rate& rate : Rates(gst_value_list_get_value(value, i), wanted))
        rates.push_back(rate);
    }
  }
  return rates;
}

std::string PixelFormatOf(const GstStructure* structure) {
  const GValue* value = gst_structure_get_value(structure, "format");
  if (value != nullptr && GST_VALUE_HOLDS_LIST(value) && gst_value_list_get_size(value) > 0)
    value = gst_value_list_get_value(value, 0);
  return value != nullptr && G_VALUE_HOLDS_STRING(value) ? g_value_get_string(value) : "";
}

std::string NameOf(const GstStructure* structure) {
  std::string media = gst_structure_get_name(structure);
  if (media == "video/x-raw") {
    const std::string format = PixelFormatOf(structure);
    return format.empty() ? "raw" : format;
  }
  if (media == "image/jpeg") return "MJPEG";
  if (media == "video/x-h264") return "H264";
  if (media == "video/x-h265") return "H265";
  return media;
}

// How little is left to do with a frame of this format.
int Rawness(const GstStructure* structure) {
  const std::string name = NameOf(structure);
  if (name == "UYVY") return 10;
  if (name == "YUY2" || name == "YVYU" || name == "VYUY") return 9;
  if (name == "NV12" || name == "NV21" || name == "I420" || name == "YV12" || name == "Y42B")
    return 8;
  if (name.rfind("GRAY", 0) == 0) return 3;
  if (gst_structure_has_name(structure, "video/x-raw")) return 7;
  if (name == "MJPEG") return 5;
  if (gst_structure_has_name(structure, "video/x-bayer")) return 1;
  return 4;
}

// The colours of a grey format are gone whatever its rate.
bool HasColour(const GstStructure* structure) {
  return NameOf(structure).rfind("GRAY", 0) != 0;
}

bool IsUsable(const GstCaps* caps, guint index) {
  GstCapsFeatures* const features = gst_caps_get_features(caps, index);
  return features == nullptr || gst_caps_features_is_any(features) ||
         gst_caps_features_is_equal(features, GST_CAPS_FEATURES_MEMORY_SYSTEM_MEMORY);
}

struct Candidate {
  const GstStructure* structure = nullptr;
  Size size;
  Rate rate;

  // Greater is better, the first difference decides.
  auto Score(const Settings& settings, Size wanted) const {
    const double asked = settings.rate == 0 ? 1e6 : settings.rate;
    // A camera's 29.97 is what people mean by 30.
    const double reached =
        rate.value() * 1.01 >= asked ? asked : std::round(rate.value() * 100) / 100;
    const int area = size.width * size.height;
    const bool covers = size.width >= wanted.width && size.height >= wanted.height;
    const bool small = area <= kLargestAutoArea;
    const bool automatic = !settings.size;
    return std::tuple(HasColour(structure), automatic || covers, reached, !automatic || small,
                      (automatic ? small : !covers) ? area : -area,
                      -std::abs(rate.value() - std::min(asked, 1e3)), Rawness(structure));
  }
};

}  // namespace

std::vector<OfferedFormat> ListFormats(const GstCaps* caps) {
  std::vector<OfferedFormat> list;
  for (guint i = 0; caps != nullptr && i < gst_caps_get_size(caps); ++i) {
    if (!IsUsable(caps, i)) continue;
    const GstStructure* const structure = gst_caps_get_structure(caps, i);
    std::vector<double> rates;
    for (const Rate& rate : Rates(gst_structure_get_value(structure, "framerate"), 30))
      rates.push_back(rate.value());
    std::sort(rates.begin(), rates.end(), std::greater<>());
    for (const int width : Numbers(gst_structure_get_value(structure, "width"), 640)) {
      for (const int height : Numbers(gst_structure_get_value(structure, "height"), 480))
        list.push_back({NameOf(structure), {width, height}, rates});
    }
  }
  return list;
}

ChosenFormat ChooseFormat(const GstCaps* offered, const Settings& settings) {
  Size wanted = settings.size.value_or(Size{640, 480});
  if (settings.rotate % 180 != 0) std::swap(wanted.width, wanted.height);
  const double rate = settings.rate == 0 ? kHighestRate : settings.rate;
  Candidate best;
  for (guint i = 0; offered != nullptr && i < gst_caps_get_size(offered); ++i) {
    if (!IsUsable(offered, i)) continue;
    const GstStructure* const structure = gst_caps_get_structure(offered, i);
    std::vector<Rate> rates = Rates(gst_structure_get_value(structure, "framerate"), rate);
    if (rates.empty()) rates.push_back({0, 1});
    for (const int width : Numbers(gst_structure_get_value(structure, "width"), wanted.width)) {
      for (const int height :
           Numbers(gst_structure_get_value(structure, "height"), wanted.height)) {
        for (const Rate& one : rates) {
          const Candidate candidate{structure, {width, height}, one};
          if (best.structure == nullptr ||
              candidate.Score(settings, wanted) > best.Score(settings, wanted))
            best = candidate;
        }
      }
    }
  }
  ChosenFormat chosen;
  if (best.structure == nullptr) return chosen;
  GstStructure* const fixed = gst_structure_new_empty(gst_structure_get_name(best.structure));
  const std::string format = PixelFormatOf(best.structure);
  if (!format.empty()) gst_structure_set(fixed, "format", G_TYPE_STRING, format.c_str(), nullptr);
  gst_structure_set(fixed, "width", G_TYPE_INT, best.size.width, "height", G_TYPE_INT,
                    best.size.height, nullptr);
  if (best.rate.numerator > 0) {
    gst_structure_set(fixed, "framerate", GST_TYPE_FRACTION, best.rate.numerator,
                      best.rate.denominator, nullptr);
  }
  chosen.caps.reset(gst_caps_new_full(fixed, nullptr));
  chosen.name = NameOf(best.structure);
  chosen.decoded = gst_structure_has_name(best.structure, "video/x-raw");
  chosen.isJpeg = gst_structure_has_name(best.structure, "image/jpeg");
  chosen.size = best.size;
  chosen.rate = best.rate.value();
  return chosen;
}

}  // namespace gstcamera
