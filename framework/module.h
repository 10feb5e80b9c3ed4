// The base of every rack module: a panel and a DSP object in one.
//
// One instance exists per voice of a polyphonic module, one in all of a mono one. ProcessSample,
// BlockStart and ProcessEvents run on the audio thread under the processing lock. ValueChanged and
// the cable notices run on the thread that made the change; the cable notices come inside the lock.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "framework/class_pool.h"
#include "framework/engine_context.h"
#include "framework/host_table.h"
#include "framework/module_controls.h"
#include "framework/panel_metrics.h"
#include "framework/patch_point.h"
#include "framework/rack_limits.h"
#include "framework/signal.h"
#include "framework/voice_group_maker.h"
#include "gui/view_container.h"

namespace halveron {

class CFrame;
class COptionMenu;
class CSlider;
class CTextEdit;
class CTextLabel;
class CTextLabelEx;
class DisplayView;
class ModuleTimer;
class TextLog;
class TextLogView;
enum CSliderStyle : int;

/// Keeps the rack's panels apart from the toolkit's containers; adds no state.
class ModuleWrapper : public CViewContainer {
 public:
  using CViewContainer::CViewContainer;
  HALVERON_TYPE_OF(ModuleWrapper, CViewContainer)
};

/// Where a module instance stands in its rack, which alone reads and writes it. Indices are -1 for
/// an instance that is not in the list.
struct RackPlace {
  int moduleIndex = -1;      ///< in modules[voice]
  int activeIndex = -1;      ///< in activeModules[voice]
  int eventIndex = -1;       ///< in eventModules
  int blockStartIndex = -1;  ///< in blockStartModules
  int mouseIndex = -1;       ///< in mouseModules
  int trashIndex = -1;       ///< in trashList
  int cableCount = 0;        ///< cable ends on the instance's patch points
  bool isDragged = false;    ///< the mouse moves the panel
};

/// What the user changes by a control.
enum class ControlEffect {
  kSetting,       ///< a setting of the module
  kPlayback,      ///< what plays at present, as a song's position: it goes on, and is not undone
  kOtherModules,  ///< controls of other modules as well
};

class Module : public ModuleWrapper {
 public:
  /// Runs ProcessSample once on each of `count` modules.
  using RunFunction = void (*)(Module* const* modules, std::size_t count);

  Module(const CRect& rect, CFrame* frame, CBitmap* panelBitmap, const HostTable& table,
         int voiceIndex);
  ~Module() override;

  HALVERON_TYPE_OF(Module, ModuleWrapper)

  // Identity. Name and vendor together identify a module in presets, compared byte for byte.
  virtual const char* GetName() const { return ""; }
  virtual int GetNameLength() const { return -1; }
  virtual const char* GetVendorName() const { return ""; }
  virtual int GetVendorNameLength() const { return -1; }
  /// Version of the module's preset data, 1000 or above; -1 in the base.
  virtual int GetVersion() const { return -1; }
  virtual bool GetAlwaysOnDefault() const { return false; }
  virtual bool GetMonoDefault() const { return true; }
  virtual bool IsAudioToDAW() const { return false; }
  virtual bool UsesPolyphony() const { return false; }
  /// The module's page in the installed manual; null for a module of another vendor.
  virtual const char* GetInfoURL();

  // Sound.
  virtual void ProcessSample() {}
  /// Makes the operation that runs all voices of a module of this class in one call, in vectors of
  /// a given width. Null where the class has none.
  virtual VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const {
    (void)unit;
    return nullptr;
  }
  virtual void ProcessEvents(VstEvents* events) { (void)events; }
  virtual void BlockStart(int frames) { (void)frames; }
  virtual void SetSampleRate(float rate);
  /// For each knob: takes a smoothing delay in milliseconds of 0 or more, follows the rate.
  virtual void SetKnobSmoothing(float delay);
  virtual bool SetBandlimitMode(int mode);
  virtual void InitPatchPoints(float value);

