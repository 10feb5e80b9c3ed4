#include "gui/file_selector_view.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <utility>

#include "gui/draw_context.h"
#include "gui/file_list.h"
#include "gui/frame.h"
#include "gui/option_menu.h"
#include "gui/text_button.h"
#include "gui/text_edit.h"
#include "gui/text_search.h"
#include "gui/theme.h"

namespace halveron {
namespace {

namespace fs = std::filesystem;

constexpr CCoord kPanelWidth = 620;
constexpr CCoord kPanelHeight = 440;
constexpr CCoord kFrameMargin = 12;
constexpr CCoord kButtonWidth = 96;
constexpr CCoord kControlHeight = 26;
constexpr CCoord kQuestionWidth = 400;
constexpr CCoord kQuestionHeight = 120;

/// The panel of the question whether a file may be replaced.
class QuestionPanel : public CViewContainer {
 public:
  using CViewContainer::CViewContainer;
  void drawBackgroundRect(CDrawContext* context, const CRect& /*updateRect*/) override {
    theme::DrawPanel(*context, {0, 0, getWidth(), getHeight()}, 1, theme::kAccent);
  }
};

CTextLabel* MakeLabel(const CRect& rect, const std::string& text, double scale, CColor color,
                      int face = kNormalFace) {
  auto* label = new CTextLabel(rect, text.c_str(), nullptr, kNoFrame);
  label->setTransparency(true);
  label->setFont(theme::Font(scale, face));
  label->setFontColor(color);
  label->setHoriAlign(kLeftText);
  return label;
}

}  // namespace

FileSelectorView::FileSelectorView(CFileSelector* selector_, CFrame* root)
    : CViewContainer(root->getViewSize(), root), selector(selector_), scale(root->getUiScale()) {
  transparent = true;
  panel = panelPlace();
  build(root);
  openFolder(NearestFolder(selector->initialDirectory));
}

FileSelectorView::~FileSelectorView() = default;

CRect FileSelectorView::panelPlace() const {
  const CCoord margin = theme::Scaled(kFrameMargin, scale);
  const CCoord width = std::min(theme::Scaled(kPanelWidth, scale), getWidth() - 2 * margin);
  const CCoord height = std::min(theme::Scaled(kPanelHeight, scale), getHeight() - 2 * margin);
  const CPoint c = viewSize.getCenter();
  return CRect::FromSize({std::round(c.x - width * 0.5), std::round(c.y - height * 0.5)}, width,
                         height);
}

void FileSelectorView::setViewSize(const CRect& rect, bool invalidate) {
  CViewContainer::setViewSize(rect, invalidate);
  if (!list) return;
  const CRect before = std::exchange(panel, panelPlace());
  const CRect listBefore = list->getViewSize();
  const CCoord down = panel.top - before.top;
  const CCoord downAtBottom = panel.bottom - before.bottom;
  // What lies above the list keeps its place in the panel, what lies below it that from the bottom.
  const auto moved = [&](CCoord y) {
    return y + (y <= listBefore.top ? down : y >= listBefore.bottom ? downAtBottom : 0);
  };
  for (CView* child : children()) {
    CRect place = child->getViewSize();
    if (child == question) {
      const CPoint c = panel.getCenter();
      place.moveTo(std::round(c.x - place.getWidth() * 0.5),
                   std::round(c.y - place.getHeight() * 0.5));
    } else {
      place = {place.left + panel.left - before.left, moved(place.top),
               place.right + panel.right - before.right, moved(place.bottom)};
    }
    child->setViewSize(place, false);
    child->setMouseableArea(place);
  }
  pathBar->setPath(folder);  // its parts move, too
}

void FileSelectorView::start() {
  if (selector->style != CFileSelector::kSelectSaveFile) return getFrame()->setFocusView(list);
  nameField->setText(selector->defaultSaveName.c_str());
  getFrame()->setFocusView(nameField);
  // The name is what the user will change, not the extension.
  const std::string& name = selector->defaultSaveName;
  const std::size_t dot = name.rfind('.');
  nameField->setSelection(0, dot == std::string::npos || dot == 0 ? name.size() : dot);
}

const char* FileSelectorView::confirmTitle() const {
  switch (selector->style) {
    case CFileSelector::kSelectFile:
      return "Open";
    case CFileSelector::kSelectSaveFile:
      return "Save";
    default:
      return "Choose";
  }
}

CTextButton* FileSelectorView::addButton(const CRect& size, const char* title,
                                         void (FileSelectorView::*action)()) {
  auto* button = new CTextButton(size, nullptr, 0, title);
  button->setFont(theme::Font(scale));
  button->onPressed = [this, action] { (this->*action)(); };
  addView(button);
  return button;
}

void FileSelectorView::build(CFrame* root) {
  const CCoord pad = theme::Scaled(theme::kPadding, scale);
  const CCoord row = theme::Scaled(kControlHeight, scale);
  CRect inside = panel;
  inside.inset(pad, pad);
  addView(MakeLabel({inside.left, inside.top, inside.right, inside.top + row}, selector->title,
                    scale, theme::kText, kBoldFace));
  inside.top += row;

  const CCoord upWidth = theme::Scaled(kButtonWidth * 0.5, scale);
  addButton({inside.right - upWidth, inside.top, inside.right, inside.top + row}, "Up",
            &FileSelectorView::goUp);
  pathBar =
      new PathBar({inside.left, inside.top, inside.right - upWidth - pad, inside.top + row}, scale);
  pathBar->onChosen = [this](const std::string& path) { openFolder(path); };
  addView(pathBar);
  inside.top += row + pad * 0.5;
  buildBottom(root, inside);
}

void FileSelectorView::buildBottom(CFrame* root, const CRect& inside) {
  const CCoord pad = theme::Scaled(theme::kPadding, scale);
  const CCoord row = theme::Scaled(kControlHeight, scale);
  const CCoord width = theme::Scaled(kButtonWidth, scale);
  const bool opens = selector->style == CFileSelector::kSelectFile;

  CCoord top = inside.bottom - row;
  confirmButton = addButton({inside.right - width, top, inside.right, top + row}, confirmTitle(),
                            &FileSelectorView::confirm);
  confirmButton->setProminent(true);
  cancelButton =
      addButton({inside.right - 2 * width - pad, top, inside.right - width - pad, top + row},
                "Cancel", &FileSelectorView::cancel);
  CCoord left = inside.left;
  if (!opens) {
    newFolderButton = addButton({left, top, left + width, top + row}, "New Folder",
                                &FileSelectorView::makeFolder);
    left += width + pad;
  }
  message = MakeLabel({left, top, inside.right - 2 * width - 2 * pad, top + row}, "", scale,
                      theme::kAccent);
  addView(message);

  top -= row + pad;
  CCoord right = inside.right;
  if (selector->extensions.size() > 1) {
    kindMenu = new COptionMenu({right - 2 * width, top, right, top + row});
    for (const CFileExtension& kind : selector->extensions) {
      kindMenu->addEntry(kind.description.c_str());
    }
    kindMenu->setBackColor(theme::kButton);
    kindMenu->setFrameColor(theme::kPanelEdge);
    kindMenu->setFont(theme::Font(scale));
    kindMenu->setListener(this);
    addView(kindMenu);
    right -= 2 * width + pad;
  }
  nameField = new CTextEdit({inside.left, top, right, top + row});
  nameField->setMaxLength(4096);
  nameField->setFont(theme::Font(scale));
  nameField->setBackColor(theme::kField);
  nameField->setFrameColor(theme::kFieldEdge);
  nameField->setFontColor(theme::kText);
  nameField->setPlaceholder("Name");
  nameField->onReturn = [this](CTextEdit*) { confirm(); };
  nameField->onTextChanged = [this](CTextEdit*) { say(""); };
  addView(nameField);

  list = new FileList({inside.left, inside.top, inside.right, top - pad}, root, scale);
  list->onSelected = [this](int index) { entrySelected(index); };
  list->onActivated = [this](int index) { entryActivated(index); };
  list->onUnknownName = [this](const std::string& typed) { typeName(typed); };
  addView(list);
}

void FileSelectorView::valueChanged(CControl* /*kind*/) { reload(); }

const std::string& FileSelectorView::extension() const {
  static const std::string any;
  if (selector->extensions.empty()) return any;
  const int kind = kindMenu ? std::max(kindMenu->getCurrentIndex(), 0) : 0;
  return selector->extensions[static_cast<std::size_t>(kind)].extension;
}

std::string FileSelectorView::withExtension(const std::string& path) const {
  if (extension().empty()) return path;
  std::string ending(1, '.');
  ending += extension();
  const std::string folded = FoldedCase(path), foldedEnding = FoldedCase(ending);
  if (!folded.ends_with(foldedEnding)) return path + ending;
  // A name with its ending, typed before the ending that the field held already.
  std::error_code unknown;
  const bool isTwice = folded.ends_with(foldedEnding + foldedEnding) && !fs::exists(path, unknown);
  return isTwice ? path.substr(0, path.size() - ending.size()) : path;
}

std::string FileSelectorView::getMessage() const { return message->getText(); }

void FileSelectorView::say(const std::string& text) { message->setText(text.c_str()); }

void FileSelectorView::reload() {
  std::string error;
  const bool foldersOnly = selector->style == CFileSelector::kSelectDirectory;
  entries = ListFolder(folder, extension(), foldersOnly, error);
  list->setEntries(&entries, error.empty() ? "Nothing here" : "Cannot be read: " + error);
}

void FileSelectorView::openFolder(const std::string& path) {
  folder = path;
  pathBar->setPath(folder);
  say("");
  reload();
}

void FileSelectorView::goUp() {
  const std::string name = fs::path(folder).filename().string();
  openFolder(fs::path(folder).parent_path().string());
  // Where the user came from.
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].isFolder && entries[i].name == name) list->select(static_cast<int>(i));
  }
}

