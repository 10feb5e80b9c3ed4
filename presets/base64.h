// Bytes as text in the base64 alphabet of RFC 4648, padded with '='.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace halveron {

std::string EncodeBase64(std::span<const std::byte> bytes);

/// None for text that the encoder cannot produce.
std::optional<std::vector<std::byte>> DecodeBase64(std::string_view text);

}  // namespace halveron
