#include "editor/sound_dialog.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/choice_field.h"
#include "editor/syn_editor.h"
#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/param_display.h"
#include "gui/text_button.h"
#include "gui/text_fit.h"
#include "gui/theme.h"

namespace halveron {

namespace {

// Pixels at scale 1.
constexpr CCoord kWidth = 520;
constexpr CCoord kMargin = 20;
constexpr CCoord kGap = 10;
constexpr CCoord kTitleHeight = 26;
constexpr CCoord kNameWidth = 120;
constexpr CCoord kFieldHeight = 26;
constexpr CCoord kFieldGap = 5;
constexpr CCoord kLineHeight = 19;
constexpr int kStateLines = 3;
constexpr int kProblemLines = 3;
constexpr CCoord kButtonWidth = 96;
constexpr CCoord kButtonHeight = 28;

}  // namespace

SoundDialog::SoundDialog(SynEditor& editor) : CViewContainer(CRect(), nullptr), editor_(editor) {
  setVisible(false);
}

void SoundDialog::Open() {
  CFrame* root = getFrame();
  if (!root || !editor_.sound) return;
  Close();
  editor_.sound->LookForDevices();
  groups_ = editor_.sound->Groups();
  LayOut(root->getUiScale());
  Show();
  setVisible(true);
  setWantsIdle(true);
  root->pushModalView(this);
  root->setFocusView(stops_.front());
}

void SoundDialog::Close() {
  if (!isVisible()) return;
  if (CFrame* root = getFrame()) root->popModalView(this);
  setWantsIdle(false);
  setVisible(false);
  fields_.clear();
  stops_.clear();
  state_ = problem_ = nullptr;
  removeAll();
}

void SoundDialog::Refresh() {
  if (!editor_.sound) return;
  editor_.sound->LookForDevices();
  Show();
}

CCoord SoundDialog::WantedHeight() const {
  const auto rows = static_cast<CCoord>(groups_.size());
  return 2 * kMargin + kTitleHeight + 2 * kGap + rows * (kFieldHeight + kFieldGap) +
         (kStateLines + kProblemLines) * kLineHeight + 2 * kGap + kButtonHeight;
}

void SoundDialog::LayOut(double fullScale) {
  const CRect room = getParentView()->getViewSize();
  // In a low window all of it is smaller.
  scale_ = std::min(fullScale, room.getHeight() / (WantedHeight() + kGap));
  const double scale = scale_;
  const CCoord margin = theme::Scaled(kMargin, scale);
  const CCoord gap = theme::Scaled(kGap, scale);
  const CCoord width = std::min(theme::Scaled(kWidth, scale), room.getWidth() - 2 * gap);
  setViewSize(CRect(0, 0, width, 0), false);
  const CCoord right = width - margin;
  AddLabel(CRect(margin, margin, right, margin + theme::Scaled(kTitleHeight, scale)),
           "Sound and MIDI", kBoldFace)
      ->setHoriAlign(kCenterText);
  CCoord top = AddFields(margin + theme::Scaled(kTitleHeight, scale) + gap);
  const CCoord line = theme::Scaled(kLineHeight, scale);
  state_ = AddLabel(CRect(margin, top, right, top + kStateLines * line), "", kNormalFace);
  top += kStateLines * line + gap;
  problem_ = AddLabel(CRect(margin, top, right, top + kProblemLines * line), "", kNormalFace);
  problem_->setFontColor(theme::kAccent);
  top += kProblemLines * line + gap;
  const CCoord buttonWidth = theme::Scaled(kButtonWidth, scale);
  const CCoord bottom = top + theme::Scaled(kButtonHeight, scale);
  const CCoord middle = std::floor(width / 2);
  AddButton(CRect(middle - gap / 2 - buttonWidth, top, middle - gap / 2, bottom), "Close", [this] {
    Close();
  })->setProminent(true);
  AddButton(CRect(middle + gap / 2, top, middle + gap / 2 + buttonWidth, bottom), "Refresh",
            [this] { Refresh(); });
  const CCoord height = bottom + margin;
  const CPoint corner(std::floor(std::max((room.getWidth() - width) / 2, 0.0)),
                      std::floor(std::max((room.getHeight() - height) / 2, 0.0)));
  const CRect place = CRect::FromSize(corner, width, height);
  setViewSize(place, false);
  setMouseableArea(place);
}

CCoord SoundDialog::AddFields(CCoord top) {
  const CCoord margin = theme::Scaled(kMargin, scale_);
  const CCoord left = margin + theme::Scaled(kNameWidth, scale_);
  const CCoord height = theme::Scaled(kFieldHeight, scale_);
  for (const SoundControl::Group& group : groups_) {
    AddLabel(CRect(margin, top, left, top + height), group.title.c_str(), kNormalFace)
        ->setVertAlign(kMiddleText);
    auto* field = new ChoiceField(CRect(left, top, getWidth() - margin, top + height), this, scale_,
                                  group.takesSeveral);
    addView(field);
    fields_.push_back(field);
    stops_.push_back(field);
    top += height + theme::Scaled(kFieldGap, scale_);
  }
  return top + theme::Scaled(kGap, scale_);
}

CTextLabel* SoundDialog::AddLabel(const CRect& place, const char* text, int style) {
  auto* label = new CTextLabel(place, text, nullptr, kNoFrame);
  label->setTransparency(true);
  label->setFont(theme::Font(scale_, style));
  label->setFontColor(theme::kText);
  label->setHoriAlign(kLeftText);
  label->setVertAlign(kTopText);
  addView(label);
  return label;
}

CTextButton* SoundDialog::AddButton(const CRect& place, const char* title,
                                    std::function<void()> action) {
  auto* button = new CTextButton(place, nullptr, 0, title);
  button->setFont(theme::Font(scale_));
  button->onPressed = std::move(action);
  addView(button);
  stops_.push_back(button);
  return button;
}

void SoundDialog::Show() {
  groups_ = editor_.sound->Groups();
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    ChoiceField& field = *fields_[i];
    field.closePopup();
    field.removeAllEntry();
    int current = -1;
    for (const SoundControl::Choice& choice : groups_[i].choices) {
      CMenuItem* item = field.addEntry(choice.text.c_str());
      item->setChecked(choice.isChosen);
      if (choice.isChosen) current = field.getNbEntries() - 1;
    }
    field.setCurrent(current);
    field.invalid();
  }
  ShowState();
}

