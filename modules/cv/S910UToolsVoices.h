// S910 Unary Tools with an instance in each lane.
#pragma once

#include "framework/plain_voices.h"
#include "modules/cv/S910UTools.h"

namespace halveron {

template <class Unit>
class S910UToolsVoices final : public PlainVoices<S910UTools, Unit> {
  using PlainVoices<S910UTools, Unit>::PlainVoices;
};

}  // namespace halveron
