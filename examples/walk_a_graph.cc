// SPDX-License-Identifier: Apache-2.0
// From an answer of the panorama service to a planned walk, without any network: what a viewer does
// with answers that it has fetched by its own means.
#include <QByteArray>
#include <cstdio>

#include "spatial/graph/pano_graph.h"
#include "spatial/graph/path_planner.h"
#include "spatial/panorama/panorama_xml_parser.h"

using nimbara::HeapManager;
using nimbara::mmvector;
using nimbara::RefPtr;
using nimbara::Vec3;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaData;
using nimbara::spatial::PanoramaXMLParser;
using nimbara::spatial::PathPlanner;

namespace {

// Three panoramas some sixty metres apart along Quay Street; "end" names a fourth that nobody has
// fetched yet.
const char kAnswer[] = R"(<panoramas>
  <panorama>
    <data_properties pano_id="start" lat="54.3000" lng="13.1"><text>Quay Street</text></data_properties>
    <annotation_properties><link pano_id="middle" yaw_deg="0"/></annotation_properties>
  </panorama>
  <panorama>
    <data_properties pano_id="middle" lat="54.3006" lng="13.1"><text>Quay Street</text></data_properties>
    <annotation_properties>
      <link pano_id="start" yaw_deg="180"/><link pano_id="end" yaw_deg="0"/>
    </annotation_properties>
  </panorama>
  <panorama>
    <data_properties pano_id="end" lat="54.3012" lng="13.1"><text>Quay Street</text></data_properties>
    <annotation_properties>
      <link pano_id="middle" yaw_deg="180"/><link pano_id="beyond" yaw_deg="0"/>
    </annotation_properties>
  </panorama>
</panoramas>)";

// Positions in the graph are degrees divided by 180, longitude first.
Vec3<double> Stored(double lat_deg, double lng_deg) {
  return {lng_deg / 180.0, lat_deg / 180.0, 0.0};
}

}  // namespace

int main() {
  PanoGraph graph;
  {
    mmvector<RefPtr<PanoramaData>> records(HeapManager::GetTransientHeap());
    PanoramaXMLParser().Parse(QByteArray(kAnswer), &records);
    for (const RefPtr<PanoramaData>& record : records) {
      graph.AddPano(record->pano_id, record.get());
    }
  }
  graph.PostProcessBatch();  // Links dead ends to what lies a few metres away.

  PathPlanner::Path path;
  const bool found = PathPlanner(&graph).FindPath(Stored(54.3000, 13.1), Stored(54.3012, 13.1),
                                                  /*max_hops=*/20, /*same_scene=*/true, &path);
  if (!found) {
    std::puts("no path");
    return 1;
  }
  for (const QString& id : path) {
    std::printf("%s  %s\n", qPrintable(id), qPrintable(graph.GetPanoramaData(id)->address));
  }
  return 0;
}
