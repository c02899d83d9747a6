// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>

#include "base/export.h"
#include "vortan/common/internal/jpeg_comments.h"

/// When the imagery of a tile was taken. A tile is put together from images of different dates; a
/// map from date to the share of the tile that has this date is boiled down to one date, and that
/// one travels in the tile's comment.
///
///     auto* shares = new std::map<unsigned int, float>;
///     unsigned int date = 0;
///     vortan::JpegCommentDate::YearMonthDayKeyFromInts(2017, 12, 31, &date);
///     (*shares)[date] = 0.8f;
///     std::unique_ptr<vortan::JpegCommentOutputBuffer> block(
///         vortan::JpegCommentTileAcquisitionDatesOut(shares));    // "*#Q0#*0*AD*2017:12:31*#0Q#*"
///     std::unique_ptr<vortan::JpegCommentDate> read(
///         vortan::JpegCommentAggregatedTileDateIn(block->buffer().c_str()));
///
/// Fatal entries stop nothing, as in jpeg_comments.h; what is done behind one is said at each
/// operation. Objects belong to one thread each; static operations are safe from any.
namespace vortan {

/// "AD": the one date that stands for a tile.
PELORIN_EXPORT const std::string& JpegCommentFamilyAggregatedTileAcquisitionDate();
/// "AE": the end of a range of dates. For the viewer; no message here writes it.
PELORIN_EXPORT const std::string& JpegCommentFamilyAggregatedTileAcquisitionEndDate();

/// A date of which the day, the month and day, or everything can be unknown. A plain value.
///
/// A date key packs one into 21 bits: the day in bits 0 to 4, the month in bits 5 to 8, the year
/// from bit 9 up. Keys order as dates do; key 0 is the wholly unknown date.
class PELORIN_EXPORT JpegCommentDate {
 public:
  static constexpr int kYearUnknown = 0;
  static constexpr int kMonthUnknown = 0;
  static constexpr int kDayUnknown = 0;
  static constexpr int kMinimumYear = 1;
  static constexpr int kMaximumYear = 4095;

  /// Year 0 to 4095, month 0 to 12, day 0 to 31. Nothing else is asked of them: 31 February passes.
  static bool AreYearMonthDayValid(int year, int month, int day);
  /// Without a year the month is unknown too, and without a month the day. A null pointer is passed
  /// over, as if its part were unknown.
  static void PropagateUnknowns(int year, int* month, int* day);

  /// Stores the key of a valid date in `*date`, its unknowns propagated, and returns true; of
  /// anything else 0 and false. Fatal, and false, if `date` is null.
  static bool YearMonthDayKeyFromInts(int year, int month, int day, unsigned int* date);
  /// Takes a key apart, whatever number it is: month 0 to 15, day 0 to 31, year 0 to 8388607. Fatal
  /// if a pointer is null; then nothing is stored.
  static void YearMonthDayKeyAsInts(unsigned int date, int* year, int* month, int* day);
  /// Makes a partly known date the last day of the period that it stands for: 2011:00:00 becomes
  /// 2011:12:31, 2012:02:00 becomes 2012:02:29. A complete date stays. Month 0 with a day becomes
  /// 31 December. A key without a year becomes 0001:01:01. Months 13 to 15, which no valid date
  /// has, get the length of the month that they run into in the next year, and stay.
  ///
  /// Fatal, with nothing done, on null; fatal on key 0, which becomes 0001:01:01 like every key
  /// without a year.
  static void AdjustUnknownDatePeriodsToEnd(unsigned int* date);

  /// The unknown date.
  JpegCommentDate() = default;
  /// What `date` unpacks to, neither tested nor propagated.
  explicit JpegCommentDate(unsigned int date);
  /// Reads the form of `AppendToString`. The text has colons at offsets 4 and 7 and at least 10
  /// bytes; the numbers before, between and behind them are read as `ParseLeadingDec32Value` does,
  /// so blanks and signs pass, and what follows the day is ignored. Of text that is no valid date
  /// comes the unknown date, with an error entry.
  explicit JpegCommentDate(const std::string& text);

  int year() const { return year_; }
  int month() const { return month_; }
  int day() const { return day_; }
  /// The key of this date. Fatal, and 0, if it is not valid, which only a key can have made it.
  unsigned int Key() const;
  /// Appends ten characters, such as "2017:12:31", or "0000:00:00" for the unknown date. A year of
  /// more than four digits, which only a key can make, pushes the end out. Nothing on null.
  void AppendToString(std::string* output) const;

 private:
  int year_ = kYearUnknown;
  int month_ = kMonthUnknown;
  int day_ = kDayUnknown;
};

/// The dates of a tile and their shares: key to coverage. Open from its making until `Finalize` or
/// `FromString`; finalized from then on, which every reading operation requires. Derived classes
/// say which single date stands for all.
class PELORIN_EXPORT JpegCommentMessageTileAcquisitionDates : public JpegCommentMessage {
 public:
  using DateMap = std::map<unsigned int, float>;

