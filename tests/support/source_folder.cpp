#include "tests/support/source_folder.h"

namespace halveron::testing {

std::string SourceFolder() { return HALVERON_SOURCE_DIR; }

}  // namespace halveron::testing
