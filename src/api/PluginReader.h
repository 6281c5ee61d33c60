#pragma once

#include <memory>

#include "Sorvik/ScanReaderPlugin.h"
#include "converter/FormatReader.h"

namespace Sorvik {

/// A plug-in as the converter's reader of a further format.
/// @param plugin  not null.
[[nodiscard]] std::shared_ptr<const ::Converter::FormatReader> readerOf(
    std::shared_ptr<const ScanReaderPlugin> plugin);

}  // namespace Sorvik
