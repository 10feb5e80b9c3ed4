#include "app/modules_command.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>
#include <vector>

#include "app/module_description.h"
#include "app/run_command.h"
#include "editor/module_catalogue.h"
#include "platform/user_error.h"
#include "presets/nearest_name.h"

namespace halveron {

using platform::UserError;

namespace {

using Json = nlohmann::ordered_json;

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

const CatalogueEntry& FindModule(const std::string& name, const char* place) {
  std::vector<std::string> names;
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    const std::string known = entry.name;
    if (name == known || name == known.substr(0, known.find(' '))) return entry;
    names.push_back(known);
  }
  throw UserError(place, "", "no module " + Quoted(name), DidYouMean(name, names));
}

int ListModules(const std::string& name, bool asJson, std::ostream& out) {
  if (name.empty() && !asJson) {
    PrintCatalogue(out);
    return kExitDone;
  }
  Workshop workshop;
  if (name.empty()) {
    Json all = Json::array();
    for (const CatalogueEntry& entry : ModuleCatalogue()) {
      all.push_back(DescribeModule(entry, workshop.Make(entry)));
    }
    out << all.dump(2) << "\n";
    return kExitDone;
  }
  const CatalogueEntry& entry = FindModule(name, "modules");
  Module* module = workshop.Make(entry);
  if (!module && !asJson) {
    throw UserError("modules", "",
                    "the module " + Quoted(std::string(entry.name)) + " is not there yet",
                    "take another one");
  }
  const Json description = DescribeModule(entry, module);
  if (asJson) {
    out << description.dump(2) << "\n";
  } else {
    PrintModule(description, out);
  }
  return kExitDone;
}

}  // namespace halveron
