#include "modules/other/SE20GlobalMorph.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <utility>

#include "dsp/random.h"
#include "framework/numbered_role.h"
#include "framework/preset_tail.h"
#include "framework/rack_model.h"
#include "gui/button.h"

namespace halveron {

namespace {

constexpr float kJump = 0.25f;     // of the trigger, between two samples
constexpr double kHoldoff = 0.01;  // seconds
constexpr int kReportPeriod = 50;  // milliseconds
constexpr const char* kSampler = "S315 Mini Sampler VCO";

bool IsMorph(const Module& module) {
  return dynamic_cast<const SE20GlobalMorph*>(&module) != nullptr;
}

/// Buttons that load, record and erase: nothing to be pressed by chance.
bool HasDelicateButtons(const Module& module) {
  return std::strcmp(module.GetVendorName(), kBuiltInVendor) == 0 &&
         std::strcmp(module.GetName(), kSampler) == 0;
}

}  // namespace

SE20GlobalMorph::SE20GlobalMorph(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex),
      reportTimer_(*this, kReportPeriod, [this] { ApplyHostReport(); }) {
  constexpr float kLeft = 26, kMiddle = 72, kRight = 118, kMorph = 94, kRing = 46;
  AddModuleKnob(morph_, "Morph", kMiddle, kMorph, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(randomAmount_, "Random amount", kRight, 204, SharedBitmap::kGrayKnob, 0.1f);
  AddModuleKnob(step_, "Step", kMiddle, 204, SharedBitmap::kGrayKnob, 0.6f);
  AddPatchPoint(trigger_, "Trigger", kMiddle, 250);
  store_ = AddKickButton("Store", kLeft, 158, SharedBitmap::kLetterBlank);
  delete_ = AddKickButton("Delete", kMiddle, 158, SharedBitmap::kLetterBlank);
  randomise_ = AddKickButton("Randomise", kRight, 158, SharedBitmap::kLetterBlank);
  hostReport_ = AddVerticalSwitch("Host report", kLeft, 204, SharedBitmap::kVerticalSwitch, 1.0f);
  differences_ = AddVerticalSwitch("Differences", kLeft, 250, SharedBitmap::kVerticalSwitch, 1.0f);
  for (int i = 0; i < SnapshotTable::kLamps; ++i) {
    // From the knob's lower left end round to its lower right one.
    const double turn = (i / (SnapshotTable::kLamps - 1.0) - 0.5) * 1.5 * std::numbers::pi;
    const auto x = static_cast<float>(std::sin(turn)) * kRing;
    const auto y = static_cast<float>(-std::cos(turn)) * kRing;
    lamps_[i] = AddMovieBitmap(NumberedRole<"LED">(i), kMiddle + x, kMorph + y,
                               SharedBitmap::kBlueLamp, true);
    lamps_[i]->caption = "";
    lamps_[i]->setMouseEnabled(false);
  }
  randomAmount_.View().caption = "Amount";
  randomise_->caption = "Random";
  hostReport_->caption = "Report";
  differences_->caption = "Differ";

  monoSelectable = false;
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  reportTimer_.Start();
}

void SE20GlobalMorph::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  holdoffSamples_ = static_cast<int>(rate * kHoldoff);
}

void SE20GlobalMorph::ProcessSample() {
  const float trigger = trigger_->in;
  if (holdoff_ > 0) {
    --holdoff_;
  } else if (trigger >= lastTrigger_ + kJump) {
    float position = morph_->value + (step_->value * 0.5f - 0.25f);
    if (position > 1.0f) position -= 1.0f;
    if (position < 0.0f) position += 1.0f;
    morph_.View().setValue(position);
    ValueChanged(morph_);
    holdoff_ = holdoffSamples_;
  }
  lastTrigger_ = trigger;
}

void SE20GlobalMorph::ValueChanged(CControl* control) {
  const ProcessingSection section(*this);
  const bool pressed = control->getValue() >= 0.5f;
  if (control == hostReport_) {
    wantsReport_ = !pressed;  // parameters come and go on the window's thread
  } else if (control == differences_) {
    differencesOnly_ = !pressed;
  } else if (isLoading_) {
    return;  // the other modules have their own values from the preset
  } else if (control == morph_) {
    Morph();
  } else if (control == store_ && pressed) {
    Store();
  } else if (control == delete_ && pressed) {
    snapshots_.Delete(Position());
    ShowLamps();
  } else if (control == randomise_ && pressed) {
    Randomise();
  }
}

ControlEffect SE20GlobalMorph::EffectOf(const CControl& control) const {
  const bool movesOthers = &control == randomise_ || &control == &morph_.View();
  return movesOthers ? ControlEffect::kOtherModules : ControlEffect::kSetting;
}

void SE20GlobalMorph::LoadControlValues(const float* buffer, unsigned size) {
  isLoading_ = true;
  Module::LoadControlValues(buffer, size);
  isLoading_ = false;
  ShowLamps();
}

/// Calls f(control, owner, tag) for the host parameters of all modules but this and others of its
/// class, in the order of their tags. The table holds the controls of voice 0 and no others.
template <class F>
void SE20GlobalMorph::ForEachParameter(F&& f) {
  const CView* parent = nullptr;
  Module* owner = nullptr;
  for (int tag = 0; tag < kParameterCount; ++tag) {
    CControl* control = editor->parameters.parameterControls[static_cast<std::size_t>(tag)];
    if (!control) continue;
    if (control->getParentView() != parent) {
      parent = control->getParentView();
      owner = dynamic_cast<Module*>(control->getParentView());
      // The tag of a removed module, which snapshots still know, may now be that of a Morph knob.
      if (owner && IsMorph(*owner)) owner = nullptr;
    }
    if (owner) f(*control, *owner, tag);
  }
}

float SE20GlobalMorph::Position() const {
  const float position = morph_->value;
  return position > 0.0f ? std::min(position, 1.0f) : 0.0f;
}

void SE20GlobalMorph::Morph() {
  const float position = Position();
  const int upper = snapshots_.FirstAtOrAbove(position);
  if (upper < 0) return;
  ForEachParameter([&](CControl& control, Module& owner, int tag) {
    const auto value = snapshots_.Between(position, upper, tag, differencesOnly_);
    if (value) ChangeTo(control, owner, tag, *value);
  });
}

void SE20GlobalMorph::ChangeTo(CControl& control, Module& owner, int tag, float value) {
  const float before = control.getValue();
  editor->plan.LeaveVectors();
  control.setValue(value);
  if (control.getValue() == before) return;
  editor->parameters.ValueSet(tag);
  if (wantsReport_) {
    // Keeps the engine from taking the report for a move by the host.
    const bool wasInside = editor->parameters.inValueChanged.exchange(true);
    engine->ParameterMoved(tag, control.getValue());
    editor->parameters.inValueChanged = wasInside;
  }
  owner.ValueChanged(&control);
  for (CControl* clone = control.nextVoice; clone; clone = clone->nextVoice) {
    clone->setValue(control.getValue());
    static_cast<Module*>(clone->getParentView())->ValueChanged(clone);
  }
}

bool SE20GlobalMorph::IsStored(CControl& control) const {
  auto* owner = dynamic_cast<Module*>(control.getParentView());
  return owner && !owner->IsAudioToDAW() && !IsMorph(*owner) &&
         !dynamic_cast<CKickButton*>(&control);
}

void SE20GlobalMorph::Store() {
  const auto& controls = editor->parameters.parameterControls;
  const auto counts = [this](CControl* control) {
    return control && control->getParentView() != this && !dynamic_cast<CKickButton*>(control);
  };
  const auto first = std::find_if(controls.begin(), controls.end(), counts);
  if (first == controls.end()) return;
  const auto last = std::find_if(controls.rbegin(), controls.rend(), counts).base();
  const auto firstTag = static_cast<int>(first - controls.begin());
  const auto values =
      snapshots_.Store(Position(), firstTag, static_cast<int>(last - controls.begin()) - 1);
  std::transform(first, last, values.begin(), [this](CControl* control) {
    return control && IsStored(*control) ? control->getValue() : SnapshotTable::kMissing;
  });
  ShowLamps();
}

void SE20GlobalMorph::Randomise() {
  const int upper = snapshots_.FirstAtOrAbove(Position());
  if (differencesOnly_ && upper < 1) return;
  const auto amount = static_cast<double>(randomAmount_->value);
  ForEachParameter([&](CControl& control, Module& owner, int tag) {
    if (owner.IsAudioToDAW() || dynamic_cast<CKickButton*>(&control)) return;
    const bool isButton = dynamic_cast<COnOffButton*>(&control) != nullptr;
    if (isButton && HasDelicateButtons(owner)) return;
    if (differencesOnly_) {
      const float a = snapshots_.Value(upper - 1, tag), b = snapshots_.Value(upper, tag);
      if (!SnapshotTable::IsValue(a) || !SnapshotTable::IsValue(b) || a == b) return;
    }
    const double r = dsp::NextRandom();
    if (!isButton) {
      const double moved = control.getValue() + (r * 2.0 - 1.0) * amount;
      ChangeTo(control, owner, tag, static_cast<float>(std::clamp(moved, 0.0, 1.0)));
    } else if (r < amount) {
      ChangeTo(control, owner, tag, static_cast<float>(static_cast<int>(dsp::NextRandom() * 2.0)));
    }
  });
}

/// The list of host parameters follows the switch, which the host may have moved during a block:
/// from the timer, and without a window when a state is saved. Outside of the processing lock,
/// except within an edit.
void SE20GlobalMorph::ApplyHostReport() {
  const bool wanted = wantsReport_;
  if (wanted == hostLacksMorph_) return;
  hostLacksMorph_ = wanted;
  if (wanted) {
    // A host that hears of every control that Morph moves must not write Morph as well.
    morphTag_ = morph_.View().getTag();
    UnregisterTag(morph_);
  } else if (!RegisterTag(morph_, morphTag_)) {
    morphTag_ = GetFreeTag();
    RegisterTag(morph_, morphTag_);
  }
}

void SE20GlobalMorph::ShowLamps() {
  for (int i = 0; i < SnapshotTable::kLamps; ++i) {
    lamps_[i]->StoreValue(snapshots_.LampCount(i) > 0 ? 1.0f : 0.0f);
  }
}

void SE20GlobalMorph::SavePatchPointIndices(int* buffer) {
  ApplyHostReport();
  Module::SavePatchPointIndices(buffer);
}

int SE20GlobalMorph::GetPresetSize() { return PresetTail(*this).SizeWith(snapshots_.Bytes()); }

void SE20GlobalMorph::SavePreset(void* buffer, int size) {
  const ProcessingSection section(*this);
  snapshots_.Purge([this](int tag) {
    return editor->parameters.parameterControls[static_cast<std::size_t>(tag)] != nullptr;
  });
  ShowLamps();  // they are saved with the controls
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  snapshots_.Save(writer);
}

void SE20GlobalMorph::LoadPreset(const void* buffer, int size, int) {
  {
    const ProcessingSection section(*this);
    snapshots_.Clear();
    ByteReader reader = PresetTail(*this).Load(buffer, size);
    snapshots_.Load(reader);
    ShowLamps();
  }
  ApplyHostReport();
}

}  // namespace halveron
