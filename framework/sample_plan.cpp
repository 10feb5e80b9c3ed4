#include "framework/sample_plan.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <map>
#include <mutex>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "dsp/pack.h"

namespace halveron {

namespace {

/// Fewer instances are as fast by themselves.
constexpr std::size_t kFewestLanes = 3;
/// Fewer cables into the lanes of an input are as fast one by one.
constexpr int kFewestGathered = 3;
/// Instances whose keys are read in one hold of the lock.
constexpr std::size_t kKeysInAHold = 48;
/// In shorter blocks it does not pay to take up state and put it back.
constexpr int kFewestSteps = 8;
/// Inputs that one edit may turn to the image beside what it changes; the others follow with later
/// edits. Each costs time in the lock.
constexpr std::size_t kMostNewReaders = 64;

constexpr std::size_t kLine = SignalStore::kLine;

/// The narrowest unit that has a lane for each instance: idle lanes cost as much as others.
VectorUnit UnitFor(std::size_t lanes, VectorUnit widest) {
  const VectorUnit enough = lanes <= dsp::kLanesOf<dsp::Sse2>   ? VectorUnit::kSse2
                            : lanes <= dsp::kLanesOf<dsp::Avx2> ? VectorUnit::kAvx2
                                                                : VectorUnit::kAvx512;
  return std::min(enough, widest);
}

bool HaveSameBits(float a, float b) {
  return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

std::vector<Module*> ActiveOf(std::span<Module* const> modules) {
  std::vector<Module*> active;
  std::copy_if(modules.begin(), modules.end(), std::back_inserter(active),
               [](const Module* module) { return module->place.activeIndex != -1; });
  return active;
}

/// A module with those of its voices that run at one rate; one voice if it is mono.
struct ModuleRow {
  std::vector<Module*> voices;
  VoiceGroupMaker joins = nullptr;  // what names the class, if its modules may share a team
  std::uint64_t key = 0;            // of what must be alike for that
  bool isPlaced = false;

  auto TeamKey() const {
    return std::tuple(reinterpret_cast<std::uintptr_t>(joins), voices.front()->oversampled, key);
  }
};

/// The module rows of a patch.
std::vector<ModuleRow> ModuleRowsOf(const SamplePlan::ActiveModules& active) {
  std::vector<ModuleRow> rows;
  std::vector<std::size_t> rowOf;  // by module index
  for (const std::vector<Module*>& ofVoice : active) {
    for (Module* module : ofVoice) {
      const auto index = static_cast<std::size_t>(module->place.moduleIndex);
      if (rowOf.size() <= index) rowOf.resize(index + 1, SIZE_MAX);
      // A voice joins its row if all voices below it have, and runs at the same rate.
      ModuleRow* row = rowOf[index] == SIZE_MAX ? nullptr : &rows[rowOf[index]];
      if (!row || row->voices.size() != static_cast<std::size_t>(module->voice) ||
          row->voices.front()->oversampled != module->oversampled) {
        if (!row) rowOf[index] = rows.size();
        row = &rows.emplace_back();
      }
      row->voices.push_back(module);
    }
  }
  return rows;
}

/// What names a class that has groups.
VoiceGroupMaker ClassOf(const Module& module) {
  return module.GetVoiceGroupMaker(VectorUnit::kSse2);
}

/// Finds the rows that may share a team with others, and reads their keys in short holds of the
/// lock. Rows whose own voices differ stay alone.
void ReadKeys(std::vector<ModuleRow>& rows, platform::RecursiveLock& lock) {
  std::map<VoiceGroupMaker, std::vector<ModuleRow*>> classes;
  for (ModuleRow& row : rows) {
    if (row.voices.size() >= kLine) continue;
    if (const VoiceGroupMaker named = ClassOf(*row.voices.front())) classes[named].push_back(&row);
  }
  for (const auto& [named, members] : classes) {
    if (members.size() < 2) continue;
    const OwnVoiceGroup reader = named({});
    if (!reader) continue;
    for (std::size_t next = 0; next < members.size();) {
      const std::lock_guard hold(lock);
      for (std::size_t read = 0; read < kKeysInAHold && next < members.size(); ++next) {
        ModuleRow& row = *members[next];
        row.key = reader->KeyOf(*row.voices.front());
        const bool isAlike = std::all_of(row.voices.begin(), row.voices.end(), [&](Module* voice) {
          return reader->KeyOf(*voice) == row.key;
        });
        if (isAlike) row.joins = named;
        read += row.voices.size();
      }
    }
  }
}

}  // namespace

/// Where everything lies, for those who edit.
class SamplePlan::Layout {
 public:
  /// Instances of a class whose points lie in lines, an instance in each lane: the voices of one
  /// module, or a team of several.
  struct Row {
    std::vector<Module*> voices;
    std::vector<std::size_t> starts;  // the lanes in which its modules begin
    VoiceGroupMaker maker = nullptr;
    std::shared_ptr<VoiceGroup> group;
    std::size_t firstPoint = 0;  // the points of lane 0 come first, in their order

