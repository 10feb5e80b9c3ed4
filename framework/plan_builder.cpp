#include "framework/plan_builder.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <utility>

#include "framework/team_builder.h"

namespace halveron {

namespace {

/// Fewer cables into the lanes of an input are as fast one by one.
constexpr int kFewestGathered = 3;
/// Inputs that one edit may turn to the image beside what it changes; the others follow with later
/// edits. Each costs time in the lock.
constexpr std::size_t kMostNewReaders = 64;

constexpr std::size_t kLine = SignalStore::kLine;

std::vector<Module*> ActiveOf(std::span<Module* const> modules) {
  std::vector<Module*> active;
  std::copy_if(modules.begin(), modules.end(), std::back_inserter(active),
               [](const Module* module) { return module->place.activeIndex != -1; });
  return active;
}

}  // namespace

/// Prepares a draft once.
class PlanBuilder {
  using Layout = SamplePlan::Layout;
  using Row = Layout::Row;
  using Point = Layout::Point;
  using Draw = SamplePlan::Draw;

 public:
  PlanBuilder(const Layout& present, SamplePlan::Draft& draft, Draw draw)
      : old_(present), draft_(draft), layout_(draft.layout), program_(draft.program), draw_(draw) {}

  void CollectModules(const SamplePlan::Patch& patch, VectorUnit widest) {
    const std::span<const Row> before =
        draw_ == Draw::kAll ? std::span<const Row>() : std::span<const Row>(old_.rows);
    layout_.rows = FormTeams(patch, before, widest);
    MatchRows();
    NumberPoints();
    program_.blockStart = ActiveOf(patch.blockStart);
    program_.events = ActiveOf(patch.events);
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
    VectorUnit gatherer = VectorUnit::kNone;
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
      // Any group of the unit can do it for the others.
      if (gatherer == row.unit) {
        program_.gatherRuns.back().count += count;
      } else {
        program_.gatherRuns.push_back({row.group.get(), firstGather, count});
        gatherer = row.unit;
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
        stage.teams.push_back(
            {row.group.get(), run, row.starts.size(), row.group && row.group->Stays()});
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
  Draw draw_;
  std::vector<const Row*> rowsBefore_;  // by row: its like in the present plan
};

SamplePlan::OwnDraft BuildPlan(const SamplePlan::Layout& present, const SamplePlan::Patch& patch,
                               SamplePlan::Draw draw, VectorUnit widest) {
  SamplePlan::OwnDraft draft(new SamplePlan::Draft);
  PlanBuilder builder(present, *draft, draw);
  builder.CollectModules(patch, widest);
  builder.CollectFeeds(patch.copying, patch.summing);
  builder.ChooseReaders();
  builder.LaySignals();
  builder.ListMoves();
  builder.PlanModules();
  builder.PlanCables();
  return draft;
}

}  // namespace halveron
