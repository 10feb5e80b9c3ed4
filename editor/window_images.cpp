#include "editor/window_images.h"

#include "framework/panel_metrics.h"

namespace halveron {

namespace {

// Panel units in place of missing images.
constexpr int kBarHeight = 48;
constexpr int kStripWidth = 24;
constexpr int kRackColumns = 90;

CCoord WidthOr(const CBitmap& image, CCoord otherwise) {
  return image.isLoaded() ? image.getWidth() : otherwise;
}

CCoord HeightOr(const CBitmap& image, CCoord otherwise) {
  return image.isLoaded() ? image.getHeight() : otherwise;
}

}  // namespace

WindowImages::WindowImages(const std::string& path, const std::string& fallbackPath) {
  const auto image = [&](const char* file) {
    return Image::Adopt(path.empty() ? new CBitmap(0, 0) : new CBitmap(path, fallbackPath, file));
  };
  rows = {image("1st_row.png"), image("2nd_row.png"), image("3rd_row.png")};
  topBar = image("topbar.png");
  leftStrip = image("sidebar_L.png");
  rightStrip = image("sidebar_R.png");
  shortLeftStrip = image("sidebar_s_L.png");
  shortRightStrip = image("sidebar_s_R.png");
  title = image("title.png");
  addRow = image("add_row.png");
  removeRow = image("rem_row.png");
  moduleMenu = image("modulemenu.png");
  moduleMenuClicked = image("modulemenu_clicked.png");
  mainMenu = image("main_menu.png");
  mainMenuClicked = image("main_menu_clicked.png");
  presetPrevious = image("preset_L.png");
  presetNext = image("preset_R.png");
  presetFrame = image("preset_frame.png");
  presetScreen = image("preset_screen.png");
  presetStripes = image("preset_stripes.png");
  midiPlug = image("MIDIplug.png");
  connectedMidiPlug = image("MIDIplugcon.png");
}

RackGeometry WindowImages::Geometry(int rackRows, int viewableRows) const {
  RackGeometry geometry;
  geometry.rowHeight = static_cast<int>(HeightOr(*shortLeftStrip, panelHeight));
  geometry.columnWidth = panelUnitWidth;
  const CCoord left = WidthOr(*leftStrip, ScaleToPixels(kStripWidth));
  const CCoord right = WidthOr(*rightStrip, ScaleToPixels(kStripWidth));
  const CCoord bar = WidthOr(*topBar, left + right + kRackColumns * panelUnitWidth);
  geometry.rackWidth = static_cast<int>(bar - left - right);
  geometry.origin = CPoint(left, HeightOr(*topBar, ScaleToPixels(kBarHeight)));
  geometry.rows = rackRows;
  geometry.viewableRows = viewableRows;
  return geometry;
}

}  // namespace halveron
