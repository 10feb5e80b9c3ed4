#include "framework/sample_plan.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "framework/plan_builder.h"
#include "framework/plan_layout.h"
#include "framework/team_builder.h"

namespace halveron {

namespace {

/// For fewer steps it does not pay to take up state and put it back.
constexpr int kFewestSteps = 8;

constexpr std::size_t kLine = SignalStore::kLine;

}  // namespace

void SamplePlan::DraftDeleter::operator()(Draft* draft) const { delete draft; }

SamplePlan::SamplePlan() : layout_(std::make_unique<Layout>()) {}

SamplePlan::~SamplePlan() = default;

void SamplePlan::NoteUnplugged(const PatchPoint* input) { layout_->unplugged.insert(input); }

SamplePlan::OwnDraft SamplePlan::Prepare(const Patch& patch, Draw draw) const {
  OwnDraft draft = BuildPlan(*layout_, patch, draw, unit_);
  draft->program.costs.Clear(draft->program.modules.size());
  return draft;
}

bool SamplePlan::HasOutgrownTeams(const Patch& patch) const {
  const auto voicesOf = [](const std::vector<PlanRow>& rows) {
    std::vector<std::vector<Module*>> voices;
    for (const PlanRow& row : rows) voices.push_back(row.voices);
    std::sort(voices.begin(), voices.end());
    return voices;
  };
  return voicesOf(FormTeams(patch, layout_->rows, unit_)) != voicesOf(layout_->rows);
}

bool SamplePlan::Fits(const Draft& draft) {
  return std::all_of(draft.conditions.begin(), draft.conditions.end(),
                     [](const Draft::Condition& each) {
                       const float expected = each.sameAs ? float{each.sameAs->in} : *each.image;
                       return HaveSameBits(each.reader->in, expected);
                     });
}

void SamplePlan::Swap(Draft& draft) {
  PutBack();
  // Lanes without a voice are computed, too. Not before: the present plan's image is copied by
  // whole blocks.
  for (const SignalStore::Place& line : draft.newLines) {
    std::fill_n(line.Cell(), kLine, 0.0f);
    if (line.ImageCell()) std::fill_n(line.ImageCell(), kLine, 0.0f);
  }
  for (const Draft::Move& move : draft.outs) {
    move.point->PlaceOut(move.cell);
    if (move.image) *move.image = move.point->out;
  }
  for (const Draft::Move& move : draft.readers) {
    // Goes on with what the input holds, whatever its origin has written since.
    const float held = move.point->in;
    move.point->Withdraw();
    *move.image = held;
    move.point->ReadAt(move.cell);
  }
  for (const Draft::Move& move : draft.ins) move.point->PlaceIn(move.cell);
  for (const Draft::Move& move : draft.eithers) move.point->PlaceBoth(move.cell);
  for (PatchPoint* point : draft.leaving) point->Withdraw();
  std::swap(program_, draft.program);
  std::swap(*layout_, draft.layout);
}

std::size_t SamplePlan::Stage::VectorRows() const {
  std::size_t rows = 0;
  for (const Team& team : teams) rows += team.inVectors ? team.rows : 0;
  return rows;
}

void SamplePlan::BeginTeam(Team& team, int steps) {
  if (!team.group || team.isLoaded) return;
  const bool pays = steps > 0 && (team.stays ? stepsAtRest_ : steps) >= kFewestSteps;
  team.inVectors = team.isLoaded = pays && team.group->Load();
  if (team.isLoaded) isAnyLoaded_.store(true, std::memory_order_relaxed);
  if (!pays || team.rows < 2) return;
  if (team.fitted && !team.inVectors) teamsBroke_.store(true, std::memory_order_relaxed);
  team.fitted = team.inVectors;
}

void SamplePlan::BeginBlock(int steps) {
  isInBlock_ = true;
  stepsAtRest_ = std::min(stepsAtRest_, kFewestSteps) + steps;
  for (Stage* stage : {&program_.everyStep, &program_.firstStep}) {
    for (Team& team : stage->teams) BeginTeam(team, steps);
  }
}

void SamplePlan::EndBlock() {
  isInBlock_ = false;
  if (recalls_.load(std::memory_order_relaxed) > 0) {
    PutBack();
    return;
  }
  bool isAnyLoaded = false;
  for (Stage* stage : {&program_.everyStep, &program_.firstStep}) {
    for (Team& team : stage->teams) {
      if (!team.isLoaded) continue;
      team.stays ? team.group->ShowLamps() : team.Store();
      isAnyLoaded |= team.isLoaded;
    }
  }
  isAnyLoaded_.store(isAnyLoaded, std::memory_order_relaxed);
}

void SamplePlan::StoreGroups() {
  for (Stage* stage : {&program_.everyStep, &program_.firstStep}) {
    for (Team& team : stage->teams) {
      if (isInBlock_) team.inVectors = false;
      team.Store();
    }
  }
  isAnyLoaded_.store(false, std::memory_order_relaxed);
  stepsAtRest_ = 0;
}

SamplePlan::Team* SamplePlan::TeamAt(std::size_t index) {
  for (Stage* stage : {&program_.everyStep, &program_.firstStep}) {
    if (index < stage->teams.size()) return &stage->teams[index];
    index -= stage->teams.size();
  }
  return nullptr;
}

SamplePlan::Recall::Recall(SamplePlan& plan, platform::RecursiveLock& lock) : plan_(plan) {
  ++plan.recalls_;
  bool isDone = false;
  for (std::size_t next = 0; !isDone && plan.IsAnyLoaded(); ++next) {
    const std::lock_guard hold(lock);
    // A block that came between has put the rest back as it ended.
    Team* team = plan.isInBlock_ ? nullptr : plan.TeamAt(next);
    if (team) team->Store();
    isDone = !team;
    if (isDone) plan.PutBack();
  }
}

/// Instances that run one after the other are measured one by one: those of libraries have one
/// function whatever their class, and others may differ in what they do.
void SamplePlan::Program::RunMeasured(const Stage& stage, RunStopwatch& watch) {
  for (const ModuleRun& each : stage.runs) {
    for (std::size_t i = 0; i < each.count; ++i) {
      each.run(each.modules + i, 1);
      watch.Charge(costs, IndexOf(each.modules + i));
    }
  }
  for (const Team& team : stage.teams) {
    team.Run();
    watch.Charge(costs, IndexOf(team.single.modules));
  }
}

void SamplePlan::CarryCables() {
  for (const ImageSpan& span : program_.images) std::copy_n(span.outs, span.lines, span.image);
  for (const SignalMove& fill : program_.fills) std::fill_n(fill.to, kLine, *fill.from);
  for (const GatherRun& run : program_.gatherRuns) {
    run.by->Gather(std::span(program_.gathers).subspan(run.first, run.count));
  }
  for (const SignalMove& copy : program_.copies) *copy.to = *copy.from;
  for (const RowSum& row : program_.rowSums) {
    float sum = row.from[0];
    for (std::size_t i = 1; i < row.count; ++i) sum += row.from[i];
    *row.to = sum;
  }
  for (const SignalMove& sum : program_.sums) *sum.to += *sum.from;
}

}  // namespace halveron
