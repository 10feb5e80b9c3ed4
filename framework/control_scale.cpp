#include "framework/control_scale.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "framework/midi_message.h"
#include "framework/module.h"
#include "framework/rack_model.h"
#include "gui/option_menu.h"
#include "gui/slider.h"
#include "gui/switch.h"
#include "gui/text_edit.h"

namespace halveron {

namespace {

constexpr double kConcertPitch = 440.0;  // of note 69
constexpr int kConcertNote = 69;

const Module* ModuleOf(const CControl& control) {
  return dynamic_cast<const Module*>(control.getParentView());
}

/// Positions that a control can stand on; 0 for any value between its ends.
int PositionCount(const CControl& control) {
  if (const auto* knob = dynamic_cast<const ModuleKnob*>(&control)) {
    return knob->stepped ? knob->getNumSubPixmaps() : 0;
  }
  if (const auto* strip = dynamic_cast<const CSwitchBase*>(&control)) {
    return strip->getNumPositions();
  }
  if (const auto* menu = dynamic_cast<const COptionMenu*>(&control)) return menu->getNbEntries();
  return dynamic_cast<const COnOffButton*>(&control) ? 2 : 0;
}

/// The position that a value of the control means, of `count`.
int PositionAt(const CControl& control, float value, int count) {
  if (dynamic_cast<const COptionMenu*>(&control)) {
    return std::clamp(static_cast<int>(value), 0, count - 1);
  }
  const double range = static_cast<double>(control.getRange());
  const double share = range > 0.0 ? std::clamp((value - control.getMin()) / range, 0.0, 1.0) : 0.0;
  const int last = count - 1;
  const auto* knob = dynamic_cast<const ModuleKnob*>(&control);
  if (!knob) return static_cast<int>(share * last + 0.5);
  // As the knob does it, in floats.
  const auto cut = static_cast<float>(share);
  const auto steps = static_cast<float>(last);
  return static_cast<int>(knob->getInverseBitmap() ? (1.0f - cut) * steps : steps * cut);
}

/// The value that puts a control on a position.
float ValueAt(const CControl& control, int position, int count) {
  if (dynamic_cast<const COptionMenu*>(&control)) return static_cast<float>(position);
  const auto last = static_cast<float>(std::max(count - 1, 1));
  const auto* knob = dynamic_cast<const ModuleKnob*>(&control);
  // A little above a step's edge: the index is cut, and a quotient may fall short of it.
  const float edge = knob ? 0.001f : 0.0f;
  const float share = std::min((static_cast<float>(position) + edge) / last, 1.0f);
  return control.getMin() +
         (knob && knob->getInverseBitmap() ? 1.0f - share : share) * control.getRange();
}

/// What a law gets for a value.
double SoundingValue(const CControl& control, float value) {
  const auto* knob = dynamic_cast<const ModuleKnob*>(&control);
  if (!knob || !knob->stepped || knob->getNumSubPixmaps() < 2) return static_cast<double>(value);
  const int count = knob->getNumSubPixmaps();
  return static_cast<double>(PositionAt(control, value, count)) / (count - 1);
}

std::vector<std::string> Split(std::string_view names) {
  std::vector<std::string> all;
  for (std::size_t end = 0; end != std::string_view::npos;) {
    end = names.find('|');
    all.emplace_back(names.substr(0, end));
    if (end != std::string_view::npos) names.remove_prefix(end + 1);
  }
  return all;
}

std::vector<std::string> NamesOf(const CControl& control, const ControlScale* scale) {
  if (scale && scale->positions) return Split(scale->positions);
  std::vector<std::string> names;
  if (const auto* menu = dynamic_cast<const COptionMenu*>(&control)) {
    for (int i = 0; i < menu->getNbEntries(); ++i)
      names.emplace_back(menu->getEntry(i)->getTitle());
  } else if (!scale && dynamic_cast<const COnOffButton*>(&control)) {
    names = {"off", "on"};
  }
  return names;
}

/// A control's values as quantities of its scale.
class Quantities {
 public:
  Quantities(const CControl& control, const ControlScale& scale)
      : control_(control), scale_(scale), panel_(ModuleOf(control)) {}