void FileSelectorView::entrySelected(int index) {
  const FolderEntry& entry = entries[static_cast<std::size_t>(index)];
  const bool wantsFolder = selector->style == CFileSelector::kSelectDirectory;
  if (entry.isFolder == wantsFolder && !namingFolder) nameField->setText(entry.name.c_str());
  say("");
}

void FileSelectorView::typeName(const std::string& text) {
  getFrame()->setFocusView(nameField);
  nameField->selectAll();
  nameField->insertText(text);
  say("");
}

void FileSelectorView::entryActivated(int index) {
  const FolderEntry entry = entries[static_cast<std::size_t>(index)];
  const std::string path = (fs::path(folder) / entry.name).string();
  if (entry.isFolder) return openFolder(path);
  takeFile(path);
}

void FileSelectorView::confirm() {
  const std::string typed = nameField->getText();
  const CFileSelector::Style style = selector->style;
  if (typed.empty() && style != CFileSelector::kSelectDirectory) {
    // A selected folder is what the button then means.
    if (list->getSelected() >= 0) return entryActivated(list->getSelected());
    return say(style == CFileSelector::kSelectSaveFile ? "Give a name" : "Choose a file");
  }
  const std::string path = ResolvePath(typed, folder);
  std::error_code unknown;
  const bool isFolder = fs::is_directory(path, unknown);
  if (namingFolder) {
    if (!fs::create_directory(path, unknown)) {
      return say(unknown ? "Cannot be made: " + unknown.message() : "It exists already");
    }
    setNamingFolder(false);
    return openFolder(path);
  }
  if (style == CFileSelector::kSelectDirectory) {
    return isFolder ? finish(path) : say("There is no such folder");
  }
  if (isFolder) {
    nameField->setText("");
    return openFolder(path);
  }
  takeFile(path);
}

