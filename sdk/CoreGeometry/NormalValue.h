// Values that are kept within bounds from their construction on.
#pragma once

namespace CoreGeometry {

/// A number limited to [low, high] when it is made; NaN stays NaN.
template <typename T>
class T_clamped_value {
 public:
  using value_type = T;
  constexpr T_clamped_value(T value, T low, T high)
      : mValue(value < low ? low : (value > high ? high : value)) {}
  constexpr operator T() const { return mValue; }

 private:
  T mValue;
};

/// A fraction: limited to [0, 1].
template <typename Clamped>
class T_normal_value : public Clamped {
 public:
  using value_type = typename Clamped::value_type;
  constexpr T_normal_value(value_type value) : Clamped(value, value_type(0), value_type(1)) {}
};

using NormalFloat = T_normal_value<T_clamped_value<float>>;

}  // namespace CoreGeometry
