// My Gain: an input times a knob.
#include "halveron_module.hpp"

namespace {

class Gain final : public halveron_sdk::Module {
 public:
  // Name and vendor are what patches know the module by, and stand in my_modules.ini as well.
  static constexpr char kName[] = "My Gain";
  static constexpr char kVendor[] = "My Name";
  static constexpr int kColumns = 4;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  explicit Gain(const halveron_sdk::Setup& setup) : Module(setup) {
    AddModuleKnob(level_, "Level", 24, 80, HALVERON_SMALL, 0.5f);
    AddPatchPoint(in_, "In", 24, 180);
    AddPatchPoint(out_, "Out", 24, 250);
  }

  void ProcessSample() {
    level_->SmoothValue();
    out_->out = in_->in * static_cast<float>(level_->smoothed_value);
  }

 private:
  halveron_sdk::Knob level_;
  halveron_sdk::Input in_;
  halveron_sdk::Output out_;
};

}  // namespace

HALVERON_LIBRARY(Gain)
