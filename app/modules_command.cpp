#include "app/modules_command.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <ostream>
#include <vector>

#include "app/run_command.h"
#include "editor/module_catalogue.h"
#include "engine/halveron.h"
#include "framework/module.h"
#include "platform/file_error.h"
#include "presets/module_roles.h"
#include "presets/nearest_name.h"

namespace halveron {

using platform::FileError;

namespace {

using Json = nlohmann::ordered_json;

/// An engine without a host, to make modules in.
class Workshop {
 public:
  Workshop() : engine_(nullptr, HostKind::kVst2) { engine_.open(); }
  ~Workshop() { engine_.close(); }
  Workshop(const Workshop&) = delete;
  Workshop& operator=(const Workshop&) = delete;

  /// Null if the entry's class is not there.
  Module* Make(const CatalogueEntry& entry) {
    return engine_.Editor()->AddModule(entry.name, kBuiltInVendor);
  }

 private:
  Halveron engine_;
};

struct Kind {
  const char* name;
  int positions;  ///< 0: any value of the range
};

Kind KindOf(const CControl& control) {
  if (const auto* knob = dynamic_cast<const ModuleKnob*>(&control)) {
    return knob->stepped ? Kind{"stepped knob", knob->getNumSubPixmaps()} : Kind{"knob", 0};
  }
  if (const auto* choice = dynamic_cast<const CSwitchBase*>(&control)) {
    return {"switch", choice->getNumSubPixmaps()};
  }
  if (dynamic_cast<const COnOffButton*>(&control)) return {"on/off button", 2};
  if (dynamic_cast<const CKickButton*>(&control)) return {"push button", 2};
  if (dynamic_cast<const CMovieBitmap*>(&control)) return {"lamp", 0};
  if (dynamic_cast<const CSpecialDigit*>(&control)) return {"display", 0};
  if (dynamic_cast<const CParamDisplay*>(&control)) return {"text", 0};
  return {"control", 0};
}

const char* GroupOf(const PatchPoint& point) {
  if (point.type == kInputPoint) return "inputs";
  return point.type == kOutputPoint ? "outputs" : "either way";
}

std::vector<PatchPoint*> PointsOf(const Module& module) {
  std::vector<PatchPoint*> points;
  for (CView* view : module.children()) {
    if (auto* point = dynamic_cast<PatchPoint*>(view)) points.push_back(point);
  }
  return points;
}

Json Describe(const CatalogueEntry& entry, Module* module) {
  Json json{{"name", entry.name},
            {"vendor", kBuiltInVendor},
            {"category", NamesOf(entry.category).display},
            {"class", entry.className},
            {"available", module != nullptr}};
  if (!module) return json;
  json["version"] = module->GetVersion();
  json["mono"] = module->GetMonoDefault();
  json["mono_selectable"] = module->monoSelectable;
  json["always_on"] = module->GetAlwaysOnDefault();
  json["columns"] = std::lround(module->getViewSize().getWidth() / panelUnitWidth);
  json["controls"] = Json::array();
  for (const auto& [control, index, isLamp] : SettableControls(*module)) {
    const Kind kind = KindOf(*control);
    Json item{{"role", control->role}, {"kind", kind.name}};
    if (kind.positions > 0) item["positions"] = kind.positions;
    item["least"] = control->getMin();
    item["most"] = control->getMax();
    // Behind the sixth digit a float has only noise.
    item["default"] = std::round(control->getDefaultValue() * 1e6) / 1e6;
    json["controls"].push_back(std::move(item));
  }
  for (const char* group : {"inputs", "outputs", "either way"}) json[group] = Json::array();
  for (const PatchPoint* point : PointsOf(*module)) {
    json[GroupOf(*point)].push_back({{"role", point->role}, {"midi", point->twoState}});
  }
  return json;
}

void PrintControls(const Json& controls, std::ostream& out) {
  std::size_t widest = 0;
  for (const Json& item : controls) {
    widest = std::max(widest, item["role"].get_ref<const std::string&>().size());
  }
  out << "Controls" << (controls.empty() ? ": none\n" : "\n");
  int number = 0;
  for (const Json& item : controls) {
    const auto& role = item["role"].get_ref<const std::string&>();
    const std::string position = std::to_string(++number);
    out << std::string(4 - std::min<std::size_t>(position.size(), 3), ' ') << position << "  "
        << role << std::string(widest - role.size() + 2, ' ') << item["least"].get<double>()
        << " to " << item["most"].get<double>() << ", default " << item["default"].get<double>()
        << ", " << item["kind"].get_ref<const std::string&>();
    if (item.contains("positions")) out << " of " << item["positions"].dump() << " positions";
    out << "\n";
  }
}

void PrintModule(const Json& module, std::ostream& out) {
  const auto text = [&](const char* key) { return module[key].get<std::string>(); };
  out << text("name") << "\n"
      << text("category") << ", by " << text("vendor") << ", class " << text("class")
      << ", data version " << module["version"].dump() << ", " << module["columns"].dump()
      << " columns\n"
      << (module["mono"].get<bool>() ? "One instance for all voices" : "One instance per voice")
      << (module["mono_selectable"].get<bool>() ? "" : ", fixed")
      << (module["always_on"].get<bool>() ? "; runs without cables" : "") << "\n";
  PrintControls(module["controls"], out);
  for (const auto& [group, title] :
       {std::pair{"inputs", "Inputs"}, {"outputs", "Outputs"}, {"either way", "Either way"}}) {
    const Json& points = module[group];
    if (points.empty()) continue;
    out << title << "\n";
    for (const Json& point : points) {
      out << "      " << point["role"].get_ref<const std::string&>()
          << (point["midi"].get<bool>() ? " (MIDI)" : "") << "\n";
    }
  }
}

const CatalogueEntry& Find(const std::string& name) {
  std::vector<std::string> names;
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    const std::string known = entry.name;
    if (name == known || name == known.substr(0, known.find(' '))) return entry;
    names.push_back(known);
  }
  throw FileError("modules", "", "no module " + Quoted(name), DidYouMean(name, names));
}

void PrintCatalogue(std::ostream& out) {
  int made = 0;
  int all = 0;
  for (int category = 0; category < kCategoryCount; ++category) {
    out << (category == 0 ? "" : "\n") << NamesOf(static_cast<Category>(category)).display << "\n";
    for (const CatalogueEntry& entry : ModuleCatalogue()) {
      if (entry.category != static_cast<Category>(category)) continue;
      out << "  " << entry.name << (entry.make ? "\n" : "  (to come)\n");
      ++all;
      if (entry.make) ++made;
    }
  }
  out << "\n" << made << " of " << all << " modules\n";
}

}  // namespace

int ListModules(const std::string& name, bool asJson, std::ostream& out) {
  if (name.empty() && !asJson) {
    PrintCatalogue(out);
    return kExitDone;
  }
  Workshop workshop;
  if (name.empty()) {
    Json all = Json::array();
    for (const CatalogueEntry& entry : ModuleCatalogue()) {
      all.push_back(Describe(entry, workshop.Make(entry)));
    }
    out << all.dump(2) << "\n";
    return kExitDone;
  }
  const CatalogueEntry& entry = Find(name);
  Module* module = workshop.Make(entry);
  if (!module && !asJson) {
    throw FileError("modules", "",
                    "the module " + Quoted(std::string(entry.name)) + " is not there yet",
                    "take another one");
  }
  const Json description = Describe(entry, module);
  if (asJson) {
    out << description.dump(2) << "\n";
  } else {
    PrintModule(description, out);
  }
  return kExitDone;
}

}  // namespace halveron
