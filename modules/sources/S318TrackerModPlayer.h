// S318 Tracker Mod Player: tracker music and sound files, locked to a clock if wanted.
#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "dsp/edge.h"
#include "framework/background_worker.h"
#include "framework/file_request.h"
#include "framework/module.h"
#include "framework/module_timer.h"
#include "framework/patch_key.h"
#include "gui/option_menu.h"
#include "media/song_archive.h"
#include "modules/sources/S318TrackerModPlayerKernel.h"
#include "modules/sources/song_player.h"
#include "modules/sources/stream_ring.h"

namespace halveron {

/// Without a cable on "Run" a song plays when it is loaded; with one it plays from its start while
/// the gate is high. The knob "Tempo" at its left end leaves the song its own tempo.
class S318TrackerModPlayer final : public BuiltInModule<S318TrackerModPlayer>,
                                   public PatchKeyTaker {
 public:
  static constexpr char kName[] = "S318 Tracker Mod Player";
  static constexpr char kPanel[] = "S318TrackerModPlayer.png";
  static constexpr int kColumns = 22;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  static constexpr float kSlowestTempo = 20.0f, kFastestTempo = 500.0f;  // beats a minute
  static constexpr float kPitchOctaves = 4.0f;                           // of the knob's travel
  static constexpr std::size_t kMostPathBytes = 4096;

  /// Section of the options file with the archive's address, key and paths.
  static constexpr const char* kArchiveSection = "Tracker Archive";

  S318TrackerModPlayer(CFrame* frame, const HostTable& table, int voiceIndex);

  void BlockStart(int frames) override;
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void SetDAWSampleRate(float rate) override;
  void SetBlockSize(float frames) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  bool onDrop(std::span<const std::string> files, const CPoint& where) override;
  ControlEffect EffectOf(const CControl& control) const override;

  /// The control values, then the file's path with its NUL, the position in seconds (double), the
  /// tempo in beats a minute (float, 0 for the song's own), the pitch as a ratio (float). Loading
  /// leaves a song that plays where it is, if it is the one of the preset.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

  /// "file": the path of the file to play.
  const char* PatchKey() const override { return "file"; }
  void TakePatchKey(const PatchValue& value, const std::string& folder) override;

  void LoadFile(const std::string& path);
  /// Fetches a module from the archive that the options name.
  void FetchRandom();
  /// Saves what was fetched into the folder "Downloads" of the user's data.
  void SaveDownload();
  /// Brings labels up to date and takes what workers have finished.
  void Refresh();

  SongPlayer player;

 private:
  enum class Notice { kNone, kTempoReset };

  /// What the fetching worker leaves.
  struct Fetched {
    bool isDone = false;
    media::ArchivedSong song{};
    std::string message{};
  };

  void AddLabels();
  void AddControls();
  void Load(SongPlayer::Order order);
  void TakeFetched();
  /// Gives up what was fetched, and what is being fetched.
  void ForgetDownload();
  /// A host may save on a thread of its own.
  void SetPath(std::string path);
  void ShowSong(const SongPlayer::Display& shown);
  void Say(const std::string& message);
  void SetTempo(float tempo);
  void SetPitch(float ratio);
  void FollowRun();
  void FollowControlVoltages();
  void UpdateLaw();
  void ReserveRing();
  media::SongArchive Archive() const;
  float TempoOfKnob() const;
  float PitchOfKnob() const;

  std::string path_;
  double presetSeconds_ = 0.0;  // where a preset began, until the song moves on
  std::atomic<bool> hasMoved_ = false;
  StreamRing ring_;
  S318TrackerModPlayerKernel::ClockMeter clockMeter_;
  S318TrackerModPlayerKernel::RunGate runGate_;
  dsp::EdgeDetector<> clockEdge_;
  int fileRate_ = 44100;
  float songTempo_ = 120.0f;
  int pitchInterval_ = 48;
  int pitchCounter_ = 0;
  float lastPitch_ = 0.0f;
  bool hasPitchCable_ = false, hasSpeedCable_ = false;
  bool isOwn_ = false;  // the ring holds what was asked for last
  bool isPlaying_ = true;
  std::uint64_t readyStart_ = 0;  // stretch that waits at the song's start, 0 for none
  std::atomic<bool> needsResample_ = false;
  std::atomic<Notice> notice_ = Notice::kNone;

  // The interface's side.
  bool isLoading_ = false;
  bool saysResample_ = false;
  int shownLoads_ = 0;
  int positionRest_ = 0;  // refreshes for which the user's hand is on the slider
  media::ArchivedSong download_;
  std::string downloadName_;
  std::string link_;
  std::mutex fetchLock_;
  Fetched fetched_;

  Knob speed_, pitch_, tempo_;
  CSlider* position_;
  CKickButtonEx* load_;
  CKickButtonEx* random_;
  CKickButtonEx* save_;
  CKickButtonEx* reset_;
  CKickButtonEx* page_;
  CVerticalSwitch* resample_;
  COptionMenu* pulses_;
  COptionMenu* clocks_;
  CTextLabelEx* titleText_;
  CTextLabelEx* detailText_;
  CTextLabelEx* formatText_;
  CTextLabelEx* tempoText_;
  CTextLabelEx* statusText_;
  HeldLamp startLamp_, clockLamp_;
  Lamp playLamp_;
  Input run_, clock_, pitchIn_, speedIn_;
  Output left_, right_;
  FileRequest fileRequest_;
  ModuleTimer timer_;
  bool isFetching_ = false;   // and nothing has stopped it
  BackgroundWorker fetcher_;  // last: it uses the others
};

}  // namespace halveron