  double At(float value) const {
    const double v = SoundingValue(control_, value);
    const double x = scale_.law
                         ? scale_.law(v, panel_)
                         : scale_.from + std::pow(v, scale_.power) * (scale_.to - scale_.from);
    return scale_.whole ? std::round(x) : x;
  }
  double Lowest() const { return std::min(First(), Last()); }
  double Highest() const { return std::max(First(), Last()); }
  double First() const { return At(control_.getMin()); }
  double Last() const { return At(control_.getMax()); }

  /// The value whose quantity is nearest. Where a range of values has the same, its middle, or the
  /// end of the travel that it reaches to.
  float ValueFor(double x) const {
    const int count = PositionCount(control_);
    if (count > 1) return NearestPosition(x, count);
    const float edge = Edge([=](double y) { return y >= x; });
    // Where the quantity jumps over what is asked for, the nearer side counts.
    const float before =
        std::nextafter(edge, Last() >= First() ? control_.getMin() : control_.getMax());
    const bool isNearer = std::abs(At(before) - x) < std::abs(At(edge) - x);
    return MiddleOf(At(isNearer ? before : edge));
  }

 private:
  /// The middle of the values that have a quantity, or the end of the travel that they reach to.
  float MiddleOf(double x) const {
    const float one = Edge([=](double y) { return y >= x; });
    const float other = Edge([=](double y) { return y > x; });
    if (std::min(one, other) <= control_.getMin()) return control_.getMin();
    if (std::max(one, other) >= control_.getMax() && At(control_.getMax()) == x) {
      return control_.getMax();
    }
    return (one + other) * 0.5f;
  }
  float NearestPosition(double x, int count) const {
    float best = control_.getMin();
    for (int i = 0; i < count; ++i) {
      const float value = ValueAt(control_, i, count);
      if (i == 0 || std::abs(At(value) - x) < std::abs(At(best) - x)) best = value;
    }
    return best;
  }
  /// Where along the way a quantity, seen as rising, begins to meet a condition.
  template <class Condition>
  float Edge(Condition meets) const {
    const bool rises = Last() >= First();
    float low = rises ? control_.getMin() : control_.getMax();
    float high = rises ? control_.getMax() : control_.getMin();
    if (meets(At(low))) return low;
    if (!meets(At(high))) return high;
    constexpr int kHalvings = 40;
    for (int i = 0; i < kHalvings; ++i) {
      const float middle = (low + high) * 0.5f;
      (meets(At(middle)) ? high : low) = middle;
    }
    return std::abs(At(low) - At(high)) == 0.0 ? low : high;
  }

