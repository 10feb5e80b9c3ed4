// The scenes: text patches in benchmarks/scenes that measure the speed of the sample loop.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace halveron::benchmarks {

class RackRig;

/// Loads a scene into a rig. Throws platform::FileError if it cannot be read.
void LoadScene(RackRig& rig, const std::string& scene);

/// A scene that plays, all its notes held; each call runs kBlock samples in blocks of `frames`.
/// Empty if there is no scene of the name.
std::function<void()> PlayScene(const std::string& scene, int frames);

}  // namespace halveron::benchmarks
