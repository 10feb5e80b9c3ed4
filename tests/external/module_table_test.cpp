// Tables of modules that lie: each lie is found, and named by its place.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "editor/external_module_type.h"
#include "sdk/halveron_module.hpp"

namespace halveron::testing {
namespace {

using Problems = std::vector<std::string>;

void* Create(const HalveronHost*, HalveronContext*, const HalveronPanel*, int32_t) {
  return nullptr;
}
void Nothing(void*) {}

/// A table in order, with one of everything.
struct Tables {
  std::vector<HalveronControl> controls = {
      {"Level", nullptr, HALVERON_KNOB, HALVERON_BIG, 0, 0, 0, 1, 0.5f, 30, 60, 0, 0, 0, nullptr},
      {"Mode", "", HALVERON_MENU, 0, 0, 0, 0, 1, 1, 48, 110, 60, 16, 2, entries},
      {"Count", nullptr, HALVERON_DIGITS, 0, 3, 0, 1, 128, 16, 48, 140, 0, 0, 0, nullptr}};
  std::vector<HalveronPoint> points = {{"In", nullptr, HALVERON_INPUT, 0, 20, 200},
                                       {"In", nullptr, HALVERON_OUTPUT, 1, 60, 200},
                                       {"Way", nullptr, HALVERON_EITHER, 0, 60, 240}};
  std::vector<HalveronLamp> lamps = {{"Lamp", nullptr, HALVERON_BLUE_LAMP, 80, 220}};
  std::vector<HalveronDisplay> displays = {{"Screen", 48, 165, 80, 20}};
  HalveronVoices voices{sizeof(HalveronVoices),
                        [](void* const*, uint32_t, uint32_t) -> void* { return nullptr; },
                        Nothing,
                        [](void*) -> int32_t { return 0; },
                        Nothing,
                        Nothing};
  HalveronModule module{};
  static constexpr const char* entries[] = {"Slow", "Fast"};