  /// The patch points, in the order of making.
  std::span<PatchPoint* const> Points() const { return points_; }

  // Notices.
  virtual void CableConnected(PatchPoint* point) { (void)point; }
  virtual void CableDisconnected(PatchPoint* point) { (void)point; }
  /// The class's panel logic, whenever a control has moved. What a voice group keeps of a module
  /// between blocks changes only inside a ProcessingSection (VoiceGroup::Stays).
  virtual void ValueChanged(CControl* control) { (void)control; }
  virtual void VoiceCountChanged(int voices) { (void)voices; }
  virtual void ModuleCreated(int voices) { (void)voices; }
  virtual void ModuleRemoved() {}
  /// Modules that joined mouseModules get it, for each move of the mouse over the window and with
  /// the point in the coordinates of that. Answers 2, not handled.
  virtual int OnMouseMoved(CPoint* where, int* buttons);

  // Host audio of the present sample, by channel. Channels that the host did not bring are skipped.
  virtual void SendToDAW(const float* values, int first, int last);
  virtual void SendToDAW(const float* values, int last) { SendToDAW(values, 0, last); }
  virtual void SendToDAW(PatchPoint** points, int first);
  virtual void SendToDAW(PatchPoint** points) { SendToDAW(points, 0); }
  virtual void SendStereoToDAW(float left, float right);
  virtual void ReceiveFromDAW(float* values, int first, int last);
  virtual void ReceiveFromDAW(float* values, int last) { ReceiveFromDAW(values, 0, last); }
  virtual void ReceiveFromDAW(PatchPoint** points, int first);
  virtual void ReceiveFromDAW(PatchPoint** points) { ReceiveFromDAW(points, 0); }
  virtual void ReceiveStereoFromDAW(float* left, float* right);
  virtual int GetDAWInputCount() const { return hostTable.GetDAWInputCount(editor); }
  virtual int GetDAWOutputCount() const { return hostTable.GetDAWOutputCount(editor); }

  // Registration with the rack.
  virtual int GetFreeTag() { return hostTable.GetFreeTag(editor, this); }
  virtual bool RegisterTag(CControl* control, int tag);
  virtual bool UnregisterTag(CControl* control);
  virtual bool RegisterForEvents() { return hostTable.RegisterForEvents(editor, this); }
  virtual bool RegisterForBlockStart() { return hostTable.RegisterForBlockStart(editor, this); }
  virtual bool RegisterForMouseMoved() { return hostTable.RegisterForMouseMoved(editor, this); }

  // Presets: the values of the controls, unless a class overrides the last three.

  virtual int GetControlValuesSize();
  /// Writes the value of each tagged control in child order, one float each, without the host's
  /// modulation.
  virtual void SaveControlValues(float* buffer);
  /// Reads them back; `size` in bytes. Controls beyond the end keep what they have.
  virtual void LoadControlValues(const float* buffer, unsigned size);
  /// Bytes of the module's preset data.
  virtual int GetPresetSize() { return GetControlValuesSize(); }
  virtual void SavePreset(void* buffer, int size);
  /// `version` is what GetVersion gave when the data was saved. Stops quietly where data ends.
  virtual void LoadPreset(const void* buffer, int size, int version);
  /// A number that changes with the preset data behind the control values; 0 where the class does
  /// not say. Large data that stay as they are need not be read again for every step of the undo
  /// history. Inside the processing lock.
  virtual std::uint64_t GetDataRevision() { return 0; }
  /// What undo has to know of a move of a control.
  virtual ControlEffect EffectOf(const CControl& control) const {
    (void)control;
    return ControlEffect::kSetting;
  }

  virtual void EnterProcessingCriticalSection();
  virtual void LeaveProcessingCriticalSection();
  virtual void SetPatchPointPoly(PatchPoint* point, bool poly);
  /// The instance of this module in another voice, null if there is none.
  virtual Module* GetVoiceModule(int voiceIndex);

