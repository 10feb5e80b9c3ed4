#include "skins/theme.h"

namespace halveron::skins {

namespace {

constexpr Color Rgb(std::uint32_t rgb, double alpha = 1) { return Color::Of(rgb, alpha); }

// One hue a category, of even lightness, so that none shouts.
constexpr std::array<Color, kCategoryCount> kDeepAccents{
    Rgb(0x55657A),  // Mixer/Panner
    Rgb(0x2F7A8C),  // Filter
    Rgb(0xB4532F),  // Oscillator/Source
    Rgb(0x8A3B4A),  // Amplifier
    Rgb(0x4F7A3A),  // Modulator
    Rgb(0x6A4C8C),  // Modifier/Effect
    Rgb(0x9A7415),  // Clock/Gate
    Rgb(0x4A6B63),  // Switch/Multiple
    Rgb(0x3E63A0),  // CV Source/Processor
    Rgb(0x3A3F47),  // From/To DAW
    Rgb(0xA0446E),  // Sequencer
    Rgb(0x77652F),  // Logic/Bit
    Rgb(0x2E6E5A),  // MIDI
    Rgb(0x6B6259),  // Other
};

constexpr std::array<Color, kCategoryCount> kBrightAccents{
    Rgb(0x8FA6C4), Rgb(0x4FB3C8), Rgb(0xE8835A), Rgb(0xD46A7E), Rgb(0x86B86A),
    Rgb(0xA988D6), Rgb(0xD9AE45), Rgb(0x7FB3A6), Rgb(0x6E9AE0), Rgb(0xA9B2BF),
    Rgb(0xDB7AA6), Rgb(0xBFA866), Rgb(0x5DB893), Rgb(0xB0A496),
};

constexpr std::array<Theme, 2> kThemes{{
    {.name = "Classic",
     .panelTop = Rgb(0xF1EEE7),
     .panelBottom = Rgb(0xE2DED4),
     .panelEdgeLight = Rgb(0xFFFFFF, 0.75),
     .panelEdgeDark = Rgb(0x6E675B, 0.65),
     .text = Rgb(0x26282C),
     .faintText = Rgb(0x6B6760),
     .rule = Rgb(0x8B8578, 0.45),
     .scale = Rgb(0x57534B),
     .window = Rgb(0x1B1D1F),
     .plate = Rgb(0x3B3F46),
     .plateEdge = Rgb(0x2A2D33),
     .plateText = Rgb(0xF6F4EF),
     .headText = Rgb(0xFFFFFF),
     .accents = kDeepAccents,
     .mainKnob = {Rgb(0x4C4F55), Rgb(0x17181B), Rgb(0x0E0F11), Rgb(0xFFFFFF)},
     .grayKnob = {Rgb(0xC9CACB), Rgb(0x808388), Rgb(0x4A4C50), Rgb(0x17181B)},
     .blackKnob = {Rgb(0x44464B), Rgb(0x141517), Rgb(0x0A0B0C), Rgb(0xF4F4F4)},
     .redKnob = {Rgb(0xC65348), Rgb(0x7E1C18), Rgb(0x48100E), Rgb(0xFFF6F0)},
     .knobShadow = Rgb(0x2B261C, 0.42),
     .jackNut = Rgb(0xC4C2BC),
     .switchLever = Rgb(0xD9D9D6),
     .buttonCap = Rgb(0xF4F2EC),
     .buttonSign = Rgb(0x2D2F33),
     .rackBack = Rgb(0x2A2826),
     .rail = Rgb(0xB9B5AC),
     .cheek = Rgb(0x7A4B2A),
     .cheekGrain = Rgb(0x3B2012),
     .bar = Rgb(0xD8D3C7),
     .barText = Rgb(0x2B2D31),
     .screen = Rgb(0x1C2A2E),
     .screenText = {208, 244, 236, 235},
     .digits = Rgb(0xFF7A1F)},
    {.name = "Night",
     .panelTop = Rgb(0x2E3238),
     .panelBottom = Rgb(0x24272C),
     .panelEdgeLight = Rgb(0xFFFFFF, 0.13),
     .panelEdgeDark = Rgb(0x000000, 0.70),
     .text = Rgb(0xE6E9EE),
     .faintText = Rgb(0x98A0AB),
     .rule = Rgb(0xAAB2BE, 0.28),
     .scale = Rgb(0xA5ADB8),
     .window = Rgb(0x101214),
     .plate = Rgb(0x4B525D),
     .plateEdge = Rgb(0x5F6773),
     .plateText = Rgb(0xFFFFFF),
     .headText = Rgb(0x15171A),
     .accents = kBrightAccents,
     .mainKnob = {Rgb(0x50555D), Rgb(0x15171A), Rgb(0x08090A), Rgb(0xFFFFFF)},
     .grayKnob = {Rgb(0x9AA1AB), Rgb(0x555B64), Rgb(0x23262A), Rgb(0x0D0E10)},
     .blackKnob = {Rgb(0x3D4148), Rgb(0x0E0F11), Rgb(0x050506), Rgb(0xF4F4F4)},
     .redKnob = {Rgb(0xD2574D), Rgb(0x7C1C19), Rgb(0x360B0A), Rgb(0xFFF6F0)},
     .knobShadow = Rgb(0x000000, 0.60),
     .jackNut = Rgb(0xA4A9B0),
     .switchLever = Rgb(0xC6CAD0),
     .buttonCap = Rgb(0x4A5059),
     .buttonSign = Rgb(0xE6E9EE),
     .rackBack = Rgb(0x131416),
     .rail = Rgb(0x4A4F57),
     .cheek = Rgb(0x2A2D32),
     .cheekGrain = Rgb(0x0F1012),
     .bar = Rgb(0x2B2F35),
     .barText = Rgb(0xE6E9EE),
     .screen = Rgb(0x0E1A20),
     .screenText = {140, 224, 255, 235},
     .digits = Rgb(0xFF5A3C)},
}};

}  // namespace

Color Color::Towards(const Color& other, double share) const {
  const auto mix = [share](double from, double to) { return from + (to - from) * share; };
  return {mix(red, other.red), mix(green, other.green), mix(blue, other.blue),
          mix(alpha, other.alpha)};
}

std::span<const Theme> Themes() { return kThemes; }

}  // namespace halveron::skins
