#pragma once

#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "regions/ClippingRegion.h"

namespace Math {

/// A region made of others, which it shares with whoever else holds them.
///
/// No region contains itself, and none is nested deeper than 1,000 regions, so that a question asked of the
/// outermost one cannot overflow the stack. Composites therefore know those that contain them.
///
/// Threads: putting one region into several others at a time is safe, otherwise as ClippingRegion.
class CompositeRegion : public ClippingRegion<float> {
 public:
  using Child = std::shared_ptr<ClippingRegion<float>>;

  /// The most regions on the way from one to a leaf below it, both included.
  static constexpr unsigned kMostNested = 1000;

  CompositeRegion(const CompositeRegion&) = delete;
  CompositeRegion& operator=(const CompositeRegion&) = delete;
  ~CompositeRegion() override;

  [[nodiscard]] std::span<const Child> children() const { return children_; }

  /// Passes the matrix to every child in order.
  void setTransformation(const Matrix4<float>& matrix) override;

 protected:
  CompositeRegion() = default;

  /// @throws std::invalid_argument with nothing changed: "Error: region contains itself", "Error: regions are
  ///         nested deeper than 1000", "Error: region is null".
  void append(Child child);
  void clear();
  /// The one child in the place of all before. Throws as append(), with nothing changed.
  void replace(Child child);

  /// The same number of children, and those at the same place the same or equal.
  [[nodiscard]] bool equals(const ClippingRegion<float>& other) const override;

 private:
  void addParent(CompositeRegion* parent);
  void removeParent(const CompositeRegion* parent);
  void leaveChildren();
  [[nodiscard]] bool isWithin(const ClippingRegion<float>* region) const;
  void checkHeight(unsigned height) const;
  void raiseHeight(unsigned height);
  void updateHeight();

  std::vector<Child> children_;
  unsigned height_ = 1;  // of the deepest nest: 1 without children
  std::mutex parentsMutex_;
  std::vector<CompositeRegion*> parents_;  // guarded by parentsMutex_; one entry for each place in one
};

}  // namespace Math
