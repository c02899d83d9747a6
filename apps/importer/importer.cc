// SPDX-License-Identifier: Apache-2.0
#include "apps/importer/importer.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "apps/dataset/dataset_writer.h"
#include "apps/dataset/street_panoramas.h"
#include "apps/importer/height_file.h"
#include "apps/importer/street_source.h"
#include "apps/importer/street_tags.h"

namespace pelorin {

namespace {

constexpr double kSmallestSpacing = 1.0;
constexpr double kLargestSpacing = 1000.0;
constexpr std::size_t kSniffedBytes = 4096;
constexpr std::size_t kRecordsPerReport = 1000;
// A suggested tour is a walk of a quarter of an hour.
constexpr double kTourMetres = 800.0;

class WriteFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class OptionFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class NoStreets : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return text;
}

// The file's name without these endings, however many of them it has.
std::string NameWithout(const std::string& path, const std::vector<std::string>& endings) {
  std::string name = std::filesystem::path(path).filename().string();
  const auto find_ending = [&] {
    return std::find_if(endings.begin(), endings.end(), [&name](const std::string& ending) {
      return EndsWith(LowerCase(name), ending);
    });
  };
  for (auto found = find_ending(); found != endings.end(); found = find_ending()) {
    name.resize(name.size() - found->size());
  }
  return name;
}

// What a file is about, however it is written down.
std::string SubjectOf(const std::string& path) {
  return NameWithout(path, {".gz", ".bz2", ".osm", ".xml", ".pbf", ".geojson", ".json", ".gpx",
                            ".hgt", ".tif", ".tiff", ".asc"});
}

ImportFormat FormatOfStart(const std::string& start) {
  const std::size_t first = start.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  const std::string magic = start.substr(0, 4);
  if (magic == std::string("II*\0", 4) || magic == std::string("MM\0*", 4) ||
      LowerCase(magic) == "ncol") {
    return ImportFormat::kHeights;
  }
  if (start.find("OSMHeader") < 32) {
    return ImportFormat::kOsmPbf;
  }
  if (first != std::string::npos && start[first] == '{') {
    return ImportFormat::kGeoJson;
  }
  if (start.find("<osm") != std::string::npos) {
    return ImportFormat::kOsmXml;
  }
  return start.find("<gpx") != std::string::npos ? ImportFormat::kGpx : ImportFormat::kAuto;
}

ImportFormat FormatOf(const ImportInput& input) {
  if (input.format != ImportFormat::kAuto) {
    return input.format;
  }
  const std::string name = LowerCase(NameWithout(input.path, {".gz", ".bz2"}));
  const std::pair<const char*, ImportFormat> endings[] = {
      {".osm", ImportFormat::kOsmXml},      {".pbf", ImportFormat::kOsmPbf},
      {".geojson", ImportFormat::kGeoJson}, {".json", ImportFormat::kGeoJson},
      {".gpx", ImportFormat::kGpx},         {".hgt", ImportFormat::kHeights},
      {".tif", ImportFormat::kHeights},     {".tiff", ImportFormat::kHeights},
      {".asc", ImportFormat::kHeights},
  };
  for (const auto& [ending, format] : endings) {
    if (EndsWith(name, ending)) {
      return format;
    }
  }
  std::string start;
  ReadUnpacked(input.path, [&start](const std::string& bytes) {
    start += bytes.substr(0, kSniffedBytes);
    return start.size() < kSniffedBytes;
  });
  const ImportFormat format = FormatOfStart(start);
  if (format == ImportFormat::kAuto) {
    throw InputFault(input.path +
                     ": neither OpenStreetMap data nor GeoJSON nor GPX nor heights, "
                     "as far as name and first bytes tell; give its format by -f if it is");
  }
  return format;
}

std::uint64_t CheckedSize(const std::string& path) {
  std::error_code code;
  if (path.empty() || path.find('\0') != std::string::npos) {
    throw OptionFault("an input without a file name");
  }
  const std::filesystem::file_status status = std::filesystem::status(path, code);
  if (!std::filesystem::exists(status)) {
    throw InputFault(path + ": no such file");
  }
  if (!std::filesystem::is_regular_file(status)) {
    throw InputFault(path + ": not a file");
  }
  const std::uint64_t size = std::filesystem::file_size(path, code);
  if (code || size == 0) {
    throw InputFault(path + ": " + (code ? code.message() : std::string("empty")));
  }
  return size;
}

class Run {
 public:
  Run(const ImportOptions& options, ImportResult* result) : options_(options), result_(result) {}

  void Go() {
    CheckOptions();
    ReadInputs();
    std::unique_ptr<StreetPanoramas> panoramas = Build();
    Write(*panoramas);
  }

  // What was counted is worth telling also if the import failed later.
  void ReportSource() {
    result_->warnings = std::move(source_.warnings);
    result_->warning_count = source_.warning_count;
    result_->lines_read = source_.lines_read;
  }

