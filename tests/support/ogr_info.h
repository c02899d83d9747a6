// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QTemporaryDir>
#include <string>

namespace nimbara {
namespace test_support {

/// What an independent reader finds in a KML file with a container. A file that it cannot read
/// fails the test.
class OgrInfo {
 public:
  explicit OgrInfo(const QByteArray& kml) {
    QFile file(folder_.filePath("test.kml"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(kml) == kml.size());
    file.close();
    const QString program = QStandardPaths::findExecutable("ogrinfo");
    EXPECT_FALSE(program.isEmpty()) << "ogrinfo of gdal-bin is needed";
    QProcess process;
    process.start(program, {"-ro", "-al", file.fileName()});
    EXPECT_TRUE(process.waitForFinished(60000));
    output_ = QString::fromUtf8(process.readAllStandardOutput());
    errors_ = QString::fromUtf8(process.readAllStandardError());
    EXPECT_EQ(process.exitCode(), 0) << errors();
  }
  int Count(const char* text) const { return output_.count(QLatin1String(text)); }
  std::string output() const { return output_.toStdString(); }
  std::string errors() const { return errors_.toStdString(); }

 private:
  QTemporaryDir folder_;
  QString output_;
  QString errors_;
};

}  // namespace test_support
}  // namespace nimbara
