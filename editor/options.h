// What the user chose in the menus, kept in "Config.ini".
#pragma once

#include <string>

#include "framework/engine_context.h"
#include "platform/profile_file.h"

namespace halveron {

/// One option: read when the program starts, written the moment that it is set.
template <class Value>
class Option {
 public:
  const Value& Get() const { return value_; }
  /// Keeps and writes the value, brought into its range. A file that cannot be written keeps what
  /// it had, and the value holds for this instance.
  void Set(const Value& value);

 private:
  friend class Options;
  Option(const platform::ProfileFile& file, const char* key, Value fallback, int lowest = 0,
         int highest = 0);

  const platform::ProfileFile& file_;
  const char* key_;
  int lowest_;
  int highest_;
  Value value_;
};

class Options {
 public:
  static constexpr int kThinnestCable = 3;
  static constexpr int kThickestCable = 8;
  static constexpr int kFewestViewableRows = 2;
  static constexpr int kMostViewableRows = 10;
  static constexpr int kMostTransparency = 4;
  static constexpr int kMostZoom = 300;
  static constexpr int kUsualSlack = 2;
  static constexpr int kMostSlack = 4;

  /// An empty path gives the defaults, and nothing is written.
  Options(const std::string& configFile, HostKind hostKind);
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;

 private:
  platform::ProfileFile file_;

 public:
  Option<bool> overwriteAuthor;       ///< a save always writes the default author
  Option<std::string> defaultAuthor;  ///< empty
  Option<std::string> skin;           ///< folder of the skin, "Classic"
  Option<std::string> skinSize;       ///< folder of the size in it, "Medium"
  Option<int> cableThickness;         ///< panel units, 8
  Option<int> viewableRows;           ///< rows that the window shows, 2
  Option<int> zoom;                   ///< of the window in per cent; 0, what fits the screen
  Option<bool> advancedOversampling;  ///< offers the choice of the filter, true
  Option<bool> flatCables;            ///< false
  Option<int> transparency;           ///< step of the cables' menu, 0
  Option<bool> cpuLiteCables;         ///< false
  Option<int> cableSlack;             ///< step of the cables' menu, kUsualSlack
  Option<bool> liftCables;            ///< those of the jack under the mouse, true
  Option<bool> signalColours;         ///< cables show the kind of their signal, false
  Option<bool> ledsAlwaysOn;          ///< true
  Option<bool> sampleAccurate;        ///< false, and off under any host kind but CLAP
};

}  // namespace halveron
