// Faults in the .ini beside a library of modules.
#pragma once

#include <string>

#include "app/check_report.h"
#include "editor/external_modules.h"

namespace halveron {

/// Sections and keys that mean nothing, each with the name that was probably meant. A file that is
/// missing has none.
void CheckIniNames(const std::string& path, const CheckReport& report);

/// Keys that the .ini of a library announces and lacks, or has and does not announce.
void CheckIniCounts(const ModuleLibrary& library, const CheckReport& report);

}  // namespace halveron
