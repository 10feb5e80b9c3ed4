#include "framework/host_transport.h"

#include <cmath>

#include "framework/module.h"

namespace halveron {

void HostTransport::Update(const VstTimeInfo* info) {
  playing = info && (info->flags & kVstTransportPlaying) != 0;
  if (!info) return;
  // Not every binding fills the validity flags, so the values speak for themselves. A NaN fails
  // both comparisons.
  if (info->tempo >= kSlowest && info->tempo <= kFastest) tempo = info->tempo;
  if (std::abs(info->ppqPos) <= kFarthest) position = info->ppqPos;
}

void HostTransport::Update(const Module& module, int filter) {
  if (module.engine->hostKind == HostKind::kVst2) {
    Update(module.engine->HostTimeInfo(filter));
    return;
  }
  VstTimeInfo info{};
  Update(module.hostTable.GetTransportInfo(module.editor, &info) ? &info : nullptr);
}

}  // namespace halveron
