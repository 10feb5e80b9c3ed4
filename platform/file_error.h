// A failure with a file.
#pragma once

#include "platform/user_error.h"

namespace halveron::platform {

/// A file that cannot be read or written, or whose content is refused.
class FileError : public UserError {
 public:
  using UserError::UserError;
};

}  // namespace halveron::platform
