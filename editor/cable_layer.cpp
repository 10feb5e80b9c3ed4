#include "editor/cable_layer.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace halveron {

namespace {

constexpr float kPaleAlpha = 0.25f;  // of the others while some cables are lifted

CRect PlugRect(const CBitmap& image, const CPoint& at) {
  const CPoint size(image.getWidth(), image.getHeight());
  return CRect::FromSize(CPoint(std::floor(at.x - size.x / 2), std::floor(at.y - size.y / 2)),
                         size.x, size.y);
}

}  // namespace

void CableLayer::SetStyle(const CableStyle& style) {
  painter_ = CablePainter(style);
  CableStyle opaque = style;
  opaque.alpha = 255;
  liftedPainter_ = CablePainter(opaque);
  layer_.InvalidateAll();
}

void CableLayer::Resize(CCoord width, CCoord height, double pixelScale) {
  layer_.Resize(width, height, pixelScale);
}

void CableLayer::MoveTo(const CPoint& corner) {
  const CPoint moved = corner - corner_;
  corner_ = corner;
  if (moved.x == 0) {
    layer_.Shift(moved.y);
  } else {
    layer_.InvalidateAll();
  }
}

void CableLayer::Outdate(const CableStrand& strand) { layer_.Invalidate(InView(BoundsOf(strand))); }

void CableLayer::Match(const std::vector<CableStrand>& present) {
  std::unordered_map<const Cable*, const Shown*> known;
  for (const Shown& each : shown_) known.emplace(each.strand.cable, &each);
  std::vector<Shown> next;
  next.reserve(present.size());
  for (const CableStrand& strand : present) {
    const auto found = known.find(strand.cable);
    if (found == known.end()) {
      next.push_back({strand, false, true});
      continue;
    }
    const Shown& before = *found->second;
    const bool moved = !(before.strand == strand);
    if (moved && !before.moves) Outdate(before.strand);
    next.push_back({strand, moved || before.moves, false});
    known.erase(found);
  }
  for (const auto& [cable, gone] : known) {
    if (!gone->moves) Outdate(gone->strand);
  }
  shown_ = std::move(next);
}

void CableLayer::Update(const std::vector<CableStrand>& present) {
  const bool isSame =
      std::equal(shown_.begin(), shown_.end(), present.begin(), present.end(),
                 [](const Shown& a, const CableStrand& b) { return a.strand == b; });
  if (isSame) return;
  Match(present);
  std::erase_if(lifted_, [&](const Cable* cable) {
    return std::none_of(present.begin(), present.end(),
                        [&](const CableStrand& strand) { return strand.cable == cable; });
  });
  // New cables usually lie above all others: these are added to the picture as it is.
  std::size_t top = shown_.size();
  while (top > 0 && (shown_[top - 1].isNew || shown_[top - 1].moves)) --top;
  for (std::size_t i = 0; i < top; ++i) {
    if (std::exchange(shown_[i].isNew, false)) Outdate(shown_[i].strand);
  }
  Refresh();
  layer_.Append([this](CDrawContext& context) {
    context.pushOffset(corner_);
    for (Shown& each : shown_) {
      if (!std::exchange(each.isNew, false)) continue;
      if (!InView(BoundsOf(each.strand)).rectOverlap(layer_.Bounds())) continue;
      DrawStrand(context, each.strand, *images_.connectedMidiPlug);
      ++drawnStrands_;
    }
  });
}

void CableLayer::Settle() {
  for (Shown& each : shown_) {
    if (std::exchange(each.moves, false)) Outdate(each.strand);
  }
}

void CableLayer::Refresh() {
  layer_.Refresh([&](CDrawContext& context, const CRect& rect) {
    context.pushOffset(corner_);
    for (const Shown& each : shown_) {
      if (each.moves || each.isNew) continue;
      if (!InView(BoundsOf(each.strand)).rectOverlap(rect)) continue;
      DrawStrand(context, each.strand, *images_.connectedMidiPlug);
      ++drawnStrands_;
    }
  });
}

bool CableLayer::IsLifted(const Shown& shown) const {
  return std::find(lifted_.begin(), lifted_.end(), shown.strand.cable) != lifted_.end();
}

void CableLayer::DrawUnlifted(CDrawContext& context, const CRect& area) {
  const DrawStateScope scope(context);
  if (!lifted_.empty()) context.setGlobalAlpha(kPaleAlpha);
  layer_.DrawTo(context, area);
  context.pushOffset(corner_);
  for (const Shown& each : shown_) {
    if (each.moves && InView(BoundsOf(each.strand)).rectOverlap(area)) {
      DrawStrand(context, each.strand, *images_.connectedMidiPlug);
    }
  }
}

void CableLayer::Draw(CDrawContext& context, const CRect& area) {
  if (shown_.empty()) return;
  Refresh();
  if (!isHidden_) DrawUnlifted(context, area);
  if (lifted_.empty()) return;
  const DrawStateScope scope(context);
  context.pushOffset(corner_);
  for (const Shown& each : shown_) {
    if (IsLifted(each) && InView(BoundsOf(each.strand)).rectOverlap(area)) {
      DrawStrand(context, each.strand, *images_.connectedMidiPlug, liftedPainter_);
    }
  }
}

void CableLayer::DrawStrand(CDrawContext& context, const CableStrand& strand, CBitmap& plugAtEnd,
                            const CablePainter& painter) const {
  if (strand.isMidi) {
    CBitmap& plug = *images_.connectedMidiPlug;
    plug.draw(context, PlugRect(plug, strand.from));
    plugAtEnd.draw(context, PlugRect(plugAtEnd, strand.to));
  }
  painter.Draw(context, strand.from, strand.to, strand.colour);
}

CRect CableLayer::BoundsOf(const CableStrand& strand, const CBitmap& plugAtEnd) const {
  CRect rect = painter_.BoundsOf(strand.from, strand.to);
  if (strand.isMidi) {
    rect.unite(PlugRect(*images_.connectedMidiPlug, strand.from));
    rect.unite(PlugRect(plugAtEnd, strand.to));
  }
  return rect;
}

}  // namespace halveron
