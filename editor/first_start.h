// What a user meets who has never started the program before.
#pragma once

namespace halveron {

class SynEditor;

/// Loads a factory preset that any keyboard plays, once: as long as the data folder has no options
/// yet. True if it did.
bool OpenFirstVoice(SynEditor& editor);

}  // namespace halveron
