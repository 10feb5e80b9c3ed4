#include "editor/options.h"

#include <algorithm>
#include <type_traits>

namespace halveron {

namespace {

constexpr const char* kSection = "Options";

}  // namespace

template <class Value>
Option<Value>::Option(const platform::ProfileFile& file, const char* key, Value fallback,
                      int lowest, int highest)
    : file_(file), key_(key), lowest_(lowest), highest_(highest), value_(std::move(fallback)) {
  if constexpr (std::is_same_v<Value, std::string>) {
    value_ = file.GetText(kSection, key, value_);
  } else if constexpr (std::is_same_v<Value, bool>) {
    value_ = file.GetInt(kSection, key, value_ ? 1 : 0) != 0;
  } else {
    value_ = std::clamp(file.GetInt(kSection, key, value_), lowest, highest);
  }
}

template <class Value>
void Option<Value>::Set(const Value& value) {
  if constexpr (std::is_same_v<Value, std::string>) {
    value_ = value;
    file_.SetText(kSection, key_, value);
  } else if constexpr (std::is_same_v<Value, bool>) {
    value_ = value;
    file_.SetInt(kSection, key_, value ? 1 : 0);
  } else {
    value_ = std::clamp(value, lowest_, highest_);
    file_.SetInt(kSection, key_, value_);
  }
}

template class Option<bool>;
template class Option<int>;
template class Option<std::string>;

Options::Options(const std::string& configFile, HostKind hostKind)
    : file_(configFile),
      overwriteAuthor(file_, "overwrite_author", false),
      defaultAuthor(file_, "default_author", ""),
      skin(file_, "Skin", "Classic"),
      skinSize(file_, "Skin Size", "Medium"),
      cableThickness(file_, "cable_thickness", kThickestCable, kThinnestCable, kThickestCable),
      viewableRows(file_, "viewable_rows", kFewestViewableRows, kFewestViewableRows,
                   kMostViewableRows),
      zoom(file_, "zoom", 0, 0, kMostZoom),
      advancedOversampling(file_, "advanced_oversampling", true),
      flatCables(file_, "flat_cables", false),
      transparency(file_, "Transparency", 0, 0, kMostTransparency),
      cpuLiteCables(file_, "cpu_lite_cables", false),
      cableSlack(file_, "cable_slack", kUsualSlack, 0, kMostSlack),
      liftCables(file_, "lift_cables", true),
      signalColours(file_, "signal_colours", false),
      ledsAlwaysOn(file_, "LEDs_always_on", true),
      sampleAccurate(file_, "sample_accurate", false) {
  if (hostKind != HostKind::kClap) sampleAccurate.value_ = false;
}

}  // namespace halveron
