#include "editor/midi_learning.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <tuple>
#include <utility>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "editor/value_entry.h"
#include "framework/control_scale.h"
#include "framework/module.h"
#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/theme.h"
#include "presets/midi_bindings.h"

namespace halveron {

namespace {

constexpr double kDialogWidth = 280;
constexpr double kMarkSize = 8;  // panel units

/// A dot at the corner of a knob.
class MidiMark final : public CView {
 public:
  explicit MidiMark(const CRect& size) : CView(size) {
    transparent = true;
    mouseEnabled = false;
  }
  bool hitTest(const CPoint& /*where*/, const CButtonState& /*buttons*/) override { return false; }
  void draw(CDrawContext* context) override {
    setDirty(false);
    context->setFillColor(theme::kAccent);
    context->setFrameColor(theme::kPanelEdge);
    context->setLineWidth(1);
    context->drawEllipse(viewSize, kDrawFilledAndStroked);
  }
};

CRect MarkPlace(const ModuleKnob& knob) {
  const CCoord size = std::max(kMarkSize * uiScale, 4.0);
  const CRect place = knob.getViewSize();
  return CRect::FromSize(CPoint(place.right - size, place.top), size, size);
}

std::string NameOf(const ModuleKnob& knob) {
  const auto* module = static_cast<const Module*>(knob.getParentView());
  return std::string(module->GetName()) + ": " + knob.role;
}

void Bind(SynEditor& editor, ModuleKnob& knob, const MidiBinding& binding) {
  BindKnob(editor, knob, binding);
  editor.engine.PatchEdited();
}

void Unbind(SynEditor& editor, const ModuleKnob& knob) {
  editor.midi.Unbind(knob);
  editor.engine.PatchEdited();
}

std::optional<int> WholeNumber(const std::string& text, int least, int most) {
  int number = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end || number < least || number > most) return std::nullopt;
  return number;
}

using Fields = std::array<std::string, 5>;

Fields FieldsOf(const MidiBinding& binding, const ModuleKnob& knob) {
  const bool isAny = binding.channel == MidiBinding::kAnyChannel;
  return {std::to_string(binding.controller), isAny ? "all" : std::to_string(binding.channel + 1),
          ValueText(knob, binding.from), ValueText(knob, binding.to),
          binding.pickUp ? "yes" : "no"};
}

/// What the fields say, which began as those of `former`; an empty binding and the cause in `error`
/// if they cannot be understood.
std::optional<MidiBinding> ParseFields(const Fields& fields, const MidiBinding& former,
                                       const ModuleKnob& knob, std::string& error) {
  MidiBinding binding = former;
  const auto controller = WholeNumber(fields[0], 0, MidiBinding::kControllers - 1);
  if (!controller) {
    error = "Controller: a number from 0 to 119";
    return std::nullopt;
  }
  binding.controller = *controller;
  const auto channel = WholeNumber(fields[1], 1, midi::kChannels);
  if (!channel && fields[1] != "all") {
    error = "Channel: a number from 1 to 16, or all";
    return std::nullopt;
  }
  binding.channel = channel ? *channel - 1 : MidiBinding::kAnyChannel;
  for (const auto& [name, text, value] :
       {std::tuple{"From: ", &fields[2], &binding.from}, {"To: ", &fields[3], &binding.to}}) {
    // The words are rounded; a value that nobody has touched stays exactly.
    if (*text == ValueText(knob, *value)) continue;
    const ParsedValue parsed = ParseValue(knob, *text);
    if (!parsed.value) {
      error = name + parsed.error;
      return std::nullopt;
    }
    *value = *parsed.value;
  }
  if (fields[4] != "yes" && fields[4] != "no") {
    error = "Pick-up: yes or no";
    return std::nullopt;
  }
  binding.pickUp = fields[4] == "yes";
  return binding;
}

void AskForBinding(SynEditor& editor, const SharedPointer<ModuleKnob>& knob,
                   const MidiBinding& former, const Fields& fields, const std::string& text) {
  DialogRequest request;
  request.width = kDialogWidth;
  request.title = NameOf(*knob);
  request.text = text;
  request.lineCount = 1;
  request.fields = {{"Controller", fields[0]},
                    {"Channel", fields[1]},
                    {"From", fields[2]},
                    {"To", fields[3]},
                    {"Pick-up", fields[4]}};
  request.buttons = {"OK", "Cancel"};
  request.callback = [&editor, knob, former](DialogWindow& dialog, int button) {
    Fields typed;
    for (std::size_t i = 0; i < typed.size(); ++i) typed[i] = dialog.FieldText(static_cast<int>(i));
    dialog.CloseDialog();
    if (button != 0 || !knob->getFrame()) return;
    std::string error;
    if (const auto binding = ParseFields(typed, former, *knob, error)) {
      Bind(editor, *knob, *binding);
    } else {
      AskForBinding(editor, knob, former, typed, error);
    }
  };
  ShowDialogBeside(editor, *knob, std::move(request));
}

}  // namespace

