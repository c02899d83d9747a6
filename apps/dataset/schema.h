// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SQLiteCpp/Database.h>
#include <cstddef>
#include <optional>
#include <string>

namespace pelorin {

/// The layout of a dataset file, shared by its writer and its reader. Internal to this room. The
/// two operations on databases throw what SQLiteCpp throws.

/// Stands in the header of every dataset file ("PlrD"), so that other SQLite files are told apart.
constexpr int kDatasetApplicationId = 0x506C7244;

/// The largest maps that the service's readers take, inflated, in bytes.
constexpr std::size_t kMaxDepthMapBytes = 528392;
constexpr std::size_t kMaxPanoMapBytes = 140800;

/// Makes the tables of an empty dataset.
void CreateSchema(SQLite::Database* db);

/// What is wrong with the layout of `db`, or nothing if it is that of a dataset. A file from
/// elsewhere can hold anything in the place of a table, such as a view that never ends, so every
/// object is compared with what `CreateSchema` makes.
std::optional<std::string> FindSchemaFault(SQLite::Database* db);

/// `payload` as a zlib stream; empty stays empty.
std::string Deflated(const std::string& payload);

/// Inflates a stream of `Deflated`. False, with `payload` as it was, if it is damaged or inflates
/// to more than `max_bytes`.
bool Inflate(const std::string& stream, std::size_t max_bytes, std::string* payload);

/// Writes `message` unless `error` is null; returns false, so that a failure is one line.
bool Fail(std::string* error, const std::string& message);

}  // namespace pelorin
