// What MIDI calls its controllers, parameters, time code and manufacturers.
#pragma once

namespace halveron {

/// "Undefined" for what has no name, as for all of these.
const char* ControllerName(int controller);
const char* RegisteredParameterName(int coarse, int fine);
/// Of a quarter-frame message, 0 to 7.
const char* TimeCodePieceName(int piece);
/// Of the two bits of a time code.
const char* FrameRateName(int rate);
/// One-byte SysEx identifiers 1 to 85; 0 stands for the extended ones.
bool IsKnownManufacturer(int id);
const char* ManufacturerName(int id);

}  // namespace halveron
