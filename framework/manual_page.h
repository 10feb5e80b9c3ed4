// Where the manual's page of a module is.
#pragma once

#include <string>
#include <string_view>

namespace halveron {

/// The folder of the pages, beside the programs.
inline constexpr char kManualFolder[] = "Manual";

/// File name of a built-in module's page: each blank of its name becomes "-", each "/" is dropped.
std::string ManualPageName(std::string_view moduleName);

/// Full path of the page that belongs to this program; it need not be installed.
std::string InstalledManualPage(std::string_view moduleName);

}  // namespace halveron
