// A value in a JSON document with its path, for error messages.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace halveron {

class JsonPlace {
 public:
  using Json = nlohmann::ordered_json;

  JsonPlace(const Json& value, const std::string& file, std::string path)
      : value_(value), file_(file), path_(std::move(path)) {}

  /// Throws platform::FileError with this place.
  [[noreturn]] void Fail(const std::string& cause, const std::string& remedy = {}) const;

  /// Fails unless the value is an object with keys from `known` only.
  void RequireObject(const std::vector<std::string>& known) const;
  /// The value of a key of an object, if present.
  std::optional<JsonPlace> Find(const std::string& key) const;
  JsonPlace Require(const std::string& key) const;
  /// The values of an array, or of an object with their keys.
  std::vector<JsonPlace> Elements() const;
  std::vector<std::pair<std::string, JsonPlace>> Members() const;

  bool IsList() const { return value_.is_array(); }
  bool IsObject() const { return value_.is_object(); }
  bool IsNumber() const { return value_.is_number(); }
  bool IsText() const { return value_.is_string(); }
  int Integer(int least, int most) const;
  double Number() const;
  bool Flag() const;
  std::string Text() const;
  /// The value as JSON text.
  std::string Shown() const { return value_.dump(); }

 private:
  const Json& value_;
  const std::string& file_;
  std::string path_;
};

/// Parses a document. Syntax errors have line and column; repeated keys are errors.
JsonPlace::Json ParseJson(const std::string& text, const std::string& file);

}  // namespace halveron
