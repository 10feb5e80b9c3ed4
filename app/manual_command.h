// `halveron manual`: the manual's pages, made from the catalogue.
#pragma once

#include <iosfwd>
#include <string>

namespace halveron {

/// Writes a page for each module and "index.html" into `folder`, which is made if it does not
/// exist, and returns the exit status. Throws platform::FileError if a file cannot be written.
int WriteManual(const std::string& folder, std::ostream& out);

}  // namespace halveron
