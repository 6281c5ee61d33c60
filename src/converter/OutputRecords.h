#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "converter/AttributeStatistics.h"
#include "converter/CloudRecords.h"
#include "octree/potree/MetaData.h"

namespace Converter {

/// The records that an octree stores, and how they are made from those of the conversion: scan flags that are
/// 0 for every point are left out, and 64-bit integers, which viewers cannot read, are stored as double where
/// every value is exact in it, else as two attributes NAME_low and NAME_high of 32 bits (NAME_low_2 and so on
/// where there is one of that name). Pure.
class OutputRecords {
 public:
  /// @param facts    of the conversion's attributes, all points taken up.
  /// @param remarks  gets a sentence for each 64-bit attribute.
  OutputRecords(const CloudRecords& records, const std::vector<AttributeFacts>& facts,
                std::vector<std::string>& remarks);

  /// "position", whose range is left empty, and the others with theirs.
  [[nodiscard]] const std::vector<PoTree::Attribute>& attributes() const { return attributes_; }
  [[nodiscard]] std::size_t stride() const { return stride_; }

  /// Writes the stored record, stride() bytes, of a record of the conversion.
  void convert(const std::byte* record, std::byte* out) const;

 private:
  enum class Work { Copy, FromInt64, FromUInt64 };
  struct Step {
    Work work = Work::Copy;
    std::size_t from = 0;
    std::size_t to = 0;
    std::size_t size = 0;  // in the source
  };

  void addStep(Work work, std::size_t from, std::size_t size);
  void addStored(const Math::Attribute& attribute, const AttributeFacts& facts, std::size_t offset);
  void addAsDouble(const Math::Attribute& attribute, const AttributeFacts& facts, std::size_t offset);
  [[nodiscard]] std::string freeName(const std::string& name, const CloudRecords& records) const;
  void addHalf(const Math::Attribute& attribute, const std::string& name, std::size_t offset);

  std::vector<PoTree::Attribute> attributes_;
  std::vector<Step> steps_;
  std::size_t stride_ = 0;
};

}  // namespace Converter
