#include "editor/external_host.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "editor/external_module.h"
#include "framework/midi_message.h"
#include "framework/rack_model.h"
#include "gui/draw_context.h"

/// What a canvas draws with.
struct HalveronPen {
  halveron::CDrawContext& context;
  halveron::CPoint corner;
  double scale;  ///< pixels of a panel unit
  std::vector<halveron::CPoint> points{};

  /// An infinite place would break the drawing of the whole window.
  static double Within(float place) {
    constexpr float kFar = 1e5f;  // panel units
    return std::isnan(place) ? 0.0 : static_cast<double>(std::clamp(place, -kFar, kFar));
  }
  halveron::CPoint At(float x, float y) const {
    return halveron::CPoint(corner.x + Within(x) * scale, corner.y + Within(y) * scale);
  }
  halveron::CRect Area(float x, float y, float width, float height) const {
    const halveron::CPoint from = At(x, y), to = At(x + width, y + height);
    return halveron::CRect(from.x, from.y, to.x, to.y);
  }
  const std::vector<halveron::CPoint>& Take(const float* xy, uint32_t count) {
    points.clear();
    for (uint32_t i = 0; xy && i < count; ++i) points.push_back(At(xy[2 * i], xy[2 * i + 1]));
    return points;
  }
};

namespace halveron {

namespace {

ExternalModule& ModuleOf(HalveronContext* context) {
  return *reinterpret_cast<ExternalModule*>(context);
}

/// Messages that fit into one call; a longer list goes in several.
constexpr int kMostEvents = 32;

int32_t SendEventsToHost(HalveronContext* context, const HalveronMidiEvent* events,
                         uint32_t count) {
  ExternalModule& module = ModuleOf(context);
  union Record {
    VstMidiEvent midi;
    VstMidiSysexEvent sysEx;
  };
  bool taken = true;
  for (uint32_t first = 0; first < count; first += kMostEvents) {
    Record records[kMostEvents] = {};
    VstEventBlock<kMostEvents> block;
    const uint32_t end = std::min<uint32_t>(count, first + kMostEvents);
    for (uint32_t i = first; i < end; ++i) {
      const HalveronMidiEvent& event = events[i];
      if (!event.bytes || event.byte_count == 0) continue;
      Record& record = records[block.numEvents];
      if (event.bytes[0] == midi::kSysExStart) {
        record.sysEx.type = kVstSysExType;
        record.sysEx.byteSize = sizeof(VstMidiSysexEvent);
        record.sysEx.dumpBytes = static_cast<std::int32_t>(event.byte_count);
        // Hosts only read it.
        record.sysEx.sysexDump = const_cast<char*>(reinterpret_cast<const char*>(event.bytes));
      } else {
        record.midi.type = kVstMidiType;
        record.midi.byteSize = sizeof(VstMidiEvent);
        std::copy_n(event.bytes, std::min<uint32_t>(event.byte_count, 3), record.midi.midiData);
      }
      record.midi.deltaFrames = event.frame;
      block.events[block.numEvents++] = reinterpret_cast<VstEvent*>(&record);
    }
    if (block.numEvents > 0) {
      taken = module.hostTable.SendEventsToHost(module.editor, block.Header()) && taken;
    }
  }
  return taken ? 1 : 0;
}

int32_t GetTransportInfo(HalveronContext* context, HalveronTransport* transport) {
  ExternalModule& module = ModuleOf(context);
  VstTimeInfo info{};
  if (!transport || !module.hostTable.GetTransportInfo(module.editor, &info)) return 0;
  const auto flag = [&](std::int32_t host, std::uint32_t own) {
    return (info.flags & host) != 0 ? own : 0U;
  };
  HalveronTransport filled{};
  filled.size = transport->size;
  filled.flags =
      flag(kVstTransportPlaying, HALVERON_PLAYING) |
      flag(kVstTransportRecording, HALVERON_RECORDING) |
      flag(kVstPpqPosValid, HALVERON_QUARTERS_VALID) | flag(kVstTempoValid, HALVERON_TEMPO_VALID) |
      flag(kVstBarsValid, HALVERON_BARS_VALID) | flag(kVstTimeSigValid, HALVERON_SIGNATURE_VALID);
  filled.sample_position = info.samplePos;
  filled.quarters = info.ppqPos;
  filled.tempo = info.tempo;
  filled.bar_start = info.barStartPos;
  filled.numerator = info.timeSigNumerator;
  filled.denominator = info.timeSigDenominator;
  const auto* bytes = reinterpret_cast<const unsigned char*>(&filled);
  std::copy_n(bytes, std::min<std::size_t>(transport->size, sizeof filled),
              reinterpret_cast<unsigned char*>(transport));
  return 1;
}

void SetValue(HalveronContext* context, uint32_t index, float value) {
  ExternalModule& module = ModuleOf(context);
  CControl* control = module.ControlAt(index);
  if (!control || !std::isfinite(value)) return;
  const float within = std::clamp(value, control->getMin(), control->getMax());
  if (within == control->getValue()) return;
  control->beginEdit();
  control->setValue(within);
  control->valueChanged();
  control->endEdit();
  control->invalid();
}

HalveronHost MakeHost() {
  HalveronHost host{};
  host.size = sizeof host;
  host.GetHostVersion = [](HalveronContext* c) -> int32_t { return ModuleOf(c).GetHostVersion(); };
  host.GetOversamplingSteps = [](HalveronContext* c) -> int32_t {
    const ExternalModule& module = ModuleOf(c);
    return module.hostTable.GetOversamplingSteps(module.editor);
  };
  host.GetVoiceModule = [](HalveronContext* c, int32_t voice) -> void* {
    Module* other = ModuleOf(c).GetVoiceModule(voice);
    return other ? static_cast<ExternalModule*>(other)->Instance() : nullptr;
  };
  host.GetVoiceCount = [](HalveronContext* c) -> int32_t {
    const ExternalModule& module = ModuleOf(c);
    return module.hostTable.GetVoiceCount(module.editor);
  };
  host.GetBlockSize = [](HalveronContext* c) -> int32_t { return ModuleOf(c).GetBlockSize(); };
  host.GetSampleRate = [](HalveronContext* c) { return ModuleOf(c).GetDAWSampleRate(); };
  host.GetHostKind = [](HalveronContext* c) -> int32_t {
    const ExternalModule& module = ModuleOf(c);
    return module.hostTable.GetHostKind(module.editor);
  };
  host.SendEventsToHost = SendEventsToHost;
  host.GetTransportInfo = GetTransportInfo;
  host.BindNoteSlotToVoice = [](HalveronContext* c, int32_t voice, int32_t slot) {
    const ExternalModule& module = ModuleOf(c);
    module.hostTable.BindNoteSlotToVoice(module.editor, voice, slot);
  };
  host.ReleaseVoiceNote = [](HalveronContext* c, int32_t voice, int32_t slot) -> int32_t {
    const ExternalModule& module = ModuleOf(c);
    return module.hostTable.ReleaseVoiceNote(module.editor, voice, slot) ? 1 : 0;
  };
  host.SendToDAW = [](HalveronContext* c, const float* values, int32_t first, int32_t last) {
    ModuleOf(c).SendToDAW(values, std::max(first, 0), last);
  };
  host.ReceiveFromDAW = [](HalveronContext* c, float* values, int32_t first, int32_t last) {
    ModuleOf(c).ReceiveFromDAW(values, std::max(first, 0), last);
  };
  host.SendStereoToDAW = [](HalveronContext* c, float left, float right) {
    ModuleOf(c).SendStereoToDAW(left, right);
  };
  host.ReceiveStereoFromDAW = [](HalveronContext* c, float* left, float* right) {
    ModuleOf(c).ReceiveStereoFromDAW(left, right);
  };
  host.GetDAWInputCount = [](HalveronContext* c) -> int32_t {
    return ModuleOf(c).GetDAWInputCount();
  };
  host.GetDAWOutputCount = [](HalveronContext* c) -> int32_t {
    return ModuleOf(c).GetDAWOutputCount();
  };
  host.EnterProcessingCriticalSection = [](HalveronContext* c) {
    ModuleOf(c).EnterProcessingCriticalSection();
  };
  host.LeaveProcessingCriticalSection = [](HalveronContext* c) {
    ModuleOf(c).LeaveProcessingCriticalSection();
  };
  host.GetValue = [](HalveronContext* c, uint32_t index) {
    const CControl* control = ModuleOf(c).ControlAt(index);
    return control ? control->getValue() : 0.0f;
  };
  host.SetValue = SetValue;
  host.DataChanged = [](HalveronContext* c) { ModuleOf(c).DataChanged(); };
  return host;
}

CColor ColorOf(uint32_t rgba) {
  return CColor{static_cast<std::uint8_t>(rgba >> 24), static_cast<std::uint8_t>(rgba >> 16),
                static_cast<std::uint8_t>(rgba >> 8), static_cast<std::uint8_t>(rgba)};
}

void SetFontSize(HalveronPen* pen, float size) {
  constexpr float kLeast = 1, kMost = HALVERON_PANEL_HEIGHT;
  if (!(size >= kLeast && size <= kMost)) return;
  const auto font = SharedPointer<CFontDesc>::Adopt(
      new CFontDesc(nullptr, static_cast<double>(size) * pen->scale));
  pen->context.setFont(font);
}

HalveronCanvas MakeCanvas() {
  HalveronCanvas canvas{};
  canvas.size = sizeof canvas;
  canvas.SetColor = [](HalveronPen* pen, uint32_t rgba) {
    const CColor color = ColorOf(rgba);
    pen->context.setFrameColor(color);
    pen->context.setFillColor(color);
    pen->context.setFontColor(color);
  };
  canvas.SetLineWidth = [](HalveronPen* pen, float width) {
    pen->context.setLineWidth(std::max(HalveronPen::Within(width), 0.0) * pen->scale);
  };
  canvas.SetFontSize = SetFontSize;
  canvas.DrawLine = [](HalveronPen* pen, float x1, float y1, float x2, float y2) {
    pen->context.drawLine(pen->At(x1, y1), pen->At(x2, y2));
  };
  canvas.DrawPolyline = [](HalveronPen* pen, const float* xy, uint32_t count) {
    if (count > 1) pen->context.drawPolyline(pen->Take(xy, count));
  };
  canvas.FillPolygon = [](HalveronPen* pen, const float* xy, uint32_t count) {
    if (count > 2) pen->context.drawPolygon(pen->Take(xy, count), kDrawFilled);
  };
  canvas.DrawRect = [](HalveronPen* pen, float x, float y, float width, float height) {
    pen->context.drawRect(pen->Area(x, y, width, height));
  };
  canvas.FillRect = [](HalveronPen* pen, float x, float y, float width, float height) {
    pen->context.fillRect(pen->Area(x, y, width, height));
  };
  canvas.DrawEllipse = [](HalveronPen* pen, float x, float y, float width, float height) {
    pen->context.drawEllipse(pen->Area(x, y, width, height));
  };
  canvas.FillEllipse = [](HalveronPen* pen, float x, float y, float width, float height) {
    pen->context.drawEllipse(pen->Area(x, y, width, height), kDrawFilled);
  };
  canvas.DrawText = [](HalveronPen* pen, const char* text, float x, float y, float width,
                       float height, int32_t align) {
    if (!text) return;
    pen->context.drawString(text, pen->Area(x, y, width, height),
                            static_cast<CHoriTxtAlign>(std::clamp(align, 0, 2)));
  };
  return canvas;
}

}  // namespace

const HalveronHost& ExternalHost() {
  static const HalveronHost host = MakeHost();
  return host;
}

HalveronContext* ContextOf(ExternalModule& module) {
  return reinterpret_cast<HalveronContext*>(&module);
}

void DrawOnCanvas(CDrawContext& context, const CRect& area,
                  void (*draw)(void*, uint32_t, const HalveronCanvas*), void* instance,
                  uint32_t display) {
  HalveronPen pen{context, area.getTopLeft(), static_cast<double>(uiScale)};
  HalveronCanvas canvas = MakeCanvas();
  canvas.pen = &pen;
  canvas.width = static_cast<float>(area.getWidth()) / uiScale;
  canvas.height = static_cast<float>(area.getHeight()) / uiScale;
  canvas.SetColor(&pen, 0xFFFFFFFF);
  canvas.SetLineWidth(&pen, 1);
  SetFontSize(&pen, 10);
  draw(instance, display, &canvas);
}

}  // namespace halveron
