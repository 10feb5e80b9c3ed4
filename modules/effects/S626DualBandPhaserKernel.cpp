#include "modules/effects/S626DualBandPhaserKernel.h"

namespace halveron {

void PhaserSpacing::Set(double spread, double narrowing) {
  constexpr double kWidest = 4.4721359549996, kNarrowest = 1.2247448713916;
  ratio = ((1.0 - narrowing) * kWidest - kNarrowest) * (spread * spread) + kNarrowest;
  step = ratio * ratio;
  span = 1.0;
  for (int i = 0; i < half; ++i) span *= step;
  plainGain = 1.0 - 1.455 / step;
}

namespace {

PhaserBank::Signals StepPlain(PhaserBank& bank, const PhaserBank::Signals& in,
                              const PhaserBank::Controls& controls) {
  return bank.Step<dsp::FourDoubles>(in, controls);
}

}  // namespace

PhaserStep PhaserStepOf(VectorUnit unit) {
  switch (unit) {
    case VectorUnit::kSse2:
    case VectorUnit::kAvx2Four:
      return &S626DualBandPhaserVectors<dsp::Sse2>::Step;
    case VectorUnit::kAvx2:
    case VectorUnit::kAvx512Eight:
      return &S626DualBandPhaserVectors<dsp::Avx2>::Step;
    case VectorUnit::kAvx512:
      return &S626DualBandPhaserVectors<dsp::Avx512>::Step;
    case VectorUnit::kNone:
      break;
  }
  return &StepPlain;
}

}  // namespace halveron
