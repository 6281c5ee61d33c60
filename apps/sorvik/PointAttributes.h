#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sorvik/PointCloud.h"
#include "sorvik/PointLayout.h"

namespace Program {

/// Names of attributes; nothing: all that a cloud stores.
using AttributeNames = std::optional<std::vector<std::string>>;

/// Reads what `--attributes` gives: names with a comma between each two. A name that holds a comma or a
/// quotation mark stands in quotation marks, those in it doubled.
/// @throws CallError for an empty name and for quotation marks elsewhere.
[[nodiscard]] std::vector<std::string> parseAttributeNames(std::string_view text);

/// The layout of points with the chosen attributes alone: the columns of its own that they make, and the rest
/// of them as further ones, in stored order. Positions are always written.
/// @throws CallError naming an attribute that the cloud does not store, or not in a type that can be read.
[[nodiscard]] PointLayout layoutOf(const Sorvik::PointCloud& cloud, Frame frame, const AttributeNames& names);

}  // namespace Program
