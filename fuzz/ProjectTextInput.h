#pragma once

#include <cstdlib>
#include <string>

#include "formats/projects/ProjectTexts.h"

/// Ends the program unless every text may be the name of a file: of bounded length, on one line, with an
/// extension.
inline void checkTexts(const Formats::ProjectTexts& texts) {
  for (const std::string& text : texts) {
    if (text.empty() || text.size() > Formats::kLongestProjectText) std::abort();
    if (text.find_first_of(std::string("\r\n\\\0", 4)) != std::string::npos) std::abort();
    if (text.find('.') == std::string::npos) std::abort();
  }
}
