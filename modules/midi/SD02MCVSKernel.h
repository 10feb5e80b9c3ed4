// SD02 MIDI-CV/Sync kernel: one voice's MIDI stream as voltages.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "dsp/counters.h"
#include "framework/midi_cable_word.h"
#include "framework/midi_controller.h"
#include "modules/midi/held_notes.h"

namespace halveron {

/// A mono voice of last-note priority, whatever the channel: the present note, the held ones under
/// it, and a gate that drops for a gap when a note is played over a held one.
struct SD02MCVSKernel {
  static constexpr std::uint8_t kNoNote = 156;  ///< nothing sounds; in the stack: released
  static constexpr int kHighestRetrigger = 127;

  /// A controller whose coarse half may set the fine one.
  struct TwoByteValue : Controller14 {
    std::uint8_t previousMsb = 0;

    /// Takes a coarse value. With `direction`, the fine one is set so that the level leads on in
    /// the direction of the move.
    void SetMsb(std::uint8_t value, bool direction) {
      msb = value;
      if (!direction) return;
      if (msb > previousMsb) lsb = 0;
      if (msb < previousMsb) lsb = 127;
      previousMsb = msb;
    }
  };

  // Panel.
  float glideTime = 0.0f;       ///< 0..1
  int bendSemitones = 1;        ///< reach of the bend wheel
  bool firstNoteGlides = true;  ///< also into a note that starts from silence
  bool retriggerOn = true;

  // Options, set by controller 80 and kept with the preset.
  std::uint8_t glideConstantRate = 0;  ///< linear glide; else exponential
  std::uint8_t modSmoothing = 1;
  std::uint8_t bendSmoothing = 1;
  std::uint8_t msbDirectionLsb = 0;  ///< a coarse value alone sets the fine one
  std::uint8_t lsbEnabled = 1;       ///< fine values act by themselves
  int retriggerValue = 0;            ///< 0..127, length of the gap

  // Coefficients.
  float rate = 48000.0f;
  float samplesPerMinute = 0.0f;  ///< 0 before the first Prepare
  float smoothing = 0.0f;         ///< of bend, wheel and aftertouch, 35 ms
  float glideSamples = 0.0f;      ///< time constant of the exponential glide
  int retriggerGap = 1;           ///< samples
  int clockPulseLength = 1;       ///< samples, 30 % of a clock
  int clockPulseLimit = 1;

  // State.
  std::uint8_t currentNote = kNoNote;
  HeldNotes<std::uint8_t> heldNotes;
  int retriggerCounter = 0;  ///< samples until the gate comes back, 0 when idle
  int clockCounter = 0;      ///< samples since the last clock
  float bendRaw = 0.0f;      ///< -8192..8191
  float velocityLevel = 1.0f;
  TwoByteValue modWheel;
  TwoByteValue volume{{127, 127}, 127};
  float pitchTarget = 0.0f;
  float bendTarget = 0.0f;
  float modTarget = 0.0f;
  float aftertouchTarget = 0.0f;

  // Outputs.
  float clock = 0.0f;
  float stop = 0.0f;
  float gate = 0.0f;
  float pitch = 0.0f;
  float velocity = 0.0f;
  float bend = 0.0f;
  float mod = 0.0f;
  float aftertouch = 0.0f;

  /// Follows a sample rate in hertz. The clock pulse keeps its length in time.
  void Prepare(float newRate) {
    const float newSamplesPerMinute = newRate * 60.0f;
    clockPulseLimit = static_cast<int>(newRate * 0.1);
    if (samplesPerMinute > 0.0f) {
      const double minutes = static_cast<double>(clockPulseLength) / samplesPerMinute;
      clockPulseLength = LimitPulse(minutes * newSamplesPerMinute);
    }
    rate = newRate;
    samplesPerMinute = newSamplesPerMinute;
    smoothing = 1000.0f / (35.0f * rate);
    SetGlideTime(glideTime);
    SetRetrigger(retriggerValue);
  }

  /// The length of the first clock pulse, from a tempo in quarter notes a minute.
  void AssumeTempo(double tempo) { clockPulseLength = LimitPulse(samplesPerMinute / tempo * 0.3); }