  virtual float GetClipLevel() const { return clipLevel; }
  virtual void SetClipLevel(float level) { clipLevel = level; }
  virtual int GetBandlimitMode() const { return bandlimitMode; }

  bool oversampled = true;
  bool alwaysOn = false;  ///< processed without cables
  bool mono = false;
  bool monoSelectable = true;
  bool oversamplingSelectable = true;
  int bandlimitMode = -1;  ///< -1 none, 0 at the oversampling Nyquist, 1 near the host's
  EngineContext* engine;
  RackModel* editor;
  HostTable hostTable;
  float clipLevel = kDefaultClipLevel;  ///< linear limit, -1 where a class does not clip
  int voice;

  // The side of the rack and the hosts, which a module has no use for.

  virtual int GetHostVersion() const { return kHostInterfaceVersion; }
  /// What the sample loop calls for modules of this class, which it keeps side by side: modules
  /// with equal functions run in one call.
  virtual RunFunction GetRunFunction() const {
    return [](Module* const* modules, std::size_t count) {
      for (std::size_t i = 0; i < count; ++i) modules[i]->ProcessSample();
    };
  }
  virtual void SetDAWSampleRate(float rate) { dawSampleRate = rate; }
  virtual void SetBlockSize(float frames) { blockSize = static_cast<int>(frames); }
  /// Runs at the host's rate, or at the oversampled one where the module takes part in that.
  void FollowRate() {
    const auto steps = static_cast<float>(hostTable.GetOversamplingSteps(editor));
    SetSampleRate(oversampled ? dawSampleRate * steps : dawSampleRate);
  }
  virtual bool ReleaseFromTrash() { return hostTable.ReleaseFromTrash(editor, this); }
  virtual void UnregisterControls();
  virtual void CountControls();
  virtual void ResetControlCounts() { nbControls_ = nbPatchPoints_ = -1; }
  virtual void NumberPatchPoints(int* next);
  virtual void CollectPatchPoints(PatchPoint** points, int* index, int limit);
  virtual int GetPatchPointIndicesSize() { return GetControlValuesSize(); }
  virtual void SavePatchPointIndices(int* buffer);
  virtual void LoadPatchPointIndices(const int* buffer, unsigned size);
  float GetSampleRate() const { return sampleRate; }
  float GetHalfSampleRate() const { return halfSampleRate; }
  float GetSampleRate60() const { return sampleRate60; }
  float GetDAWSampleRate() const { return dawSampleRate; }
  int GetBlockSize() const { return blockSize; }
  /// Tagged controls, patch points included, and patch points; -1 until they are counted.
  int GetNbControls() const { return nbControls_; }
  int GetNbPatchPoints() const { return nbPatchPoints_; }
  /// Patch points that exist per voice although the module is mono.
  int GetPolyPatchPoints() const { return polyPatchPoints_; }

  void enteredFrame(CFrame* root) override;
  void leavingFrame(CFrame* root) override;

  // Mouse, handed on to the rack.
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  std::string tooltipAt(const CPoint& where) override;

  RackPlace place;

 protected:
  float sampleRate;  ///< hertz at which ProcessSample runs
  float halfSampleRate;
  float sampleRate60;   ///< samples a minute
  float dawSampleRate;  ///< host rate
  int blockSize;        ///< host block size in samples
  KnobMoves knobMoves_;

  // Control factories. x and y name the centre in panel units (a row is 291 high); roles are
  // unique among the panel's controls, among its inputs and among its outputs.
  void AddPatchPoint(Input& handle, const char* role, float x, float y);
  void AddPatchPoint(Output& handle, const char* role, float x, float y);
  void AddPatchPoint(Either& handle, const char* role, float x, float y);
  /// Points of two frames that show whether they are plugged, for MIDI words.
  void AddMidiPatchPoint(Input& handle, const char* role, float x, float y);
  void AddMidiPatchPoint(Output& handle, const char* role, float x, float y);

