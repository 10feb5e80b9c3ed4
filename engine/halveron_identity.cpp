// Identity under VST2: names, pins and abilities.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "engine/halveron.h"
#include "framework/module.h"

namespace halveron {

namespace {

bool CopyText(std::string_view text, char* target) {
  *std::copy(text.begin(), text.end(), target) = '\0';
  return true;
}

/// "In L", "In R", "In 3" and so on.
void FillPin(const char* direction, int index, VstPinProperties* properties) {
  constexpr const char* kSides[] = {"L", "R"};
  *properties = {};
  if (index < 2) {
    std::snprintf(properties->label, kVstMaxLabelLen, "%s %s", direction, kSides[index]);
  } else {
    std::snprintf(properties->label, kVstMaxLabelLen, "%s %d", direction, index + 1);
  }
  properties->flags = kVstPinIsActive | kVstPinIsStereo;
}

}  // namespace

bool Halveron::getEffectName(char* name) { return CopyText("Halveron", name); }
bool Halveron::getVendorString(char* text) { return CopyText(kBuiltInVendor, text); }
bool Halveron::getProductString(char* text) { return CopyText("Modular Synth", text); }

int Halveron::canDo(char* text) {
  constexpr std::string_view kAbilities[] = {"receiveVstEvents",
                                             "receiveVstMidiEvent",
                                             "receiveVstTimeInfo",
                                             "sendVstMidiEvent",
                                             "sendVstMidiEvents",
                                             "sendVstEvents",
                                             "MPE"};
  const auto* const end = std::end(kAbilities);
  return std::find(std::begin(kAbilities), end, std::string_view(text)) != end ? 1 : -1;
}

bool Halveron::getInputProperties(int index, VstPinProperties* properties) {
  if (index < 0 || index >= kDawInputs) return false;
  FillPin("In", index, properties);
  return true;
}

bool Halveron::getOutputProperties(int index, VstPinProperties* properties) {
  if (index < 0 || index >= kDawOutputs) return false;
  FillPin("Out", index, properties);
  return true;
}

}  // namespace halveron
