#include "converter/ScanFormats.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <unordered_set>

#include "core/Fnv1a.h"

namespace Converter {
namespace {

constexpr std::array<ScanFormat, 9> kFormats{{
    {"E57", ".e57"},
    {"Las", ".las"},
    {"Compressed Las", ".laz"},
    {"Riegl RiScan", ".rsp"},
    {"Riegl RiProcess", ".rpp"},
    {"Autodesk ReCap Project", ".rcp"},
    {"Autodesk ReCap Scan", ".rcs"},
    {"Zoller+Froehlich Scan", ".zfs"},
    {"Zoller+Froehlich Project", ".zfprj"},
}};

struct HashOfBytes {
  std::size_t operator()(std::string_view text) const { return Core::fnv1a(text); }
};

using Extensions = std::unordered_set<std::string_view, HashOfBytes>;

Extensions allExtensions() {
  Extensions extensions;
  for (const ScanFormat& format : kFormats) extensions.insert(format.extension);
  return extensions;
}

std::string inSmallLetters(std::string_view text) {
  std::string small(text);
  std::transform(small.begin(), small.end(), small.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return small;
}

}  // namespace

std::span<const ScanFormat> scanFormats() { return kFormats; }

bool isScanExtension(std::string_view extension) {
  static const Extensions extensions = allExtensions();
  return extensions.count(inSmallLetters(extension)) != 0;
}

std::string extensionOf(const std::filesystem::path& file) {
  return inSmallLetters(file.extension().native());
}

}  // namespace Converter
