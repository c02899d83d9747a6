// SPDX-License-Identifier: Apache-2.0
#include "host/settings.h"

#include <QTextStream>
#include <algorithm>
#include <condition_variable>
#include <thread>

namespace nimbara {
namespace {

// A listener with the threads that are inside it at this moment.
struct Listening {
  SettingListener* listener;
  std::vector<std::thread::id> inside;
  bool removed = false;
};

// Which characters of a switch's text count at all.
constexpr int kSwitchTextLength = 8;

void Parse(const QString& text, bool* value) {
  const QString word = text.left(kSwitchTextLength).trimmed().toLower();
  *value = word == QLatin1String("true") || word == QLatin1String("1");
}

template <typename T>
void Parse(const QString& text, T* value) {
  QString copy = text;
  QTextStream(&copy, QIODevice::ReadOnly) >> *value;
}

template <typename T>
QString Print(const T& value) {
  QString text;
  QTextStream(&text, QIODevice::WriteOnly) << value;
  return text;
}

QString Print(bool value) {
  return Print(static_cast<int>(value));
}

constexpr int TypeCode(const bool*) {
  return 0;
}
constexpr int TypeCode(const int*) {
  return 1;
}
constexpr int TypeCode(const float*) {
  return 2;
}
constexpr int TypeCode(const double*) {
  return 3;
}
constexpr int TypeCode(const QString*) {
  return 4;
}

}  // namespace

struct SettingGroup::Impl {
  using Call = void (SettingListener::*)(Setting&);

  void Notify(Setting& setting, Call call);

  QString name;
  std::vector<Setting*> settings;  // Not owned.

