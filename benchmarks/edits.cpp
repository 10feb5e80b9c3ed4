#include <benchmark/benchmark.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/lock_probe.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"

namespace halveron::benchmarks {

namespace {

constexpr int kVoices = 16;
constexpr int kModules = 100;
constexpr int kShortBlock = 16;  // enough for signals to pass between two edits
constexpr int kRounds = 200;
constexpr const char* kKinds[] = {"S310 VCO", "S212 VCF", "S404 VCA", "S500 ADSR", "S101 Mixer"};
constexpr int kKindCount = 5;

/// A full rack of polyphonic modules in chains, playing, whose edits are timed.
class EditRig : public RackRig {
 public:
  EditRig() : RackRig(kShortBlock) {
    Rack().voices.ApplyVoiceCount(kVoices);
    for (int i = 0; i < kModules; ++i) modules_.push_back(&Add(kKinds[i % kKindCount]));
    for (int i = 0; i + 1 < kModules; ++i) Connect(i, i + 1);
    for (int block = 0; block < 4; ++block) RunBlock();
    if (Rack().cables.cableList.size() != kVoices * (kModules - 1)) {
      throw std::logic_error("the rack of the edits lacks cables");
    }
  }

  /// How long the edit takes, and the longest time for which it holds the lock of the audio thread,
  /// which has just played.
  template <class Edit>
  void Measure(Edit&& edit) {
    RunBlock();
    const LockProbe probe(Rack().engine.processingLock);
    edits_.push_back(SecondsOf(edit));
    holds_.push_back(probe.LongestSeconds());
  }

  /// From the first output of a module to an input of another.
  void Connect(int from, int to, std::size_t input = 0) {
    Rack().cables.ConnectCable(PointOf(to, kInputPoint, input), PointOf(from, kOutputPoint, 0), 1,
                               -1);
  }
  PatchPoint* PointOf(int module, int type, std::size_t number) {
    for (PatchPoint* point : modules_[static_cast<std::size_t>(module)]->Points()) {
      if (point->type == type && number-- == 0) return point;
    }
    return nullptr;
  }
  /// The number of a mixer, another one in each round.
  static int MixerOf(int round) { return round * kKindCount % kModules + kKindCount - 1; }
  Module*& ModuleAt(int index) { return modules_[static_cast<std::size_t>(index)]; }

  void Report(benchmark::State& state) const {
    state.counters[kLockMicroseconds] = Median(holds_) * 1e6;
    state.counters[kLongestLockMicroseconds] =
        *std::max_element(holds_.begin(), holds_.end()) * 1e6;
    state.counters[kMilliseconds] = Median(edits_) * 1e3;
  }

 private:
  std::vector<Module*> modules_;
  std::vector<double> edits_, holds_;
};

void AddCable(EditRig& rig, int round) {
  const int mixer = EditRig::MixerOf(round);
  rig.Measure([&] { rig.Connect((mixer + 37) % kModules, mixer, 1); });
  rig.RunBlock();
  rig.Rack().cables.RemoveCable(rig.PointOf(mixer, kInputPoint, 1)->firstCable, kAllVoices, false);
}

void RemoveCable(EditRig& rig, int round) {
  const int mixer = EditRig::MixerOf(round);
  rig.Connect((mixer + 37) % kModules, mixer, 1);
  rig.RunBlock();
  rig.Measure([&] {
    rig.Rack().cables.RemoveCable(rig.PointOf(mixer, kInputPoint, 1)->firstCable, kAllVoices,
                                  false);
  });
}

/// From an input to the next, as the mouse does.
void MoveCable(EditRig& rig, int round) {
  const int mixer = EditRig::MixerOf(round);
  rig.Connect((mixer + 37) % kModules, mixer, 1);
  rig.RunBlock();
  rig.Measure([&] {
    rig.Rack().cables.BeginCableDrag(rig.PointOf(mixer, kInputPoint, 1));
    rig.Rack().cables.DropCable(rig.PointOf(mixer, kInputPoint, 2));
  });
  rig.RunBlock();
  rig.Rack().cables.RemoveCable(rig.PointOf(mixer, kInputPoint, 2)->firstCable, kAllVoices, false);
}

void AddModule(EditRig& rig, int round) {
  Module* module = nullptr;
  rig.Measure([&] { module = &rig.Add(kKinds[round % kKindCount]); });
  rig.Rack().RemoveModule(module, true);
}

/// The first cable of a module sets it going.
void CableFirst(EditRig& rig, int round) {
  Module& module = rig.Add(kKinds[round % kKindCount]);
  PatchPoint* input = nullptr;
  for (PatchPoint* point : module.Points()) {
    if (!input && point->type == kInputPoint) input = point;
  }
  rig.Measure([&] {
    rig.Rack().cables.ConnectCable(input, rig.PointOf(round % kModules, kOutputPoint, 0), 1, -1);
  });
  rig.Rack().RemoveModule(&module, true);
}

/// From the middle of a chain.
void RemoveModule(EditRig& rig, int round) {
  const int index = 1 + round % (kModules - 2);
  rig.Measure([&] { rig.Rack().RemoveModule(rig.ModuleAt(index), true); });
  rig.ModuleAt(index) = &rig.Add(kKinds[index % kKindCount]);
  rig.Connect(index - 1, index);
  rig.Connect(index, index + 1);
}

/// What a module does to its state when a control of its panel has moved.
void PanelLogic(EditRig& rig, int round) {
  rig.Measure([&] { const ProcessingSection section(*rig.ModuleAt(round % kModules)); });
}

void Register(const std::string& name, void (*edit)(EditRig&, int round)) {
  benchmark::RegisterBenchmark(("edit/" + name).c_str(), [edit](benchmark::State& state) {
    EditRig rig;
    for ([[maybe_unused]] auto _ : state) {
      for (int round = 0; round < kRounds; ++round) edit(rig, round);
    }
    rig.Report(state);
  })->Iterations(1);
}

}  // namespace

void RegisterEdits() {
  Register("add a cable", AddCable);
  Register("remove a cable", RemoveCable);
  Register("move a cable", MoveCable);
  Register("add a module", AddModule);
  Register("first cable of a module", CableFirst);
  Register("remove a module", RemoveModule);
  Register("panel logic", PanelLogic);
}

}  // namespace halveron::benchmarks
