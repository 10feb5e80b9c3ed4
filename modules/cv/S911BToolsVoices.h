// S911 Binary Tools with an instance in each lane.
#pragma once

#include "framework/plain_voices.h"
#include "modules/cv/S911BTools.h"

namespace halveron {

template <class Unit>
class S911BToolsVoices final : public PlainVoices<S911BTools, Unit> {
  using PlainVoices<S911BTools, Unit>::PlainVoices;
};

}  // namespace halveron
