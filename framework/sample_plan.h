// What the sample loop walks, flat and in order: the signals, the modules, the cables.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "framework/cable.h"
#include "framework/module.h"
#include "framework/rack_limits.h"
#include "framework/run_costs.h"
#include "framework/signal_store.h"
#include "framework/voice_group.h"
#include "platform/recursive_lock.h"

namespace halveron {

/// Walked by the audio thread inside the processing lock. When an edit of the patch ends, the next
/// one is prepared beside it and takes its place.
///
/// Each sample all modules run, then the cables carry. An input that one cable alone reaches costs
/// nothing of its own: it reads its origin's cell in the image of all such outputs that is taken
/// after the modules have run, which is what a copy would hold. The other inputs have a cell that
/// cables are copied and summed into.
///
/// Where a class offers a VoiceGroup, up to sixteen of its instances form a team: the voices of one
/// module, or of several modules that differ in nothing that must be alike. The cells of a point of
/// a team lie side by side, and the team runs in one call. Its state stays in the group between
/// blocks. Whoever wants to find or change the state of modules there calls PutBack first, inside
/// the processing lock.
class SamplePlan {
 public:
  using ActiveModules = std::array<std::vector<Module*>, kMaxVoices>;

  /// The rack as the next plan is to play it.
  struct Patch {
    const ActiveModules& active;
    const CableList& copying;
    const CableList& summing;
    std::span<Module* const> blockStart;  ///< those of them that are active get BlockStart
    std::span<Module* const> events;
    platform::RecursiveLock& lock;  ///< taken now and then, for as long as a few keys take to read
  };
  enum class Draw {
    kAll,     ///< lays out all signals again; reads them, so inside the processing lock
    kNearby,  ///< moves only what the edit touches, and inputs that can begin to read the image
    kStill,   ///< moves only what the edit touches
  };
  /// Where everything lies, for those who edit.
  class Layout;
  /// The next plan while the present one plays.
  class Draft;
  struct DraftDeleter {
    void operator()(Draft* draft) const;
  };
  using OwnDraft = std::unique_ptr<Draft, DraftDeleter>;

  SamplePlan();
  ~SamplePlan();
  SamplePlan(const SamplePlan&) = delete;
  SamplePlan& operator=(const SamplePlan&) = delete;

  /// An input loses a cable. Should it get the same one back before the next plan is prepared, it
  /// starts from silence like any other. Whoever edits the rack.
  void NoteUnplugged(const PatchPoint* input);
  /// Allocates. Any thread that edits the rack, one at a time.
  OwnDraft Prepare(const Patch& patch, Draw draw) const;
  /// Whether the inputs that would begin to read the image hold what they would find there; true of
  /// any draft but kNearby. Inside the processing lock.
  static bool Fits(const Draft& draft);
  /// Moves the signals that the draft places elsewhere, with their values, and puts the draft in
  /// use; it keeps what it replaces. Inside the processing lock. Its cost grows with what the edit
  /// touches, not with the rack, unless all is laid out again.
  void Swap(Draft& draft);

  /// Whether modules have changed such that they would form other teams. Any thread that edits.
  bool HasOutgrownTeams(const Patch& patch) const;
  /// Whether since the last call modules of a team came to differ while they played. Any thread.
  bool TakeTeamsBroke() { return teamsBroke_.exchange(false, std::memory_order_relaxed); }
  bool HaveTeamsBroken() const { return teamsBroke_.load(std::memory_order_relaxed); }

  /// The widest vectors that groups may use, by default the machine's; kNone runs every voice by
  /// itself. The next draft follows.
  void AllowVectors(VectorUnit unit) { unit_ = unit; }

  /// Active modules that want the start of each block, or the host's events.
  std::span<Module* const> BlockStartModules() const { return program_.blockStart; }
  std::span<Module* const> EventModules() const { return program_.events; }

  /// Around the samples of a block, `steps` of them with oversampling counted.
  void BeginBlock(int steps);
  void EndBlock();
  bool IsInBlock() const { return isInBlock_; }
  /// Between blocks: brings all state into the modules. Within one nothing happens, since it is the
  /// audio thread that calls. Inside the processing lock.
  void PutBack() {
    if (!isInBlock_ && IsAnyLoaded()) StoreGroups();
  }
  /// Before a module, or an event of the host, changes modules: brings all state into them. Within
  /// a block each instance runs by itself for the rest of it. Inside the processing lock.
  void LeaveVectors() {
    if (IsAnyLoaded()) StoreGroups();
  }
  /// While one exists, state does not stay in groups. It brings the state into the modules group by
  /// group, so that none of its holds of the processing lock is long. Any thread.
  class Recall {
   public:
    Recall(SamplePlan& plan, platform::RecursiveLock& lock);
    ~Recall() { --plan_.recalls_; }
    Recall(const Recall&) = delete;
    Recall& operator=(const Recall&) = delete;

   private:
    SamplePlan& plan_;
  };

  /// The modules that follow the oversampling, and those at the host's rate.
  void RunEveryStep() const { program_.everyStep.Run(); }
  void RunFirstStep() const { program_.firstStep.Run(); }
  void CarryCables();

