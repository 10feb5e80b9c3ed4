// The rack's window behind the interface that hosts know.
#pragma once

#include "engine/audio_effect.h"

namespace halveron {

class SynEditor;

class WindowEditor final : public AEffGUIEditor {
 public:
  explicit WindowEditor(SynEditor& rack) : rack_(rack) {}

  bool getRect(ERect** rect) override;
  /// Null opens a free window.
  bool open(void* parent) override;
  void close() override;
  void idle() override;
  void setScale(double scale) override;
  bool nearestSize(int& width, int& height) const override;
  bool setSize(int width, int height) override;
  int eventDescriptor() override;
  bool onKeyDown(const VstKeyCode& key) override;
  bool onKeyUp(const VstKeyCode& key) override;

 private:
  SynEditor& rack_;
  ERect rect_{};
};

}  // namespace halveron
