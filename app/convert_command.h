// `halveron convert`: presets to text patches and back.
#pragma once

#include <iosfwd>
#include <string>

namespace halveron {

struct ConvertOptions {
  std::string input;
  std::string output;
  bool placeholders = false;  ///< for modules of a preset that are missing
};

/// The kinds follow from the extensions. Returns the exit status; throws platform::UserError, and
/// then an existing output file is unchanged.
int Convert(const ConvertOptions& options, std::ostream& out, std::ostream& err);

}  // namespace halveron