  void AddModuleKnob(Knob& handle, const char* role, float x, float y, SharedBitmap bitmap,
                     float initial, int tag = TAG_AUTOMATIC);
  /// A knob that stands only on the frames of its strip.
  void AddSteppedKnob(Knob& handle, const char* role, float x, float y, SharedBitmap bitmap,
                      float initial, int tag = TAG_AUTOMATIC);
  ModuleKnobEx* AddModuleKnobEx(Knob& handle, const char* role, float x, float y,
                                SharedBitmap bitmap, float initial, int tag = TAG_AUTOMATIC);
  CVerticalSwitch* AddVerticalSwitch(const char* role, float x, float y, SharedBitmap bitmap,
                                     float initial, int tag = TAG_AUTOMATIC);
  CHorizontalSwitch* AddHorizontalSwitch(const char* role, float x, float y, SharedBitmap bitmap,
                                         float initial, int tag = TAG_AUTOMATIC);
  CKickButtonEx* AddKickButton(const char* role, float x, float y, SharedBitmap bitmap,
                               int tag = TAG_AUTOMATIC);
  COnOffButton* AddOnOffButton(const char* role, float x, float y, SharedBitmap bitmap,
                               float initial, int tag = TAG_AUTOMATIC);
  CSpecialDigit* AddSpecialDigit(const char* role, float x, float y, SharedBitmap bitmap,
                                 int digits, int minimum, int maximum, int tag = TAG_UNASSIGNED);
  CSpecialDigitEx* AddSpecialDigitEx(const char* role, float x, float y, SharedBitmap bitmap,
                                     int digits, int minimum, int maximum,
                                     int tag = TAG_UNASSIGNED);
  /// A lamp that follows a signal, or, with a HeldLamp handle, events.
  void AddLamp(Lamp& handle, const char* role, float x, float y, SharedBitmap bitmap);
  /// One that a preset lights goes dark as after an event.
  void AddLamp(HeldLamp& handle, const char* role, float x, float y, SharedBitmap bitmap);
  CMovieBitmap* AddMovieBitmap(const char* role, float x, float y, SharedBitmap bitmap,
                               bool centred);
  /// `area` in panel units.
  CTextLabel* AddTextLabel(const char* role, const CRect& area);
  CTextLabelEx* AddTextLabelEx(const char* role, const CRect& area);
  // The following have no image that gives their size: width and height in panel units.
  CSlider* AddSlider(const char* role, float x, float y, float width, float height,
                     CSliderStyle style, float initial, int tag = TAG_AUTOMATIC);
  /// Its value is the number of the chosen entry.
  COptionMenu* AddOptionMenu(const char* role, float x, float y, float width, float height,
                             std::span<const char* const> entries, int initial,
                             int tag = TAG_UNASSIGNED);
  /// ValueChanged comes when the user has entered a text, which no preset keeps by itself.
  CTextEdit* AddTextEdit(const char* role, float x, float y, float width, float height,
                         const char* text = "");
  DisplayView* AddDisplay(const char* role, float x, float y, float width, float height);
  /// Shows a log that is the module's own. It is no control and has no role.
  TextLogView* AddTextLog(TextLog& log, float x, float y, float width, float height,
                          const char* fontFamily, float fontSize);

  void AddLeftScrews(CMovieBitmap** top, CMovieBitmap** bottom, CControlListener* listener);
  void AddRightScrews(CMovieBitmap** top, CMovieBitmap** bottom, CControlListener* listener);

 private:
  CRect PlaceControl(float x, float y, SharedBitmap bitmap) const;
  /// Names the control, gives it its first value and tag, and puts it on the panel.
  template <class Control>
  Control* AdoptControl(Control* control, const char* role, float initial, int tag);
  PatchPoint* MakePatchPoint(int type, bool twoState, const char* role, float x, float y);
  template <class KnobClass>
  KnobClass* MakeKnob(Knob& handle, const char* role, float x, float y, SharedBitmap bitmap,
                      float initial, bool stepped, int tag);
  void AddScrew(CMovieBitmap** screw, CControlListener* listener, bool left, bool top);

