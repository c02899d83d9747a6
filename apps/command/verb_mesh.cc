// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <cstddef>
#include <filesystem>
#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "apps/buildings/stream_file.h"
#include "apps/command/input_file.h"
#include "apps/command/mesh_report.h"
#include "apps/command/number_check.h"
#include "apps/command/obj_files.h"
#include "apps/command/output_file.h"
#include "apps/command/verbs.h"
#include "apps/mesh/mesh_file.h"
#include "apps/mesh/mesh_order.h"
#include "apps/mesh/mesh_page.h"
#include "apps/mesh/mesh_stream.h"
#include "apps/mesh/scene_writer.h"

namespace pelorin {
namespace command {
namespace {

using geometry3d::Shape;
using mesh::MeshFormat;

/// Larger files are no meshes that a stream could hold.
constexpr std::size_t kMostBytes = std::size_t{1} << 31;
/// Options by what they are for.
const char* const kStreamGroup = "Stream, with encode and info";
const char* const kInfoGroup = "Info";

struct MeshFlags {
  std::string action;
  std::string input;
  std::string output = "-";
  std::string format;
  std::string source;
  mesh::StreamSettings settings;
  double max_error = 0;
  bool optimize = false;
  bool json = false;
  bool html = false;
  bool overwrite = false;
};

Outcome DataError(const std::string& what, const std::string& where,
                  const std::string& to_do = "") {
  return Outcome::Fail(ExitCode::kDataError, what, where, to_do);
}

/// The bytes of a file, which may be another verb's.
Outcome ReadAny(const std::string& path, std::string* bytes) {
  Outcome outcome = ReadInput(path, kMostBytes, bytes);
  if (outcome.ok() && IsBuildingStream(*bytes)) {
    return DataError("it is a building stream", InputName(path), "see 'pelorin building'");
  }
  return outcome;
}

/// The bytes of a file and the format that they are in: what the user says, what they say
/// themselves, what their name says.
Outcome ReadBytes(const std::string& path, const std::string& said, std::string* bytes,
                  MeshFormat* format) {
  if (Outcome outcome = ReadAny(path, bytes); !outcome.ok()) {
    return outcome;
  }
  *format = said.empty() ? mesh::FormatOfBytes(*bytes) : mesh::FormatOfName(said);
  if (*format == MeshFormat::kUnknown) {
    *format = mesh::FormatOfPath(path);
  }
  if (*format == MeshFormat::kUnknown) {
    return DataError("its format is unknown", InputName(path), "give -f obj, ply, glb or shape");
  }
  return Outcome::Done();
}

Outcome ReadShape(const std::string& path, const std::string& bytes, MeshFormat format,
                  const Session& session, Shape* shape) {
  std::string error;
  std::vector<std::string> warnings;
  if (!mesh::ReadMeshFile(bytes, path, format, shape, &error, &warnings)) {
    return DataError(error, InputName(path));
  }
  for (const std::string& warning : warnings) {
    session.Tell("pelorin mesh: warning: " + InputName(path) + ": " + warning);
  }
  return Outcome::Done();
}

/// Encodes as the flags say. With --optimize, `*shape` is put into the order of the stream.
Outcome Encode(const MeshFlags& flags, Shape* shape, mesh::CodedMesh* coded) {
  std::string error;
  const auto encode = [&] {
    return flags.max_error > 0
               ? mesh::EncodeWithin(*shape, flags.settings, flags.max_error, coded, &error)
               : mesh::EncodeMesh(*shape, flags.settings, coded, &error);
  };
  bool encoded = encode();
  if (encoded && flags.optimize) {
    Shape ordered;
    mesh::OrderForSize(*shape, coded->settings, &ordered);
    shape->CopyFrom(ordered);
    encoded = encode();
  }
  return encoded ? Outcome::Done()
                 : DataError(error, InputName(flags.input),
                             "give fewer bits or a larger error, or move the mesh nearer to zero");
}

Outcome RunEncode(const MeshFlags& flags, const Session& session) {
  if (Outcome outcome = CheckMayWrite(flags.output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  std::string bytes;
  MeshFormat format;
  if (Outcome outcome = ReadBytes(flags.input, flags.format, &bytes, &format); !outcome.ok()) {
    return outcome;
  }
  Shape shape;
  if (Outcome outcome = ReadShape(flags.input, bytes, format, session, &shape); !outcome.ok()) {
    return outcome;
  }
  mesh::CodedMesh coded;
  if (Outcome outcome = Encode(flags, &shape, &coded); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = WriteOutput(flags.output, flags.overwrite, coded.bytes); !outcome.ok()) {
    return outcome;
  }
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << mesh::CountTriangles(shape) << " triangles in " << coded.bytes.size() << " bytes, "
       << coded.settings.point_bits << " bits for points, every point within " << coded.error.max;
  session.Tell(text.str());
  return Outcome::Done();
}

Outcome RunDecode(const MeshFlags& flags) {
  const MeshFormat format =
      flags.format.empty() ? mesh::FormatOfPath(flags.output) : mesh::FormatOfName(flags.format);
  if (format == MeshFormat::kUnknown || format == MeshFormat::kStream) {
    return Outcome::Fail(ExitCode::kWrongUsage, "no mesh format is known by this name",
                         flags.output, "give -f obj, ply or glb");
  }
  if (Outcome outcome = CheckMayWrite(flags.output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  std::string bytes;
  if (Outcome outcome = ReadAny(flags.input, &bytes); !outcome.ok()) {
    return outcome;
  }
  Shape shape;
  std::string error;
  if (!mesh::DecodeMesh(bytes, &shape, nullptr, &error)) {
    return DataError(error, InputName(flags.input));
  }
  if (format == MeshFormat::kObj) {
    return WriteObjFiles(shape, flags.output, flags.overwrite);
  }
  std::string file;
  if (!mesh::WriteScene(shape, mesh::NameOfFormat(format), &file, &error)) {
    return DataError(error, InputName(flags.input));
  }
  return WriteOutput(flags.output, flags.overwrite, file);
}

/// Of a stream: what it holds, its sections if it is as our encoder would write it, and its
/// distance from --source. `*before` becomes the source.
Outcome ReportStream(const MeshFlags& flags, const Session& session, const std::string& bytes,
                     MeshReport* report, Shape* before, Shape* after) {
  std::string error;
  if (!mesh::DecodeMesh(bytes, after, &report->settings, &error)) {
    return DataError(error, InputName(flags.input));
  }
  report->stream_bytes = bytes.size();
  mesh::CodedMesh again;
  if (mesh::EncodeMesh(*after, report->settings, &again, &error) && again.bytes == bytes) {
    report->sections = again.stats;
  }
  CountMesh(*after, report);
  if (flags.source.empty()) {
    return Outcome::Done();
  }
  std::string source;
  MeshFormat format;
  if (Outcome outcome = ReadBytes(flags.source, "", &source, &format); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = ReadShape(flags.source, source, format, session, before); !outcome.ok()) {
    return outcome;
  }
  mesh::MeshError distance;
  if (!mesh::CompareMeshes(*before, *after, &distance)) {
    return DataError("the stream has other triangles, or the same in another order", flags.source,
                     "give the mesh that it was made from");
  }
  report->error = distance;
  return Outcome::Done();
}

/// Of a mesh: what its stream under the flags would be.
Outcome ReportMesh(const MeshFlags& flags, const Session& session, const std::string& bytes,
                   MeshFormat format, MeshReport* report, Shape* before, Shape* after) {
  if (Outcome outcome = ReadShape(flags.input, bytes, format, session, before); !outcome.ok()) {
    return outcome;
  }
  mesh::CodedMesh coded;
  if (Outcome outcome = Encode(flags, before, &coded); !outcome.ok()) {
    return outcome;
  }
  CountMesh(*before, report);
  report->settings = coded.settings;
  report->stream_bytes = coded.bytes.size();
  report->sections = coded.stats;
  report->error = coded.error;
  after->CopyFrom(coded.decoded);
  return Outcome::Done();
}

Outcome RunInfo(const MeshFlags& flags, const Session& session) {
  if (Outcome outcome = CheckMayWrite(flags.output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  std::string bytes;
  MeshReport report;
  MeshFormat format;
  if (Outcome outcome = ReadBytes(flags.input, flags.format, &bytes, &format); !outcome.ok()) {
    return outcome;
  }
  report.file = std::filesystem::path(flags.input).filename().string();
  report.format = mesh::NameOfFormat(format);
  Shape before;
  Shape after;
  const bool stream = format == MeshFormat::kStream;
  if (stream && flags.html && flags.source.empty()) {
    return Outcome::Fail(ExitCode::kWrongUsage, "a page needs the mesh before coding too",
                         flags.input, "give --source FILE");
  }
  if (Outcome outcome = stream
                            ? ReportStream(flags, session, bytes, &report, &before, &after)
                            : ReportMesh(flags, session, bytes, format, &report, &before, &after);
      !outcome.ok()) {
    return outcome;
  }
  const std::string text = flags.html   ? mesh::MeshPage(before, after, MeshReportJson(report))
                           : flags.json ? MeshReportJson(report) + "\n"
                                        : MeshReportText(report);
  return WriteOutput(flags.output, flags.overwrite, text);
}

Outcome RunValidate(const MeshFlags& flags, const Session& session) {
  std::string bytes;
  MeshFormat format;
  if (Outcome outcome = ReadBytes(flags.input, flags.format, &bytes, &format); !outcome.ok()) {
    return outcome;
  }
  Shape shape;
  if (Outcome outcome = ReadShape(flags.input, bytes, format, session, &shape); !outcome.ok()) {
    return outcome;
  }
  session.Tell(InputName(flags.input) + ": a valid mesh, " +
               std::to_string(mesh::CountTriangles(shape)) + " triangles");
  return Outcome::Done();
}

/// Fails for an option of another action.
Outcome CheckUsed(const CLI::App& verb, const std::string& action) {
  for (const CLI::Option* option : verb.get_options()) {
    const bool is_of_streams = option->get_group() == kStreamGroup;
    const bool is_used = action == "info" || (is_of_streams && action == "encode");
    if (option->count() > 0 && !is_used && (is_of_streams || option->get_group() == kInfoGroup)) {
      return Outcome::Fail(ExitCode::kWrongUsage,
                           is_of_streams ? "belongs to 'encode' and 'info'" : "belongs to 'info'",
                           option->get_name(), "see 'pelorin mesh --help'");
    }
  }
  return Outcome::Done();
}

Outcome Run(const CLI::App& verb, const MeshFlags& flags, const Session& session) {
  if (Outcome outcome = CheckUsed(verb, flags.action); !outcome.ok()) {
    return outcome;
  }
  if (flags.action == "encode") {
    return RunEncode(flags, session);
  }
  if (flags.action == "decode") {
    return RunDecode(flags);
  }
  return flags.action == "info" ? RunInfo(flags, session) : RunValidate(flags, session);
}

void AddPrecision(CLI::App& verb, const std::string& names, const std::string& what, int* bits) {
  verb.add_option(names, *bits, "Bits of precision for " + what + ", -32 to 31; 8 unless given")
      ->type_name("N")
      ->check(CLI::Range(-32, 31).description(""))
      ->group(kStreamGroup);
}

}  // namespace

void AddMeshVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<MeshFlags>();
  CLI::App* const verb = app.add_subcommand("mesh", "Turn meshes into shape streams and back");
  verb->add_option(
          "action", flags->action,
          "A mesh file into a stream, a stream into a mesh file, what is in either and how far "
          "coding moves it, or whether it is sound")
      ->required()
      ->check(CLI::IsMember({"encode", "decode", "info", "validate"}));
  verb->add_option("input", flags->input, "Mesh or shape stream; '-' for standard input")
      ->type_name("FILE")
      ->required();
  verb->add_option("-o,--output", flags->output,
                   "File to write; '-', the default, for the terminal")
      ->type_name("FILE");
  verb->add_option("-f,--format", flags->format,
                   "Format of the mesh file; from its content or name otherwise")
      ->check(CLI::IsMember({"obj", "ply", "glb", "shape"}));
  verb->add_option("--version", flags->settings.version, "Version of the stream; 3 unless given")
      ->type_name("N")
      ->check(CLI::Range(1, 3).description(""))
      ->group(kStreamGroup);
  AddPrecision(*verb, "--points-bits", "points", &flags->settings.point_bits);
  AddPrecision(*verb, "--normal-bits", "normals", &flags->settings.normal_bits);
  AddPrecision(*verb, "--tex-bits", "texture coordinates", &flags->settings.tex_coord_bits);
  verb->add_option("--max-error", flags->max_error,
                   "Pick the bits that keep every point this close, in the mesh's units")
      ->type_name("LENGTH")
      ->check(NumberAboveZero())
      ->excludes("--points-bits")
      ->group(kStreamGroup);
  verb->add_flag("--optimize", flags->optimize, "Reorder triangles for size")->group(kStreamGroup);
  verb->add_option("--source", flags->source, "The mesh that a stream was made from")
      ->type_name("FILE")
      ->group(kInfoGroup);
  verb->add_flag("--json", flags->json, "One JSON object")->group(kInfoGroup);
  verb->add_flag("--html", flags->html, "A page that shows the mesh before and after coding")
      ->excludes("--json")
      ->group(kInfoGroup);
  verb->add_flag("--overwrite", flags->overwrite, "Replace the file if it is there");
  verb->footer("Meshes are OBJ with its MTL, PLY and GLB. A step of points is 1/2^N in version 3.\n"
               "Example: pelorin mesh encode city.obj --max-error 0.01 --optimize -o city.shape\n"
               "         pelorin mesh info city.obj --html -o city.html");
  verb->callback([flags, verb, &session] { session.outcome = Run(*verb, *flags, session); });
}

}  // namespace command
}  // namespace pelorin
