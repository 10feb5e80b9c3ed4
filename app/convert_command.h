// `halveron convert`: presets to text patches and back.
#pragma once

#include <iosfwd>
#include <string>

namespace halveron {

/// The kinds follow from the extensions. Returns the exit status; throws platform::FileError, and
/// then what stood at the output's place is still there.
int Convert(const std::string& input, const std::string& output, std::ostream& out);

}  // namespace halveron
