#include "framework/rack_cables.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "dsp/random.h"
#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

namespace {

struct CableEnds {
  PatchPoint* destination;
  PatchPoint* origin;
};

CableEnds DecideEnds(PatchPoint* a, PatchPoint* b) {
  const bool aReceives =
      a->type == kInputPoint || (a->type == kEitherPoint && b->type != kInputPoint);
  return aReceives ? CableEnds{a, b} : CableEnds{b, a};
}

/// An input that voices of a cable reach in part only: it can be neither pulled nor replaced.
bool HoldsCrossVoiceCable(const PatchPoint& point) {
  return point.firstCable && point.firstCable->CrossesVoices() && point.type != kOutputPoint &&
         point.direction != kActsAsOutput;
}

PatchPoint* OtherEnd(const Cable& cable, const PatchPoint* point) {
  return cable.destination == point ? cable.origin : cable.destination;
}

void UnplugIfBare(PatchPoint* point) {
  if (!point->twoState || point->cableCount > 0) return;
  point->setValue(0.0f);
  if (point->Owner()->voice == 0) point->invalid();
}

}  // namespace

std::optional<RackCables::VoiceEnds> RackCables::NextVoice(const VoiceEnds& ends) {
  const bool monoA = ends.a->IsOnMonoSide();
  const bool monoB = ends.b->IsOnMonoSide();
  if (monoA && monoB) return std::nullopt;
  const VoiceEnds next{monoA ? ends.a->voiceLink : ends.a->NextVoice(),
                       monoB ? ends.b->voiceLink : ends.b->NextVoice()};
  if (!next.a || !next.b) return std::nullopt;
  return next;
}

void RackCables::ConnectCable(PatchPoint* a, PatchPoint* b, int colour, int voiceBackSteps) {
  PatchEdit edit(rack_, PatchEdit::Hold::kAtTheEnd);
  const auto skipVoices = [&](PatchPoint* point, const PatchPoint* other) {
    if (point->voiceLink == point || other->Owner()->mono || !point->IsOnMonoSide()) return point;
    for (int step = 0; step < voiceBackSteps; ++step) point = point->voiceLink;
    return point;
  };
  std::optional<VoiceEnds> ends = VoiceEnds{skipVoices(a, b), skipVoices(b, a)};
  while (ends && ConnectVoice(*ends, colour, edit)) ends = NextVoice(*ends);
}

bool RackCables::ConnectVoice(const VoiceEnds& ends, int colour, PatchEdit& edit) {
  PatchPoint* const a = ends.a;
  PatchPoint* const b = ends.b;
  Module* moduleA = a->Owner();
  Module* moduleB = b->Owner();
  const int voice = std::max(moduleA->voice, moduleB->voice);
  const auto [destination, origin] = DecideEnds(a, b);
  const bool sums = destination->firstCable != nullptr;
  const bool maySum =
      !destination->twoState && destination->IsOnMonoSide() && !origin->Owner()->mono;
  if (sums && !maySum) return false;

  auto* cable = new Cable;
  cable->destination = destination;
  cable->origin = origin;
  cable->colour = colour;
  if (sums) {
    cable->voiceTag = -voice;
    sumCableList.Append(cable);
  } else {
    cable->voiceTag = moduleA->voice == moduleB->voice ? voice : -voice;
    cableList.Append(cable);
    destination->source = origin;
    a->firstCable = b->firstCable = cable;
  }
  if (a->type == kEitherPoint && b->type == kEitherPoint) {
    origin->source = destination;
    a->direction = b->direction = kActsAsBoth;
  } else {
    if (destination->type == kEitherPoint) destination->direction = kActsAsInput;
    if (origin->type == kEitherPoint) origin->direction = kActsAsOutput;
  }
  edit.OutdatePlan();

  ++a->cableCount;
  ++b->cableCount;
  ++moduleA->place.cableCount;
  ++moduleB->place.cableCount;
  if (voice == 0) ++visibleCableCount;
  rack_.UpdateActiveState(moduleA, false);
  if (moduleB != moduleA) rack_.UpdateActiveState(moduleB, false);
  rack_.InLock([=] {
    a->ShowCabled(true);
    b->ShowCabled(true);
    moduleA->CableConnected(a);
    moduleB->CableConnected(b);
  });
  if (a->twoState) {
    for (PatchPoint* point : {b, a}) {
      point->setValue(1.0f);
      point->invalid();
    }
  }
  if (voice == 0) rack_.CableChanged(cable);
  return true;
}

