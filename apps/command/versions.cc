// SPDX-License-Identifier: Apache-2.0
#include "apps/command/versions.h"

#include <curl/curl.h>
#include <geos_c.h>
#include <sqlite3.h>
#include <zlib.h>

#include <QtGlobal>
#include <boost/version.hpp>
#include <sstream>

namespace pelorin {
namespace command {

std::string VersionLine() {
  return "pelorin " PELORIN_VERSION;
}

std::string VersionText() {
  std::ostringstream text;
  text << VersionLine() << "\n"
       << "Qt " << qVersion() << "\n"
       << "curl " << curl_version_info(CURLVERSION_NOW)->version << "\n"
       << "zlib " << zlibVersion() << "\n"
       << "SQLite " << sqlite3_libversion() << "\n"
       << "GEOS " << GEOSversion()
       << "\n"
       // Headers only: there is no library that could be another one at run time.
       << "Boost " << BOOST_VERSION / 100000 << "." << BOOST_VERSION / 100 % 1000 << "."
       << BOOST_VERSION % 100;
  return text.str();
}

}  // namespace command
}  // namespace pelorin
