// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/depth_and_pano.h"

#include <gtest/gtest.h>

#include "tests/support/answer_builder.h"
#include "tests/support/heap_snapshot.h"
#include "tests/support/map_payload_builder.h"

namespace nimbara {
namespace spatial {
namespace {

using test_support::DepthPayload;
using test_support::HeapSnapshot;
using test_support::PanoMapPayload;
using test_support::PanoramaElement;
using test_support::SingleAnswer;

RefPtr<PanoramaData> MakeRecord() {
  return RefPtr<PanoramaData>(new (HeapManager::GetDynamicHeap()) PanoramaData("id"));
}

QByteArray DepthText() {
  return DepthPayload(1, 1, {0}, {{0, 0, 1, 1}}).ToText();
}
QByteArray PanoText() {
  return PanoMapPayload(1, 1, {0}, {}).ToText();
}
QByteArray AnswerWithBoth() {
  return SingleAnswer(PanoramaElement("id").DepthMap(DepthText()).PanoMap(PanoText()));
}

TEST(DepthAndPano, FillsBothMaps) {
  const RefPtr<PanoramaData> record = MakeRecord();
  ParseDepthAndPano(AnswerWithBoth(), record.get());
  EXPECT_NE(record->depthmap, nullptr);
  EXPECT_NE(record->panomap, nullptr);
}

TEST(DepthAndPano, LeavesADepthMapThatIsThereAndAddsThePanoMap) {
  const RefPtr<PanoramaData> record = MakeRecord();
  DepthMap* const own = new (HeapManager::GetDynamicHeap()) DepthMap;
  record->set_depthmap(own);
  ParseDepthAndPano(AnswerWithBoth(), record.get());
  EXPECT_EQ(record->depthmap, own);
  EXPECT_NE(record->panomap, nullptr);
}

TEST(DepthAndPano, LeavesAPanoMapThatIsThereAndAddsTheDepthMap) {
  const RefPtr<PanoramaData> record = MakeRecord();
  PanoMap* const own = new (HeapManager::GetDynamicHeap()) PanoMap;
  record->set_panomap(own);
  ParseDepthAndPano(AnswerWithBoth(), record.get());
  EXPECT_EQ(record->panomap, own);
  EXPECT_NE(record->depthmap, nullptr);
}

TEST(DepthAndPano, KeepsAGoodPanoMapBesideAFailedDepthMap) {
  const RefPtr<PanoramaData> record = MakeRecord();
  ParseDepthAndPano(SingleAnswer(PanoramaElement("id").DepthMap("broken").PanoMap(PanoText())),
                    record.get());
  EXPECT_EQ(record->depthmap, nullptr);
  EXPECT_NE(record->panomap, nullptr);
}

TEST(DepthAndPano, KeepsAGoodDepthMapBesideAFailedPanoMap) {
  const RefPtr<PanoramaData> record = MakeRecord();
  ParseDepthAndPano(SingleAnswer(PanoramaElement("id").DepthMap(DepthText()).PanoMap("broken")),
                    record.get());
  EXPECT_NE(record->depthmap, nullptr);
  EXPECT_EQ(record->panomap, nullptr);
}

TEST(DepthAndPano, LeavesTheRecordAsItIsForAFaultyAnswer) {
  const RefPtr<PanoramaData> record = MakeRecord();
  const HeapSnapshot before;
  ParseDepthAndPano(AnswerWithBoth().chopped(3), record.get());
  ParseDepthAndPano(QByteArray(), record.get());
  EXPECT_EQ(record->depthmap, nullptr);
  EXPECT_EQ(record->panomap, nullptr);
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(DepthAndPano, DoesNothingWithoutARecord) {
  const HeapSnapshot before;
  ParseDepthAndPano(AnswerWithBoth(), nullptr);
  EXPECT_EQ(HeapSnapshot(), before);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
