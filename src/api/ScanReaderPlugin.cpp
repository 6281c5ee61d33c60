#include "Sorvik/ScanReaderPlugin.h"

namespace Sorvik {

// Defined here, so that type information and virtual tables stand in the library alone.
OpenedScan::~OpenedScan() = default;
ScanReaderPlugin::~ScanReaderPlugin() = default;

}  // namespace Sorvik
