#include "editor/sharp_images.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <utility>

#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

namespace {

constexpr double kScaleSteps = 1000;
/// Idle calls without another scale after which painting begins: a border that is being dragged
/// passes through many.
constexpr int kQuietCalls = 6;
/// Pictures that are shown together while more are on their way.
constexpr int kBatch = 12;
constexpr int kMostTries = 4;

std::atomic<PictureJobMaker> jobMaker{nullptr};

struct {
  std::mutex mutex;
  std::weak_ptr<SharpImages> images;
} shared;

const Module* OwnerOf(const RackModel& rack, const std::string& path) {
  for (const Module* module : rack.modules[0]) {
    const CBitmap* panel = module->getBackground();
    if (panel && panel->getPath() == path) return module;
  }
  return nullptr;
}

int ScaleOf(double pixelScale) { return static_cast<int>(std::lround(pixelScale * kScaleSteps)); }

std::size_t BytesOf(const CBitmap& image) {
  constexpr std::size_t kBytesPerPixel = 4;
  return static_cast<std::size_t>(image.getWidth()) * static_cast<std::size_t>(image.getHeight()) *
         kBytesPerPixel;
}

}  // namespace

void UsePictureJobs(PictureJobMaker maker) { jobMaker = maker; }

std::shared_ptr<SharpImages> SharpImages::Shared() {
  const std::lock_guard lock(shared.mutex);
  auto images = shared.images.lock();
  if (!images) {
    images = std::make_shared<SharpImages>();
    shared.images = images;
  }
  return images;
}

std::shared_ptr<SharpImages> SharpImages::Existing() {
  const std::lock_guard lock(shared.mutex);
  return shared.images.lock();
}

SharpImages::SharpImages() { CBitmap::setSharpSource(this); }

SharpImages::~SharpImages() {
  CBitmap::setSharpSource(nullptr);
  if (worker_.joinable()) {
    worker_.request_stop();
    worker_.join();
  }
}

CBitmap* SharpImages::Nearest(const std::string& path, int scale) {
  Picture* best = nullptr;
  int bestScale = 0;
  for (auto it = pictures_.lower_bound({path, 0}); it != pictures_.end() && it->first.first == path;
       ++it) {
    if (!it->second.image) continue;
    const bool isBetter = !best || (bestScale < scale && it->first.second > bestScale);
    if (!isBetter) continue;
    best = &it->second;
    bestScale = it->first.second;
  }
  if (best) best->lastUse = ++uses_;
  return best ? best->image.get() : nullptr;
}

CBitmap* SharpImages::findSharp(const CBitmap& image, double pixelScale) {
  return Look({image.getPath(), ScaleOf(pixelScale)}, {});
}

CBitmap* SharpImages::Find(const std::string& name, const PicturePainter& paint,
                           double pixelScale) {
  return Look({name, ScaleOf(pixelScale)}, paint);
}

CBitmap* SharpImages::Look(const Key& key, const PicturePainter& paint) {
  const auto [place, isNew] = pictures_.try_emplace(key);
  Picture& picture = place->second;
  picture.lastUse = ++uses_;
  if (isNew && (paint || jobMaker)) {
    picture.paint = paint;
    wanted_.push_back(key);
    if (std::exchange(lastScale_, key.second) != key.second) quietCalls_ = 0;
  }
  return picture.image ? picture.image.get() : Nearest(key.first, key.second);
}

void SharpImages::Work(const RackModel& rack) {
  TakePainted();
  if (wanted_.empty() || ++quietCalls_ < kQuietCalls) return;
  bool isPlanned = false;
  for (std::size_t rest = wanted_.size(); rest > 0 && !isPlanned; --rest) {
    const Key key = wanted_.front();
    wanted_.pop_front();
    // Asked for on the way to the present size.
    if (key.second != lastScale_) {
      pictures_.erase(key);
      continue;
    }
    if (const PicturePainter& paint = pictures_[key].paint) {
      Start(key, [paint, scale = key.second / kScaleSteps] { return paint(scale); });
      continue;
    }
    const PictureJobMaker maker = jobMaker;
    const Module* owner = OwnerOf(rack, key.first);
    isPlanned = owner != nullptr;
    PictureJob job = maker ? maker(key.first, owner, key.second / kScaleSteps) : PictureJob();
    if (!job) {
      // Another window may have the module.
      if (maker && ++pictures_[key].tries < kMostTries) wanted_.push_back(key);
      continue;
    }
    Start(key, std::move(job));
  }
}

void SharpImages::Start(const Key& key, PictureJob job) {
  ++painting_;
  const std::lock_guard lock(mutex_);
  jobs_.emplace_back(key, std::move(job));
  if (!worker_.joinable()) {
    worker_ = std::jthread([this](const std::stop_token& stop) { Run(stop); });
  }
  jobAdded_.notify_one();
}

void SharpImages::TakePainted() {
  std::vector<std::pair<Key, SharedPointer<CBitmap>>> painted;
  {
    const std::lock_guard lock(mutex_);
    painted.swap(painted_);
  }
  for (auto& [key, image] : painted) {
    --painting_;
    Picture& picture = pictures_[key];
    if (!image) continue;
    picture.bytes = BytesOf(*image);
    picture.image = std::move(image);
    bytes_ += picture.bytes;
    ++unshown_;
  }
  if (unshown_ > kBatch || (unshown_ > 0 && IsIdle())) {
    unshown_ = 0;
    ++generation_;
  }
  if (bytes_ > kMostBytes) DropOld();
}

void SharpImages::DropOld() {
  std::vector<std::pair<unsigned, Key>> ages;
  for (const auto& [key, picture] : pictures_) {
    if (picture.image) ages.emplace_back(picture.lastUse, key);
  }
  std::sort(ages.begin(), ages.end());
  for (const auto& [age, key] : ages) {
    if (bytes_ <= kMostBytes * 3 / 4) return;
    bytes_ -= pictures_[key].bytes;
    pictures_.erase(key);
  }
}

void SharpImages::Run(const std::stop_token& stop) {
  while (true) {
    std::pair<Key, PictureJob> next;
    {
      std::unique_lock lock(mutex_);
      if (!jobAdded_.wait(lock, stop, [this] { return !jobs_.empty(); })) return;
      if (stop.stop_requested()) return;
      next = std::move(jobs_.front());
      jobs_.pop_front();
    }
    SharedPointer<CBitmap> image;
    try {
      image = next.second();
    } catch (const std::exception&) {
      // Without memory for it, the picture is scaled.
    }
    const std::lock_guard lock(mutex_);
    painted_.emplace_back(std::move(next.first), std::move(image));
  }
}

}  // namespace halveron
