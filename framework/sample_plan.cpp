#include "framework/sample_plan.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <unordered_map>
#include <utility>

#include "dsp/pack.h"

namespace halveron {

namespace {

/// Fewer voices are as fast by themselves.
constexpr std::size_t kFewestVoices = 3;
/// In shorter blocks it does not pay to take up state and put it back.
constexpr int kFewestSteps = 8;
/// Inputs that one edit may turn to the image beside what it changes; the others follow with later
/// edits. Each costs time in the lock.
constexpr std::size_t kMostNewReaders = 64;

constexpr std::size_t kLine = SignalStore::kLine;

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

std::vector<Module*> ActiveOf(std::span<Module* const> modules) {
  std::vector<Module*> active;
  std::copy_if(modules.begin(), modules.end(), std::back_inserter(active),
               [](const Module* module) { return module->place.activeIndex != -1; });
  return active;
}

}  // namespace

/// Where everything lies, for those who edit.
class SamplePlan::Layout {
 public:
  /// A module with its voices; one voice if it is mono.
  struct Row {
    std::vector<Module*> voices;
    VoiceGroupMaker maker = nullptr;
    std::shared_ptr<VoiceGroup> group;
    std::size_t firstPoint = 0;  // the points of voice 0 come first, in their order

    std::size_t PlaceCount() const { return voices.front()->Points().size(); }
    std::pair<bool, std::uintptr_t> Key() const {
      return {voices.front()->oversampled,
              reinterpret_cast<std::uintptr_t>(voices.front()->GetRunFunction())};
    }
  };
  struct Point {
    PatchPoint* point = nullptr;
    std::size_t row = 0;
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
  SignalStore imaged{true}, plain{false};  // outputs with and without an image
  SignalStore ins{false};                  // inputs that are carried into, and either-way points
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
    CollectRows(patch.active);
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
        if (row.maker && !ReadsWholeRow(row, place)) {
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
      for (const Row& row : layout_.rows) {
        if ((row.voices.size() > 1) == inLines) LayOutputs(row);
      }
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
    for (const Row& row : layout_.rows) {
      ForEachPlace(row, [&](std::size_t place) {
        if (row.maker && IsFedByOne(row, place)) {
          const Point& first = At(row, 0, place);
          program_.fills.push_back({first.cell, CellOf(first.feeds[0])});
          return;
        }
        ForEachVoice(row, place, [&](const Point& point) { PlanInput(point); });
      });
    }
  }

  void PlanModules() {
    std::vector<Row*> ordered;
    for (Row& row : layout_.rows) ordered.push_back(&row);
    // Ordered by the functions' addresses: any order sounds the same.
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const Row* a, const Row* b) { return a->Key() < b->Key(); });
    for (const Row* row : ordered) {
      program_.modules.insert(program_.modules.end(), row->voices.begin(), row->voices.end());
    }
    Module* const* next = program_.modules.data();
    const Row* last = nullptr;
    for (Row* row : ordered) {
      const Module& module = *row->voices.front();
      const SamplePlan::ModuleRun run{module.GetRunFunction(), next, row->voices.size()};
      next += row->voices.size();
      SamplePlan::Stage& stage = module.oversampled ? program_.everyStep : program_.firstStep;
      if (row->maker) {
        TakeGroup(*row);
        program_.voiceRows.push_back({row->group.get(), run, module.oversampled});
      } else if (last && last->Key() == row->Key()) {
        stage.runs.back().count += run.count;
      } else {
        stage.runs.push_back(run);
      }
      last = row->maker ? nullptr : row;
    }
    for (SamplePlan::Stage* stage : {&program_.everyStep, &program_.firstStep}) {
      stage->fixedRuns = stage->runs.size();
      stage->runs.reserve(stage->fixedRuns + program_.voiceRows.size());
      stage->groups.reserve(program_.voiceRows.size());
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

  template <class F>
  void ForEachVoice(const Row& row, std::size_t place, F&& f) {
    for (std::size_t voice = 0; voice < row.voices.size(); ++voice) f(At(row, voice, place));
  }

  void CollectRows(const SamplePlan::ActiveModules& active) {
    std::vector<Row>& rows = layout_.rows;
    std::vector<std::size_t> rowOf;  // by module index
    for (const std::vector<Module*>& ofVoice : active) {
      for (Module* module : ofVoice) {
        const auto index = static_cast<std::size_t>(module->place.moduleIndex);
        if (rowOf.size() <= index) rowOf.resize(index + 1, SIZE_MAX);
        // A voice joins its row if all voices below it have, and runs at the same rate.
        Row* row = rowOf[index] == SIZE_MAX ? nullptr : &rows[rowOf[index]];
        if (!row || row->voices.size() != static_cast<std::size_t>(module->voice) ||
            row->voices.front()->oversampled != module->oversampled) {
          if (!row) rowOf[index] = rows.size();
          row = &rows.emplace_back();
        }
        row->voices.push_back(module);
      }
    }
    for (Row& row : rows) {
      if (row.voices.size() < kFewestVoices) continue;
      row.maker = row.voices.front()->GetVoiceGroupMaker(UnitFor(row.voices.size(), unit_));
    }
  }

  /// Finds the rows that the present plan has in the same form.
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
      if (before.voices == row.voices && before.maker == row.maker) rowsBefore_[i] = &before;
    }
  }