 private:
  void CheckOptions() {
    if (options_.inputs.empty()) {
      throw OptionFault("no input");
    }
    if (options_.output.empty()) {
      throw OptionFault("no output");
    }
    if (!(options_.spacing_m >= kSmallestSpacing && options_.spacing_m <= kLargestSpacing)) {
      throw OptionFault("the spacing must lie in 1 to 1000 metres");
    }
    if (!options_.date.empty() && SeenDate(options_.date).empty()) {
      throw OptionFault("\"" + options_.date +
                        "\" is no date; give it as 2017-12-31, 2017-12 or 2017");
    }
    for (const ImportInput& input : options_.inputs) {
      std::error_code ignored;
      if (std::filesystem::equivalent(input.path, options_.output, ignored)) {
        throw OptionFault(input.path + ": is both input and output");
      }
    }
    // Known before the work and not after it.
    std::string error;
    if (!DatasetWriter::CanWrite(options_.output, &error)) {
      throw WriteFault(error);
    }
  }

  void Report(ImportProgress::Phase phase, std::uint64_t done, std::uint64_t total) {
    if (options_.on_progress && !options_.on_progress({phase, done, std::max(done, total)})) {
      throw Cancelled();
    }
  }

  void ReadInputs() {
    std::uint64_t total = 0;
    for (const ImportInput& input : options_.inputs) {
      total += CheckedSize(input.path);
    }
    std::uint64_t done = 0;
    Report(ImportProgress::Phase::kReading, 0, total);
    for (const ImportInput& input : options_.inputs) {
      const std::uint64_t size = CheckedSize(input.path);
      const ImportFormat format = FormatOf(input);
      const bool is_osm = format == ImportFormat::kOsmXml || format == ImportFormat::kOsmPbf;
      std::uint64_t read = 0;
      source_.on_bytes = [&](std::uint64_t bytes) {
        // OpenStreetMap data is read twice, packed files grow: no input counts for more than its
        // size.
        read += bytes;
        Report(ImportProgress::Phase::kReading, done + std::min(size, is_osm ? read / 2 : read),
               total);
      };
      Read(input.path, format);
      done += size;
      Report(ImportProgress::Phase::kReading, done, total);
    }
    source_.on_bytes = nullptr;
  }

  void Read(const std::string& path, ImportFormat format) {
    switch (format) {
    case ImportFormat::kGeoJson:
      ReadGeoJsonLines(path, &source_);
      return;
    case ImportFormat::kGpx:
      ReadGpx(path, &source_);
      return;
    case ImportFormat::kHeights:
      ReadHeights(path);
      return;
    case ImportFormat::kOsmXml:
    case ImportFormat::kOsmPbf:
    case ImportFormat::kAuto:
      ReadOsm(path, format, &source_);
      return;
    }
  }

  void ReadHeights(const std::string& path) {
    if (PackingOf(path) != Packing::kNone) {
      throw InputFault(path + ": heights are not read out of a packed file; unpack it first");
    }
    HeightGrid grid = ReadHeightFile(path);
    grid.info.name = HeightGridName(SubjectOf(path));
    const std::string fault = FaultOf(grid.info);
    if (!fault.empty()) {
      throw InputFault(path + ": " + fault);
    }
    result_->height_samples += grid.samples.size();
    result_->missing_heights += static_cast<std::uint64_t>(
        std::count_if(grid.samples.begin(), grid.samples.end(),
                      [](float metres) { return !std::isfinite(metres); }));
    grids_.push_back(std::move(grid));
  }

  std::string Attribution() const {
    if (!options_.attribution.empty()) {
      return options_.attribution;
    }
    return source_.has_osm_data ? "© OpenStreetMap contributors" : source_.attribution;
  }

  void DateTheUndated() {
    for (Street& street : source_.streets) {
      if (street.image_date.empty()) {
        street.image_date = SeenDate(options_.date);
      }
    }
  }

  std::unique_ptr<StreetPanoramas> Build() {
    DateTheUndated();
    StreetPanoramas::Options options;
    options.spacing_m = options_.spacing_m;
    options.depth_maps = options_.depth_maps;
    options.copyright = Attribution();
    options.on_progress = [this](std::uint64_t done, std::uint64_t total) {
      Report(ImportProgress::Phase::kBuilding, done, total);
      return true;
    };
    std::unique_ptr<StreetPanoramas> panoramas;
    if (StreetPanoramas::Build(std::move(source_.streets), options, &panoramas) !=
        StreetPanoramas::Outcome::kBuilt) {
      throw InputFault("more than " + std::to_string(options.max_panoramas) +
                       " panoramas: widen the spacing or cut the input");
    }
    if (panoramas->size() == 0 && grids_.empty()) {
      throw NoStreets("no street in " + options_.inputs.front().path +
                      (options_.inputs.size() > 1 ? " and the other inputs" : "") +
                      ", and no heights");
    }
    const StreetPanoramas::Statistics& statistics = panoramas->statistics();
    result_->streets_used = statistics.streets_used;
    result_->junctions = statistics.junctions;
    result_->street_metres = statistics.metres;
    if (statistics.gaps > 0) {
      source_.Warn(std::to_string(statistics.gaps) +
                   " steps of more than 10 km are taken for gaps");
    }
    return panoramas;
  }

