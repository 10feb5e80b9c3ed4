// What is kept of a module that cannot be made, so that nothing of it is lost.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "framework/module.h"
#include "presets/preset_document.h"

namespace halveron {

/// What is known of a missing module from the presets that have it.
struct PlaceholderPlan {
  struct Point {
    PatchPointType type = kInputPoint;
    bool isMidi = false;
    bool isCabled = false;
  };

  ModuleIdentity identity;
  int version = 1000;
  int columns = 1;
  bool isMono = true;
  bool leadsToVoices = false;
  std::vector<bool> isPoint;  ///< of each saved control, in order, where most were saved
  /// The same for records of other versions, by how many controls they saved.
  std::map<std::size_t, std::vector<bool>> isPointInFewer;
  std::vector<Point> points;
};

/// By identity: the modules of a preset that are missing.
using PlaceholderPlans = std::map<ModuleIdentity, PlaceholderPlan>;

/// Which entries of a record's index block are its points: those are numbered on and on through a
/// preset, from `firstNumber` in this record, and stand behind the controls.
std::vector<bool> PointsAmong(const PresetModule& module, int firstNumber);

/// Columns that a placeholder with so many points needs.
int PlaceholderColumns(std::size_t points);

/// Plans placeholders for modules of a document. A preset does not store a module's width: it is
/// taken from `knownColumns`, or else from the room that the preset leaves it. `isMidi` reports
/// which of the document's points carry MIDI, as far as their modules are there. Points without a
/// cable count as inputs; no cable can be put there.
PlaceholderPlans PlanPlaceholders(const PresetDocument& document,
                                  const std::set<ModuleIdentity>& missing,
                                  const std::map<ModuleIdentity, int>& knownColumns,
                                  const std::vector<std::optional<bool>>& isMidi);

/// Has the points of the missing module and does nothing. What was loaded is saved again unchanged:
/// values, parameters, and data of the module's own. It holds the cables and the host parameters.
class Placeholder : public Module {
 public:
  Placeholder(const PlaceholderPlan& plan, const HostTable& table, int voiceIndex);

  const PlaceholderPlan& Plan() const { return plan_; }

  const char* GetName() const override { return plan_.identity.first.c_str(); }
  int GetNameLength() const override { return static_cast<int>(plan_.identity.first.size()); }
  const char* GetVendorName() const override { return plan_.identity.second.c_str(); }
  int GetVendorNameLength() const override {
    return static_cast<int>(plan_.identity.second.size());
  }
  int GetVersion() const override { return version_; }
  bool GetMonoDefault() const override { return plan_.isMono; }
  bool UsesPolyphony() const override { return plan_.leadsToVoices; }
  const char* GetInfoURL() override { return nullptr; }

  int GetPresetSize() override { return static_cast<int>(data_.size()); }
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;
  void NumberPatchPoints(int* next) override;
  int GetPatchPointIndicesSize() override {
    return static_cast<int>(isPoint_.size() * sizeof(int));
  }
  void SavePatchPointIndices(int* buffer) override;
  void LoadPatchPointIndices(const int* buffer, unsigned size) override;

 private:
  void MakePoint(std::size_t index);
  void ShowValues();
  /// Values by saved entry, as they stand on the panel, which may have more entries.
  template <class Value>
  std::vector<Value> OnPanel(const std::vector<Value>& saved, Value rest) const;

  const PlaceholderPlan plan_;
  std::vector<bool> isPoint_;  // of the entries of this one's record
  std::vector<std::string> roles_;
  std::vector<PointLink> links_;
  std::vector<std::byte> data_;
  std::vector<int> indices_;
  int version_;
};

}  // namespace halveron
