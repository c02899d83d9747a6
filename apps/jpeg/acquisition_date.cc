// SPDX-License-Identifier: Apache-2.0
#include "apps/jpeg/acquisition_date.h"

#include <algorithm>
#include <memory>
#include <mutex>

#include "strings/numbers.h"
#include "vortan/common/internal/month.h"

namespace pelorin {
namespace {

using vortan::JpegCommentDate;

constexpr float kHalfOfTheImage = 0.5f;
constexpr char kCommentMarker[] = {'\xFF', '\xFE'};

// Where a new segment goes that replaces none: behind what the file begins with. A segment that
// does not follow the one before at once ends that, since the tables stand between them.
std::size_t BehindOpening(const JpegHeader& header) {
  std::size_t end = 2;  // Behind the start marker.
  for (const JpegSegment& segment : header.segments) {
    if (segment.begin != end) {
      break;
    }
    end = segment.end;
  }
  return end;
}

// Whether a comment is what `DateComment` makes of its own date.
bool IsDateAlone(std::string_view comment) {
  return comment == DateComment(DateInComment(comment));
}

std::string CommentSegment(std::string_view comment) {
  const std::size_t length = comment.size() + 2;
  std::string segment(kCommentMarker, sizeof kCommentMarker);
  segment += static_cast<char>(length >> 8);
  segment += static_cast<char>(length & 0xFF);
  return segment.append(comment);
}

}  // namespace

void PrepareDateComments() {
  static std::once_flag once;
  std::call_once(once, [] {
    vortan::JpegCommentRegisterFamily(
        vortan::JpegCommentFamilyAggregatedTileAcquisitionDate(),
        new vortan::JpegCommentMessageDominantTileAcquisitionDate(kHalfOfTheImage));
    vortan::JpegCommentSetRegistrationClosed();
  });
}

std::string DateComment(const DateShares& shares) {
  PrepareDateComments();
  const std::unique_ptr<vortan::JpegCommentOutputBuffer> block(
      vortan::JpegCommentTileAcquisitionDatesOut(new DateShares(shares)));
  return block == nullptr ? std::string() : block->buffer();
}

std::string DateComment(const JpegCommentDate& date) {
  return DateComment(DateShares{{date.Key(), 1.0f}});
}

JpegCommentDate DateInComment(std::string_view comment) {
  PrepareDateComments();
  const std::unique_ptr<JpegCommentDate> date(
      vortan::JpegCommentAggregatedTileDateIn(std::string(comment).c_str()));
  return date == nullptr ? JpegCommentDate() : *date;
}

JpegCommentDate DateInHeader(const JpegHeader& header) {
  for (const JpegSegment& segment : header.segments) {
    if (segment.is_comment()) {
      const JpegCommentDate date = DateInComment(segment.content);
      if (date.year() != JpegCommentDate::kYearUnknown) {
        return date;
      }
    }
  }
  return {};
}

std::string WithDateComment(std::string_view bytes, const JpegHeader& header,
                            std::string_view comment) {
  std::size_t begin = BehindOpening(header);
  std::size_t end = begin;
  for (const JpegSegment& segment : header.segments) {
    if (segment.is_comment() &&
        DateInComment(segment.content).year() != JpegCommentDate::kYearUnknown) {
      begin = segment.begin;
      end = IsDateAlone(segment.content) ? segment.end : segment.begin;
      break;
    }
  }
  std::string result;
  result.reserve(bytes.size() + comment.size() + 4);
  result.append(bytes.substr(0, begin)).append(CommentSegment(comment));
  return result.append(bytes.substr(end));
}

bool ParseDate(std::string_view text, JpegCommentDate* date) {
  int parts[3] = {0, 0, 0};
  const std::size_t lengths[3] = {4, 2, 2};
  std::size_t at = 0;
  for (int i = 0; i < 3 && (i == 0 || at < text.size()); ++i) {
    if (i > 0) {
      const bool separated = text[at] == ':' || text[at] == '-';
      if (!separated) {
        return false;
      }
      ++at;
    }
    const std::string digits(text.substr(at, lengths[i]));
    if (digits.size() != lengths[i] ||
        digits.find_first_not_of("0123456789") != std::string::npos ||
        !safe_strto32(digits, &parts[i])) {
      return false;
    }
    at += lengths[i];
  }
  const auto [year, month, day] = parts;
  const bool day_of_month =
      day == 0 || (month >= 1 && month <= 12 && day <= vortan::Month(month).Size(year));
  unsigned int key = 0;
  if (at != text.size() || year == JpegCommentDate::kYearUnknown || !day_of_month ||
      !JpegCommentDate::YearMonthDayKeyFromInts(year, month, day, &key)) {
    return false;
  }
  *date = JpegCommentDate(key);
  return true;
}

std::string DateForPeople(const JpegCommentDate& date) {
  if (date.year() == JpegCommentDate::kYearUnknown) {
    return {};
  }
  std::string text = DateText(date);
  text.resize(date.month() == JpegCommentDate::kMonthUnknown ? 4
              : date.day() == JpegCommentDate::kDayUnknown   ? 7
                                                             : 10);
  std::replace(text.begin(), text.end(), ':', '-');
  return text;
}

std::string DateText(const JpegCommentDate& date) {
  std::string text;
  date.AppendToString(&text);
  return text;
}

}  // namespace pelorin
