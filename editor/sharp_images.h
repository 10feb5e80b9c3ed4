// Pictures of the skin in the resolution of a window's zoom, painted beside the running window.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "gui/bitmap.h"

namespace halveron {

class Module;
class RackModel;

/// Paints a picture; any thread.
using PictureJob = std::function<SharedPointer<CBitmap>()>;
/// Paints a picture with so many pixels to a unit; any thread.
using PicturePainter = std::function<SharedPointer<CBitmap>(double pixelScale)>;
/// Makes the job for a file of a skin with so many pixels to a unit; `module` is one whose panel it
/// is, or null. Empty if the program does not paint such a file. Window thread.
using PictureJobMaker = PictureJob (*)(const std::string& path, const Module* module,
                                       double pixelScale);

/// What makes jobs from now on. The program that the process runs says so once; without it pictures
/// are scaled.
void UsePictureJobs(PictureJobMaker maker);

/// All windows of a process share one of these, which is there as long as one of them is. A draw
/// asks for a picture, gets the best that there is, and causes one to be painted; when it is done,
/// the windows are drawn again. Window thread.
class SharpImages final : public SharpImageSource {
 public:
  /// What all pictures together may take; those that were drawn longest ago go first.
  static constexpr std::size_t kMostBytes = std::size_t{192} << 20;

  static std::shared_ptr<SharpImages> Shared();
  /// The same; null while no window has it.
  static std::shared_ptr<SharpImages> Existing();
  SharpImages();
  ~SharpImages();
  SharpImages(const SharpImages&) = delete;
  SharpImages& operator=(const SharpImages&) = delete;

  CBitmap* findSharp(const CBitmap& image, double pixelScale) override;
  /// As findSharp, of a picture that is no file of a skin; `name` is its alone in the process.
  CBitmap* Find(const std::string& name, const PicturePainter& paint, double pixelScale);

  /// Part of the idle call: takes what is painted, and has painted what was asked for. Panels are
  /// planned by modules of the rack, one a call.
  void Work(const RackModel& rack);
  /// Counts the times that new pictures came, after which windows are drawn again.
  unsigned Generation() const { return generation_; }
  /// Nothing is asked for or being painted.
  bool IsIdle() const { return wanted_.empty() && painting_ == 0; }
  std::size_t Bytes() const { return bytes_; }

 private:
  using Key = std::pair<std::string, int>;  // file, and thousandths of pixels per unit
  struct Picture {
    SharedPointer<CBitmap> image;  // null while it is painted, and for good if it cannot be
    std::size_t bytes = 0;
    unsigned lastUse = 0;
    int tries = 0;           // of windows that had no module with this panel
    PicturePainter paint{};  // empty for files of a skin
  };

  void Run(const std::stop_token& stop);
  void TakePainted();
  void DropOld();
  void Start(const Key& key, PictureJob job);
  CBitmap* Look(const Key& key, const PicturePainter& paint);
  CBitmap* Nearest(const std::string& path, int scale);

  std::map<Key, Picture> pictures_;
  std::deque<Key> wanted_;
  std::size_t bytes_ = 0;
  std::size_t painting_ = 0;
  unsigned uses_ = 0;
  unsigned generation_ = 0;
  int lastScale_ = 0;
  int quietCalls_ = 0;  // idle calls since another scale was asked for
  int unshown_ = 0;     // pictures that came since the last generation

  std::mutex mutex_;
  std::condition_variable_any jobAdded_;
  std::deque<std::pair<Key, PictureJob>> jobs_;
  std::vector<std::pair<Key, SharedPointer<CBitmap>>> painted_;
  std::jthread worker_;  // last, so that it ends first
};

}  // namespace halveron
