#include "app/module_description.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "editor/module_catalogue.h"
#include "framework/control_scale.h"
#include "framework/module.h"
#include "gui/option_menu.h"
#include "gui/slider.h"
#include "platform/user_error.h"
#include "presets/module_roles.h"
#include "presets/nearest_name.h"

namespace halveron {

using Json = nlohmann::ordered_json;

namespace {

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
  if (const auto* menu = dynamic_cast<const COptionMenu*>(&control)) {
    return {"menu", menu->getNbEntries()};
  }
  if (dynamic_cast<const CSlider*>(&control)) return {"slider", 0};
  if (dynamic_cast<const CParamDisplay*>(&control)) return {"text", 0};
  return {"control", 0};
}

const char* GroupOf(const PatchPoint& point) {
  if (point.type == kInputPoint) return "inputs";
  return point.type == kOutputPoint ? "outputs" : "either way";
}

std::string WithVendor(const ListedModule& listed) { return listed.name + " by " + listed.vendor; }

}  // namespace

Workshop::Workshop() : engine_(nullptr, HostKind::kVst2) { engine_.open(); }
Workshop::~Workshop() { engine_.close(); }

Module* Workshop::Make(const ListedModule& listed) {
  Rack().PrepareModule(listed.name, listed.vendor);
  return Rack().AddModule(listed.name, listed.vendor);
}

ListedModule ListedOf(const CatalogueEntry& entry) {
  return {entry.name, kBuiltInVendor, entry.category, entry.className, "", entry.make != nullptr};
}

std::vector<ListedModule> ListModulesOf(const SynEditor& editor) {
  std::vector<ListedModule> all;
  for (const CatalogueEntry& entry : ModuleCatalogue()) all.push_back(ListedOf(entry));
  for (const ModuleLibrary& library : editor.externalModules.Libraries()) {
    for (const ModuleEntry& entry : library.modules) {
      all.push_back({entry.name, library.vendor, entry.category, "", library.dll_path});
    }
  }
  return all;
}

std::vector<ListedModule> FindModules(const SynEditor& editor, const std::string& name,
                                      const char* place) {
  std::vector<std::string> names;
  std::vector<ListedModule> found;
  const std::vector<ListedModule> all = ListModulesOf(editor);
  for (const ListedModule& listed : all) {
    names.push_back(listed.name);
    // Of two libraries that list one module, the first makes it.
    const bool isTaken = std::any_of(found.begin(), found.end(), [&](const ListedModule& each) {
      return each.vendor == listed.vendor;
    });
    if (name == listed.name && !isTaken) found.push_back(listed);
  }
  if (!found.empty()) return found;
  for (const ListedModule& listed : all) {
    if (name == WithVendor(listed) || name == listed.name.substr(0, listed.name.find(' '))) {
      return {listed};
    }
  }
  throw platform::UserError(place, "", "no module " + Quoted(name), DidYouMeanModule(name, names));
}

ListedModule FindModule(const SynEditor& editor, const std::string& name, const char* place) {
  const std::vector<ListedModule> found = FindModules(editor, name, place);
  if (found.size() == 1) return found.front();
  std::string choices;
  for (const ListedModule& each : found) {
    choices += (choices.empty() ? "" : " or ") + Quoted(WithVendor(each));
  }
  throw platform::UserError(place, "", "there is more than one module " + Quoted(name),
                            "name " + choices);
}

Json DescribeModule(const ListedModule& listed, Module* module) {
  Json json{{"name", listed.name},
            {"vendor", listed.vendor},
            {"category", NamesOf(listed.category).display}};
  if (listed.library.empty()) {
    json["class"] = listed.className;
    if (const CatalogueEntry* entry = FindInCatalogue(listed.name, listed.vendor)) {
      json["summary"] = entry->summary;
    }
  } else {
    json["library"] = listed.library;
  }
  json["available"] = module != nullptr;
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
    // The digits after the sixth are noise of the float.
    item["default"] = std::round(control->getDefaultValue() * 1e6) / 1e6;
    if (const std::string values = RangeText(*control); !values.empty()) {
      item["values"] = values;
      item["default_value"] = ValueText(*control, control->getDefaultValue());
    }
    json["controls"].push_back(std::move(item));
  }
  for (const char* group : {"inputs", "outputs", "either way"}) json[group] = Json::array();
  for (const PatchPoint* point : ReachablePoints(*module)) {
    json[GroupOf(*point)].push_back({{"role", point->role}, {"midi", point->twoState}});
  }
  return json;
}

}  // namespace halveron
