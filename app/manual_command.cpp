#include "app/manual_command.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <ostream>
#include <span>
#include <sstream>

#include "app/module_description.h"
#include "app/run_command.h"
#include "editor/module_catalogue.h"
#include "framework/manual_page.h"
#include "framework/module.h"
#include "platform/file_error.h"
#include "platform/whole_file.h"

namespace halveron {

using platform::FileError;
using Json = nlohmann::ordered_json;

namespace {

constexpr char kIndexPage[] = "index.html";
constexpr char kStyle[] =
    "body{font:16px/1.5 sans-serif;max-width:50em;margin:2em auto;padding:0 1em;color:#222;"
    "background:#fff}"
    "table{border-collapse:collapse;width:100%;margin-bottom:1.5em}"
    "th,td{text-align:left;padding:.25em .75em .25em 0;border-bottom:1px solid #ddd}"
    "@media(prefers-color-scheme:dark){body{color:#ddd;background:#1c1c1c}a{color:#8bf}"
    "th,td{border-color:#444}}";

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char letter : text) {
    switch (letter) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += letter;
    }
  }
  return escaped;
}

std::string TextOf(const Json& value) { return Escaped(value.get_ref<const std::string&>()); }

void BeginPage(std::ostream& page, const std::string& title) {
  page << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>"
       << Escaped(title) << "</title>\n<style>" << kStyle << "</style>\n</head>\n<body>\n<h1>"
       << Escaped(title) << "</h1>\n";
}

void AddRow(std::ostream& page, const char* cell, std::span<const std::string> texts) {
  page << "<tr>";
  for (const std::string& text : texts) page << "<" << cell << ">" << text << "</" << cell << ">";
  page << "</tr>\n";
}

void AddControls(std::ostream& page, const Json& controls) {
  if (controls.empty()) return;
  page << "<h2>Controls</h2>\n<table>\n";
  const std::string heads[] = {"Control", "Kind", "Values", "Default", "In presets"};
  AddRow(page, "th", heads);
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
    AddRow(page, "td", cells);
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
        AddRow(page, "th", heads);
        hasHead = true;
      }
      const std::string cells[] = {TextOf(point["role"]), direction,
                                   point["midi"].get<bool>() ? "MIDI" : "voltage"};
      AddRow(page, "td", cells);
    }
  }
  if (hasHead) page << "</table>\n";
}

std::string ModulePage(const Json& module) {
  std::ostringstream page;
  BeginPage(page, module["name"].get<std::string>());
  page << "<p><a href=\"" << kIndexPage << "\">All modules</a> &rsaquo; "
       << TextOf(module["category"]) << "</p>\n<p>" << TextOf(module["summary"]) << "</p>\n<p>"
       << (module["mono"].get<bool>() ? "One instance serves all voices"
                                      : "Each voice has an instance of its own")
       << (module["mono_selectable"].get<bool>() ? ", unless its menu says otherwise" : "") << "."
       << (module["always_on"].get<bool>() ? " It runs without cables, too." : "") << "</p>\n";
  AddControls(page, module["controls"]);
  AddJacks(page, module);
  page << "</body>\n</html>\n";
  return page.str();
}

std::string IndexPage(const std::vector<Json>& modules) {
  std::ostringstream page;
  BeginPage(page, "Halveron: modules");
  for (int category = 0; category < kCategoryCount; ++category) {
    const char* title = NamesOf(static_cast<Category>(category)).display;
    bool hasHead = false;
    for (const Json& module : modules) {
      if (module["category"] != title) continue;
      if (!hasHead) page << "<h2>" << Escaped(title) << "</h2>\n<ul>\n";
      hasHead = true;
      const auto& name = module["name"].get_ref<const std::string&>();
      page << "<li><a href=\"" << Escaped(ManualPageName(name)) << "\">" << Escaped(name)
           << "</a></li>\n";
    }
    if (hasHead) page << "</ul>\n";
  }
  page << "</body>\n</html>\n";
  return page.str();
}

void Write(const std::filesystem::path& path, const std::string& text) {
  platform::WriteWholeFile(path.string(), std::as_bytes(std::span(text)));
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
  Write(std::filesystem::path(folder) / kIndexPage, IndexPage(modules));
  out << "Wrote the pages of " << modules.size() << " modules to " << folder << "\n";
  return kExitDone;
}

}  // namespace halveron
