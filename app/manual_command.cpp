#include "app/manual_command.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <ostream>
#include <span>
#include <sstream>

#include "app/html_page.h"
#include "app/module_description.h"
#include "app/run_command.h"
#include "app/window_page.h"
#include "editor/module_catalogue.h"
#include "framework/manual_page.h"
#include "framework/module.h"
#include "platform/file_error.h"
#include "platform/whole_file.h"

namespace halveron {

using platform::FileError;
using Json = nlohmann::ordered_json;

namespace {

std::string TextOf(const Json& value) { return EscapedHtml(value.get_ref<const std::string&>()); }

void AddControls(std::ostream& page, const Json& controls) {
  if (controls.empty()) return;
  page << "<h2>Controls</h2>\n<table>\n";
  const std::string heads[] = {"Control", "Kind", "Values", "Default", "In presets"};
  AddHtmlRow(page, "th", heads);
  for (const Json& control : controls) {
    std::ostringstream kind, range;
    const bool hasWords = control.contains("values");
    kind << TextOf(control["kind"]);
    if (control.contains("positions")) kind << ", " << control["positions"] << " positions";
    range << control["least"].get<double>() << " to " << control["most"].get<double>() << ", "
          << control["default"].get<double>();
    const std::string cells[] = {TextOf(control["role"]), kind.str(),
                                 hasWords ? TextOf(control["values"]) : "",
                                 hasWords ? TextOf(control["default_value"]) : "", range.str()};
    AddHtmlRow(page, "td", cells);
  }
  page << "</table>\n";
}

void AddJacks(std::ostream& page, const Json& module) {
  struct Group {
    const char* key;
    const char* direction;
  };
  static constexpr Group kGroups[] = {
      {"inputs", "input"}, {"outputs", "output"}, {"either way", "input or output"}};
  bool hasHead = false;
  for (const auto& [key, direction] : kGroups) {
    for (const Json& point : module[key]) {
      if (!hasHead) {
        page << "<h2>Jacks</h2>\n<table>\n";
        const std::string heads[] = {"Jack", "Direction", "Signal"};
        AddHtmlRow(page, "th", heads);
        hasHead = true;
      }
      const std::string cells[] = {TextOf(point["role"]), direction,
                                   point["midi"].get<bool>() ? "MIDI" : "voltage"};
      AddHtmlRow(page, "td", cells);
    }
  }
  if (hasHead) page << "</table>\n";
}

std::string ModulePage(const Json& module) {
  std::ostringstream page;
  BeginHtmlPage(page, module["name"].get<std::string>());
  page << "<p><a href=\"" << kManualStart << "\">All modules</a> &rsaquo; "
       << TextOf(module["category"]) << "</p>\n<p>" << TextOf(module["summary"]) << "</p>\n<p>"
       << (module["mono"].get<bool>() ? "One instance serves all voices"
                                      : "Each voice has an instance of its own")
       << (module["mono_selectable"].get<bool>() ? ", unless its menu says otherwise" : "") << "."
       << (module["always_on"].get<bool>() ? " It runs without cables, too." : "") << "</p>\n";
  AddControls(page, module["controls"]);
  AddJacks(page, module);
  EndHtmlPage(page);
  return page.str();
}

std::string IndexPage(const std::vector<Json>& modules) {
  std::ostringstream page;
  BeginHtmlPage(page, "Halveron: modules");
  page << "<p><a href=\"" << kManualWindow << "\">The window</a>: what mouse and keys do</p>\n";
  for (int category = 0; category < kCategoryCount; ++category) {
    const char* title = NamesOf(static_cast<Category>(category)).display;
    bool hasHead = false;
    for (const Json& module : modules) {
      if (module["category"] != title) continue;
      if (!hasHead) page << "<h2>" << EscapedHtml(title) << "</h2>\n<ul>\n";
      hasHead = true;
      const auto& name = module["name"].get_ref<const std::string&>();
      page << "<li><a href=\"" << EscapedHtml(ManualPageName(name)) << "\">" << EscapedHtml(name)
           << "</a></li>\n";
    }
    if (hasHead) page << "</ul>\n";
  }
  EndHtmlPage(page);
  return page.str();
}

void Write(const std::filesystem::path& path, const std::string& text) {
  platform::WriteWholeFile(path.string(), std::as_bytes(std::span(text)),
                           platform::Durability::kAtomic);
}

}  // namespace

int WriteManual(const std::string& folder, std::ostream& out) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) {
    throw FileError(folder, "", "the folder cannot be made: " + error.message(),
                    "give another folder");
  }
  Workshop workshop;
  std::vector<Json> modules;
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    const ListedModule listed = ListedOf(entry);
    Module* module = workshop.Make(listed);
    if (!module) continue;
    modules.push_back(DescribeModule(listed, module));
    Write(std::filesystem::path(folder) / ManualPageName(entry.name), ModulePage(modules.back()));
  }
  Write(std::filesystem::path(folder) / kManualStart, IndexPage(modules));
  Write(std::filesystem::path(folder) / kManualWindow, WindowPage());
  out << "Wrote the pages of " << modules.size() << " modules to " << folder << "\n";
  return kExitDone;
}

}  // namespace halveron
