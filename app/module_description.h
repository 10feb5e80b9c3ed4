// What a module has, as data: for the list of modules and for the manual.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "engine/halveron.h"

namespace halveron {

struct CatalogueEntry;

/// An engine without a host, to make modules in.
class Workshop {
 public:
  Workshop();
  ~Workshop();
  Workshop(const Workshop&) = delete;
  Workshop& operator=(const Workshop&) = delete;

  /// Null if the entry's class does not exist.
  Module* Make(const CatalogueEntry& entry);

 private:
  Halveron engine_;
};

/// Name, category and format of a module and its controls and points, as `halveron modules --json`
/// prints them. Without a module only what the catalogue knows.
nlohmann::ordered_json DescribeModule(const CatalogueEntry& entry, Module* module);

}  // namespace halveron
