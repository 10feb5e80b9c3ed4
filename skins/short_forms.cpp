#include <array>
#include <cctype>
#include <sstream>
#include <string_view>

#include "skins/panel_plan.h"

namespace halveron::skins {

namespace {

/// A word, a form of it that everybody reads, and the shortest that one may guess.
struct Abbreviation {
  std::string_view word;
  std::string_view mild;
  std::string_view strong;
};

constexpr std::array kAbbreviations{
    Abbreviation{"aftertouch", "Touch", "AT"},  Abbreviation{"allpass", "Allp", "AP"},
    Abbreviation{"amount", "amt", "amt"},       Abbreviation{"amplitude", "Amp", "Amp"},
    Abbreviation{"attenuator", "Att", "Att"},   Abbreviation{"balance", "Bal", "Bal"},
    Abbreviation{"bipolar", "Bip", "Bi"},       Abbreviation{"channel", "Chan", "Ch"},
    Abbreviation{"compare", "Comp", "Cmp"},     Abbreviation{"crossfade", "X-fade", "XF"},
    Abbreviation{"damping", "Damp", "Dmp"},     Abbreviation{"delay", "Delay", "Dly"},
    Abbreviation{"density", "Dens", "Dns"},     Abbreviation{"diffusion", "Diff", "Dif"},
    Abbreviation{"direction", "Direct", "Dir"}, Abbreviation{"distance", "Dist", "Dst"},
    Abbreviation{"envelope", "Env", "Env"},     Abbreviation{"feedback", "Feedb", "FB"},
    Abbreviation{"frequency", "Freq", "Frq"},   Abbreviation{"highest", "High", "Hi"},
    Abbreviation{"input", "In", "In"},          Abbreviation{"instability", "Instab", "Inst"},
    Abbreviation{"length", "Len", "Len"},       Abbreviation{"level", "Lev", "Lv"},
    Abbreviation{"lowest", "Low", "Lo"},        Abbreviation{"modulation", "Mod", "Mod"},
    Abbreviation{"multiply", "Mult", "Mul"},    Abbreviation{"octave", "Oct", "Oct"},
    Abbreviation{"offset", "Offs", "Off"},      Abbreviation{"output", "Out", "Out"},
    Abbreviation{"pitch", "Pitch", "Pt"},       Abbreviation{"polarity", "Polar", "Pol"},
    Abbreviation{"position", "Pos", "Pos"},     Abbreviation{"quantise", "Quant", "Qnt"},
    Abbreviation{"random", "Rand", "Rnd"},      Abbreviation{"range", "Range", "Rng"},
    Abbreviation{"release", "Rel", "Rel"},      Abbreviation{"resolution", "Resol", "Res"},
    Abbreviation{"resonance", "Reson", "Res"},  Abbreviation{"retrigger", "Retrig", "Rtrg"},
    Abbreviation{"rotate", "Rot", "Rot"},       Abbreviation{"sampled", "Sampl", "Smp"},
    Abbreviation{"signal", "Sig", "Sig"},       Abbreviation{"smooth", "Smooth", "Smth"},
    Abbreviation{"spacing", "Space", "Spc"},    Abbreviation{"sustain", "Sust", "Sus"},
    Abbreviation{"threshold", "Thresh", "Thr"}, Abbreviation{"transpose", "Transp", "Trp"},
    Abbreviation{"triangle", "Tri", "Tri"},     Abbreviation{"trigger", "Trig", "Trg"},
    Abbreviation{"trinary", "Trin", "Tri"},     Abbreviation{"unipolar", "Unip", "Uni"},
    Abbreviation{"velocity", "Veloc", "Vel"},   Abbreviation{"volume", "Vol", "Vol"},
    Abbreviation{"width", "Width", "Wid"},
};

std::string WithCaseOf(std::string_view word, std::string_view text) {
  std::string result(text);
  const bool capital = !word.empty() && std::isupper(static_cast<unsigned char>(word[0]));
  if (capital) {
    result[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(result[0])));
  }
  return result;
}

std::string Lowered(std::string_view word) {
  std::string lowered(word);
  for (char& letter : lowered) {
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  return lowered;
}

template <class F>
std::string WordByWord(const std::string& caption, F&& shorten) {
  std::istringstream words(caption);
  std::string result;
  for (std::string word; words >> word;) {
    if (!result.empty()) result += ' ';
    result += shorten(word);
  }
  return result;
}

std::string Abbreviated(const std::string& caption, std::string_view Abbreviation::*form) {
  return WordByWord(caption, [form](const std::string& word) {
    const std::string lowered = Lowered(word);
    for (const Abbreviation& entry : kAbbreviations) {
      if (entry.word == lowered) return WithCaseOf(word, entry.*form);
    }
    return word;
  });
}

/// Where the character after the one at a place begins.
std::size_t NextCharacter(const std::string& text, std::size_t at) {
  for (++at; at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;) ++at;
  return at;
}

/// The first letters of each word: what is left when nothing better is known.
std::string Cut(const std::string& caption, std::size_t letters) {
  return WordByWord(caption, [letters](const std::string& word) {
    std::size_t end = 0;
    for (std::size_t kept = 0; kept < letters && end < word.size(); ++kept) {
      end = NextCharacter(word, end);
    }
    return word.substr(0, end);
  });
}

/// The number that a caption ends in, empty if it ends in none.
std::string NumberOf(const std::string& caption) {
  const std::size_t end = caption.find_last_not_of("0123456789");
  return end == std::string::npos || caption[end] != ' ' ? "" : caption.substr(end + 1);
}

}  // namespace

std::vector<ShortForm> ShortForms(const std::string& caption) {
  std::vector<ShortForm> forms;
  const auto add = [&forms](const std::string& text, double cost) {
    if (text.empty() || (!forms.empty() && text.size() >= forms.back().text.size())) return;
    forms.push_back({text, cost});
  };
  const std::string strong = Abbreviated(caption, &Abbreviation::strong);
  add(caption, 0);
  add(Abbreviated(caption, &Abbreviation::mild), 1.5);
  add(strong, 5);
  add(Cut(strong, 4), 12);
  add(Cut(strong, 3), 20);
  add(NumberOf(caption), 24);
  return forms;
}

}  // namespace halveron::skins
