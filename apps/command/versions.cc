// SPDX-License-Identifier: Apache-2.0
#include "apps/command/versions.h"

#include <assimp/version.h>
#include <bzlib.h>
#include <cairo.h>
#include <curl/curl.h>
#include <expat.h>
#include <geos_c.h>
#include <jconfig.h>
#include <sqlite3.h>
#include <zlib.h>

#include <QtGlobal>
#include <boost/version.hpp>
#include <osmium/version.hpp>
#include <sstream>

#define PELORIN_TEXT_OF(macro) PELORIN_TEXT(macro)
#define PELORIN_TEXT(text) #text

namespace pelorin {
namespace command {

std::string VersionLine() {
  return "pelorin " PELORIN_VERSION;
}

std::string VersionText() {
  const XML_Expat_Version expat = XML_ExpatVersionInfo();
  std::ostringstream text;
  text << VersionLine() << "\n"
       << "Qt " << qVersion() << "\n"
       << "curl " << curl_version_info(CURLVERSION_NOW)->version << "\n"
       << "zlib " << zlibVersion() << "\n"
       << "bzip2 " << BZ2_bzlibVersion() << "\n"
       << "Expat " << expat.major << "." << expat.minor << "." << expat.micro << "\n"
       << "SQLite " << sqlite3_libversion() << "\n"
       << "GEOS " << GEOSversion() << "\n"
       << "assimp " << aiGetVersionMajor() << "." << aiGetVersionMinor() << "."
       << aiGetVersionPatch() << "\n"
       << "cairo " << cairo_version_string()
       << "\n"
       // Below are those of the build: libraries of headers, those that do not tell their version,
       // and GDAL, which is loaded only when it is needed.
       << "GDAL " PELORIN_GDAL_VERSION "\n"
       << "libjpeg-turbo " PELORIN_TEXT_OF(LIBJPEG_TURBO_VERSION) "\n"
       << "libexif " PELORIN_LIBEXIF_VERSION "\n"
       << "meshoptimizer " PELORIN_MESHOPTIMIZER_VERSION "\n"
       << "tinyobjloader " PELORIN_TINYOBJLOADER_VERSION "\n"
       << "JsonCpp " PELORIN_JSONCPP_VERSION "\n"
       << "nlohmann-json " PELORIN_NLOHMANN_JSON_VERSION "\n"
       << "pugixml " PELORIN_PUGIXML_VERSION "\n"
       << "SQLiteCpp " PELORIN_SQLITECPP_VERSION "\n"
       << "cpp-httplib " PELORIN_HTTPLIB_VERSION "\n"
       << "CLI11 " PELORIN_CLI11_VERSION "\n"
       << "libosmium " LIBOSMIUM_VERSION_STRING "\n"
       << "Boost " << BOOST_VERSION / 100000 << "." << BOOST_VERSION / 100 % 1000 << "."
       << BOOST_VERSION % 100;
  return text.str();
}

}  // namespace command
}  // namespace pelorin
