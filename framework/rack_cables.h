// The cables of a rack, with all voices in step.
#pragma once

#include <optional>
#include <vector>

#include "framework/cable.h"

namespace halveron {

class Module;
class PatchEdit;
class PatchPoint;
class RackModel;

/// To RemoveCable: every voice.
inline constexpr int kAllVoices = 0x7FFFFFFE;

/// Owns the records of all cables, and the cable that the mouse drags. Operations take the
/// processing lock by themselves and belong to the window thread.
class RackCables {
 public:
  explicit RackCables(RackModel& rack) : rack_(rack) {}
  RackCables(const RackCables&) = delete;
  RackCables& operator=(const RackCables&) = delete;

  /// Makes a cable and all its voice copies. `voiceBackSteps` -1, or the voices to skip when a
  /// raised voice count is filled up. A refused second cable into an input leaves all as it was.
  void ConnectCable(PatchPoint* a, PatchPoint* b, int colour, int voiceBackSteps);
  /// Removes a record and, walking the voices, up to `voices` - 1 further ones.
  void RemoveCable(Cable* cable, int voices, bool inSumList);
  /// Puts the records of cables in the order of their main ones. Those not named follow.
  void Sort(const std::vector<const Cable*>& mains);
  void BeginCableDrag(PatchPoint* point);
  bool CanConnect(PatchPoint* target) const;
  void DropCable(PatchPoint* target);
  void AbortCableDrag();

  // Records of one module instance.

  void RemoveCablesOf(const Module* module);
  /// Those that a module has because voices meet there.
  void RemoveVoiceCablesOf(const Module* module);
  /// Unplugs each record and plugs it again, by what the module is now.
  void RebuildCablesOf(const Module* module);
  /// Removes the records of a voice and all above it.
  void RemoveVoicesFrom(int firstVoice);

  CableList cableList;
  CableList sumCableList;
  int visibleCableCount = 0;  ///< cables with voice 0 on both ends
  PatchPoint* dragOrigin = nullptr;
  int dragColour = 1;
  bool isDraggingCable = false;
  int cableColourChoice = 0;  ///< 0 random

 private:
  /// What one record of a cable joins.
  struct VoiceEnds {
    PatchPoint* a;
    PatchPoint* b;
  };

  /// The ends that the cable's record in the next voice joins; none after the last voice, and none
  /// where both points are on a mono side.
  static std::optional<VoiceEnds> NextVoice(const VoiceEnds& ends);
  bool ConnectVoice(const VoiceEnds& ends, int colour, PatchEdit& edit);
  /// The record that follows a removed one, from destination `a` to origin `b`; null at the end.
  Cable* NextRecord(const VoiceEnds& removed, bool* inSumList) const;
  template <class Test>
  void RemoveRecords(CableList& list, bool inSumList, Test&& isMeant);
  int PickCableColour() const;

  RackModel& rack_;
};

}  // namespace halveron
