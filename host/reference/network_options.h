// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>

#include "host/export.h"

namespace nimbara {
namespace net {

/// How the reference host carries out requests. Plain values; a request keeps the options that
/// stood when it was started. A number outside its range counts as the nearest end, not-a-number as
/// the default.
struct NetworkOptions {
  /// Sent as `User-Agent` where a request names none; empty: "Pelorin/" and the version.
  QString user_agent;

  /// Seconds until a connection must stand, name look-up and TLS included; 0.001 to 86400. A
  /// request that passes this limit ends as `Fetcher::kConnectionFailed`.
  double connect_timeout_s = 10.0;
  /// Seconds for one attempt from its start to the last byte, without the time that it waited for
  /// its turn; 0.001 to 86400.
  double total_timeout_s = 60.0;
  /// Whole seconds without a byte after which an attempt is given up; 1 to 86400. The speed is an
  /// average over five seconds, so up to five more can pass.
  int stall_timeout_s = 15;

  /// Bytes of an answer's body, counted after decompression; 1 to 1073741824. One byte more ends
  /// the request as `Fetcher::kTooLarge`.
  std::uint64_t max_body_bytes = std::uint64_t{64} << 20;
  /// Bytes of all header lines of one attempt, redirects included; 1024 to 16777216. More ends the
  /// request as `Fetcher::kTooLarge`.
  std::uint64_t max_header_bytes = std::uint64_t{256} << 10;
  /// Redirects followed, to http and https only; 0 to 50. One more, or one to another scheme, ends
  /// the request as `Fetcher::kBrokenAnswer`.
  int max_redirects = 5;

  /// Attempts under way at one time, at all servers and at one server; 1 to 1024. Further requests
  /// wait in order.
  int max_connections = 32;
  int max_connections_per_server = 6;

  /// Further attempts after a complete answer of 429 or 503; 0 to 100. The status of the last
  /// attempt is the request's.
  int max_retries = 4;
  /// Seconds before the first further attempt; doubled for each one after it up to
  /// `retry_max_delay_s`. Each delay is drawn from its upper half at random, so that clients which
  /// failed together do not come back together. 0 to 3600.
  double retry_base_delay_s = 0.5;
  double retry_max_delay_s = 8.0;
  /// A `Retry-After` of the server, in seconds or as a date, takes the place of the delay above,
  /// but is never waited for longer than this many seconds; 0 to 3600.
  double retry_after_limit_s = 30.0;

  /// Where requests to some servers really go, each "host:port:other host:other port", as an
  /// operator needs it who runs a service of fixed address somewhere else. The first entry for a
  /// server holds; one that is no such text is passed over. While there are entries no proxy is
  /// used.
  QStringList connect_to;

  /// Seconds for which the network thread and its open connections outlive the last request; 0 to
  /// 3600. It stays at least until the pacing interval of the last request has passed.
  double idle_linger_s = 5.0;
};

/// Replaces the options for requests that are started from now on. Safe from any thread.
PELORIN_HOST_EXPORT void SetNetworkOptions(const NetworkOptions& options);

/// The present options, brought into their ranges. Safe from any thread.
PELORIN_HOST_EXPORT NetworkOptions GetNetworkOptions();

}  // namespace net
}  // namespace nimbara
