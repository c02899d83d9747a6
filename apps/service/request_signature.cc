// SPDX-License-Identifier: Apache-2.0
#include "apps/service/request_signature.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QMessageAuthenticationCode>

namespace pelorin {

namespace {

constexpr char kFixedBlock[] = "pelorin elevation request 1";
constexpr int kBlockSize = 64;
constexpr char kItem[] = "&signature=";

QByteArray SignatureOf(const QByteArray& text, const std::string& key) {
  QByteArray message(kFixedBlock);
  message.append(QByteArray(kBlockSize - message.size(), '\0'));
  message.append(text.mid(kBlockSize));
  return QMessageAuthenticationCode::hash(message, QByteArray::fromStdString(key),
                                          QCryptographicHash::Sha1);
}

// Base64 as it may arrive: percent-encoded, in either alphabet, its plus read as a blank on the
// way.
QByteArray Decoded(const std::string& item) {
  QByteArray text = QByteArray::fromPercentEncoding(QByteArray::fromStdString(item));
  text.replace(' ', '+').replace('+', '-').replace('/', '_');
  return QByteArray::fromBase64(text, QByteArray::Base64UrlEncoding);
}

// Takes the same time wherever the two differ.
bool AreEqual(const QByteArray& a, const QByteArray& b) {
  if (a.size() != b.size())
    return false;
  int difference = 0;
  for (int i = 0; i < a.size(); ++i)
    difference |= a[i] ^ b[i];
  return difference == 0;
}

}  // namespace

bool HasGoodSignature(const std::string& target, const std::string& key) {
  const std::size_t at = target.rfind(kItem);
  if (at == std::string::npos)
    return false;
  const std::string item = target.substr(at + sizeof kItem - 1);
  if (item.find('&') != std::string::npos)
    return false;
  return AreEqual(Decoded(item), SignatureOf(QByteArray::fromStdString(target.substr(0, at)), key));
}

}  // namespace pelorin
