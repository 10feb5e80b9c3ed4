#include "framework/module_loads.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <mutex>
#include <span>

#include "framework/rack_model.h"

namespace halveron {

namespace {

// Of the sound's cost. What one reading keeps the processor from doing comes on top of its time.
constexpr double kReadingBudget = 0.003;
// That is expected beside the readings, as a share of their time.
constexpr double kLeastSound = 0.1;
constexpr double kShortestWait = 128;  // samples
constexpr double kLongestWait = 8192;
// Nanoseconds. No module works as long on one sample: another program had the processor meanwhile.
constexpr std::int64_t kInterruption = 1000000;
constexpr double kMemory = 400;  // measured samples that an average goes back

/// The least of many, since some are interrupted.
double SecondsOfAReading() {
  using Clock = std::chrono::steady_clock;
  constexpr int kRounds = 50, kReadings = 20;
  double least = std::numeric_limits<double>::infinity();
  for (int round = 0; round < kRounds; ++round) {
    const Clock::time_point start = Clock::now();
    Clock::time_point end = start;
    for (int i = 0; i < kReadings; ++i) end = Clock::now();
    least = std::min(least, std::chrono::duration<double>(end - start).count() / kReadings);
  }
  return least;
}

}  // namespace

void ModuleLoads::Switch(bool on) {
  if (on == IsOn()) return;
  const double reading = on ? SecondsOfAReading() : 0;
  shares_.clear();
  averages_.clear();
  cableShare_ = cableAverage_ = meteredAverage_ = 0;
  known_ = 0;
  const std::lock_guard edit(rack_.engine.editLock);
  taken_.Clear(rack_.plan.InstanceCount());
  const std::lock_guard processing(rack_.engine.processingLock);
  rack_.plan.SwapCosts(taken_);
  readSeconds_ = reading;
  wait_ = 0;
  isOn_.store(on, std::memory_order_relaxed);
}

void ModuleLoads::SampleMeasured(const RunStopwatch& watch, RunCosts& costs) {
  costs.EndSample(watch.Passed() < kInterruption * rack_.engine.oversamplingSteps);
  constexpr double kNanosecond = 1e-9;
  const double reading = watch.Reads() * readSeconds_;
  const double sound =
      std::max(static_cast<double>(watch.Passed()) * kNanosecond - reading, kLeastSound * reading);
  const double mean = std::clamp(reading / (kReadingBudget * std::max(sound, kNanosecond)),
                                 kShortestWait, kLongestWait);
  // At random, or modules that work in blocks of their own would be met always or never. The
  // multiplier is that of a full-period generator modulo 2^32 (Knuth, The Art of Computer
  // Programming, volume 2, table 3.3.4-1).
  chance_ = chance_ * 1664525u + 1013904223u;
  const double share = chance_ / 4294967296.0;
  wait_ = static_cast<int>(mean * (0.5 + share));
}

void ModuleLoads::Update(float metered) {
  if (!IsOn()) return;
  const std::lock_guard edit(rack_.engine.editLock);
  taken_.Clear(rack_.plan.InstanceCount());
  {
    const std::lock_guard processing(rack_.engine.processingLock);
    rack_.plan.SwapCosts(taken_);
  }
  if (taken_.samples > 0) Average(metered);
}

void ModuleLoads::Forget(const Module& module) {
  averages_.erase(&module);
  std::erase_if(shares_, [&module](const Share& each) { return each.module == &module; });
}

void ModuleLoads::Average(float metered) {
  const auto samples = static_cast<double>(taken_.samples);
  const double perSample = rack_.engine.HostSampleRate() / samples;
  const double steps = rack_.engine.oversamplingSteps;
  const auto shareOf = [&](std::size_t index, double readings) {
    const double seconds = static_cast<double>(taken_.nanoseconds[index]) * 1e-9;
    return std::max(seconds - readings * samples * readSeconds_, 0.0) * perSample;
  };
  known_ = std::min(known_, kMemory) + samples;
  const double weight = samples / known_;
  const auto follow = [weight](double before, double now) {
    return before + (now - before) * weight;
  };

  std::unordered_map<const Module*, double> now;
  rack_.plan.ForEachCost([&](std::span<Module* const> instances, std::size_t index) {
    const double readings = instances.front()->oversampled ? steps : 1;
    const double each = shareOf(index, readings) / static_cast<double>(instances.size());
    for (const Module* instance : instances) {
      now[rack_.modules[0][static_cast<std::size_t>(instance->place.moduleIndex)]] += each;
    }
  });
  // The cables are carried at every step, after the last module.
  cableAverage_ = follow(cableAverage_, shareOf(taken_.nanoseconds.size() - 1, steps));
  meteredAverage_ = follow(meteredAverage_, metered);
  double sum = cableAverage_;
  for (auto& [module, share] : now) {
    const auto before = averages_.find(module);
    if (before != averages_.end()) share = follow(before->second, share);
    sum += share;
  }
  averages_ = std::move(now);
  const double scale = meteredAverage_ > 0 && sum > meteredAverage_ ? meteredAverage_ / sum : 1;
  cableShare_ = static_cast<float>(cableAverage_ * scale);
  shares_.clear();
  for (Module* module : rack_.modules[0]) {
    const auto found = averages_.find(module);
    if (found != averages_.end()) {
      shares_.push_back({module, static_cast<float>(found->second * scale)});
    }
  }
}

}  // namespace halveron
