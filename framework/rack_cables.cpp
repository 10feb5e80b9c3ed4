// The rack's cable operations, with all voices in step.
#include <algorithm>

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
  return point.firstCable && point.firstCable->voiceTag < 0 && point.type != kOutputPoint &&
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

void RackModel::ConnectCable(PatchPoint* a, PatchPoint* b, int colour, int voiceBackSteps) {
  PatchEdit edit(*this);
  const auto skipVoices = [&](PatchPoint* point, const PatchPoint* other) {
    if (point->voiceLink == point || other->Owner()->mono || !point->IsOnMonoSide()) return point;
    for (int step = 0; step < voiceBackSteps; ++step) point = point->voiceLink;
    return point;
  };
  PatchPoint* const givenA = a;
  a = skipVoices(a, b);
  b = skipVoices(b, givenA);

  Module* moduleA = a->Owner();
  Module* moduleB = b->Owner();
  const int voice = std::max(moduleA->voice, moduleB->voice);
  const auto [destination, origin] = DecideEnds(a, b);
  const bool sums = destination->firstCable != nullptr;
  const bool maySum =
      !destination->twoState && destination->IsOnMonoSide() && !origin->Owner()->mono;
  if (sums && !maySum) return;

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
  planOutdated_ = true;

  ++a->cableCount;
  ++b->cableCount;
  ++moduleA->cableCount;
  ++moduleB->cableCount;
  if (voice == 0) ++visibleCableCount;
  UpdateActiveState(moduleA, false);
  if (moduleB != moduleA) UpdateActiveState(moduleB, false);
  moduleA->CableConnected(a);
  moduleB->CableConnected(b);
  if (a->twoState) {
    for (PatchPoint* point : {b, a}) {
      point->setValue(1.0f);
      point->invalid();
    }
  }
  if (voice == 0) CableChanged(cable);

  const bool monoA = a->IsOnMonoSide();
  const bool monoB = b->IsOnMonoSide();
  if (monoA && monoB) return;
  if (monoA) {
    if (b->nextVoice) ConnectCable(a->voiceLink, b->NextVoice(), colour, -1);
  } else if (monoB) {
    if (a->nextVoice) ConnectCable(a->NextVoice(), b->voiceLink, colour, -1);
  } else if (a->nextVoice && b->nextVoice) {
    ConnectCable(a->NextVoice(), b->NextVoice(), colour, -1);
  }
}

Cable* RackModel::NextVoiceRecord(PatchPoint* a, PatchPoint* b, bool* inSumList) const {
  *inSumList = false;
  const bool monoA = a->IsOnMonoSide();
  const bool monoB = b->IsOnMonoSide();
  PatchPoint* nextA = monoA ? a->voiceLink : a->NextVoice();
  const PatchPoint* nextB = monoB ? b->voiceLink : b->NextVoice();
  if ((monoA && monoB) || !nextA || !nextB) return nullptr;
  Cable* first = nextA->firstCable;
  if (first && first->destination == nextA && first->origin == nextB &&
      (!monoA || first->voiceTag < 0)) {
    return first;
  }
  if (!monoA || (first && first->voiceTag >= 0)) return nullptr;
  for (Cable* cable = sumCableList.head; cable; cable = cable->next) {
    if (cable->destination == nextA && cable->origin == nextB) {
      *inSumList = true;
      return cable;
    }
  }
  return nullptr;
}

