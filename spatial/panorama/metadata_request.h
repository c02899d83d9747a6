// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

#include "host/network.h"

namespace nimbara {
namespace spatial {

/// The query items of a request, in the order in which they are sent.
using QueryItems = QList<QPair<QString, QString>>;

/// The setting "metaDataFetchServer", as it is now, with `items` behind whatever query it brings
/// along. Keys and values are sent as `QUrlQuery::addQueryItem` writes them.
QUrl MetaDataUrl(const QueryItems& items);

/// A request to the panorama service: `url`, and the pacing that the setting
/// "maxMetadataDepthmapQps" asks for at this moment (1 / setting seconds between requests, none if
/// it is 0 or less or not-a-number). Not started yet.
net::Fetcher::FetchParams MetaDataRequest(const QUrl& url, net::Fetcher::Completion completion,
                                          void* user_data);

}  // namespace spatial
}  // namespace nimbara
