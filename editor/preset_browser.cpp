#include "editor/preset_browser.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/star.h"
#include "gui/text_button.h"
#include "gui/text_edit.h"
#include "gui/text_fit.h"
#include "gui/theme.h"

namespace halveron {

namespace {

// Pixels at the reference scale.
constexpr CCoord kPanelWidth = 640;
constexpr CCoord kPanelHeight = 470;
constexpr CCoord kFrameMargin = 12;
constexpr CCoord kControlHeight = 26;
constexpr CCoord kButtonWidth = 96;
constexpr CCoord kDetailsHeight = 66;
constexpr CCoord kStarColumn = 26;
constexpr CCoord kStarRadius = 6;
constexpr double kMostTitleShare = 0.6;  // of a row's width, if the folder needs the rest

constexpr const char* kHint = "Return loads and closes, Shift+Return loads, Ctrl+F stars";

}  // namespace

PresetRows::PresetRows(const CRect& size, CFrame* root, double scale_, const PresetIndex& index)
    : RowList(size, root, scale_, theme::kRowHeight), index_(index) {}

void PresetRows::Show(std::vector<int> presets) {
  presets_ = std::move(presets);
  setCount(static_cast<int>(presets_.size()),
           index_.Presets().empty() ? "There are no presets" : "No preset has these words");
}

int PresetRows::PresetAt(int row) const {
  return row >= 0 && row < getCount() ? presets_[static_cast<std::size_t>(row)] : -1;
}

CCoord PresetRows::StarWidth() const { return theme::Scaled(kStarColumn, scale); }

bool PresetRows::pressInRow(int index, CCoord x) {
  if (x >= StarWidth() || !onStar) return false;
  onStar(index);
  return true;
}

void PresetRows::drawRow(CDrawContext& context, int index, const CRect& row) {
  const IndexedPreset& preset = index_.Presets()[static_cast<std::size_t>(PresetAt(index))];
  const CPoint star(row.left + StarWidth() / 2, row.getCenter().y);
  DrawStar(context, star, theme::Scaled(kStarRadius, scale), preset.isFavourite,
           theme::kDisabledText);
  const CFontDesc& font = *context.getFont();
  const CCoord pad = theme::Scaled(theme::kPadding, scale);
  CRect text = row;
  text.left += StarWidth();
  text.right -= pad;
  const CCoord title = font.measure(preset.title).x;
  const CCoord folder = preset.folder.empty() ? 0 : font.measure(preset.folder).x + pad;
  const CCoord room =
      std::min(title, std::max(text.getWidth() - folder, text.getWidth() * kMostTitleShare));
  context.drawString(FitText(font, preset.title, room, Ellipsis::kAtEnd), text, kLeftText);
  text.left += room + pad;
  if (getSelected() != index) context.setFontColor(theme::kPaleText);
  context.drawString(FitText(font, preset.folder, text.getWidth(), Ellipsis::kAtEnd), text,
                     kRightText);
}

PresetBrowser::PresetBrowser(CFrame& root, PresetIndex& index,
                             std::function<void(const std::string&)> load)
    : CViewContainer(root.getViewSize(), &root),
      index_(index),
      load_(std::move(load)),
      scale_(root.getUiScale()) {
  transparent = true;
  index_.Collect();
  Build(root);
  Filter();
}

PresetBrowser::Places PresetBrowser::LayOut(const CRect& room) {
  const CCoord margin = theme::Scaled(kFrameMargin, scale_);
  const CCoord width = std::min(theme::Scaled(kPanelWidth, scale_), room.getWidth() - 2 * margin);
  const CCoord height =
      std::min(theme::Scaled(kPanelHeight, scale_), room.getHeight() - 2 * margin);
  const CPoint c = room.getCenter();
  panel_ = CRect::FromSize({std::round(c.x - width * 0.5), std::round(c.y - height * 0.5)}, width,
                           height);
  const CCoord pad = theme::Scaled(theme::kPadding, scale_);
  const CCoord row = theme::Scaled(kControlHeight, scale_);
  const CCoord button = theme::Scaled(kButtonWidth, scale_);
  CRect inside = panel_;
  inside.inset(pad, pad);
  const CCoord top = inside.bottom - row;
  detailsPlace_ = {inside.left, top - pad - theme::Scaled(kDetailsHeight, scale_), inside.right,
                   top - pad};
  return {{inside.left, inside.top, inside.right, inside.top + row},
          {inside.left, inside.top + row + pad, inside.right, detailsPlace_.top - pad},
          {inside.right - button, top, inside.right, inside.bottom},
          {inside.right - 2 * button - pad, top, inside.right - button - pad, inside.bottom}};
}

void PresetBrowser::Build(CFrame& root) {
  const Places places = LayOut(root.getViewSize());
  AddSearch(places.search);
  loadButton_ = AddButton(places.load, "Load", [this] { Choose(false); });
  loadButton_->setProminent(true);
  closeButton_ = AddButton(places.close, "Close", [this] { Close(); });
  rows_ = new PresetRows(places.rows, &root, scale_, index_);
  rows_->onSelected = [this](int) { ShowDetails(); };
  rows_->onHovered = [this](int) { ShowDetails(); };
  rows_->onActivated = [this](int) { Choose(true); };
  rows_->onStar = [this](int starred) { ToggleFavourite(starred); };
  addView(rows_);
}

void PresetBrowser::FollowFrame() {
  const CRect room = getFrame()->getViewSize();
  setViewSize(room);
  setMouseableArea(room);
  const Places places = LayOut(room);
  search_->setViewSize(places.search);
  rows_->setViewSize(places.rows);
  loadButton_->setViewSize(places.load);
  closeButton_->setViewSize(places.close);
  invalid();
}

void PresetBrowser::AddSearch(const CRect& place) {
  search_ = new CTextEdit(place);
  search_->setFont(theme::Font(scale_));
  search_->setBackColor(theme::kField);
  search_->setFrameColor(theme::kFieldEdge);
  search_->setFontColor(theme::kText);
  search_->setHoriAlign(kLeftText);
  search_->setTextInset(CPoint(theme::Scaled(theme::kPadding / 2, scale_), 0));
  search_->setPlaceholder("Search presets by name, folder, author or description");
  search_->onTextChanged = [this](CTextEdit*) { Filter(); };
  addView(search_);
}

CTextButton* PresetBrowser::AddButton(const CRect& place, const char* title,
                                      std::function<void()> action) {
  auto* button = new CTextButton(place, nullptr, 0, title);
  button->setFont(theme::Font(scale_));
  button->onPressed = std::move(action);
  addView(button);
  return button;
}

void PresetBrowser::Open(CFrame& root, const std::string& presentPath) {
  remember();
  root.addView(this);
  root.pushModalView(this);
  root.setFocusView(search_);
  SelectPath(presentPath);
}

void PresetBrowser::Close() {
  if (CFrame* root = getFrame()) root->removeView(this);
}

void PresetBrowser::Filter() {
  const std::string selected = SelectedPath();
  rows_->Show(index_.Find(search_->getText()));
  SelectPath(selected);
  if (rows_->getSelected() < 0 && search_->getText()[0]) rows_->select(0);
  ShowDetails();
}

void PresetBrowser::SelectPath(const std::string& path) {
  for (int i = 0; i < rows_->getCount(); ++i) {
    if (index_.Presets()[static_cast<std::size_t>(rows_->PresetAt(i))].path != path) continue;
    return rows_->select(i);
  }
}

std::string PresetBrowser::SelectedPath() const {
  const int preset = rows_->PresetAt(rows_->getSelected());
  return preset < 0 ? "" : index_.Presets()[static_cast<std::size_t>(preset)].path;
}

void PresetBrowser::ShowDetails() {
  const int hovered = rows_->PresetAt(rows_->getHovered());
  const int preset = hovered < 0 ? rows_->PresetAt(rows_->getSelected()) : hovered;
  details_.clear();
  if (preset >= 0) {
    const IndexedPreset& shown = index_.Presets()[static_cast<std::size_t>(preset)];
    details_ = shown.title;
    if (!shown.texts.author.empty()) details_ += " by " + shown.texts.author;
    if (!shown.texts.description.empty()) details_ += "\n" + shown.texts.description;
  }
  invalidRect(detailsPlace_);
}

void PresetBrowser::ToggleFavourite(int row) {
  const int preset = rows_->PresetAt(row);
  if (preset < 0) return;
  if (!index_.ToggleFavourite(preset)) {
    details_ = "The star could not be written to the data folder; it holds until the window closes";
    invalidRect(detailsPlace_);
  }
  // The order stays until the next search, so that the row does not leave the mouse.
  rows_->invalidRow(row);
}

void PresetBrowser::Choose(bool closes) {
  const std::string path = SelectedPath();
  if (path.empty()) return;
  const SharedPointer<PresetBrowser> alive(this);
  // By a copy: a question about unsaved changes closes the browser.
  const auto load = load_;
  if (closes) Close();
  load(path);
  // A message about it would stand behind the browser.
  CFrame* root = getFrame();
  if (root && root->getModalView() != this) Close();
}

bool PresetBrowser::onKeyDown(const CKeyEvent& event) {
  switch (event.key) {
    case kKeyEscape:
      Close();
      return true;
    case kKeyReturn:
      Choose(!event.modifiers.isShiftSet());
      return true;
    case kKeyTab:
      if (CFrame* root = getFrame()) {
        root->setFocusView(root->getFocusView() == rows_ ? static_cast<CView*>(search_) : rows_);
      }
      return true;
    default:
      break;
  }
  if (rows_->moveByKey(event.key)) return true;
  if (event.modifiers.isControlSet() && (event.character == U'f' || event.character == U'F')) {
    ToggleFavourite(rows_->getSelected());
  } else if (event.character >= U' ' && getFrame() && getFrame()->getFocusView() == rows_) {
    // Typing searches, wherever the focus is.
    getFrame()->setFocusView(search_);
    return search_->onKeyDown(event);
  }
  // The host's keys stay out meanwhile.
  return true;
}

void PresetBrowser::onIdle() {
  if (!index_.TakeTexts()) return;
  if (search_->getText()[0]) {
    Filter();
  } else {
    ShowDetails();
  }
}

void PresetBrowser::enteredFrame(CFrame* root) {
  CViewContainer::enteredFrame(root);
  setWantsIdle(true);
}

void PresetBrowser::leavingFrame(CFrame* root) {
  setWantsIdle(false);
  CViewContainer::leavingFrame(root);
}

CMouseEventResult PresetBrowser::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!panel_.pointInside(toChildren(where))) {
    Close();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  const CMouseEventResult result = CViewContainer::onMouseDown(where, buttons);
  return result == kMouseEventNotHandled ? kMouseDownEventHandledButDontNeedMovedOrUpEvents
                                         : result;
}

