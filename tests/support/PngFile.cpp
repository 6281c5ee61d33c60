#include "support/PngFile.h"

#include <png.h>

#include <stdexcept>

namespace Testing {

PngFile readPng(const std::filesystem::path& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) throw std::runtime_error(image.message);
  image.format = PNG_FORMAT_RGBA;
  PngFile file{image.width, image.height, {}};
  file.pixels.resize(file.width * file.height);
  if (png_image_finish_read(&image, nullptr, file.pixels.data(), 0, nullptr) == 0) {
    throw std::runtime_error(image.message);
  }
  return file;
}

}  // namespace Testing