  friend class ModuleTimer;

  int nbControls_ = -1;
  int nbPatchPoints_ = -1;
  int polyPatchPoints_ = 0;
  std::string infoUrl_;
  std::vector<PatchPoint*> points_;
  std::vector<ModuleTimer*> timers_;
  std::vector<HeldLamp*> heldLamps_;
};

/// Holds the processing lock for a scope, from panel logic that touches what ProcessSample uses.
class ProcessingSection {
 public:
  explicit ProcessingSection(Module& module) : module_(module) {
    module_.EnterProcessingCriticalSection();
  }
  ~ProcessingSection() { module_.LeaveProcessingCriticalSection(); }
  ProcessingSection(const ProcessingSection&) = delete;
  ProcessingSection& operator=(const ProcessingSection&) = delete;

 private:
  Module& module_;
};

/// The vendor of every built-in module.
inline constexpr const char* kBuiltInVendor = "Calderine";

/// Identity of a built-in module class. `Derived` declares
///   static constexpr char kName[]       display name, such as "S404 VCA"
///   static constexpr char kPanel[]      panel image
///   static constexpr int kColumns       panel width in grid columns
///   static constexpr int kVersion       version of its preset data
///   static constexpr bool kPolyphonic   one instance per voice by default
template <class Derived>
class BuiltInModule : public Module {
 public:
  BuiltInModule(CFrame* frame, const HostTable& table, int voiceIndex)
      : Module(PanelRect(), frame, panelBitmap_, table, voiceIndex) {
    AddLeftScrews(&leftTop_, &leftBottom_, nullptr);
    AddRightScrews(&rightTop_, &rightBottom_, nullptr);
  }

  const char* GetName() const override { return Derived::kName; }
  int GetNameLength() const override { return sizeof(Derived::kName) - 1; }
  const char* GetVendorName() const override { return kBuiltInVendor; }
  int GetVendorNameLength() const override { return sizeof("Calderine") - 1; }
  int GetVersion() const override { return Derived::kVersion; }
  bool GetMonoDefault() const override { return !Derived::kPolyphonic; }
  /// Calls the class's own ProcessSample directly, not through the virtual table.
  Module::RunFunction GetRunFunction() const override {
    return [](Module* const* modules, std::size_t count) {
      for (std::size_t i = 0; i < count; ++i) {
        static_cast<Derived*>(modules[i])->Derived::ProcessSample();
      }
    };
  }

  // Instances of a class lie side by side, as the sample loop visits them one after another: that
  // touches few pages and cache lines.
  static void* operator new(std::size_t size) {
    static const ClassPool pool(sizeof(Derived));
    return pool.Take(size);
  }
  static void operator delete(void* memory, std::size_t size) { ClassPool::GiveBack(memory, size); }

  /// What all instances of the class share, set up when the first plug-in instance of the process
  /// opens and torn down when the last closes. A class with more than its panel image hides these
  /// by its own and calls them.
  static void SetUpClass() {
    TearDownClass();
    panelBitmap_ = new CBitmap(skinPath, skinFallbackPath, Derived::kPanel);
  }
  static void TearDownClass() {
    if (panelBitmap_) panelBitmap_->forget();
    panelBitmap_ = nullptr;
  }

  /// Pixels of the panel at the present scale.
  static CRect PanelRect() { return CRect(0, 0, Derived::kColumns * panelUnitWidth, panelHeight); }

 private:
  inline static CBitmap* panelBitmap_ = nullptr;

  CMovieBitmap* leftTop_ = nullptr;
  CMovieBitmap* leftBottom_ = nullptr;
  CMovieBitmap* rightTop_ = nullptr;
  CMovieBitmap* rightBottom_ = nullptr;
};

}  // namespace halveron
