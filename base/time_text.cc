// SPDX-License-Identifier: Apache-2.0
#include "base/time_text.h"

#include <cstddef>
#include <cstdio>

namespace {

constexpr const char* kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

template <std::size_t Count>
const char* NameOf(const char* const (&names)[Count], int position) {
  return position >= 0 && position < static_cast<int>(Count) ? names[position] : "Xxx";
}

}  // namespace

void FastTimeToBuffer(std::time_t t, char* buffer) {
  const std::time_t seconds = t == 0 ? std::time(nullptr) : t;
  std::tm utc{};
  if (gmtime_r(&seconds, &utc) == nullptr) {
    std::snprintf(buffer, kTimeTextCapacity, "Invalid:%lld", static_cast<long long>(seconds));
    return;
  }
  // The calendar's largest years do not fit an int once 1900 is added.
  const long long year = 1900LL + utc.tm_year;
  std::snprintf(buffer, kTimeTextCapacity, "%s, %02d %s %04lld %02d:%02d:%02d GMT",
                NameOf(kWeekdays, utc.tm_wday), utc.tm_mday, NameOf(kMonths, utc.tm_mon), year,
                utc.tm_hour, utc.tm_min, utc.tm_sec);
}
