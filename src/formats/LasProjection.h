#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Formats {

/// The data of the records in which a LAS file states its coordinate system; empty where there is none.
struct LasProjectionRecords {
  std::vector<std::byte> wkt;        ///< user id "LASF_Projection", record id 2112
  std::vector<std::byte> liblasWkt;  ///< user id "liblas", record id 2112
  std::vector<std::byte> geoKeys;    ///< "LASF_Projection", 34735: 16-bit numbers
  std::vector<std::byte> geoText;    ///< "LASF_Projection", 34737
};

/// The coordinate system as a text: WKT; or "EPSG:26917", with the code of the height system where one is
/// given ("EPSG:26917+5703"); or the name that GeoTIFF keys give a user-defined system; or empty.
/// @param statesWkt      the header's word that WKT is valid. Else the keys come first if they hold a code,
///                       then WKT, then the name in the keys.
/// @param[out] warnings  gets a sentence for each damage; damage is never an error.
[[nodiscard]] std::string projectionOf(const LasProjectionRecords& records, bool statesWkt,
                                       std::vector<std::string>& warnings);

}  // namespace Formats
