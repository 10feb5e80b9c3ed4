#include "app/run_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <new>
#include <ostream>

#include "app/check_library.h"
#include "app/convert_command.h"
#include "app/manual_command.h"
#include "app/modules_command.h"
#include "app/play_command.h"
#include "app/render_command.h"
#include "app/screenshot_command.h"
#include "editor/options.h"
#include "editor/window_zoom.h"
#include "platform/user_error.h"
#include "presets/nearest_name.h"
#include "skins/module_panels.h"

namespace halveron {

using platform::UserError;

namespace {

constexpr int kHighestRate = 12'000'000;
constexpr int kLargestBlock = 1 << 16;
constexpr const char* kPlaceholdersHelp = "Go on without the modules of a preset that are missing";
constexpr std::int64_t kMostFrames = std::int64_t{1} << 36;

/// What a mistyped file or patch can bring into a message stays on its one line.
std::string OneLine(std::string text) {
  for (char& letter : text) {
    if (static_cast<unsigned char>(letter) < ' ' || letter == 0x7F) letter = ' ';
  }
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

int Misuse(std::ostream& err, const std::string& line) {
  err << "halveron: " << OneLine(line) << "\n";
  return kExitMisuse;
}

struct ModulesOptions {
  std::string name;
  std::string library;
  bool asJson = false;
};

/// The command line's grammar and what was read by it.
struct CommandLine {
  CommandLine() {
    app.set_version_flag("--version", "halveron " HALVERON_VERSION);
    app.allow_extras();
    AddPlay();
    AddRender();
    AddConvert();
    AddModules();
    AddScreenshot();
    AddManual();
  }

  void AddPlay() {
    playCall = app.add_subcommand("play", "Play a patch in a window, by a sound card and MIDI");
    playCall->allow_extras();
    playCall->add_option("PATCH", play.patch, "A patch to begin with");
    playCall->add_flag("--list-devices", play.listsDevices, "List what --device and --midi accept");
    playCall->add_option("--device", play.device, "The sound device: a number or part of a name");
    playCall
        ->add_option("--midi", play.midi,
                     "MIDI input: a number or part of a name; may be given more than once; "
                     "without it all inputs")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    playCall->add_option("--midi-output", play.midiOutput,
                         "MIDI output: a number or part of a name; without it none");
    playCall
        ->add_option("--rate", play.rate,
                     "Sample rate in hertz; without it 48000 if the card has it")
        ->check(CLI::Range(1000, kHighestRate));
    playCall
        ->add_option("--block", play.block,
                     "Block size in samples; without it 512. The card may take another")
        ->check(CLI::Range(16, kLargestBlock));
    playCall->add_option("--tempo", play.tempo, "Quarter notes a minute")
        ->check(CLI::Range(1.0, 1000.0))
        ->capture_default_str();
    playCall->add_flag("--placeholders", play.placeholders, kPlaceholdersHelp);
    playCall->add_flag("!--no-window", play.hasWindow, "Without a window");
  }

  void AddRender() {
    renderCall = app.add_subcommand("render", "Play a patch into a sound file");
    renderCall->allow_extras();
    renderCall
        ->add_option("PATCH", render.patch, "The patch: a text patch (.json) or a preset (.hvp)")
        ->required();
    auto* wave =
        renderCall->add_option("-o,--output", render.output, "The WAV file to write, 32-bit float");
    renderCall->add_option("--midi-output", render.midiOutput,
                           "The MIDI file to write: what the patch sends to the host");
    renderCall->final_callback([this, wave] {
      if (wave->empty() && render.midiOutput.empty()) {
        throw CLI::RequiredError("--output or --midi-output");
      }
    });
    renderCall->add_option("--input", render.input, "A sound file for the host inputs");
    renderCall->add_option("--midi", render.midi, "A standard MIDI file for the host MIDI port");
    renderCall->add_option("--rate", render.rate, "Sample rate in hertz")
        ->check(CLI::Range(1000, kHighestRate))
        ->capture_default_str();
    renderCall->add_option("--block", render.block, "Block size in samples")
        ->check(CLI::Range(1, kLargestBlock))
        ->capture_default_str();
    auto* seconds = renderCall->add_option(
        "--seconds", render.seconds,
        "Length; without it that of the MIDI file or the input and 2 s, else 10 s");
    renderCall->add_option("--frames", render.frames, "Length in samples")
        ->check(CLI::Range(std::int64_t{1}, kMostFrames))
        ->excludes(seconds);
    renderCall->add_option("--tempo", render.tempo,
                           "Quarter notes a minute, over the MIDI file's own");
    renderCall->add_flag("--stopped", render.isStopped, "The transport does not run");
    renderCall->add_flag("--placeholders", render.placeholders, kPlaceholdersHelp);
    renderCall->add_option("--channels", render.channels, "Host outputs to write, from the first")
        ->check(CLI::Range(1, 12))
        ->capture_default_str();
    renderCall->add_option("--voices", render.voices, "Voices, over the patch's own")
        ->check(CLI::Range(1, 16));
    renderCall
        ->add_option("--oversampling", render.oversampling,
                     "Oversampling factor, over the patch's own")
        ->check(CLI::Range(1, 256));
  }

  void AddConvert() {
    convertCall =
        app.add_subcommand("convert", "Turn a preset (.hvp) into a text patch (.json), or back");
    convertCall->allow_extras();
    convertCall->add_option("IN", convert.input, "The file to read")->required();
    convertCall->add_option("OUT", convert.output, "The file to write")->required();
    convertCall->add_flag("--placeholders", convert.placeholders, kPlaceholdersHelp);
  }

  void AddModules() {
    modulesCall = app.add_subcommand("modules", "List the modules, or what one of them has");
    modulesCall->allow_extras();
    modulesCall->add_option("NAME", modules.name,
                            "A module's name, its first word, or NAME by VENDOR");
    auto* json = modulesCall->add_flag("--json", modules.asJson, "As JSON");
    modulesCall
        ->add_option("--check", modules.library,
                     "Load one library of modules and report everything that is wrong with it")
        ->excludes(json);
  }

  void AddScreenshot() {
    screenshotCall =
        app.add_subcommand("screenshot", "Draw the rack of a patch, or one panel, into a picture");
    screenshotCall->allow_extras();
    screenshotCall->add_option("PATCH", screenshot.patch,
                               "The patch: a text patch (.json) or a preset (.hvp)");
    screenshotCall->add_option("--module", screenshot.module,
                               "Draw the panel of one module instead: its name or its number");
    screenshotCall->add_option("-o,--output", screenshot.output, "The PNG file to write")
        ->required();
    screenshotCall->add_option("--skin", screenshot.skin, "The skin")->capture_default_str();
    screenshotCall->add_option("--size", screenshot.size, "Its size")->capture_default_str();
    screenshotCall->add_option("--rows", screenshot.rows, "Rows to show; without it all, up to 10")
        ->check(CLI::Range(Options::kFewestViewableRows, Options::kMostViewableRows));
    screenshotCall->add_option("--zoom", screenshot.zoom, "Per cent of the size")
        ->check(CLI::Range(WindowZoom::kLeastPercent, WindowZoom::kMostPercent))
        ->capture_default_str();
    screenshotCall->add_flag("--placeholders", screenshot.placeholders, kPlaceholdersHelp);
    screenshotCall->add_option("--menu", screenshot.menu, "A menu to open")
        ->check(CLI::IsMember({"modules", "main", "presets"}));
  }

  void AddManual() {
    manualCall = app.add_subcommand("manual", "Write the manual's page of each module");
    manualCall->allow_extras();
    manualCall->add_option("FOLDER", manualFolder, "The folder to write the pages to")->required();
  }

  void CheckScreenshot() const {
    if (screenshot.patch.empty() == screenshot.module.empty()) {
      throw UserError(
          "", "screenshot",
          screenshot.patch.empty() ? "nothing to draw" : "PATCH and --module exclude each other",
          "name a patch, or a module by --module");
    }
    if (!screenshot.module.empty() && (screenshot.rows > 0 || !screenshot.menu.empty())) {
      throw UserError("", "screenshot", "--rows and --menu are for patches", "leave them out");
    }
  }

  /// Throws what CLI11 cannot see.
  void Check() const {
    const CLI::App* const calls[] = {&app,        playCall,       renderCall, convertCall,
                                     modulesCall, screenshotCall, manualCall};
    for (const CLI::App* call : calls) {
      const auto extras = call->remaining();
      if (extras.empty()) continue;
      const bool isOption = extras[0].starts_with("-");
      if (call == &app && !isOption) {
        throw UserError("", "", "no command " + Quoted(extras[0]),
                        DidYouMean(extras[0], {"play", "render", "convert", "modules", "screenshot",
                                               "manual"}));
      }
      throw UserError("", call == &app ? "" : call->get_name(),
                      (isOption ? "no option " : "one argument too many, ") + Quoted(extras[0]),
                      isOption ? DidYouMean(extras[0], OptionsOf(*call))
                               : "see halveron " + call->get_name() + " --help");
    }
    if (screenshotCall->parsed()) CheckScreenshot();
    if (render.seconds &&
        !(*render.seconds > 0.0 && *render.seconds * render.rate <= kMostFrames)) {
      throw UserError("", "render", "--seconds: out of range", "give a length above 0");
    }
    if (render.tempo && !(*render.tempo >= 1.0 && *render.tempo <= 1000.0)) {
      throw UserError("", "render", "--tempo: out of range", "give 1 to 1000");
    }
    if (render.oversampling && (*render.oversampling & (*render.oversampling - 1)) != 0) {
      throw UserError("", "render", "--oversampling: no power of two", "give 1, 2, 4 up to 256");
    }
  }

  static std::vector<std::string> OptionsOf(const CLI::App& call) {
    std::vector<std::string> names;
    for (const CLI::Option* option : call.get_options()) {
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
  }

  CLI::App app{"Halveron, a modular synthesizer", "halveron"};
  CLI::App* playCall = nullptr;
  CLI::App* renderCall = nullptr;
  CLI::App* convertCall = nullptr;
  CLI::App* modulesCall = nullptr;
  CLI::App* screenshotCall = nullptr;
  CLI::App* manualCall = nullptr;
  PlayOptions play;
  RenderOptions render;
  ConvertOptions convert;
  ModulesOptions modules;
  ScreenshotOptions screenshot;
  std::string manualFolder;
};

int Run(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
  CommandLine line;
  try {
    line.app.parse(argc, argv);
  } catch (const CLI::CallForVersion& version) {
    out << version.what() << "\n";
    return kExitDone;
  } catch (const CLI::Success&) {
    out << line.app.help();
    return kExitDone;
  } catch (const CLI::ParseError& error) {
    // A mistyped option is what most often leaves something missing.
    line.Check();
    const auto calls = line.app.get_subcommands();
    const std::string name = calls.empty() ? "" : calls[0]->get_name() + " ";
    return Misuse(err, (calls.empty() ? "" : calls[0]->get_name() + ": ") + error.what() +
                           "; see halveron " + name + "--help");
  }
  line.Check();
  if (line.playCall->parsed()) return Play(line.play, out, err);
  if (line.renderCall->parsed()) return Render(line.render, out, err);
  if (line.convertCall->parsed()) return Convert(line.convert, out, err);
  if (line.modulesCall->parsed() && !line.modules.library.empty()) {
    return CheckLibrary(line.modules.library, out);
  }
  if (line.modulesCall->parsed()) return ListModules(line.modules.name, line.modules.asJson, out);
  if (line.screenshotCall->parsed()) return Screenshot(line.screenshot, out, err);
  if (line.manualCall->parsed()) return WriteManual(line.manualFolder, out);
  return Misuse(err, "no command; see halveron --help");
}

}  // namespace

int RunCommand(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
  skins::PaintModulePanels();
  try {
    return Run(argc, argv, out, err);
  } catch (const UserError& error) {
    return Misuse(err, error.what());
  } catch (const std::bad_alloc&) {
    return Misuse(err, "there is not enough memory; close other programs");
  } catch (const std::exception& error) {
    return Misuse(err, error.what());
  }
}

}  // namespace halveron
