// What the values of a control mean: quantities with units, and the words that say them.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace halveron {

class CControl;
class Module;

/// What a law gives. The text of a quantity chooses its prefix and its decimals by itself.
enum class Unit {
  kNumber,   ///< without a unit
  kPercent,  ///< a share; 1 is 100 %
  kHertz,
  kSeconds,
  kDecibels,  ///< a linear gain, said in decibels
  kCents,
  kSemitones,
  kOctaves,
  kNote,   ///< a MIDI note number, said as "C4"
  kTimes,  ///< a factor
  kVolts,  ///< volts; a signal of 1.0 has 10
  kTempo,  ///< beats a minute
};

/// What a law may ask of the panel that its control is on.
class PanelValues {
 public:
  explicit PanelValues(const Module* module) : module_(module) {}

  /// The value of another control as it sounds, without the host's modulation; 0 if there is none.
  double At(const char* role) const;
  /// Whether a switch or button, by the middle of its range, is on.
  bool IsOn(const char* role) const { return At(role) >= 0.5; }
  bool IsCabled(const char* input) const;
  /// Samples a second at which the module runs.
  double Rate() const;

 private:
  const Module* module_;
};

/// One line for each control of a class: the role and how its value is said. A "#" in the role
/// stands for any number. Where the meaning depends on another control, a role has several lines,
/// and the first whose condition holds counts.
struct ControlScale {
  /// The quantity that a value of the control stands for, the same as in the sound. It rises or
  /// falls with the value. A stepped knob gives the value of its step, i / (n - 1).
  using Law = double (*)(double value, const PanelValues& panel);
  using Condition = bool (*)(const PanelValues& panel);

  const char* role;
  Unit unit = Unit::kNumber;
  Law law = nullptr;  ///< null for from + value^power * (to - from)
  double from = 0.0;
  double to = 1.0;
  double power = 1.0;
  const char* positions = nullptr;  ///< names of all positions, "low|high"; then no law
  const char* noun = "";            ///< of a number: "pulses"
  bool whole = false;               ///< rounded to the nearest whole number
  const char* atLeast = nullptr;    ///< said instead of the quantity at the lower end
  Condition when = nullptr;
};

// The usual lines.

constexpr ControlScale Linear(const char* role, Unit unit, double from, double to) {
  return {.role = role, .unit = unit, .from = from, .to = to};
}
constexpr ControlScale Power(const char* role, Unit unit, double from, double to, double power) {
  return {.role = role, .unit = unit, .from = from, .to = to, .power = power};
}
constexpr ControlScale Percent(const char* role, double to = 1.0) {
  return Linear(role, Unit::kPercent, 0.0, to);
}
/// From -100 % to 100 %.
constexpr ControlScale Bipolar(const char* role) { return Linear(role, Unit::kPercent, -1.0, 1.0); }
constexpr ControlScale By(const char* role, Unit unit, ControlScale::Law law) {
  return {.role = role, .unit = unit, .law = law};
}
constexpr ControlScale Hertz(const char* role, ControlScale::Law law) {
  return By(role, Unit::kHertz, law);
}
constexpr ControlScale Seconds(const char* role, ControlScale::Law law) {
  return By(role, Unit::kSeconds, law);
}
/// The law gives the gain.
constexpr ControlScale Gain(const char* role, ControlScale::Law law) {
  return By(role, Unit::kDecibels, law);
}
constexpr ControlScale LinearGain(const char* role, double most = 1.0) {
  return Linear(role, Unit::kDecibels, 0.0, most);
}
constexpr ControlScale SquareGain(const char* role, double most = 1.0) {
  return Power(role, Unit::kDecibels, 0.0, most, 2.0);
}
constexpr ControlScale Positions(const char* role, const char* names) {
  return {.role = role, .positions = names};
}
/// A switch that is on in its second position, or with `isOnFirst` in its first.
constexpr ControlScale OnOff(const char* role, bool isOnFirst = false) {
  return Positions(role, isOnFirst ? "on|off" : "off|on");
}
/// A whole number, rounded to the nearest.
constexpr ControlScale Count(const char* role, double from, double to, const char* noun = "") {
  return {.role = role, .from = from, .to = to, .noun = noun, .whole = true};
}
constexpr ControlScale When(ControlScale::Condition condition, ControlScale scale) {
  scale.when = condition;
  return scale;
}
constexpr ControlScale Named(const char* least, ControlScale scale) {
  scale.atLeast = least;
  return scale;
}

/// The line that counts for a control; null if its class has none.
const ControlScale* ScaleOf(const CControl& control);

/// A value of the control in words: "440 Hz", "-3 dB", "curved". Empty where a control has none,
/// such as a push button.
std::string ValueText(const CControl& control, float value);
/// The present one, without the host's modulation.
std::string ValueText(const CControl& control);
/// The ends of the range, "40 Hz to 15 kHz", or the names of all positions.
std::string RangeText(const CControl& control);

struct ParsedValue {
  std::optional<float> value;
  std::string error;  ///< without a value: what is wrong, and what could be typed
};

/// The value that a typed text stands for. Understood are the units of the control and those that
/// lead to it ("1.5 kHz", "20 ms", "C#4", "x 2"), a share of the travel in percent, the names of
/// positions, and numbers, which take the unit that is shown.
ParsedValue ParseValue(const CControl& control, std::string_view text);

/// Sets a control as the user would, in one gesture.
void MoveControl(CControl& control, float value);

}  // namespace halveron