Cable* RackCables::NextRecord(const VoiceEnds& removed, bool* inSumList) const {
  *inSumList = false;
  const std::optional<VoiceEnds> next = NextVoice(removed);
  if (!next) return nullptr;
  const bool monoA = removed.a->IsOnMonoSide();
  Cable* first = next->a->firstCable;
  if (first && first->destination == next->a && first->origin == next->b &&
      (!monoA || first->CrossesVoices())) {
    return first;
  }
  if (!monoA || (first && !first->CrossesVoices())) return nullptr;
  for (Cable* cable = sumCableList.head; cable; cable = cable->next) {
    if (cable->destination == next->a && cable->origin == next->b) {
      *inSumList = true;
      return cable;
    }
  }
  return nullptr;
}

void RackCables::RemoveCable(Cable* cable, int voices, bool inSumList) {
  PatchEdit edit(rack_, PatchEdit::Hold::kAtTheEnd);
  while (cable && voices-- > 0) {
    PatchPoint* a = cable->destination;
    PatchPoint* b = cable->origin;
    Module* moduleA = a->Owner();
    Module* moduleB = b->Owner();
    for (PatchPoint* point : {a, b}) {
      --point->cableCount;
      if (!point->IsCabled()) point->direction = kUnconnected;
    }
    b->firstCable = nullptr;
    b->source = nullptr;
    if (!inSumList) {
      a->firstCable = nullptr;
      a->source = nullptr;
    }
    rack_.InLock([=, stillSums = a->source != nullptr, aIsCabled = a->IsCabled(),
                  bIsCabled = b->IsCabled()] {
      a->ShowCabled(aIsCabled);
      b->ShowCabled(bIsCabled);
      a->ReadOwn();
      b->in = 0.0f;
      if (!inSumList) {
        a->in = 0.0f;
      } else if (stillSums) {
        // The share of this voice leaves the sum now, not with the next copy; where no copy
        // follows, the input has been cleared already.
        a->in -= b->out;
      }
    });
    --moduleA->place.cableCount;
    --moduleB->place.cableCount;
    if (moduleA->voice == 0 && moduleB->voice == 0) {
      --visibleCableCount;
      rack_.CableChanged(cable);
    }
    (inSumList ? sumCableList : cableList).Unlink(cable);
    delete cable;
    rack_.plan.NoteUnplugged(a);
    edit.OutdatePlan();

    rack_.UpdateActiveState(moduleA, false);
    if (moduleB != moduleA) rack_.UpdateActiveState(moduleB, false);
    rack_.InLock([=] {
      moduleA->CableDisconnected(a);
      moduleB->CableDisconnected(b);
    });
    UnplugIfBare(a);
    UnplugIfBare(b);
    cable = NextRecord({a, b}, &inSumList);
  }
}

template <class Test>
void RackCables::RemoveRecords(CableList& list, bool inSumList, Test&& isMeant) {
  for (Cable* cable = list.head; cable;) {
    Cable* next = cable->next;
    if (isMeant(*cable)) RemoveCable(cable, 1, inSumList);
    cable = next;
  }
}

void RackCables::RemoveCablesOf(const Module* module) {
  const auto touches = [&](const Cable& cable) {
    return cable.destination->Owner() == module || cable.origin->Owner() == module;
  };
  // Sums first: what a further voice added is taken off before its input is cleared.
  RemoveRecords(sumCableList, true, touches);
  RemoveRecords(cableList, false, touches);
}

