#include "presets/placeholder.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace halveron {

namespace {

constexpr int kMostColumns = 84;
constexpr int kFewestColumns = 4;
constexpr float kPointDistance = 32;  // panel units
constexpr float kLowestPoint = 258;
constexpr float kHighestPoint = 66;
constexpr int kPointsInColumn =
    static_cast<int>((kLowestPoint - kHighestPoint) / kPointDistance) + 1;

/// How many points stand side by side where there is room for them.
int PointsInRow(std::size_t points) {
  return std::max<int>(1, (static_cast<int>(points) + kPointsInColumn - 1) / kPointsInColumn);
}

/// Columns from a module to the next one in its row; more than any module has if none follows.
int RoomOf(const PresetDocument& document, const PresetModule& module) {
  int room = kMostColumns + 1;
  for (const PresetModule& other : document.modules) {
    if (std::abs(other.y - module.y) > kReferencePanelHeight / 2 || other.x <= module.x) continue;
    room = std::min(room, (other.x - module.x) / kReferenceUnitWidth);
  }
  return std::max(room, 1);
}

}  // namespace

int PlaceholderColumns(std::size_t points) {
  const double width = static_cast<double>(kPointDistance) * PointsInRow(points) + 16;
  return std::clamp(static_cast<int>(width / kReferenceUnitWidth) + 1, kFewestColumns,
                    kMostColumns);
}

std::vector<bool> PointsAmong(const PresetModule& module, int firstNumber) {
  std::vector<bool> isPoint(module.indices.size(), false);
  int number = firstNumber + module.patchPointCount - 1;
  for (std::size_t i = isPoint.size(); i-- > 0 && number >= firstNumber;) {
    if (module.indices[i] != number) continue;
    isPoint[i] = true;
    --number;
  }
  if (number < firstNumber) return isPoint;
  // Not numbered as a rack does it: then the last ones.
  std::fill(isPoint.begin(), isPoint.end(), false);
  std::fill(isPoint.end() - module.patchPointCount, isPoint.end(), true);
  return isPoint;
}

PlaceholderPlans PlanPlaceholders(const PresetDocument& document,
                                  const std::set<ModuleIdentity>& missing,
                                  const std::map<ModuleIdentity, int>& knownColumns,
                                  const std::vector<std::optional<bool>>& isMidi) {
  PlaceholderPlans plans;
  std::map<ModuleIdentity, int> rooms;
  int firstNumber = 0;
  for (const PresetModule& module : document.modules) {
    const int number = std::exchange(firstNumber, firstNumber + module.patchPointCount);
    const ModuleIdentity identity{module.name, module.vendor};
    if (!missing.contains(identity)) continue;
    const bool isNew = !plans.contains(identity);
    PlaceholderPlan& plan = plans[identity];
    if (isNew) {
      plan.identity = identity;
      plan.version = module.version;
      plan.isMono = module.mono.value_or(true);
      plan.leadsToVoices = document.voices > 1;
      rooms[identity] = RoomOf(document, module);
    }
    rooms[identity] = std::min(rooms[identity], RoomOf(document, module));
    plan.isPointInFewer[module.indices.size()] = PointsAmong(module, number);
    const auto count = static_cast<std::size_t>(module.patchPointCount);
    plan.points.resize(std::max(plan.points.size(), count));
    for (const PresetCable& cable : document.cables) {
      const auto note = [&](int point, int otherEnd, PatchPointType type) {
        if (point < number || point >= firstNumber) return;
        PlaceholderPlan::Point& seen = plan.points[static_cast<std::size_t>(point - number)];
        seen.type = seen.isCabled && seen.type != type ? kEitherPoint : type;
        seen.isMidi =
            isMidi[static_cast<std::size_t>(otherEnd)].value_or(cable.colour == kMidiCableColour);
        seen.isCabled = true;
      };
      note(cable.from, cable.to, kInputPoint);
      note(cable.to, cable.from, kOutputPoint);
    }
  }
  for (auto& [identity, plan] : plans) {
    const auto most = std::prev(plan.isPointInFewer.end());
    plan.isPoint = std::move(most->second);
    plan.isPointInFewer.erase(most);
    const auto known = knownColumns.find(identity);
    const int wanted = PlaceholderColumns(plan.points.size());
    // Modules mostly stand side by side; a wide gap is one that the user left.
    plan.columns = known != knownColumns.end()         ? known->second
                   : rooms[identity] <= 2 * wanted + 8 ? rooms[identity]
                                                       : wanted;
  }
  return plans;
}

Placeholder::Placeholder(const PlaceholderPlan& plan, const HostTable& table, int voiceIndex)
    : Module(CRect(0, 0, plan.columns * panelUnitWidth, panelHeight), nullptr, nullptr, table,
             voiceIndex),
      plan_(plan),
      isPoint_(plan.isPoint),
      links_(plan.points.size()),
      data_(plan.isPoint.size() * sizeof(float)),
      indices_(plan.isPoint.size(), TAG_UNASSIGNED),
      version_(plan.version) {
  for (std::size_t i = 0; i < plan_.points.size(); ++i) {
    roles_.push_back("Jack " + std::to_string(i + 1));
  }
  std::size_t point = 0;
  for (const bool isPoint : plan_.isPoint) {
    if (isPoint) {
      MakePoint(point++);
      continue;
    }
    // Holds the host parameter of a control.
    auto* control = new CControl(CRect(), nullptr, TAG_UNASSIGNED);
    control->setVisible(false);
    control->setMouseEnabled(false);
    addView(control);
  }
  monoSelectable = false;
  oversamplingSelectable = false;
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
}

