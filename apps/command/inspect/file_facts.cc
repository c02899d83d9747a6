// SPDX-License-Identifier: Apache-2.0
#include "apps/command/inspect/file_facts.h"

#include <QByteArray>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>

#include "apps/command/inspect/stream_walk.h"
#include "apps/jpeg/acquisition_date.h"
#include "apps/jpeg/jpeg_header.h"
#include "host/memory.h"
#include "spatial/panorama/panorama_data.h"
#include "spatial/panorama/panorama_xml_parser.h"
#include "util/geometry3d/mesh/building_z.h"
#include "util/geometry3d/mesh/shape.h"
#include "util/geometry3d/mesh/shape_animation.h"
#include "vortan/diorama/animated_shape_coder.h"
#include "vortan/diorama/building_z_coder.h"
#include "vortan/diorama/shape_coder.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

// What a stream may have allocated, in bytes: a damaged one can ask for anything.
constexpr std::size_t kBudget = std::size_t{1} << 30;

Outcome Damaged(const std::string& what, const std::string& where) {
  return Outcome::Fail(ExitCode::kDataError, what, where);
}

void AddShape(const geometry3d::Shape& shape, Json* facts) {
  std::size_t indices = 0;
  for (const geometry3d::IndexSet* set : shape.index_sets()) {
    indices += set->point_indices().size();
  }
  (*facts)["materials"] = shape.materials().size();
  (*facts)["index_sets"] = shape.index_sets().size();
  (*facts)["point_indices"] = indices;
  (*facts)["points"] = shape.points().size();
  (*facts)["normals"] = shape.normals().size();
  (*facts)["tex_coords"] = shape.tex_coords().size();
  std::string fault;
  (*facts)["valid"] = shape.Validate(&fault);
  if (!fault.empty()) {
    (*facts)["fault"] = fault;
  }
}

bool TellShape(const std::string& bytes, Json* facts) {
  const int version = vortan::ShapeDecoder::GetCodecVersionFromBuffer(bytes);
  const std::unique_ptr<vortan::ShapeDecoder> decoder(vortan::ShapeDecoder::CreateDecoder(version));
  if (decoder == nullptr) {
    return false;
  }
  decoder->set_allocation_budget(kBudget);
  decoder->set_buffer(bytes);
  geometry3d::Shape shape;
  if (!decoder->DecodeShape(&shape)) {
    return false;
  }
  *facts = {{"kind", "shape stream"}, {"version", version}, {"bytes", bytes.size()}};
  AddShape(shape, facts);
  const auto add_bits = [&](const char* name, bool has_values, int bits) {
    if (has_values) {
      (*facts)[name] = bits;
    }
  };
  add_bits("point_bits", !shape.points().empty(), decoder->point_bits());
  add_bits("normal_bits", !shape.normals().empty(), decoder->normal_bits());
  add_bits("tex_coord_bits", !shape.tex_coords().empty(), decoder->tex_coord_bits());
  return true;
}

bool TellBuilding(const std::string& bytes, Json* facts) {
  vortan::BuildingZDecoder decoder;
  decoder.mutable_budget()->set_bytes(kBudget);
  decoder.Init(bytes.data(), static_cast<int>(bytes.size()));
  geometry3d::BuildingZ building;
  if (!decoder.DecodeBuildingZ(&building)) {
    return false;
  }
  std::size_t points = 0;
  std::size_t indices = 0;
  for (const geometry3d::PolygonZ* polygon : building.polygons()) {
    points += polygon->points().size();
    indices += polygon->triangle_indices().size();
  }
  *facts = {{"kind", "building stream"},
            {"version", vortan::BuildingZEncoder::kCodecVersion},
            {"bytes", bytes.size()},
            {"polygons", building.polygons().size()},
            {"points", points},
            {"triangle_indices", indices},
            {"point_bits", decoder.point_bits()}};
  return true;
}

