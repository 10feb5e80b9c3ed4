#include "app/check_instances.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "app/library_rig.h"
#include "framework/module.h"
#include "framework/voice_group.h"
#include "presets/module_roles.h"

namespace halveron {

namespace {

constexpr int kInstances = kMaxVoices;
constexpr int kBlocks = 48;
/// Over and over. In those of fewer than 8 samples each voice runs by itself.
constexpr int kBlockFrames[] = {32, 1, 1, 9, 7, 64};

/// What one instance gave: its signal outputs at the end of each block, as bits.
using Sound = std::vector<std::uint32_t>;

std::vector<const PatchPoint*> OutputsOf(const Module& module) {
  std::vector<const PatchPoint*> outputs;
  for (const PatchPoint* point : module.Points()) {
    if (point->type == kOutputPoint && !point->twoState) outputs.push_back(point);
  }
  return outputs;
}

/// -1 to 1, other for each instance, input and block.
float InputLevel(int instance, std::size_t input, int block) {
  const auto mixed = static_cast<std::uint32_t>(instance * 7919 + block * 104729) +
                     static_cast<std::uint32_t>(input) * 1299709U;
  return static_cast<float>(mixed * 2654435761U >> 8) / static_cast<float>(1U << 23) - 1.0f;
}

/// Plays instances; each gets the inputs of its number.
class Session {
 public:
  explicit Session(const std::string& path) { rig_.Rack().externalModules.AddLibrary(path); }

  LibraryRig& Rig() { return rig_; }
  /// `movable` has the controls, which move two times.
  std::vector<Sound> Play(const std::vector<Module*>& instances, const std::vector<int>& numbers,
                          const std::vector<Module*>& movable) {
    std::vector<Sound> sounds(instances.size());
    for (int block = 0; block < kBlocks; ++block) {
      if (block == kBlocks / 3) MoveControls(movable, &CControl::getMax);
      if (block == kBlocks * 2 / 3) MoveControls(movable, &CControl::getDefaultValue);
      for (std::size_t i = 0; i < instances.size(); ++i) {
        std::size_t input = 0;
        for (PatchPoint* point : instances[i]->Points()) {
          if (point->type != kInputPoint || point->twoState) continue;
          point->in = InputLevel(numbers[i], input++, block);
        }
      }
      rig_.Run(kBlockFrames[static_cast<std::size_t>(block) % std::size(kBlockFrames)]);
      for (std::size_t i = 0; i < instances.size(); ++i) {
        for (const PatchPoint* point : OutputsOf(*instances[i])) {
          sounds[i].push_back(std::bit_cast<std::uint32_t>(static_cast<float>(point->out)));
        }
      }
    }
    return sounds;
  }

 private:
  static void MoveControls(const std::vector<Module*>& modules, float (CControl::*end)() const) {
    for (Module* module : modules) {
      for (const auto& [control, index, isLamp] : SettableControls(*module)) {
        if (isLamp) continue;
        control->setValue((control->*end)());
        control->valueChanged();
      }
    }
  }

  LibraryRig rig_;
};

class InstanceCheck {
 public:
  InstanceCheck(const std::string& path, const std::string& name, const std::string& vendor,
                const CheckReport& report)
      : path_(path), name_(name), vendor_(vendor), report_(report) {}

  void Run() {
    const std::optional<Sound> first = Lone(0);
    if (!first) return;
    const bool comparable = Lone(0) == first;
    SideBySide(comparable);
    const std::optional<std::vector<Sound>> single = Voices(VectorUnit::kNone);
    if (!single || !comparable) return;
    using UnitLanes = std::pair<VectorUnit, int>;
    for (const auto& [unit, lanes] :
         {UnitLanes{VectorUnit::kSse2, 4}, UnitLanes{VectorUnit::kAvx2, 8},
          UnitLanes{VectorUnit::kAvx512, 16}}) {
      if (unit > WidestVectorUnit()) break;
      const std::optional<std::vector<Sound>> together = Voices(unit);
      if (!together) return;
      for (std::size_t voice = 0; voice < together->size(); ++voice) {
        if (!Compare((*single)[voice], (*together)[voice],
                     "of voice " + std::to_string(voice) + " by run_voices in " +
                         std::to_string(lanes) + " lanes",
                     "by process_sample")) {
          return;
        }
      }
    }
  }

 private:
  std::optional<Sound> Lone(int number) {
    Session session(path_);
    Module* module = session.Rig().Add(name_, vendor_);
    if (!module) return std::nullopt;
    Note(*module);
    return session.Play({module}, {number}, {module}).front();
  }

  void Note(const Module& module) {
    if (!outputs_.empty()) return;
    for (const PatchPoint* point : OutputsOf(module)) outputs_.emplace_back(point->role);
  }

  void SideBySide(bool comparable) {
    Session session(path_);
    std::vector<Module*> modules;
    std::vector<int> numbers;
    for (int i = 0; i < kInstances; ++i) {
      Module* module = session.Rig().Add(name_, vendor_);
      if (!module) {
        report_(name_, "create gives no instance beside " + std::to_string(i) + " others");
        return;
      }
      modules.push_back(module);
      numbers.push_back(i);
    }
    const std::vector<Sound> sounds = session.Play(modules, numbers, modules);
    if (!comparable) return;
    for (const int number : {0, kInstances - 1}) {
      const std::optional<Sound> lone = Lone(number);
      if (!lone || !Compare(*lone, sounds[static_cast<std::size_t>(number)],
                            "of a module among " + std::to_string(kInstances), "of a lone one")) {
        return;
      }
    }
  }

  /// The sound of each voice; none for a module that has but one.
  std::optional<std::vector<Sound>> Voices(VectorUnit unit) {
    Session session(path_);
    SynEditor& rack = session.Rig().Rack();
    rack.plan.AllowVectors(unit);
    Module* module = session.Rig().Add(name_, vendor_);
    if (!module || module->mono) return std::nullopt;
    for (int count = 2; count <= kInstances; ++count) {
      rack.voices.ApplyVoiceCount(count);
      if (!module->mono) continue;
      report_(name_, "create gives no instance for voice " + std::to_string(count - 1));
      return std::nullopt;
    }
    std::vector<Module*> instances;
    std::vector<int> numbers;
    for (int voice = 0; voice < kInstances; ++voice) {
      instances.push_back(module->GetVoiceModule(voice));
      numbers.push_back(voice);
    }
    return session.Play(instances, numbers, {module});
  }

  /// False, with a report of the first difference, if there is one.
  bool Compare(const Sound& expected, const Sound& found, const std::string& ofWhat,
               const std::string& instead) {
    const auto [a, b] = std::mismatch(expected.begin(), expected.end(), found.begin(), found.end());
    if (a == expected.end() || outputs_.empty()) return true;
    const auto place = static_cast<std::size_t>(a - expected.begin());
    report_(name_, "the output '" + outputs_[place % outputs_.size()] + "' " + ofWhat + " is " +
                       std::to_string(std::bit_cast<float>(*b)) + " in block " +
                       std::to_string(place / outputs_.size()) + ", " + instead + " " +
                       std::to_string(std::bit_cast<float>(*a)));
    return false;
  }

  const std::string path_;
  const std::string name_;
  const std::string vendor_;
  const CheckReport& report_;
  std::vector<std::string> outputs_;
};

}  // namespace

void CheckInstances(const std::string& path, const std::string& name, const std::string& vendor,
                    const CheckReport& report) {
  InstanceCheck(path, name, vendor, report).Run();
}

}  // namespace halveron
