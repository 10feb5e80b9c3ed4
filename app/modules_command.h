// `halveron modules`: the catalogue, and what each module has on its panel.
#pragma once

#include <iosfwd>
#include <string>

namespace halveron {

/// Lists all entries by category, or one module with its controls and patch points. `name` is a
/// module's name or the first word of it; empty lists all. Throws platform::UserError if there is
/// no such module, or if it does not exist yet.
int ListModules(const std::string& name, bool asJson, std::ostream& out);

}  // namespace halveron
