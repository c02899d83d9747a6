// SPDX-License-Identifier: Apache-2.0
// UTM text, in UTF-8: as one string, and its parts between bars as zone, easting and northing.
// Both must read what the regular expressions that they stand for find, to the last bit. Texts are
// cut to a length that these can manage.
#include <QString>
#include <QStringList>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "spatial/geodesy/utm_text.h"
#include "tests/spatial/geodesy/utm_text_twin.h"

using nimbara::spatial::ParseLatLonFromUTM;
using nimbara::test_support::UtmTextResult;

namespace {

void Expect(bool holds) {
  if (!holds) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLongest = 2000;
  const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data),
                                         static_cast<int>(size < kLongest ? size : kLongest));
  UtmTextResult whole;
  whole.ok = ParseLatLonFromUTM(text, &whole.lat, &whole.lng);
  Expect(Same(whole, nimbara::test_support::WholeTwin(text)));

  const QStringList parts = text.split(QLatin1Char('|'));
  UtmTextResult fields;
  fields.ok =
      ParseLatLonFromUTM(parts.value(0), parts.value(1), parts.value(2), &fields.lat, &fields.lng);
  Expect(Same(fields,
              nimbara::test_support::FieldsTwin(parts.value(0), parts.value(1), parts.value(2))));
  return 0;
}
