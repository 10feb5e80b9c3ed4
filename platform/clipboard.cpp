#include "platform/clipboard.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace halveron::platform {

namespace {

class Answered final : public ClipboardRequest {
 public:
  explicit Answered(ClipboardForm form) : form_(std::move(form)) {}
  std::optional<ClipboardForm> Take() override { return std::exchange(form_, std::nullopt); }

 private:
  std::optional<ClipboardForm> form_;
};

class Private final : public Clipboard {
 public:
  std::uint64_t Offer(std::vector<ClipboardForm> forms) override {
    const std::lock_guard lock(mutex_);
    forms_ = std::move(forms);
    return ++offered_;
  }
  bool Holds(std::uint64_t offered) const override {
    const std::lock_guard lock(mutex_);
    return offered != 0 && offered == offered_;
  }
  bool Has(const std::string& type) const override {
    const std::lock_guard lock(mutex_);
    return Find(type) != nullptr;
  }
  std::shared_ptr<ClipboardRequest> Ask(std::span<const std::string> types) override {
    const std::lock_guard lock(mutex_);
    for (const std::string& type : types) {
      if (const ClipboardForm* form = Find(type)) return std::make_shared<Answered>(*form);
    }
    return std::make_shared<Answered>(ClipboardForm{});
  }

 private:
  const ClipboardForm* Find(const std::string& type) const {
    const auto found = std::find_if(forms_.begin(), forms_.end(),
                                    [&](const ClipboardForm& form) { return form.type == type; });
    return found == forms_.end() ? nullptr : &*found;
  }

  mutable std::mutex mutex_;
  std::vector<ClipboardForm> forms_;
  std::uint64_t offered_ = 0;
};

}  // namespace

std::shared_ptr<Clipboard> PrivateClipboard() { return std::make_shared<Private>(); }

}  // namespace halveron::platform
