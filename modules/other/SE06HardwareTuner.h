// SE06 Hardware Tuner: shows the pitch of a tone, and tunes an oscillator outside of the rack.
#pragma once

#include <array>
#include <atomic>
#include <string>

#include "framework/module.h"
#include "framework/module_timer.h"
#include "framework/triple_buffer.h"
#include "modules/other/SE06HardwareTunerKernel.h"

namespace halveron {

/// Pitch goes to the oscillator, its sound comes back to Audio. "Calibrate" plays a row of voltages
/// and measures what the oscillator makes of them, which takes some ten seconds; a second press
/// cancels. From then on the pitch that goes out is bent so that the one that comes in sounds, with
/// A4 at the reference of 430 to 450 Hz, unless Correction is off.
class SE06HardwareTuner final : public BuiltInModule<SE06HardwareTuner> {
 public:
  static constexpr char kName[] = "SE06 Hardware Tuner";
  static constexpr char kPanel[] = "SE06HardwareTuner.png";
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  using Report = SE06HardwareTunerKernel::Report;

  SE06HardwareTuner(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

  /// The control values, then the number of points of the table as a 32-bit integer, and voltage
  /// and answer of each, a float each. A table that does not hold together is left out.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

  /// What the display says: note and cents, frequency, what there is to say.
  static std::array<std::string, 3> Lines(const Report& report, double reference, bool isTuned);

 private:
  struct Picture {
    Report report;
    bool isTuned = false;  ///< there is a table
  };

  void ReportTable();
  void Publish();
  void Draw(CDrawContext& context, const CRect& area, const Picture& picture) const;

  Knob reference_;
  CKickButtonEx* calibrate_ = nullptr;
  CVerticalSwitch* correction_ = nullptr;
  DisplayView* display_ = nullptr;
  Lamp running_;
  Input audio_, pitch_;
  Output pitchOut_;

  SE06HardwareTunerKernel kernel_;
  double referenceHertz_ = SE06HardwareTunerKernel::kStandard;
  bool corrects_ = true;
  bool isLoading_ = false;
  std::atomic<bool> isTableNew_ = false;  ///< by a calibration that was not reported yet
  TripleBuffer<Picture> feed_;
  ModuleTimer timer_;
};

}  // namespace halveron
