// SPDX-License-Identifier: Apache-2.0
// The module that reads height files.
#include <cpl_error.h>
#include <gdal.h>
#include <gdal_frmts.h>
#include <gdalwarper.h>
#include <ogr_srs_api.h>

#include <array>
#include <cmath>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "apps/importer/height_file.h"

namespace pelorin {
namespace {

constexpr double kMetresPerFoot = 0.3048;
constexpr std::int64_t kMaxSamples = 200000000;  // 800 MB; the largest common tiles have a sixth.
// How far a carried-over grid may lie beside the exact one, in samples.
constexpr double kWarpTolerance = 0.125;

struct CloseDataset {
  void operator()(GDALDatasetH dataset) const { GDALClose(dataset); }
};
using DatasetHandle = std::unique_ptr<std::remove_pointer_t<GDALDatasetH>, CloseDataset>;

// Keeps GDAL's messages from standard error.
class QuietErrors {
 public:
  QuietErrors() {
    CPLErrorReset();
    CPLPushErrorHandler(CPLQuietErrorHandler);
  }
  ~QuietErrors() { CPLPopErrorHandler(); }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;
};

[[noreturn]] void FailWith(const std::string& what) {
  const std::string why = CPLGetLastErrorMsg();
  throw std::runtime_error(why.empty() ? what : what + ": " + why);
}

DatasetHandle Open(const char* path) {
  static std::once_flag registered;
  std::call_once(registered, [] {
    GDALRegister_SRTMHGT();
    GDALRegister_GTiff();
    GDALRegister_AAIGrid();
    GDALRegister_VRT();  // In which a carried-over grid is described.
  });
  const std::array<const char*, 4> drivers = {"SRTMHGT", "GTiff", "AAIGrid", nullptr};
  DatasetHandle dataset(
      GDALOpenEx(path, GDAL_OF_RASTER | GDAL_OF_READONLY, drivers.data(), nullptr, nullptr));
  if (dataset == nullptr) {
    FailWith("neither SRTM tile nor GeoTIFF nor ASCII grid");
  }
  if (GDALGetRasterCount(dataset.get()) < 1) {
    FailWith("no heights in it");
  }
  return dataset;
}

// `dataset` itself where it is in degrees, or says nothing of that; otherwise its picture in
// degrees.
DatasetHandle InDegrees(DatasetHandle dataset, DatasetHandle* original) {
  const OGRSpatialReferenceH reference = GDALGetSpatialRef(dataset.get());
  if (reference == nullptr || OSRIsGeographic(reference) != 0) {
    return dataset;
  }
  DatasetHandle picture(GDALAutoCreateWarpedVRT(dataset.get(), nullptr, SRS_WKT_WGS84_LAT_LONG,
                                                GRA_Bilinear, kWarpTolerance, nullptr));
  if (picture == nullptr) {
    FailWith("its grid cannot be carried over to degrees");
  }
  *original = std::move(dataset);
  return picture;
}

void ReadPlace(GDALDatasetH dataset, HeightGridInfo* info) {
  std::array<double, 6> transform{};
  if (GDALGetGeoTransform(dataset, transform.data()) != CE_None) {
    FailWith("it does not say where it lies");
  }
  if (transform[2] != 0.0 || transform[4] != 0.0 || !(transform[1] > 0.0) ||
      !(transform[5] < 0.0)) {
    FailWith("its rows do not run from west to east, or its columns not from north to south");
  }
  info->rows = GDALGetRasterYSize(dataset);
  info->columns = GDALGetRasterXSize(dataset);
  if (info->rows * info->columns > kMaxSamples) {
    FailWith("more than " + std::to_string(kMaxSamples) + " samples");
  }
  info->lng_step_deg = transform[1];
  info->lat_step_deg = -transform[5];
  // The corner of its first cell, whose sample stands in the middle.
  info->west_deg = transform[0] + 0.5 * transform[1];
  info->north_deg = transform[3] + 0.5 * transform[5];
}

double MetresPerUnit(GDALRasterBandH band) {
  const std::string unit = GDALGetRasterUnitType(band);
  return unit == "ft" || unit == "foot" || unit == "feet" ? kMetresPerFoot : 1.0;
}

void ReadSamples(GDALDatasetH dataset, HeightGrid* grid) {
  const GDALRasterBandH band = GDALGetRasterBand(dataset, 1);
  const int columns = static_cast<int>(grid->info.columns);
  const int rows = static_cast<int>(grid->info.rows);
  grid->samples.resize(static_cast<std::size_t>(grid->info.rows * grid->info.columns));
  if (GDALRasterIO(band, GF_Read, 0, 0, columns, rows, grid->samples.data(), columns, rows,
                   GDT_Float32, 0, 0) != CE_None) {
    FailWith("its heights cannot be read");
  }
  int has_missing = 0;
  const float missing = static_cast<float>(GDALGetRasterNoDataValue(band, &has_missing));
  const double scale = GDALGetRasterScale(band, nullptr) * MetresPerUnit(band);
  const double offset = GDALGetRasterOffset(band, nullptr) * MetresPerUnit(band);
  for (float& sample : grid->samples) {
    const bool is_missing = (has_missing != 0 && sample == missing) || !std::isfinite(sample);
    sample = is_missing ? std::numeric_limits<float>::quiet_NaN()
                        : static_cast<float>(static_cast<double>(sample) * scale + offset);
  }
}

void Read(const char* path, HeightGrid* grid) {
  DatasetHandle original;  // Outlives its picture.
  const DatasetHandle dataset = InDegrees(Open(path), &original);
  ReadPlace(dataset.get(), &grid->info);
  ReadSamples(dataset.get(), grid);
}

}  // namespace
}  // namespace pelorin

extern "C" __attribute__((visibility("default"))) bool
PelorinReadHeightFile(const char* path, pelorin::HeightGrid* grid, std::string* error) {
  const pelorin::QuietErrors quiet;
  try {
    pelorin::Read(path, grid);
    return true;
  } catch (const std::exception& fault) {
    *error = fault.what();
    return false;
  }
}
