// What a rack holds at one moment, and the way from there to what it held at another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "presets/preset_document.h"

namespace halveron {

class CControl;
struct Cable;
class Module;
class PatchPoint;
class RackModel;

/// A module as a preset keeps it; its patch points are counted from 0.
struct ModuleRecord {
  using Piece = std::shared_ptr<const std::vector<std::byte>>;
  static constexpr std::size_t kPieceBytes = std::size_t{1} << 16;

  PresetModule preset;  ///< of its data only the control values
  /// What comes behind them, in pieces that all records share between which they stay as they are.
  std::vector<Piece> ownData;
  std::uint64_t revision = 0;  ///< of the module's own data, 0 if the class does not say
  /// Of its controls without the host's modulation, as SettableControls; 0 for lamps and what
  /// plays.
  std::vector<float> values;

  bool HasDataOf(const ModuleRecord& other) const;
  /// The preset with all its data.
  PresetModule Whole() const;
  std::size_t Size() const;
};

bool operator==(const ModuleRecord& a, const ModuleRecord& b);

/// Snapshots share the record of a module that did not change between them.
struct RackSnapshot {
  struct Entry {
    int id =
        0;  ///< of the module as long as the rack lives, also after it was removed and restored
    std::shared_ptr<const ModuleRecord> record;
  };
  struct Cable {
    int fromModule = 0, fromPoint = 0, toModule = 0, toPoint = 0;  ///< ids and points of modules
    int colour = 1;

    auto Key() const { return std::tie(fromModule, fromPoint, toModule, toPoint, colour); }
    bool operator==(const Cable& other) const { return Key() == other.Key(); }
    bool operator<(const Cable& other) const { return Key() < other.Key(); }
  };

  PresetDocument rack;  ///< all but modules and cables
  std::vector<Entry> modules;
  std::vector<Cable> cables;

  const ModuleRecord* Find(int id) const;
  /// The bytes of the records that `other` does not share, and of the lists.
  std::size_t BytesBeside(const RackSnapshot& other) const;
};

bool operator==(const RackSnapshot::Entry& a, const RackSnapshot::Entry& b);
bool operator==(const RackSnapshot& a, const RackSnapshot& b);

/// Takes snapshots of one rack and restores them. Belongs to the window thread. ModuleLeft has to
/// be called for every module that leaves the rack.
class RackSnapshots {
 public:
  explicit RackSnapshots(RackModel& rack) : rack_(rack) {}

  /// Reads one module at a time inside the processing lock, so that the audio thread waits for one
  /// at most. What equals its record in `previous` is shared with it; data of an unchanged revision
  /// are not read.
  RackSnapshot Take(const RackSnapshot& previous);
  /// Brings the rack from `from` to `to`: only what differs between the two changes, and everything
  /// else sounds on as it is. False if a module could not be made; the others are restored.
  bool Restore(const RackSnapshot& from, const RackSnapshot& to);

  /// The identity of a module, which is given to new ones here.
  int IdOf(const Module& module);
  void ModuleLeft(const Module& module) { ids_.erase(&module); }

 private:
  Module* FindModule(int id) const;
  PatchPoint* FindPoint(int module, int point) const;
  void RestoreRack(const PresetDocument& from, const PresetDocument& to);
  void NumberPoints();
  void RemoveCables(const RackSnapshot& to);
  void AddCables(const RackSnapshot& to);
  /// Collects controls that want host parameters when the highest one is known.
  bool AddModules(const RackSnapshot& to, std::vector<CControl*>& newControls);
  void RestoreOptions(Module& module, const PresetModule& was, const PresetModule& will);
  ModuleRecord RecordOf(Module& module, const ModuleRecord* previous);
  void RestoreData(Module& module, const ModuleRecord& from, const ModuleRecord& to);
  RackSnapshot::Cable Describe(const Cable& cable);

  RackModel& rack_;
  std::map<const Module*, int> ids_;
  int nextId_ = 1;
};

}  // namespace halveron