  const CControl& control_;
  const ControlScale& scale_;
  PanelValues panel_;
};

// Texts.

std::string Plain(double x, int decimals) {
  char text[48];
  std::snprintf(text, sizeof text, "%.*f", decimals, x);
  std::string plain = text;
  if (decimals > 0) {
    plain.erase(plain.find_last_not_of('0') + 1);
    if (plain.back() == '.') plain.pop_back();
  }
  return plain == "-0" ? "0" : plain;
}

/// Four digits that count.
std::string Digits(double x) {
  const double size = std::abs(x);
  return Plain(x, size >= 999.95 ? 0 : size >= 99.995 ? 1 : size >= 9.9995 ? 2 : 3);
}

std::string Signed(double x, int decimals, bool isSigned) {
  const std::string plain = Plain(x, decimals);
  return isSigned && x > 0.0 && plain != "0" ? "+" + plain : plain;
}

std::string WithPrefix(double x, const char* unit) {
  const double size = std::abs(x);
  if (size >= 999.95) return Digits(x / 1000.0) + " k" + unit;
  return Digits(x) + " " + unit;
}

std::string SecondsText(double x) {
  if (std::abs(x) >= 0.99995) return Digits(x) + " s";
  if (std::abs(x) >= 0.99995e-3 || x == 0.0) return Digits(x * 1e3) + " ms";
  return Digits(x * 1e6) + " us";
}

std::string DecibelText(double gain) {
  if (!(gain > 1e-6)) return gain < -1e-6 ? Digits(gain) + " x" : "-inf dB";
  return Signed(20.0 * std::log10(gain), 1, true) + " dB";
}

std::string QuantityText(double x, const ControlScale& scale, bool isSigned) {
  switch (scale.unit) {
    case Unit::kPercent:
      return Signed(x * 100.0, 1, isSigned) + " %";
    case Unit::kHertz:
      return WithPrefix(x, "Hz");
    case Unit::kSeconds:
      return SecondsText(x);
    case Unit::kDecibels:
      return DecibelText(x);
    case Unit::kCents:
      return Signed(x, 1, isSigned) + " cents";
    case Unit::kSemitones:
      return Signed(x, 2, isSigned) + " semitones";
    case Unit::kOctaves:
      return Signed(x, 3, isSigned) + " octaves";
    case Unit::kNote:
      return midi::NoteName(static_cast<int>(std::clamp(std::round(x), 0.0, 127.0)));
    case Unit::kTimes:
      return "x " + Digits(x);
    case Unit::kVolts:
      return Signed(x, 2, isSigned) + " V";
    case Unit::kTempo:
      return Plain(x, 1) + " BPM";
    case Unit::kNumber:
      break;
  }
  const std::string number = Signed(x, 3, isSigned);
  return *scale.noun ? number + " " + scale.noun : number;
}

std::string TextOf(const CControl& control, const ControlScale& scale, float value) {
  if (scale.atLeast && value <= control.getMin()) return scale.atLeast;
  const Quantities quantities(control, scale);
  return QuantityText(quantities.At(value), scale, quantities.Lowest() < 0.0);
}

/// For what no line describes: the position, or a number.
std::string PlainText(const CControl& control, float value) {
  if (const int count = PositionCount(control); count > 1) {
    return std::to_string(PositionAt(control, value, count) + 1) + " of " + std::to_string(count);
  }
  if (control.isTypeOf("CSpecialDigit")) return Plain(static_cast<double>(value), 0);
  if (!control.isTypeOf("CKnob") && !control.isTypeOf("CSlider")) return {};
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", static_cast<double>(value));
  return text;
}

// What was typed.

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& letter : lower) {
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  return lower;
}

std::string_view Trimmed(std::string_view text) {
  constexpr const char* kBlank = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

struct TypedUnit {
  const char* text;
  Unit unit;
  double scale;
};

constexpr TypedUnit kTypedUnits[] = {
    {"hz", Unit::kHertz, 1.0},
    {"khz", Unit::kHertz, 1e3},
    {"k", Unit::kHertz, 1e3},
    {"s", Unit::kSeconds, 1.0},
    {"sec", Unit::kSeconds, 1.0},
    {"ms", Unit::kSeconds, 1e-3},
    {"us", Unit::kSeconds, 1e-6},
    {"min", Unit::kSeconds, 60.0},
    {"%", Unit::kPercent, 0.01},
    {"percent", Unit::kPercent, 0.01},
    {"db", Unit::kDecibels, 1.0},
    {"ct", Unit::kCents, 1.0},
    {"cent", Unit::kCents, 1.0},
    {"cents", Unit::kCents, 1.0},
    {"st", Unit::kSemitones, 1.0},
    {"semitone", Unit::kSemitones, 1.0},
    {"semitones", Unit::kSemitones, 1.0},
    {"oct", Unit::kOctaves, 1.0},
    {"octave", Unit::kOctaves, 1.0},
    {"octaves", Unit::kOctaves, 1.0},
    {"x", Unit::kTimes, 1.0},
    {"v", Unit::kVolts, 1.0},
    {"mv", Unit::kVolts, 1e-3},
    {"bpm", Unit::kTempo, 1.0},
};

struct Quantity {
  double x = 0.0;
  std::optional<Unit> unit;  ///< none was typed
};

/// "C#4" or "Bb3", middle C being C4, as a note number.
std::optional<double> ParseNote(std::string_view text) {
  constexpr int kSteps[] = {9, 11, 0, 2, 4, 5, 7};  // of a to g
  if (text.size() < 2 || text[0] < 'a' || text[0] > 'g') return std::nullopt;
  int key = kSteps[text[0] - 'a'];
  std::size_t at = 1;
  if (text[at] == '#')
    ++key, ++at;
  else if (text[at] == 'b')
    --key, ++at;
  int octave = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + at, end, octave);
  if (error != std::errc() || rest != end || std::abs(octave) > 12) return std::nullopt;
  return key + 12.0 * (octave + 1);
}

/// Text in small letters, without blanks at its ends.
std::optional<Quantity> ParseQuantity(std::string text) {
  if (const auto note = ParseNote(text)) return Quantity{*note, Unit::kNote};
  if (text == "-inf" || text == "-inf db" || text == "-infinity") {
    return Quantity{-std::numeric_limits<double>::infinity(), Unit::kDecibels};
  }
  Quantity quantity;
  if (text.starts_with("x")) {
    text = Trimmed(std::string_view(text).substr(1));
    quantity.unit = Unit::kTimes;
  }
  if (text.starts_with("+")) text.erase(0, 1);
  std::replace(text.begin(), text.end(), ',', '.');
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, quantity.x);
  if (error != std::errc() || !std::isfinite(quantity.x)) return std::nullopt;
  const std::string_view unit = Trimmed({rest, static_cast<std::size_t>(end - rest)});
  if (unit.empty()) return quantity;
  for (const TypedUnit& typed : kTypedUnits) {
    if (unit == typed.text && !quantity.unit) {
      return Quantity{quantity.x * typed.scale, typed.unit};
    }
  }
  return std::nullopt;
}

