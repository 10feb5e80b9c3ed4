#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "benchmarks/block_times.h"
#include "benchmarks/rack_rig.h"
#include "benchmarks/scenarios.h"
#include "editor/module_catalogue.h"
#include "editor/rack_window.h"
#include "gui/draw_context.h"

namespace halveron::benchmarks {

namespace {

constexpr std::size_t kManyCables = 120;
constexpr std::size_t kBlinkingLamps = 20;

/// Every module that can be made, again and again until the rows in sight are full, with cables
/// from outputs to inputs across all of them.
class FullRack {
 public:
  FullRack() : window_(rig_.Rack().OpenViews()) {
    FillRows();
    Patch(kManyCables);
    FindLamps();
    Rest();
  }
  ~FullRack() { rig_.Rack().CloseWindow(); }

  SynEditor& Rack() { return rig_.Rack(); }
  RackWindow& Window() { return window_; }
  SynFrame& Frame() { return window_.Frame(); }
  Module& FirstModule() { return *rig_.Rack().modules[0].front(); }
  CPoint MiddleOf(const CView& view) const {
    CPoint point = view.getViewSize().getCenter();
    return view.localToFrame(point);
  }
  PatchPoint& FreeOutput() const { return *freeOutput_; }

  void BlinkLamps() {
    lit_ = !lit_;
    for (CMovieBitmapEx* lamp : lamps_) lamp->StoreValue(lit_ ? 1.0f : 0.0f);
  }
  /// What a window draws in one idle call.
  void Paint() {
    Frame().onIdle();
    for (const CRect& dirty : Frame().takeDirtyRegion()) {
      const CRect rect(std::floor(dirty.left), std::floor(dirty.top), std::ceil(dirty.right),
                       std::ceil(dirty.bottom));
      const DrawStateScope scope(picture_);
      picture_.setClipRect(rect);
      Frame().drawRect(&picture_, rect);
    }
  }
  void PaintAll() {
    Frame().invalid();
    Paint();
  }
  void Rest() {
    for (int i = 0; i <= SynRack::kMovingPaints; ++i) PaintAll();
  }

 private:
  void FillRows() {
    const RackGeometry& geometry = window_.Geometry();
    CPoint corner;
    while (true) {
      for (const CatalogueEntry& entry : ModuleCatalogue()) {
        if (!entry.make) continue;
        Module& module = rig_.Add(entry.name);
        if (corner.x + module.getWidth() > geometry.rackWidth) {
          corner = CPoint(0, corner.y + geometry.rowHeight);
        }
        if (corner.y >= geometry.ViewHeight()) {
          rig_.Rack().RemoveModule(&module, true);
          return;
        }
        window_.Rack().MoveModule(module, corner);
        corner.x += module.getWidth();
      }
    }
  }

  void Patch(std::size_t cables) {
    std::vector<PatchPoint*> outputs;
    std::vector<PatchPoint*> inputs;
    for (Module* module : rig_.Rack().modules[0]) {
      for (CView* view : module->children()) {
        auto* point = dynamic_cast<PatchPoint*>(view);
        if (!point || point->twoState || point->type == kEitherPoint) continue;
        (point->type == kOutputPoint ? outputs : inputs).push_back(point);
      }
    }
    freeOutput_ = outputs.front();
    for (std::size_t i = 0; i < cables && i < inputs.size(); ++i) {
      const std::size_t far = i * 37 % outputs.size();
      rig_.Rack().cables.ConnectCable(outputs[far], inputs[i],
                                      1 + static_cast<int>(i % kCableColours), -1);
    }
  }

  void FindLamps() {
    for (const Module* module : rig_.Rack().modules[0]) {
      for (CView* view : module->children()) {
        auto* lamp = dynamic_cast<CMovieBitmapEx*>(view);
        if (lamp && lamps_.size() < kBlinkingLamps) lamps_.push_back(lamp);
      }
    }
  }

