// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QUrl>

#include "host/values.h"

namespace nimbara {
namespace spatial {

/// The address of one elevation request, percent-encoded in full: `base` with "json" appended to
/// its path, and behind its own query the items "client", "sensor", "locations" and "signature", in
/// this order, since the signature covers what stands ahead of it. `points` are `count` (at least
/// 1) stored positions (x longitude / 180, y latitude / 180), sent as "enc:" and the host's encoded
/// polyline.
///
/// Empty if the address would have more than `max_length` bytes; one of exactly that length is
/// given.
///
/// What is signed is the address without scheme and host: path and query, from "/elevation/json?"
/// to the end of the locations. The port of `base` is not in it, a user name would be. Of the bytes
/// of a polyline " | ^ ` { } \ " take three in the address, all others one; of a signature "="
/// does.
QByteArray ElevationRequestUrl(const QUrl& base, const Vec3<double>* points, int count,
                               int max_length);

}  // namespace spatial
}  // namespace nimbara
