// SPDX-License-Identifier: Apache-2.0
// The corridors over the streets of the harbour town and of real extracts: beside a twin that looks
// at every link, and as what holds a camera.
#include <gtest/gtest.h>

#include <QString>
#include <cmath>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "apps/dataset/dataset.h"
#include "apps/dataset/harbour_town.h"
#include "apps/importer/importer.h"
#include "spatial/graph/multi_constraint_builder.h"
#include "spatial/graph/pano_graph.h"
#include "tests/support/corridor_twin.h"
#include "tests/support/record_builder.h"
#include "tests/support/temporary_folder.h"

namespace pelorin {
namespace {

using nimbara::Vec2;
using nimbara::spatial::MultiConstraintBuilder;
using nimbara::spatial::PanoGraph;
using nimbara::test_support::CorridorTwin;

constexpr std::uint32_t kSeed = 20261121;
constexpr double kMetre = 1.0 / 20015000.0;  // In stored units; half a great circle is one.
constexpr double kRounding = 1e-12;          // Ten micrometres.

// The parameter is an extract to import; without one, the streets are those of the town.
class StreetCorridors : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    const std::string extract = GetParam();
    if (!extract.empty() && !std::filesystem::exists(extract))
      GTEST_SKIP() << "the real data is not here: " << extract;
    const std::unique_ptr<Dataset> dataset =
        extract.empty() ? MakeHarbourTown(nullptr) : Imported(extract);
    ASSERT_NE(dataset, nullptr);
    std::vector<PanoRecord> records;
    dataset->FindInBox(dataset->bounds(), 100000, &records, nullptr);
    Enter(records);
  }
  ~StreetCorridors() override { streets_.DeleteConstraintBuilders(); }

  std::unique_ptr<Dataset> Imported(const std::string& extract) {
    ImportOptions options;
    options.inputs = {{extract}};
    options.output = folder_.File("streets.pelorin");
    options.depth_maps = false;
    const ImportResult result = Import(options);
    EXPECT_EQ(result.status, ImportStatus::kDone) << result.error;
    return Dataset::Open(options.output, nullptr);
  }

  void Enter(const std::vector<PanoRecord>& records) {
    std::map<std::string, std::size_t> index;
    for (const PanoRecord& record : records)
      index.emplace(record.id, index.size());
    for (const PanoRecord& record : records) {
      CorridorTwin::Pano pano;
      pano.place = {record.place.lng_deg / 180.0, record.place.lat_deg / 180.0};
      std::vector<QString> linked;
      for (const PanoLink& link : record.links) {
        linked.push_back(QString::fromStdString(link.pano_id));
        pano.links.push_back(index.at(link.pano_id));
      }
      const QString id = QString::fromStdString(record.id);
      const auto data = nimbara::test_support::MakeRecord(id, {pano.place.x, pano.place.y, 0.0},
                                                          linked, record.scene);
      pano.radius = data->collision_radius;
      graph_.AddPano(id, data.get());
      ids_.push_back(id);
      index_.emplace(id, panos_.size());
      panos_.push_back(pano);
    }
  }

  // The scale that makes corridors of this half width.
  double ScaleToMetres(double half_width_m) const {
    return half_width_m * kMetre / panos_.front().radius;
  }
  void Activate(const QString& id, const CorridorTwin::Measures& measures) {
    streets_.SetActivePano(id, measures.scale, measures.offset);
  }

  test_support::TemporaryFolder folder_;
  PanoGraph graph_;
  MultiConstraintBuilder streets_{graph_};
  std::vector<CorridorTwin::Pano> panos_;
  std::vector<QString> ids_;
  std::map<QString, std::size_t> index_;
  std::mt19937 random_{kSeed};
};

// The twin's result of the largest depth: a fillet only where it is deeper than every corridor.
double Deepest(const std::vector<CorridorTwin::Result>& results) {
  double deepest = -std::numeric_limits<double>::max();
  for (const CorridorTwin::Result& result : results)
    deepest = std::max(deepest, result.depth);
  return deepest;
}

bool Near(const Vec2<double>& a, const Vec2<double>& b, double tolerance) {
  return std::abs(a.x - b.x) <= tolerance && std::abs(a.y - b.y) <= tolerance;
}

// True if one of the results that are as deep as `depth` has this edge point and normal.
bool Explains(const std::vector<CorridorTwin::Result>& results, double depth,
              const MultiConstraintBuilder& streets, const Vec2<double>& view) {
  for (const CorridorTwin::Result& result : results) {
    const double from_edge = std::hypot(result.edge.x - view.x, result.edge.y - view.y);
    // A normal is as exact as the distance that it is made from is long.
    const double normal_error = 1e-3 + kRounding / std::max(from_edge, 1e-3 * kMetre);
    if (std::abs(result.depth - depth) <= kRounding &&
        Near(result.edge, streets.GetCollisionPoint(), 1e-9) &&
        Near(result.normal, streets.GetCollisionNormal(), normal_error)) {
      return true;
    }
  }
  return false;
}

