// The tooltip text of a control.
#pragma once

#include <string>

namespace halveron {

class CControl;

/// Role and present value; of a jack, also its direction and where each of its cables leads. Empty
/// for what has no role.
std::string DescribeControl(const CControl& control);

}  // namespace halveron