void RackModel::RemoveCable(Cable* cable, int voices, bool inSumList) {
  PatchEdit edit(*this);
  while (cable && voices-- > 0) {
    PatchPoint* a = cable->destination;
    PatchPoint* b = cable->origin;
    Module* moduleA = a->Owner();
    Module* moduleB = b->Owner();
    for (PatchPoint* point : {a, b}) {
      if (--point->cableCount == 0) point->direction = kUnconnected;
    }
    a->ReadOwn();
    b->firstCable = nullptr;
    b->source = nullptr;
    b->in = 0.0f;
    if (inSumList) {
      // The share of this voice leaves the sum now, not with the next copy; where no copy is to
      // come the input has been cleared already.
      if (a->source) a->in -= b->out;
    } else {
      a->firstCable = nullptr;
      a->source = nullptr;
      a->in = 0.0f;
    }
    --moduleA->cableCount;
    --moduleB->cableCount;
    if (moduleA->voice == 0 && moduleB->voice == 0) {
      --visibleCableCount;
      CableChanged(cable);
    }
    (inSumList ? sumCableList : cableList).Unlink(cable);
    delete cable;
    planOutdated_ = true;

    UpdateActiveState(moduleA, false);
    if (moduleB != moduleA) UpdateActiveState(moduleB, false);
    moduleA->CableDisconnected(a);
    moduleB->CableDisconnected(b);
    UnplugIfBare(a);
    UnplugIfBare(b);
    cable = NextVoiceRecord(a, b, &inSumList);
  }
}

template <class Test>
void RackModel::RemoveRecords(CableList& list, bool inSumList, Test&& isMeant) {
  for (Cable* cable = list.head; cable;) {
    Cable* next = cable->next;
    if (isMeant(*cable)) RemoveCable(cable, 1, inSumList);
    cable = next;
  }
}

void RackModel::RemoveCablesOf(const Module* module) {
  const auto touches = [&](const Cable& cable) {
    return cable.destination->Owner() == module || cable.origin->Owner() == module;
  };
  // Sums first: what a further voice added is taken off before its input is cleared.
  RemoveRecords(sumCableList, true, touches);
  RemoveRecords(cableList, false, touches);
}

void RackModel::RemoveVoiceCablesOf(const Module* module) {
  RemoveRecords(sumCableList, true,
                [&](const Cable& cable) { return cable.destination->Owner() == module; });
  RemoveRecords(cableList, false, [&](const Cable& cable) {
    return cable.voiceTag != 0 &&
           (cable.origin->Owner() == module || cable.destination->Owner() == module);
  });
}

void RackModel::RebuildCablesOf(const Module* module) {
  constexpr int kMarked = -10000;
  for (Cable* cable = cableList.head; cable; cable = cable->next) {
    if (cable->destination->Owner() == module || cable->origin->Owner() == module) {
      cable->voiceTag = kMarked;
    }
  }
  // New records join the list at its end, unmarked.
  for (Cable* cable = cableList.head; cable;) {
    Cable* next = cable->next;
    if (cable->voiceTag == kMarked) {
      PatchPoint* destination = cable->destination;
      PatchPoint* origin = cable->origin;
      const int colour = cable->colour;
      RemoveCable(cable, 1, false);
      ConnectCable(destination, origin, colour, -1);
    }
    cable = next;
  }
}

int RackModel::PickCableColour() const {
  if (cableColourChoice != 0) return cableColourChoice;
  return static_cast<int>(dsp::NextRandom() * kCableColours + 1.0);
}

void RackModel::BeginCableDrag(PatchPoint* point) {
  PatchEdit edit(*this);
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

bool RackModel::CanConnect(PatchPoint* target) const {
  const PatchPoint* a = dragOrigin;
  if (a->twoState != target->twoState || a->type == target->type) return false;
  if (HoldsCrossVoiceCable(*target)) return false;
  if (target->type == kEitherPoint && target->cableCount > 0) return target->direction != a->type;
  if (a->type == kEitherPoint && a->cableCount > 0) return a->direction != target->type;
  return true;
}

void RackModel::DropCable(PatchPoint* target) {
  PatchEdit edit(*this);
  if (target->source) {
    PatchPoint* other = OtherEnd(*target->firstCable, target);
    RemoveCable(target->firstCable, kAllVoices, false);
    if (other == dragOrigin && other->twoState) other->setValue(1.0f);
  }
  ConnectCable(dragOrigin, target, dragColour, -1);
  isDraggingCable = false;
}

void RackModel::AbortCableDrag() {
  UnplugIfBare(dragOrigin);
  isDraggingCable = false;
  RequestRedraw();
}

}  // namespace halveron
