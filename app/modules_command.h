// `halveron modules`: the catalogue, and what each module has on its panel.
#pragma once

#include <iosfwd>
#include <string>

#include "editor/module_catalogue.h"

namespace halveron {

/// Lists all entries by category, or one module with its controls and patch points. `name` is a
/// module's name or the first word of it; empty lists all. Throws platform::UserError if there is
/// no such module, or if it does not exist yet.
int ListModules(const std::string& name, bool asJson, std::ostream& out);

/// The entry of a name, or of the number that it begins with. Throws platform::FileError, with
/// `place` in its message.
const CatalogueEntry& FindModule(const std::string& name, const char* place);

}  // namespace halveron
