#include "editor/module_browser.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/syn_editor.h"
#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/text_edit.h"
#include "gui/text_fit.h"
#include "gui/theme.h"

namespace halveron {

namespace {

// Pixels at scale 1.
constexpr CCoord kWidth = 720;
constexpr CCoord kHeight = 460;
constexpr CCoord kMargin = 14;
constexpr CCoord kGap = 10;
constexpr CCoord kFieldHeight = 28;
constexpr CCoord kHintHeight = 20;
constexpr CCoord kDetailsWidth = 240;
constexpr CCoord kTextHeight = 110;  // of the words under the picture

constexpr double kRestSeconds = 0.06;  // before a picture is painted: arrows may go on

constexpr const char* kHint = "Return adds    Ctrl+F favourite    Esc closes";

}  // namespace

ModuleBrowser::ModuleBrowser(SynEditor& editor)
    : CViewContainer(CRect(), nullptr), editor_(editor), pictures_(editor) {
  setVisible(false);
}

ModuleBrowser::~ModuleBrowser() = default;

void ModuleBrowser::Open(Chosen chosen) {
  Close();
  CFrame* root = getFrame();
  if (!root) return;
  chosen_ = std::move(chosen);
  scale_ = root->getUiScale();
  Build();
  modules_.emplace(editor_.externalModules, editor_.moduleShelf.Favourites(),
                   editor_.moduleShelf.Recent());
  Search(false);
  setVisible(true);
  root->pushModalView(this);
  root->setFocusView(search_);
}

void ModuleBrowser::Close() {
  if (!isVisible()) return;
  if (CFrame* root = getFrame()) root->popModalView(this);
  setWantsIdle(false);
  setVisible(false);
  search_ = nullptr;
  list_ = nullptr;
  removeAll();
}

ModuleBrowser::Places ModuleBrowser::LayOut() {
  const CRect room = getParentView()->getViewSize();
  const CCoord margin = theme::Scaled(kMargin, scale_);
  const CCoord gap = theme::Scaled(kGap, scale_);
  const CCoord width = std::min(theme::Scaled(kWidth, scale_), room.getWidth() - 2 * gap);
  const CCoord height = std::min(theme::Scaled(kHeight, scale_), room.getHeight() - 2 * gap);
  const CRect place = CRect::FromSize(CPoint(std::floor((room.getWidth() - width) / 2),
                                             std::floor((room.getHeight() - height) / 2)),
                                      width, height);
  setViewSize(place);
  setMouseableArea(place);

  const CCoord fieldBottom = margin + theme::Scaled(kFieldHeight, scale_);
  const CCoord listBottom = height - margin - theme::Scaled(kHintHeight, scale_);
  // In a small window the list has the room.
  const CCoord wanted = theme::Scaled(kDetailsWidth, scale_);
  const CCoord detailsWidth = width > 2 * wanted ? wanted : 0;
  const CCoord listRight = width - margin - (detailsWidth > 0 ? detailsWidth + gap : 0);
  Places places{CRect(margin, margin, width - margin, fieldBottom),
                CRect(margin, fieldBottom + gap, listRight, listBottom),
                {}};
  if (detailsWidth > 0) {
    places.details = CRect(listRight + gap, fieldBottom + gap, width - margin, listBottom);
  }
  return places;
}

void ModuleBrowser::Build() {
  const Places places = LayOut();
  search_ = MakeSearchField(places.search);
  addView(search_);
  list_ = new ModuleList(places.list, getFrame(), scale_);
  list_->onSelected = [this](int) { SelectionChanged(); };
  list_->onChosen = [this](const ModuleChoice& choice) { Choose(choice); };
  list_->onStar = [this](const ModuleChoice& choice) { ToggleFavourite(choice); };
  addView(list_);
  details_ = places.details;
}

void ModuleBrowser::FollowFrame() {
  if (!IsOpen()) return;
  const Places places = LayOut();
  search_->setViewSize(places.search);
  list_->setViewSize(places.list);
  details_ = places.details;
  SelectionChanged();  // its picture may be wanted now
}

CTextEdit* ModuleBrowser::MakeSearchField(const CRect& place) {
  auto* field = new CTextEdit(place);
  field->setFont(theme::Font(scale_));
  field->setFontColor(theme::kText);
  field->setBackColor(theme::kField);
  field->setFrameColor(theme::kHighlight);
  field->setHoriAlign(kLeftText);
  field->setTextInset(CPoint(theme::Scaled(kGap / 2, scale_), 0));
  field->setPlaceholder("Name, number or subject, such as envelope, noise or output");
  field->onTextChanged = [this](CTextEdit*) { Search(false); };
  field->onReturn = [this](CTextEdit*) {
    if (!list_->Selected()) return;
    const ModuleChoice choice = *list_->Selected();
    Choose(choice);
  };
  return field;
}

void ModuleBrowser::Search(bool keepSelection) {
  list_->SetRows(modules_->Find(search_->getText()), keepSelection);
  SelectionChanged();
}

void ModuleBrowser::Choose(const ModuleChoice& choice) {
  const SharedPointer<ModuleBrowser> alive(this);
  const Chosen chosen = std::exchange(chosen_, {});
  const ModuleIdentity identity = choice.identity;
  Close();
  if (chosen) chosen(identity);
}

void ModuleBrowser::ToggleFavourite(const ModuleChoice& choice) {
  editor_.moduleShelf.ToggleFavourite(choice.identity);
  modules_.emplace(editor_.externalModules, editor_.moduleShelf.Favourites(),
                   editor_.moduleShelf.Recent());
  Search(true);
}

void ModuleBrowser::SelectionChanged() {
  invalid();
  const CFrame* root = getFrame();
  selectedSince_ = root ? root->getTime() : 0.0;
  setWantsIdle(list_->Selected() && !HasPicture());
}

bool ModuleBrowser::HasPicture() {
  const ModuleChoice* selected = list_->Selected();
  return selected && pictures_.IsPainted(selected->identity);
}

void ModuleBrowser::onIdle() {
  if (!list_ || !list_->Selected() || details_.isEmpty() || HasPicture()) {
    setWantsIdle(false);
  } else if (getFrame()->getTime() - selectedSince_ >= kRestSeconds) {
    const CRect area = PictureArea();
    pictures_.Paint(list_->Selected()->identity, CPoint(area.getWidth(), area.getHeight()));
    setWantsIdle(false);
    invalid();
  }
}

CMouseEventResult ModuleBrowser::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!getViewSize().pointInside(where)) {
    Close();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  const CMouseEventResult result = CViewContainer::onMouseDown(where, buttons);
  // The keys stay with the field, wherever the mouse goes.
  if (IsOpen()) getFrame()->setFocusView(search_);
  return result == kMouseEventNotHandled ? kMouseDownEventHandledButDontNeedMovedOrUpEvents
                                         : result;
}