  // A walk of some length around the middle of the largest scene.
  void SuggestTour(const StreetPanoramas& panoramas, DatasetInfo* info) const {
    std::vector<LatLng> places;
    LatLng middle;
    for (std::size_t i = 0; i < panoramas.size(); ++i) {
      if (panoramas.SceneOf(i) == 1) {
        places.push_back(panoramas.PlaceOf(i));
        middle.lat_deg += places.back().lat_deg;
        middle.lng_deg += places.back().lng_deg;
      }
    }
    middle.lat_deg /= static_cast<double>(places.size());
    middle.lng_deg /= static_cast<double>(places.size());
    const auto nearest_to = [&places](const LatLng& from, double wanted_m) {
      return *std::min_element(places.begin(), places.end(), [&](const LatLng& a, const LatLng& b) {
        return std::fabs(DistanceMetres(from, a) - wanted_m) <
               std::fabs(DistanceMetres(from, b) - wanted_m);
      });
    };
    info->tour_from = nearest_to(middle, 0.0);
    info->tour_to = nearest_to(*info->tour_from, kTourMetres);
  }

  void Write(const StreetPanoramas& panoramas) {
    std::string error;
    const std::unique_ptr<DatasetWriter> writer = DatasetWriter::ToFile(options_.output, &error);
    if (writer == nullptr) {
      throw WriteFault(error);
    }
    for (std::size_t i = 0; i < panoramas.size(); ++i) {
      if (i % kRecordsPerReport == 0) {
        Report(ImportProgress::Phase::kWriting, i, panoramas.size());
      }
      const PanoRecord record = panoramas.MakeRecord(i);
      result_->dated_panoramas += record.image_date.empty() ? 0 : 1;
      if (!writer->Add(record, &error)) {
        throw WriteFault(error);
      }
    }
    for (const HeightGrid& grid : grids_) {
      Report(ImportProgress::Phase::kWriting, panoramas.size(), panoramas.size());
      if (!writer->AddHeightGrid(grid, &error)) {
        throw WriteFault(error);
      }
    }
    Report(ImportProgress::Phase::kWriting, panoramas.size(), panoramas.size());
    DatasetInfo info;
    info.name = options_.name.empty() ? SubjectOf(options_.inputs.front().path) : options_.name;
    info.attribution = Attribution();
    if (panoramas.size() > 0) {
      SuggestTour(panoramas, &info);
    }
    const std::unique_ptr<Dataset> dataset = writer->Finish(info, &error);
    if (dataset == nullptr) {
      throw WriteFault(error);
    }
    result_->counts = dataset->counts();
  }

  const ImportOptions& options_;
  ImportResult* result_;
  StreetSource source_;
  std::vector<HeightGrid> grids_;
};

// The one place where what the readers throw becomes a result.
void RunInto(Run* run, ImportResult* result) {
  const auto fail = [result](ImportStatus status, const std::string& why) {
    result->status = status;
    result->error = why;
  };
  try {
    run->Go();
  } catch (const Cancelled&) {
    fail(ImportStatus::kCancelled, "cancelled");
  } catch (const OptionFault& fault) {
    fail(ImportStatus::kBadOptions, fault.what());
  } catch (const NoStreets& fault) {
    fail(ImportStatus::kNoStreets, fault.what());
  } catch (const WriteFault& fault) {
    fail(ImportStatus::kWriteFailed, fault.what());
  } catch (const InputFault& fault) {
    fail(ImportStatus::kBadInput, fault.what());
  } catch (const std::bad_alloc&) {
    fail(ImportStatus::kBadInput, "the inputs do not fit into memory");
  } catch (const std::exception& fault) {
    fail(ImportStatus::kBadInput, fault.what());
  }
}

}  // namespace

std::optional<ImportFormat> ImportFormatFromName(std::string_view name) {
  if (name == "osm") {
    return ImportFormat::kOsmXml;
  }
  if (name == "pbf") {
    return ImportFormat::kOsmPbf;
  }
  if (name == "geojson") {
    return ImportFormat::kGeoJson;
  }
  if (name == "heights") {
    return ImportFormat::kHeights;
  }
  return name == "gpx" ? std::optional<ImportFormat>(ImportFormat::kGpx) : std::nullopt;
}

ImportResult Import(const ImportOptions& options) {
  ImportResult result;
  Run run(options, &result);
  RunInto(&run, &result);
  run.ReportSource();
  return result;
}

}  // namespace pelorin
