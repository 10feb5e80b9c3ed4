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
    if (!item.contains("values")) continue;
    out << std::string(widest + 8, ' ') << item["values"].get_ref<const std::string&>()
        << "; by default " << item["default_value"].get_ref<const std::string&>() << "\n";
  }
}

void PrintModule(const Json& module, std::ostream& out) {
  const auto text = [&](const char* key) { return module[key].get<std::string>(); };
  out << text("name") << "\n"
      << text("category") << ", by " << text("vendor")
      << (module.contains("class") ? ", class " + text("class") : ", in " + text("library"))
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

void PrintCatalogue(const std::vector<ListedModule>& all, std::ostream& out) {
  for (int category = 0; category < kCategoryCount; ++category) {
    out << (category == 0 ? "" : "\n") << NamesOf(static_cast<Category>(category)).display << "\n";
    for (const ListedModule& listed : all) {
      if (listed.category != static_cast<Category>(category)) continue;
      out << "  " << listed.name;
      if (!listed.library.empty()) out << "  (" << listed.vendor << ", " << listed.library << ")";
      out << (listed.isMade ? "\n" : "  (to come)\n");
    }
  }
  const auto made = std::count_if(all.begin(), all.end(),
                                  [](const ListedModule& listed) { return listed.isMade; });
  const auto external = std::count_if(
      all.begin(), all.end(), [](const ListedModule& listed) { return !listed.library.empty(); });
  out << "\n" << made << " of " << all.size() << " modules";
  if (external > 0) out << ", " << external << " of them in libraries";
  out << "\n";
}

/// A library's .ini may hold names of any bytes: what is not UTF-8 shows as such.
void Print(const Json& json, std::ostream& out) {
  out << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

/// Why a module of the list cannot be made.
[[noreturn]] void Refuse(const ListedModule& listed) {
  if (listed.library.empty()) {
    throw UserError("modules", "", "the module " + Quoted(listed.name) + " is not there yet",
                    "take another one");
  }
  throw UserError("modules", "", "the module " + Quoted(listed.name) + " cannot be made",
                  "see halveron modules --check " + listed.library);
}

}  // namespace

int ListModules(const std::string& name, bool asJson, std::ostream& out) {
  Workshop workshop;
  const std::vector<ListedModule> all = ListModulesOf(workshop.Rack());
  if (name.empty() && !asJson) {
    PrintCatalogue(all, out);
    return kExitDone;
  }
  if (name.empty()) {
    Json list = Json::array();
    for (const ListedModule& listed : all) {
      list.push_back(DescribeModule(listed, workshop.Make(listed)));
    }
    Print(list, out);
    return kExitDone;
  }
  Json descriptions = Json::array();
  const std::vector<ListedModule> found = FindModules(workshop.Rack(), name, "modules");
  for (const ListedModule& listed : found) {
    Module* module = workshop.Make(listed);
    // One vendor's broken library does not hide another's module.
    if (!module && !asJson && &listed == &found.back() && descriptions.empty()) Refuse(listed);
    if (!module && !asJson) continue;
    descriptions.push_back(DescribeModule(listed, module));
  }
  if (asJson) {
    // One module by itself, those of several vendors as a list.
    Print(descriptions.size() == 1 ? descriptions.front() : descriptions, out);
    return kExitDone;
  }
  for (const Json& description : descriptions) {
    if (&description != &descriptions.front()) out << "\n";
    PrintModule(description, out);
  }
  return kExitDone;
}

}  // namespace halveron