void SoundDialog::ShowState() {
  const auto show = [](CTextLabel& label, const std::string& text) {
    label.setText(WrapText(*label.getFont(), text, label.getWidth()).c_str());
  };
  show(*state_, editor_.sound->Details());
  show(*problem_, editor_.sound->Problem());
}

std::string SoundDialog::StateText() const { return state_->getText(); }

std::string SoundDialog::ProblemText() const { return problem_->getText(); }

void SoundDialog::valueChanged(CControl* control) {
  const auto found = std::find(fields_.begin(), fields_.end(), control);
  if (found == fields_.end()) return;
  const SoundControl::Group& group = groups_[static_cast<std::size_t>(found - fields_.begin())];
  const int index = (*found)->getCurrentIndex();
  if (index < 0) return;
  // By a copy: the choices are made again while this one takes effect.
  const SoundControl::Choice choice = group.choices[static_cast<std::size_t>(index)];
  if (!choice.isChosen || group.takesSeveral) choice.choose();
  Show();
}

void SoundDialog::MoveFocus(int steps) {
  CFrame* root = getFrame();
  const auto count = static_cast<int>(stops_.size());
  const auto at = std::find(stops_.begin(), stops_.end(), root->getFocusView());
  const int present = at == stops_.end() ? 0 : static_cast<int>(at - stops_.begin());
  root->setFocusView(stops_[static_cast<std::size_t>((present + steps + count) % count)]);
}

void SoundDialog::onIdle() {
  if (!editor_.sound) return Close();
  if (getFrame()->getTime() < nextState_) return;
  nextState_ = getFrame()->getTime() + kStateSeconds;
  ShowState();
}

CMouseEventResult SoundDialog::onMouseDown(CPoint& where, const CButtonState& buttons) {
  const CMouseEventResult result = CViewContainer::onMouseDown(where, buttons);
  return result == kMouseEventNotHandled ? kMouseDownEventHandledButDontNeedMovedOrUpEvents
                                         : result;
}

bool SoundDialog::onKeyDown(const CKeyEvent& event) {
  if (event.key == kKeyEscape) {
    Close();
  } else if (event.key == kKeyTab) {
    MoveFocus(event.modifiers.isShiftSet() ? -1 : 1);
  } else if (event.key == kKeyF5) {
    Refresh();
  } else if (event.key == kKeyUp || event.key == kKeyLeft) {
    MoveFocus(-1);
  } else if (event.key == kKeyDown || event.key == kKeyRight) {
    MoveFocus(1);
  }
  return true;
}

void SoundDialog::drawBackgroundRect(CDrawContext* context, const CRect& /*updateRect*/) {
  const CRect whole = CRect::FromSize({}, getWidth(), getHeight());
  theme::DrawPanel(*context, whole, 1, theme::kFieldEdge);
}

}  // namespace halveron
