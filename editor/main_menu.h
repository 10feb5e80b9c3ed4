// The main menu: presets and options.
#pragma once

#include <string>

#include "editor/syn_option_menu.h"

namespace halveron {

class RackWindow;
class SynEditor;

/// Built each time that it opens, so that its marks are those of the rack and the options as
/// they are then. One table defines what each entry shows and does.
class MainMenu {
 public:
  MainMenu(SynEditor& editor, RackWindow& window) : editor_(editor), window_(window) {}

  SharedPointer<SynOptionMenu> Make() const;

 private:
  struct Entry;
  static const Entry kEntries[];

  using Menu = SharedPointer<SynOptionMenu>;
  Menu MakeOversampling() const;
  Menu MakeOversamplingFilter() const;
  Menu MakePolyphony() const;
  Menu MakeSkin() const;
  Menu MakeWindowHeight() const;
  Menu MakeCableTransparency() const;
  Menu MakeCableThickness() const;

  SynEditor& editor_;
  RackWindow& window_;
};

}  // namespace halveron