  RackRig rig_;
  RackWindow& window_;
  std::vector<CMovieBitmapEx*> lamps_;
  PatchPoint* freeOutput_ = nullptr;
  bool lit_ = false;
  COffscreenContext picture_{static_cast<int>(window_.Frame().getWidth()),
                             static_cast<int>(window_.Frame().getHeight())};
};

/// `restore` is not measured.
template <class F, class G>
void Measure(benchmark::State& state, F&& call, G&& restore) {
  std::vector<double> times;
  for ([[maybe_unused]] auto _ : state) {
    times.push_back(SecondsOf(call));
    state.SetIterationTime(times.back());
    restore();
  }
  state.counters[kMilliseconds] = Median(times) * 1e3;
}

template <class F>
void Measure(benchmark::State& state, F&& call) {
  Measure(state, call, [] {});
}

void MeasureFullRedraw(benchmark::State& state) {
  FullRack rack;
  Measure(state, [&] {
    rack.Window().Rack().RequestRedraw();
    rack.PaintAll();
  });
}

void MeasureFirstPaint(benchmark::State& state) {
  FullRack rack;
  Measure(state, [&] {
    rack.Window().Rack().ResizeLayers();
    rack.PaintAll();
  });
}

/// Moves the mouse back and forth on a way across the rack with the left button held.
template <class F>
void MeasureDrag(benchmark::State& state, FullRack& rack, const CPoint& from, F&& besides) {
  constexpr int kSteps = 60;
  CPoint where = from;
  rack.Frame().onMouseDown(where, CButtonState(kLButton));
  rack.Paint();
  int step = 0;
  Measure(state, [&] {
    const int along = std::abs(step++ % (2 * kSteps) - kSteps);
    CPoint point = from + CPoint(along * 8, along * 3);
    rack.Frame().onMouseMoved(point, CButtonState(kLButton));
    besides();
    rack.Paint();
  });
}

void MeasureCableDrag(benchmark::State& state) {
  FullRack rack;
  MeasureDrag(state, rack, rack.MiddleOf(rack.FreeOutput()), [&] { rack.BlinkLamps(); });
}

void MeasureModuleDrag(benchmark::State& state) {
  FullRack rack;
  const CRect place = rack.FirstModule().getViewSize();
  CPoint head(place.left + place.getWidth() / 2, place.top + 20);
  MeasureDrag(state, rack, rack.FirstModule().localToFrame(head), [] {});
}

void MeasureScrolling(benchmark::State& state) {
  FullRack rack;
  rack.Rack().SetRows(8);
  rack.Rest();
  int step = 0;
  Measure(state, [&] {
    const int along = std::abs(step++ % 40 - 20);
    rack.Window().ScrollTo(static_cast<float>(along) / 100);
    rack.Paint();
  });
}

void MeasureBrowser(benchmark::State& state) {
  FullRack rack;
  const auto open = [&] {
    rack.Window().OpenModuleBrowser();
    rack.Paint();
  };
  Measure(state, open, [&] {
    rack.Window().Browser().Close();
    rack.Paint();
  });
}

void MeasureIdle(benchmark::State& state) {
  FullRack rack;
  Measure(state, [&] { rack.Frame().idle(); });
}

}  // namespace

void RegisterWindow() {
  const auto add = [](const char* name, auto&& measure) {
    benchmark::RegisterBenchmark(name, measure)->UseManualTime()->MinTime(kMeasuringTime);
  };
  add("window/full redraw, 120 cables", MeasureFullRedraw);
  add("window/first paint, 120 cables", MeasureFirstPaint);
  add("window/step of a cable drag, 20 lamps blinking", MeasureCableDrag);
  add("window/step of a module drag", MeasureModuleDrag);
  add("window/step of scrolling", MeasureScrolling);
  add("window/opening the module browser", MeasureBrowser);
  add("window/idle call", MeasureIdle);
}

}  // namespace halveron::benchmarks