double NoteHertz(double note) { return kConcertPitch * std::exp2((note - kConcertNote) / 12.0); }

/// Octaves in a unit of intervals, 0 for another.
double UnitsPerOctave(Unit unit) {
  return unit == Unit::kCents       ? 1200.0
         : unit == Unit::kSemitones ? 12.0
         : unit == Unit::kOctaves   ? 1.0
                                    : 0.0;
}

/// A quantity in the unit of a scale, if the one leads to the other.
std::optional<double> Converted(double x, Unit from, Unit to) {
  if (from == Unit::kDecibels) {
    const double gain = std::pow(10.0, x / 20.0);
    const bool isRatio = to == Unit::kDecibels || to == Unit::kPercent || to == Unit::kTimes;
    return isRatio ? std::optional(gain) : std::nullopt;
  }
  if (from == to) return x;
  if (UnitsPerOctave(from) > 0.0 && UnitsPerOctave(to) > 0.0) {
    return x / UnitsPerOctave(from) * UnitsPerOctave(to);
  }
  if (from == Unit::kNote && to == Unit::kHertz) return NoteHertz(x);
  if (from == Unit::kHertz && to == Unit::kNote && x > 0.0) {
    return kConcertNote + 12.0 * std::log2(x / kConcertPitch);
  }
  const bool isPeriod = (from == Unit::kSeconds && to == Unit::kHertz) ||
                        (from == Unit::kHertz && to == Unit::kSeconds);
  if (isPeriod && x > 0.0) return 1.0 / x;
  if (from == Unit::kTempo && to == Unit::kHertz) return x / 60.0;
  if (from == Unit::kTimes &&
      (to == Unit::kDecibels || to == Unit::kPercent || to == Unit::kNumber))
    return x;
  if (from == Unit::kPercent && (to == Unit::kDecibels || to == Unit::kTimes)) return x;
  return std::nullopt;
}

/// The unit that a bare number has, from the text that is shown.
Quantity WithShownUnit(double x, const CControl& control, const ControlScale& scale) {
  if (scale.unit == Unit::kPercent) return {x * 0.01, Unit::kPercent};
  if (scale.unit == Unit::kHertz || scale.unit == Unit::kSeconds) {
    const auto shown = ParseQuantity(Lower(ValueText(control)));
    const std::string text = Lower(ValueText(control));
    const std::string_view unit = std::string_view(text).substr(text.find_last_of(' ') + 1);
    for (const TypedUnit& typed : kTypedUnits) {
      if (shown && unit == typed.text) return {x * typed.scale, scale.unit};
    }
  }
  return {x, scale.unit};
}

