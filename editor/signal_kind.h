// What kind of signal a cable carries, as far as the names of its ends tell.
#pragma once

namespace halveron {

struct Cable;

enum class SignalKind { kAudio, kPitch, kGate, kMidi, kControl };

/// By the roles of both ends and the categories of their modules. Nothing in the rack depends on
/// it: any signal may go anywhere.
SignalKind KindOf(const Cable& cable);
/// The colour of the cables' palette that stands for a kind.
int ColourOf(SignalKind kind);

}  // namespace halveron
