// SPDX-License-Identifier: Apache-2.0
#include "spatial/geodesy/elevation_request.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QMessageAuthenticationCode>
#include <string>
#include <vector>

#include "host/geodesy.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr int kAnyLength = 1 << 20;

QByteArray UrlOf(const char* base, const std::vector<Vec3<double>>& points,
                 int max_length = kAnyLength) {
  return ElevationRequestUrl(QUrl(QString::fromLatin1(base)), points.data(),
                             static_cast<int>(points.size()), max_length);
}

const std::vector<Vec3<double>> kPublishedExample = {{-120.2 / 180.0, 38.5 / 180.0, 0.0},
                                                     {-120.95 / 180.0, 40.7 / 180.0, 0.0},
                                                     {-126.453 / 180.0, 43.252 / 180.0, 0.0}};

/// The signature text that a service expects, by a library: `signed_text` is path and query.
QByteArray SignatureText(const QByteArray& signed_text) {
  QByteArray message = "pelorin elevation request 1";
  message.append(QByteArray(64 - message.size(), '\0'));
  message.append(signed_text.mid(64));
  return QMessageAuthenticationCode::hash(message, "pelorin development key",
                                          QCryptographicHash::Sha1)
      .toBase64(QByteArray::Base64UrlEncoding)
      .replace('=', "%3D");
}

TEST(ElevationRequestTest, HasItsItemsInTheOrderThatIsSigned) {
  const QByteArray text = "/elevation/json?client=nimbara-desktop&sensor=false&locations=enc:_p~iF~"
                          "ps%7CU_ulLnnqC_mqNvxq%60@";
  EXPECT_EQ(UrlOf("http://heights.example/elevation/", kPublishedExample),
            "http://heights.example" + text + "&signature=" + SignatureText(text));
}

TEST(ElevationRequestTest, KeepsTheQueryOfTheBaseAheadOfItsOwn) {
  const QByteArray url = UrlOf("https://heights.example/e/?key=a%20b", kPublishedExample);
  EXPECT_TRUE(url.startsWith("https://heights.example/e/"
                             "json?key=a%20b&client=nimbara-desktop&sensor=false&locations=enc:"))
      << url.toStdString();
}

TEST(ElevationRequestTest, AppendsToADecodedPath) {
  const QByteArray url = UrlOf("http://heights.example/a%20b/", kPublishedExample);
  EXPECT_TRUE(url.startsWith("http://heights.example/a%20b/json?client=")) << url.toStdString();
}

TEST(ElevationRequestTest, SignsNeitherThePortNorTheHost) {
  const QByteArray plain = UrlOf("http://heights.example/elevation/", kPublishedExample);
  const QByteArray with_port = UrlOf("http://127.0.0.1:8080/elevation/", kPublishedExample);
  EXPECT_TRUE(with_port.startsWith("http://127.0.0.1:8080/elevation/json?"))
      << with_port.toStdString();
  EXPECT_EQ(with_port.mid(with_port.indexOf("&signature=")),
            plain.mid(plain.indexOf("&signature=")));
}

TEST(ElevationRequestTest, SignsAUserNameAheadOfThePath) {
  const QByteArray url = UrlOf("http://user@heights.example/elevation/", kPublishedExample);
  const QByteArray marker = "&signature=";
  const QByteArray signed_text =
      "//user@" +
      url.mid(url.indexOf("/elevation"), url.indexOf(marker) - url.indexOf("/elevation"));
  EXPECT_EQ(url.mid(url.indexOf(marker) + marker.size()), SignatureText(signed_text));
}

TEST(ElevationRequestTest, WritesTheEqualsSignOfASignatureAsThreeBytes) {
  const QByteArray url = UrlOf("http://heights.example/elevation/", kPublishedExample);
  EXPECT_TRUE(url.endsWith("%3D")) << url.toStdString();
  EXPECT_EQ(url.count('='), 4);
}

TEST(ElevationRequestTest, PassesWithExactlyTheGreatestLengthAndNotWithOneByteMore) {
  const QByteArray url = UrlOf("http://heights.example/elevation/", kPublishedExample);
  EXPECT_EQ(UrlOf("http://heights.example/elevation/", kPublishedExample, url.size()), url);
  EXPECT_EQ(UrlOf("http://heights.example/elevation/", kPublishedExample, url.size() - 1),
            QByteArray());
}

TEST(ElevationRequestTest, NeverFitsIntoANegativeLength) {
  EXPECT_EQ(UrlOf("http://heights.example/elevation/", kPublishedExample, -1), QByteArray());
}

// Differences of one point that make each character of the polyline's alphabet appear.
TEST(ElevationRequestTest, CountsPercentEncodedBytesOfAPolyline) {
  std::vector<Vec3<double>> points;
  double x = 0.0;
  for (int i = 0; i < 400; ++i) {
    x += 1e-5 / 180.0 * i;
    points.push_back({x, -x / 2.0, 0.0});
  }
  std::string polyline;
  geometry::EncodePolylineString(points.data(), static_cast<int>(points.size()), &polyline);
  QByteArray expected = "enc:";
  for (const char c : polyline) {
    const bool three = std::string("|^`{}\\").find(c) != std::string::npos;
    expected += three ? QByteArray(1, '%') + QByteArray(1, c).toHex().toUpper() : QByteArray(1, c);
  }
  for (const char c : std::string("|^`{}\\[]@?~")) {
    EXPECT_NE(polyline.find(c), std::string::npos) << c << " does not appear";
  }
  const QByteArray url = UrlOf("http://heights.example/elevation/", points);
  const int from = url.indexOf("enc:");
  EXPECT_EQ(url.mid(from, url.indexOf("&signature=") - from).toStdString(), expected.toStdString());
}

TEST(ElevationRequestTest, SignsABarePathWhoseTextIsShort) {
  // 56 bytes and a polyline of two: less than a block, so padded.
  const QByteArray url = UrlOf("http://heights.example/", {{0.0, 0.0, 0.0}});
  EXPECT_TRUE(
      url.startsWith("http://heights.example/"
                     "json?client=nimbara-desktop&sensor=false&locations=enc:??&signature="))
      << url.toStdString();
  EXPECT_TRUE(url.endsWith(SignatureText(QByteArray()))) << url.toStdString();
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