bool TellAnimatedShape(const std::string& bytes, Json* facts) {
  geometry3d::Shape shape;
  geometry3d::AnimationSet animations;
  if (!vortan::AnimatedShapeDecoder::DecodeFromBuffer(bytes, &shape, &animations, kBudget)) {
    return false;
  }
  *facts = {{"kind", "animated shape stream"},
            {"version", vortan::AnimatedShapeDecoder::GetCodecVersionFromBuffer(bytes)},
            {"bytes", bytes.size()},
            {"transforms", animations.transforms().size()},
            {"animations", animations.animations().size()}};
  AddShape(shape, facts);
  return true;
}

Outcome TellStream(StreamKind kind, const std::string& bytes, const std::string& where,
                   Json* facts) {
  try {
    const bool good = kind == StreamKind::kShape      ? TellShape(bytes, facts)
                      : kind == StreamKind::kBuilding ? TellBuilding(bytes, facts)
                                                      : TellAnimatedShape(bytes, facts);
    return good ? Outcome::Done()
                : Outcome::Fail(ExitCode::kDataError, "the stream cannot be decoded", where,
                                "--bits shows it field by field");
  } catch (const std::bad_alloc&) {
    return Damaged("the stream asks for more than 1 GiB of memory", where);
  } catch (const std::length_error&) {
    return Damaged("the stream has a negative count", where);
  }
}

Json DateOrNull(const vortan::JpegCommentDate& date) {
  return date.year() == vortan::JpegCommentDate::kYearUnknown ? Json(nullptr)
                                                              : Json(DateText(date));
}

Outcome TellJpeg(const std::string& bytes, const std::string& where, Json* facts) {
  JpegHeader header;
  std::string error;
  if (!ReadJpegHeader(bytes, &header, &error)) {
    return Damaged(error, where);
  }
  std::size_t comments = 0;
  for (const JpegSegment& segment : header.segments) {
    comments += segment.is_comment() ? 1 : 0;
  }
  *facts = {{"kind", "JPEG file"},
            {"width", header.width},
            {"height", header.height},
            {"comments", comments},
            {"date", DateOrNull(DateInHeader(header))}};
  return Outcome::Done();
}

Outcome TellXml(const std::string& bytes, const std::string& where, Json* facts) {
  nimbara::mmvector<nimbara::RefPtr<nimbara::spatial::PanoramaData>> records;
  nimbara::spatial::PanoramaXMLParser::Parse(
      QByteArray(bytes.data(), static_cast<int>(bytes.size())), &records);
  if (records.empty()) {
    return Damaged("no answer of the panorama service: no panorama is in it", where);
  }
  *facts = {{"kind", "panorama answer"}, {"panoramas", records.size()}};
  return Outcome::Done();
}

Outcome TellJson(const std::string& bytes, const std::string& where, Json* facts) {
  const auto answer = nlohmann::json::parse(bytes, nullptr, false);
  if (!answer.is_object() || !answer.contains("results") || !answer["results"].is_array()) {
    return Damaged("no answer of the elevation service: no results are in it", where);
  }
  const bool has_status = answer.contains("status") && answer["status"].is_string();
  *facts = {{"kind", "elevation answer"},
            {"status", has_status ? Json(answer["status"].get<std::string>()) : Json(nullptr)},
            {"results", answer["results"].size()}};
  return Outcome::Done();
}

}  // namespace

Outcome TellFacts(const std::string& bytes, const std::string& where, Json* facts) {
  const auto begins = [&](std::string_view text) { return bytes.rfind(text, 0) == 0; };
  if (const StreamKind kind = KindOfStream(bytes); kind != StreamKind::kNone) {
    return TellStream(kind, bytes, where, facts);
  }
  if (begins("\xFF\xD8")) {
    return TellJpeg(bytes, where, facts);
  }
  if (begins("*#")) {
    *facts = {{"kind", "comment block"}, {"date", DateOrNull(DateInComment(bytes))}};
    return Outcome::Done();
  }
  if (begins("<")) {
    return TellXml(bytes, where, facts);
  }
  if (begins("{")) {
    return TellJson(bytes, where, facts);
  }
  return Outcome::Fail(ExitCode::kDataError, "a file of no known kind", where,
                       "known are shape, building and animated shape streams, JPEG files and their "
                       "comments, and answers of the services");
}

}  // namespace command
}  // namespace pelorin
