// What a library says about one of its modules, checked.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "editor/module_catalogue.h"
#include "platform/shared_library.h"
#include "sdk/halveron_module.h"

namespace halveron {

class ExternalPanel;

struct ExternalControl {
  HalveronControl table;  ///< its texts and entries are those below
  std::string role;
  std::string caption;
  bool hasCaption = false;
  std::vector<std::string> entries;
  std::vector<const char*> entryTexts;
};

struct ExternalPoint {
  HalveronPoint table;
  std::string role;
  std::string caption;
  bool hasCaption = false;
};

struct ExternalLamp {
  HalveronLamp table;
  std::string role;
  std::string caption;
  bool hasCaption = false;
};

struct ExternalDisplay {
  HalveronDisplay table;
  std::string role;
};

/// A copy of a library's table. Functions that the library lacks are null, and those that an
/// instance cannot do without are there. Keeps the library loaded.
struct ExternalModuleType {
  std::shared_ptr<platform::SharedLibrary> library;
  std::string libraryPath;
  Category category{};
  std::string name;
  std::string vendor;
  std::string picture;       ///< empty: painted
  HalveronModule functions;  ///< its texts and tables are those here
  HalveronVoices voices{};   ///< all null where the library has none
  std::vector<ExternalControl> controls;
  std::vector<ExternalPoint> points;
  std::vector<ExternalLamp> lamps;
  std::vector<ExternalDisplay> displays;

  std::shared_ptr<ExternalPanel> panel;  ///< behind all instances; made when one is drawn

  bool Has(std::uint32_t flag) const { return (functions.flags & flag) != 0; }
};

/// Reads a module's table as an external library hands it over; nothing of it is trusted. Adds a
/// line to `problems` for everything that is wrong, each with its place in the table; then the
/// result, which lacks library and category, must not be used.
ExternalModuleType ReadModuleTable(const HalveronModule* table, const std::string& name,
                                   const std::string& vendor, std::vector<std::string>& problems);

}  // namespace halveron
