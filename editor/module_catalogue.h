// The built-in modules: one table, in menu order, and the factory over it.
#pragma once

#include <span>
#include <string_view>

#include "framework/host_table.h"

namespace halveron {

/// The 14 categories, in the order of their submenus.
enum class Category : int {
  kMixerPanner,
  kFilter,
  kOscillatorSource,
  kAmplifier,
  kModulator,
  kModifierEffect,
  kClockGate,
  kSwitchMultiple,
  kCvSourceProcessor,
  kFromToDaw,
  kSequencer,
  kLogicBit,
  kMidi,
  kOther,
};

inline constexpr int kCategoryCount = 14;

struct CategoryNames {
  const char* display;  ///< in menus
  const char* folder;   ///< section of the files that list external libraries
};

const CategoryNames& NamesOf(Category category);

/// One catalogue entry. The functions are null where the class is not there yet: such an entry
/// fails to be made as an unknown name does.
struct CatalogueEntry {
  Category category;
  const char* name;
  const char* className;
  const char* summary;   ///< one sentence for users
  const char* keywords;  ///< what else users may look for, in small letters, by blanks
  Module* (*make)(CFrame* frame, const HostTable& table, int voiceIndex);
  void (*setUpClass)();
  void (*tearDownClass)();
};

/// All entries, in menu order: the list sorts the menus, not the numbers.
std::span<const CatalogueEntry> ModuleCatalogue();

/// The entry of a name and vendor, compared byte for byte, or of a misspelt name that earlier
/// versions saved; null if there is none.
const CatalogueEntry* FindInCatalogue(std::string_view name, std::string_view vendor);

/// Sets up, or tears down, what the instances of each class share in a process.
void SetUpModuleClasses();
void TearDownModuleClasses();

}  // namespace halveron
