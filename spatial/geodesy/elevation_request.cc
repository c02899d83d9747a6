// SPDX-License-Identifier: Apache-2.0
#include "spatial/geodesy/elevation_request.h"

#include <QString>
#include <QUrlQuery>
#include <string>

#include "host/geodesy.h"
#include "host/text.h"
#include "spatial/geodesy/elevation_signature.h"

namespace nimbara {
namespace spatial {
namespace {

QString Text(const char* literal) {
  return QString::fromLatin1(literal);
}

// Path and query as they go over the wire. A copy of the address gives them up, so that whatever
// clearing a host takes with it stays in the original.
QByteArray SignedText(QUrl url) {
  url.setScheme(QString());
  url.setHost(QString());
  return url.toEncoded(QUrl::FullyEncoded);
}

QString SignatureOf(const QByteArray& text) {
  unsigned char signature[kElevationSignatureSize];
  ComputeElevationQuerySignature(reinterpret_cast<const unsigned char*>(text.constData()),
                                 text.size(), signature);
  return QString::fromLatin1(Base64Encode(signature, kElevationSignatureSize));
}

}  // namespace

QByteArray ElevationRequestUrl(const QUrl& base, const Vec3<double>* points, int count,
                               int max_length) {
  std::string polyline;
  geometry::EncodePolylineString(points, count, &polyline);
  // Each of its bytes takes one at least. Most steps of the search for the right number of points
  // end here, ahead of anything that costs time.
  if (max_length < 0 || polyline.size() > static_cast<std::size_t>(max_length)) {
    return QByteArray();
  }
  QUrl url(base);
  url.setPath(url.path(QUrl::FullyDecoded) + Text("json"), QUrl::DecodedMode);
  QUrlQuery query(url);
  query.addQueryItem(Text("client"), Text("nimbara-desktop"));
  query.addQueryItem(Text("sensor"), Text("false"));
  query.addQueryItem(Text("locations"), Text("enc:%1").arg(QString::fromStdString(polyline)));
  url.setQuery(query);
  query.addQueryItem(Text("signature"), SignatureOf(SignedText(url)));
  url.setQuery(query);
  const QByteArray encoded = url.toEncoded(QUrl::FullyEncoded);
  return encoded.size() > max_length ? QByteArray() : encoded;
}

}  // namespace spatial
}  // namespace nimbara
