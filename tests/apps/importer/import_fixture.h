// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bzlib.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "apps/dataset/dataset.h"
#include "apps/importer/importer.h"
#include "tests/support/temporary_folder.h"

namespace pelorin {
namespace test_support {

/// `bytes` as a gzip file.
inline std::string Gzipped(const std::string& bytes) {
  z_stream stream{};
  deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  std::string packed(deflateBound(&stream, bytes.size()) + 64, '\0');
  std::string input = bytes;
  stream.next_in = reinterpret_cast<Bytef*>(&input[0]);
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = reinterpret_cast<Bytef*>(&packed[0]);
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

/// `bytes` as a bzip2 file.
inline std::string Bzipped(const std::string& bytes) {
  std::string packed(bytes.size() + bytes.size() / 100 + 700, '\0');
  std::string input = bytes;
  unsigned int size = static_cast<unsigned int>(packed.size());
  BZ2_bzBuffToBuffCompress(&packed[0], &size, &input[0], static_cast<unsigned int>(input.size()), 9,
                           0, 0);
  packed.resize(size);
  return packed;
}

/// A node of an OpenStreetMap file.
inline std::string OsmNode(int id, double lat_deg, double lng_deg) {
  return "<node id=\"" + std::to_string(id) + "\" version=\"1\" lat=\"" + std::to_string(lat_deg) +
         "\" lon=\"" + std::to_string(lng_deg) + "\"/>\n";
}

/// A way of an OpenStreetMap file.
inline std::string OsmWay(int id, const std::vector<int>& nodes,
                          const std::map<std::string, std::string>& tags) {
  std::string way = "<way id=\"" + std::to_string(id) + "\" version=\"1\">\n";
  for (const int node : nodes) {
    way += "<nd ref=\"" + std::to_string(node) + "\"/>\n";
  }
  for (const auto& [key, value] : tags) {
    way += "<tag k=\"" + key + "\" v=\"" + value + "\"/>\n";
  }
  return way + "</way>\n";
}

inline std::string OsmFile(const std::string& content) {
  return "<?xml version='1.0' encoding='UTF-8'?>\n<osm version=\"0.6\" generator=\"test\">\n" +
         content + "</osm>\n";
}

/// Two streets that cross in node 2: some 220 m north to south and 140 m west to east.
inline std::string SmallOsm() {
  return OsmFile(OsmNode(1, 51.001, 7.0) + OsmNode(2, 51.0, 7.0) + OsmNode(3, 50.999, 7.0) +
                 OsmNode(4, 51.0, 6.999) + OsmNode(5, 51.0, 7.001) +
                 OsmWay(10, {1, 2, 3}, {{"highway", "residential"}, {"name", "North Street"}}) +
                 OsmWay(11, {4, 2, 5}, {{"highway", "primary"}, {"name", "West Street"}}));
}

/// Imports files of a folder of its own.
class ImportTest : public testing::Test {
 protected:
  /// Imports `files` (name and bytes) into `output()`.
  ImportResult ImportFiles(const std::vector<std::pair<std::string, std::string>>& files) {
    ImportOptions options = options_;
    options.output = output();
    for (const auto& [name, bytes] : files) {
      options.inputs.push_back({folder_.Write(name, bytes), format_});
    }
    return Import(options);
  }

  std::string output() const { return folder_.File("out.db"); }

  /// All panoramas of a dataset file, by id.
  static std::map<std::string, PanoRecord> RecordsOf(const std::string& file) {
    std::string error;
    std::map<std::string, PanoRecord> records;
    const std::unique_ptr<Dataset> dataset = Dataset::Open(file, &error);
    EXPECT_NE(dataset, nullptr) << error;
    std::vector<PanoRecord> found;
    if (dataset != nullptr) {
      dataset->FindInBox({-90.0, -180.0, 90.0, 180.0}, std::numeric_limits<std::size_t>::max(),
                         &found, &error);
    }
    for (const PanoRecord& record : found) {
      records.emplace(record.id, record);
    }
    return records;
  }

  /// A failed import says why and leaves what was there.
  void ExpectRefused(const std::string& name, const std::string& bytes, ImportStatus status,
                     const std::string& what) {
    folder_.Write("out.db", "the old one");
    const ImportResult result = ImportFiles({{name, bytes}});
    EXPECT_EQ(result.status, status) << result.error;
    EXPECT_NE(result.error.find(what), std::string::npos) << result.error;
    EXPECT_EQ(BytesOf(output()), "the old one");
    const std::vector<std::string> names = folder_.Names();
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()),
              (std::set<std::string>{"out.db", name}));
  }

  TemporaryFolder folder_;
  ImportOptions options_;
  ImportFormat format_ = ImportFormat::kAuto;
};

}  // namespace test_support
}  // namespace pelorin
