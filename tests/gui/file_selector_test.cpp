#include "gui/file_selector.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "gui/file_list.h"
#include "gui/file_selector_view.h"
#include "gui/frame.h"
#include "gui/option_menu.h"
#include "gui/text_button.h"
#include "gui/text_edit.h"
#include "tests/gui/input.h"

namespace halveron {
namespace {

namespace fs = std::filesystem;

/// A folder with "b.hvp", "a2.HVP", "a10.hvp", "notes.txt", a hidden file, and the folders "Zoo"
/// and "Inner", the latter with "deep.hvp"; and a selector for it.
class FileSelectorTest : public ::testing::Test {
 protected:
  FileSelectorTest() : folder("/tmp/halveron_selector_" + std::to_string(getpid())) {
    fs::remove_all(folder);
    fs::create_directories(folder / "Inner");
    fs::create_directories(folder / "Zoo");
    for (const char* name :
         {"b.hvp", "a2.HVP", "a10.hvp", "notes.txt", ".hidden.hvp", "Inner/deep.hvp"}) {
      std::ofstream(folder / name) << "x";
    }
    frame.useManualClock();
  }
  ~FileSelectorTest() override { fs::remove_all(folder); }

  FileSelectorView& Run(CFileSelector::Style style, const std::string& name = "") {
    selector = SharedPointer<CFileSelector>::Adopt(new CFileSelector(&frame, style));
    selector->setTitle("A title");
    selector->addFileExtension({"Preset", "hvp", "application/hvp"});
    selector->addFileExtension({"All files", "", ""});
    selector->setInitialDirectory(folder.string());
    selector->setDefaultSaveName(name);
    result.reset();
    EXPECT_TRUE(selector->run([this](const std::string& path) { result = path; }));
    EXPECT_FALSE(selector->run({}));
    return *selector->getView();
  }
  static std::vector<std::string> Names(const FileSelectorView& view) {
    std::vector<std::string> names;
    for (const FolderEntry& entry : view.getEntries()) names.push_back(entry.name);
    return names;
  }
  static CPoint CentreOf(CView* view) {
    CPoint centre = view->getViewSize().getCenter();
    return view->localToFrame(centre);
  }
  CPoint RowCentre(FileSelectorView& view, int row) {
    return view.getList()->getRowRect(row).getCenter() + view.getList()->getViewSize().getTopLeft();
  }

