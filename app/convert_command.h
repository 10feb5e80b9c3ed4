// `halveron convert`: presets to text patches and back.
#pragma once

#include <iosfwd>
#include <string>

namespace halveron {

/// The kinds follow from the extensions. Returns the exit status; throws platform::UserError, and
/// then an existing output file is unchanged.
int Convert(const std::string& input, const std::string& output, std::ostream& out,
            std::ostream& err);

}  // namespace halveron
