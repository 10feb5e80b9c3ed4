// What a library may call.
#pragma once

#include "sdk/halveron_module.h"

namespace halveron {

class CDrawContext;
class ExternalModule;
struct CRect;

/// The operations that every instance gets. The context of a call is the instance's ExternalModule.
const HalveronHost& ExternalHost();

HalveronContext* ContextOf(ExternalModule& module);

/// Has `draw` draw on an area of the panel.
void DrawOnCanvas(CDrawContext& context, const CRect& area,
                  void (*draw)(void* instance, uint32_t display, const HalveronCanvas* canvas),
                  void* instance, uint32_t display);

}  // namespace halveron
