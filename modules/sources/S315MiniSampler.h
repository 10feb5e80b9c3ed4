// S315 Mini Sampler VCO: plays a window of a sample at a pitch, loops it, and records over it.
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "framework/byte_io.h"
#include "framework/file_request.h"
#include "framework/module.h"
#include "framework/module_timer.h"
#include "framework/patch_key.h"
#include "framework/resting_knobs.h"
#include "gui/param_display.h"
#include "modules/sources/S315MiniSamplerKernel.h"
#include "modules/sources/sample_recorder.h"
#include "modules/sources/sample_screen.h"
#include "modules/sources/sample_workshop.h"

namespace halveron {

/// All voices play one sample, which voice 0 records and loads. Without a gate a loop always
/// sounds; a gate starts the sample, and in gate mode also ends it.
class S315MiniSampler final : public BuiltInModule<S315MiniSampler>, public PatchKeyTaker {
 public:
  static constexpr char kName[] = "S315 Mini Sampler VCO";
  static constexpr char kPanel[] = "S315MiniSampler.png";
  static constexpr int kColumns = 30;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S315MiniSampler(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void BlockStart(int frames) override;
  void SetSampleRate(float rate) override;
  /// With oversampling, 0: the sample may reach up to half the running rate; 1: tables are chosen
  /// for half the host's.
  bool SetBandlimitMode(int mode) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  void ModuleCreated(int voices) override;
  void ModuleRemoved() override;
  void VoiceCountChanged(int voices) override;
  bool onDrop(std::span<const std::string> files, const CPoint& where) override;

  /// The control values, a block of 42 bytes, and the samples. Ends a recording.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;
  std::uint64_t GetDataRevision() override;
  void leavingFrame(CFrame* root) override;

  /// "sample": the path of a sound file.
  const char* PatchKey() const override { return kPatchKeys[0]; }
  void TakePatchKey(const PatchValue& value, const std::string& folder) override;

  /// Has the worker load a file; a line on the panel says what is wrong with it.
  void Load(const std::string& path);
  /// Writes the sample as a WAV file in the format that is chosen.
  void Save(const std::string& path);
  /// Shows on the panel what workers have done. A window calls it by itself.
  void Poll();
  /// The whole line, of which the panel shows as much as fits.
  const char* Message() const { return line_.c_str(); }
  SampleWorkshop& Workshop() { return shared_->workshop; }
  SampleScreen& Screen() { return *screen_; }

  static void SetUpClass();
  static void TearDownClass();

 private:
  /// What the voices share. The audio thread's part is guarded by the processing lock.
  struct Shared {
    SampleWorkshop workshop;
    SampleRecorder recorder;
    bool recording = false;
    unsigned serial = 1;  ///< of the sample that voices play
    std::atomic<double> playhead = -1.0;
  };

  /// What the preset data behind the control values are made of.
  struct DataState {
    unsigned changes = 0;  ///< of the sample
    float format = 0.0f;
    bool isZoomed = false;
    double root = 0.0, tuning = 0.0;
    int quality = 0;
    bool isCycle = false;

    bool operator==(const DataState&) const = default;
  };

  /// The images that this class alone has.
  enum Picture {
    kLetterE,
    kRootUp,
    kRootDown,
    kLetterO,
    kLetterS,
    kLetterT,
    kNote,
    kExclamation,
    kRecord,
    kDigits,
    kLamp,
    kPictures
  };

  void AddKnobs();
  void AddButtons();
  void AddScreen();
  CKickButtonEx* AddAction(const char* role, float x, float y, Picture picture);
  void SetRamp();
  void SetBand();
  int QualityPosition() const;
  bool IsCycle() const { return singleCycle_->getValue() >= 0.5f; }
  bool IsOwner() const { return voice == 0 && shared_ != nullptr; }
  void FollowCables();
  void JoinVoice0();

  void FollowSample();
  void RecordSample();
  /// Has the voices play what the workshop has now.
  void TakeOver();
  void ApplyQuality();
  void SetRecording(bool on);
  void EndRecording();
  void Press(CControl* button);
  void Edit(CControl* button);
  void Tune();
  void MoveRoot(int semitones);
  /// Goes over to a part of the sample, changed. False if there is no memory.
  bool Replace(int first, int end, const std::function<void(std::span<float>)>& change = {});
  /// The first sample of the window as the knobs stand, and the one after its last.
  std::pair<int, int> Window(int length) const;
  void AskForFile();
  void AskForTarget();
  double PanelRoot() const;
  /// Puts the quality back where its tables do not fit into memory.
  void FollowFailure();
  void Show(const std::string& line);
  void ShowNumbers();
  void SetMessage(const std::string& line);
  void ShowRoot();
  void MoveKnob(Knob& knob, double value);
  SampleScreen::Marks Marks() const;
  std::vector<plot::Extremes> Summary(double from, double to, std::size_t columns);
  void Drag(SampleScreen::Handle handle, double place);
  void Gesture(SampleScreen::Handle handle, bool begins);
  void LoadBlock(ByteReader& reader);

  inline static std::array<CBitmap*, kPictures> pictures_{};

  S315MiniSamplerKernel kernel_;
  std::shared_ptr<Shared> shared_;
  unsigned serial_ = 0;
  bool overdub_ = false;
  bool isLoading_ = false;
  bool isBlinking_ = false;
  /// What the size of a preset was given for: it is what is saved then.
  std::optional<SampleWorkshop::Rooted> measured_;
  DataState dataState_;
  std::uint64_t dataRevision_ = 0;
  int shownLoads_ = 0;
  int shownLength_ = -1;
  unsigned screenVersion_ = 0;
  FileRequest fileRequest_;
  ModuleTimer pollTimer_, settlingTimer_;

  RestingKnobs restingKnobs_;
  Knob speed_, loop_, start_, fineStart_, length_, deClick_, fade_, quality_;
  CVerticalSwitch* looping_ = nullptr;
  CVerticalSwitch* gateMode_ = nullptr;
  CVerticalSwitch* snapLoop_ = nullptr;
  CVerticalSwitch* overdubSwitch_ = nullptr;
  COnOffButton* record_ = nullptr;
  CKickButtonEx* load_ = nullptr;
  CKickButtonEx* save_ = nullptr;
  CKickButtonEx* clear_ = nullptr;
  CKickButtonEx* crop_ = nullptr;
  CKickButtonEx* reverse_ = nullptr;
  CKickButtonEx* normalise_ = nullptr;
  COnOffButton* singleCycle_ = nullptr;
  CKickButtonEx* tune_ = nullptr;
  CKickButtonEx* rootUp_ = nullptr;
  CKickButtonEx* rootDown_ = nullptr;
  CKickButtonEx* rootFromPitch_ = nullptr;
  COnOffButton* format_ = nullptr;
  CSpecialDigitEx* rootNote_ = nullptr;
  CTextLabel* bitInt_ = nullptr;
  CTextLabel* bitFloat_ = nullptr;
  CTextLabel* xfade_ = nullptr;
  CTextLabel* declick_ = nullptr;
  CTextLabel* message_ = nullptr;
  std::string line_;
  SampleScreen* screen_ = nullptr;
  Lamp lamp_;
  Input in_, gate_, pitch_, speedMod_, startMod_;
  Output out_;
};

}  // namespace halveron