bool PresetBrowser::onWheel(const CPoint& where, float distance, const CButtonState& buttons) {
  CViewContainer::onWheel(where, distance, buttons);
  return true;
}

void PresetBrowser::drawBackgroundRect(CDrawContext* context, const CRect& updateRect) {
  context->setFillColor(theme::kShade);
  context->fillRect(updateRect);
  theme::DrawPanel(*context, panel_, scale_);
  DrawDetails(*context);
}

void PresetBrowser::DrawDetails(CDrawContext& context) {
  const SharedPointer<CFontDesc> font = theme::Font(scale_);
  context.setFont(font);
  context.setFontColor(theme::kText);
  context.drawString(WrapText(*font, details_, detailsPlace_.getWidth()), detailsPlace_, kLeftText,
                     kTopText);
  const CCoord pad = theme::Scaled(theme::kPadding, scale_);
  CRect hint = panel_;
  hint.inset(pad, pad);
  hint.top = hint.bottom - theme::Scaled(kControlHeight, scale_);
  hint.right -= 2 * (theme::Scaled(kButtonWidth, scale_) + pad);
  context.setFontColor(theme::kPaleText);
  context.drawString(FitText(*font, kHint, hint.getWidth(), Ellipsis::kAtEnd), hint, kLeftText);
}

}  // namespace halveron
