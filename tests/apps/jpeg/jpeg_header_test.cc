// SPDX-License-Identifier: Apache-2.0
#include "apps/jpeg/jpeg_header.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "tests/apps/jpeg/jpeg_builder.h"

namespace pelorin {
namespace {

using test_support::Segment;
using test_support::SmallJpeg;
using test_support::WithSegments;

constexpr int kComment = 0xFE;
constexpr int kApp1 = 0xE1;

// From an exactly sized block, so that a sanitizer sees the first byte past the end.
bool Read(const std::string& file, JpegHeader* header) {
  const std::unique_ptr<char[]> block(new char[file.size()]);
  std::memcpy(block.get(), file.data(), file.size());
  std::string error;
  const bool is_read = ReadJpegHeader({block.get(), file.size()}, header, &error);
  EXPECT_EQ(is_read, error.empty());
  for (JpegSegment& segment : header->segments) {
    segment.content = std::string_view(file).substr(segment.begin + 4, segment.content.size());
  }
  return is_read;
}

TEST(JpegHeader, TellsTheSizeOfTheImage) {
  JpegHeader header;
  ASSERT_TRUE(Read(SmallJpeg(), &header));
  EXPECT_EQ(header.width, 24);
  EXPECT_EQ(header.height, 16);
}

TEST(JpegHeader, NamesCommentsAndApplicationSegmentsWithTheirPlaces) {
  const std::string segments =
      Segment(kApp1, "camera") + Segment(kComment, "first") + Segment(kComment, "");
  const std::string file = WithSegments(SmallJpeg(), segments);
  JpegHeader header;
  ASSERT_TRUE(Read(file, &header));
  ASSERT_EQ(header.segments.size(), 4u);
  EXPECT_EQ(header.segments[0].code, 0xE0);
  EXPECT_EQ(header.segments[0].begin, 2u);
  EXPECT_EQ(header.segments[1].code, kApp1);
  EXPECT_FALSE(header.segments[1].is_comment());
  EXPECT_EQ(header.segments[1].content, "camera");
  EXPECT_EQ(header.segments[2].content, "first");
  EXPECT_TRUE(header.segments[2].is_comment());
  EXPECT_EQ(header.segments[3].content, "");
  EXPECT_EQ(
      file.substr(header.segments[1].begin, header.segments[3].end - header.segments[1].begin),
      segments);
}

TEST(JpegHeader, TakesTheLongestSegment) {
  const std::string text(65533, 'x');
  JpegHeader header;
  const std::string file = WithSegments(SmallJpeg(), Segment(kComment, text));
  ASSERT_TRUE(Read(file, &header));
  EXPECT_EQ(header.segments[1].content, text);
}

TEST(JpegHeader, NeedsNothingBehindTheStartOfTheImageData) {
  const std::string file = SmallJpeg("a comment");
  const std::size_t scan = file.find("\xFF\xDA");
  ASSERT_NE(scan, std::string::npos);
  JpegHeader header;
  EXPECT_TRUE(Read(file.substr(0, scan + 14), &header));
  EXPECT_FALSE(Read(file.substr(0, scan), &header));
}

TEST(JpegHeader, RefusesWhatIsNoJpegFileAndLeavesTheHeader) {
  for (const std::string& file :
       {std::string(), std::string("x"), std::string("\x89PNG\r\n\x1A\n"), std::string("\xFF\xD8"),
        std::string("\xFF\xD8\xFF\xD9"), std::string(100000, '\xFF'), std::string(1000, '\0')}) {
    JpegHeader header;
    header.width = -1;
    EXPECT_FALSE(Read(file, &header)) << file.size();
    EXPECT_EQ(header.width, -1);
  }
}

TEST(JpegHeader, RefusesASegmentThatEndsBehindTheFile) {
  std::string file = SmallJpeg("a comment");
  const std::size_t comment = file.find("\xFF\xFE");
  file[comment + 2] = '\xFF';
  JpegHeader header;
  EXPECT_FALSE(Read(file, &header));
}

TEST(JpegHeader, RefusesASegmentShorterThanItsLength) {
  std::string file = SmallJpeg("a comment");
  const std::size_t comment = file.find("\xFF\xFE");
  file[comment + 3] = '\x01';
  JpegHeader header;
  EXPECT_FALSE(Read(file, &header));
}

TEST(JpegHeader, IsReadFromEveryPrefixWithoutHarm) {
  const std::string file = WithSegments(SmallJpeg("a comment"), Segment(kApp1, "camera"));
  const std::size_t scan = file.find("\xFF\xDA");
  for (std::size_t size = 0; size < file.size(); ++size) {
    JpegHeader header;
    EXPECT_TRUE(!Read(file.substr(0, size), &header) || size > scan) << size;
  }
}

TEST(JpegHeader, IsReadFromDamagedFilesWithoutHarm) {
  const std::string file = WithSegments(SmallJpeg("a comment"), Segment(kApp1, "camera"));
  std::mt19937 random(20260604);
  for (int i = 0; i < 20000; ++i) {
    std::string damaged = file;
    for (std::size_t flips = 1 + random() % 4; flips > 0; --flips) {
      char& byte = damaged[random() % damaged.size()];
      byte = static_cast<char>(byte ^ (1 << random() % 8));
    }
    JpegHeader header;
    if (Read(damaged, &header)) {
      for (const JpegSegment& segment : header.segments) {
        ASSERT_LE(segment.end, damaged.size());
        ASSERT_EQ(damaged[segment.begin], '\xFF');
      }
    }
  }
}

TEST(JpegWriter, RefusesAnImageWithoutTheRightNumberOfPixels) {
  RgbImage image = test_support::SmallPicture();
  image.pixels.pop_back();
  EXPECT_EQ(WriteJpeg(image, "", 90), "");
  EXPECT_EQ(WriteJpeg(RgbImage{}, "", 90), "");
}

TEST(JpegWriter, RefusesACommentThatNoSegmentHolds) {
  EXPECT_EQ(SmallJpeg(std::string(65534, 'x')), "");
  EXPECT_EQ(test_support::CommentsOf(SmallJpeg(std::string(65533, 'x'))),
            std::vector<std::string>{std::string(65533, 'x')});
}

TEST(JpegWriter, WritesNoCommentSegmentForNone) {
  EXPECT_TRUE(test_support::CommentsOf(SmallJpeg()).empty());
}

}  // namespace
}  // namespace pelorin
