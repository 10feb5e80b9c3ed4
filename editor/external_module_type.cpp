#include "editor/external_module_type.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <set>

#include "editor/external_panel.h"
#include "framework/panel_metrics.h"
#include "framework/shared_bitmaps.h"
#include "platform/foreign_memory.h"
#include "platform/utf8.h"
#include "presets/preset_format.h"

namespace halveron {

namespace {

constexpr std::uint32_t kMostEntries = 1000;
constexpr std::uint32_t kMostTableBytes = 1 << 16;
constexpr std::size_t kMostTextBytes = kMostPresetTextBytes - 1;
constexpr int kMostColumns = 84;  // of the rack
constexpr int kFewestDataVersion = 1000;
constexpr std::uint32_t kKnownFlags = 2 * HALVERON_BANDLIMIT_MODES - 1;

// Tables of the first version of the interface end with these fields: what is added behind them
// later does not refuse an older library.
#define HALVERON_THROUGH(table, field) (offsetof(table, field) + sizeof(table::field))
constexpr std::uint32_t kLeastModuleBytes = HALVERON_THROUGH(HalveronModule, process_sample);
constexpr std::uint32_t kLeastVoicesBytes = HALVERON_THROUGH(HalveronVoices, store_voices);
constexpr std::size_t kLeastControlBytes = HALVERON_THROUGH(HalveronControl, entries);
constexpr std::size_t kLeastPointBytes = HALVERON_THROUGH(HalveronPoint, y);
constexpr std::size_t kLeastLampBytes = HALVERON_THROUGH(HalveronLamp, y);
constexpr std::size_t kLeastDisplayBytes = HALVERON_THROUGH(HalveronDisplay, height);
#undef HALVERON_THROUGH

std::string Shown(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", static_cast<double>(value));
  return text;
}

/// Collects what is wrong with a table while it is copied.
class TableReader {
 public:
  explicit TableReader(std::vector<std::string>& problems) : problems_(problems) {}

  void Object(const std::string& place, const std::string& cause) {
    problems_.push_back(place + ": " + cause);
  }

  /// Copies a table that begins with its size. False if that is impossible.
  template <class Table>
  bool Sized(const char* place, const Table* from, std::uint32_t least, Table& to) {
    std::uint32_t size = 0;
    if (!platform::CopyForeign(from, &size, sizeof size)) {
      Object(place, from ? "is not in readable memory" : "is null");
      return false;
    }
    if (size < least || size > kMostTableBytes) {
      Object(place, "size is " + std::to_string(size) + ", not at least " + std::to_string(least));
      return false;
    }
    to = Table{};
    if (platform::CopyForeign(from, &to, std::min<std::size_t>(size, sizeof to))) return true;
    Object(place, "is not in readable memory");
    return false;
  }

  template <class Function>
  void Code(const char* field, Function*& function, bool isRequired) {
    if (!function) {
      if (isRequired) Object(field, "is null");
    } else if (!platform::IsInLoadedLibrary(reinterpret_cast<const void*>(function))) {
      Object(field, "is no address in a loaded library");
      function = nullptr;
    }
  }

  /// A text that must be there, of one line.
  std::string Text(const std::string& place, const char* text) {
    const auto copy = platform::CopyForeignText(text, kMostTextBytes);
    if (!copy) {
      Object(place, !text ? "is null"
                          : "is no text of at most " + std::to_string(kMostTextBytes) + " bytes");
      return {};
    }
    const bool isPlain = std::none_of(copy->begin(), copy->end(), [](char letter) {
      return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F;
    });
    if (copy->empty()) Object(place, "is empty");
    if (!isPlain) Object(place, "has control characters");
    RequireUtf8(place, *copy);
    return *copy;
  }

  bool OptionalText(const std::string& place, const char* text, std::string& copy) {
    if (!text) return false;
    const auto read = platform::CopyForeignText(text, kMostTextBytes);
    if (!read) Object(place, "is not in readable memory or too long");
    copy = read.value_or("");
    RequireUtf8(place, copy);
    return true;
  }

  /// Copies a table of entries, each `size` bytes in the library and at least `least`.
  template <class Entry>
  std::vector<Entry> Entries(const std::string& place, const Entry* from, std::uint32_t size,
                             std::uint32_t count, std::size_t least) {
    std::vector<Entry> entries;
    if (count == 0) return entries;
    if (count > kMostEntries) {
      Object(place,
             "count is " + std::to_string(count) + ", above " + std::to_string(kMostEntries));
      return entries;
    }
    if (size < least || size > kMostTableBytes) {
      Object(place,
             "entry size is " + std::to_string(size) + ", not at least " + std::to_string(least));
      return entries;
    }
    const auto* bytes = reinterpret_cast<const std::byte*>(from);
    for (std::uint32_t i = 0; i < count; ++i) {
      Entry entry{};
      if (!bytes || !platform::CopyForeign(bytes + std::size_t{i} * size, &entry,
                                           std::min<std::size_t>(size, sizeof entry))) {
        Object(At(place, i), from ? "is not in readable memory" : "the table is null");
        return entries;
      }
      entries.push_back(entry);
    }
    return entries;
  }

