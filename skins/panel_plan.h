// Where everything on a module's panel goes: read from the module itself, so that a panel needs no
// image drawn by hand. Plain geometry, in pixels of the present panel metrics.
#pragma once

#include <string>
#include <vector>

#include "editor/module_catalogue.h"
#include "skins/canvas.h"

namespace halveron {
class CView;
class Module;
}  // namespace halveron

namespace halveron::skins {

enum class PartKind {
  kKnob,
  kSteppedKnob,
  kSwitch,
  kButton,
  kLamp,
  kInput,
  kOutput,
  kEither,
  kWindow,  ///< a display, which the panel recedes behind
  kText,    ///< a transparent view, drawn directly on the panel
};

inline bool IsJack(PartKind kind) {
  return kind == PartKind::kInput || kind == PartKind::kOutput || kind == PartKind::kEither;
}

inline constexpr double kWindowFrame = 2;  ///< panel units around a display that its recess takes

/// A text and what it costs to show it in place of the whole caption, which costs 0.
struct ShortForm {
  std::string text;
  double cost;
};

/// A control, lamp, jack or display.
struct Part {
  PartKind kind;
  CRect rect;
  int steps = 0;                 ///< of a stepped knob
  std::vector<ShortForm> texts;  ///< its caption, then shorter forms of it; none for no caption
  bool onPlate = false;          ///< an output, or a lamp without a caption beside one

  /// The part with the marks that the panel draws around it.
  CRect Claim() const;
};

/// One line of text.
struct Label {
  std::string text;
  double x;         ///< where the line begins
  double baseline;  ///< its height
  Type type;
  CRect ink;      ///< every mark of it
  int part = -1;  ///< index of the part that it names
  bool onPlate = false;
};

struct PanelPlan {
  int width = 0;
  int height = 0;
  Category category{};
  CRect head;                ///< band with number and name
  std::vector<Label> heads;  ///< number, then one or two lines of name
  std::vector<Part> parts;
  std::vector<Label> captions;
  std::vector<CRect> plates;          ///< under outputs; those that touch are one plate
  std::vector<double> rules;          ///< heights of thin lines across the panel
  std::vector<std::string> unplaced;  ///< captions for which no place was found
};

PanelPlan PlanPanel(const Module& module, const CatalogueEntry& entry);

/// A caption and the shorter forms that it may take where room is scarce, the longest first.
std::vector<ShortForm> ShortForms(const std::string& caption);

}  // namespace halveron::skins
