// Skins: the folders of images, which of them the program uses, and its layout file.
#pragma once

#include <string>
#include <vector>

#include "editor/data_folders.h"
#include "editor/options.h"
#include "gui/bitmap.h"
#include "gui/font.h"
#include "gui/geometry.h"

namespace halveron {

/// One skin of the "Skin" menu, and the entries of its submenu of sizes. Both are folder names.
struct SkinEntry {
  std::string name;
  std::vector<std::string> sizes;
};

/// The skins in a folder, by name, and the sizes of each, smallest first (by the height of a row;
/// sizes without one come last, by name). Folders whose names begin with a dot are left out.
std::vector<SkinEntry> ListSkins(const std::string& skinsFolder);

/// The skin that is chosen in the options, and the one in use: all instances of a process use the
/// skin of the first one that opened, and a change of the choice shows when all are closed.
class SkinChoice {
 public:
  SkinChoice(const DataFolders& folders, const Options& options);

  const std::vector<SkinEntry>& Entries() const { return entries_; }
  /// The choice as indices into the entries and its sizes, for the marks of the menus; -1 if there
  /// is none. For a name that is not there it is entry 0.
  int Chosen() const { return chosen_; }
  int ChosenSize() const { return chosenSize_; }

  /// Folders, with a slash at the end, in which images are looked for one after the other. Empty
  /// where there is no skin.
  const std::string& Path() const { return path_; }
  const std::string& FallbackPath() const { return fallbackPath_; }

  /// Pixels of a row of this skin: the height of "sidebar_s_L.png"; 0 if it has none.
  int RowHeight() const;

 private:
  std::vector<SkinEntry> entries_;
  int chosen_ = -1;
  int chosenSize_ = -1;
  std::string path_;
  std::string fallbackPath_;
};

/// What "skin_config.ini" beside a skin's images says. Pixels.
class SkinConfig {
 public:
  /// How far a skin moves each element of the bar from its computed place.
  struct Shifts {
    CPoint title;
    CPoint addRow;
    CPoint removeRow;
    CPoint moduleMenu;
    CPoint mainMenu;
    CPoint presetFrame;
    CPoint presetScreen;
    CPoint presetText;
    CPoint presetTextSize;  ///< added to the label's width and height
    CPoint presetPrevious;
    CPoint presetNext;
  };

  /// The text on the preset screen.
  struct PresetText {
    SharedPointer<CFontDesc> font;
    CColor color;
    int shadowAlpha;  ///< of the black shadow under the text, 0 to 255
  };

  /// Reads a skin in `path`; images that it lacks are looked for in `fallbackPath`. Interface
  /// thread.
  SkinConfig(const std::string& path, const std::string& fallbackPath);

  Shifts shifts;
  PresetText presetText;
};

/// The colour of number displays, from the layout file of a skin or, for missing keys,
/// from the one in the fallback folder.
CColor ReadDigitColor(const std::string& path, const std::string& fallbackPath);

/// Has everything in the process go on with another skin, given by its folders' names. Panels keep
/// their metrics, and with them their places; pictures of another size are drawn in the old one,
/// and SkinDensity makes up for it. False, and nothing changes, if the skin has no rows. Window
/// thread.
bool WearSkin(const DataFolders& folders, const std::string& name, const std::string& size);
/// Ends that, when the process lets go of the skin.
void TakeOffSkin();
/// Counts the changes, so that windows can follow.
unsigned SkinGeneration();
/// By how much the rows of the skin are higher than those that the panels' metrics were made by.
double SkinDensity();

}  // namespace halveron
