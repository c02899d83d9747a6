// SPDX-License-Identifier: Apache-2.0
// Heights between samples beside those of GDAL's warper, which carries the same grid over to one
// whose samples lie elsewhere.
#include <gdal.h>
#include <gdalwarper.h>
#include <gtest/gtest.h>
#include <ogr_srs_api.h>

#include <array>
#include <cmath>
#include <memory>
#include <random>
#include <type_traits>
#include <vector>

#include "apps/dataset/dataset_writer.h"

namespace pelorin {
namespace {

struct CloseDataset {
  void operator()(GDALDatasetH dataset) const { GDALClose(dataset); }
};
using DatasetHandle = std::unique_ptr<std::remove_pointer_t<GDALDatasetH>, CloseDataset>;

// GDAL places a picture by the corner of its first sample's cell, we a grid by the sample.
DatasetHandle InMemory(const HeightGridInfo& info) {
  DatasetHandle dataset(GDALCreate(GDALGetDriverByName("MEM"), "", static_cast<int>(info.columns),
                                   static_cast<int>(info.rows), 1, GDT_Float64, nullptr));
  std::array<double, 6> placing = {info.west_deg - info.lng_step_deg / 2.0,
                                   info.lng_step_deg,
                                   0.0,
                                   info.north_deg + info.lat_step_deg / 2.0,
                                   0.0,
                                   -info.lat_step_deg};
  GDALSetGeoTransform(dataset.get(), placing.data());
  GDALSetProjection(dataset.get(), SRS_WKT_WGS84_LAT_LONG);
  return dataset;
}

// All samples, from or to `numbers`.
void Transfer(GDALRWFlag way, const DatasetHandle& dataset, std::vector<double>* numbers) {
  const int columns = GDALGetRasterXSize(dataset.get());
  const int rows = GDALGetRasterYSize(dataset.get());
  numbers->resize(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
  ASSERT_EQ(GDALRasterIO(GDALGetRasterBand(dataset.get(), 1), way, 0, 0, columns, rows,
                         numbers->data(), columns, rows, GDT_Float64, 0, 0),
            CE_None);
}

struct Way {
  HeightInterpolation ours;
  GDALResampleAlg theirs;
};

class HeightsBesideGdal : public testing::TestWithParam<Way> {};

TEST_P(HeightsBesideGdal, AreTheSame) {
  GDALAllRegister();
  std::mt19937 draw(1963);
  HeightGrid grid;
  grid.info = {"random", 46.0, 7.0, 0.01, 0.02, 60, 80};
  std::vector<double> samples;
  for (std::int64_t i = 0; i < grid.info.rows * grid.info.columns; ++i) {
    grid.samples.push_back(static_cast<float>(draw() % 9000) - 400.0f);
    samples.push_back(grid.samples.back());
  }
  // Three of its samples for each of the first grid's along either axis, beside them, and away from
  // the edges, beyond which each of us goes on in a way of its own.
  const HeightGridInfo finer = {"finer",           45.963, 7.047, 0.01 / 3.0 + 1e-5,
                                0.02 / 3.0 - 1e-5, 150,    190};
  const DatasetHandle from = InMemory(grid.info);
  const DatasetHandle to = InMemory(finer);
  Transfer(GF_Write, from, &samples);
  ASSERT_EQ(GDALReprojectImage(from.get(), nullptr, to.get(), nullptr, GetParam().theirs, 0.0, 0.0,
                               nullptr, nullptr, nullptr),
            CE_None);
  std::vector<double> expected;
  Transfer(GF_Read, to, &expected);

  std::string error;
  const auto writer = DatasetWriter::InMemory(&error);
  ASSERT_TRUE(writer->AddHeightGrid(grid, &error)) << error;
  const std::unique_ptr<Dataset> dataset = writer->Finish({}, &error);
  std::vector<LatLng> places;
  for (std::int64_t row = 0; row < finer.rows; ++row) {
    for (std::int64_t column = 0; column < finer.columns; ++column) {
      places.push_back({finer.north_deg - static_cast<double>(row) * finer.lat_step_deg,
                        finer.west_deg + static_cast<double>(column) * finer.lng_step_deg});
    }
  }
  HeightQuery query;
  query.interpolation = GetParam().ours;
  std::vector<Height> heights;
  ASSERT_EQ(dataset->FindHeights(places, query, &heights, &error), Answer::kFound) << error;
  for (std::size_t i = 0; i < places.size(); ++i) {
    ASSERT_NEAR(heights[i].metres, expected[i], 1e-4)
        << places[i].lat_deg << ',' << places[i].lng_deg;
  }
}

INSTANTIATE_TEST_SUITE_P(All, HeightsBesideGdal,
                         testing::Values(Way{HeightInterpolation::kNearest, GRA_NearestNeighbour},
                                         Way{HeightInterpolation::kBilinear, GRA_Bilinear},
                                         Way{HeightInterpolation::kCubic, GRA_Cubic}));

}  // namespace
}  // namespace pelorin
