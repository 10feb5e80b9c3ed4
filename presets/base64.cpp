#include "presets/base64.h"

#include <cstdint>

namespace halveron {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string EncodeBase64(std::span<const std::byte> bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      const auto byte = at + i < bytes.size() ? std::to_integer<std::uint32_t>(bytes[at + i]) : 0u;
      group = group << 8 | byte;
    }
    for (std::size_t i = 0; i < 4; ++i) {
      const bool isPadding = at + i > bytes.size();
      text += isPadding ? '=' : kAlphabet[group >> (18 - 6 * i) & 63];
    }
  }
  return text;
}

std::optional<std::vector<std::byte>> DecodeBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::size_t padding = 0;
  while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=') ++padding;
  std::vector<std::byte> bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t group = 0;
  for (std::size_t i = 0; i < text.size() - padding; ++i) {
    const auto digit = kAlphabet.find(text[i]);
    if (digit == std::string_view::npos) return std::nullopt;
    group = group << 6 | static_cast<std::uint32_t>(digit);
    if (i % 4 == 0) continue;
    const std::size_t spare = 6 - 2 * (i % 4);
    bytes.push_back(static_cast<std::byte>(group >> spare & 0xFF));
    group &= (1u << spare) - 1;
  }
  if (group != 0) return std::nullopt;
  return bytes;
}

}  // namespace halveron