  Tables() {
    module.size = sizeof module;
    module.name = "Probe";
    module.vendor = "Vendor";
    module.columns = 8;
    module.version = 1000;
    module.create = Create;
    module.destroy = Nothing;
    module.process_sample = Nothing;
    module.draw = [](void*, uint32_t, const HalveronCanvas*) {};
    module.voices = &voices;
  }
  Problems Read() {
    const auto list = [](auto& items, auto& entriesOf, uint32_t& size, uint32_t& count) {
      if (count == 0) count = static_cast<uint32_t>(items.size());
      if (size == 0) size = sizeof items[0];
      if (!entriesOf) entriesOf = items.data();
    };
    list(controls, module.controls, module.control_size, module.control_count);
    list(points, module.points, module.point_size, module.point_count);
    list(lamps, module.lamps, module.lamp_size, module.lamp_count);
    list(displays, module.displays, module.display_size, module.display_count);
    Problems problems;
    type = ReadModuleTable(&module, "Probe", "Vendor", problems);
    return problems;
  }
  ExternalModuleType type;
};

TEST(ModuleTables, InOrderAreCopiedWithAllTheirTexts) {
  Tables tables;
  EXPECT_EQ(tables.Read(), Problems{});
  const ExternalModuleType& type = tables.type;
  EXPECT_EQ(type.name, "Probe");
  ASSERT_EQ(type.controls.size(), 3u);
  EXPECT_EQ(type.controls[1].entries, (std::vector<std::string>{"Slow", "Fast"}));
  EXPECT_STREQ(type.controls[1].entryTexts[1], "Fast");
  EXPECT_TRUE(type.controls[1].hasCaption);
  EXPECT_FALSE(type.controls[0].hasCaption);
  EXPECT_EQ(type.points[2].role, "Way");
  EXPECT_NE(type.voices.run_voices, nullptr);
}

TEST(ModuleTables, OfEarlierAndLaterInterfacesAreReadAsFarAsTheyGo) {
  Tables earlier;
  earlier.displays.clear();
  // Ends behind process_sample: the rest counts as null, whatever stands there.
  earlier.module.size = offsetof(HalveronModule, set_rate);
  earlier.module.set_rate = reinterpret_cast<void (*)(void*, float, float)>(16);
  EXPECT_EQ(earlier.Read(), Problems{});
  EXPECT_EQ(earlier.type.functions.set_rate, nullptr);

  struct LaterPoint {
    HalveronPoint point;
    double somethingNew;
  };
  const LaterPoint points[] = {{{"A", nullptr, HALVERON_INPUT, 0, 20, 200}, 1},
                               {{"B", nullptr, HALVERON_INPUT, 0, 60, 200}, 2}};
  Tables later;
  later.module.point_size = sizeof points[0];
  later.module.point_count = 2;
  later.module.points = &points[0].point;
  EXPECT_EQ(later.Read(), Problems{});
  EXPECT_EQ(later.type.points[1].role, "B");
}

TEST(ModuleTables, ThatLieAreRefusedWithThePlace) {
  struct Lie {
    const char* problem;
    std::function<void(Tables&)> tell;
  };
  static const auto wild = reinterpret_cast<const char*>(16);
  const std::string longText(600, 'x');
  const Lie lies[] = {
      {"module: size is 12", [](Tables& t) { t.module.size = 12; }},
      {"name: is null", [](Tables& t) { t.module.name = nullptr; }},
      {"name: is 'Prob'", [](Tables& t) { t.module.name = "Prob"; }},
      {"name: is no text of at most 519", [&](Tables& t) { t.module.name = longText.c_str(); }},
      {"vendor: is no text", [](Tables& t) { t.module.vendor = wild; }},
      {"columns: is 0", [](Tables& t) { t.module.columns = 0; }},
      {"columns: is 85", [](Tables& t) { t.module.columns = 85; }},
      {"version: is 999", [](Tables& t) { t.module.version = 999; }},
      {"flags: has bits", [](Tables& t) { t.module.flags = 1u << 20; }},
      {"create: is null", [](Tables& t) { t.module.create = nullptr; }},
      {"destroy: is no address",
       [](Tables& t) { t.module.destroy = reinterpret_cast<void (*)(void*)>(24); }},
      {"process_sample: is null", [](Tables& t) { t.module.process_sample = nullptr; }},
      {"draw: is null", [](Tables& t) { t.module.draw = nullptr; }},
      {"save_data: is null",
       [](Tables& t) { t.module.data_size = [](void*) -> uint32_t { return 0; }; }},
      {"voices.run_voices: is null", [](Tables& t) { t.voices.run_voices = nullptr; }},
      {"voices: is not in readable",
       [](Tables& t) { t.module.voices = reinterpret_cast<const HalveronVoices*>(8); }},
      {"controls: count is 4000000000", [](Tables& t) { t.module.control_count = 4000000000u; }},
      {"controls: entry size is 8", [](Tables& t) { t.module.control_size = 8; }},
      {"points[0]: is not in readable",
       [](Tables& t) { t.module.points = reinterpret_cast<const HalveronPoint*>(64); }},
      {"controls[0].role: is null", [](Tables& t) { t.controls[0].role = nullptr; }},
      {"controls[0].role: is empty", [](Tables& t) { t.controls[0].role = ""; }},
      {"controls[0].role: has control", [](Tables& t) { t.controls[0].role = "A\nB"; }},
      {"controls[0].role: is not UTF-8", [](Tables& t) { t.controls[0].role = "Gr\xFC"; }},
      {"points[0].caption: is not UTF-8", [](Tables& t) { t.points[0].caption = "\xC0\xAF"; }},
      {"controls[2]: the role 'Level' is used twice",
       [](Tables& t) { t.controls[2].role = "Level"; }},
      {"lamps[0]: the role 'Level'", [](Tables& t) { t.lamps[0].role = "Level"; }},
      {"points[2]: the role 'In'", [](Tables& t) { t.points[2].role = "In"; }},
      {"controls[0].caption: is not", [](Tables& t) { t.controls[0].caption = wild; }},
      {"controls[0]: kind is 99", [](Tables& t) { t.controls[0].kind = 99; }},
      {"controls[0]: look is 5", [](Tables& t) { t.controls[0].look = HALVERON_WHITE; }},
      {"controls[0]: steps is 4",
       [](Tables& t) { t.controls[0].kind = HALVERON_STEPPED_KNOB, t.controls[0].steps = 4; }},
      {"controls[0]: its range is 0 to 2", [](Tables& t) { t.controls[0].most = 2; }},
      {"controls[0]: its default is 1.5", [](Tables& t) { t.controls[0].initial = 1.5f; }},
      {"controls[0]: its default is nan", [](Tables& t) { t.controls[0].initial = NAN; }},
      {"controls[0]: at 10, 60", [](Tables& t) { t.controls[0].x = 10; }},
      {"controls[0]: at 30, nan", [](Tables& t) { t.controls[0].y = NAN; }},
      {"controls[1]: its size is 0 by 16", [](Tables& t) { t.controls[1].width = 0; }},
      {"controls[1]: entry_count is 0", [](Tables& t) { t.controls[1].entry_count = 0; }},
      {"controls[1].entries[0]: the table is null",
       [](Tables& t) { t.controls[1].entries = nullptr; }},
      {"controls[2]: its range is 1 to inf", [](Tables& t) { t.controls[2].most = INFINITY; }},
      {"points[1]: direction is 3", [](Tables& t) { t.points[1].direction = 3; }},
      {"points[2]: a MIDI point", [](Tables& t) { t.points[2].is_midi = 1; }},
      {"points[1]: at 90, 200", [](Tables& t) { t.points[1].x = 90; }},
      {"lamps[0]: at 80, -1", [](Tables& t) { t.lamps[0].y = -1; }},
      {"displays[0]: at 48, 285", [](Tables& t) { t.displays[0].y = 285; }},
  };
  for (const Lie& lie : lies) {
    Tables tables;
    lie.tell(tables);
    const Problems problems = tables.Read();
    ASSERT_FALSE(problems.empty()) << lie.problem;
    EXPECT_EQ(problems.front().substr(0, std::string(lie.problem).size()), lie.problem);
  }
  Problems problems;
  ReadModuleTable(nullptr, "", "", problems);
  EXPECT_EQ(problems, Problems{"module: is null"});
}

/// A knob and a toggle, of which the host automates the toggle.
class Manual final : public halveron_sdk::Module {
 public:
  static constexpr char kName[] = "Manual";
  static constexpr char kVendor[] = "Vendor";
  static constexpr int kColumns = 4;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;
  explicit Manual(const halveron_sdk::Setup& setup) : Module(setup) {
    AddModuleKnob(level_, "Level", 24, 80, HALVERON_SMALL, 0.5f);
    ExcludeFromAutomation();
    AddOnOffButton("Fixed", 24, 120, 0);
  }
  void ProcessSample() {}

 private:
  halveron_sdk::Knob level_;
};

TEST(ModuleTables, OfCppClassesExcludeControlsFromAutomation) {
  const HalveronModule& table = halveron_sdk::detail::Table<Manual>::Get();
  ASSERT_EQ(table.control_count, 2u);
  EXPECT_EQ(table.controls[0].flags, unsigned{HALVERON_NO_PARAMETER});
  EXPECT_EQ(table.controls[1].flags, 0u);
}

}  // namespace
}  // namespace halveron::testing