  /// `k` 0..1.
  void SetGlideTime(float k) {
    glideTime = k;
    glideSamples = rate * (k * k * k) * 6.0f;
  }

  /// `k` 0..1 gives 1 to 78 semitones. A bend that is held follows.
  void SetBendRange(float k) {
    const double limited = k > 0.0f ? std::min(k, 1.0f) : 0.0;
    bendSemitones =
        static_cast<int>(120.0 * (0.6416666666666667 * limited * limited + 0.008333333333333333));
    Bend();
  }

  /// `value` 0..127 gives 1 sample to 127 ms.
  void SetRetrigger(int value) {
    retriggerValue = std::clamp(value, 0, kHighestRetrigger);
    const float gap = (rate * 0.127f - 1.0f) * static_cast<float>(retriggerValue) * 0.0078740157f;
    retriggerGap = std::max(1, static_cast<int>(gap + 1.0f));
  }

  /// Forgets all notes and closes the gate.
  void Silence() {
    currentNote = kNoNote;
    heldNotes.Clear();
    gate = 0.0f;
    retriggerCounter = 0;
  }

  /// Whether a sample without a word concerns nothing but the clock.
  bool IsAtRest() const {
    return retriggerCounter == 0 && pitch == pitchTarget && mod == modTarget &&
           bend == bendTarget && aftertouch == aftertouchTarget;
  }
  /// The sample of a voice at rest.
  void Rest() { EndClock(); }
  /// As many of them, no more than RestsUntilChange.
  void RestFor(std::int64_t samples) {
    const int most = dsp::kIdleCounter - clockCounter;
    clockCounter += samples < most ? static_cast<int>(samples) : most;
  }
  /// Samples at rest that change nothing but the count.
  int RestsUntilChange() const {
    return clock == 0.0f ? dsp::kIdleCounter : std::max(0, clockPulseLength - clockCounter);
  }

  /// One sample; true if a note began with this word.
  bool Step(MidiCableWord word) {
    EndRetrigger();
    bool noteBegan = false;
    switch (word.Kind()) {
      case midi::kNoteOff:
      case midi::kNoteOn:
        noteBegan = word.IsNoteOn();
        if (noteBegan) {
          NoteOn(word.Data1(), word.Data2());
        } else {
          NoteOff(word.Data1());
        }
        break;
      case midi::kKeyPressure:
        if (word.Data1() == currentNote) aftertouchTarget = Pressure(word.Data2());
        break;
      case midi::kControlChange:
        if (word.IsAllNotesOff()) {
          Silence();
        } else {
          ControlChange(word.Data1(), word.Data2());
        }
        break;
      case midi::kChannelPressure:
        aftertouchTarget = Pressure(word.Data1());
        break;
      case midi::kPitchBend:
        bendRaw = static_cast<float>((word.Data2() - 64) * 128 + word.Data1());
        Bend();
        break;
      default:
        // The clock stands still on the sample of a channel message.
        Synchronise(word.Status());
        break;
    }
    Glide();
    Follow(mod, modTarget, modSmoothing != 0);
    Follow(bend, bendTarget, bendSmoothing != 0);
    Follow(aftertouch, aftertouchTarget, true);
    return noteBegan;
  }

 private:
  static float Pressure(std::uint8_t data) {
    return static_cast<float>(data * 0.007874015748031496);
  }

  int LimitPulse(double samples) const {
    return samples < clockPulseLimit ? static_cast<int>(samples) : clockPulseLimit;
  }

  void EndRetrigger() {
    // With the switch off the counter freezes: the gate of a gap under way stays low.
    if (retriggerCounter == 0 || !retriggerOn) return;
    if (--retriggerCounter == 0) gate = 1.0f;
  }

  void Aim(std::uint8_t key) {
    currentNote = key;
    pitchTarget = static_cast<float>((key - 60) * 0.008333333333333333);
  }

  void NoteOn(std::uint8_t key, std::uint8_t strength) {
    if (currentNote != kNoNote) {
      heldNotes.Push(currentNote);
      if (retriggerOn && retriggerCounter == 0) {
        retriggerCounter = retriggerGap;
        gate = 0.0f;
      }
      Aim(key);
    } else {
      gate = 1.0f;
      Aim(key);
      if (!firstNoteGlides) pitch = pitchTarget;
    }
    velocity = static_cast<float>(strength) * velocityLevel * 0.0078740157f;
  }

