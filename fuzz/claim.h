// What a fuzzer holds to be true of every input.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace halveron::fuzzing {

/// Ends the process if the claim is false, which the fuzzer takes as a finding.
inline void Claim(bool holds, const std::string& claim) {
  if (holds) return;
  std::fprintf(stderr, "Broken claim: %s\n", claim.c_str());
  std::abort();
}

}  // namespace halveron::fuzzing
