#pragma once

#include <memory>
#include <utility>

namespace Math {

/// A vector's allocator that leaves new elements as they are, for columns that are written at once.
template <class T>
struct UninitialisedAllocator : std::allocator<T> {
  template <class U>
  struct rebind {
    using other = UninitialisedAllocator<U>;
  };
  using std::allocator<T>::allocator;
  template <class U>
  void construct(U* at) noexcept {
    ::new (static_cast<void*>(at)) U;
  }
  template <class U, class... Arguments>
  void construct(U* at, Arguments&&... arguments) {
    ::new (static_cast<void*>(at)) U(std::forward<Arguments>(arguments)...);
  }
};

}  // namespace Math
