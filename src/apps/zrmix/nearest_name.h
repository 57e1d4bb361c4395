#pragma once
// What a name that is not known might have meant.

#include <string>
#include <string_view>
#include <vector>

namespace zrmix {

// The name that takes the fewest changes of a letter to get to; empty: none is near enough to be meant.
std::string NearestName(std::string_view _name, const std::vector<std::string>& _arrKnown);
// "; did you mean alpha?", or nothing.
std::string DidYouMean(std::string_view _name, const std::vector<std::string>& _arrKnown);

}  // namespace zrmix