void FileSelectorView::takeFile(const std::string& path) {
  std::error_code unknown;
  if (selector->style == CFileSelector::kSelectFile) {
    // The extension need not be typed.
    const std::string whole = fs::exists(path, unknown) ? path : withExtension(path);
    return fs::is_regular_file(whole, unknown) ? finish(whole) : say("There is no such file");
  }
  const std::string whole = withExtension(path);
  if (!fs::is_directory(fs::path(whole).parent_path(), unknown)) {
    return say("There is no such folder");
  }
  if (fs::is_directory(whole, unknown)) return say("A folder has that name");
  if (!fs::exists(whole, unknown)) return finish(whole);
  std::string words = fs::path(whole).filename().string();
  words += " exists already.\nReplace it?";
  ask(words, whole);
}

void FileSelectorView::makeFolder() { setNamingFolder(!namingFolder); }

void FileSelectorView::setNamingFolder(bool on) {
  namingFolder = on;
  confirmButton->setTitle(on ? "Create" : confirmTitle());
  // Meanwhile the field holds the folder's name.
  std::string text = nameField->getText();
  std::swap(text, otherName);
  nameField->setText(on ? "New folder" : text.c_str());
  getFrame()->setFocusView(nameField);
  nameField->selectAll();
}

void FileSelectorView::ask(const std::string& text, const std::string& path) {
  const CCoord pad = theme::Scaled(theme::kPadding, scale);
  const CCoord row = theme::Scaled(kControlHeight, scale);
  const CCoord width = std::min(theme::Scaled(kQuestionWidth, scale), panel.getWidth() - 2 * pad);
  const CCoord height = theme::Scaled(kQuestionHeight, scale);
  const CPoint c = panel.getCenter();
  const CPoint corner(std::round(c.x - width * 0.5), std::round(c.y - height * 0.5));
  question = new QuestionPanel(CRect::FromSize(corner, width, height), getFrame());
  CTextLabel* label =
      MakeLabel({pad, pad, width - pad, height - row - 2 * pad}, text, scale, theme::kText);
  label->setHoriAlign(kCenterText);
  question->addView(label);
  const CCoord top = height - row - pad;
  const CCoord half = (width - 3 * pad) * 0.5;
  yesButton = new CTextButton({pad, top, pad + half, top + row}, nullptr, 0, "Replace");
  yesButton->setFont(theme::Font(scale));
  yesButton->onPressed = [this, path] {
    endQuestion();
    finish(path);
  };
  question->addView(yesButton);
  auto* no =
      new CTextButton({width - pad - half, top, width - pad, top + row}, nullptr, 0, "Cancel");
  no->setFont(theme::Font(scale));
  no->onPressed = [this] { endQuestion(); };
  question->addView(no);
  addView(question);
  // Nothing is lost by a careless Return.
  getFrame()->setFocusView(no);
}

