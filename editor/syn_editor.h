// The rack that a plug-in instance owns: the model over the catalogue of modules.
#pragma once

#include "framework/rack_model.h"

namespace halveron {

class SynEditor : public RackModel {
 public:
  explicit SynEditor(EngineContext& engine);
};

}  // namespace halveron