  void NumberPoints() {
    for (std::size_t row = 0; row < layout_.rows.size(); ++row) {
      layout_.rows[row].firstPoint = layout_.points.size();
      for (const Module* voice : layout_.rows[row].voices) {
        for (std::size_t place = 0; place < voice->Points().size(); ++place) {
          PatchPoint* point = voice->Points()[place];
          point->planIndex = static_cast<int>(layout_.points.size());
          Point& planned = layout_.points.emplace_back();
          planned.point = point;
          planned.row = row;
          planned.place = place;
        }
      }
    }
  }

  /// The same point in the present plan; null for one of a row that has changed.
  const Point* Before(const Point& point) const {
    const Row* before = rowsBefore_[point.row];
    if (!before) return nullptr;
    const auto index = static_cast<std::size_t>(&point - layout_.points.data());
    return &old_.points[before->firstPoint + index - layout_.rows[point.row].firstPoint];
  }

  static bool HasSingleCable(const Point& point) {
    return point.point->type == kInputPoint && point.copied && point.feeds.size() == 1 &&
           point.feeds[0]->type == kOutputPoint;
  }
  bool KeepsItsCable(const Point& point) const {
    const Point* before = Before(point);
    return before && HasSingleCable(*before) && before->feeds[0] == point.feeds[0];
  }
  bool IsNewReader(const Point& point) const {
    const Point* before = Before(point);
    return point.readsImage && !(before && before->readsImage);
  }

  /// Whether each voice of an input reads the same voice of one output.
  bool ReadsWholeRow(const Row& row, std::size_t place) {
    const Point* firstFeed = nullptr;
    for (std::size_t voice = 0; voice < row.voices.size(); ++voice) {
      const Point& point = At(row, voice, place);
      if (!point.readsImage) return false;
      const Point& feed = PlannedOf(point.feeds[0]);
      if (voice == 0) firstFeed = &feed;
      const std::vector<Module*>& origins = layout_.rows[feed.row].voices;
      if (feed.row != firstFeed->row || feed.place != firstFeed->place || voice >= origins.size() ||
          origins[voice]->Points()[feed.place] != point.feeds[0]) {
        return false;
      }
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
  void LayOutputs(const Row& row) {
    ForEachPlace(row, [&](std::size_t place) {
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
    });
  }

  void LayInputs(const Row& row) {
    ForEachPlace(row, [&](std::size_t place) {
      const Point& first = At(row, 0, place);
      if (first.point->type == kOutputPoint || (row.maker && first.readsImage)) return;
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

  bool LieSideBySide(const std::vector<PatchPoint*>& points) {
    for (std::size_t i = 0; i < points.size(); ++i) {
      if (CellOf(points[i]) != CellOf(points[0]) + i) return false;
    }
    return true;
  }

  /// A group knows where its signals lie: it serves as long as none of them moves.
  void TakeGroup(Row& row) {
    const Row* before = rowsBefore_[static_cast<std::size_t>(&row - layout_.rows.data())];
    bool stays = before != nullptr;
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
};

SamplePlan::SamplePlan() : layout_(std::make_unique<Layout>()) {}

SamplePlan::~SamplePlan() = default;

SamplePlan::OwnDraft SamplePlan::Prepare(const Patch& patch, Draw draw) const {
  OwnDraft draft(new Draft);
  PlanBuilder builder(*this, *draft, draw);
  builder.CollectModules(patch);
  builder.CollectFeeds(patch.copying, patch.summing);
  builder.ChooseReaders();
  builder.LaySignals();
  builder.ListMoves();
  builder.PlanCables();
  builder.PlanModules();
  return draft;
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

void SamplePlan::BeginBlock(int steps) {
  for (Stage* stage : {&program_.everyStep, &program_.firstStep}) {
    stage->runs.resize(stage->fixedRuns);
    stage->groups.clear();
  }
  for (const VoiceRow& row : program_.voiceRows) {
    Stage& stage = row.everyStep ? program_.everyStep : program_.firstStep;
    if (steps >= kFewestSteps && row.group->Load()) {
      stage.groups.push_back(row.group);
    } else {
      stage.runs.push_back(row.single);
    }
  }
}

void SamplePlan::EndBlock() {
  for (Stage* stage : {&program_.everyStep, &program_.firstStep}) {
    for (VoiceGroup* group : stage->groups) group->Store();
  }
}

void SamplePlan::CarryCables() {
  for (const ImageSpan& span : program_.images) std::copy_n(span.outs, span.lines, span.image);
  for (const SignalMove& fill : program_.fills) std::fill_n(fill.to, kLine, *fill.from);
  for (const SignalMove& copy : program_.copies) *copy.to = *copy.from;
  for (const RowSum& row : program_.rowSums) {
    float sum = row.from[0];
    for (std::size_t i = 1; i < row.count; ++i) sum += row.from[i];
    *row.to = sum;
  }
  for (const SignalMove& sum : program_.sums) *sum.to += *sum.from;
}

}  // namespace halveron
