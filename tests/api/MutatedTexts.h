#pragma once

#include <random>
#include <string>
#include <string_view>

namespace Testing {

/// A valid text damaged in one to four places: bytes changed, left out, doubled, put in, pieces moved, the
/// end cut off. The same for the same seed.
class MutatedTexts {
 public:
  MutatedTexts(std::string_view valid, unsigned seed) : valid_(valid), random_(seed) {}

  [[nodiscard]] std::string next() {
    std::string text = valid_;
    for (std::size_t i = 1 + below(4); i > 0; --i) damage(text);
    return text;
  }

 private:
  [[nodiscard]] std::size_t below(std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(random_);
  }
  /// Of what JSON is made of, more often than not.
  [[nodiscard]] char byte() {
    constexpr std::string_view kLikely = "{}[]\":,.-+eE0123456789truefalsn\\ ";
    return below(4) == 0 ? static_cast<char>(below(256)) : kLikely[below(kLikely.size())];
  }
  void damage(std::string& text) {
    if (text.empty()) return;
    const std::size_t at = below(text.size());
    const std::size_t size = 1 + below(8);
    switch (below(6)) {
      case 0:
        text[at] = byte();
        break;
      case 1:
        text.erase(at, size);
        break;
      case 2:
        text.insert(at, text.substr(at, size));
        break;
      case 3:
        text.insert(at, 1, byte());
        break;
      case 4:
        text.insert(below(text.size()), text.substr(at, size));
        break;
      default:
        text.resize(below(8) == 0 ? at : text.size() - 1);
    }
  }

  std::string valid_;
  std::mt19937 random_;
};

}  // namespace Testing