    std::size_t PlaceCount() const { return voices.front()->Points().size(); }
    std::pair<bool, std::uintptr_t> Key() const {
      return {voices.front()->oversampled,
              reinterpret_cast<std::uintptr_t>(voices.front()->GetRunFunction())};
    }
  };
  struct Point {
    PatchPoint* point = nullptr;
    std::size_t row = 0;
    std::size_t lane = 0;
    std::size_t place = 0;  // among the points of its module
    std::vector<PatchPoint*> feeds;
    bool copied = false;                         // the first of the feeds is a copy, not a sum
    bool readsImage = false;                     // and has no cell of its own
    bool hasImage = false;                       // somebody reads it
    bool wantsImage = false;                     // a single cable's input may read it soon
    SignalStore::Place where;                    // its own cells
    float* cell = nullptr;                       // what its module reads or writes
    const PatchPoint* firstNewReader = nullptr;  // of its image
  };

  std::vector<Row> rows;
  std::vector<Point> points;
  std::unordered_set<const PatchPoint*> unplugged;  // inputs that have lost a cable since then
  SignalStore imaged{true}, plain{false};           // outputs with and without an image
  SignalStore ins{false};  // inputs that are carried into, and either-way points
};

class SamplePlan::Draft {
 public:
  struct Move {
    PatchPoint* point;
    float* cell;
    float* image;  // of an output that has one
  };
  /// An input that would begin to read an image holds what it will find there.
  struct Condition {
    const PatchPoint* reader;
    const PatchPoint* sameAs;  // another reader, or if null
    const float* image;
  };

  Layout layout;
  Program program;
  std::vector<Condition> conditions;
  std::vector<Move> outs, readers, ins, eithers;
  std::vector<PatchPoint*> leaving;
  std::vector<SignalStore::Place> newLines;  // taken for voices
};

void SamplePlan::DraftDeleter::operator()(Draft* draft) const { delete draft; }

/// Prepares a draft once.
class PlanBuilder {
  using Layout = SamplePlan::Layout;
  using Row = Layout::Row;
  using Point = Layout::Point;
  using Draw = SamplePlan::Draw;

 public:
  PlanBuilder(const SamplePlan& plan, SamplePlan::Draft& draft, Draw draw)
      : old_(*plan.layout_),
        draft_(draft),
        layout_(draft.layout),
        program_(draft.program),
        unit_(plan.unit_),
        draw_(draw) {}

  void CollectModules(const SamplePlan::Patch& patch) {
    CollectRows(patch);
    MatchRows();
    NumberPoints();
    program_.blockStart = ActiveOf(patch.blockStart);
    program_.events = ActiveOf(patch.events);
  }

  /// Whether the rows collected so far are those of the present plan.
  bool HasSameRows() const {
    const auto voicesOf = [](const std::vector<Row>& rows) {
      std::vector<std::vector<Module*>> voices;
      for (const Row& row : rows) voices.push_back(row.voices);
      std::sort(voices.begin(), voices.end());
      return voices;
    };
    return voicesOf(layout_.rows) == voicesOf(old_.rows);
  }
  void CollectRows(const SamplePlan::Patch& patch) {
    std::vector<ModuleRow> modules = ModuleRowsOf(patch.active);
    ReadKeys(modules, patch.lock);
    std::vector<Row>& rows = layout_.rows;
    if (draw_ != Draw::kAll) KeepTeams(modules);
    std::vector<ModuleRow*> rest;
    for (ModuleRow& module : modules) {
      if (!module.isPlaced) rest.push_back(&module);
    }
    // In the order of the rack, so that chains of equal modules take equal lanes.
    std::stable_sort(rest.begin(), rest.end(), [](const ModuleRow* a, const ModuleRow* b) {
      return a->voices.front()->place.moduleIndex < b->voices.front()->place.moduleIndex;
    });
    for (const ModuleRow* module : rest) PlaceInTeam(*module);
    DissolveSmallTeams();
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& a, const Row& b) { return a.Key() < b.Key(); });
    for (Row& row : rows) {
      if (row.voices.size() < kFewestLanes) continue;
      row.maker = row.voices.front()->GetVoiceGroupMaker(UnitFor(row.voices.size(), unit_));
    }
  }

