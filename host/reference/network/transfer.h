// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <curl/curl.h>

#include <QByteArray>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <string_view>

#include "curl_fetcher.h"
#include "request.h"

namespace nimbara {
namespace net {

struct EasyDeleter {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};

/// One attempt at one request, over a curl handle that serves one attempt after the other. Used on
/// the network thread only.
class Transfer {
 public:
  Transfer();
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  /// Sets the handle up for `fetcher` and holds on to it. False if curl refuses: out of memory, or
  /// an address that it cannot take.
  bool Begin(RefPtr<CurlFetcher> fetcher);

  /// How the attempt that ended with `code` ended, as a `Fetcher::Status` or a protocol code.
  int Status(CURLcode code) const;
  /// The delay in seconds for which the server asked; 0 or less for none.
  double RetryAfterSeconds() const;
  std::uint64_t ConnectionsOpened() const;
  const QByteArray& body() const { return body_; }

  /// Gives up the request and what it received; the handle can begin again.
  RefPtr<CurlFetcher> End();

  CURL* easy() const { return easy_.get(); }

 private:
  bool Prepare();
  bool UseOptions(const std::shared_ptr<const NetworkOptions>& options);
  bool SetConnectTo(const QStringList& entries);
  static std::size_t OnBody(char* bytes, std::size_t one, std::size_t size, void* transfer);
  static std::size_t OnHeader(char* bytes, std::size_t one, std::size_t size, void* transfer);
  void NoteHeader(std::string_view line);
  bool TakeBody(const char* bytes, std::size_t size);
  int FailureStatus(CURLcode code) const;
  bool WasConnected() const;

  std::unique_ptr<curl_slist, HeaderListDeleter> connect_to_;  // Outlives the handle.
  std::unique_ptr<CURL, EasyDeleter> easy_;
  const bool prepared_;
  std::shared_ptr<const NetworkOptions> options_;  // Those that the handle is set to.
  RefPtr<CurlFetcher> fetcher_;                    // Null between two attempts.
  QByteArray body_;
  std::uint64_t header_bytes_ = 0;
  bool too_large_ = false;
  bool asks_for_delay_ = false;  // The answer that is being read names one, whatever came before.
};

}  // namespace net
}  // namespace nimbara
