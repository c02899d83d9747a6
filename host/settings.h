// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <type_traits>
#include <vector>

#include "host/export.h"

namespace nimbara {

class Setting;

/// Hears of the settings of one group. Both operations run on the thread that writes or destroys
/// the setting, which for counters can be any thread, and with none of the group's locks held: a
/// listener may read and write settings, and add or remove listeners. A write from inside
/// `OnSettingChanged` is announced like any other, at once.
class PELORIN_HOST_EXPORT SettingListener {
 public:
  virtual ~SettingListener();
  /// Runs once for each notification of `setting`, after the new value can be read. Two threads
  /// that write at the same time make two calls, possibly side by side.
  virtual void OnSettingChanged(Setting& setting) = 0;
  /// Runs once while `setting` is being destroyed: its key and value can still be read, and it is
  /// still listed in its group. Not called again for it afterwards.
  virtual void OnSettingPreDelete(Setting& setting) = 0;
};

/// A named list of settings, found by key or by place. It lists its settings and does not own them;
/// every setting must die before its group, which holds where settings are members of a class that
/// derives from the group.
///
/// Settings are registered and destroyed on one thread, while no other uses the list. Listeners can
/// be added and removed on any thread.
class PELORIN_HOST_EXPORT SettingGroup {
 public:
  explicit SettingGroup(const QString& name);
  virtual ~SettingGroup();
  SettingGroup(const SettingGroup&) = delete;
  SettingGroup& operator=(const SettingGroup&) = delete;

  const QString& name() const;

  /// The setting with exactly this key, or null. Of several with one key, the first registered.
  Setting* GetSetting(const QString& key) const;
  /// The setting at a place in order of registration, or null outside 0 to `GetSettingCount()` - 1.
  Setting* GetSetting(int index) const;
  int GetSettingCount() const;

  /// Resets each setting, in order of registration.
  void ResetToDefault();

  /// `listener` is not owned and hears of every later change. Null, and a listener that is there
  /// already, are left alone.
  void AddListener(SettingListener* listener);
  /// When this returns, no call to `listener` runs on another thread and none will begin. It waits
  /// for such calls, so it must not be made with a lock held that the listener takes. A listener
  /// may remove itself from inside a call. An unknown listener does nothing.
  void RemoveListener(SettingListener* listener);

 private:
  friend class Setting;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// One setting of a group, whatever its type.
///
/// Values can be read and written from any thread (see `TypedSetting`). The stack of saved values
/// and construction and destruction belong to one thread: the host's.
class PELORIN_HOST_EXPORT Setting {
 public:
  /// What becomes of a setting between two sessions.
  enum Behavior {
    kPreference = 0,     ///< The user's choice: kept.
    kSessionFigure = 1,  ///< A figure of this session alone: not kept.
    kUsageFigure = 2,    ///< A running total of use: kept, and counted on in the next session.
  };

  /// The stamp that every write copies to its setting, so that a host can tell who wrote last. The
  /// host gives the numbers their meaning; 0 until it sets one.
  static std::atomic<std::int32_t> s_current_modifier;

  /// Registers with `group`, behind what is there.
  Setting(SettingGroup& group, const QString& key, Behavior behavior);
  Setting(const Setting&) = delete;
  Setting& operator=(const Setting&) = delete;
  /// Leaves the group's list.
  virtual ~Setting();

  /// Takes the value from text, tolerantly; what it reads is told at `TypedSetting`.
  virtual void fromString(const QString& text) = 0;
  /// The value as text. A number has six significant digits, so reading it back can give another.
  virtual QString toString() const = 0;
  /// The name of the final class, such as "CountSetting": it alone tells an `IntSetting` from a
  /// `CountSetting`.
  virtual const char* getClassName() const = 0;
  /// The type of the value: 0 `bool`, 1 `int`, 2 `float`, 3 `double`, 4 `QString`.
  virtual int getType() const = 0;
  /// Saves the present value on the setting's stack. Nothing else changes and nobody is notified.
  virtual void PushSetting() = 0;
  /// Takes the last saved value back and notifies, and returns true. With nothing saved it returns
  /// false and does nothing.
  virtual bool PopSetting() = 0;
  /// Stamps the setting; a value that differs from the default becomes the default and is notified.
  virtual void ResetToDefault() = 0;

  SettingGroup& group() const { return *group_; }
  const QString& key() const { return key_; }
  Behavior behavior() const { return behavior_; }
  /// The stamp of the last write; 0 before the first.
  std::int32_t modifier() const { return modifier_.load(std::memory_order_relaxed); }

  /// Tells the group's listeners that the value has changed.
  void NotifyChanged();
  /// Tells the group's listeners that the setting is about to go. Every final class calls it first
  /// thing in its destructor, while the value is still whole.
  void NotifyPreDelete();

