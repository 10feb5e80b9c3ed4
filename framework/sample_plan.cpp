#include "framework/sample_plan.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

#include "dsp/pack.h"

namespace halveron {

namespace {

/// Fewer voices are as fast by themselves.
constexpr std::size_t kFewestVoices = 3;
/// In shorter blocks it does not pay to take up state and put it back.
constexpr int kFewestSteps = 8;

constexpr std::size_t kLine = kMaxVoices;

/// The narrowest unit that has a lane for each voice: idle lanes cost as much as others.
VectorUnit UnitFor(std::size_t voices, VectorUnit widest) {
  const VectorUnit enough = voices <= dsp::kLanesOf<dsp::Sse2>   ? VectorUnit::kSse2
                            : voices <= dsp::kLanesOf<dsp::Avx2> ? VectorUnit::kAvx2
                                                                 : VectorUnit::kAvx512;
  return std::min(enough, widest);
}

bool HaveSameBits(float a, float b) {
  return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

/// Assigns offsets to cells; the memory is allocated when all are known.
class CellAllotment {
 public:
  std::size_t Take(std::size_t cells) { return std::exchange(used_, used_ + cells); }
  std::size_t TakeLine() {
    used_ = (used_ + kLine - 1) / kLine * kLine;
    return Take(kLine);
  }
  std::size_t Lines() const { return (used_ + kLine - 1) / kLine; }

 private:
  std::size_t used_ = 0;
};

float* CellsOf(std::vector<SignalLine>& lines) {
  return lines.empty() ? nullptr : lines.front().cells.data();
}

}  // namespace

/// Builds a plan once.
class PlanBuilder {
 public:
  PlanBuilder(SamplePlan& plan, const SamplePlan::ActiveModules& active) : plan_(plan) {
    CollectRows(active);
    NumberPoints();
  }

  void CollectFeeds(const CableList& copying, const CableList& summing) {
    for (const bool sums : {false, true}) {
      for (const Cable* cable = (sums ? summing : copying).head; cable; cable = cable->next) {
        if (!IsPlanned(cable->destination) || !IsPlanned(cable->origin)) continue;
        State& to = StateOf(cable->destination);
        // A sum whose copying cable has gone would add to its own last value; it is copied.
        if (!sums || to.feeds.empty()) to.copied = true;
        to.feeds.push_back(cable->origin);
      }
    }
  }

  /// An input may read the image if a single cable of fixed ends reaches it and it holds its
  /// origin's value at this moment; otherwise it would see a new cable's signal one sample early.
  void ChooseReaders() {
    for (State& state : points_) {
      state.readsImage = state.point->type == kInputPoint && state.copied &&
                         state.feeds.size() == 1 && state.feeds[0]->type == kOutputPoint &&
                         HaveSameBits(state.point->in, state.feeds[0]->out);
    }
    for (const Row& row : rows_) {
      if (!row.maker) continue;
      ForEachPointRow(row, [&](std::size_t place) {
        if (ReadsWholeRow(row, place)) return;
        for (Module* voice : row.voices) StateOf(voice->Points()[place]).readsImage = false;
      });
    }
    for (const State& state : points_) {
      if (state.readsImage) StateOf(state.feeds[0]).hasImage = true;
    }
  }

  void LaySignals() {
    CellAllotment outs, ins;
    LayOutputs(outs, true);
    const std::size_t imageLines = outs.Lines();
    outs.TakeLine();  // outputs without an image begin in a line of their own
    LayOutputs(outs, false);
    LayInputs(ins);

    std::vector<SignalLine> newOuts(outs.Lines()), newPast(imageLines), newIns(ins.Lines());
    for (State& state : points_) {
      PatchPoint& point = *state.point;
      if (point.type == kEitherPoint) {
        point.PlaceBoth(CellsOf(newIns) + state.offset);
      } else if (point.type == kOutputPoint) {
        point.PlaceOut(CellsOf(newOuts) + state.offset);
      } else if (state.readsImage) {
        point.Withdraw();
      } else {
        point.PlaceIn(CellsOf(newIns) + state.offset);
      }
    }
    std::copy_n(newOuts.begin(), imageLines, newPast.begin());
    for (State& state : points_) {
      if (state.readsImage) state.point->ReadAt(CellsOf(newPast) + StateOf(state.feeds[0]).offset);
    }
    plan_.outs_ = std::move(newOuts);
    plan_.past_ = std::move(newPast);
    plan_.ins_ = std::move(newIns);
  }

  void PlanCables() {
    plan_.fills_.clear();
    plan_.copies_.clear();
    plan_.rowSums_.clear();
    plan_.sums_.clear();
    for (const Row& row : rows_) {
      ForEachPointRow(row, [&](std::size_t place) {
        if (row.maker && IsFedByOne(row, place)) {
          PatchPoint* first = row.voices.front()->Points()[place];
          plan_.fills_.push_back({first->in.Address(), StateOf(first).feeds[0]->out.Address()});
          return;
        }
        for (Module* voice : row.voices) PlanInput(StateOf(voice->Points()[place]));
      });
    }
  }

