#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Sorvik/Export.h"
#include "Sorvik/PointFileWriter.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// The version of the interface in this header, which a plug-in's apiVersion() returns. A plug-in of another
/// version is refused before anything else of it is called.
inline constexpr std::uint32_t kScanReaderApiVersion = 1;

/// What a scan file tells before its points are read.
struct ScanDescription {
  std::uint64_t numPoints = 0;  ///< that can be read: exactly as many
  /// Beside the position, of distinct names. "rgb" (three UInt16), "intensity" (UInt16), "classification"
  /// (UInt8), "gps-time" (Double), "NormalX", "NormalY", "NormalZ" (Double) are names that viewers know.
  std::vector<PointFileAttribute> attributes;
  /// The smallest and largest coordinates, where the file states them; they may be wrong. Without them the
  /// points are read once more.
  struct Bounds {
    std::array<double, 3> minimum{};
    std::array<double, 3> maximum{};
  };
  std::optional<Bounds> bounds;
  std::string projection;             ///< the coordinate system as WKT, or empty
  std::vector<std::string> warnings;  ///< what was found odd and passed over, each a sentence
};

/// Takes points from a plug-in. Belongs to the thread that it was given to, for the one call.
class ScanPointSink {
 public:
  /// Takes points that follow those taken before. They are copied.
  /// @param positions  x, y, z of each point, world coordinates. Points of a coordinate that is not finite
  ///                   are left out of the cloud.
  /// @param columns    one for each of the description's attributes, in that order: of its type, with values
  ///                   for every point.
  /// @throws std::runtime_error for more points than were asked for, and for columns that do not match. The
  ///         conversion has failed then, whether the plug-in lets the exception pass or not.
  virtual void take(Span<const double> positions, Span<const PointFileColumn> columns) = 0;

 protected:
  ~ScanPointSink() = default;
};

/// A scan file that a plug-in has opened; it is closed by the destructor. Its points are numbered from 0 on.
///
/// Errors: whatever a call throws ends the conversion with InputCannotRead and the file's name before the
/// exception's text. Threads: see readsInParallel(). The first virtual slots are as they stand here in every
/// version; those of later versions follow behind.
class SORVIK_API OpenedScan {
 public:
  /// The most points that are asked for at once.
  static constexpr std::uint64_t kPointsPerRead = 65536;

  virtual ~OpenedScan();

  /// Called once, after opening.
  [[nodiscard]] virtual ScanDescription describe() const = 0;

  /// Whether read() may be called by several threads at once. If not, its calls come one after the other, on
  /// any threads, and the conversion is slower.
  [[nodiscard]] virtual bool readsInParallel() const = 0;

  /// Gives the points from @p first on to @p sink, in order, by any number of calls. Every part of the file
  /// is asked for, in any order, and up to three times.
  /// @param first  a multiple of kPointsPerRead.
  /// @param count  kPointsPerRead, or what is left to the end: exactly so many points must be given.
  virtual void read(std::uint64_t first, std::uint64_t count, ScanPointSink& sink) const = 0;
};

/// Reads a format of scan files that the library does not know; given to a conversion by
/// ConverterOptions::readers. It is used by that conversion alone, and kept as long as its Converter.
///
/// Errors: as those of OpenedScan. Threads: all calls are safe together, also with those of its opened scans.
/// apiVersion() is the first virtual slot for ever; the slots of later versions follow behind those that
/// stand here.
class SORVIK_API ScanReaderPlugin {
 public:
  /// The most bytes that probe() is given.
  static constexpr std::uint64_t kProbeBytes = 4096;

  /// Returns kScanReaderApiVersion: the version that the plug-in was compiled with.
  [[nodiscard]] virtual std::uint32_t apiVersion() const noexcept = 0;

  virtual ~ScanReaderPlugin();

  /// Of the files that it reads, with the dot: ".xyz". Letters of either case are found. Files of a known
  /// extension, as ".las", come to the plug-in first.
  [[nodiscard]] virtual std::string extension() const = 0;

  /// Whether a file of that extension is of the plug-in's format.
  /// @param start  its first kProbeBytes bytes, or all of a shorter file.
  [[nodiscard]] virtual bool probe(Span<const std::byte> start) const = 0;

  /// Opens a file whose first bytes were recognised. Called on the conversion's thread.
  /// @param path  as the user named it; paths are bytes, so it is not a wide string as elsewhere.
  /// @return not null.
  [[nodiscard]] virtual std::unique_ptr<OpenedScan> open(const std::filesystem::path& path) const = 0;
};

}  // namespace Sorvik