  static std::string At(const std::string& place, std::size_t index) {
    return place + "[" + std::to_string(index) + "]";
  }

 private:
  void RequireUtf8(const std::string& place, const std::string& text) {
    if (!platform::IsUtf8(text)) Object(place, "is not UTF-8");
  }

  std::vector<std::string>& problems_;
};

/// Checks the entries of one module's panel.
class PanelReader {
 public:
  PanelReader(TableReader& reader, ExternalModuleType& type) : reader_(reader), type_(type) {}

  void Read() {
    const HalveronModule& table = type_.functions;
    const auto controls = reader_.Entries("controls", table.controls, table.control_size,
                                          table.control_count, kLeastControlBytes);
    for (std::size_t i = 0; i < controls.size(); ++i) ReadControl(i, controls[i]);
    const auto points = reader_.Entries("points", table.points, table.point_size, table.point_count,
                                        kLeastPointBytes);
    for (std::size_t i = 0; i < points.size(); ++i) ReadPoint(i, points[i]);
    const auto lamps =
        reader_.Entries("lamps", table.lamps, table.lamp_size, table.lamp_count, kLeastLampBytes);
    for (std::size_t i = 0; i < lamps.size(); ++i) ReadLamp(i, lamps[i]);
    const auto displays = reader_.Entries("displays", table.displays, table.display_size,
                                          table.display_count, kLeastDisplayBytes);
    for (std::size_t i = 0; i < displays.size(); ++i) ReadDisplay(i, displays[i]);
  }

 private:
  void Unique(const std::string& place, const std::string& role, std::set<std::string>& roles) {
    if (!role.empty() && !roles.insert(role).second) {
      reader_.Object(place, "the role '" + role + "' is used twice");
    }
  }

  /// The centre and the size of what stands there, in panel units.
  void Place(const std::string& place, float x, float y, double width, double height) {
    const double right = type_.functions.columns * kReferenceUnitWidth;
    const auto fits = [](double centre, double size, double end) {
      return centre - size / 2 >= 0 && centre + size / 2 <= end;
    };
    if (!fits(static_cast<double>(x), width, right) ||
        !fits(static_cast<double>(y), height, kReferencePanelHeight)) {
      reader_.Object(place, "at " + Shown(x) + ", " + Shown(y) + " it is not within the panel of " +
                                Shown(static_cast<float>(right)) + " by " +
                                std::to_string(kReferencePanelHeight));
    }
  }

  void Size(const std::string& place, float width, float height) {
    if (!(width >= 1) || !(height >= 1)) {
      reader_.Object(place, "its size is " + Shown(width) + " by " + Shown(height));
    }
  }

  void Choice(const std::string& place, const char* field, int value, int end) {
    if (value >= 0 && value < end) return;
    reader_.Object(place, std::string(field) + " is " + std::to_string(value) + ", not 0 to " +
                              std::to_string(end - 1));
  }

  void Steps(const std::string& place, int steps, std::initializer_list<int> known) {
    if (std::find(known.begin(), known.end(), steps) != known.end()) return;
    std::string list;
    for (const int each : known) list += (list.empty() ? "" : ", ") + std::to_string(each);
    reader_.Object(place, "steps is " + std::to_string(steps) + ", not one of " + list);
  }

  void Range(const std::string& place, const HalveronControl& control, float least, float most) {
    if (control.least == least && control.most == most) return;
    reader_.Object(place, "its range is " + Shown(control.least) + " to " + Shown(control.most) +
                              ", not " + Shown(least) + " to " + Shown(most));
  }

  void ReadMenu(const std::string& place, ExternalControl& control) {
    constexpr std::uint32_t kMostChoices = 200;
    const std::uint32_t count = control.table.entry_count;
    if (count == 0 || count > kMostChoices) {
      reader_.Object(place, "entry_count is " + std::to_string(count) + ", not 1 to " +
                                std::to_string(kMostChoices));
      return;
    }
    const auto texts = reader_.Entries(place + ".entries", control.table.entries, sizeof(char*),
                                       count, sizeof(char*));
    for (std::size_t i = 0; i < texts.size(); ++i) {
      control.entries.push_back(reader_.Text(TableReader::At(place + ".entries", i), texts[i]));
    }
    Range(place, control.table, 0, static_cast<float>(count - 1));
  }

