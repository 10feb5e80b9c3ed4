// Where the manual's page of a module is.
#pragma once

#include <string>
#include <string_view>

namespace halveron {

/// The folder of the pages, beside the programs.
inline constexpr char kManualFolder[] = "Manual";

/// The page that leads to all others, in that folder.
inline constexpr char kManualStart[] = "index.html";

/// The page on the window, in that folder.
inline constexpr char kManualWindow[] = "window.html";

/// File name of a built-in module's page: each blank of its name becomes "-", each "/" is dropped.
std::string ManualPageName(std::string_view moduleName);

/// Full path of the folder that belongs to this program, with a slash at its end; it need not be
/// installed.
std::string InstalledManualFolder();

/// Full path of the page that belongs to this program; it need not be installed.
std::string InstalledManualPage(std::string_view moduleName);

}  // namespace halveron