  void CollectFeeds(const CableList& copying, const CableList& summing) {
    for (const bool sums : {false, true}) {
      for (const Cable* cable = (sums ? summing : copying).head; cable; cable = cable->next) {
        if (!IsPlanned(cable->destination) || !IsPlanned(cable->origin)) continue;
        Point& to = PlannedOf(cable->destination);
        // A sum whose copying cable has gone would add to its own last value; it is copied.
        if (!sums || to.feeds.empty()) to.copied = true;
        to.feeds.push_back(cable->origin);
      }
    }
  }

  /// An input may read the image if a single cable of fixed ends reaches it and it holds its
  /// origin's value at this moment; otherwise it would see a new cable's signal one sample early.
  /// Beside a running plan that is so of cables which that plan copies already.
  void ChooseReaders() {
    for (Point& point : layout_.points) {
      if (!HasSingleCable(point)) continue;
      PlannedOf(point.feeds[0]).wantsImage = true;
      point.readsImage = draw_ == Draw::kAll ? HaveSameBits(point.point->in, point.feeds[0]->out)
                                             : KeepsItsCable(point) && (Before(point)->readsImage ||
                                                                        draw_ == Draw::kNearby);
    }
    std::size_t newReaders = 0;
    for (const Row& row : layout_.rows) {
      ForEachPlace(row, [&](std::size_t place) {
        if (row.maker && !ReadsLanesInOrder(row, place)) {
          ForEachVoice(row, place, [](Point& point) { point.readsImage = false; });
        }
        if (draw_ == Draw::kAll) return;
        // The voices of a row begin together or not at all.
        const bool mayBegin = newReaders < kMostNewReaders;
        ForEachVoice(row, place, [&](Point& point) {
          if (!IsNewReader(point)) return;
          point.readsImage = mayBegin;
          ++newReaders;
        });
      });
    }
    for (const Point& point : layout_.points) {
      if (point.readsImage) PlannedOf(point.feeds[0]).hasImage = true;
    }
  }

  void LaySignals() {
    if (draw_ != Draw::kAll) {
      layout_.imaged = old_.imaged;
      layout_.plain = old_.plain;
      layout_.ins = old_.ins;
    }
    ReserveStores();
    for (const bool inLines : {true, false}) {
      ForEachClass([&](std::span<const Row> rows) {
        // All lines of one point before those of the next.
        ForEachPlace(rows.front(), [&](std::size_t place) {
          for (const Row& row : rows) {
            if ((row.voices.size() > 1) == inLines) LayOutput(row, place);
          }
        });
      });
    }
    for (const Row& row : layout_.rows) LayInputs(row);
    for (Point& point : layout_.points) {
      if (point.readsImage) point.cell = PlannedOf(point.feeds[0]).where.ImageCell();
      point.point->plannedCell = point.cell;
    }
    CountTakenCells();
    for (const SignalStore::Share& share : layout_.imaged.Shares()) {
      program_.images.push_back(
          {share.block->image.get(), share.block->lines.get(), share.UsedLines()});
    }
  }

  void ListMoves() {
    for (Point& point : layout_.points) {
      const Point* before = Before(point);
      if (before && before->cell == point.cell) continue;
      const SamplePlan::Draft::Move move{point.point, point.cell,
                                         point.readsImage ? point.cell : ImageOf(point)};
      if (point.point->type == kEitherPoint) {
        draft_.eithers.push_back(move);
      } else if (point.point->type == kOutputPoint) {
        draft_.outs.push_back(move);
      } else if (point.readsImage) {
        draft_.readers.push_back(move);
        if (draw_ != Draw::kAll) AddCondition(point);
      } else {
        draft_.ins.push_back(move);
      }
    }
    for (const Point& point : old_.points) {
      if (!IsPlanned(point.point)) draft_.leaving.push_back(point.point);
    }
  }

