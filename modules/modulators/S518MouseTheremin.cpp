#include "modules/modulators/S518MouseTheremin.h"

#include <algorithm>
#include <cmath>

#include "framework/display_view.h"

namespace halveron {

namespace {

/// One sample's way of an output to its target: the step that knobs take.
void Glide(Output& output, float target, float glide) {
  constexpr float kNear = 0.001f;
  const float distance = target - output->out;
  if (distance == 0.0f) return;
  if (distance > -kNear && distance < kNear) {
    output->out = target;
  } else {
    output->out = output->out + distance * glide;
  }
}

}  // namespace

S518MouseTheremin::S518MouseTheremin(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 22, kMiddle = 54, kRight = 86;
  AddModuleKnob(centre_, "Centre", 34, 164, SharedBitmap::kSmallKnob, 0.5f);
  polarity_ = AddVerticalSwitch("Polarity", 78, 164, SharedBitmap::kVerticalSwitch, 1.0f);
  AddPatchPoint(x_, "X", kLeft, 236);
  AddPatchPoint(y_, "Y", kMiddle, 236);
  AddPatchPoint(d_, "D", kRight, 236);
  display_ = AddDisplay("Hand", kMiddle, 88, kPictureWidth, kPictureHeight);
  display_->SetPainter(
      [this](CDrawContext& context, const CRect& area) { DrawHand(context, area); });
  display_->RedrawWhen([this] { return frame_ != shownFrame_; });

  RegisterForMouseMoved();
  monoSelectable = false;
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S518MouseTheremin::SetUpClass() {
  BuiltInModule::SetUpClass();
  picture_ = new CBitmap(skinPath, skinFallbackPath, kPicture);
}

void S518MouseTheremin::TearDownClass() {
  if (picture_) picture_->forget();
  picture_ = nullptr;
  BuiltInModule::TearDownClass();
}

void S518MouseTheremin::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  glide_ = 1000.0f / (rate * kDefaultSmoothDelay);
}

void S518MouseTheremin::ValueChanged(CControl* control) {
  if (control != centre_ && control != polarity_) return;
  const ProcessingSection section(*this);
  FollowMouse();
}

int S518MouseTheremin::OnMouseMoved(CPoint* where, int*) {
  // The field is the part of the rack that is seen, so that the values run over all of it.
  const CView* rack = getParentView();
  const CView* field = rack ? rack->getParentView() : nullptr;
  if (!field || field->getWidth() <= 0 || field->getHeight() <= 0) return kMouseEventNotHandled;
  CPoint point = *where;
  frameToLocal(point);
  point = point - getViewSize().getTopLeft();
  const ProcessingSection section(*this);
  mouse_ = CPoint(point.x / field->getWidth(), point.y / field->getHeight());
  FollowMouse();
  return kMouseEventNotHandled;
}

S518MouseTheremin::Position S518MouseTheremin::PositionOf(const CPoint& share, double centre,
                                                          bool nearness) {
  double x = share.x + (0.5 - centre);
  double y = share.y;
  double d = std::sqrt(x * x + y * y);
  if (nearness) {
    x = x >= 0.0 ? 1.0 - x : x + 1.0;
    y = y >= 0.0 ? 1.0 - y : y + 1.0;
    d = std::max(1.0 - d, 0.0);
  }
  return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(d)};
}

void S518MouseTheremin::FollowMouse() {
  if (!mouse_) return;
  const double centre = centre_->value;
  target_ = PositionOf(*mouse_, centre, polarity_->getValue() >= 0.5f);
  const auto near = static_cast<double>(PositionOf(*mouse_, centre, true).d);
  frame_ = static_cast<int>(std::lround(near * (kPictureFrames - 1)));
}

void S518MouseTheremin::DrawHand(CDrawContext& context, const CRect& area) {
  shownFrame_ = frame_;
  if (picture_ && picture_->load()) {
    picture_->draw(context, area, CPoint(0, frame_ * area.getHeight()));
    return;
  }
  // Without an image: the rod, and the hand as far from it as the mouse.
  const CPoint middle = area.getCenter();
  const double far = 1.0 - static_cast<double>(frame_) / (kPictureFrames - 1);
  const CCoord radius = area.getWidth() * 0.1;
  const CCoord rod = area.left + area.getWidth() * 0.2;
  const CCoord hand = rod + radius * 1.5 + far * (area.right - rod - radius * 2.5);
  context.setFrameColor(digitColor);
  context.setLineWidth(2);
  context.drawLine(CPoint(rod, area.top), CPoint(rod, area.bottom));
  context.setFillColor(digitColor);
  context.drawEllipse(CRect(hand - radius, middle.y - radius, hand + radius, middle.y + radius),
                      kDrawFilled);
}

void S518MouseTheremin::ProcessSample() {
  Glide(x_, target_.x, glide_);
  Glide(y_, target_.y, glide_);
  Glide(d_, target_.d, glide_);
}

}  // namespace halveron
