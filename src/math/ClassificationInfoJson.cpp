#include <nlohmann/json.hpp>
#include <utility>

#include "core/FormatError.h"
#include "math/ClassificationInfo.h"

namespace Math {
namespace {

using nlohmann::json;

/// Reads the members of one class and names the one that is missing or wrong.
class ClassReader {
 public:
  ClassReader(const json& value, std::size_t index)
      : value_(value), path_("classes[" + std::to_string(index) + "]") {
    if (!value.is_object()) fail("", "an object", value.type_name());
  }

  [[nodiscard]] std::size_t id() const {
    const json& member = required("id");
    if (!member.is_number_unsigned()) fail(".id", "a whole number that is not negative", found(member));
    return member.get<std::size_t>();
  }
  [[nodiscard]] std::string name() const {
    const json& member = required("name");
    if (!member.is_string()) fail(".name", "a text", found(member));
    return member.get<std::string>();
  }
  [[nodiscard]] bool visible() const {
    const json& member = required("visible");
    if (!member.is_boolean()) fail(".visible", "true or false", found(member));
    return member.get<bool>();
  }
  [[nodiscard]] Color color() const {
    const json& member = required("color");
    if (!member.is_array()) fail(".color", kFourChannels, found(member));
    if (member.size() != 4) fail(".color", kFourChannels, std::to_string(member.size()) + " elements");
    return {channel(member[0]), channel(member[1]), channel(member[2]), channel(member[3])};
  }

  [[noreturn]] void fail(const std::string& member, std::string_view expected,
                         std::string_view actual) const {
    throw Core::FormatError("class table", path_ + member, expected, actual);
  }

 private:
  static constexpr std::string_view kFourChannels = "4 whole numbers from 0 to 255";

  [[nodiscard]] const json& required(const char* name) const {
    const auto member = value_.find(name);
    if (member == value_.end()) fail(std::string(".") + name, "a value", "no such member");
    return *member;
  }

  [[nodiscard]] std::uint8_t channel(const json& value) const {
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > 255) {
      fail(".color", kFourChannels, found(value));
    }
    return value.get<std::uint8_t>();
  }

  /// A number itself, of anything else its type.
  static std::string found(const json& value) {
    return value.is_number() ? value.dump() : std::string(value.type_name());
  }

  const json& value_;
  std::string path_;
};

const json& classList(const json& value) {
  const auto fail = [](const char* field, const char* expected, const char* found) {
    throw Core::FormatError("class table", field, expected, found);
  };
  if (!value.is_object()) fail("document", "an object", value.type_name());
  const auto classes = value.find("classes");
  if (classes == value.end()) fail("classes", "an array", "no such member");
  if (!classes->is_array()) fail("classes", "an array", classes->type_name());
  return *classes;
}

}  // namespace

void to_json(json& value, const ClassificationInfo& table) {
  json classes = json::array();
  for (const auto& entry : table.classes()) {
    const ClassificationInfo::Class& c = entry.second;
    classes.push_back({{"id", entry.first},
                       {"name", c.name},
                       {"color", {c.color.r(), c.color.g(), c.color.b(), c.color.a()}},
                       {"visible", c.visible}});
  }
  value = {{"classes", std::move(classes)}};
}

void from_json(const json& value, ClassificationInfo& table) {
  ClassificationInfo read;
  std::size_t index = 0;
  for (const json& element : classList(value)) {
    const ClassReader reader(element, index++);
    const std::size_t id = reader.id();
    if (read.contains(id)) reader.fail(".id", "ids that differ", std::to_string(id) + " again");
    read.add(id, reader.color(), reader.name(), reader.visible());
  }
  table = std::move(read);
}

}  // namespace Math