  // Guards what follows, and the members of each Listening. No call is made with it held.
  std::mutex lock;
  std::condition_variable call_ended;
  std::vector<std::shared_ptr<Listening>> listeners;
};

void SettingGroup::Impl::Notify(Setting& setting, Call call) {
  std::unique_lock<std::mutex> hold(lock);
  const std::vector<std::shared_ptr<Listening>> present = listeners;
  const std::thread::id self = std::this_thread::get_id();
  for (const std::shared_ptr<Listening>& entry : present) {
    if (entry->removed) {
      continue;
    }
    entry->inside.push_back(self);
    hold.unlock();
    (entry->listener->*call)(setting);
    hold.lock();
    entry->inside.erase(std::find(entry->inside.begin(), entry->inside.end(), self));
    call_ended.notify_all();
  }
}

SettingListener::~SettingListener() = default;

SettingGroup::SettingGroup(const QString& name) : impl_(std::make_unique<Impl>()) {
  impl_->name = name;
}

SettingGroup::~SettingGroup() = default;

const QString& SettingGroup::name() const {
  return impl_->name;
}

Setting* SettingGroup::GetSetting(const QString& key) const {
  for (Setting* setting : impl_->settings) {
    if (setting->key() == key) {
      return setting;
    }
  }
  return nullptr;
}

Setting* SettingGroup::GetSetting(int index) const {
  if (index < 0 || index >= GetSettingCount()) {
    return nullptr;
  }
  return impl_->settings[static_cast<std::size_t>(index)];
}

int SettingGroup::GetSettingCount() const {
  return static_cast<int>(impl_->settings.size());
}

void SettingGroup::ResetToDefault() {
  for (Setting* setting : impl_->settings) {
    setting->ResetToDefault();
  }
}

void SettingGroup::AddListener(SettingListener* listener) {
  if (listener == nullptr) {
    return;
  }
  const std::lock_guard<std::mutex> hold(impl_->lock);
  for (const std::shared_ptr<Listening>& entry : impl_->listeners) {
    if (entry->listener == listener) {
      return;
    }
  }
  impl_->listeners.push_back(std::make_shared<Listening>(Listening{listener, {}, false}));
}

void SettingGroup::RemoveListener(SettingListener* listener) {
  std::unique_lock<std::mutex> hold(impl_->lock);
  const auto found =
      std::find_if(impl_->listeners.begin(), impl_->listeners.end(),
                   [listener](const auto& entry) { return entry->listener == listener; });
  if (found == impl_->listeners.end()) {
    return;
  }
  const std::shared_ptr<Listening> entry = *found;
  entry->removed = true;
  impl_->listeners.erase(found);
  const std::thread::id self = std::this_thread::get_id();
  impl_->call_ended.wait(hold, [&entry, self] {
    return std::all_of(entry->inside.begin(), entry->inside.end(),
                       [self](std::thread::id id) { return id == self; });
  });
}

std::atomic<std::int32_t> Setting::s_current_modifier{0};

Setting::Setting(SettingGroup& group, const QString& key, Behavior behavior)
    : group_(&group), key_(key), behavior_(behavior) {
  group.impl_->settings.push_back(this);
}

Setting::~Setting() {
  std::vector<Setting*>& settings = group_->impl_->settings;
  settings.erase(std::find(settings.begin(), settings.end(), this));
}

void Setting::NotifyChanged() {
  group_->impl_->Notify(*this, &SettingListener::OnSettingChanged);
}

void Setting::NotifyPreDelete() {
  group_->impl_->Notify(*this, &SettingListener::OnSettingPreDelete);
}

void Setting::Stamp() {
  modifier_.store(s_current_modifier.load(std::memory_order_relaxed), std::memory_order_relaxed);
}

template <typename T>
TypedSetting<T>::TypedSetting(SettingGroup& group, const QString& key, Behavior behavior,
                              const T& default_value)
    : Setting(group, key, behavior), value_(default_value), default_(default_value) {}

template <typename T>
TypedSetting<T>::~TypedSetting() = default;

template <typename T>
void TypedSetting<T>::fromString(const QString& text) {
  T value{};
  Parse(text, &value);
  Set(value);
}

template <typename T>
QString TypedSetting<T>::toString() const {
  return Print(Get());
}

template <typename T>
int TypedSetting<T>::getType() const {
  return TypeCode(&default_);
}

template <typename T>
void TypedSetting<T>::PushSetting() {
  saved_.push_back(Get());
}

template <typename T>
bool TypedSetting<T>::PopSetting() {
  if (saved_.empty()) {
    return false;
  }
  value_.Store(saved_.back());
  saved_.pop_back();
  NotifyChanged();
  return true;
}

template <typename T>
void TypedSetting<T>::ResetToDefault() {
  Set(default_);
}

template <typename T>
void TypedSetting<T>::Set(const T& value) {
  Stamp();
  if (value != Get()) {
    value_.Store(value);
    NotifyChanged();
  }
}

template class TypedSetting<bool>;
template class TypedSetting<int>;
template class TypedSetting<float>;
template class TypedSetting<double>;
template class TypedSetting<QString>;

BoolSetting::~BoolSetting() {
  NotifyPreDelete();
}
const char* BoolSetting::getClassName() const {
  return "BoolSetting";
}

IntSetting::~IntSetting() {
  NotifyPreDelete();
}
const char* IntSetting::getClassName() const {
  return "IntSetting";
}

FloatSetting::~FloatSetting() {
  NotifyPreDelete();
}
const char* FloatSetting::getClassName() const {
  return "FloatSetting";
}

DoubleSetting::~DoubleSetting() {
  NotifyPreDelete();
}
const char* DoubleSetting::getClassName() const {
  return "DoubleSetting";
}

StringSetting::~StringSetting() {
  NotifyPreDelete();
}
const char* StringSetting::getClassName() const {
  return "StringSetting";
}

CountSetting::~CountSetting() {
  NotifyPreDelete();
}
const char* CountSetting::getClassName() const {
  return "CountSetting";
}

void CountSetting::Increment() {
  Stamp();
  value_.Add(1);
  NotifyChanged();
}

}  // namespace nimbara
