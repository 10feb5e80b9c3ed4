// SE20 Global Morph: snapshots of all controls of the rack, and one knob that leads through them.
#pragma once

#include <array>
#include <atomic>

#include "framework/module.h"
#include "framework/module_timer.h"
#include "modules/other/snapshot_table.h"

namespace halveron {

class SE20GlobalMorph final : public BuiltInModule<SE20GlobalMorph> {
 public:
  static constexpr char kName[] = "SE20 Global Morph";
  static constexpr char kPanel[] = "SE20GlobalMorph.png";
  static constexpr int kColumns = 12;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SE20GlobalMorph(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  ControlEffect EffectOf(const CControl& control) const override;
  void LoadControlValues(const float* buffer, unsigned size) override;
  void SavePatchPointIndices(int* buffer) override;
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

  const SnapshotTable& Snapshots() const { return snapshots_; }

 private:
  template <class F>
  void ForEachParameter(F&& f);
  float Position() const;
  bool IsStored(CControl& control) const;
  void Morph();
  void Store();
  void Randomise();
  void ChangeTo(CControl& control, Module& owner, int tag, float value);
  void ApplyHostReport();
  void ShowLamps();

  Knob morph_, randomAmount_, step_;
  Input trigger_;
  CKickButtonEx *store_, *delete_, *randomise_;
  CVerticalSwitch *hostReport_, *differences_;
  std::array<CMovieBitmap*, SnapshotTable::kLamps> lamps_;

  SnapshotTable snapshots_;
  std::atomic<bool> wantsReport_ = false;  ///< the switch
  bool hostLacksMorph_ = false;            ///< Morph is none of the host's parameters
  bool differencesOnly_ = false;
  bool isLoading_ = false;
  int morphTag_ = TAG_UNASSIGNED;  ///< that Morph had before it left the host's parameters

  float lastTrigger_ = 0.0f;
  int holdoff_ = 0;  // samples
  int holdoffSamples_ = 0;
  ModuleTimer reportTimer_;
};

}  // namespace halveron