void RackCables::RemoveVoiceCablesOf(const Module* module) {
  RemoveRecords(sumCableList, true,
                [&](const Cable& cable) { return cable.destination->Owner() == module; });
  RemoveRecords(cableList, false, [&](const Cable& cable) {
    return !cable.IsMain() &&
           (cable.origin->Owner() == module || cable.destination->Owner() == module);
  });
}

void RackCables::RemoveVoicesFrom(int firstVoice) {
  const auto isAbove = [&](const Cable& cable) { return cable.Voice() >= firstVoice; };
  RemoveRecords(sumCableList, true, isAbove);
  RemoveRecords(cableList, false, isAbove);
}

void RackCables::RebuildCablesOf(const Module* module) {
  // Collected first: the new records join the same list.
  std::vector<Cable*> outdated;
  for (Cable* cable = cableList.head; cable; cable = cable->next) {
    if (cable->destination->Owner() == module || cable->origin->Owner() == module) {
      outdated.push_back(cable);
    }
  }
  for (Cable* cable : outdated) {
    PatchPoint* destination = cable->destination;
    PatchPoint* origin = cable->origin;
    const int colour = cable->colour;
    RemoveCable(cable, 1, false);
    ConnectCable(destination, origin, colour, -1);
  }
}

void RackCables::Sort(const std::vector<const Cable*>& mains) {
  const PatchEdit edit(rack_);
  std::map<const Cable*, std::size_t> places;
  for (const Cable* main : mains) places.emplace(main, places.size());
  // Records of further voices stay behind the main one before them.
  std::vector<std::pair<std::size_t, Cable*>> sorted;
  std::size_t place = 0;
  while (Cable* cable = cableList.head) {
    if (const auto named = places.find(cable); named != places.end()) {
      place = named->second;
    } else if (cable->IsMain()) {
      place = places.size();
    }
    sorted.emplace_back(place, cable);
    cableList.Unlink(cable);
  }
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& [where, cable] : sorted) cableList.Append(cable);
}

int RackCables::PickCableColour() const {
  if (cableColourChoice != 0) return cableColourChoice;
  return static_cast<int>(dsp::NextRandom() * kCableColours + 1.0);
}

void RackCables::BeginCableDrag(PatchPoint* point) {
  PatchEdit edit(rack_, PatchEdit::Hold::kAtTheEnd);
  if (!point->source) {
    dragOrigin = point;
    dragColour = point->twoState ? kMidiCableColour : PickCableColour();
  } else {
    dragOrigin = OtherEnd(*point->firstCable, point);
    dragColour = point->firstCable->colour;
    RemoveCable(point->firstCable, kAllVoices, false);
    UnplugIfBare(point);
  }
  if (dragOrigin->twoState) {
    dragOrigin->setValue(1.0f);
    dragOrigin->invalid();
  }
  isDraggingCable = true;
}

bool RackCables::CanConnect(PatchPoint* target) const {
  const PatchPoint* a = dragOrigin;
  if (a->twoState != target->twoState || a->type == target->type) return false;
  if (HoldsCrossVoiceCable(*target)) return false;
  if (target->type == kEitherPoint && target->cableCount > 0) return target->direction != a->type;
  if (a->type == kEitherPoint && a->cableCount > 0) return a->direction != target->type;
  return true;
}

void RackCables::DropCable(PatchPoint* target) {
  PatchEdit edit(rack_, PatchEdit::Hold::kAtTheEnd);
  if (target->source) {
    PatchPoint* other = OtherEnd(*target->firstCable, target);
    RemoveCable(target->firstCable, kAllVoices, false);
    if (other == dragOrigin && other->twoState) other->setValue(1.0f);
  }
  ConnectCable(dragOrigin, target, dragColour, -1);
  isDraggingCable = false;
}

void RackCables::AbortCableDrag() {
  UnplugIfBare(dragOrigin);
  isDraggingCable = false;
  rack_.RequestRedraw();
}

}  // namespace halveron
