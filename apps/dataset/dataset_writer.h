// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "apps/dataset/dataset.h"

namespace pelorin {

/// Makes a dataset: records and shapes go in one by one, `Finish` turns them into a dataset in one
/// step. Until then a file of the same name stays as it was; a writer that is destroyed unfinished
/// leaves nothing behind.
///
/// Owned by its maker and used by one thread at a time. Nothing throws. After a failed operation
/// that returned an error about its argument the writer goes on as if the call had not been made;
/// after one about the storage (disk full) every later call fails too. `error` can be null and is
/// written only on failure.
class DatasetWriter {
 public:
  /// A writer into a file, which is made or replaced by `Finish`. Null if nothing can be written
  /// beside it.
  static std::unique_ptr<DatasetWriter> ToFile(const std::string& path, std::string* error);
  /// Whether `ToFile` would give one at this moment, for those who have much to do before.
  static bool CanWrite(const std::string& path, std::string* error);
  /// A writer into memory.
  static std::unique_ptr<DatasetWriter> InMemory(std::string* error);
  ~DatasetWriter();
  DatasetWriter(const DatasetWriter&) = delete;
  DatasetWriter& operator=(const DatasetWriter&) = delete;

  /// Adds one panorama. Refused: an id that is none or is there already, a place outside its
  /// ranges, any number that is not finite, negative sizes, maps beyond their largest size. Links
  /// may name panoramas that are never added. `has_depth_map` and `has_pano_map` are taken from the
  /// payloads.
  bool Add(const PanoRecord& record, std::string* error);

  /// Adds one shape. Refused: a place outside its ranges.
  bool AddBackdrop(const BackdropShape& shape, std::string* error);

  /// Adds one grid of heights; several may have one name and together be one set. Refused: an
  /// `info` outside its ranges, and another number of samples than it says. Samples that are not
  /// finite count as missing.
  bool AddHeightGrid(const HeightGrid& grid, std::string* error);

  /// Completes the dataset and returns it, opened for reading. Null on failure, and then a file of
  /// that name is as it was. The writer is spent either way.
  std::unique_ptr<Dataset> Finish(const DatasetInfo& info, std::string* error);

 private:
  struct Store;

  explicit DatasetWriter(std::unique_ptr<Store> store);

  std::unique_ptr<Store> store_;
};

}  // namespace pelorin
