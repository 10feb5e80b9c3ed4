// Voices in AVX512 registers. Compiled for processors that have them; nothing else may be.
#include "modules/vector_units/voice_classes.h"

namespace halveron {

using ThisUnit = dsp::Avx512;

HALVERON_VOICE_CLASSES(HALVERON_DEFINE_MAKER)

}  // namespace halveron
