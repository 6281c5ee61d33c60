#pragma once

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace Core {

/// Makes objects of types that are known by name, writes them to JSON documents and reads them back. The
/// member "type" of a document holds the name.
/// @tparam Base     what the types derive from.
/// @tparam Context  what readers are given beside the document.
/// Threads: const calls are safe together.
template <class Base, class Context>
class TypeFactory {
 public:
  /// What is known of a type, registered together.
  struct Functions {
    std::function<std::unique_ptr<Base>()> create;  ///< an empty object
    std::function<void(const Base&, nlohmann::json&)> write;
    std::function<void(const nlohmann::json&, const Context&, Base&)> read;
  };

  /// A type that is registered again is what it was registered as last.
  void registerType(std::string_view name, Functions functions) {
    types_.insert_or_assign(std::string(name), std::move(functions));
  }

  /// @throws std::invalid_argument "Unknown typeName".
  [[nodiscard]] const Functions& functionsOf(std::string_view name) const {
    const auto found = types_.find(name);
    if (found == types_.end()) throw std::invalid_argument("Unknown typeName");
    return found->second;
  }

 private:
  std::map<std::string, Functions, std::less<>> types_;
};

}  // namespace Core
