// Racks in files, of either kind: presets (.hvp) and text patches (.json).
#pragma once

#include <iosfwd>
#include <string>

#include "presets/preset_document.h"

namespace halveron {

class SynEditor;

/// Replaces the contents of the rack. Warnings about a text patch go to `err`, one line each.
/// Throws platform::FileError if the file cannot be read, is refused, or has another extension.
/// With `placeholders`, modules that are missing have placeholders, in a text patch those that it
/// has as saved entries, and `err` names them.
void LoadPatchFile(const std::string& path, SynEditor& editor, std::ostream& err,
                   bool placeholders = false);

/// The contents of a file of either kind as a preset of the current version; a preset of an earlier
/// one is loaded into the editor's rack for that. Warnings and errors as for LoadPatchFile.
PresetDocument ReadPatchFile(const std::string& path, SynEditor& editor, std::ostream& err,
                             bool placeholders = false);

/// Writes a preset as a file of either kind and replaces an existing one. Throws
/// platform::FileError; the existing file then stays.
void WritePatchFile(const std::string& path, const PresetDocument& preset, SynEditor& editor);

/// Throws platform::FileError if the path's extension is neither kind's.
void RequirePatchExtension(const std::string& path);

}  // namespace halveron
