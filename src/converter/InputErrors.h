#pragma once

#include <system_error>

#include "converter/ConversionError.h"
#include "core/FormatError.h"
#include "formats/UnsupportedFormat.h"

namespace Converter {

/// Does @p work; bytes of an input that cannot be read or make no sense become a ConversionError of @p
/// damage.
template <class Work>
auto translated(Result damage, const Work& work) {
  try {
    return work();
  } catch (const Formats::UnsupportedFormat& error) {
    throw ConversionError(Result::InputPointCloudFormatUnsupported, error.what());
  } catch (const Core::FormatError& error) {
    throw ConversionError(damage, error.what());
  } catch (const std::system_error& error) {
    throw ConversionError(Result::InputCannotRead, error.what());
  }
}

}  // namespace Converter
