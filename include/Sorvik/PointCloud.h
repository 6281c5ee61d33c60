#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Sorvik/Attribute.h"
#include "Sorvik/BoundingBox.h"
#include "Sorvik/Export.h"
#include "Sorvik/Location.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// A part of a cloud that could not be read.
struct UnreadableNode {
  std::string node;    ///< its place in the octree: "r", and the child index of each step down, as in "r042"
  std::string reason;  ///< file or URL, byte, what was expected and what was found
};

/// How a cloud is opened.
struct PointCloudOptions {
  /// The attributes, by their stored names, that chunks have beside their standard columns, for
  /// PointChunk::attribute(). Each takes time and cache memory for every point that is read. Names that the
  /// cloud does not store are left out.
  std::vector<std::string> attributes{};
  /// All of PointCloud::attributes(), whether named above or not.
  bool allAttributes = false;
};

/// An opened point cloud. Iterators walk its points; this class tells its facts.
///
/// Points and boxes are single precision, in the octree's own frame: world coordinate = frame coordinate +
/// reference position.
///
/// Copies share the opened cloud and one cache of decoded nodes, which live as long as the last copy,
/// iterator or chunk that uses them. An object that was moved from may only be destroyed or assigned to.
/// Threads: const calls are safe together, on copies too.
class SORVIK_API PointCloud {
 public:
  /// Opens the cloud: reads its metadata and the first part of its hierarchy.
  /// @throws std::runtime_error naming path or URL and the reason when it cannot be opened.
  explicit PointCloud(const Location& location);
  /// As above; also refused when the attributes asked for take more than 4,096 bytes a point.
  PointCloud(const Location& location, const PointCloudOptions& options);
  PointCloud(const PointCloud& other);
  PointCloud(PointCloud&& other) noexcept;
  PointCloud& operator=(const PointCloud& other);
  /// Leaves @p other empty.
  PointCloud& operator=(PointCloud&& other) noexcept;
  ~PointCloud();

  /// The number of points that the cloud's metadata announce.
  [[nodiscard]] std::uint64_t numPoints() const;

  /// The box of the points in the octree frame, as the cloud's writer states it (else the octree's cube).
  /// In compressed clouds of common writers points lie up to one step of the stored coordinates outside.
  void getBoundingBox(BoundingBox& box) const;
  [[nodiscard]] BoundingBox boundingBox() const;
  /// Writes three values each; lengths are not checked.
  void getBoundingBox(Span<float> min, Span<float> max) const;
  /// Writes the three world coordinates of the octree frame's origin; the length is not checked.
  void getReferencePosition(Span<double> position) const;
  /// The least distance between points of the octree's root in cloud units; each level below halves it.
  [[nodiscard]] float pointSpacing() const;

  // Whether the cloud stores the attribute. Chunks always have all columns; what is not stored is colour
  // (0, 0, 0, 255) or the grey of the intensity, intensity 0, class 0, normal (0, 0, 0).
  [[nodiscard]] bool hasColors() const;
  [[nodiscard]] bool hasIntensities() const;
  [[nodiscard]] bool hasClassification() const;
  [[nodiscard]] bool hasNormals() const;

  /// Element i is the number of points of class i, as the metadata state it; empty when they do not.
  [[nodiscard]] std::vector<std::uint64_t> classHistogram() const;

  /// "potree" or "entwine".
  [[nodiscard]] std::string formatName() const;
  /// The names of all stored attributes, as stored.
  [[nodiscard]] std::vector<std::string> attributeNames() const;
  /// The attributes that chunks can give by PointChunk::attribute(), whether they were asked for or not: all
  /// stored ones whose type is known, external ones last. Of several with one name the first makes the
  /// column; a later one of the same type and number of elements writes over its values.
  [[nodiscard]] std::vector<Attribute> attributes() const;
  /// The step between stored coordinates along x, y and z, in world units. Writes three values; the length is
  /// not checked.
  void getScale(Span<double> scale) const;
  /// What walks over this cloud and its copies could not read so far: the last 1,000 different nodes.
  [[nodiscard]] std::vector<UnreadableNode> unreadableNodes() const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