  /// Kind, steps, range; the size in panel units of what is shown.
  CPoint ReadKind(const std::string& place, ExternalControl& control) {
    HalveronControl& table = control.table;
    const auto sizeOf = [](SharedBitmap bitmap) {
      return CPoint(InfoOf(bitmap).frameWidth, InfoOf(bitmap).frameHeight);
    };
    const CPoint own(static_cast<double>(table.width), static_cast<double>(table.height));
    const bool isSized = table.kind == HALVERON_SLIDER || table.kind == HALVERON_MENU;
    if (isSized) Size(place, table.width, table.height);
    if (table.kind != HALVERON_MENU && table.kind != HALVERON_DIGITS) Range(place, table, 0, 1);
    switch (table.kind) {
      case HALVERON_KNOB:
        Choice(place, "look", table.look, HALVERON_WHITE);
        return sizeOf(table.look == HALVERON_SMALL ? SharedBitmap::kSmallKnob
                      : table.look == HALVERON_BIG ? SharedBitmap::kBigKnob
                                                   : SharedBitmap::kGrayKnob);
      case HALVERON_STEPPED_KNOB:
        Steps(place, table.steps, {5, 7, 11, 13});
        return sizeOf(SharedBitmap::kGrayKnob5);
      case HALVERON_SWITCH:
        Steps(place, table.steps, {2, 3});
        return sizeOf(SharedBitmap::kVerticalTripleSwitch);
      case HALVERON_PUSH_BUTTON:
        if (table.look != HALVERON_BLACK && table.look != HALVERON_RED &&
            table.look != HALVERON_WHITE) {
          reader_.Object(place,
                         "look is " + std::to_string(table.look) + ", not black, red or white");
        }
        return sizeOf(SharedBitmap::kRedButton);
      case HALVERON_TOGGLE:
        return sizeOf(SharedBitmap::kLetterBlank);
      case HALVERON_MENU:
        ReadMenu(place, control);
        return own;
      case HALVERON_DIGITS: {
        constexpr int kMostPlaces = 7;
        if (table.steps < 1 || table.steps > kMostPlaces) {
          reader_.Object(place, "steps is " + std::to_string(table.steps) + ", not 1 to " +
                                    std::to_string(kMostPlaces));
        }
        if (!(table.least >= 0) || !(table.most >= table.least) || !(table.most < 1e7f)) {
          reader_.Object(place, "its range is " + Shown(table.least) + " to " + Shown(table.most));
        }
        CPoint size = sizeOf(SharedBitmap::kRedDigits);
        size.x *= std::clamp(table.steps, 1, kMostPlaces);
        return size;
      }
      case HALVERON_SLIDER:
        return own;
      default:
        reader_.Object(place, "kind is " + std::to_string(table.kind) + ", not 0 to " +
                                  std::to_string(HALVERON_DIGITS));
        return own;
    }
  }

  void ReadControl(std::size_t index, const HalveronControl& table) {
    const std::string place = TableReader::At("controls", index);
    ExternalControl control;
    control.table = table;
    control.role = reader_.Text(place + ".role", table.role);
    Unique(place, control.role, controlRoles_);
    control.hasCaption = reader_.OptionalText(place + ".caption", table.caption, control.caption);
    const CPoint size = ReadKind(place, control);
    Place(place, table.x, table.y, size.x, size.y);
    if (!(table.initial >= table.least && table.initial <= table.most)) {
      reader_.Object(place, "its default is " + Shown(table.initial) + ", not within its range");
    }
    type_.controls.push_back(std::move(control));
  }

  void ReadPoint(std::size_t index, const HalveronPoint& table) {
    const std::string place = TableReader::At("points", index);
    ExternalPoint point;
    point.table = table;
    point.role = reader_.Text(place + ".role", table.role);
    point.hasCaption = reader_.OptionalText(place + ".caption", table.caption, point.caption);
    Choice(place, "direction", table.direction, HALVERON_EITHER + 1);
    if (table.is_midi && table.direction == HALVERON_EITHER) {
      reader_.Object(place, "a MIDI point is an input or an output");
    }
    if (table.direction != HALVERON_OUTPUT) Unique(place, point.role, inputRoles_);
    if (table.direction != HALVERON_INPUT) Unique(place, point.role, outputRoles_);
    Place(place, table.x, table.y, kPatchPointSize, kPatchPointSize);
    type_.points.push_back(std::move(point));
  }

