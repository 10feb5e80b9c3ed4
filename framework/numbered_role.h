// Roles that end in a number: "In 1", "Step 16", "CV 3-4".
#pragma once

#include <array>
#include <cstddef>

namespace halveron {

/// The text before the number, as a template argument.
template <std::size_t kSize>
struct RoleStem {
  // NOLINTNEXTLINE(google-explicit-constructor): stands for the literal itself
  consteval RoleStem(const char (&literal)[kSize]) {
    for (std::size_t i = 0; i < kSize; ++i) text[i] = literal[i];
  }

  static constexpr std::size_t kLength = kSize - 1;
  char text[kSize]{};
};

namespace detail {

constexpr char* AppendNumber(char* out, std::size_t number) {
  if (number >= 10) *out++ = static_cast<char>('0' + number / 10);
  *out++ = static_cast<char>('0' + number % 10);
  return out;
}

template <RoleStem stem>
constexpr char* AppendStem(char* out) {
  for (std::size_t i = 0; i < stem.kLength; ++i) *out++ = stem.text[i];
  if (stem.kLength > 0) *out++ = ' ';
  return out;
}

template <RoleStem stem>
struct NumberedRoles {
  static constexpr std::size_t kMost = 99;
  using Text = std::array<char, stem.kLength + 4>;

  static constexpr std::array<Text, kMost> Make() {
    std::array<Text, kMost> texts{};
    for (std::size_t i = 0; i < kMost; ++i) {
      AppendNumber(AppendStem<stem>(texts[i].data()), i + 1);
    }
    return texts;
  }
  static constexpr std::array<Text, kMost> kTexts = Make();
};

template <RoleStem stem>
struct PairedRoles {
  static constexpr std::size_t kMost = 16;
  using Text = std::array<char, stem.kLength + 7>;

  static constexpr std::array<Text, kMost * kMost> Make() {
    std::array<Text, kMost * kMost> texts{};
    for (std::size_t i = 0; i < kMost * kMost; ++i) {
      char* text = AppendNumber(AppendStem<stem>(texts[i].data()), i / kMost + 1);
      *text++ = '-';
      AppendNumber(text, i % kMost + 1);
    }
    return texts;
  }
  static constexpr std::array<Text, kMost* kMost> kTexts = Make();
};

}  // namespace detail

/// The role of the thing at `index`, 0 to 98: NumberedRole<"In">(0) is "In 1", NumberedRole<"">(9)
/// is "10".
template <RoleStem stem>
constexpr const char* NumberedRole(std::size_t index) {
  return detail::NumberedRoles<stem>::kTexts.at(index).data();
}

/// The role of the thing at a row and a column, 0 to 15: PairedRole<"CV">(2, 3) is "CV 3-4".
template <RoleStem stem>
constexpr const char* PairedRole(std::size_t row, std::size_t column) {
  return detail::PairedRoles<stem>::kTexts.at(row * detail::PairedRoles<stem>::kMost + column)
      .data();
}

}  // namespace halveron
