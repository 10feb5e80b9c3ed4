// Makes the next sample plan from a rack.
#pragma once

#include "framework/plan_layout.h"

namespace halveron {

/// The plan for a patch, to follow the present one. See SamplePlan::Prepare.
SamplePlan::OwnDraft BuildPlan(const SamplePlan::Layout& present, const SamplePlan::Patch& patch,
                               SamplePlan::Draw draw, VectorUnit widest);

}  // namespace halveron
