// SPDX-License-Identifier: Apache-2.0
#include "request.h"

#include <QUrl>
#include <algorithm>

namespace nimbara {
namespace net {
namespace {

constexpr int kLongestAddress = 1 << 20;  // Bytes; no server takes half as many.

bool HasControlCharacter(const QByteArray& text) {
  return std::any_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && byte != '\t') || byte == 0x7f;
  });
}

QByteArray HeaderText(const QString& text) {
  const QByteArray bytes = text.toUtf8();
  return HasControlCharacter(bytes) ? QByteArray() : bytes;
}

bool IsThisMachine(const QString& host) {
  return host == QLatin1String("localhost") || host.startsWith(QLatin1String("127.")) ||
         host == QLatin1String("::1");
}

void SetAddress(const QString& text, Request* request) {
  const QUrl url(text, QUrl::TolerantMode);
  const QString scheme = url.scheme();  // QUrl gives scheme and host in lower case.
  const QString host = url.host();
  const bool is_https = scheme == QLatin1String("https");
  if (!url.isValid() || host.isEmpty() || (scheme != QLatin1String("http") && !is_https)) {
    return;
  }
  const QByteArray encoded = url.toEncoded(QUrl::RemoveFragment);
  if (encoded.size() > kLongestAddress) {
    return;
  }
  request->url = encoded;
  request->server = host.toUtf8();
  request->server.append(':').append(QByteArray::number(url.port(is_https ? 443 : 80)));
  request->this_machine = IsThisMachine(host);
}

// Null stays null where the system has no memory left: the request then goes out without headers.
void AddHeader(const QByteArray& line, Request* request) {
  curl_slist* longer = curl_slist_append(request->headers.get(), line.constData());
  if (longer != nullptr) {
    request->headers.release();
    request->headers.reset(longer);
  }
}

}  // namespace

Request::Request(const Fetcher::FetchParams& params) : options(CurrentOptions()) {
  SetAddress(params.url, this);
  user_agent = HeaderText(params.user_agent);
  if (user_agent.isEmpty()) {
    user_agent = HeaderText(options->user_agent);
  }
  if (user_agent.isEmpty()) {
    user_agent = QByteArrayLiteral("Pelorin/" PELORIN_VERSION);
  }
  referrer = HeaderText(params.referrer);
  for (const QString& line : params.headers) {
    const QByteArray bytes = HeaderText(line);
    if (bytes.indexOf(':') > 0) {
      AddHeader(bytes, this);
    }
  }
  if (params.bypass_caches) {
    AddHeader("Cache-Control: no-cache", this);
  }
  pacing = ToDuration(params.pacing_interval_s, kMaxPacingIntervalS);
  max_body_bytes = params.max_body_bytes == 0 ? options->max_body_bytes
                                              : std::min(params.max_body_bytes, kLargestBodyBytes);
}

}  // namespace net
}  // namespace nimbara
