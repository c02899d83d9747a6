// SPDX-License-Identifier: Apache-2.0
#include "host/reference/settings_file.h"

#include <QLocale>
#include <QTextCodec>
#include <cmath>

namespace nimbara {
namespace {

// What the codes of Setting::getType stand for.
enum ValueType { kBool, kInt, kFloat, kDouble, kString };

template <typename T>
TypedSetting<T>& Typed(Setting& setting) {
  return static_cast<TypedSetting<T>&>(setting);
}
template <typename T>
const TypedSetting<T>& Typed(const Setting& setting) {
  return static_cast<const TypedSetting<T>&>(setting);
}

bool IsKept(const Setting& setting) {
  return setting.behavior() != Setting::kSessionFigure;
}

bool MustEscape(const QString& text, int index, bool is_key) {
  const QChar c = text[index];
  const bool at_end = index == 0 || index + 1 == text.size();
  return c.unicode() < 0x20 || c.isSurrogate() || c == QChar::ByteOrderMark ||
         (c.isSpace() && (at_end || c != QLatin1Char(' '))) ||
         (is_key && (c == QLatin1Char('=') || (index == 0 && c == QLatin1Char('#'))));
}

QString Escaped(const QString& text, bool is_key) {
  QString escaped;
  for (int i = 0; i < text.size(); ++i) {
    if (MustEscape(text, i, is_key)) {
      escaped += QStringLiteral("\\u%1").arg(text[i].unicode(), 4, 16, QLatin1Char('0'));
    } else if (text[i] == QLatin1Char('\\')) {
      escaped += QLatin1String("\\\\");
    } else {
      escaped += text[i];
    }
  }
  return escaped;
}

// False, and `text` as far as it went, if an escape is not one.
bool Unescape(QStringView escaped, QString* text) {
  constexpr int kCodeDigits = 4;
  for (int i = 0; i < escaped.size(); ++i) {
    if (escaped[i] != QLatin1Char('\\')) {
      text->append(escaped[i]);
    } else if (i + 1 < escaped.size() && escaped[i + 1] == QLatin1Char('\\')) {
      text->append(QLatin1Char('\\'));
      ++i;
    } else if (i + 1 + kCodeDigits < escaped.size() && escaped[i + 1] == QLatin1Char('u')) {
      bool ok = false;
      const QString digits = escaped.mid(i + 2, kCodeDigits).toString();
      text->append(QChar(digits.toUShort(&ok, 16)));
      if (!ok) {
        return false;
      }
      i += 1 + kCodeDigits;
    } else {
      return false;
    }
  }
  return true;
}

template <typename T>
QString NumberIfChanged(const TypedSetting<T>& setting, int digits) {
  const T value = setting.Get();
  return value == setting.GetDefault() || !std::isfinite(value)
             ? QString()
             : QString::number(static_cast<double>(value), 'g', digits);
}

// The value as the text holds it, or null if the text leaves the setting out.
QString SavedValue(const Setting& setting) {
  constexpr int kFloatDigits = 9;  // As many as tell all floats apart.
  switch (setting.getType()) {
  case kBool: {
    const auto& flag = Typed<bool>(setting);
    return flag.Get() == flag.GetDefault() ? QString() : flag.Get() ? "true" : "false";
  }
  case kInt: {
    const auto& number = Typed<int>(setting);
    return number.Get() == number.GetDefault() ? QString() : QString::number(number.Get());
  }
  case kFloat:
    return NumberIfChanged(Typed<float>(setting), kFloatDigits);
  case kDouble:
    return NumberIfChanged(Typed<double>(setting), QLocale::FloatingPointShortest);
  default: {
    const auto& text = Typed<QString>(setting);
    return text.Get() == text.GetDefault() ? QString()
                                           : QLatin1String("") + Escaped(text.Get(), false);
  }
  }
}

bool SetFlag(const QString& text, Setting* setting) {
  const QString word = text.toLower();
  const bool on = word == QLatin1String("true") || word == QLatin1String("1");
  if (!on && word != QLatin1String("false") && word != QLatin1String("0")) {
    return false;
  }
  Typed<bool>(*setting).Set(on);
  return true;
}

template <typename T>
bool SetNumber(T value, bool ok, Setting* setting) {
  if (!ok || !std::isfinite(static_cast<double>(value))) {
    return false;
  }
  Typed<T>(*setting).Set(value);
  return true;
}

bool SetValue(const QString& text, Setting* setting) {
  bool ok = false;
  switch (setting->getType()) {
  case kBool:
    return SetFlag(text, setting);
  case kInt: {
    const int value = text.toInt(&ok);
    return SetNumber(value, ok, setting);
  }
  case kFloat: {
    const float value = text.toFloat(&ok);
    return SetNumber(value, ok, setting);
  }
  case kDouble: {
    const double value = text.toDouble(&ok);
    return SetNumber(value, ok, setting);
  }
  default:
    Typed<QString>(*setting).Set(text);
    return true;
  }
}

// Takes one line. The result is what was wrong, or null.
QString LoadLine(const QByteArray& bytes, SettingGroup* group) {
  QTextCodec::ConverterState state;
  const QString line =
      QTextCodec::codecForMib(106)->toUnicode(bytes.constData(), bytes.size(), &state).trimmed();
  if (state.invalidChars > 0 || state.remainingChars > 0) {
    return QStringLiteral("not UTF-8");
  }
  if (line.isEmpty() || line.startsWith(QLatin1Char('#'))) {
    return QString();
  }
  const int equals = line.indexOf(QLatin1Char('='));
  if (equals < 0) {
    return QStringLiteral("no '='");
  }
  QString key;
  QString value;
  if (!Unescape(QStringView(line).left(equals).trimmed(), &key) ||
      !Unescape(QStringView(line).mid(equals + 1).trimmed(), &value)) {
    return QStringLiteral("a '\\' that begins neither '\\\\' nor '\\uXXXX'");
  }
  Setting* setting = group->GetSetting(key);
  if (setting == nullptr) {
    return QStringLiteral("unknown setting '%1'").arg(key);
  }
  if (!IsKept(*setting)) {
    return QStringLiteral("setting '%1' is not kept between sessions").arg(key);
  }
  if (!SetValue(value, setting)) {
    return QStringLiteral("'%1' is no value for setting '%2'").arg(value, key);
  }
  return QString();
}

}  // namespace

QByteArray SaveSettings(const SettingGroup& group) {
  QString text = QStringLiteral("# %1\n").arg(Escaped(group.name(), false));
  for (int i = 0; i < group.GetSettingCount(); ++i) {
    const Setting& setting = *group.GetSetting(i);
    const QString value = IsKept(setting) ? SavedValue(setting) : QString();
    if (!value.isNull()) {
      text += Escaped(setting.key(), true) + QLatin1Char('=') + value + QLatin1Char('\n');
    }
  }
  return text.toUtf8();
}

std::vector<SettingsProblem> LoadSettings(const QByteArray& text, SettingGroup* group) {
  std::vector<SettingsProblem> problems;
  if (text.size() > kSettingsTextMaxBytes) {
    problems.push_back({1, QStringLiteral("text of %1 bytes is too large").arg(text.size())});
    return problems;
  }
  const QList<QByteArray> lines = text.split('\n');
  for (int i = 0; i < lines.size(); ++i) {
    const QString reason = LoadLine(lines[i], group);
    if (!reason.isNull()) {
      problems.push_back({i + 1, reason});
    }
  }
  return problems;
}

}  // namespace nimbara
