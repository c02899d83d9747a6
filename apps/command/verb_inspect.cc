// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "apps/command/input_file.h"
#include "apps/command/inspect/file_facts.h"
#include "apps/command/inspect/stream_walk.h"
#include "apps/command/output_file.h"
#include "apps/command/verbs.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

struct InspectFlags {
  std::string input;
  bool bits = false;
  bool json = false;
  std::string output = "-";
  bool overwrite = false;
};

/// One fact a line, "name: value".
std::string FactsText(const Json& facts) {
  std::string text;
  for (const auto& [name, value] : facts.items()) {
    text += name + ": " + (value.is_string() ? value.get<std::string>() : value.dump()) + "\n";
  }
  return text;
}

std::string FieldText(const BitField& field) {
  std::array<char, 32> numbers;
  std::snprintf(numbers.data(), numbers.size(), "%10zu %5zu  ", field.bit, field.width);
  std::string line = numbers.data() + field.path;
  line.resize(std::max<std::size_t>(line.size() + 2, 62), ' ');
  line += field.raw;
  line.resize(std::max<std::size_t>(line.size() + 2, 76), ' ');
  return line + (field.raw.empty() ? "beyond the end" : field.value) + "\n";
}

std::string FieldJson(const BitField& field) {
  const bool read = !field.raw.empty();
  return Json({{"bit", field.bit},
               {"width", field.width},
               {"path", field.path},
               {"raw", read ? Json(field.raw) : Json(nullptr)},
               {"value", read ? Json(field.value) : Json(nullptr)}})
             .dump() +
         "\n";
}

/// Shows fields up to the fault, if there is one, and then tells it.
Outcome ShowBits(const InspectFlags& flags, const std::string& bytes) {
  const StreamKind kind = KindOfStream(bytes);
  if (kind == StreamKind::kNone) {
    return Outcome::Fail(ExitCode::kDataError, "no stream of bits", flags.input,
                         "--bits is for shape, building and animated shape streams");
  }
  OutputFile out;
  if (Outcome outcome = out.Open(flags.output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  FieldReader reader(bytes, [&](const BitField& field) {
    out.Write(flags.json ? FieldJson(field) : FieldText(field));
  });
  std::string error;
  const bool whole = WalkStream(kind, &reader, &error);
  if (Outcome outcome = out.Commit(); !outcome.ok()) {
    return outcome;
  }
  return whole ? Outcome::Done()
               : Outcome::Fail(ExitCode::kDataError, error,
                               flags.input + ", bit " + std::to_string(reader.position()));
}

Outcome Inspect(const InspectFlags& flags) {
  if (Outcome outcome = CheckMayWrite(flags.output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  std::string bytes;
  if (Outcome outcome = ReadInput(flags.input, std::numeric_limits<int>::max(), &bytes);
      !outcome.ok()) {
    return outcome;
  }
  if (flags.bits) {
    return ShowBits(flags, bytes);
  }
  Json facts;
  if (Outcome outcome = TellFacts(bytes, flags.input, &facts); !outcome.ok()) {
    return outcome;
  }
  return WriteOutput(flags.output, flags.overwrite,
                     flags.json ? facts.dump(2) + "\n" : FactsText(facts));
}

}  // namespace

void AddInspectVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<InspectFlags>();
  CLI::App* const verb =
      app.add_subcommand("inspect", "Say what a stream, comment or answer holds");
  verb->add_option("FILE", flags->input, "What to look at; '-' for standard input")->required();
  verb->add_flag("--bits", flags->bits,
                 "Show a stream field by field: bit, width, path, raw and decoded value");
  verb->add_flag("--json", flags->json, "As JSON; with --bits one object a line");
  verb->add_option("-o,--output", flags->output,
                   "File to write; '-', the default, for the terminal")
      ->type_name("FILE");
  verb->add_flag("--overwrite", flags->overwrite, "Replace the file if it is there");
  verb->footer("Example: pelorin inspect --bits spot.shape");
  verb->callback([flags, &session] { session.outcome = Inspect(*flags); });
}

}  // namespace command
}  // namespace pelorin
