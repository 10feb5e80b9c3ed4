// S313 Internet Radio: a station's stream as a stereo signal.
#pragma once

#include <atomic>
#include <vector>

#include "framework/module.h"
#include "framework/module_timer.h"
#include "modules/sources/radio_player.h"
#include "modules/sources/station_list.h"
#include "modules/sources/stream_ring.h"

namespace halveron {

/// Plays once half a second of sound is stored, and stores as much again after it ran out; the end
/// of a stream, however short, is played. A preset keeps the number of the station, but does not
/// connect.
class S313InternetRadio final : public BuiltInModule<S313InternetRadio> {
 public:
  static constexpr char kName[] = "S313 Internet Radio";
  static constexpr char kPanel[] = "S313InternetRadio.png";
  static constexpr int kColumns = 18;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S313InternetRadio(CFrame* frame, const HostTable& table, int voiceIndex);

  void BlockStart(int frames) override;
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void SetDAWSampleRate(float rate) override;
  void SetBlockSize(float frames) override;
  void ValueChanged(CControl* control) override;

  /// The control values, then the number of the station.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

  /// Brings the labels up to date.
  void Refresh();
  /// The present number, 1 or more, and its place in the list; empty slots have no address.
  int Station() const;
  media::PlaylistEntry Entry() const;

  RadioPlayer player;

 private:
  void ReadList();
  void Choose(int station);
  void Connect();
  void ReserveRing();
  void FollowLevels(int frames);

  std::vector<media::PlaylistEntry> stations_;
  StreamRing ring_;
  int fileRate_ = 44100;
  std::atomic<bool> isStoring_ = true;  // waits for enough sound
  bool isSilent_ = true;
  float peakLeft_ = 0.0f;
  float peakRight_ = 0.0f;
  bool isLoading_ = false;

  /// A preset's station above the range of the digits, which stand at their end; else 0. The range
  /// itself stays as long as the module lives, as a host's automation is shares of it.
  int keptStation_ = 0;
  int askedStation_ = 0;  // at the last Connect, whose failure is shown
  CSpecialDigitEx* station_;
  CKickButtonEx* up_;
  CKickButtonEx* down_;
  CKickButtonEx* connect_;
  CKickButtonEx* disconnect_;
  CTextLabelEx* nameText_;
  CTextLabelEx* titleText_;
  CTextLabelEx* formatText_;
  CTextLabelEx* statusText_;
  Lamp leftLamp_, rightLamp_;
  Output left_, right_;
  ModuleTimer timer_;
};

}  // namespace halveron
