#pragma once

#include "gui/view.h"

namespace halveron {

class CControl;

/// Gets what the user does to a control. Called on the thread that made the change.
struct CControlListener {
  virtual ~CControlListener() = default;
  virtual void valueChanged(CControl* control) = 0;
  virtual void controlBeginEdit(CControl* /*control*/) {}
  virtual void controlEndEdit(CControl* /*control*/) {}
};

/// A view with a value.
///
/// The value is one float that may live in the control or, after BindValue, in a cell of another
/// else's, so that values read together can lie together. Reads and stores of it are plain and
/// lock-free and may come from the audio thread; all else belongs to the interface thread.
class CControl : public CView {
 public:
  CControl(const CRect& size, CControlListener* listener = nullptr, int tag = 0,
           CBitmap* background = nullptr);

  float getValue() const { return *value; }
  /// Takes a value as it is: no clamp, no call of the listener.
  virtual void setValue(float v) { *value = v; }
  /// The audio thread's store, for lamps; never overridden.
  void StoreValue(float v) { *value = v; }
  /// Moves the value into a cell that must outlive the control or the next call; null moves it back
  /// into the control. The present value goes along.
  void BindValue(float* cell);

  /// The value as a share of the range from getMin to getMax; 0 if there is no range.
  float getValueNormalized() const;
  void setValueNormalized(float share);
  /// Brings the value into its range.
  virtual void bounceValue();
  float getMin() const { return vmin; }
  float getMax() const { return vmax; }
  virtual void setMin(float v) { vmin = v; }
  virtual void setMax(float v) { vmax = v; }
  float getRange() const { return vmax - vmin; }
  float getDefaultValue() const { return defaultValue; }
  virtual void setDefaultValue(float v) { defaultValue = v; }
  float getOldValue() const { return oldValue; }
  void setOldValue(float v) { oldValue = v; }

  virtual int getTag() const { return tag; }
  virtual void setTag(int t) { tag = t; }
  CControlListener* getListener() const { return listener; }
  virtual void setListener(CControlListener* l) { listener = l; }

  /// Calls the listener: the value changed.
  virtual void valueChanged();
  /// Bracket what the user does in one go; brackets may nest, the listener gets the outermost.
  virtual void beginEdit();
  virtual void endEdit();
  bool isEditing() const { return editing > 0; }

  /// On a left press with Control held: sets the default, calls the listener within its own edit
  /// bracket, asks for a redraw and returns true.
  virtual bool checkDefaultValue(const CButtonState& buttons);

  /// The flag, or a value other than the one drawn last.
  bool isDirty() const override { return dirty || *value != oldValue; }

  /// Notes the value as drawn, clears the dirty flag, and draws the image or, without one, the
  /// plain form.
  void draw(CDrawContext* context) override;

  HALVERON_TYPE_OF(CControl, CView)

  /// The same control on the module of the next voice, null on the last.
  CControl* nextVoice = nullptr;
  /// Name of the control within its module.
  const char* role = "";
  /// Shorter text for the panel; null takes the role.
  const char* caption = nullptr;

 protected:
  /// Draws oldValue, the value taken by `draw`, from the background image.
  virtual void drawImage(CDrawContext& context);
  /// Draws oldValue with lines and fills, for a rack without images.
  virtual void drawPlain(CDrawContext& context);
  /// True if the background can be drawn.
  bool hasImage() const { return background && background->load(); }
  /// oldValue as a share of the range, within 0 to 1 whatever was stored.
  float shownShare() const;
  /// Sets a value brought into its range; calls the listener and asks for a redraw if it differs.
  /// True if it did.
  bool changeValue(float v);

  float ownValue = 0;
  float* value = &ownValue;
  float oldValue = 0;
  float vmin = 0;
  float vmax = 1;
  float defaultValue = 0.5f;
  int tag;
  CControlListener* listener;
  int editing = 0;
};

}  // namespace halveron
