#include "formats/e57/Document.h"

#include <algorithm>
#include <pugixml.hpp>
#include <set>

#include "core/FormatError.h"
#include "formats/UnsupportedFormat.h"
#include "formats/e57/Prototype.h"
#include "formats/e57/XmlValue.h"

namespace Formats::E57 {
namespace {

constexpr int kDeepest = 100;

/// Ends a walk where elements are nested too deep.
class DepthCheck final : public pugi::xml_tree_walker {
 public:
  bool for_each(pugi::xml_node& /*node*/) override { return depth() <= kDeepest; }
};

/// The text of an element, which writers cut where it holds the end mark of CDATA.
std::string textOf(const pugi::xml_node& element) {
  std::string text;
  for (const pugi::xml_node& part : element.children()) text += part.value();
  return std::string(trimmed(text));
}

class Reader {
 public:
  explicit Reader(std::string_view name) : place_{name, {}} {}

  Document read(std::vector<std::byte> text) {
    pugi::xml_document xml;
    parse(xml, text);
    const pugi::xml_node root = xml.child("e57Root");
    if (!root) place_.refuse("root element", "e57Root", xml.document_element().name());
    document_.coordinateMetadata = textOf(root.child("coordinateMetadata"));
    for (const pugi::xml_node& scan : root.child("data3D").children("vectorChild")) readScan(scan);
    if (!leftOut_.empty()) {
      std::string names;
      for (const std::string& name : leftOut_) names += (names.empty() ? "" : ", ") + name;
      document_.warnings.push_back("Point fields that are not known are left out: " + names + '.');
    }
    return std::move(document_);
  }

 private:
  void parse(pugi::xml_document& xml, std::vector<std::byte>& text) {
    constexpr unsigned kFlags =
        pugi::parse_minimal | pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol | pugi::parse_doctype;
    while (!text.empty() && text.back() == std::byte{0}) text.pop_back();
    place_.part = "document";
    const pugi::xml_parse_result result =
        xml.load_buffer_inplace(text.data(), text.size(), kFlags, pugi::encoding_utf8);
    if (!result) {
      place_.refuse("byte " + std::to_string(result.offset), "well-formed XML", result.description());
    }
    for (const pugi::xml_node& node : xml.children()) {
      if (node.type() == pugi::node_doctype) place_.refuse("head", "no type declaration", "DOCTYPE");
    }
    DepthCheck depth;
    if (!xml.traverse(depth)) {
      place_.refuse("elements", "at most " + std::to_string(kDeepest) + " levels", "more");
    }
  }

  void readScan(const pugi::xml_node& element) {
    Scan scan;
    scan.number = document_.scans.size();
    place_.part = "scan " + std::to_string(scan.number);
    readPoints(element.child("points"), scan);
    readPose(element.child("pose"), scan);
    readBounds(element.child("cartesianBounds"), scan);
    scan.intensityLimits = rangeOf(element.child("intensityLimits"), "intensityMinimum", "intensityMaximum");
    readColorLimits(element.child("colorLimits"), scan);
    const auto start = valueOf(element.child("acquisitionStart").child("dateTimeValue"));
    if (start && *start > 0) scan.acquisitionStart = start;
    document_.scans.push_back(std::move(scan));
  }

  void readPoints(const pugi::xml_node& points, Scan& scan) {
    if (!points) return;
    scan.recordCount = count(points, "recordCount");
    if (scan.recordCount == 0) return;
    scan.sectionOffset = count(points, "fileOffset");
    for (const pugi::xml_node& codec : points.child("codecs").children("vectorChild")) {
      if (codec.child("bitPackCodec")) continue;
      throw UnsupportedFormat(std::string(place_.file) + ", XML section", place_.part + ", codec",
                              "bitPackCodec", codec.last_child().name());
    }
    readPrototype(points.child("prototype"), place_, scan, leftOut_);
  }

  [[nodiscard]] std::uint64_t count(const pugi::xml_node& element, const char* attribute) const {
    const char* const text = element.attribute(attribute).value();
    const auto value = parseInteger(text);
    if (!value || *value < 0) place_.refuse(attribute, "a whole number", "'" + std::string(text) + "'");
    return static_cast<std::uint64_t>(*value);
  }

  /// A number that is 0 where it is absent.
  [[nodiscard]] double finite(const pugi::xml_node& parent, const char* name) const {
    const pugi::xml_node element = parent.child(name);
    if (!element) return 0;
    const auto value = valueOf(element);
    if (!value) {
      place_.refuse(std::string("pose, ") + parent.name() + ", " + name, "a finite number",
                    "'" + textOf(element) + "'");
    }
    return *value;
  }

  void readPose(const pugi::xml_node& pose, Scan& scan) {
    if (const pugi::xml_node t = pose.child("translation")) {
      scan.pose.translation = {finite(t, "x"), finite(t, "y"), finite(t, "z")};
    }
    if (const pugi::xml_node q = pose.child("rotation")) {
      const auto rotation =
          Pose::rotationOf({finite(q, "w"), finite(q, "x"), finite(q, "y"), finite(q, "z")});
      if (rotation) {
        scan.pose.rotation = *rotation;
      } else {
        document_.warnings.push_back("The rotation of " + place_.part +
                                     " is a quaternion of length 0; the scan is not rotated.");
      }
    }
  }

  static std::optional<ValueRange> rangeOf(const pugi::xml_node& parent, const char* minimum,
                                           const char* maximum) {
    const auto low = valueOf(parent.child(minimum));
    const auto high = valueOf(parent.child(maximum));
    if (!low || !high) return std::nullopt;
    const ValueRange range{*low, *high};
    if (!range.usable()) return std::nullopt;
    return range;
  }

  static void readColorLimits(const pugi::xml_node& limits, Scan& scan) {
    for (const auto& [minimum, maximum] : {std::pair("colorRedMinimum", "colorRedMaximum"),
                                           std::pair("colorGreenMinimum", "colorGreenMaximum"),
                                           std::pair("colorBlueMinimum", "colorBlueMaximum")}) {
      const auto range = rangeOf(limits, minimum, maximum);
      if (!range) continue;
      if (!scan.colorLimits) scan.colorLimits = range;
      scan.colorLimits->expand(*range);
    }
  }

  static void readBounds(const pugi::xml_node& bounds, Scan& scan) {
    constexpr std::array kNames{std::pair("xMinimum", "xMaximum"), std::pair("yMinimum", "yMaximum"),
                                std::pair("zMinimum", "zMaximum")};
    Math::NBoundingBox<double, 3> box;
    for (int axis = 0; axis < 3; ++axis) {
      const auto& [minimum, maximum] = kNames[static_cast<std::size_t>(axis)];
      const auto low = valueOf(bounds.child(minimum));
      const auto high = valueOf(bounds.child(maximum));
      if (!low || !high || *low > *high) return;
      box.minimum[axis] = *low;
      box.maximum[axis] = *high;
    }
    scan.cartesianBounds = box;
  }

  XmlPlace place_;
  Document document_;
  std::set<std::string> leftOut_;
};

}  // namespace

Document readDocument(std::vector<std::byte> text, std::string_view name) {
  return Reader(name).read(std::move(text));
}

}  // namespace Formats::E57