  void PlanCables() {
    VoiceGroupMaker gatherer = nullptr;
    for (const Row& row : layout_.rows) {
      const std::size_t firstGather = program_.gathers.size();
      ForEachPlace(row, [&](std::size_t place) {
        if (row.maker && IsFedByOne(row, place)) {
          const Point& first = At(row, 0, place);
          program_.fills.push_back({first.cell, CellOf(first.feeds[0])});
          return;
        }
        const bool gathers = row.maker && PlanGather(row, place);
        ForEachVoice(row, place, [&](const Point& point) {
          if (!gathers || !IsOneCopy(point)) PlanInput(point);
        });
      });
      const std::size_t count = program_.gathers.size() - firstGather;
      if (count == 0) continue;
      // Any group of the unit and class can do it for the others.
      if (gatherer == row.maker) {
        program_.gatherRuns.back().count += count;
      } else {
        program_.gatherRuns.push_back({row.group.get(), firstGather, count});
        gatherer = row.maker;
      }
    }
  }

  /// The rows are in the order of the functions' addresses. Any order sounds the same but for
  /// modules that draw from the same random numbers, which get other ones.
  void PlanModules() {
    for (const Row& row : layout_.rows) {
      program_.modules.insert(program_.modules.end(), row.voices.begin(), row.voices.end());
    }
    Module* const* next = program_.modules.data();
    const Row* last = nullptr;
    for (Row& row : layout_.rows) {
      const Module& module = *row.voices.front();
      const SamplePlan::ModuleRun run{module.GetRunFunction(), next, row.voices.size()};
      next += row.voices.size();
      SamplePlan::Stage& stage = module.oversampled ? program_.everyStep : program_.firstStep;
      // All modules of libraries have one function, and some of them have groups.
      const bool isRun = !ClassOf(module);
      const bool continues = last && !last->maker && !row.maker && last->Key() == row.Key() &&
                             !ClassOf(*last->voices.front()) == isRun;
      if (row.maker) TakeGroup(row);
      if (isRun) {
        continues ? void(stage.runs.back().count += run.count) : stage.runs.push_back(run);
      } else if (continues) {
        stage.teams.back().single.count += run.count;
      } else {
        stage.teams.push_back({row.group.get(), run, row.starts.size()});
      }
      last = &row;
    }
  }

 private:
  Point& PlannedOf(const PatchPoint* point) {
    return layout_.points[static_cast<std::size_t>(point->planIndex)];
  }
  Point& At(const Row& row, std::size_t voice, std::size_t place) {
    return layout_.points[row.firstPoint + voice * row.PlaceCount() + place];
  }
  float* CellOf(const PatchPoint* output) {
    const Point& point = PlannedOf(output);
    return point.point->type == kEitherPoint ? point.cell + 1 : point.cell;
  }
  static float* ImageOf(const Point& point) {
    return point.where.block ? point.where.ImageCell() : nullptr;
  }

  /// A module with a cable is active, so this holds for both ends of each.
  bool IsPlanned(const PatchPoint* point) const {
    const auto index = static_cast<std::size_t>(point->planIndex);
    return index < layout_.points.size() && layout_.points[index].point == point;
  }

  template <class F>
  static void ForEachPlace(const Row& row, F&& f) {
    for (std::size_t place = 0; place < row.PlaceCount(); ++place) f(place);
  }

  /// f(span of rows) for the rows of each class. Modules of a class may differ in their points, as
  /// those of other authors do; then each row stands alone.
  template <class F>
  void ForEachClass(F&& f) {
    const std::vector<Row>& rows = layout_.rows;
    for (std::size_t first = 0, end = 0; first < rows.size(); first = end) {
      while (end < rows.size() && rows[end].Key() == rows[first].Key() &&
             rows[end].PlaceCount() == rows[first].PlaceCount()) {
        ++end;
      }
      f(std::span(rows).subspan(first, end - first));
    }
  }

  template <class F>
  void ForEachVoice(const Row& row, std::size_t place, F&& f) {
    for (std::size_t voice = 0; voice < row.voices.size(); ++voice) f(At(row, voice, place));
  }

