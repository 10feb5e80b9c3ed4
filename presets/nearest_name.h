// The known name that is most similar to a mistyped one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace halveron {

/// The candidate with the fewest letters to insert, delete, replace or swap, letter case counting
/// least. Empty without candidates. Among equals, the first.
std::string NearestName(std::string_view name, const std::vector<std::string>& candidates);

/// "did you mean ...?" with the nearest name, or that there is none.
std::string DidYouMean(std::string_view name, const std::vector<std::string>& candidates);

/// The same for a module, by its name, by its number or by a part of either: "S31" and "310" mean
/// "S310 VCO" as well. Names up to four if more fit.
std::string DidYouMeanModule(std::string_view name, const std::vector<std::string>& modules);

/// A name in quotation marks, for a message.
std::string Quoted(std::string_view name);

}  // namespace halveron
