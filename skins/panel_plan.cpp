#include "skins/panel_plan.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "framework/module.h"
#include "framework/panel_metrics.h"
#include "gui/slider.h"

namespace halveron::skins {

namespace {

// Panel units.
constexpr double kHeadHeight = 29;
constexpr double kBorder = 2;          // free of text along the edges
constexpr double kScaleRing = 2.8;     // marks around a knob
constexpr double kEitherRing = 2.0;    // around a point that goes either way
constexpr double kCaptionGap = 2.2;    // between a part and its caption
constexpr double kDescent = 0.5;       // by which a tail may reach into the part that is named
constexpr double kBetweenTexts = 2.0;  // between two captions, and a caption and another part
constexpr double kPlateMargin = 3.4;   // of a plate around its parts
constexpr double kLampReach = 24;      // of a lamp to the output with which it shares a plate
constexpr double kPlateReach = 26;     // plates nearer than this to each other become one
constexpr double kCaptionSize = 9.4;
constexpr double kSmallestCaptionSize = 7.8;
constexpr double kNameSize = 10.2;
constexpr double kTwoLineSize = 8.2;  // of a name in two lines, at most
constexpr double kSmallestNameSize = 6;
constexpr double kRuleGap = 3.5;  // room that a rule needs

// Pixels below which letters of the small size can no longer be read.
constexpr double kLeastCaptionPixels = 7.4;
constexpr double kLeastHeadPixels = 6.8;

double Unit() { return static_cast<double>(uiScale); }

bool Holds(const CRect& outer, const CRect& inner) {
  return inner.left >= outer.left && inner.right <= outer.right && inner.top >= outer.top &&
         inner.bottom <= outer.bottom;
}

PartKind KindOf(const CView& view) {
  if (const auto* point = dynamic_cast<const PatchPoint*>(&view)) {
    return point->type == kInputPoint    ? PartKind::kInput
           : point->type == kOutputPoint ? PartKind::kOutput
                                         : PartKind::kEither;
  }
  if (const auto* knob = dynamic_cast<const ModuleKnob*>(&view)) {
    return knob->stepped ? PartKind::kSteppedKnob : PartKind::kKnob;
  }
  if (dynamic_cast<const CKnob*>(&view)) return PartKind::kKnob;
  if (dynamic_cast<const CSwitchBase*>(&view) || dynamic_cast<const CSlider*>(&view)) {
    return PartKind::kSwitch;
  }
  if (dynamic_cast<const CKickButton*>(&view) || dynamic_cast<const COnOffButton*>(&view)) {
    return PartKind::kButton;
  }
  if (dynamic_cast<const CMovieBitmap*>(&view)) return PartKind::kLamp;
  return view.getTransparency() ? PartKind::kText : PartKind::kWindow;
}

/// "Clip LED 2" says on the panel no more than "Clip".
std::string LampCaption(const std::string& role) {
  static const std::set<std::string> kPlainWords{"LED", "Lamp", "lamp", "Activity"};
  std::string result;
  std::size_t begin = 0;
  while (begin < role.size()) {
    const std::size_t end = std::min(role.find(' ', begin), role.size());
    const std::string word = role.substr(begin, end - begin);
    const bool number = word.find_first_not_of("0123456789") == std::string::npos;
    if (!number && !kPlainWords.contains(word)) result += (result.empty() ? "" : " ") + word;
    begin = end + 1;
  }
  return result;
}

/// What a ring of points in one place is called: "Out 1" to "Out 16" are "Out".
std::string WithoutNumber(const std::string& role) {
  const std::size_t end = role.find_last_not_of("0123456789");
  const std::size_t last = end == std::string::npos ? end : role.find_last_not_of(' ', end);
  return last == std::string::npos ? role : role.substr(0, last + 1);
}

/// Of controls that are not saved, only screws are no part of what the panel explains.
bool IsScrew(const CControl& control) {
  return control.getTag() == TAG_NONE && *control.role == '\0';
}

struct Named {
  Part part;
  std::string caption;
};

/// The parts of a panel, those in the same place as one.
std::vector<Part> PartsOf(const Module& module) {
  std::vector<Named> named;
  std::set<std::string> otherCaptions;
  for (CView* view : module.children()) {
    const auto* control = dynamic_cast<const CControl*>(view);
    if (control && IsScrew(*control)) continue;
    const auto twin = std::find_if(named.begin(), named.end(), [&](const Named& other) {
      return other.part.rect == view->getViewSize();
    });
    if (twin != named.end()) {
      twin->caption = WithoutNumber(twin->caption);
      continue;
    }
    Named entry{{KindOf(*view), view->getViewSize(), 0, {}}, ""};
    if (control) entry.caption = control->caption ? control->caption : control->role;
    if (entry.part.kind == PartKind::kLamp && control && !control->caption) {
      entry.caption = LampCaption(entry.caption);
    }
    if (entry.part.kind == PartKind::kSteppedKnob) {
      entry.part.steps = static_cast<const ModuleKnob*>(view)->getNumSubPixmaps();
    }
    const bool showsText =
        entry.part.kind == PartKind::kWindow || entry.part.kind == PartKind::kText;
    if (showsText && !(control && control->caption)) entry.caption = "";
    if (entry.part.kind != PartKind::kLamp) otherCaptions.insert(entry.caption);
    named.push_back(std::move(entry));
  }
  std::vector<Part> parts;
  for (Named& entry : named) {
    // A lamp beside a jack of the same name needs no caption.
    const bool distinct =
        entry.part.kind == PartKind::kLamp && otherCaptions.contains(entry.caption);
    if (!distinct) entry.part.texts = ShortForms(entry.caption);
    parts.push_back(std::move(entry.part));
  }
  for (Part& part : parts) {
    if (part.kind == PartKind::kOutput) part.onPlate = true;
    if (part.kind != PartKind::kLamp || !part.texts.empty()) continue;
    part.onPlate = std::any_of(parts.begin(), parts.end(), [&](const Part& other) {
      const CPoint way = other.rect.getCenter() - part.rect.getCenter();
      return other.kind == PartKind::kOutput && std::hypot(way.x, way.y) < kLampReach * Unit();
    });
  }
  return parts;
}

/// A place that a caption may take.
struct Candidate {
  Label label;
  CRect claim;  ///< its ink, and for an output the plate around it
  double cost;
};

/// Puts the captions of a panel, all in one size, each where it collides with nothing.
class CaptionLayout {
 public:
  CaptionLayout(const PanelPlan& plan, double size) : plan_(plan), type_{size, true} {
    capHeight_ = CapHeight(type_) * size;
    free_ = Grown(CRect(0, 0, plan.width, plan.height), -kBorder * Unit());
    free_.top = plan.head.bottom + 0.4 * Unit();
  }

