// Calls from a host, which no exception may leave.
#pragma once

#include <utility>

namespace halveron {

/// The answer of `call`, or `failure` if it threw.
template <class Answer, class Call>
Answer GuardedAnswer(Answer failure, Call&& call) noexcept {
  try {
    return call();
  } catch (...) {
    return failure;
  }
}

/// True if `call` did not throw.
template <class Call>
bool GuardedCall(Call&& call) noexcept {
  return GuardedAnswer(false, [&] {
    call();
    return true;
  });
}

}  // namespace halveron
