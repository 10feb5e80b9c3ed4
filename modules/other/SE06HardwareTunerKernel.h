// SE06 Hardware Tuner kernel: asks an oscillator for its answers to a row of voltages, and from
// then on gives it the voltages that it answers in tune.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "dsp/pitch_meter.h"

namespace halveron {

/// What an oscillator answered to each of a row of voltages, both rising. Between two answers and
/// beyond the outermost ones it is taken to go on in a straight line.
class TuningTable {
 public:
  struct Point {
    float voltage = 0.0f;  ///< pitch that was sent
    float answer = 0.0f;   ///< pitch that was heard, with A4 at 440 Hz
  };
  static constexpr std::size_t kMost = 15;
  static constexpr std::size_t kFewest = 3;
  static constexpr float kLeastRise = 0.01f;  ///< of answers; a step sent is five times that

  /// False, with nothing added, if the table is full or the point does not rise.
  bool Add(const Point& point) {
    const auto isFit = [](float value) { return std::abs(value) <= 1.0f; };
    if (count_ == kMost || !isFit(point.voltage) || !isFit(point.answer)) return false;
    if (count_ > 0) {
      const Point& last = points_[count_ - 1];
      if (point.voltage <= last.voltage || point.answer < last.answer + kLeastRise) return false;
    }
    points_[count_++] = point;
    return true;
  }
  bool IsUsable() const { return count_ >= kFewest; }
  std::size_t Count() const { return count_; }
  const Point& At(std::size_t index) const { return points_[index]; }

  /// The voltage that is answered by a pitch.
  float VoltageFor(float pitch) const {
    std::size_t upper = 1;
    while (upper + 1 < count_ && points_[upper].answer < pitch) ++upper;
    const Point& a = points_[upper - 1];
    const Point& b = points_[upper];
    return a.voltage + (pitch - a.answer) * ((b.voltage - a.voltage) / (b.answer - a.answer));
  }

 private:
  std::array<Point, kMost> points_{};
  std::size_t count_ = 0;
};

/// The tuner. A calibration first listens at 0, then from three octaves below it to four above, in
/// half octaves; it leaves out what would be answered below 20 Hz or above 5 kHz. An answer counts
/// when three measurements in a row agree to within half a cent and have left the answer before. A
/// voltage without one ends the calibration, and the table stays as it was.
class SE06HardwareTunerKernel {
 public:
  using Tone = dsp::PitchMeter::Tone;
  enum class Outcome {
    kNone,
    kRunning,
    kDone,
    kCancelled,
    kSilent,    ///< no tone at `voltage`
    kUnsteady,  ///< no steady one there
    kStuck,     ///< the answer there is not higher than before
    kTooFew,    ///< too few voltages have an answer within the range of measurement
  };
  struct Report {
    Tone tone = Tone::kUnknown;
    double hertz = 0.0;
    Outcome outcome = Outcome::kNone;
    float voltage = 0.0f;  ///< pitch that is sent, or at which it ended
    int step = 0;          ///< of kSteps, while it runs
  };
  static constexpr int kSteps = 1 + static_cast<int>(TuningTable::kMost);

  /// Allocates. A calibration ends.
  void Prepare(float rate) {
    rate_ = static_cast<double>(rate);
    meter_.Prepare(rate);
    report_.tone = Tone::kUnknown;
    if (IsRunning()) report_.outcome = Outcome::kCancelled;
  }

  void Start() {
    measured_ = {};
    heard_ = heardVoltage_ = 0.0f;
    GoTo(0);
  }
  void Cancel() {
    if (IsRunning()) report_.outcome = Outcome::kCancelled;
  }
  bool IsRunning() const { return report_.outcome == Outcome::kRunning; }

  const TuningTable& Table() const { return table_; }
  void SetTable(const TuningTable& table) { table_ = table; }

  /// One sample; true when the report is new.
  bool Step(float audio) {
    bool isNew = meter_.Step(audio);
    if (isNew) {
      report_.tone = meter_.Last().tone;
      report_.hertz = meter_.Last().hertz;
    }
    if (!IsRunning()) return isNew;
    ++samples_;
    const double seconds = samples_ / rate_;
    if (isNew && seconds > kSettling) Listen();
    if (IsRunning() && seconds > kPatience) {
      Miss();
      isNew = true;
    }
    return isNew;
  }

