// SPDX-License-Identifier: Apache-2.0
#include "vortan/common/internal/jpeg_comments_dates.h"

#include <cstdio>
#include <limits>
#include <utility>

#include "base/logging.h"
#include "strings/numbers.h"
#include "vortan/common/internal/jpeg_comments-inl.h"
#include "vortan/common/internal/month.h"

namespace vortan {
namespace {

constexpr int kDayBits = 5;
constexpr int kMonthBits = 4;
constexpr unsigned int kDayMask = (1u << kDayBits) - 1;
constexpr unsigned int kMonthMask = (1u << kMonthBits) - 1;

// "2017:12:31".
constexpr std::size_t kTextLength = 10;
constexpr std::size_t kFirstColon = 4;
constexpr std::size_t kSecondColon = 7;

unsigned int Pack(int year, int month, int day) {
  return static_cast<unsigned int>(year) << (kDayBits + kMonthBits) |
         static_cast<unsigned int>(month) << kDayBits | static_cast<unsigned int>(day);
}

}  // namespace

const std::string& JpegCommentFamilyAggregatedTileAcquisitionDate() {
  static const std::string text = "AD";
  return text;
}

const std::string& JpegCommentFamilyAggregatedTileAcquisitionEndDate() {
  static const std::string text = "AE";
  return text;
}

bool JpegCommentDate::AreYearMonthDayValid(int year, int month, int day) {
  return static_cast<unsigned int>(year) <= kMaximumYear &&
         static_cast<unsigned int>(month) <= 12 && static_cast<unsigned int>(day) <= 31;
}

void JpegCommentDate::PropagateUnknowns(int year, int* month, int* day) {
  if (year == kYearUnknown && month != nullptr) {
    *month = kMonthUnknown;
  }
  if ((year == kYearUnknown || month == nullptr || *month == kMonthUnknown) && day != nullptr) {
    *day = kDayUnknown;
  }
}

bool JpegCommentDate::YearMonthDayKeyFromInts(int year, int month, int day, unsigned int* date) {
  PELORIN_CHECK(date);
  if (date == nullptr) {
    return false;
  }
  if (!AreYearMonthDayValid(year, month, day)) {
    *date = 0;
    return false;
  }
  PropagateUnknowns(year, &month, &day);
  *date = Pack(year, month, day);
  return true;
}

void JpegCommentDate::YearMonthDayKeyAsInts(unsigned int date, int* year, int* month, int* day) {
  PELORIN_CHECK(year);
  PELORIN_CHECK(month);
  PELORIN_CHECK(day);
  if (year == nullptr || month == nullptr || day == nullptr) {
    return;
  }
  *day = static_cast<int>(date & kDayMask);
  *month = static_cast<int>(date >> kDayBits & kMonthMask);
  *year = static_cast<int>(date >> (kDayBits + kMonthBits));
}

void JpegCommentDate::AdjustUnknownDatePeriodsToEnd(unsigned int* date) {
  PELORIN_CHECK(date);
  if (date == nullptr) {
    return;
  }
  PELORIN_CHECK(*date);
  int year = kYearUnknown;
  int month = kMonthUnknown;
  int day = kDayUnknown;
  YearMonthDayKeyAsInts(*date, &year, &month, &day);
  if (year == kYearUnknown) {
    year = month = day = 1;
  } else if (month == kMonthUnknown) {
    month = 12;
    day = 31;
  } else if (day == kDayUnknown) {
    Month calendar_month(month);
    const int years_over = calendar_month.Normalize();
    day = calendar_month.Size(year + years_over);
  }
  PELORIN_CHECK(year);
  PELORIN_CHECK(month);
  PELORIN_CHECK(day);
  *date = Pack(year, month, day);
  PELORIN_CHECK(*date);
}

JpegCommentDate::JpegCommentDate(unsigned int date) {
  YearMonthDayKeyAsInts(date, &year_, &month_, &day_);
}

JpegCommentDate::JpegCommentDate(const std::string& text) {
  if (text.size() >= kTextLength && text[kFirstColon] == ':' && text[kSecondColon] == ':') {
    const int year = ParseLeadingDec32Value(text.c_str(), -1);
    int month = ParseLeadingDec32Value(text.c_str() + kFirstColon + 1, -1);
    int day = ParseLeadingDec32Value(text.c_str() + kSecondColon + 1, -1);
    if (AreYearMonthDayValid(year, month, day)) {
      PropagateUnknowns(year, &month, &day);
      year_ = year;
      month_ = month;
      day_ = day;
      return;
    }
  }
  PELORIN_LOG_ERROR() << "Unable to parse a JpegCommentDate: setting it to Unknown.";
}

unsigned int JpegCommentDate::Key() const {
  unsigned int date = 0;
  PELORIN_CHECK(YearMonthDayKeyFromInts(year_, month_, day_, &date));
  return date;
}

void JpegCommentDate::AppendToString(std::string* output) const {
  if (output == nullptr) {
    return;
  }
  char text[kTextLength + 1];
  std::snprintf(text, sizeof text, "%04d:%02d:%02d", year_, month_, day_);
  *output += text;
}

JpegCommentMessageTileAcquisitionDates::JpegCommentMessageTileAcquisitionDates()
    : date_map_(std::make_unique<DateMap>()) {}

JpegCommentMessageTileAcquisitionDates::~JpegCommentMessageTileAcquisitionDates() = default;

void JpegCommentMessageTileAcquisitionDates::Finalize() {
  PELORIN_CHECK(!finalized_);
  finalized_ = true;
  // The order decides the last bits of the sum, and so whether there is an unknown entry.
  float factor = 0.0f;
  for (auto entry = date_map_->rbegin(); entry != date_map_->rend(); ++entry) {
    factor += entry->second;
  }
  if (factor < kFullCoverage) {
    unsigned int unknown_date = 0;
    PELORIN_CHECK(JpegCommentDate::YearMonthDayKeyFromInts(
        JpegCommentDate::kYearUnknown, JpegCommentDate::kMonthUnknown, JpegCommentDate::kDayUnknown,
        &unknown_date));
    (*date_map_)[unknown_date] += kFullCoverage - factor;
    return;
  }
  PELORIN_CHECK_GT(factor, 0.0);
  for (auto& [date, coverage] : *date_map_) {
    coverage /= factor;
  }
}

JpegCommentMessageTileAcquisitionDates::Iterator*
JpegCommentMessageTileAcquisitionDates::CreateIterator() const {
  PELORIN_CHECK(finalized_);
  return new Iterator(*date_map_);
}

void JpegCommentMessageTileAcquisitionDates::AppendToString(std::string* output) const {
  PELORIN_CHECK(finalized_);
  const std::unique_ptr<JpegCommentDate> date(AggregatedDate());
  if (date != nullptr) {
    date->AppendToString(output);
  }
}

bool JpegCommentMessageTileAcquisitionDates::FromString(const std::string& body) {
  PELORIN_CHECK(!finalized_);
  const unsigned int date = JpegCommentDate(body).Key();
  date_map_->clear();
  (*date_map_)[date] = kFullCoverage;
  Finalize();
  return true;
}

void JpegCommentMessageTileAcquisitionDates::TakeDateMap(std::unique_ptr<DateMap> date_map) {
  PELORIN_CHECK(!finalized_);
  date_map_ = std::move(date_map);
}

JpegCommentMessageDominantTileAcquisitionDate::JpegCommentMessageDominantTileAcquisitionDate(
    float coverage_lower_bound)
    : coverage_lower_bound_(coverage_lower_bound) {
  PELORIN_CHECK_GT(coverage_lower_bound, 0.0);
  PELORIN_CHECK(!finalized());
}

JpegCommentMessage* JpegCommentMessageDominantTileAcquisitionDate::CreateNewMessage() const {
  return new JpegCommentMessageDominantTileAcquisitionDate(coverage_lower_bound_);
}

JpegCommentDate* JpegCommentMessageDominantTileAcquisitionDate::AggregatedDate() const {
  PELORIN_CHECK(finalized());
  unsigned int dominant_date = 0;
  float dominant_coverage = 0.0f;
  for (const auto& [date, coverage] : date_map()) {
    if (coverage > dominant_coverage) {
      dominant_date = date;
      dominant_coverage = coverage;
    }
  }
  return coverage_lower_bound_ > dominant_coverage ? new JpegCommentDate
                                                   : new JpegCommentDate(dominant_date);
}

JpegCommentMessagePercentileTileAcquisitionDate::JpegCommentMessagePercentileTileAcquisitionDate(
    float coverage_lower_bound)
    : coverage_lower_bound_(coverage_lower_bound) {}

JpegCommentMessage* JpegCommentMessagePercentileTileAcquisitionDate::CreateNewMessage() const {
  return new JpegCommentMessagePercentileTileAcquisitionDate(coverage_lower_bound_);
}

JpegCommentDate* JpegCommentMessagePercentileTileAcquisitionDate::AggregatedDate() const {
  return PercentileMostRecentDate(coverage_lower_bound_, nullptr);
}

JpegCommentDate* JpegCommentMessagePercentileTileAcquisitionDate::PercentileMostRecentDate(
    float coverage_lower_bound, float* coverage) const {
  constexpr float maximum_lower_bound = kFullCoverage;
  PELORIN_CHECK_GT(coverage_lower_bound, 0.0);
  PELORIN_CHECK_LE(coverage_lower_bound, maximum_lower_bound);
  PELORIN_CHECK(finalized());
  // The sum can come out as 1 before the earliest date, so a bound of 1 stops nowhere.
  const float coverage_threshold = coverage_lower_bound < maximum_lower_bound
                                       ? coverage_lower_bound
                                       : std::numeric_limits<float>::infinity();
  PELORIN_CHECK_GT(coverage_threshold, 0.0);

  float sum = 0.0f;
  if (coverage == nullptr) {
    coverage = &sum;
  }
  *coverage = 0.0f;
  unsigned int date = 0;
  for (auto entry = date_map().rbegin(); entry != date_map().rend(); ++entry) {
    date = entry->first;
    *coverage += entry->second;
    if (*coverage >= coverage_threshold) {
      break;
    }
  }
  PELORIN_CHECK_LE(coverage_lower_bound, *coverage);
  return new JpegCommentDate(date);
}

JpegCommentOutputBuffer*
JpegCommentTileAcquisitionDatesOut(std::map<unsigned int, float>* date_map) {
  std::unique_ptr<JpegCommentMessageTileAcquisitionDates::DateMap> owned_map(date_map);
  PELORIN_CHECK(date_map);
  if (date_map == nullptr) {
    return nullptr;
  }
  const auto message = JpegCommentCreateMessage<JpegCommentMessageTileAcquisitionDates>(
      JpegCommentFamilyAggregatedTileAcquisitionDate());
  if (message == nullptr) {
    return nullptr;
  }
  message->TakeDateMap(std::move(owned_map));
  message->Finalize();
  const std::unique_ptr<JpegCommentDate> date(message->AggregatedDate());
  PELORIN_CHECK(date.get());
  if (date == nullptr || date->year() == JpegCommentDate::kYearUnknown) {
    return nullptr;
  }
  auto block = std::make_unique<JpegCommentOutputBuffer>();
  block->AppendMessage(*message);
  block->Finalize();
  return block.release();
}

JpegCommentDate* JpegCommentAggregatedTileDateIn(const char* encoded_sequence) {
  PELORIN_CHECK(encoded_sequence);
  if (encoded_sequence == nullptr) {
    return nullptr;
  }
  JpegCommentInputBuffer comment(encoded_sequence);
  if (!comment.FindMessages()) {
    return nullptr;
  }
  const auto message = JpegCommentCreateMessage<JpegCommentMessageTileAcquisitionDates>(
      JpegCommentFamilyAggregatedTileAcquisitionDate());
  if (message == nullptr || !comment.GetMessage(message.get())) {
    return nullptr;
  }
  return message->AggregatedDate();
}

}  // namespace vortan