  fs::path folder;
  CFrame frame{CRect(0, 0, 800, 600)};
  SharedPointer<CFileSelector> selector;
  std::optional<std::string> result;
};

TEST_F(FileSelectorTest, ListsFoldersThenTheKindInTheOrderOfNames) {
  FileSelectorView& view = Run(CFileSelector::kSelectFile);
  EXPECT_EQ(Names(view), (std::vector<std::string>{"Inner", "Zoo", "a2.HVP", "a10.hvp", "b.hvp"}));
  Click(frame, CentreOf(view.getKindMenu()));
  TypeText(frame, "all");
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(Names(view).back(), "notes.txt");

  // A folder that went away leads to its nearest parent.
  selector->cancel();
  folder /= "gone/deeper";
  EXPECT_EQ(Run(CFileSelector::kSelectFile).getFolder(), folder.parent_path().parent_path());
  folder = folder.parent_path().parent_path();
}

TEST_F(FileSelectorTest, OpensByMouse) {
  FileSelectorView& view = Run(CFileSelector::kSelectFile);
  Click(frame, RowCentre(view, 0));
  Click(frame, RowCentre(view, 0), kLButton | kDoubleClick);
  EXPECT_EQ(view.getFolder(), (folder / "Inner").string());
  Click(frame, RowCentre(view, 0));
  EXPECT_STREQ(view.getNameField()->getText(), "deep.hvp");
  Click(frame, CentreOf(view.getConfirmButton()));
  EXPECT_EQ(result, (folder / "Inner/deep.hvp").string());
  EXPECT_FALSE(selector->isRunning());
  EXPECT_EQ(frame.getModalView(), nullptr);

  FileSelectorView& again = Run(CFileSelector::kSelectFile);
  Click(frame, CentreOf(again.getCancelButton()));
  EXPECT_EQ(result, "");
}

TEST_F(FileSelectorTest, FollowsTheSizeOfTheFrame) {
  FileSelectorView& view = Run(CFileSelector::kSelectFile);
  for (const CPoint& size : {CPoint(900, 700), CPoint(1200, 300), CPoint(800, 600)}) {
    frame.setSize(size.x, size.y);
    EXPECT_EQ(view.getViewSize(), frame.getViewSize()) << "the shade leaves nothing out";
    for (CView* child : view.children()) {
      EXPECT_GE(child->getViewSize().top, 0) << size.y;
      EXPECT_LE(child->getViewSize().bottom, size.y);
    }
    const CRect list = view.getList()->getViewSize();
    EXPECT_GT(list.getHeight(), 60);
    EXPECT_GE(view.getNameField()->getViewSize().top, list.bottom);
    EXPECT_LE(view.getPathBar()->getViewSize().bottom, list.top);
    const CRect root = view.getPathBar()->getPartRect(0);
    EXPECT_EQ(CRect(root).bound(view.getPathBar()->getViewSize()), root);
  }
  Click(frame, RowCentre(view, 0));
  Click(frame, CentreOf(view.getConfirmButton()));
  EXPECT_EQ(view.getFolder(), (folder / "Inner").string());
}

TEST_F(FileSelectorTest, OpensByKeys) {
  FileSelectorView& view = Run(CFileSelector::kSelectFile);
  TypeText(frame, "in");
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(view.getFolder(), (folder / "Inner").string());
  TypeKey(frame, kKeyBack);
  EXPECT_EQ(view.getFolder(), folder.string());
  // The folder that one came from is selected.
  EXPECT_EQ(view.getList()->getSelected(), 0);
  TypeKey(frame, kKeyEnd);
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(result, (folder / "b.hvp").string());

  // A typed name needs no extension, and a typed path leads anywhere.
  FileSelectorView& typed = Run(CFileSelector::kSelectFile);
  TypeKey(frame, kKeyTab);
  TypeText(frame, "nothing");
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(typed.getMessage(), "There is no such file");
  TypeText(frame, "a", kControl);
  TypeText(frame, "Inner/../a10");
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(result, (folder / "a10.hvp").string());

  Run(CFileSelector::kSelectFile);
  TypeKey(frame, kKeyEscape);
  EXPECT_EQ(result, "");
}

TEST_F(FileSelectorTest, LettersThatNoNameBeginsWithGoToTheNameField) {
  FileSelectorView& view = Run(CFileSelector::kSelectFile);
  // A path has to begin like this.
  TypeText(frame, folder.string() + "/Inner");
  EXPECT_EQ(frame.getFocusView(), view.getNameField());
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(view.getFolder(), (folder / "Inner").string());
  // From the list on: what was typed before counts, too.
  frame.setFocusView(nullptr);
  TypeText(frame, "deeper");
  EXPECT_STREQ(view.getNameField()->getText(), "deeper");
  EXPECT_EQ(frame.getFocusView(), view.getNameField());
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(view.getMessage(), "There is no such file");
  // Shortcuts are no letters.
  frame.setFocusView(view.getList());
  TypeText(frame, "x", kControl);
  EXPECT_EQ(frame.getFocusView(), view.getList());
}

TEST_F(FileSelectorTest, SavesWithTheExtensionAndAsksBeforeReplacing) {
  Run(CFileSelector::kSelectSaveFile, "new.hvp");
  // The name without its extension is selected.
  TypeText(frame, "fresh");
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(result, (folder / "fresh.hvp").string());
  Run(CFileSelector::kSelectSaveFile, "new.hvp");
  TypeText(frame, "other.hvp");
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(result, (folder / "other.hvp").string()) << "typed before the one in the field";

  FileSelectorView& view = Run(CFileSelector::kSelectSaveFile, "b");
  TypeKey(frame, kKeyReturn);
  EXPECT_FALSE(result);
  ASSERT_NE(view.getYesButton(), nullptr);
  // Return alone replaces nothing, and the rest of the panel is out of reach.
  TypeKey(frame, kKeyReturn);
  EXPECT_FALSE(result);
  EXPECT_EQ(view.getYesButton(), nullptr);
  TypeKey(frame, kKeyReturn);
  Click(frame, CentreOf(view.getCancelButton()));
  EXPECT_FALSE(result);
  ASSERT_NE(view.getYesButton(), nullptr);
  Click(frame, CentreOf(view.getYesButton()));
  EXPECT_EQ(result, (folder / "b.hvp").string());

  FileSelectorView& bad = Run(CFileSelector::kSelectSaveFile);
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(bad.getMessage(), "Give a name");
  TypeText(frame, "no/such/place");
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(bad.getMessage(), "There is no such folder");
}

TEST_F(FileSelectorTest, MakesFolders) {
  FileSelectorView& view = Run(CFileSelector::kSelectSaveFile, "song.hvp");
  Click(frame, CentreOf(view.getNewFolderButton()));
  TypeText(frame, "Zoo");
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(view.getMessage(), "It exists already");
  TypeText(frame, "a", kControl);
  TypeText(frame, "Mine");
  TypeKey(frame, kKeyReturn);
  EXPECT_TRUE(fs::is_directory(folder / "Mine"));
  EXPECT_STREQ(view.getNameField()->getText(), "song.hvp");
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(result, (folder / "Mine/song.hvp").string());
}

TEST_F(FileSelectorTest, ChoosesFoldersAndClimbsByThePath) {
  FileSelectorView& view = Run(CFileSelector::kSelectDirectory);
  EXPECT_EQ(Names(view), (std::vector<std::string>{"Inner", "Zoo"}));
  Click(frame, RowCentre(view, 0));
  Click(frame, RowCentre(view, 0), kLButton | kDoubleClick);
  EXPECT_TRUE(Names(view).empty());
  PathBar* path = view.getPathBar();
  // The root is one part, "tmp" the next, the folder the third.
  Click(frame, path->getPartRect(2).getCenter());
  EXPECT_EQ(view.getFolder(), folder.string());
  Click(frame, RowCentre(view, 1));
  TypeKey(frame, kKeyTab);
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(result, (folder / "Zoo").string());
}

}  // namespace
}  // namespace halveron
