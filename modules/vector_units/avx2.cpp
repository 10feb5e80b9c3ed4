// Voices in AVX2 registers. Compiled for processors that have them; nothing else may be.
#include "modules/vector_units/voice_classes.h"

namespace halveron {

using ThisUnit = dsp::Avx2;

HALVERON_VOICE_CLASSES(HALVERON_DEFINE_MAKER)

}  // namespace halveron