ParsedValue Refused(const CControl& control, const std::string& why) {
  return {std::nullopt, why + RangeText(control)};
}

/// At most 24 bytes, whole characters.
std::string Shortened(std::string_view text) {
  constexpr std::size_t kMost = 24;
  if (text.size() <= kMost) return std::string(text);
  std::size_t end = kMost;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) --end;
  return std::string(text.substr(0, end)) + "...";
}

ParsedValue ParseName(const CControl& control, const std::string& typed,
                      const std::vector<std::string>& names) {
  const int count = static_cast<int>(names.size());
  const auto isTyped = [&](const std::string& name) { return Lower(name) == typed; };
  const auto exact = std::find_if(names.begin(), names.end(), isTyped);
  if (exact != names.end()) {
    return {ValueAt(control, static_cast<int>(exact - names.begin()), count), {}};
  }
  int found = -1;
  for (int i = 0; i < count; ++i) {
    if (!Lower(names[static_cast<std::size_t>(i)]).starts_with(typed)) continue;
    if (found >= 0) return Refused(control, "several names begin with it: ");
    found = i;
  }
  if (found < 0) return Refused(control, "one of: ");
  return {ValueAt(control, found, count), {}};
}

ParsedValue ParseScaled(const CControl& control, const std::string& typed,
                        const ControlScale& scale) {
  if (scale.atLeast && typed == Lower(scale.atLeast)) return {control.getMin(), {}};
  std::string number = typed;
  if (*scale.noun && number.ends_with(Lower(scale.noun))) {
    number = Trimmed(std::string_view(number).substr(0, number.size() - std::strlen(scale.noun)));
  }
  const auto quantity = ParseQuantity(number);
  if (!quantity) return Refused(control, "type a value of ");
  const Quantity meant = quantity->unit ? *quantity : WithShownUnit(quantity->x, control, scale);
  const Quantities quantities(control, scale);
  auto x = Converted(meant.x, *meant.unit, scale.unit);
  if (!x && *meant.unit == Unit::kPercent && meant.x >= 0.0 && meant.x <= 1.0) {
    return {control.getMin() + static_cast<float>(meant.x) * control.getRange(), {}};
  }
  if (!x) return Refused(control, "not that unit; ");
  const auto isOutside = [&](double y) {
    // The shown ends are rounded, and stand for the ends.
    const double range = quantities.Highest() - quantities.Lowest();
    const double near = std::max(std::abs(y) * 0.005, range * 1e-4);
    return y < quantities.Lowest() - near || y > quantities.Highest() + near;
  };
  // 440 is no kilohertz, even where these are shown.
  const bool hasPrefix = scale.unit == Unit::kHertz || scale.unit == Unit::kSeconds;
  if (!quantity->unit && hasPrefix && isOutside(*x)) x = quantity->x;
  if (isOutside(*x)) return Refused(control, "only from ");
  return {quantities.ValueFor(*x), {}};
}

ParsedValue ParsePlain(const CControl& control, const std::string& typed) {
  const auto quantity = ParseQuantity(typed);
  if (!quantity) return Refused(control, "type a number of ");
  const double range = static_cast<double>(control.getRange());
  const bool isShare = quantity->unit == Unit::kPercent;
  if (quantity->unit && !isShare) return Refused(control, "no unit; ");
  const int count = PositionCount(control);
  const double x = isShare ? control.getMin() + quantity->x * range : quantity->x;
  if (count > 1 && !isShare) {
    if (x < 1.0 || x > count) return Refused(control, "only from ");
    return {ValueAt(control, static_cast<int>(std::lround(x)) - 1, count), {}};
  }
  if (x < static_cast<double>(control.getMin()) || x > static_cast<double>(control.getMax())) {
    return Refused(control, "only from ");
  }
  return {static_cast<float>(x), {}};
}

