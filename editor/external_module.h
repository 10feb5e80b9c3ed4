// A module whose sound is in a library, as a module of the rack.
#pragma once

#include <memory>
#include <vector>

#include "editor/external_module_type.h"
#include "framework/growing_panel.h"
#include "framework/module.h"

namespace halveron {

/// Makes the panel that a library describes and forwards what the rack asks of a module. The
/// controls, their mouse behaviour and their parameters are the rack's own.
class ExternalModule final : public Module, public GrowingPanel {
 public:
  /// Null if the library cannot make an instance; the rack is then as it was.
  static Module* Make(std::shared_ptr<const ExternalModuleType> type, CFrame* frame,
                      const HostTable& table, int voiceIndex);
  ~ExternalModule() override;

  const ExternalModuleType& Type() const { return *type_; }

  const char* GetName() const override { return type_->name.c_str(); }
  int GetNameLength() const override { return static_cast<int>(type_->name.size()); }
  const char* GetVendorName() const override { return type_->vendor.c_str(); }
  int GetVendorNameLength() const override { return static_cast<int>(type_->vendor.size()); }
  int GetVersion() const override { return type_->functions.version; }
  bool GetAlwaysOnDefault() const override { return type_->Has(HALVERON_ALWAYS_ON); }
  bool GetMonoDefault() const override { return !type_->Has(HALVERON_POLYPHONIC); }
  bool IsAudioToDAW() const override { return type_->Has(HALVERON_SENDS_AUDIO); }
  bool UsesPolyphony() const override { return type_->Has(HALVERON_USES_POLYPHONY); }

  void ProcessSample() override { processSample_(instance_); }
  RunFunction GetRunFunction() const override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void ProcessEvents(VstEvents* events) override;
  void BlockStart(int frames) override;
  void SetSampleRate(float rate) override;
  void SetDAWSampleRate(float rate) override;
  bool SetBandlimitMode(int mode) override;
  void SetClipLevel(float level) override;

  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  void ValueChanged(CControl* control) override;
  void VoiceCountChanged(int voices) override;
  void ModuleCreated(int voices) override;
  void ModuleRemoved() override;
  int OnMouseMoved(CPoint* where, int* buttons) override;

  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

  Counts SavedCounts() const override { return {controls_.size(), lamps_.size(), jacks_.size()}; }

  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;

  // For the functions that the library calls.

  void* Instance() const { return instance_; }
  /// Whether the library finds its signals where they will lie in the sample plan that is being
  /// made, or where they lie now. Inside the processing lock.
  void ShowPlannedPlaces(bool show);
  /// The library's data has changed: within a mouse call by what the user does.
  void DataChanged();
  /// Lasts while the library handles the mouse.
  class MouseCall {
   public:
    explicit MouseCall(const ExternalModule& module);
    ~MouseCall();
    MouseCall(const MouseCall&) = delete;
    MouseCall& operator=(const MouseCall&) = delete;

   private:
    const ExternalModule* const outer_;
  };
  CControl* ControlAt(std::uint32_t index) const {
    return index < controls_.size() ? controls_[index] : nullptr;
  }

 private:
  ExternalModule(std::shared_ptr<const ExternalModuleType> type, CFrame* frame,
                 const HostTable& table, int voiceIndex);
  bool Start();
  void MakePanel();
  void MakeControl(const ExternalControl& description);
  void MakePoint(std::size_t index);
  void MakeLamp(std::size_t index);
  void MakeDisplay(std::size_t index);
  void TellRates();
  void TellOptions();
  std::uint32_t DataSize() const;
  int PointIndex(const PatchPoint* point) const;

  const std::shared_ptr<const ExternalModuleType> type_;
  void (*processSample_)(void*);
  void* instance_ = nullptr;
  HalveronPanel panel_{};
  std::vector<PointLink> jacks_;
  std::vector<HalveronKnob*> knobs_;
  std::vector<float> lampLevels_;
  std::vector<CControl*> controls_;
  std::vector<CMovieBitmap*> lamps_;
  CMovieBitmap* screws_[4] = {};
};

}  // namespace halveron