  void PlanModules() {
    std::vector<const Row*> ordered;
    for (const Row& row : rows_) ordered.push_back(&row);
    // Ordered by the functions' addresses: any order sounds the same.
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const Row* a, const Row* b) { return a->Key() < b->Key(); });
    plan_.modules_.clear();
    for (const Row* row : ordered) {
      plan_.modules_.insert(plan_.modules_.end(), row->voices.begin(), row->voices.end());
    }
    plan_.voiceRows_.clear();
    SamplePlan::Stage& every = plan_.everyStep_ = {};
    SamplePlan::Stage& first = plan_.firstStep_ = {};
    Module* const* next = plan_.modules_.data();
    const Row* last = nullptr;
    for (const Row* row : ordered) {
      const Module& module = *row->voices.front();
      const SamplePlan::ModuleRun run{module.GetRunFunction(), next, row->voices.size()};
      next += row->voices.size();
      SamplePlan::Stage& stage = module.oversampled ? every : first;
      if (row->maker) {
        plan_.voiceRows_.push_back({row->maker(row->voices), run, module.oversampled});
      } else if (last && last->Key() == row->Key()) {
        stage.runs.back().count += run.count;
      } else {
        stage.runs.push_back(run);
      }
      last = row->maker ? nullptr : row;
    }
    for (SamplePlan::Stage* stage : {&every, &first}) {
      stage->fixedRuns = stage->runs.size();
      stage->runs.reserve(stage->fixedRuns + plan_.voiceRows_.size());
      stage->groups.reserve(plan_.voiceRows_.size());
    }
  }

 private:
  /// A module with its voices; one voice if it is mono.
  struct Row {
    std::vector<Module*> voices;
    VoiceGroupMaker maker = nullptr;

    std::pair<bool, std::uintptr_t> Key() const {
      return {voices.front()->oversampled,
              reinterpret_cast<std::uintptr_t>(voices.front()->GetRunFunction())};
    }
  };
  struct State {
    PatchPoint* point = nullptr;
    std::size_t row = 0;
    std::size_t place = 0;  // among the points of its module
    std::vector<PatchPoint*> feeds;
    bool copied = false;  // the first of the feeds is a copy, not a sum
    bool readsImage = false;
    bool hasImage = false;
    std::size_t offset = 0;
  };

  State& StateOf(const PatchPoint* point) {
    return points_[static_cast<std::size_t>(point->planIndex)];
  }

  /// A module with a cable is active, so this holds for both ends of each.
  bool IsPlanned(const PatchPoint* point) const {
    const auto index = static_cast<std::size_t>(point->planIndex);
    return index < points_.size() && points_[index].point == point;
  }

  template <class F>
  static void ForEachPointRow(const Row& row, F&& f) {
    for (std::size_t place = 0; place < row.voices.front()->Points().size(); ++place) f(place);
  }

  void CollectRows(const SamplePlan::ActiveModules& active) {
    std::vector<std::size_t> rowOf;  // by module index
    for (const std::vector<Module*>& ofVoice : active) {
      for (Module* module : ofVoice) {
        const auto index = static_cast<std::size_t>(module->place.moduleIndex);
        if (rowOf.size() <= index) rowOf.resize(index + 1, SIZE_MAX);
        // A voice joins its row if all voices below it have, and runs at the same rate.
        Row* row = rowOf[index] == SIZE_MAX ? nullptr : &rows_[rowOf[index]];
        if (!row || row->voices.size() != static_cast<std::size_t>(module->voice) ||
            row->voices.front()->oversampled != module->oversampled) {
          if (!row) rowOf[index] = rows_.size();
          row = &rows_.emplace_back();
        }
        row->voices.push_back(module);
      }
    }
    for (Row& row : rows_) {
      if (row.voices.size() < kFewestVoices) continue;
      row.maker = row.voices.front()->GetVoiceGroupMaker(UnitFor(row.voices.size(), plan_.unit_));
    }
  }

  void NumberPoints() {
    for (std::size_t row = 0; row < rows_.size(); ++row) {
      for (const Module* voice : rows_[row].voices) {
        for (std::size_t place = 0; place < voice->Points().size(); ++place) {
          PatchPoint* point = voice->Points()[place];
          point->planIndex = static_cast<int>(points_.size());
          points_.push_back({.point = point, .row = row, .place = place, .feeds = {}});
        }
      }
    }
  }

  /// Whether each voice of an input reads the same voice of one output.
  bool ReadsWholeRow(const Row& row, std::size_t place) {
    const State* firstFeed = nullptr;
    for (std::size_t voice = 0; voice < row.voices.size(); ++voice) {
      const State& state = StateOf(row.voices[voice]->Points()[place]);
      if (!state.readsImage) return false;
      const State& feed = StateOf(state.feeds[0]);
      if (voice == 0) firstFeed = &feed;
      const std::vector<Module*>& origins = rows_[feed.row].voices;
      if (feed.row != firstFeed->row || feed.place != firstFeed->place || voice >= origins.size() ||
          origins[voice]->Points()[feed.place] != state.feeds[0]) {
        return false;
      }
    }
    return true;
  }

