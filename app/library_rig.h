// An engine with the modules of one library and of no other, to try them in.
#pragma once

#include <string>

#include "engine/halveron.h"

namespace halveron {

class LibraryRig {
 public:
  static constexpr int kFrames = 256;

  LibraryRig();
  ~LibraryRig();
  LibraryRig(const LibraryRig&) = delete;
  LibraryRig& operator=(const LibraryRig&) = delete;

  Halveron& Engine() { return engine_; }
  SynEditor& Rack() { return *engine_.Editor(); }
  /// A new module, which runs without cables; null if it cannot be made.
  Module* Add(const std::string& name, const std::string& vendor);
  void Run(int frames) { engine_.processReplacing(nullptr, nullptr, frames); }

 private:
  Halveron engine_;
};

}  // namespace halveron