void FileSelectorView::endQuestion() {
  yesButton = nullptr;
  if (question) removeView(std::exchange(question, nullptr));
  if (getFrame()) getFrame()->setFocusView(nameField);
}

void FileSelectorView::finish(const std::string& path) {
  if (done) return;
  done = true;
  const SharedPointer<FileSelectorView> alive(this);
  if (CFrame* root = getFrame()) root->removeView(this);
  selector->finish(path);
}

void FileSelectorView::leavingFrame(CFrame* root) {
  CViewContainer::leavingFrame(root);
  if (done) return;
  done = true;
  selector->finish("");
}

CMouseEventResult FileSelectorView::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (question && !question->getViewSize().pointInside(toChildren(where))) {
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  return CViewContainer::onMouseDown(where, buttons);
}

bool FileSelectorView::onWheel(const CPoint& where, float distance, const CButtonState& buttons) {
  return question || CViewContainer::onWheel(where, distance, buttons);
}

bool FileSelectorView::onKeyDown(const CKeyEvent& event) {
  CFrame* root = getFrame();
  switch (event.key) {
    case kKeyEscape:
      if (question) {
        endQuestion();
      } else if (namingFolder) {
        setNamingFolder(false);
      } else {
        cancel();
      }
      return true;
    case kKeyTab:
      if (question) {
        root->setFocusView(root->getFocusView() == yesButton ? question->getView(2) : yesButton);
      } else {
        root->setFocusView(root->getFocusView() == list ? static_cast<CView*>(nameField) : list);
      }
      return true;
    case kKeyReturn:
      if (!question) confirm();
      return true;
    case kKeyBack:
      if (!question) goUp();
      return true;
    case kKeyUp:
      if (!question && event.modifiers.isAltSet()) goUp();
      return true;
    default:
      // Letters are for the list, wherever the focus is. The host's keys stay out meanwhile.
      if (!question && event.character != 0 && !event.modifiers.isControlSet() &&
          !event.modifiers.isAltSet() && root->getFocusView() != list &&
          root->getFocusView() != nameField) {
        root->setFocusView(list);
        list->onKeyDown(event);
      }
      return true;
  }
}

void FileSelectorView::drawBackgroundRect(CDrawContext* context, const CRect& updateRect) {
  context->setFillColor(theme::kShade);
  context->fillRect(updateRect);
  theme::DrawPanel(*context, panel, scale);
}

}  // namespace halveron