  /// Puts a module behind those of a row.
  static void Append(Row& row, const std::vector<Module*>& voices) {
    row.starts.push_back(row.voices.size());
    row.voices.insert(row.voices.end(), voices.begin(), voices.end());
  }

  /// The teams of the present plan go on without the modules that have gone or differ now.
  void KeepTeams(std::vector<ModuleRow>& modules) {
    std::unordered_map<const Module*, ModuleRow*> byFirst;
    for (ModuleRow& module : modules) {
      if (module.joins) byFirst.emplace(module.voices.front(), &module);
    }
    for (const Row& before : old_.rows) {
      if (before.starts.size() < 2) continue;
      Row* row = nullptr;
      const ModuleRow* leader = nullptr;
      for (std::size_t i = 0; i < before.starts.size(); ++i) {
        const std::size_t start = before.starts[i];
        const std::size_t end =
            i + 1 < before.starts.size() ? before.starts[i + 1] : before.voices.size();
        const auto found = byFirst.find(before.voices[start]);
        if (found == byFirst.end()) continue;
        ModuleRow& module = *found->second;
        if (module.isPlaced || module.voices.size() != end - start ||
            (leader && module.TeamKey() != leader->TeamKey())) {
          continue;
        }
        if (!leader) {
          leader = &module;
          openTeams_[module.TeamKey()].push_back(layout_.rows.size());
          row = &layout_.rows.emplace_back();
        }
        Append(*row, module.voices);
        module.isPlaced = true;
      }
    }
  }

  /// Into the first team with room, or a new one.
  void PlaceInTeam(const ModuleRow& module) {
    if (module.joins) {
      std::vector<std::size_t>& open = openTeams_[module.TeamKey()];
      for (const std::size_t team : open) {
        Row& row = layout_.rows[team];
        if (row.voices.size() + module.voices.size() > kLine) continue;
        Append(row, module.voices);
        return;
      }
      open.push_back(layout_.rows.size());
    }
    Append(layout_.rows.emplace_back(), module.voices);
  }

  void DissolveSmallTeams() {
    std::vector<Row>& rows = layout_.rows;
    for (std::size_t i = 0, count = rows.size(); i < count; ++i) {
      if (rows[i].starts.size() < 2 || rows[i].voices.size() >= kFewestLanes) continue;
      // So few lanes hold mono modules.
      for (Module* module : std::exchange(rows[i], Row{}).voices) {
        Append(rows[i].voices.empty() ? rows[i] : rows.emplace_back(), {module});
      }
    }
  }

  /// Finds the rows that the present plan has in the same form, each lane where it was.
  void MatchRows() {
    rowsBefore_.assign(layout_.rows.size(), nullptr);
    if (draw_ == Draw::kAll) return;
    std::unordered_map<const Module*, const Row*> standing;
    for (const Row& row : old_.rows) standing.emplace(row.voices.front(), &row);
    for (std::size_t i = 0; i < layout_.rows.size(); ++i) {
      const Row& row = layout_.rows[i];
      const auto found = standing.find(row.voices.front());
      if (found == standing.end()) continue;
      const Row& before = *found->second;
      // Lanes at the end may have come or gone: the line is the row's as a whole.
      const std::size_t common = std::min(before.voices.size(), row.voices.size());
      if (!std::equal(row.voices.begin(), row.voices.begin() + static_cast<std::ptrdiff_t>(common),
                      before.voices.begin())) {
        continue;
      }
      const auto form = [](const Row& each) {
        return std::pair(each.voices.size() > 1, each.maker != nullptr);
      };
      if (form(before) == form(row)) rowsBefore_[i] = &before;
    }
  }

  void NumberPoints() {
    for (std::size_t row = 0; row < layout_.rows.size(); ++row) {
      layout_.rows[row].firstPoint = layout_.points.size();
      for (std::size_t lane = 0; lane < layout_.rows[row].voices.size(); ++lane) {
        const Module* voice = layout_.rows[row].voices[lane];
        for (std::size_t place = 0; place < voice->Points().size(); ++place) {
          PatchPoint* point = voice->Points()[place];
          point->planIndex = static_cast<int>(layout_.points.size());
          Point& planned = layout_.points.emplace_back();
          planned.point = point;
          planned.row = row;
          planned.lane = lane;
          planned.place = place;
        }
      }
    }
  }

