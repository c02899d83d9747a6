// SPDX-License-Identifier: Apache-2.0
// The translated forms of eastings and northings. By itself, since they are made once a process.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>
#include <string>
#include <vector>

#include "spatial/geodesy/utm_text.h"

namespace nimbara {
namespace spatial {
namespace {

// Puts `mark` before every text of the forms, and writes down what it was asked for.
class MarkingTranslator : public QTranslator {
 public:
  MarkingTranslator(std::string mark, std::vector<std::string>* asked)
      : mark_(std::move(mark)), asked_(asked) {}
  QString translate(const char* context, const char* source, const char* comment,
                    int number) const override {
    asked_->push_back(std::string(context) + "; " + source + "; " + comment + "; " +
                      std::to_string(number));
    return QString::fromStdString(mark_ + source);
  }
  bool isEmpty() const override { return false; }

 private:
  std::string mark_;
  std::vector<std::string>* asked_;
};

TEST(UtmStringsTranslation, IsAskedForOnceWithTextsAndCommentsAndThenStays) {
  int argc = 0;
  const QCoreApplication application(argc, nullptr);
  std::vector<std::string> asked;
  MarkingTranslator first("1st: ", &asked);
  QCoreApplication::installTranslator(&first);
  QString zone;
  QString easting;
  QString northing;
  ASSERT_TRUE(CreateUTMStrings(0.0, 9.0, &zone, &easting, &northing));
  EXPECT_EQ(zone.toStdString(), "32 N");
  EXPECT_EQ(easting.toStdString(), "1st: 500000.00 m E");
  EXPECT_EQ(northing.toStdString(), "1st:    0.00 m N");
  EXPECT_EQ(
      asked,
      (std::vector<std::string>{
          "QObject; %1 m E; Meters easting in Universal Transverse Mercator (UTM) coordinates.  "
          "VALUE_1 will be replaced with a number.; -1",
          "QObject; %1 m N; Meters northing in Universal Transverse Mercator (UTM) coordinates.  "
          "VALUE_1 will be replaced with a number.; -1",
          "QObject; %1 m S; Negative meters northing (i.e., south of the equator) in Universal "
          "Transverse Mercator (UTM) coordinates.  VALUE_1 will be replaced with a number.; -1"}));

  asked.clear();
  QCoreApplication::removeTranslator(&first);
  MarkingTranslator second("2nd: ", &asked);
  QCoreApplication::installTranslator(&second);
  ASSERT_TRUE(CreateUTMStrings(-34.0, 18.4, &zone, &easting, &northing));
  EXPECT_EQ(northing.toStdString(), "1st: 6234796.01 m S");
  EXPECT_TRUE(asked.empty());
  QCoreApplication::removeTranslator(&second);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
