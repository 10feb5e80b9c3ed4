#include "framework/team_builder.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "dsp/pack.h"
#include "framework/plan_layout.h"

namespace halveron {

namespace {

/// Fewer instances are as fast by themselves.
constexpr std::size_t kFewestLanes = 3;
/// Instances whose keys are read in one hold of the lock.
constexpr std::size_t kKeysInAHold = 48;

constexpr std::size_t kLine = SignalStore::kLine;

/// The narrowest unit that has a lane for each instance: idle lanes cost as much as others.
VectorUnit UnitFor(std::size_t lanes, VectorUnit widest) {
  const VectorUnit enough = lanes <= dsp::kLanesOf<dsp::Avx2Four>      ? VectorUnit::kAvx2Four
                            : lanes <= dsp::kLanesOf<dsp::Avx512Eight> ? VectorUnit::kAvx512Eight
                                                                       : VectorUnit::kAvx512;
  return std::min(enough, widest);
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

class TeamBuilder {
 public:
  explicit TeamBuilder(std::span<const PlanRow> before) : before_(before) {}

  std::vector<PlanRow> Build(const SamplePlan::Patch& patch, VectorUnit widest) {
    std::vector<ModuleRow> modules = ModuleRowsOf(patch.active);
    ReadKeys(modules, patch.lock);
    KeepTeams(modules);
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
    std::stable_sort(rows_.begin(), rows_.end(),
                     [](const PlanRow& a, const PlanRow& b) { return a.Key() < b.Key(); });
    for (PlanRow& row : rows_) {
      if (row.voices.size() < kFewestLanes) continue;
      row.unit = UnitFor(row.voices.size(), widest);
      row.maker = row.voices.front()->GetVoiceGroupMaker(row.unit);
    }
    return std::move(rows_);
  }

 private:
  /// Puts a module behind those of a row.
  static void Append(PlanRow& row, const std::vector<Module*>& voices) {
    row.starts.push_back(row.voices.size());
    row.voices.insert(row.voices.end(), voices.begin(), voices.end());
  }

  /// The teams of the present plan go on without the modules that have gone or differ now.
  void KeepTeams(std::vector<ModuleRow>& modules) {
    std::unordered_map<const Module*, ModuleRow*> byFirst;
    for (ModuleRow& module : modules) {
      if (module.joins) byFirst.emplace(module.voices.front(), &module);
    }
    for (const PlanRow& before : before_) {
      if (before.starts.size() < 2) continue;
      PlanRow* row = nullptr;
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
          openTeams_[module.TeamKey()].push_back(rows_.size());
          row = &rows_.emplace_back();
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
        PlanRow& row = rows_[team];
        if (row.voices.size() + module.voices.size() > kLine) continue;
        Append(row, module.voices);
        return;
      }
      open.push_back(rows_.size());
    }
    Append(rows_.emplace_back(), module.voices);
  }

  void DissolveSmallTeams() {
    for (std::size_t i = 0, count = rows_.size(); i < count; ++i) {
      if (rows_[i].starts.size() < 2 || rows_[i].voices.size() >= kFewestLanes) continue;
      // So few lanes hold mono modules.
      for (Module* module : std::exchange(rows_[i], PlanRow{}).voices) {
        Append(rows_[i].voices.empty() ? rows_[i] : rows_.emplace_back(), {module});
      }
    }
  }

  std::span<const PlanRow> before_;
  std::vector<PlanRow> rows_;
  std::map<std::tuple<std::uintptr_t, bool, std::uint64_t>, std::vector<std::size_t>> openTeams_;
};

}  // namespace

std::vector<PlanRow> FormTeams(const SamplePlan::Patch& patch, std::span<const PlanRow> before,
                               VectorUnit widest) {
  return TeamBuilder(before).Build(patch, widest);
}

}  // namespace halveron