  /// The same point in the present plan; null for one of a row that has changed.
  const Point* Before(const Point& point) const {
    const Row* before = rowsBefore_[point.row];
    if (!before) return nullptr;
    if (point.lane >= before->voices.size()) return nullptr;
    const auto index = static_cast<std::size_t>(&point - layout_.points.data());
    return &old_.points[before->firstPoint + index - layout_.rows[point.row].firstPoint];
  }

  static bool HasSingleCable(const Point& point) {
    return point.point->type == kInputPoint && point.copied && point.feeds.size() == 1 &&
           point.feeds[0]->type == kOutputPoint;
  }
  /// Not if the same output has been plugged in again: the input starts from silence.
  bool KeepsItsCable(const Point& point) const {
    const Point* before = Before(point);
    return before && HasSingleCable(*before) && before->feeds[0] == point.feeds[0] &&
           !old_.unplugged.contains(point.point);
  }
  bool IsNewReader(const Point& point) const {
    const Point* before = Before(point);
    return point.readsImage && !(before && before->readsImage);
  }

  /// Whether the lanes of an input could read cells of one point that follow one another, as far as
  /// this is known before these have their places.
  bool ReadsLanesInOrder(const Row& row, std::size_t place) {
    const Point* last = nullptr;
    for (std::size_t voice = 0; voice < row.voices.size(); ++voice) {
      const Point& point = At(row, voice, place);
      if (!point.readsImage) return false;
      const Point& feed = PlannedOf(point.feeds[0]);
      if (last && !(feed.place == last->place && Follows(*last, feed))) return false;
      last = &feed;
    }
    return true;
  }
  /// In the next lane, or in the first one of a line that may lie behind this one.
  bool Follows(const Point& last, const Point& next) const {
    if (next.row == last.row) return next.lane == last.lane + 1;
    return last.lane == kLine - 1 && next.lane == 0 &&
           layout_.rows[next.row].Key() == layout_.rows[last.row].Key();
  }
  /// The same once they have.
  bool ReadsCellsInOrder(const Row& row, std::size_t place) {
    const SignalStore::Place first = PlannedOf(At(row, 0, place).feeds[0]).where;
    for (std::size_t voice = 0; voice < row.voices.size(); ++voice) {
      if (PlannedOf(At(row, voice, place).feeds[0]).where != first.Next(voice)) return false;
    }
    return true;
  }

  /// Whether one output alone is copied into all voices of an input.
  bool IsFedByOne(const Row& row, std::size_t place) {
    const Point& first = At(row, 0, place);
    for (std::size_t voice = 0; voice < row.voices.size(); ++voice) {
      const Point& point = At(row, voice, place);
      if (!point.copied || point.readsImage || point.point->type != kInputPoint ||
          point.feeds.size() != 1 || point.feeds[0] != first.feeds[0]) {
        return false;
      }
    }
    return true;
  }

  /// In a first layout each kind of signals lies in one block, with some room for more.
  void ReserveStores() {
    std::size_t outs = 0, ins = 0;
    for (const Point& point : layout_.points) ++(point.point->type == kOutputPoint ? outs : ins);
    for (SignalStore* store : {&layout_.imaged, &layout_.plain}) store->Reserve(outs / 4);
    layout_.ins.Reserve(ins / 4);
  }

  bool AnyVoice(const Row& row, std::size_t place, bool Point::*flag) {
    bool any = false;
    ForEachVoice(row, place, [&](const Point& point) { any |= point.*flag; });
    return any;
  }

  /// Rows of several voices take lines, single points lie side by side.
  void LayOutput(const Row& row, std::size_t place) {
    Point& first = At(row, 0, place);
    if (first.point->type != kOutputPoint) return;
    const Point* before = Before(first);
    const bool isRead = AnyVoice(row, place, &Point::hasImage);
    SignalStore::Place where;
    if (before && (!isRead || ImageOf(*before))) {
      where = before->where;
    } else {
      const bool mayBeRead = draw_ != Draw::kAll && AnyVoice(row, place, &Point::wantsImage);
      SignalStore& store = isRead || mayBeRead ? layout_.imaged : layout_.plain;
      where = row.voices.size() > 1 ? TakeLine(store) : store.Take(1);
    }
    for (std::size_t voice = 0; voice < row.voices.size(); ++voice) {
      SetPlace(At(row, voice, place), where.Next(voice));
    }
  }