std::string BindingText(const MidiBinding& binding) {
  std::string text = "CC " + std::to_string(binding.controller);
  if (binding.channel == MidiBinding::kAnyChannel) return text;
  return text + ", channel " + std::to_string(binding.channel + 1);
}

MidiLearning::MidiLearning(SynEditor& editor) : CView(CRect()), editor_(editor) {
  mouseEnabled = false;
  setWantsIdle(true);
}

MidiLearning::~MidiLearning() {
  Cancel();
  // A mark that its module still has goes with the window.
  for (const auto& [knob, mark] : marks_) {
    if (auto* parent = mark->getParentView()) parent->asContainer()->removeView(mark.get());
  }
}

void MidiLearning::Begin(ModuleKnob& knob) {
  waiting_ = SharedPointer<ModuleKnob>(&knob);
  editor_.midi.Learn();
}

bool MidiLearning::Cancel() {
  if (!waiting_) return false;
  waiting_ = nullptr;
  editor_.midi.CancelLearning();
  return true;
}

void MidiLearning::onIdle() {
  if (waiting_ && !waiting_->getFrame()) Cancel();
  if (waiting_) {
    if (const auto learned = editor_.midi.TakeLearned()) {
      const SharedPointer<ModuleKnob> knob = std::exchange(waiting_, nullptr);
      MidiBinding binding;
      if (const MidiBinding* present = editor_.midi.Find(*knob)) binding = *present;
      binding.controller = learned->controller;
      // A fixed channel moves along; else the controller that was just turned would do nothing.
      if (binding.channel != MidiBinding::kAnyChannel) binding.channel = learned->channel;
      Bind(editor_, *knob, binding);
    }
  }
  if (shownVersion_ != editor_.midi.Version()) UpdateMarks();
}

void MidiLearning::UpdateMarks() {
  shownVersion_ = editor_.midi.Version();
  std::map<const ModuleKnob*, SharedPointer<CView>> former;
  former.swap(marks_);
  for (const MidiMap::Bound& bound : editor_.midi.All()) {
    if (!bound.knob) continue;
    SharedPointer<CView>& mark = marks_[bound.knob];
    mark = former[bound.knob];
    former.erase(bound.knob);
    if (mark && mark->getParentView() == bound.module) continue;
    mark = SharedPointer<CView>::Adopt(new MidiMark(MarkPlace(*bound.knob)));
    mark->remember();  // the panel's reference
    bound.module->addView(mark.get());
    mark->invalid();
  }
  for (const auto& [knob, mark] : former) {
    if (!mark || !mark->getParentView()) continue;
    mark->invalid();
    mark->getParentView()->asContainer()->removeView(mark.get());
  }
}

void EditBinding(SynEditor& editor, ModuleKnob& knob) {
  const MidiBinding* present = editor.midi.Find(knob);
  const MidiBinding former = present ? *present : MidiBinding{};
  AskForBinding(editor, SharedPointer<ModuleKnob>(&knob), former, FieldsOf(former, knob),
                RangeText(knob));
}

void AddMidiEntries(SynOptionMenu& menu, SynEditor& editor, ModuleKnob& knob) {
  const bool isBound = editor.midi.Find(knob) != nullptr;
  menu.Add("MIDI Learn", [&editor, &knob] {
    if (editor.Window()) editor.Window()->BeginLearning(knob);
  });
  menu.Add("MIDI Controller...", [&editor, &knob] { EditBinding(editor, knob); });
  menu.Add("Remove MIDI Controller", [&editor, &knob] { Unbind(editor, knob); })
      .setEnabled(isBound);
}

SharedPointer<SynOptionMenu> MakeMidiMenu(SynEditor& editor) {
  SharedPointer<SynOptionMenu> menu = SynOptionMenu::Make();
  for (const MidiMap::Bound& bound : editor.midi.All()) {
    if (!bound.knob) continue;
    SharedPointer<SynOptionMenu> actions = SynOptionMenu::Make();
    ModuleKnob& knob = *bound.knob;
    actions->Add("Edit...", [&editor, &knob] { EditBinding(editor, knob); });
    actions->Add("Remove", [&editor, &knob] { Unbind(editor, knob); });
    menu->AddSubmenu(BindingText(bound.binding) + "   " + NameOf(knob), actions);
  }
  if (editor.midi.All().empty()) {
    menu->Add("None: choose \"MIDI Learn\" in a knob's menu", [] {}).setEnabled(false);
    return menu;
  }
  menu->addSeparator();
  menu->Add("Remove All", [&editor] {
    editor.midi.Set({});
    editor.engine.PatchEdited();
  });
  return menu;
}

}  // namespace halveron
