// Whether the instances of a library's module get along with each other.
#pragma once

#include <string>

#include "app/check_report.h"

namespace halveron {

/// Plays 16 modules in one rack and one module in 16 voices, with other inputs for each, and
/// compares the bits of what comes out: with a lone module's, and, where the library runs voices in
/// one call, with each voice by itself. A module whose sound differs from run to run, as that of a
/// noise may, is played but not compared. `path` is the library's.
void CheckInstances(const std::string& path, const std::string& name, const std::string& vendor,
                    const CheckReport& report);

}  // namespace halveron