  /// The same, with the time of each module and of the cables added to the costs.
  void RunEveryStep(RunStopwatch& watch) { program_.RunMeasured(program_.everyStep, watch); }
  void RunFirstStep(RunStopwatch& watch) { program_.RunMeasured(program_.firstStep, watch); }
  void CarryCables(RunStopwatch& watch) {
    CarryCables();
    watch.Charge(program_.costs, program_.modules.size());
  }
  RunCosts& Costs() { return program_.costs; }
  std::size_t InstanceCount() const { return program_.modules.size(); }
  /// Inside the processing lock, with costs for as many instances.
  void SwapCosts(RunCosts& costs) { std::swap(program_.costs, costs); }
  /// f(instances, the place of what they cost together). Whoever edits.
  template <class F>
  void ForEachCost(F&& f) const {
    for (const Stage* stage : {&program_.everyStep, &program_.firstStep}) {
      for (const ModuleRun& run : stage->runs) {
        for (std::size_t i = 0; i < run.count; ++i) {
          f(std::span(run.modules + i, 1), program_.IndexOf(run.modules + i));
        }
      }
      for (const Team& team : stage->teams) {
        f(std::span(team.single.modules, team.single.count), program_.IndexOf(team.single.modules));
      }
    }
  }

  /// Inputs that are copied or summed into, of those with cables; a line of a team counts as one.
  std::size_t CarriedInputs() const {
    return program_.fills.size() + program_.gathers.size() + program_.copies.size() +
           program_.rowSums.size();
  }
  /// Modules that the present block runs in vectors, with all their voices.
  std::size_t VectorRows() const {
    return program_.everyStep.VectorRows() + program_.firstStep.VectorRows();
  }

 private:
  friend class PlanBuilder;

  /// Modules of a class that run in one call.
  struct ModuleRun {
    Module::RunFunction run;
    Module* const* modules;
    std::size_t count;
  };
  /// Instances of a class that has groups.
  struct Team {
    VoiceGroup* group;  ///< null if they always run by themselves
    ModuleRun single;
    std::size_t rows;  ///< modules, each with all its voices
    bool stays;        ///< its group keeps the state between blocks
    bool inVectors = false;
    bool isLoaded = false;  ///< the state is in the group
    bool fitted = true;     ///< in the last block that was long enough

    void Store() {
      if (!isLoaded) return;
      isLoaded = false;
      group->Store();
      group->ShowLamps();
    }
    void Run() const {
      if (inVectors) {
        group->Run();
      } else {
        single.run(single.modules, single.count);
      }
    }
  };
  struct Stage {
    std::vector<ModuleRun> runs;
    std::vector<Team> teams;

    void Run() const {
      for (const ModuleRun& each : runs) each.run(each.modules, each.count);
      // The same order with and without vectors, since some draw from the same random numbers. It
      // is not that of the active list.
      for (const Team& team : teams) team.Run();
    }
    std::size_t VectorRows() const;
  };
  struct ImageSpan {
    SignalLine* image;
    const SignalLine* outs;
    std::size_t lines;
  };
  struct SignalMove {
    float* to;
    const float* from;
  };
  /// Lines that a group of the fitting width fills.
  struct GatherRun {
    const VoiceGroup* by;
    std::size_t first, count;
  };
  struct RowSum {
    float* to;
    const float* from;
    std::size_t count;
  };
  /// All that the audio thread walks.
  struct Program {
    Stage everyStep, firstStep;
    std::vector<Module*> modules;  // what the runs point into
    std::vector<Module*> blockStart, events;
    std::vector<ImageSpan> images;
    std::vector<SignalMove> fills;    // one output into all lanes of an input
    std::vector<LineGather> gathers;  // cells into the lanes of an input
    std::vector<GatherRun> gatherRuns;
    std::vector<SignalMove> copies;  // one cell into another
    std::vector<RowSum> rowSums;     // the voices of an output into one input
    std::vector<SignalMove> sums;    // what is added to a copied cell, in order
    RunCosts costs;

    std::size_t IndexOf(Module* const* instance) const {
      return static_cast<std::size_t>(instance - modules.data());
    }
    void RunMeasured(const Stage& stage, RunStopwatch& watch);
  };

  bool IsAnyLoaded() const { return isAnyLoaded_.load(std::memory_order_relaxed); }
  void StoreGroups();
  void BeginTeam(Team& team, int steps);
  /// The team of a number, null beyond the last.
  Team* TeamAt(std::size_t index);

  Program program_;
  std::unique_ptr<Layout> layout_;
  std::atomic<bool> teamsBroke_ = false;
  bool isInBlock_ = false;
  // Of blocks since somebody last wanted the state in the modules, the present one included; what
  // lies beyond kFewestSteps is not kept.
  int stepsAtRest_ = 0;
  std::atomic<bool> isAnyLoaded_ = false;
  std::atomic<int> recalls_ = 0;
  VectorUnit unit_ = WidestVectorUnit();
};

}  // namespace halveron