  /// What the coverages of a finalized message add up to, but for rounding.
  static constexpr float kFullCoverage = 1.0f;

  /// Walks the entries of a message in the order of their keys, the earliest first. Valid as long
  /// as its message is.
  class Iterator {
   public:
    explicit Iterator(const DateMap& map) : at_(map.begin()), end_(map.end()) {}
    /// Behind the last entry; then nothing else may be called.
    bool Done() const { return at_ == end_; }
    void Next() { ++at_; }
    unsigned int key() const { return at_->first; }
    float coverage() const { return at_->second; }

   private:
    DateMap::const_iterator at_;
    DateMap::const_iterator end_;
  };

  JpegCommentMessageTileAcquisitionDates();
  ~JpegCommentMessageTileAcquisitionDates() override;

  /// Makes the coverages add up to `kFullCoverage`: what is missing goes to the unknown date, and
  /// from above they are scaled down. They are added in float, latest date first. Nan and negative
  /// ones are taken as they are; a nan makes every coverage nan, with a fatal entry. Fatal, but
  /// done all the same, on a finalized message, which can gain a sliver of unknown by it.
  void Finalize();
  bool finalized() const { return finalized_; }

  /// An iterator over the entries, owned by the caller. Fatal, but made all the same, unless
  /// finalized.
  Iterator* CreateIterator() const;

  /// Appends `AggregatedDate` as text. Fatal, but done all the same, unless finalized. Nothing on
  /// null.
  void AppendToString(std::string* output) const override;
  /// The date in `body` with full coverage, and finalized; always true. Text that is no date counts
  /// as the unknown date. Fatal, but done all the same, on a finalized message.
  bool FromString(const std::string& body) override;

  /// The one date that stands for all, owned by the caller. Requires a finalized message.
  virtual JpegCommentDate* AggregatedDate() const = 0;

 protected:
  const DateMap& date_map() const { return *date_map_; }

 private:
  friend JpegCommentOutputBuffer*
  JpegCommentTileAcquisitionDatesOut(std::map<unsigned int, float>* date_map);

  void TakeDateMap(std::unique_ptr<DateMap> date_map);

  bool finalized_ = false;
  std::unique_ptr<DateMap> date_map_;
};

/// The date that covers the most, if that is enough.
class PELORIN_EXPORT JpegCommentMessageDominantTileAcquisitionDate
    : public JpegCommentMessageTileAcquisitionDates {
 public:
  /// `coverage_lower_bound` is the share that the date must have, above 0 and up to 1: fatal unless
  /// it is above 0. A bound above 1 makes every date unknown.
  explicit JpegCommentMessageDominantTileAcquisitionDate(float coverage_lower_bound);

  JpegCommentMessage* CreateNewMessage() const override;
  /// The date of the greatest coverage, the earliest of several; the unknown date takes part. The
  /// unknown date if the bound is above that coverage. Fatal, but done all the same, unless
  /// finalized.
  JpegCommentDate* AggregatedDate() const override;

 private:
  float coverage_lower_bound_;
};

/// How far one must go back to cover a share of the tile, counted from the most recent date.
class PELORIN_EXPORT JpegCommentMessagePercentileTileAcquisitionDate
    : public JpegCommentMessageTileAcquisitionDates {
 public:
  /// `coverage_lower_bound` is the share for `AggregatedDate`, above 0 and up to 1.
  explicit JpegCommentMessagePercentileTileAcquisitionDate(float coverage_lower_bound);

  JpegCommentMessage* CreateNewMessage() const override;
  /// `PercentileMostRecentDate` for the bound of this message.
  JpegCommentDate* AggregatedDate() const override;

  /// The latest date at which the coverages from the most recent date on, added in float, have
  /// reached `coverage_lower_bound`; with a bound of 1 always the earliest date of all, the unknown
  /// one included. Owned by the caller. The sum goes to `*coverage`, which can be null.
  ///
  /// Fatal unless the bound is above 0 and at most 1 and the message is finalized; then the walk is
  /// made all the same, a bound above 1 counting as 1. Fatal if the sum stays below the bound: of
  /// an empty message (the date is then unknown), and by the rounding of the sum with a bound of 1
  /// or just below.
  JpegCommentDate* PercentileMostRecentDate(float coverage_lower_bound, float* coverage) const;

 private:
  float coverage_lower_bound_;
};

/// A finalized block with the one date that `date_map` (key to coverage) comes down to, owned by
/// the caller; null if that date has no year, since nothing is written for an unknown date. Takes
/// over `date_map` and deletes it in every case. Fatal, and null, on null, or if the family "AD" is
/// not registered with a message of tile dates.
PELORIN_EXPORT JpegCommentOutputBuffer*
JpegCommentTileAcquisitionDatesOut(std::map<unsigned int, float>* date_map);

/// The date in a comment, owned by the caller; null if no block of it has one. A date that cannot
/// be read is the unknown date. Fatal, and null, on null, or as above.
PELORIN_EXPORT JpegCommentDate* JpegCommentAggregatedTileDateIn(const char* encoded_sequence);

}  // namespace vortan
