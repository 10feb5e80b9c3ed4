// Where everything of a sample plan lies, and the next plan while the present one plays.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_set>
#include <utility>
#include <vector>

#include "framework/sample_plan.h"

namespace halveron {

/// Instances of a class whose points lie in lines, an instance in each lane: the voices of one
/// module, or a team of several.
struct PlanRow {
  std::vector<Module*> voices;
  std::vector<std::size_t> starts;  ///< the lanes in which its modules begin
  VectorUnit unit = VectorUnit::kNone;
  VoiceGroupMaker maker = nullptr;  ///< of its group; null if each runs by itself
  std::shared_ptr<VoiceGroup> group;
  std::size_t firstPoint = 0;  ///< the points of lane 0 come first, in their order

  std::size_t PlaceCount() const { return voices.front()->Points().size(); }
  std::pair<bool, std::uintptr_t> Key() const {
    return {voices.front()->oversampled,
            reinterpret_cast<std::uintptr_t>(voices.front()->GetRunFunction())};
  }
};

inline bool HaveSameBits(float a, float b) {
  return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

/// What names the class of a module that has groups; null for others.
inline VoiceGroupMaker ClassOf(const Module& module) {
  return module.GetVoiceGroupMaker(VectorUnit::kSse2);
}

/// Where everything lies, for those who edit.
class SamplePlan::Layout {
 public:
  using Row = PlanRow;
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

}  // namespace halveron
