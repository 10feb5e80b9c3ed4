#include <benchmark/benchmark.h>

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
constexpr std::size_t kUsualCables = 40;  // of a demo patch

/// Every module that can be made, again and again until the rows in sight are full, with cables
/// from outputs to inputs across all of them.
class FullRack {
 public:
  explicit FullRack(std::size_t cables) : window_(rig_.Rack().OpenViews()) {
    FillRows();
    Patch(cables);
  }
  ~FullRack() { rig_.Rack().CloseWindow(); }

  SynFrame& Frame() { return window_.Frame(); }
  void Move() { window_.Rack().RequestRedraw(); }
  void Draw() {
    Frame().takeDirtyRegion();
    Frame().drawRect(&picture_, Frame().getViewSize());
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
    for (std::size_t i = 0; i < cables && i < inputs.size(); ++i) {
      const std::size_t far = i * 37 % outputs.size();
      rig_.Rack().ConnectCable(outputs[far], inputs[i], 1 + static_cast<int>(i % kCableColours),
                               -1);
    }
  }

  RackRig rig_;
  RackWindow& window_;
  COffscreenContext picture_{static_cast<int>(window_.Frame().getWidth()),
                             static_cast<int>(window_.Frame().getHeight())};
};

template <class F>
void Measure(benchmark::State& state, F&& call) {
  std::vector<double> times;
  for ([[maybe_unused]] auto _ : state) {
    times.push_back(SecondsOf(call));
    state.SetIterationTime(times.back());
  }
  state.counters[kMilliseconds] = Median(times) * 1e3;
}

void MeasureMoving(benchmark::State& state, std::size_t cables) {
  FullRack rack(cables);
  Measure(state, [&] {
    rack.Move();
    rack.Draw();
  });
}

void MeasureAtRest(benchmark::State& state) {
  FullRack rack(kManyCables);
  for (int i = 0; i <= SynRack::kMovingPaints; ++i) rack.Draw();
  Measure(state, [&] { rack.Draw(); });
}

void MeasureIdle(benchmark::State& state) {
  FullRack rack(kManyCables);
  for (int i = 0; i <= SynRack::kMovingPaints; ++i) rack.Draw();
  Measure(state, [&] { rack.Frame().idle(); });
}

}  // namespace

void RegisterWindow() {
  const auto add = [](const char* name, auto&& measure) {
    benchmark::RegisterBenchmark(name, measure)->UseManualTime()->MinTime(kMeasuringTime);
  };
  const auto moving = [](std::size_t cables) {
    return [cables](benchmark::State& state) { MeasureMoving(state, cables); };
  };
  add("window/frame with 040 moving cables", moving(kUsualCables));
  add("window/frame with 120 moving cables", moving(kManyCables));
  add("window/frame with 120 cables at rest", MeasureAtRest);
  add("window/idle call", MeasureIdle);
}

}  // namespace halveron::benchmarks