  void LayInputs(const Row& row) {
    ForEachPlace(row, [&](std::size_t place) {
      const Point& first = At(row, 0, place);
      if (first.point->type == kOutputPoint) return;
      if (row.maker && first.readsImage) {
        if (ReadsCellsInOrder(row, place)) return;
        ForEachVoice(row, place, [](Point& point) { point.readsImage = false; });
      }
      const Point* before = Before(first);
      const bool inLine = row.maker && first.point->type == kInputPoint;
      SignalStore::Place line;
      if (inLine) line = before && before->where.block ? before->where : TakeLine(layout_.ins);
      for (std::size_t voice = 0; voice < row.voices.size(); ++voice) {
        Point& point = At(row, voice, place);
        if (point.readsImage) continue;
        const Point* own = Before(point);
        if (inLine) {
          SetPlace(point, line.Next(voice));
        } else if (own && own->where.block) {
          SetPlace(point, own->where);
        } else {
          SetPlace(point, layout_.ins.Take(CellsOf(point)));
        }
      }
    });
  }

  SignalStore::Place TakeLine(SignalStore& store) {
    return draft_.newLines.emplace_back(store.TakeLine());
  }
  static std::size_t CellsOf(const Point& point) {
    return point.point->type == kEitherPoint ? 2 : 1;
  }
  static void SetPlace(Point& point, const SignalStore::Place& where) {
    point.where = where;
    point.cell = where.Cell();
  }

  /// What only the present plan uses is free for the next one but this.
  void CountTakenCells() {
    for (SignalStore* store : {&layout_.imaged, &layout_.plain, &layout_.ins}) {
      store->ForgetTaken();
    }
    for (const Row& row : layout_.rows) {
      ForEachPlace(row, [&](std::size_t place) {
        for (std::size_t voice = 0; voice < row.voices.size(); ++voice) {
          const Point& point = At(row, voice, place);
          if (!point.where.block) continue;
          const bool isOutput = point.point->type == kOutputPoint;
          SignalStore& store = !isOutput        ? layout_.ins
                               : ImageOf(point) ? layout_.imaged
                                                : layout_.plain;
          // A line of voices belongs to its row as a whole.
          const bool isLine =
              isOutput ? row.voices.size() > 1 : row.maker && point.point->type == kInputPoint;
          if (!isLine) {
            store.Keep(point.where, CellsOf(point));
          } else if (voice == 0) {
            store.Keep(point.where, kLine);
          }
        }
      });
    }
    for (SignalStore* store : {&layout_.imaged, &layout_.plain, &layout_.ins}) {
      store->DropEmptyBlocks();
    }
  }

  void AddCondition(const Point& reader) {
    Point& origin = PlannedOf(reader.feeds[0]);
    const Point* before = Before(origin);
    if (before && before->cell == origin.cell && before->hasImage) {
      draft_.conditions.push_back({reader.point, nullptr, reader.cell});
    } else if (origin.firstNewReader) {
      draft_.conditions.push_back({reader.point, origin.firstNewReader, nullptr});
    } else {
      origin.firstNewReader = reader.point;
    }
  }

  void PlanInput(const Point& point) {
    if (point.readsImage || point.feeds.empty()) return;
    if (point.copied && point.feeds.size() > 1 && LieSideBySide(point.feeds)) {
      program_.rowSums.push_back({point.cell, CellOf(point.feeds[0]), point.feeds.size()});
      return;
    }
    for (std::size_t i = 0; i < point.feeds.size(); ++i) {
      const bool copies = i == 0 && point.copied;
      (copies ? program_.copies : program_.sums).push_back({point.cell, CellOf(point.feeds[i])});
    }
  }

  static bool IsOneCopy(const Point& point) {
    return point.copied && !point.readsImage && point.feeds.size() == 1;
  }

