#pragma once

#include <concepts>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

namespace Sorvik {

/// A view of contiguous elements that it neither owns nor copies: what it was made from must outlive it. The
/// interface passes every vector, matrix and list in one, by value: Span<const T> is read, Span<T> is filled
/// by the callee.
///
/// Many operations read or write a fixed number of elements and do not look at the length; each says so.
///
/// @tparam Extent always -1: the length is carried at run time, never fixed by the type.
template <class T, std::int64_t Extent = -1>
class Span {
  static_assert(Extent == -1, "the length of a span is carried at run time");

 public:
  using element_type = T;
  using value_type = std::remove_cv_t<T>;
  using size_type = std::uint64_t;
  using iterator = T*;

  /// No elements, at no address.
  constexpr Span() noexcept = default;

  /// The @p size elements from @p data on. A shorter allocation is the caller's fault.
  constexpr Span(T* data, std::uint64_t size) noexcept : data_(data), size_(size) {}

  /// All elements of a std::vector, std::array, std::span, C array, or a Span of the same elements without
  /// const. A temporary container that owns its elements makes a Span<const T> only, which lasts until the
  /// end of the full expression (an argument of a call); a Span<T> of it does not compile, since the results
  /// would be lost.
  template <class Range>
  requires(!std::same_as<std::remove_cvref_t<Range>, Span> && std::convertible_to<Range, std::span<T>>)
      // NOLINTNEXTLINE(*-forwarding-reference-overload): the constraint leaves Span itself out.
      constexpr Span(Range&& range)
      : Span(std::span<T>(std::forward<Range>(range))) {}

  /// The elements of @p view.
  constexpr Span(std::span<T> view) noexcept : data_(view.data()), size_(view.size()) {}

  /// The first element; null for a default-constructed view.
  [[nodiscard]] constexpr T* data() const noexcept { return data_; }
  /// The number of elements.
  [[nodiscard]] constexpr std::uint64_t size() const noexcept { return size_; }
  [[nodiscard]] constexpr bool empty() const noexcept { return size_ == 0; }

  /// @param index below size(), which is not checked.
  [[nodiscard]] constexpr T& operator[](std::uint64_t index) const { return data_[index]; }

  [[nodiscard]] constexpr T* begin() const noexcept { return data_; }
  [[nodiscard]] constexpr T* end() const noexcept { return data_ + size_; }

 private:
  T* data_ = nullptr;
  std::uint64_t size_ = 0;
};

}  // namespace Sorvik

/// Iterators of a Span outlive it, so a temporary one may be passed on as a std::span.
template <class T, std::int64_t Extent>
inline constexpr bool std::ranges::enable_borrowed_range<Sorvik::Span<T, Extent>> = true;
