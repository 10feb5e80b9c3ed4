// Shows on the first start of the program that the letters play notes.
#pragma once

#include <optional>
#include <string>

#include "gui/view.h"

namespace halveron {

class RackWindow;
class SynEditor;

/// A line at the lower edge of the rack, as long as a standalone host asks for it by
/// `SoundControl::hintsAtLetters`. An edit, or another preset, ends that. The mouse passes through.
class PlayHint final : public CView {
 public:
  PlayHint(SynEditor& editor, RackWindow& window);

  HALVERON_TYPE_OF(PlayHint, CView)

  void draw(CDrawContext* context) override;
  void onIdle() override;

 private:
  bool IsDue();
  CRect Place() const;

  SynEditor& editor_;
  RackWindow& window_;
  std::optional<std::string> preset_;  // with which it was first shown
};

}  // namespace halveron
