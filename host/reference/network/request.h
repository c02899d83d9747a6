// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <curl/curl.h>

#include <QByteArray>
#include <cstdint>
#include <memory>

#include "host/network.h"
#include "host/reference/network/pacing.h"
#include "shared_options.h"

namespace nimbara {
namespace net {

struct HeaderListDeleter {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

/// `FetchParams` made ready for the wire on the thread that starts the request, and not changed
/// afterwards.
///
/// A header line without a colon, and any text for a header that holds a control character, is left
/// out: it could only smuggle in a header of its own.
struct Request {
  explicit Request(const Fetcher::FetchParams& params);

  std::shared_ptr<const NetworkOptions> options;
  QByteArray
      url;  ///< Percent-encoded; empty if the address is no absolute http(s) one of sane length.
  QByteArray server;          ///< "host:port" in lower case.
  bool this_machine = false;  ///< The server is a loopback name: no proxy stands in between.
  QByteArray user_agent;
  QByteArray referrer;  ///< Empty: none is sent.
  std::unique_ptr<curl_slist, HeaderListDeleter> headers;
  Clock::duration pacing{};  ///< Zero: not paced.
  std::uint64_t max_body_bytes = 0;
};

}  // namespace net
}  // namespace nimbara
