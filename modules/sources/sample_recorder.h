// Recording into a sample, one value after another.
#pragma once

#include "modules/sources/sample_set.h"

namespace halveron {

struct SampleRecorder {
  int writeIndex = 0;

  /// Records a value and returns what stands there then. Overdubbed values are added to the sample
  /// as far as it goes. A full buffer of the largest capacity has its last sample written over and
  /// over; one that only memory keeps from being larger goes on in silence.
  float Step(SampleBuffer& buffer, float in, bool overdub, int largest = SampleBuffer::kLargest) {
    in = HeldSample(in);
    float* const samples = buffer.Samples();
    if (overdub && writeIndex < buffer.Length()) {
      samples[writeIndex] = HeldSample(samples[writeIndex] + in);
    } else {
      samples[writeIndex] = in;
      buffer.SetLength(writeIndex + 1);
    }
    float out = samples[writeIndex];
    if (++writeIndex < buffer.Capacity()) return out;
    writeIndex = buffer.Capacity() - 1;
    if (buffer.Capacity() < largest) out = samples[writeIndex] = 0.0f;
    return out;
  }
};

}  // namespace halveron