void Placeholder::MakePoint(std::size_t index) {
  const PlaceholderPlan::Point& planned = plan_.points[index];
  const int inRow =
      std::clamp(plan_.columns * kReferenceUnitWidth / static_cast<int>(kPointDistance), 1,
                 PointsInRow(plan_.points.size()));
  const auto rows = static_cast<int>((plan_.points.size() + static_cast<std::size_t>(inRow) - 1) /
                                     static_cast<std::size_t>(inRow));
  const float distance = rows <= kPointsInColumn
                             ? kPointDistance
                             : (kLowestPoint - kHighestPoint) / static_cast<float>(rows - 1);
  const auto place = static_cast<int>(index);
  const float width = static_cast<float>(plan_.columns * kReferenceUnitWidth);
  const float x = width * (static_cast<float>(place % inRow) + 0.5f) / static_cast<float>(inRow);
  const float y = kLowestPoint - distance * static_cast<float>(rows - 1 - place / inRow);
  const char* role = roles_[index].c_str();
  Input input;
  Output output;
  Either either;
  PatchPoint* point = nullptr;
  if (planned.type == kEitherPoint) {
    AddPatchPoint(either, role, x, y);
    point = either;
  } else if (planned.type == kOutputPoint) {
    planned.isMidi ? AddMidiPatchPoint(output, role, x, y) : AddPatchPoint(output, role, x, y);
    point = output;
  } else {
    planned.isMidi ? AddMidiPatchPoint(input, role, x, y) : AddPatchPoint(input, role, x, y);
    point = input;
  }
  point->AttachHandle(&links_[index]);
  point->setMouseEnabled(planned.isCabled);
}

void Placeholder::SavePreset(void* buffer, int size) {
  const auto room = static_cast<std::size_t>(std::max(size, 0));
  if (!data_.empty()) std::memcpy(buffer, data_.data(), std::min(room, data_.size()));
}

void Placeholder::LoadPreset(const void* buffer, int size, int version) {
  const auto* bytes = static_cast<const std::byte*>(buffer);
  data_.assign(bytes, bytes + std::max(size, 0));
  version_ = version;
  ShowValues();
}

template <class Value>
std::vector<Value> Placeholder::OnPanel(const std::vector<Value>& saved, Value rest) const {
  std::vector<Value> shown(plan_.isPoint.size(), rest);
  for (const bool ofPoints : {false, true}) {
    std::size_t place = 0;
    for (std::size_t i = 0; i < saved.size(); ++i) {
      if (isPoint_[i] != ofPoints) continue;
      while (place < shown.size() && plan_.isPoint[place] != ofPoints) ++place;
      if (place == shown.size()) break;
      shown[place++] = saved[i];
    }
  }
  return shown;
}

void Placeholder::ShowValues() {
  // Whatever they mean: hosts read them as the values of the parameters.
  std::vector<float> values(std::min(isPoint_.size(), data_.size() / sizeof(float)));
  if (values.empty()) return;
  std::memcpy(values.data(), data_.data(), values.size() * sizeof(float));
  const std::vector<float> shown = OnPanel(values, 0.0f);
  LoadControlValues(shown.data(), static_cast<unsigned>(shown.size() * sizeof(float)));
}

void Placeholder::NumberPatchPoints(int* next) {
  // The panel may have points that this one's record lacks; they have no cables.
  int number = *next;
  Module::NumberPatchPoints(&number);
  *next += static_cast<int>(std::count(isPoint_.begin(), isPoint_.end(), true));
}

void Placeholder::SavePatchPointIndices(int* buffer) {
  auto point = Points().begin();
  for (std::size_t i = 0; i < isPoint_.size(); ++i) {
    const bool isShown = isPoint_[i] && point != Points().end();
    buffer[i] = isShown ? (*point++)->getTag() : indices_[i];
  }
}

void Placeholder::LoadPatchPointIndices(const int* buffer, unsigned size) {
  const std::size_t count = size / sizeof(int);
  if (const auto fewer = plan_.isPointInFewer.find(count); fewer != plan_.isPointInFewer.end()) {
    isPoint_ = fewer->second;
    ShowValues();
  } else if (count == plan_.isPoint.size()) {
    isPoint_ = plan_.isPoint;
  }
  indices_.assign(isPoint_.size(), TAG_UNASSIGNED);
  std::copy_n(buffer, std::min(count, indices_.size()), indices_.begin());
  const std::vector<int> shown = OnPanel(indices_, int{TAG_UNASSIGNED});
  Module::LoadPatchPointIndices(shown.data(), static_cast<unsigned>(shown.size() * sizeof(int)));
}

}  // namespace halveron