bool ModuleBrowser::onKeyDown(const CKeyEvent& event) {
  if (event.key == kKeyEscape) {
    Close();
    return true;
  }
  if (list_->moveByKey(event.key)) return true;
  const bool isF = event.character == 'f' || event.character == 'F';
  if (isF && event.modifiers.isControlSet() && list_->Selected()) {
    const ModuleChoice choice = *list_->Selected();
    ToggleFavourite(choice);
  }
  return true;
}

CRect ModuleBrowser::PictureArea() const {
  CRect area = details_;
  area.bottom -= theme::Scaled(kTextHeight, scale_);
  return area;
}

void ModuleBrowser::drawBackgroundRect(CDrawContext* context, const CRect& /*updateRect*/) {
  const CRect whole = CRect::FromSize({}, getWidth(), getHeight());
  theme::DrawPanel(*context, whole, 1, theme::kFieldEdge);
  const CCoord margin = theme::Scaled(kMargin, scale_);
  context->setFont(theme::Font(scale_));
  context->setFontColor(theme::kPaleText);
  const CRect hint(margin, getHeight() - margin - theme::Scaled(kHintHeight, scale_) + margin / 2,
                   getWidth() - margin, getHeight() - margin / 2);
  context->drawString(kHint, hint, kLeftText);
  if (!details_.isEmpty() && list_->Selected()) DrawDetails(*context);
}

void ModuleBrowser::DrawDetails(CDrawContext& context) {
  const ModuleChoice& choice = *list_->Selected();
  const CRect area = PictureArea();
  if (CBitmap* picture = pictures_.Get(choice.identity)) {
    const CPoint corner(area.left + std::floor((area.getWidth() - picture->getWidth()) / 2),
                        area.top + std::floor((area.getHeight() - picture->getHeight()) / 2));
    picture->draw(context, CRect::FromSize(corner, picture->getWidth(), picture->getHeight()));
  }
  const CCoord line = theme::Scaled(theme::kRowHeight, scale_);
  CRect text(details_.left, area.bottom + theme::Scaled(kGap, scale_) / 2, details_.right,
             details_.bottom);
  CRect title = text;
  title.setHeight(line);
  const SharedPointer<CFontDesc> bold = theme::Font(scale_, kBoldFace);
  context.setFont(bold);
  context.setFontColor(theme::kText);
  context.drawString(FitText(*bold, choice.identity.first, title.getWidth(), Ellipsis::kAtEnd),
                     title, kLeftText);
  const SharedPointer<CFontDesc> plain = theme::Font(scale_);
  context.setFont(plain);
  title.offset(0, line);
  context.setFontColor(theme::kAccent);
  context.drawString(choice.category, title, kLeftText);
  text.top = title.bottom;
  context.setFontColor(theme::kPaleText);
  context.drawString(WrapText(*plain, choice.summary, text.getWidth()), text, kLeftText, kTopText);
}

}  // namespace halveron