 protected:
  /// Copies `s_current_modifier` to this setting.
  void Stamp();

 private:
  SettingGroup* const group_;  // Not owned; outlives this.
  const QString key_;
  const Behavior behavior_;
  std::atomic<std::int32_t> modifier_{0};
};

/// A value that can be loaded and stored from any thread; each load gives a value that was stored,
/// and says nothing of any other value. Numbers are plain relaxed atomics.
template <typename T>
class SharedSettingValue {
 public:
  explicit SharedSettingValue(const T& value) : value_(value) {}
  T Load() const { return value_.load(std::memory_order_relaxed); }
  void Store(const T& value) { value_.store(value, std::memory_order_relaxed); }
  void Add(const T& amount) { value_.fetch_add(amount, std::memory_order_relaxed); }

 private:
  std::atomic<T> value_;
};

/// The same for text.
template <>
class SharedSettingValue<QString> {
 public:
  explicit SharedSettingValue(const QString& value) : value_(value) {}
  QString Load() const {
    const std::lock_guard<std::mutex> hold(lock_);
    return value_;
  }
  void Store(const QString& value) {
    const std::lock_guard<std::mutex> hold(lock_);
    value_ = value;
  }

 private:
  mutable std::mutex lock_;  // Guards value_; nothing is called with it held.
  QString value_;
};

/// A setting of type `bool`, `int`, `float`, `double` or `QString`. It holds the present value, the
/// default, and a stack of saved values; value and default begin equal.
///
/// `fromString` reads
///  - `bool`: the first 8 characters, trimmed and folded to lower case: "true" and "1" are true,
///    anything else is false;
///  - a number: as `QTextStream` does, so an integer "010" is 8 and "0x10" is 16, leading white
///    space is skipped, what follows the number is ignored, and text that is no number gives 0;
///  - `QString`: the first word, delimited by white space.
/// It then does what `Set` does.
template <typename T>
class PELORIN_HOST_EXPORT TypedSetting : public Setting {
 public:
  TypedSetting(SettingGroup& group, const QString& key, Behavior behavior, const T& default_value);
  ~TypedSetting() override;

  void fromString(const QString& text) override;
  QString toString() const override;
  int getType() const override;
  void PushSetting() override;
  bool PopSetting() override;
  void ResetToDefault() override;

  /// The present value. Cheap; read it at every use.
  T Get() const { return value_.Load(); }
  const T& GetDefault() const { return default_; }
  /// Stamps the setting; a value that differs from the present one is stored and notified. A
  /// not-a-number differs from everything, so it is notified at each write.
  void Set(const T& value);

 protected:
  SharedSettingValue<T> value_;

 private:
  const T default_;
  std::vector<T> saved_;
};

extern template class TypedSetting<bool>;
extern template class TypedSetting<int>;
extern template class TypedSetting<float>;
extern template class TypedSetting<double>;
extern template class TypedSetting<QString>;

/// A switch. `toString` gives "0" or "1".
class PELORIN_HOST_EXPORT BoolSetting final : public TypedSetting<bool> {
 public:
  using TypedSetting::TypedSetting;
  ~BoolSetting() override;
  const char* getClassName() const override;
};

/// A whole number.
class PELORIN_HOST_EXPORT IntSetting final : public TypedSetting<int> {
 public:
  using TypedSetting::TypedSetting;
  ~IntSetting() override;
  const char* getClassName() const override;
};

/// A number in single precision.
class PELORIN_HOST_EXPORT FloatSetting final : public TypedSetting<float> {
 public:
  using TypedSetting::TypedSetting;
  ~FloatSetting() override;
  const char* getClassName() const override;
};

/// A number in double precision.
class PELORIN_HOST_EXPORT DoubleSetting final : public TypedSetting<double> {
 public:
  using TypedSetting::TypedSetting;
  ~DoubleSetting() override;
  const char* getClassName() const override;
};

/// A text.
class PELORIN_HOST_EXPORT StringSetting final : public TypedSetting<QString> {
 public:
  using TypedSetting::TypedSetting;
  ~StringSetting() override;
  const char* getClassName() const override;
};

/// A number that counts how often something happened.
class PELORIN_HOST_EXPORT CountSetting final : public TypedSetting<int> {
 public:
  using TypedSetting::TypedSetting;
  ~CountSetting() override;
  const char* getClassName() const override;

  /// The one way in which a counter is raised: stamps the setting, adds 1, notifies. Safe from any
  /// thread; no count is lost. Past the largest `int` it goes on at the smallest.
  void Increment();
};

}  // namespace nimbara