  void ReadLamp(std::size_t index, const HalveronLamp& table) {
    const std::string place = TableReader::At("lamps", index);
    ExternalLamp lamp;
    lamp.table = table;
    lamp.role = reader_.Text(place + ".role", table.role);
    lamp.hasCaption = reader_.OptionalText(place + ".caption", table.caption, lamp.caption);
    Unique(place, lamp.role, controlRoles_);
    Choice(place, "look", table.look, HALVERON_BLUE_LAMP + 1);
    const SharedBitmapInfo& info = InfoOf(SharedBitmap::kRedLamp);
    Place(place, table.x, table.y, info.frameWidth, info.frameHeight);
    type_.lamps.push_back(std::move(lamp));
  }

  void ReadDisplay(std::size_t index, const HalveronDisplay& table) {
    const std::string place = TableReader::At("displays", index);
    ExternalDisplay display;
    display.table = table;
    display.role = reader_.Text(place + ".role", table.role);
    Unique(place, display.role, controlRoles_);
    Size(place, table.width, table.height);
    Place(place, table.x, table.y, static_cast<double>(table.width),
          static_cast<double>(table.height));
    type_.displays.push_back(std::move(display));
  }

  TableReader& reader_;
  ExternalModuleType& type_;
  std::set<std::string> controlRoles_, inputRoles_, outputRoles_;
};

void ReadFunctions(TableReader& reader, ExternalModuleType& type) {
  HalveronModule& table = type.functions;
  reader.Code("create", table.create, true);
  reader.Code("destroy", table.destroy, true);
  reader.Code("process_sample", table.process_sample, true);
  reader.Code("set_rate", table.set_rate, false);
  reader.Code("value_changed", table.value_changed, false);
  reader.Code("cable_connected", table.cable_connected, false);
  reader.Code("cable_disconnected", table.cable_disconnected, false);
  reader.Code("block_start", table.block_start, false);
  reader.Code("midi_events", table.midi_events, false);
  reader.Code("options_changed", table.options_changed, false);
  reader.Code("voice_count_changed", table.voice_count_changed, false);
  reader.Code("module_created", table.module_created, false);
  reader.Code("module_removed", table.module_removed, false);
  const bool hasData = table.data_size || table.save_data || table.load_data;
  reader.Code("data_size", table.data_size, hasData);
  reader.Code("save_data", table.save_data, hasData);
  reader.Code("load_data", table.load_data, hasData);
  reader.Code("draw", table.draw, !type.displays.empty());
  reader.Code("is_display_fresh", table.is_display_fresh, false);
  reader.Code("mouse", table.mouse, false);
  reader.Code("wheel", table.wheel, false);
  reader.Code("mouse_moved", table.mouse_moved, false);
  if (!table.voices) return;
  if (!reader.Sized("voices", table.voices, kLeastVoicesBytes, type.voices)) return;
  reader.Code("voices.create_voices", type.voices.create_voices, true);
  reader.Code("voices.destroy_voices", type.voices.destroy_voices, true);
  reader.Code("voices.load_voices", type.voices.load_voices, true);
  reader.Code("voices.run_voices", type.voices.run_voices, true);
  reader.Code("voices.store_voices", type.voices.store_voices, true);
}

/// Lets the copies' tables refer to the copies' texts.
void OwnTexts(ExternalModuleType& type) {
  for (ExternalControl& control : type.controls) {
    for (const std::string& entry : control.entries) control.entryTexts.push_back(entry.c_str());
  }
}

}  // namespace

ExternalModuleType ReadModuleTable(const HalveronModule* table, const std::string& name,
                                   const std::string& vendor, std::vector<std::string>& problems) {
  ExternalModuleType type;
  TableReader reader(problems);
  if (!reader.Sized("module", table, kLeastModuleBytes, type.functions)) return type;
  type.panel = std::make_shared<ExternalPanel>();
  type.name = reader.Text("name", type.functions.name);
  type.vendor = reader.Text("vendor", type.functions.vendor);
  if (!type.name.empty() && type.name != name) {
    reader.Object("name", "is '" + type.name + "', but the .ini has '" + name + "'");
  }
  if (!type.vendor.empty() && type.vendor != vendor) {
    reader.Object("vendor", "is '" + type.vendor + "', but the .ini has '" + vendor + "'");
  }
  reader.OptionalText("picture", type.functions.picture, type.picture);
  const int columns = type.functions.columns;
  if (columns < 1 || columns > kMostColumns) {
    reader.Object("columns",
                  "is " + std::to_string(columns) + ", not 1 to " + std::to_string(kMostColumns));
    return type;
  }
  if (type.functions.version < kFewestDataVersion) {
    reader.Object("version", "is " + std::to_string(type.functions.version) + ", not at least " +
                                 std::to_string(kFewestDataVersion));
  }
  if ((type.functions.flags & ~kKnownFlags) != 0) {
    reader.Object("flags", "has bits that this version does not know");
  }
  PanelReader(reader, type).Read();
  ReadFunctions(reader, type);
  OwnTexts(type);
  return type;
}

}  // namespace halveron
