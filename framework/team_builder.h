// Which modules of a rack run in one call.
#pragma once

#include <span>
#include <vector>

#include "framework/plan_layout.h"

namespace halveron {

/// The modules of a patch in teams, in the order of the loop, each with the maker of its group.
/// Teams of several modules among `before` go on without those that have gone or differ now.
/// Takes the lock of the patch to read keys. Any thread that edits the rack, one at a time.
std::vector<PlanRow> FormTeams(const SamplePlan::Patch& patch, std::span<const PlanRow> before,
                               VectorUnit widest);

}  // namespace halveron
