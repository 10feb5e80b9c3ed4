// Example Mixer: the sum of four inputs. The smallest module that is of use.
#include <array>

#include "halveron_module.hpp"

namespace {

class Mixer final : public halveron_sdk::Module {
 public:
  static constexpr char kName[] = "Example Mixer";
  static constexpr char kVendor[] = "Halveron Examples";
  static constexpr int kColumns = 4;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  explicit Mixer(const halveron_sdk::Setup& setup) : Module(setup) {
    constexpr const char* kRoles[] = {"In 1", "In 2", "In 3", "In 4"};
    constexpr float kMiddle = 24, kFirstRow = 58, kRow = 42;
    for (std::size_t i = 0; i < ins_.size(); ++i) {
      AddPatchPoint(ins_[i], kRoles[i], kMiddle, kFirstRow + kRow * static_cast<float>(i));
    }
    AddPatchPoint(out_, "Out", kMiddle, 258);
  }

  void ProcessSample() { out_->out = ins_[3]->in + ins_[2]->in + ins_[1]->in + ins_[0]->in; }

 private:
  std::array<halveron_sdk::Input, 4> ins_;
  halveron_sdk::Output out_;
};

}  // namespace

HALVERON_LIBRARY(Mixer)
