#include "editor/first_start.h"

#include <filesystem>
#include <string>
#include <system_error>

#include "editor/syn_editor.h"
#include "platform/profile_file.h"

namespace halveron {

namespace {

constexpr const char* kFirstVoice = "Lead/Singing Lead.hvp";

}  // namespace

bool OpenFirstVoice(SynEditor& editor) {
  const std::string config = editor.folders.ConfigFile();
  std::error_code error;
  if (config.empty() || std::filesystem::exists(config, error)) return false;
  platform::ProfileFile(config).SetInt("Start", "first_voice_shown", 1);
  const std::string preset = editor.presetsFolder + kFirstVoice;
  if (!std::filesystem::exists(preset, error) || !editor.LoadPreset(preset)) return false;
  editor.UpdatePresetDisplay(false);
  return true;
}

}  // namespace halveron
