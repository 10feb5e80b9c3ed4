// The classes whose voices run in vectors: the only list of them.
//
// Included by one source file for each vector unit, which defines their makers.
#pragma once

#include "modules/amplifiers/S404VCAVoices.h"
#include "modules/envelopes/S500ADSRVoices.h"
#include "modules/envelopes/S515VCLFOVoices.h"
#include "modules/filters/S212VCFVoices.h"
#include "modules/mixers/S101MixerVoices.h"
#include "modules/sources/S310VCOVoices.h"

// A macro, as a list of templates cannot be walked for explicit specialisations.
#define HALVERON_VOICE_CLASSES(X) \
  X(S101Mixer)                    \
  X(S212VCF)                      \
  X(S310VCO)                      \
  X(S404VCA)                      \
  X(S500ADSR)                     \
  X(S515VCLFO)

/// Before it, `ThisUnit` names the unit of the file.
#define HALVERON_DEFINE_MAKER(M)                                                             \
  template <>                                                                                \
  std::unique_ptr<VoiceGroup> MakeVoiceGroup<M, ThisUnit>(std::span<Module* const> voices) { \
    return std::make_unique<M##Voices<ThisUnit>>(voices);                                    \
  }
