// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/metadata_request.h"

#include <QUrlQuery>

#include "host/text.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace nimbara {
namespace spatial {
namespace {

double PacingIntervalSeconds() {
  const float requests_per_second =
      PelorinSpatialOptions::s_settings_.max_metadata_depthmap_qps.Get();
  return requests_per_second > 0.0f ? 1.0 / static_cast<double>(requests_per_second) : 0.0;
}

}  // namespace

QUrl MetaDataUrl(const QueryItems& items) {
  QUrl url(PelorinSpatialOptions::s_settings_.meta_data_fetch_server.Get());
  QUrlQuery query(url);
  for (const auto& item : items) {
    query.addQueryItem(item.first, item.second);
  }
  url.setQuery(query);
  return url;
}

net::Fetcher::FetchParams MetaDataRequest(const QUrl& url, net::Fetcher::Completion completion,
                                          void* user_data) {
  net::Fetcher::FetchParams params;
  params.url = url.toString();
  params.user_agent = QString::fromLatin1("");
  params.referrer = QStringNull();
  params.completion = completion;
  params.user_data = user_data;
  params.pacing_interval_s = PacingIntervalSeconds();
  return params;
}

}  // namespace spatial
}  // namespace nimbara
