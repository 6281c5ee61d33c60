#pragma once

#include <exception>
#include <string>

#include "converter/ConversionError.h"

namespace Sorvik {

/// Runs @p work, which calls foreign code or the file system; whatever it throws becomes a ConversionError of
/// InputCannotRead.
/// @param name  of the file, for the text.
template <class Work>
auto callPlugin(const std::string& name, const Work& work) {
  using ::Converter::ConversionError;
  using ::Converter::Result;
  try {
    return work();
  } catch (const ConversionError&) {
    throw;
  } catch (const std::exception& error) {
    throw ConversionError(Result::InputCannotRead, name + ": " + error.what());
  } catch (...) {
    throw ConversionError(Result::InputCannotRead, name + ": the reader plug-in threw what is no exception");
  }
}

}  // namespace Sorvik
