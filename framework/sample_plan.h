// What the sample loop walks, flat and in order: the signals, the modules, the cables.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "framework/cable.h"
#include "framework/module.h"
#include "framework/rack_limits.h"
#include "framework/voice_group.h"

namespace halveron {

/// Signals side by side: the voices of one point, or sixteen points of mono modules.
struct alignas(64) SignalLine {
  std::array<float, kMaxVoices> cells{};
};

/// Rebuilt when an edit of the patch ends, inside the processing lock; walked by the audio
/// thread.
///
/// Each sample all modules run, then the cables carry. An input that one cable alone reaches costs
/// nothing of its own: it reads its origin's cell in the image of all such outputs that is taken
/// after the modules have run, which is what a copy would hold. The other inputs have a cell that
/// cables are copied and summed into.
///
/// The cells of a point's voices lie side by side. Where a class offers a VoiceGroup, it runs all
/// voices of a module in one call.
class SamplePlan {
 public:
  using ActiveModules = std::array<std::vector<Module*>, kMaxVoices>;

  /// Lays out all signals, which keep their values, and the calls. Allocates.
  void Build(const ActiveModules& active, const CableList& copying, const CableList& summing);

  /// The widest vectors that groups may use, by default the machine's; kNone runs every voice by
  /// itself. The next Build follows.
  void AllowVectors(VectorUnit unit) { unit_ = unit; }

  /// Around the samples of a block, `steps` of them with oversampling counted.
  void BeginBlock(int steps);
  void EndBlock();

  /// The modules that follow the oversampling, and those at the host's rate.
  void RunEveryStep() const { everyStep_.Run(); }
  void RunFirstStep() const { firstStep_.Run(); }
  void CarryCables();

  /// Inputs that are copied or summed into, of those with cables.
  std::size_t CarriedInputs() const { return fills_.size() + copies_.size() + rowSums_.size(); }
  /// Module rows that the present block runs in vectors.
  std::size_t VectorRows() const { return everyStep_.groups.size() + firstStep_.groups.size(); }

 private:
  friend class PlanBuilder;

  /// Modules of a class that run in one call.
  struct ModuleRun {
    Module::RunFunction run;
    Module* const* modules;
    std::size_t count;
  };
  struct Stage {
    std::vector<ModuleRun> runs;
    std::vector<VoiceGroup*> groups;
    std::size_t fixedRuns = 0;  // those that do not depend on the block

    void Run() const {
      for (const ModuleRun& each : runs) each.run(each.modules, each.count);
      for (VoiceGroup* group : groups) group->Run();
    }
  };
  /// A module of several voices that can run in vectors, and how it runs without.
  struct VoiceRow {
    std::unique_ptr<VoiceGroup> group;
    ModuleRun single;
    bool everyStep;
  };
  struct SignalMove {
    float* to;
    const float* from;
  };
  struct RowSum {
    float* to;
    const float* from;
    std::size_t count;
  };

  Stage everyStep_, firstStep_;
  std::vector<VoiceRow> voiceRows_;
  std::vector<Module*> modules_;  // what the runs point into

  std::vector<SignalLine> outs_;    // first those whose image is read
  std::vector<SignalLine> past_;    // their image
  std::vector<SignalLine> ins_;     // inputs that are carried into, and either-way points
  std::vector<SignalMove> fills_;   // one output into all voices of an input
  std::vector<SignalMove> copies_;  // one cell into another
  std::vector<RowSum> rowSums_;     // the voices of an output into one input
  std::vector<SignalMove> sums_;    // what is added to a copied cell, in order

  VectorUnit unit_ = WidestVectorUnit();
};

}  // namespace halveron
