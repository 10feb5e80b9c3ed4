// Which share of the blocks' time each module takes, on demand.
#pragma once

#include <atomic>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "framework/run_costs.h"

namespace halveron {

class Module;
class RackModel;

/// Now and then one host sample is run with the clock read between the modules; all other samples
/// run as usual. How often follows from what the reading itself costs, so that it stays a small
/// part of the sound's cost. While it is off, a block tests one flag.
///
/// A team of instances that run in one call shares its time evenly.
class ModuleLoads {
 public:
  explicit ModuleLoads(RackModel& rack) : rack_(rack) {}
  ModuleLoads(const ModuleLoads&) = delete;
  ModuleLoads& operator=(const ModuleLoads&) = delete;

  // Window thread. A share is that of all voices of a module, 1 for all of the time.

  struct Share {
    Module* module;  ///< of voice 0
    float share;
  };
  /// Begins from nothing.
  void Switch(bool on);
  bool IsOn() const { return isOn_.load(std::memory_order_relaxed); }
  /// Takes up what was measured since the last call, and averages it with what was before; to be
  /// called a few times a second. `metered` is the share of all sound, which the modules together
  /// do not exceed: reading the clock keeps the processor from working ahead.
  void Update(float metered);
  /// The module is about to go.
  void Forget(const Module& module);
  /// The modules that run, in the order of the rack.
  const std::vector<Share>& Shares() const { return shares_; }
  /// What moving the signals along the cables takes.
  float CableShare() const { return cableShare_; }

  // Audio thread, inside the processing lock.

  /// How many of the next `frames` samples come before the next one to be measured, which may be
  /// all of them.
  int SamplesBefore(int frames) {
    if (!IsOn()) return frames;
    if (wait_ < frames) return wait_;
    wait_ -= frames;
    return frames;
  }
  /// The sample after those was measured.
  void SampleMeasured(const RunStopwatch& watch, RunCosts& costs);

 private:
  void Average(float metered);

  RackModel& rack_;
  std::atomic<bool> isOn_ = false;
  double readSeconds_ = 0;    // that one reading of the clock takes
  int wait_ = 0;              // samples until the next measured one
  std::uint32_t chance_ = 1;  // from which that is drawn
  RunCosts taken_;
  double known_ = 0;  // measured samples that the averages hold
  std::unordered_map<const Module*, double> averages_;
  double cableAverage_ = 0;
  double meteredAverage_ = 0;
  std::vector<Share> shares_;
  float cableShare_ = 0;
};

}  // namespace halveron