  /// What goes to the oscillator for a pitch; `reference` in hertz of A4.
  float Output(float pitch, bool corrects, double reference) const {
    if (IsRunning()) return report_.voltage;
    if (!corrects || !table_.IsUsable()) return pitch;
    const auto shift = static_cast<float>(std::log2(reference / kStandard) * kPitchPerOctave);
    return table_.VoltageFor(pitch + shift);
  }

  const Report& Now() const { return report_; }

  /// Pitch of a frequency in hertz against a reference for A4.
  static double PitchOf(double hertz, double reference) {
    return (std::log2(hertz / reference) + kOctavesToA4) * kPitchPerOctave;
  }

  static constexpr double kStandard = 440.0;

 private:
  static constexpr double kPitchPerOctave = 0.1;
  static constexpr double kOctavesToA4 = 0.75;
  static constexpr double kSettling = 0.1;  // seconds
  static constexpr double kPatience = 2.0;  // seconds
  static constexpr float kLowest = -0.3f, kStep = 0.05f;
  static constexpr int kAgreeing = 3;
  static constexpr float kAgreement = 0.5f / 12000.0f;  // half a cent
  static constexpr float kApart = 1.0f / 120.0f;        // a semitone
  static constexpr double kDoubtful = 4.0 / 120.0;      // from an end of what can be measured

  static float VoltageOf(int step) {
    return step == 0 ? 0.0f : kLowest + kStep * static_cast<float>(step - 1);
  }
  /// The answer that a step should have, going by the last one.
  double Expected(int step) const {
    return static_cast<double>(heard_) + static_cast<double>(VoltageOf(step) - heardVoltage_);
  }
  /// Whether an answer is expected beyond what can be measured, or nearer to its end than `inside`.
  bool MayMiss(int step, double inside) const {
    if (step == 0) return false;
    const double lowest = PitchOf(dsp::PitchMeter::kLowest, kStandard) + inside;
    const double highest = PitchOf(dsp::PitchMeter::kHighest, kStandard) - inside;
    return Expected(step) < lowest || Expected(step) > highest;
  }

  void GoTo(int step) {
    report_.outcome = Outcome::kRunning;
    report_.step = step;
    report_.voltage = VoltageOf(step);
    samples_ = 0;
    agreeing_ = 0;
  }

  void Listen() {
    if (report_.tone != Tone::kSteady) {
      agreeing_ = 0;
      return;
    }
    const auto answer = static_cast<float>(PitchOf(report_.hertz, kStandard));
    // What has not left the last answer has not heard the new voltage yet.
    const bool isOld =
        report_.step > 0 && report_.voltage != heardVoltage_ && std::abs(answer - heard_) < kApart;
    if (isOld || std::abs(answer - first_) > kAgreement) agreeing_ = 0;
    if (isOld) return;
    if (agreeing_ == 0) {
      first_ = answer;
      sum_ = 0.0;
    }
    sum_ += static_cast<double>(answer);
    if (++agreeing_ == kAgreeing) Take(static_cast<float>(sum_ / kAgreeing));
  }

  void Take(float answer) {
    // Step 0 shows that there is a tone, and where.
    if (report_.step > 0 && !measured_.Add({report_.voltage, answer})) {
      report_.outcome = Outcome::kStuck;
      return;
    }
    heard_ = answer;
    heardVoltage_ = report_.voltage;
    Advance();
  }

  void Miss() {
    if (MayMiss(report_.step, kDoubtful)) {
      Advance();
      return;
    }
    report_.outcome = report_.tone == Tone::kSteady   ? Outcome::kStuck
                      : report_.tone == Tone::kSilent ? Outcome::kSilent
                                                      : Outcome::kUnsteady;
  }

  void Advance() {
    int step = report_.step + 1;
    while (step < kSteps && MayMiss(step, -kDoubtful)) ++step;
    if (step < kSteps) {
      GoTo(step);
      return;
    }
    report_.outcome = measured_.IsUsable() ? Outcome::kDone : Outcome::kTooFew;
    if (measured_.IsUsable()) table_ = measured_;
  }

  dsp::PitchMeter meter_;
  double rate_ = 48000.0;
  TuningTable table_;
  Report report_;

  // The calibration under way.
  TuningTable measured_;
  long samples_ = 0;  // since the voltage changed
  int agreeing_ = 0;
  float first_ = 0.0f;
  double sum_ = 0.0;
  float heard_ = 0.0f;         // the last answer,
  float heardVoltage_ = 0.0f;  // and to what
};

}  // namespace halveron