bool Matches(const char* pattern, const char* role) {
  for (; *pattern; ++pattern) {
    if (*pattern != '#') {
      if (*pattern != *role++) return false;
      continue;
    }
    if (!std::isdigit(static_cast<unsigned char>(*role))) return false;
    while (std::isdigit(static_cast<unsigned char>(*role))) ++role;
  }
  return *role == '\0';
}

}  // namespace

double PanelValues::At(const char* role) const {
  for (int i = 0; module_ && i < module_->getNbViews(); ++i) {
    const auto* control = dynamic_cast<const CControl*>(module_->getView(i));
    if (!control || std::strcmp(control->role, role) != 0) continue;
    if (dynamic_cast<const PatchPoint*>(control)) continue;
    return SoundingValue(*control, BaseValueOf(*control));
  }
  return 0.0;
}

bool PanelValues::IsCabled(const char* input) const {
  if (!module_) return false;
  const auto points = module_->Points();
  return std::any_of(points.begin(), points.end(), [&](const PatchPoint* point) {
    return point->type != kOutputPoint && std::strcmp(point->role, input) == 0 && point->IsCabled();
  });
}

double PanelValues::Rate() const {
  return module_ ? static_cast<double>(module_->GetSampleRate()) : 0.0;
}

const ControlScale* ScaleOf(const CControl& control) {
  const Module* module = ModuleOf(control);
  if (!module || !module->editor) return nullptr;
  const PanelValues panel(module);
  for (const ControlScale& scale : module->editor->ScalesOf(*module)) {
    if (Matches(scale.role, control.role) && (!scale.when || scale.when(panel))) return &scale;
  }
  return nullptr;
}

std::string ValueText(const CControl& control, float value) {
  if (dynamic_cast<const PatchPoint*>(&control)) return {};
  if (const auto* field = dynamic_cast<const CTextEdit*>(&control)) return field->getText();
  const ControlScale* scale = ScaleOf(control);
  const std::vector<std::string> names = NamesOf(control, scale);
  if (!names.empty()) {
    const int count = static_cast<int>(names.size());
    return names[static_cast<std::size_t>(PositionAt(control, value, count))];
  }
  return scale ? TextOf(control, *scale, value) : PlainText(control, value);
}

std::string ValueText(const CControl& control) { return ValueText(control, BaseValueOf(control)); }

std::string RangeText(const CControl& control) {
  const std::vector<std::string> names = NamesOf(control, ScaleOf(control));
  if (names.empty()) {
    const std::string first = ValueText(control, control.getMin());
    return first.empty() ? "" : first + " to " + ValueText(control, control.getMax());
  }
  std::string all;
  for (const std::string& name : names) all += (all.empty() ? "" : ", ") + name;
  return all;
}

ParsedValue ParseValue(const CControl& control, std::string_view text) {
  const std::string typed = Lower(Trimmed(text));
  const ControlScale* scale = ScaleOf(control);
  const std::vector<std::string> names = NamesOf(control, scale);
  if (typed.empty()) return Refused(control, names.empty() ? "Type a value of " : "One of: ");
  ParsedValue parsed = !names.empty() ? ParseName(control, typed, names)
                       : scale        ? ParseScaled(control, typed, *scale)
                                      : ParsePlain(control, typed);
  if (!parsed.error.empty()) parsed.error.insert(0, '"' + Shortened(Trimmed(text)) + "\": ");
  // A display holds the number that it shows, and cuts fractions.
  if (parsed.value && control.isTypeOf("CSpecialDigit")) parsed.value = std::round(*parsed.value);
  return parsed;
}

void MoveControl(CControl& control, float value) {
  control.beginEdit();
  auto* knob = dynamic_cast<ModuleKnob*>(&control);
  if (knob && knob->hostOffset != 0.0f) {
    knob->SetModulated(value, knob->hostOffset);
  } else {
    control.setValue(value);
  }
  control.valueChanged();
  control.invalid();
  control.endEdit();
}

}  // namespace halveron
