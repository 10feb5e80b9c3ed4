// The manual's page on the window of the rack.
#pragma once

#include <string>

namespace halveron {

/// What the window can do, with all its keys: those of commands come from the menus' own tables.
std::string WindowPage();

}  // namespace halveron
