#pragma once

#include "core/LittleEndian.h"

namespace Converter {

using Core::storeLittleEndian;

}  // namespace Converter
