// `halveron screenshot`: draws the rack of a patch without a display.
#pragma once

#include <iosfwd>
#include <string>

namespace halveron {

struct ScreenshotOptions {
  std::string patch;   ///< empty where a module is drawn
  std::string module;  ///< display name or number
  std::string output;
  std::string skin = "Classic";
  std::string size = "Medium";
  int rows = 0;    ///< rows that the window shows; 0: as many as the rack has, within its bounds
  int zoom = 100;  ///< per cent
  bool placeholders = false;  ///< for modules of a preset that are missing
  std::string menu;           ///< "modules", "main" or "presets" is opened; empty: none
};

/// Returns the exit status. The same patch gives the same picture on every run. Throws
/// platform::UserError; then an existing output file is unchanged.
int Screenshot(const ScreenshotOptions& options, std::ostream& out, std::ostream& err);

}  // namespace halveron
