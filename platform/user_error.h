// A failure reported in one line that a user can act on.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace halveron::platform {

/// `what()` reads "file: place: cause; remedy", without the parts that are empty. `place` names
/// what failed: a part of the file, an option, a device.
class UserError : public std::runtime_error {
 public:
  UserError(const std::string& file, const std::string& place, const std::string& cause,
            const std::string& remedy = {})
      : std::runtime_error(Line(file, place, cause, remedy)) {}

 private:
  static std::string Line(const std::string& file, const std::string& place,
                          const std::string& cause, const std::string& remedy) {
    std::string line = file.empty() ? std::string() : file + ": ";
    if (!place.empty()) line += place + ": ";
    line += cause;
    if (!remedy.empty()) line += "; " + remedy;
    return line;
  }
};

}  // namespace halveron::platform
