#include "core/BoundedJson.h"

#include <nlohmann/json.hpp>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/FormatError.h"

namespace Core {
namespace {

using nlohmann::json;

constexpr std::size_t kShownBytes = 24;

/// Reads a text without building values, and throws when it breaks a limit or is no JSON.
class BoundsCheck final : public nlohmann::json_sax<json> {
 public:
  BoundsCheck(std::string_view text, const JsonLimits& limits, std::string_view source)
      : text_(text), limits_(limits), source_(source) {}

  bool start_object(std::size_t) override {
    open();
    if (!limits_.repeatedNames) openObjects_.emplace_back();
    return true;
  }
  bool end_object() override {
    --level_;
    if (!limits_.repeatedNames) openObjects_.pop_back();
    return true;
  }
  bool start_array(std::size_t) override {
    open();
    return true;
  }
  bool end_array() override {
    --level_;
    return true;
  }
  bool key(std::string& name) override {
    if (limits_.repeatedNames || openObjects_.back().insert(name).second) return true;
    throw FormatError(source_, name.substr(0, kShownBytes), "one member of that name in an object", "two");
  }
  bool parse_error(std::size_t byte, const std::string&, const json::exception& error) override {
    if (dynamic_cast<const json::out_of_range*>(&error) != nullptr) {
      throw FormatError(source_, "document", "numbers within double precision", "one beyond");
    }
    // The parser counts the bytes that it has read, the wrong one among them.
    throwNotJson(byte == 0 ? 0 : byte - 1);
  }
  [[noreturn]] void throwNotJson(std::size_t byte) const {
    throw FormatError({source_, byte}, "document", "JSON",
                      "not JSON (starts with '" + std::string(text_.substr(0, kShownBytes)) + "')");
  }

  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(std::int64_t) override { return true; }
  bool number_unsigned(std::uint64_t) override { return true; }
  bool number_float(double, const std::string&) override { return true; }
  bool string(std::string&) override { return true; }
  bool binary(json::binary_t&) override { return true; }

 private:
  void open() {
    if (++level_ <= limits_.numLevels) return;
    throw FormatError(source_, "document", "at most " + std::to_string(limits_.numLevels) + " nested levels",
                      "more");
  }

  std::string_view text_;
  JsonLimits limits_;
  std::string_view source_;
  std::size_t level_ = 0;
  std::vector<std::unordered_set<std::string>> openObjects_;  ///< the names so far in each
};

}  // namespace

json parseBoundedJson(std::string_view text, const JsonLimits& limits, std::string_view source) {
  if (text.size() > limits.numBytes) {
    throw FormatError(source, "document", "at most " + std::to_string(limits.numBytes) + " bytes",
                      std::to_string(text.size()));
  }
  BoundsCheck check(text, limits, source);
  // The parser takes a zero byte for the end of the text.
  if (const std::size_t zero = text.find('\0'); zero != text.npos) check.throwNotJson(zero);
  // A pass of its own: a parser callback, which would do the same, takes quadratic time over lists of
  // objects.
  json::sax_parse(text, &check);
  return json::parse(text);
}

}  // namespace Core