  /// Whether one output alone is copied into all voices of an input.
  bool IsFedByOne(const Row& row, std::size_t place) {
    const State& first = StateOf(row.voices.front()->Points()[place]);
    return std::all_of(row.voices.begin(), row.voices.end(), [&](const Module* voice) {
      const State& state = StateOf(voice->Points()[place]);
      return state.copied && !state.readsImage && state.point->type == kInputPoint &&
             state.feeds.size() == 1 && state.feeds[0] == first.feeds[0];
    });
  }

  /// Rows of several voices in lines, then single points side by side.
  void LayOutputs(CellAllotment& cells, bool withImage) {
    for (const bool inLines : {true, false}) {
      for (const Row& row : rows_) {
        if ((row.voices.size() > 1) != inLines) continue;
        ForEachPointRow(row, [&](std::size_t place) {
          const PatchPoint* first = row.voices.front()->Points()[place];
          if (first->type != kOutputPoint || HasImage(row, place) != withImage) return;
          const std::size_t offset = inLines ? cells.TakeLine() : cells.Take(1);
          SetOffsets(row, place, offset);
        });
      }
    }
  }

  void LayInputs(CellAllotment& cells) {
    for (const Row& row : rows_) {
      ForEachPointRow(row, [&](std::size_t place) {
        const PatchPoint* first = row.voices.front()->Points()[place];
        if (first->type == kEitherPoint) {
          for (const Module* voice : row.voices) {
            StateOf(voice->Points()[place]).offset = cells.Take(2);
          }
        } else if (first->type == kInputPoint) {
          SetOffsets(row, place, row.maker ? cells.TakeLine() : cells.Take(row.voices.size()));
        }
      });
    }
  }

  bool HasImage(const Row& row, std::size_t place) {
    return std::any_of(row.voices.begin(), row.voices.end(), [&](const Module* voice) {
      return StateOf(voice->Points()[place]).hasImage;
    });
  }

  void SetOffsets(const Row& row, std::size_t place, std::size_t offset) {
    for (const Module* voice : row.voices) StateOf(voice->Points()[place]).offset = offset++;
  }

  void PlanInput(const State& state) {
    if (state.readsImage || state.feeds.empty()) return;
    float* to = state.point->in.Address();
    if (state.copied && state.feeds.size() > 1 && LieSideBySide(state.feeds)) {
      plan_.rowSums_.push_back({to, state.feeds[0]->out.Address(), state.feeds.size()});
      return;
    }
    for (std::size_t i = 0; i < state.feeds.size(); ++i) {
      const bool copies = i == 0 && state.copied;
      (copies ? plan_.copies_ : plan_.sums_).push_back({to, state.feeds[i]->out.Address()});
    }
  }

  static bool LieSideBySide(const std::vector<PatchPoint*>& points) {
    for (std::size_t i = 0; i < points.size(); ++i) {
      if (points[i]->out.Address() != points[0]->out.Address() + i) return false;
    }
    return true;
  }

  SamplePlan& plan_;
  std::vector<Row> rows_;
  std::vector<State> points_;
};

void SamplePlan::Build(const ActiveModules& active, const CableList& copying,
                       const CableList& summing) {
  PlanBuilder builder(*this, active);
  builder.CollectFeeds(copying, summing);
  builder.ChooseReaders();
  builder.LaySignals();
  builder.PlanCables();
  builder.PlanModules();
}

void SamplePlan::BeginBlock(int steps) {
  for (Stage* stage : {&everyStep_, &firstStep_}) {
    stage->runs.resize(stage->fixedRuns);
    stage->groups.clear();
  }
  for (const VoiceRow& row : voiceRows_) {
    Stage& stage = row.everyStep ? everyStep_ : firstStep_;
    if (steps >= kFewestSteps && row.group->Load()) {
      stage.groups.push_back(row.group.get());
    } else {
      stage.runs.push_back(row.single);
    }
  }
}

void SamplePlan::EndBlock() {
  for (Stage* stage : {&everyStep_, &firstStep_}) {
    for (VoiceGroup* group : stage->groups) group->Store();
  }
}

void SamplePlan::CarryCables() {
  std::copy_n(outs_.data(), past_.size(), past_.data());
  for (const SignalMove& fill : fills_) std::fill_n(fill.to, kLine, *fill.from);
  for (const SignalMove& copy : copies_) *copy.to = *copy.from;
  for (const RowSum& row : rowSums_) {
    float sum = row.from[0];
    for (std::size_t i = 1; i < row.count; ++i) sum += row.from[i];
    *row.to = sum;
  }
  for (const SignalMove& sum : sums_) *sum.to += *sum.from;
}

}  // namespace halveron