  void NoteOff(std::uint8_t key) {
    if (key != currentNote) {
      const int place = heldNotes.Find(key);
      if (place >= 0) heldNotes.Replace(place, kNoNote);
      return;
    }
    currentNote = kNoNote;
    while (currentNote == kNoNote && !heldNotes.IsEmpty()) currentNote = heldNotes.Pop();
    if (currentNote != kNoNote) {
      Aim(currentNote);
    } else {
      gate = 0.0f;
      retriggerCounter = 0;
      aftertouchTarget = 0.0f;
    }
  }

  void Bend() {
    const float f = bendRaw >= 0.0f ? 0.00012208521f : 0.00012207031f;
    bendTarget = bendRaw * (static_cast<float>(bendSemitones) * 0.0083333338f) * f;
  }

  void ControlChange(std::uint8_t controller, std::uint8_t data) {
    switch (controller) {
      case midi::kModulationWheel:
        modWheel.SetMsb(data, msbDirectionLsb != 0);
        modTarget = modWheel.Level();
        break;
      case midi::kVolume:
        volume.SetMsb(data, msbDirectionLsb != 0);
        velocityLevel = volume.Level();
        break;
      case midi::kModulationWheel + midi::kFineOffset:
        modWheel.lsb = data;
        if (lsbEnabled) modTarget = modWheel.Level();
        break;
      case midi::kVolume + midi::kFineOffset:
        volume.lsb = data;
        if (lsbEnabled) velocityLevel = volume.Level();
        break;
      case 80:
        SetOption(data);
        break;
      case 81:
        SetRetrigger(data);
        break;
      default:
        break;
    }
  }

  void SetOption(std::uint8_t option) {
    switch (option) {
      case 0:
      case 1:
        glideConstantRate = option;
        break;
      case 2:
      case 3:
        bendSmoothing = option == 2;
        break;
      case 4:
      case 5:
        msbDirectionLsb = option == 4;
        if (!msbDirectionLsb) modWheel.lsb = volume.lsb = 0;
        modWheel.previousMsb = modWheel.msb;
        volume.previousMsb = volume.msb;
        break;
      case 6:
      case 7:
        modSmoothing = option == 6;
        break;
      case 8:
      case 9:
        lsbEnabled = option == 9;
        break;
      default:
        break;
    }
  }

  void EndClock() {
    // Not only at the length itself: a change of rate may have taken the counter past it.
    if (clockCounter >= clockPulseLength) clock = 0.0f;
    dsp::CountInterval(clockCounter);
  }

  void Synchronise(std::uint8_t status) {
    if (status == midi::kClock) {
      clock = 1.0f;
      clockPulseLength = std::max(1, LimitPulse(clockCounter * 0.3));
      clockCounter = 1;
    } else {
      EndClock();
    }
    if (status == midi::kStart || status == midi::kContinue) stop = 0.0f;
    if (status == midi::kStop) stop = 1.0f;
  }

  /// The linear glide has a rate of its own, 120 semitones in (1 - glideTime) * 12 s; the
  /// exponential one is a one-pole low-pass. Both land on the target, also where a glide time out
  /// of range gives no step towards it.
  void Glide() {
    const float distance = pitchTarget - pitch;
    if (distance == 0.0f) return;
    if (glideConstantRate) {
      const float samples = (1.0f - glideTime) * rate * 12.0f;
      const float step = 1.0f / samples;
      if (samples > 0.0f && std::fabs(distance) > step) {
        pitch += distance > 0.0f ? step : -step;
        return;
      }
    } else {
      const float step = distance / glideSamples;
      if (glideSamples > 0.0f && std::fabs(distance) > std::fabs(step)) {
        pitch += step;
        return;
      }
    }
    pitch = pitchTarget;
  }

  void Follow(float& output, float target, bool smooth) const {
    const float distance = target - output;
    if (distance == 0.0f) return;
    if (!smooth || (distance > -0.001 && distance < 0.001)) {
      output = target;
    } else {
      output += distance * smoothing;
    }
  }
};

}  // namespace halveron
