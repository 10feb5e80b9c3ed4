// Keys of a text patch by which a module takes data in a form that people can write.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace halveron {

struct PatchMember;

/// The value of such a key.
struct PatchValue {
  using List = std::vector<PatchValue>;
  using Members = std::vector<PatchMember>;

  /// Without a value it is what no key takes, such as null.
  std::variant<std::string, double, List, Members, std::monostate> value;

  const std::string* Text() const { return std::get_if<std::string>(&value); }
  const double* Number() const { return std::get_if<double>(&value); }
  const List* Items() const { return std::get_if<List>(&value); }
  const Members* Object() const { return std::get_if<Members>(&value); }
};

struct PatchMember {
  std::string key;
  PatchValue value;
};

/// All such keys. Each stands beside "data" in a module's entry.
inline constexpr std::array<const char*, 3> kPatchKeys{"sample", "file", "bars"};

/// Base, beside Module, of a class that takes one.
class PatchKeyTaker {
 public:
  /// One of kPatchKeys.
  virtual const char* PatchKey() const = 0;
  /// Takes the value into the module, which has the patch's control values and data already. Paths
  /// that are not absolute begin at `folder`, that of the patch; files are read at once. Throws
  /// platform::UserError, of which `what()` names cause and remedy.
  virtual void TakePatchKey(const PatchValue& value, const std::string& folder) = 0;
  /// What a patch that a rack is written to has in place of "data", which are the module's preset
  /// data behind its control values; none for the data themselves.
  virtual std::optional<PatchValue> PatchValueOf(std::span<const std::byte> data) const {
    (void)data;
    return std::nullopt;
  }

 protected:
  ~PatchKeyTaker() = default;
};

}  // namespace halveron
