// The presets that come with the program.
#pragma once

#include "editor/data_folders.h"

namespace halveron {

/// Puts each factory preset once into the user's presets folder, in its folder there, and notes it
/// in "Factory.ini" of the data folder: one that the user removed stays away, those of a later
/// version come at its first start, and no file of the user is written over. What cannot be written
/// is tried again at the next start. Does nothing without a data folder.
void InstallFactoryPresets(const DataFolders& folders);

/// Whether a file is a factory preset that the user has not changed.
bool IsFactoryPreset(const DataFolders& folders, const std::string& path);

}  // namespace halveron