TEST_P(StreetCorridors, AreThoseOfTheTwinAtRandomViews) {
  const std::vector<CorridorTwin::Measures> all_measures = {
      {ScaleToMetres(3.0), 0.0, 2.0}, {ScaleToMetres(1.0), 1.5 * kMetre, 2.0}, {1.0, 0.0, 2.0}};
  std::uniform_int_distribution<std::size_t> any(0, panos_.size() - 1);
  std::uniform_real_distribution<double> metres(-25.0, 25.0);
  const CorridorTwin town(panos_);
  int ambiguous = 0;
  int at_fillets = 0;
  int outside = 0;
  constexpr int kViews = 9000;
  for (int i = 0; i < kViews; ++i) {
    const std::size_t active = any(random_);
    const CorridorTwin::Measures& measures = all_measures[static_cast<std::size_t>(i) % 3];
    streets_.SetActivePano(QString(), 1.0, 0.0);
    Activate(ids_[active], measures);
    const Vec2<double> view{panos_[active].place.x + metres(random_) * kMetre,
                            panos_[active].place.y + metres(random_) * kMetre};
    streets_.SetView(view, 0.0);
    const CorridorTwin::Answer twin = town.Look(active, view, measures);
    if (twin.ambiguous) {
      ++ambiguous;
      continue;
    }
    const double corridor = Deepest(twin.corridors);
    const double fillet = Deepest(twin.fillets);
    const double depth = std::max(corridor, fillet);
    ASSERT_NEAR(streets_.GetCollisionDepth(), depth, kRounding)
        << "seed " << kSeed << ", view " << i << " at " << ids_[active].toStdString();
    ASSERT_TRUE(Explains(fillet > corridor ? twin.fillets : twin.corridors, depth, streets_, view))
        << "seed " << kSeed << ", view " << i << " at " << ids_[active].toStdString();
    at_fillets += fillet > corridor ? 1 : 0;
    outside += depth < 0.0 ? 1 : 0;
  }
  EXPECT_LT(ambiguous, kViews / 100);
  EXPECT_GT(at_fillets, kViews / 30);
  EXPECT_GT(outside, kViews / 10);
}

TEST_P(StreetCorridors, HoldACameraThatIsPushedAboutAndCorrected) {
  const CorridorTwin::Measures measures{ScaleToMetres(3.0), 0.0, 2.0};
  std::uniform_int_distribution<std::size_t> any(0, panos_.size() - 1);
  std::uniform_real_distribution<double> turn(-3.14159265358979323846, 3.14159265358979323846);
  std::uniform_real_distribution<double> step(0.0, 4.0 * kMetre);
  int corrected = 0;
  int most = 0;
  double worst_after_one = 0.0;
  std::map<QString, int> visited;
  for (int walk = 0; walk < 40; ++walk) {
    std::size_t start = any(random_);
    while (panos_[start].links.empty())
      start = any(random_);
    Activate(ids_[start], measures);
    Vec2<double> camera = panos_[start].place;
    double heading = turn(random_);
    for (int i = 0; i < 500; ++i) {
      heading += 0.2 * turn(random_);
      const double length = step(random_);
      camera.x += length * std::sin(heading);
      camera.y += length * std::cos(heading);
      streets_.SetView(camera, heading);
      int corrections = 0;
      while (streets_.GetCollisionDepth() < -kRounding && corrections < 10) {
        camera = streets_.GetCollisionPoint();
        streets_.SetView(camera, heading);
        worst_after_one = std::min(worst_after_one, streets_.GetCollisionDepth());
        ++corrections;
      }
      corrected += corrections > 0 ? 1 : 0;
      most = std::max(most, corrections);
      ASSERT_LE(corrections, 2) << "seed " << kSeed << ", walk " << walk << ", step " << i;
      ASSERT_GE(streets_.GetCollisionDepth(), -kRounding);
      const QString best = streets_.GetBestPano();
      ++visited[best];
      Activate(best, measures);
      // Another centre sees the same streets under the camera, but not always the same fillets.
      ASSERT_LT(streets_.GetCollisionDepth(), std::numeric_limits<double>::max());
    }
  }
  EXPECT_GT(corrected, 1000);
  EXPECT_GT(visited.size(), panos_.size() / 10);
  // One correction leaves no more than the step at the border of a fillet.
  EXPECT_GT(worst_after_one, -0.3 * kMetre);
  RecordProperty("most_corrections", most);
  RecordProperty("worst_after_one_mm", static_cast<int>(worst_after_one / kMetre * 1000.0));
}

std::string NameOf(const testing::TestParamInfo<const char*>& extract) {
  static const char* const kNames[] = {"TheTown", "WestOakland", "Monaco", "Neukoelln"};
  return kNames[extract.index];
}

INSTANTIATE_TEST_SUITE_P(Of, StreetCorridors,
                         testing::Values("", PELORIN_OSMNX_DATA "/West-Oakland.osm.bz2",
                                         PELORIN_SHARED_DATA "/osm/monaco.osm.pbf",
                                         PELORIN_SHARED_DATA "/osm/berlin-neukoelln.osm"),
                         NameOf);

}  // namespace
}  // namespace pelorin
