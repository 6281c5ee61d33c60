#include "brotli/SurveyNode.h"

#include "converter/NodeEncoder.h"
#include "converter/RecordLayout.h"
#include "support/PointRecords.h"

namespace Testing {

Columns surveyNode(std::uint64_t points) {
  const PointRecords records = surveyRecords(points, 1);
  const Converter::RecordLayout layout(records.attributes);
  Columns columns;
  columns.numElements = points;
  columns.data = Converter::attributeBlocks(records.records, layout);
  for (const Converter::RecordColumn& column : layout.columns)
    columns.strides.push_back(column.encodedSize());
  return columns;
}

Columns columnAlone(const Columns& columns, std::size_t index) {
  std::size_t begin = 0;
  for (std::size_t i = 0; i < index; ++i) begin += columns.strides[i] * columns.numElements;
  const std::size_t size = columns.strides[index] * columns.numElements;
  const auto first = columns.data.begin() + static_cast<std::ptrdiff_t>(begin);
  Columns alone{columns.numElements, {}, {}};
  return alone.add(columns.strides[index], Bytes(first, first + static_cast<std::ptrdiff_t>(size)));
}

}  // namespace Testing