  /// One line for the single cables into the lanes of an input, if they are many. What else
  /// arrives there comes after.
  bool PlanGather(const Row& row, std::size_t place) {
    const Point& first = At(row, 0, place);
    if (first.point->type != kInputPoint || first.readsImage) return false;
    LineGather line{first.cell, static_cast<int>(row.voices.size()), {}};
    for (std::size_t lane = 0; lane < kLine; ++lane) line.from[lane] = first.cell + lane;
    int cables = 0;
    ForEachVoice(row, place, [&](const Point& point) {
      if (!IsOneCopy(point)) return;
      line.from[point.lane] = CellOf(point.feeds[0]);
      ++cables;
    });
    if (cables < kFewestGathered) return false;
    program_.gathers.push_back(line);
    return true;
  }

  bool LieSideBySide(const std::vector<PatchPoint*>& points) {
    for (std::size_t i = 0; i < points.size(); ++i) {
      if (CellOf(points[i]) != CellOf(points[0]) + i) return false;
    }
    return true;
  }

  /// A group knows where its signals lie: it serves as long as none of them moves.
  void TakeGroup(Row& row) {
    const Row* before = rowsBefore_[static_cast<std::size_t>(&row - layout_.rows.data())];
    bool stays = before && before->maker == row.maker && before->voices == row.voices;
    for (std::size_t i = 0; stays && i < row.voices.size() * row.PlaceCount(); ++i) {
      stays = layout_.points[row.firstPoint + i].cell == old_.points[before->firstPoint + i].cell;
    }
    row.group = stays ? before->group
                      : std::shared_ptr<VoiceGroup>(
                            static_cast<std::unique_ptr<VoiceGroup>&&>(row.maker(row.voices)));
  }

  const Layout& old_;
  SamplePlan::Draft& draft_;
  Layout& layout_;
  SamplePlan::Program& program_;
  VectorUnit unit_;
  Draw draw_;
  std::vector<const Row*> rowsBefore_;  // by row: its like in the present plan
  std::map<std::tuple<std::uintptr_t, bool, std::uint64_t>, std::vector<std::size_t>> openTeams_;
};

SamplePlan::SamplePlan() : layout_(std::make_unique<Layout>()) {}

SamplePlan::~SamplePlan() = default;

void SamplePlan::NoteUnplugged(const PatchPoint* input) { layout_->unplugged.insert(input); }

SamplePlan::OwnDraft SamplePlan::Prepare(const Patch& patch, Draw draw) const {
  OwnDraft draft(new Draft);
  PlanBuilder builder(*this, *draft, draw);
  builder.CollectModules(patch);
  builder.CollectFeeds(patch.copying, patch.summing);
  builder.ChooseReaders();
  builder.LaySignals();
  builder.ListMoves();
  builder.PlanModules();
  builder.PlanCables();
  draft->program.costs.Clear(draft->program.modules.size());
  return draft;
}

bool SamplePlan::HasOutgrownTeams(const Patch& patch) const {
  Draft draft;
  PlanBuilder builder(*this, draft, Draw::kNearby);
  builder.CollectRows(patch);
  return !builder.HasSameRows();
}

bool SamplePlan::Fits(const Draft& draft) {
  return std::all_of(draft.conditions.begin(), draft.conditions.end(),
                     [](const Draft::Condition& each) {
                       const float expected = each.sameAs ? float{each.sameAs->in} : *each.image;
                       return HaveSameBits(each.reader->in, expected);
                     });
}

void SamplePlan::Swap(Draft& draft) {
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

void SamplePlan::BeginBlock(int steps) {
  isInBlock_ = true;
  for (Stage* stage : {&program_.everyStep, &program_.firstStep}) {
    for (Team& team : stage->teams) {
      team.inVectors = team.group && steps >= kFewestSteps && team.group->Load();
      if (!team.group || steps < kFewestSteps || team.rows < 2) continue;
      if (team.fitted && !team.inVectors) teamsBroke_.store(true, std::memory_order_relaxed);
      team.fitted = team.inVectors;
    }
  }
}

void SamplePlan::EndBlock() {
  for (const Stage* stage : {&program_.everyStep, &program_.firstStep}) {
    for (const Team& team : stage->teams) {
      if (team.inVectors) team.group->Store();
    }
  }
  isInBlock_ = false;
}

void SamplePlan::StoreGroups() {
  for (Stage* stage : {&program_.everyStep, &program_.firstStep}) {
    for (Team& team : stage->teams) {
      if (std::exchange(team.inVectors, false)) team.group->Store();
    }
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