  /// Returns what the places cost; more where a caption finds none.
  double Run(std::vector<Label>& captions, std::vector<std::string>& unplaced);

 private:
  void AddCandidates(int part);
  bool StandsInDenseColumn(const Part& part) const;
  void AddCandidate(int part, const std::string& text, const CRect& relative, double cost, double x,
                    double baseline);
  bool IsFree(int part, const CRect& ink) const;
  bool ResolveConflict();
  bool Advance(std::size_t caption);
  const Candidate& Present(std::size_t caption) const {
    return candidates_[caption][chosen_[caption]];
  }
  double NextCost(std::size_t caption) const;

  const PanelPlan& plan_;
  Type type_;
  double capHeight_ = 0;
  CRect free_;
  // By caption: the places that it may take, cheapest first, which it takes, and if it found none.
  std::vector<std::vector<Candidate>> candidates_;
  std::vector<std::size_t> chosen_;
  std::vector<bool> lost_;
};

bool CaptionLayout::IsFree(int part, const CRect& ink) const {
  if (!Holds(free_, ink)) return false;
  const bool onPlate = plan_.parts[static_cast<std::size_t>(part)].onPlate;
  for (std::size_t i = 0; i < plan_.parts.size(); ++i) {
    const Part& other = plan_.parts[i];
    const bool own = static_cast<int>(i) == part;
    double distance = own ? -kDescent : kBetweenTexts / 2;
    if (other.onPlate && !onPlate) distance = kPlateMargin + 0.5;
    if (ink.rectOverlap(Grown(other.Claim(), distance * Unit()))) return false;
  }
  const double corner = 15 * Unit();  // screws
  for (const double x : {0.0, plan_.width - corner}) {
    if (ink.rectOverlap(CRect(x, plan_.height - corner, x + corner, plan_.height))) return false;
  }
  return true;
}

/// True in a column of jacks or lamps so close that no text fits between them: all of them then
/// have theirs at the side.
bool CaptionLayout::StandsInDenseColumn(const Part& part) const {
  const double least = capHeight_ + (kCaptionGap + kBetweenTexts / 2) * Unit();
  int neighbours = 0;
  for (const Part& other : plan_.parts) {
    if (other.kind != part.kind || std::abs(other.rect.left - part.rect.left) > 1) continue;
    const double gap = std::abs(other.rect.top - part.rect.top) - part.rect.getHeight();
    if (gap > -part.rect.getHeight() && gap < least) ++neighbours;
  }
  return neighbours > 0;
}

/// `relative` is the ink of the text from its beginning, `x` where the text begins.
void CaptionLayout::AddCandidate(int part, const std::string& text, const CRect& relative,
                                 double cost, double x, double baseline) {
  CRect ink = relative;
  ink.offset(x, baseline);
  if (!IsFree(part, ink)) return;
  const bool onPlate = plan_.parts[static_cast<std::size_t>(part)].onPlate;
  candidates_.back().push_back({{text, x, baseline, type_, ink, part, onPlate}, ink, cost});
}

void CaptionLayout::AddCandidates(int part) {
  constexpr double kShifts[] = {0, 1, -1, 2, -2, 3.5, -3.5, 5, -5, 7, -7, 10, -10};
  constexpr double kCostOfShift = 0.4;  // a panel unit
  constexpr double kCostOfBelow = 8;
  constexpr double kCostOfRight = 6;
  constexpr double kCostOfLeft = 6.5;
  constexpr double kCostOfAboveInDenseColumn = 60;
  constexpr double kCostOfTextInDenseColumn = 4;
  const Part& named = plan_.parts[static_cast<std::size_t>(part)];
  const bool dense = StandsInDenseColumn(named);
  const CRect claim = named.Claim();
  const double gap = kCaptionGap * Unit();
  const double above = std::round(claim.top - gap);
  const double below = std::round(claim.bottom + gap + capHeight_);
  const double beside = std::round(named.rect.getCenter().y + capHeight_ / 2);
  candidates_.emplace_back();
  for (const ShortForm& form : named.texts) {
    const std::string& text = form.text;
    const CRect ink = Measure(text, type_).ink;
    const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos;
    const double cost = !dense ? form.cost : isNumber ? 0 : kCostOfTextInDenseColumn + form.cost;
    for (const double shift : kShifts) {
      const double x = named.rect.getCenter().x + shift * Unit() - (ink.left + ink.right) / 2;
      const double costHere =
          cost + std::abs(shift) * kCostOfShift + (dense ? kCostOfAboveInDenseColumn : 0);
      AddCandidate(part, text, ink, costHere, x, above);
      AddCandidate(part, text, ink, costHere + kCostOfBelow, x, below);
    }
    AddCandidate(part, text, ink, cost + kCostOfRight, claim.right + gap - ink.left, beside);
    AddCandidate(part, text, ink, cost + kCostOfLeft, claim.left - gap - ink.right, beside);
  }
  auto& own = candidates_.back();
  std::stable_sort(own.begin(), own.end(),
                   [](const Candidate& a, const Candidate& b) { return a.cost < b.cost; });
}

double CaptionLayout::NextCost(std::size_t caption) const {
  const std::size_t next = chosen_[caption] + 1;
  const auto& own = candidates_[caption];
  return next < own.size() ? own[next].cost - own[next - 1].cost
                           : std::numeric_limits<double>::infinity();
}

bool CaptionLayout::Advance(std::size_t caption) {
  if (++chosen_[caption] < candidates_[caption].size()) return true;
  lost_[caption] = true;
  return false;
}

/// Resolves one collision between captions; false if there is none.
bool CaptionLayout::ResolveConflict() {
  const double distance = kBetweenTexts * Unit() / 2;
  for (std::size_t a = 0; a < chosen_.size(); ++a) {
    for (std::size_t b = a + 1; b < chosen_.size(); ++b) {
      if (lost_[a] || lost_[b]) continue;
      const Candidate& first = Present(a);
      const Candidate& second = Present(b);
      // A plate around an output's caption keeps clear of any other text.
      const bool differ = first.label.onPlate != second.label.onPlate;
      const double clear = differ ? kPlateMargin * Unit() / 2 + distance : distance;
      if (!Grown(first.claim, clear).rectOverlap(Grown(second.claim, clear))) continue;
      // The longer text yields where both would cost the same.
      const double costA = NextCost(a);
      const double costB = NextCost(b);
      const bool longer = first.label.text.size() > second.label.text.size();
      Advance(costA < costB || (costA == costB && longer) ? a : b);
      return true;
    }
  }
  return false;
}

double CaptionLayout::Run(std::vector<Label>& captions, std::vector<std::string>& unplaced) {
  constexpr double kLostCost = 1000;
  std::vector<int> parts;
  for (std::size_t i = 0; i < plan_.parts.size(); ++i) {
    if (plan_.parts[i].texts.empty()) continue;
    parts.push_back(static_cast<int>(i));
    AddCandidates(static_cast<int>(i));
  }
  chosen_.assign(parts.size(), 0);
  lost_.assign(parts.size(), false);
  for (std::size_t i = 0; i < parts.size(); ++i) lost_[i] = candidates_[i].empty();
  while (ResolveConflict()) {
  }
  double cost = 0;
  captions.clear();
  unplaced.clear();
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (lost_[i]) {
      cost += kLostCost;
      unplaced.push_back(plan_.parts[static_cast<std::size_t>(parts[i])].texts[0].text);
    } else {
      cost += Present(i).cost;
      captions.push_back(Present(i).label);
    }
  }
  return cost;
}

void PlaceCaptions(PanelPlan& plan) {
  constexpr double kSizeStep = 0.4;   // pixels
  constexpr double kCostOfPixel = 5;  // what a smaller size is worth avoiding
  const double largest = std::max(kCaptionSize * Unit(), kLeastCaptionPixels);
  const double smallest = std::max(kSmallestCaptionSize * Unit(), kLeastCaptionPixels - 0.6);
  double best = std::numeric_limits<double>::infinity();
  for (double size = largest; size > smallest - 0.01; size -= kSizeStep) {
    std::vector<Label> captions;
    std::vector<std::string> unplaced;
    const double cost = CaptionLayout(plan, size).Run(captions, unplaced) +
                        (largest - size) * kCostOfPixel / Unit();
    if (cost >= best) continue;
    best = cost;
    plan.captions = std::move(captions);
    plan.unplaced = std::move(unplaced);
  }
}

Label CentredLabel(const std::string& text, const Type& type, double centre, double baseline) {
  const CRect relative = Measure(text, type).ink;
  const double x = centre - (relative.left + relative.right) / 2;
  CRect ink = relative;
  ink.offset(x, baseline);
  return {text, x, baseline, type, ink, -1, false};
}

double WidthOf(const std::string& text, const Type& type) {
  return Measure(text, type).ink.getWidth();
}

/// A name in one line or, cut so that both fit best, in two; none if it is too wide for its rooms.
std::vector<std::string> NameLines(const std::string& name, const Type& type, double room,
                                   double roomOfFirst) {
  if (WidthOf(name, type) <= room) return {name};
  std::vector<std::string> best;
  double bestShare = 1;
  for (std::size_t i = 1; i + 1 < name.size(); ++i) {
    if (name[i] != ' ' && name[i] != '/') continue;
    std::vector<std::string> lines{name.substr(0, name[i] == '/' ? i + 1 : i), name.substr(i + 1)};
    const double share =
        std::max(WidthOf(lines[0], type) / roomOfFirst, WidthOf(lines[1], type) / room);
    if (share > bestShare) continue;
    bestShare = share;
    best = std::move(lines);
  }
  return best;
}

void PlaceHead(PanelPlan& plan, const std::string& displayName) {
  const std::size_t blank = std::min(displayName.find(' '), displayName.size());
  const std::string number = displayName.substr(0, blank);
  const std::string name = blank < displayName.size() ? displayName.substr(blank + 1) : "";
  const double u = Unit();
  plan.head = CRect(0, 0, plan.width, std::round(kHeadHeight * u));
  const double centre = plan.width / 2.0;
  const double room = plan.width - 6 * u;
  const double betweenScrews = plan.width - 30 * u;

  Type numberType{std::max(9.2 * u, kLeastHeadPixels), true, 0.04};
  while (numberType.size > 5 && WidthOf(number, numberType) > betweenScrews) numberType.size -= 0.2;
  for (double size = kNameSize; size > kSmallestNameSize; size -= 0.2) {
    const Type type{std::max(size * u, kLeastHeadPixels), true};
    const std::vector<std::string> lines = NameLines(name, type, room, betweenScrews);
    const bool two = lines.size() == 2;
    if (lines.empty() || (two && size > kTwoLineSize)) continue;
    const double spacing = std::ceil(0.88 * type.size);
    const double last = std::floor(plan.head.bottom - (two ? 2.0 : 5.4) * u);
    plan.heads.push_back(
        CentredLabel(number, numberType, centre, std::round((two ? 10.4 : 11.6) * u)));
    for (std::size_t i = 0; i < lines.size(); ++i) {
      const double baseline = last - spacing * static_cast<double>(lines.size() - 1 - i);
      plan.heads.push_back(CentredLabel(lines[i], type, centre, baseline));
    }
    return;
  }
  plan.unplaced.push_back(name);
}

bool IsClear(const PanelPlan& plan, const CRect& rect) {
  for (const Part& part : plan.parts) {
    if (!part.onPlate && rect.rectOverlap(part.Claim())) return false;
  }
  for (const Label& caption : plan.captions) {
    if (!caption.onPlate && rect.rectOverlap(caption.ink)) return false;
  }
  return true;
}

/// Two plates side by side at one height, or one under the other, with little between them.
bool AreNeighbours(const CRect& a, const CRect& b) {
  const double u = Unit();
  CRect both = a;
  both.unite(b);
  const double gapX = both.getWidth() - a.getWidth() - b.getWidth();
  const double gapY = both.getHeight() - a.getHeight() - b.getHeight();
  const bool beside =
      gapX > -kPlateReach * u && gapX < kPlateReach * u && std::abs(a.bottom - b.bottom) < 2 * u;
  const bool above = gapY > -kPlateReach * u && gapY < kPlateReach * u &&
                     std::abs(a.getCenter().x - b.getCenter().x) < 4 * u;
  return beside || above;
}

/// A plate for each output and its caption, and one between two that are neighbours.
void PlacePlates(PanelPlan& plan) {
  const double u = Unit();
  const CRect bounds = Grown(CRect(0, 0, plan.width, plan.height), -1.5 * u);
  for (std::size_t i = 0; i < plan.parts.size(); ++i) {
    if (!plan.parts[i].onPlate) continue;
    CRect content = plan.parts[i].rect;
    for (const Label& caption : plan.captions) {
      if (caption.part == static_cast<int>(i)) content.unite(caption.ink);
    }
    CRect plate = Grown(content, kPlateMargin * u).bound(bounds);
    for (double margin = kPlateMargin; margin > 0.9 && !IsClear(plan, plate); margin -= 0.3) {
      plate = Grown(content, margin * u).bound(bounds);
    }
    plan.plates.push_back(plate);
  }
  // First rows and columns, then rows of rows.
  for (int round = 0; round < 2; ++round) {
    const std::vector<CRect> own = plan.plates;
    for (std::size_t a = 0; a < own.size(); ++a) {
      for (std::size_t b = a + 1; b < own.size(); ++b) {
        if (!AreNeighbours(own[a], own[b])) continue;
        CRect both = own[a];
        both.unite(own[b]);
        const bool known =
            std::find(plan.plates.begin(), plan.plates.end(), both) != plan.plates.end();
        if (!known && IsClear(plan, both)) plan.plates.push_back(both);
      }
    }
  }
}

/// A thin line between what is turned and what is plugged, where each fills its own rows.
void PlaceRules(PanelPlan& plan) {
  struct Band {
    double top;
    double bottom;
    bool jacks;
    bool controls;
  };
  std::vector<Band> bands;
  for (std::size_t i = 0; i < plan.parts.size(); ++i) {
    const Part& part = plan.parts[i];
    CRect extent = part.Claim();
    for (const Label& caption : plan.captions) {
      if (caption.part == static_cast<int>(i)) extent.unite(caption.ink);
    }
    if (part.onPlate) extent = Grown(extent, kPlateMargin * Unit());
    const bool isLamp = part.kind == PartKind::kLamp;
    bands.push_back({extent.top, extent.bottom, IsJack(part.kind), !isLamp && !IsJack(part.kind)});
  }
  std::sort(bands.begin(), bands.end(), [](const Band& a, const Band& b) { return a.top < b.top; });
  std::vector<Band> merged;
  for (const Band& band : bands) {
    if (merged.empty() || band.top > merged.back().bottom) {
      merged.push_back(band);
      continue;
    }
    merged.back().bottom = std::max(merged.back().bottom, band.bottom);
    merged.back().jacks |= band.jacks;
    merged.back().controls |= band.controls;
  }
  // Lamps count for neither; the line goes into the widest gap between the two.
  std::size_t last = 0;
  for (std::size_t i = 1; i < merged.size(); ++i) {
    if (!merged[i].jacks && !merged[i].controls) continue;
    const Band& above = merged[last];
    const Band& below = merged[i];
    const bool changes = (above.controls && !above.jacks && below.jacks && !below.controls) ||
                         (below.controls && !below.jacks && above.jacks && !above.controls);
    std::size_t widest = last + 1;
    for (std::size_t gap = last + 1; gap <= i; ++gap) {
      const auto width = [&](std::size_t at) { return merged[at].top - merged[at - 1].bottom; };
      if (width(gap) > width(widest)) widest = gap;
    }
    const double room = merged[widest].top - merged[widest - 1].bottom;
    if (changes && room >= kRuleGap * Unit()) {
      plan.rules.push_back(std::floor((merged[widest].top + merged[widest - 1].bottom) / 2) + 0.5);
    }
    last = i;
  }
}

}  // namespace

CRect Part::Claim() const {
  if (kind == PartKind::kWindow) return Grown(rect, kWindowFrame * Unit());
  if (kind == PartKind::kEither) return Grown(rect, kEitherRing * Unit());
  if (kind != PartKind::kKnob && kind != PartKind::kSteppedKnob) return rect;
  const double ring = kScaleRing * Unit();
  return {rect.left - ring, rect.top - ring, rect.right + ring, rect.bottom};
}

PanelPlan PlanPanel(const Module& module, const CatalogueEntry& entry) {
  PanelPlan plan;
  plan.width = static_cast<int>(module.getViewSize().getWidth());
  plan.height = static_cast<int>(module.getViewSize().getHeight());
  plan.category = entry.category;
  plan.parts = PartsOf(module);
  PlaceHead(plan, entry.name);
  const std::vector<std::string> headless = std::move(plan.unplaced);
  PlaceCaptions(plan);
  plan.unplaced.insert(plan.unplaced.end(), headless.begin(), headless.end());
  PlacePlates(plan);
  PlaceRules(plan);
  return plan;
}

}  // namespace halveron::skins
